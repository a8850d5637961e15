#pragma once
/// \file
/// Pins the threads of a measurement. Most of a callable's cost depends on whether it crosses from one core
/// to another, and the system's scheduler decides that anew in each run. Pinned runs can be compared.

#include <vector>

enum class Placement
{
    AnyCore,  ///< not pinned
    OneCore,  ///< all threads on the same core
    TwoCores, ///< the submitting threads on one core, the workers on another
};

/// The placements that this process can have: without the last if it has only one core.
const std::vector<Placement>& placements();

const char* nameOf(Placement placement);

/// Moves the calling thread, and those that it will start, to where a submitting thread belongs.
void placeProducer(Placement placement);

/// The same for a worker.
void placeWorker(Placement placement);
