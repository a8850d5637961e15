#pragma once
/// \file
/// Counts the allocations and mutex locks of all threads of a program. It defines the C library's functions
/// anew, and the libraries that the program uses call these too. Counting makes them all a little slower, so
/// a program that counts measures no times.

#include <cstddef>
#include <cstdint>

struct CallCounts
{
    std::uint64_t allocations = 0;
    std::uint64_t locks = 0; ///< of mutexes of the C library, as `std::mutex` is; Qt's are none
};

/// The counts since the program began.
CallCounts callCounts();

/// The bytes that are allocated at this moment, with what the heap adds to each block for itself.
std::size_t heapBytes();
