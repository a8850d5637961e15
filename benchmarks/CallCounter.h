#pragma once
/// \file
/// Counts what all threads of a program ask of the C library. Part of a program, it stands before the C library's
/// functions also for the libraries that the program uses, which makes all of them a little slower: a program that
/// counts measures no times.

#include <cstddef>
#include <cstdint>

struct CallCounts
{
    std::uint64_t allocations = 0;
    std::uint64_t locks = 0; ///< of mutexes of the C library, as `std::mutex` is; Qt's are none
};

/// Since the program began.
CallCounts callCounts();

/// What is allocated at this moment, with what the heap keeps for itself beside each block.
std::size_t heapBytes();
