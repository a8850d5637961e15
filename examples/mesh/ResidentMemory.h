#pragma once
/// \file
/// The memory of this process that is resident.

#include <cstdint>

/// In bytes; 0 where the system does not tell.
std::int64_t residentMemoryInBytes();
