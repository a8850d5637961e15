// The reader of one mesh format, which BRN_MESH_READER names.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "ObjReader.h"
#include "OffReader.h"
#include "PlyReader.h"
#include "StlReader.h"

#include "PlantedFault.h"

using namespace Brennic;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    RawMesh mesh;
    try {
        mesh = BRN_MESH_READER({reinterpret_cast<const char*>(data), size});
    } catch (const MeshFileDefect&) {
        return 0;
    }
    for (const auto& triangle : mesh.triangles)
        for (const std::uint32_t corner : triangle)
            Fuzz::require(corner < mesh.positions.size(), "every corner has a position");
    bool isOnPlane = !mesh.positions.empty();
    for (const auto& position : mesh.positions) {
        for (const float number : position)
            Fuzz::require(std::isfinite(number), "every number is finite");
        isOnPlane = isOnPlane && position[0] == mesh.positions.front()[0];
    }
    mesh.hasLooseVertices();
    Fuzz::plantFault(isOnPlane && mesh.triangles.size() > 1);
    return 0;
}
