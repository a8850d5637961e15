#include "Placement.h"

#include <cstdio>
#include <cstdlib>

#include <sched.h>

namespace {

// The cores that the process was given. Call it before a thread is pinned: it remembers what it finds first.
const cpu_set_t& allCores()
{
    static const cpu_set_t cores = [] {
        cpu_set_t set;
        CPU_ZERO(&set);
        sched_getaffinity(0, sizeof set, &set);
        return set;
    }();
    return cores;
}

std::vector<int> coreNumbers()
{
    std::vector<int> numbers;
    for (int core = 0; core < CPU_SETSIZE; ++core)
        if (CPU_ISSET(static_cast<std::size_t>(core), &allCores()))
            numbers.push_back(core);
    return numbers;
}

// Aborts if it fails: the numbers would otherwise be taken for those of the right place.
void moveThisThread(const cpu_set_t& cores)
{
    if (sched_setaffinity(0, sizeof cores, &cores) == 0)
        return;
    std::perror("sched_setaffinity");
    std::abort();
}

void moveThisThread(int core)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<std::size_t>(core), &set);
    moveThisThread(set);
}

} // namespace

const std::vector<Placement>& placements()
{
    static const std::vector<Placement> possible =
        coreNumbers().size() > 1
            ? std::vector<Placement>{Placement::AnyCore, Placement::OneCore, Placement::TwoCores}
            : std::vector<Placement>{Placement::AnyCore, Placement::OneCore};
    return possible;
}

const char* nameOf(Placement placement)
{
    switch (placement) {
    case Placement::OneCore:
        return "one core";
    case Placement::TwoCores:
        return "two cores";
    default:
        return "unpinned";
    }
}

void placeProducer(Placement placement)
{
    static const int first = coreNumbers().front();
    if (placement == Placement::AnyCore)
        moveThisThread(allCores());
    else
        moveThisThread(first);
}

void placeWorker(Placement placement)
{
    static const int last = coreNumbers().back(); // the next number may be the first core's second thread
    if (placement == Placement::TwoCores)
        moveThisThread(last);
    else
        placeProducer(placement);
}
