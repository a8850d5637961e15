#pragma once
/// \file
/// Where the threads of a measurement run. Whether a callable crosses from one core to another decides about most of
/// its cost, and the scheduler settles it anew in each run: what is pinned can be compared.

#include <vector>

enum class Placement
{
    AnyCore,  ///< as the scheduler likes
    OneCore,  ///< all threads on the same core
    TwoCores, ///< who submits on one core, the workers on another
};

/// The placements that this process can have: without the last one if it has but one core.
const std::vector<Placement>& placements();

const char* nameOf(Placement placement);

/// Moves the calling thread, and those that it will start, to where a submitting thread belongs.
void placeProducer(Placement placement);

/// The same for a worker.
void placeWorker(Placement placement);
