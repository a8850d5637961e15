#include "MeshFile.h"

#include <algorithm>
#include <cstdint>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <OpenMesh/Core/IO/MeshIO.hh>
#include <OpenMesh/Core/IO/importer/ImporterT.hh>
#include <QFile>
#include <QSaveFile>

#include "MeshFileReader.h"
#include "MeshFormat.h"

namespace {

std::runtime_error loadError(const std::filesystem::path& path, const std::string& reason)
{
    return std::runtime_error("cannot load " + path.u8string() + ": " + reason);
}

std::runtime_error saveError(const std::filesystem::path& path, const std::string& reason)
{
    return std::runtime_error("cannot save " + path.u8string() + ": " + reason);
}

// OpenMesh comments on files by itself, in several lines that name no file.
void silenceOpenMesh()
{
    omlog().disable();
    omout().disable();
    omerr().disable();
}

// The importer behind OpenMesh's readers, which do without checks: they believe any count and stop at no bad number.
Mesh toMesh(const RawMesh& raw)
{
    Mesh mesh;
    mesh.reserve(raw.positions.size(), raw.positions.size() + raw.triangles.size(), raw.triangles.size());
    OpenMesh::IO::ImporterT<Mesh> importer(mesh);
    for (const auto& [x, y, z] : raw.positions)
        importer.add_vertex(OpenMesh::Vec3f(x, y, z));
    for (const auto& triangle : raw.triangles) {
        std::vector<OpenMesh::VertexHandle> corners(triangle.size());
        std::transform(triangle.begin(), triangle.end(), corners.begin(),
                       [](std::uint32_t corner) { return OpenMesh::VertexHandle(static_cast<int>(corner)); });
        importer.add_face(corners);
    }
    return mesh;
}

Mesh load(const std::filesystem::path& path, RawMesh& raw)
{
    raw = readMeshFile(path);
    Mesh mesh = toMesh(raw);
    if (mesh.n_faces() == 0)
        throw MeshFileDefect("it holds no triangles");
    if (raw.isLastLineOpen && raw.hasLooseVertices())
        throw MeshFileDefect(cutShort);
    return mesh;
}

// OpenMesh leaves out triangles that use a vertex twice, and doubles the corners of those it cannot connect.
std::string changes(const RawMesh& raw, const Mesh& mesh, const std::filesystem::path& path)
{
    const std::size_t leftOut = raw.triangles.size() - mesh.n_faces();
    const std::size_t doubled = mesh.n_vertices() - raw.positions.size();
    std::string text;
    if (leftOut > 0)
        text = "triangles with equal corners were left out: " + std::to_string(leftOut);
    if (doubled > 0)
        text += (text.empty() ? "" : "; ") +
                ("vertices were doubled where triangles cannot be connected: " + std::to_string(doubled));
    return text.empty() ? text : path.u8string() + ": " + text;
}

std::string encoded(const Mesh& mesh, const std::filesystem::path& path)
{
    constexpr std::streamsize digits = 9; // enough to read the same numbers back
    std::ostringstream stream;
    if (!OpenMesh::IO::write_mesh(mesh, stream, meshExtension(path), OpenMesh::IO::Options::Default, digits))
        throw saveError(path, "the mesh cannot be written in this format");
    return stream.str();
}

// What is there and is no file, such as a pipe, is written to and not replaced.
bool isDevice(const std::filesystem::path& path)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    return std::filesystem::exists(status) && !std::filesystem::is_regular_file(status);
}

// Without a buffer, and on after a write that took only a part: only the next one says why.
bool writeAll(QFileDevice& file, const std::string& bytes, const std::function<void()>& beforeStep)
{
    constexpr std::size_t pieceSize = 1'048'576;
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return false;
    for (std::size_t count = 0; count < bytes.size();) {
        beforeStep();
        const std::size_t piece = std::min(pieceSize, bytes.size() - count);
        const qint64 written = file.write(bytes.data() + count, static_cast<qint64>(piece));
        if (written <= 0)
            return false;
        count += static_cast<std::size_t>(written);
    }
    return true;
}

} // namespace

Mesh loadMesh(const std::filesystem::path& path, std::string* warning)
{
    silenceOpenMesh();
    try {
        RawMesh raw;
        Mesh mesh = load(path, raw);
        if (warning != nullptr)
            *warning = changes(raw, mesh, path);
        return mesh;
    } catch (const MeshFileDefect& defect) {
        throw loadError(path, defect.what());
    } catch (const std::bad_alloc&) {
        throw loadError(path, "it is damaged or too large for this machine's memory");
    } catch (const std::length_error&) {
        throw loadError(path, "it is damaged or too large for this machine's memory");
    }
}

void saveMesh(const Mesh& mesh, const std::filesystem::path& path, const std::function<void()>& beforeStep)
{
    const std::string bytes = encoded(mesh, path);
    const QString name = QString::fromStdString(path.u8string());
    if (isDevice(path)) {
        QFile device(name);
        if (!writeAll(device, bytes, beforeStep))
            throw saveError(path, device.errorString().toStdString());
        return;
    }
    QSaveFile file(name);
    const bool isWritten = writeAll(file, bytes, beforeStep);
    beforeStep();
    if (!isWritten || !file.commit())
        throw saveError(path, file.errorString().toStdString());
}
