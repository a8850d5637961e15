#include "MeshFileReader.h"

#include <fstream>
#include <string>
#include <system_error>

#include "MeshFormat.h"
#include "ObjReader.h"
#include "OffReader.h"
#include "PlyReader.h"
#include "StlReader.h"

namespace {

std::string accessDefect(const std::filesystem::path& path)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (status.type() == std::filesystem::file_type::not_found)
        return "there is no such file";
    if (error)
        return error.message();
    if (!std::filesystem::is_regular_file(status))
        return "it is not a file";
    return isMeshFileName(path) ? "" : "its name ends in none of .obj, .ply, .stl and .off";
}

std::string readBytes(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file)
        throw MeshFileDefect("it cannot be opened for reading");
    std::string bytes(static_cast<std::size_t>(file.tellg()), '\0');
    file.seekg(0);
    if (!file.read(bytes.data(), static_cast<std::streamsize>(bytes.size())))
        throw MeshFileDefect("it cannot be read");
    return bytes;
}

RawMesh readFormat(std::string_view bytes, const std::string& extension)
{
    if (extension == ".off")
        return readOff(bytes);
    if (extension == ".ply")
        return readPly(bytes);
    if (extension == ".stl")
        return readStl(bytes);
    return readObj(bytes);
}

} // namespace

RawMesh readMeshFile(const std::filesystem::path& path)
{
    if (const std::string defect = accessDefect(path); !defect.empty())
        throw MeshFileDefect(defect);
    const std::string bytes = readBytes(path);
    if (bytes.empty())
        throw MeshFileDefect("it is empty");
    return readFormat(bytes, meshExtension(path));
}
