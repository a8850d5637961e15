#pragma once
/// \file
/// The loops under the name of the first of them: see ParallelLoops.h.

#include <brn_mesh_kernel/tasks/ParallelLoops.h>
