#include "MeshFile.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <stdexcept>
#include <string>

#include <OpenMesh/Core/IO/MeshIO.hh>
#include <OpenMesh/Core/Mesh/PolyMesh_ArrayKernelT.hh>
#include <QSaveFile>

#include "MeshFileCheck.h"
#include "MeshFormat.h"

namespace {

using PolygonMesh = OpenMesh::PolyMesh_ArrayKernelT<>;

std::runtime_error loadError(const std::filesystem::path& path, const std::string& reason)
{
    return std::runtime_error("cannot load " + path.string() + ": " + reason);
}

std::runtime_error saveError(const std::filesystem::path& path, const std::string& reason)
{
    return std::runtime_error("cannot save " + path.string() + ": " + reason);
}

// OpenMesh comments on files by itself, in several lines that name no file.
void silenceOpenMesh()
{
    omlog().disable();
    omout().disable();
    omerr().disable();
}

// Read as polygons: a triangle mesh would cut them up without a word.
PolygonMesh readPolygons(const std::filesystem::path& path)
{
    PolygonMesh mesh;
    OpenMesh::IO::Options options;
    if (!OpenMesh::IO::read_mesh(mesh, path.string(), options))
        throw loadError(path, "it is damaged or not in the format that its name says");
    return mesh;
}

void requireTriangles(const PolygonMesh& mesh, const std::filesystem::path& path)
{
    if (mesh.n_faces() == 0)
        throw loadError(path, "it holds no triangles");
    for (const auto face : mesh.faces())
        if (mesh.valence(face) != 3)
            throw loadError(path, "face " + std::to_string(face.idx() + 1) + " has " +
                                      std::to_string(mesh.valence(face)) +
                                      " corners, and only triangles can be smoothed");
}

bool hasLooseVertices(const PolygonMesh& mesh)
{
    const auto vertices = mesh.vertices();
    return std::any_of(vertices.begin(), vertices.end(),
                       [&mesh](OpenMesh::VertexHandle vertex) { return mesh.is_isolated(vertex); });
}

void requireFinitePositions(const PolygonMesh& mesh, const std::filesystem::path& path)
{
    for (const auto vertex : mesh.vertices()) {
        const PolygonMesh::Point& point = mesh.point(vertex);
        if (!std::all_of(point.begin(), point.end(), [](float value) { return std::isfinite(value); }))
            throw loadError(path, "vertex " + std::to_string(vertex.idx() + 1) + " has no finite position");
    }
}

std::string encoded(const Mesh& mesh, const std::filesystem::path& path)
{
    constexpr std::streamsize digits = 9; // enough to read the same numbers back
    std::ostringstream stream;
    if (!OpenMesh::IO::write_mesh(mesh, stream, meshExtension(path), OpenMesh::IO::Options::Default, digits))
        throw saveError(path, "the mesh cannot be written in this format");
    return stream.str();
}

} // namespace

Mesh loadMesh(const std::filesystem::path& path)
{
    silenceOpenMesh();
    const FileCheck check = checkMeshFile(path);
    if (!check.defect.empty())
        throw loadError(path, check.defect);
    const PolygonMesh polygons = readPolygons(path);
    requireTriangles(polygons, path);
    requireFinitePositions(polygons, path);
    if (check.isLastLineOpen && hasLooseVertices(polygons))
        throw loadError(path, "it is cut short");
    Mesh mesh;
    mesh.assign(polygons);
    return mesh;
}

void saveMesh(const Mesh& mesh, const std::filesystem::path& path)
{
    const std::string bytes = encoded(mesh, path);
    QSaveFile file(QString::fromStdString(path.u8string()));
    const bool isSaved =
        file.open(QIODevice::WriteOnly) &&
        file.write(bytes.data(), static_cast<qint64>(bytes.size())) == static_cast<qint64>(bytes.size()) &&
        file.commit();
    if (!isSaved)
        throw saveError(path, file.errorString().toStdString());
}
