/// \file
/// Saves a mesh as mesh_smoother does, in the main thread: `save_mesh_program INPUT OUTPUT`. Ends with 1 and one line if it
/// cannot be saved.

#include <exception>
#include <iostream>

#include "MeshFile.h"

int main(int count, char** values)
{
    if (count != 3)
        return 93;
    const Mesh mesh = loadMesh(values[1]);
    try {
        saveMesh(mesh, values[2]);
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
