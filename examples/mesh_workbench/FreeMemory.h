#pragma once
/// \file
/// How the C library keeps what has been freed.

/// Joins blocks as they are freed, and not hundreds of thousands of them at once: after a flood of reports that stops
/// the thread that frees the last of them for a quarter of a second. Does nothing where there is no such heap.
/// Thread: main thread, before others run.
void joinFreeBlocksAtOnce();
