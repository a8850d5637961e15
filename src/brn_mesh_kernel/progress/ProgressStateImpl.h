#pragma once
/// \file
/// What ProgressState.cpp and ProgressStateReports.cpp know of a state. Not installed.

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <tbb/spin_rw_mutex.h>

#include <brn_mesh_kernel/progress/Cancellation.h>
#include <brn_mesh_kernel/progress/ProgressEstimator.h>
#include <brn_mesh_kernel/progress/ProgressState.h>
#include <brn_mesh_kernel/progress/ReportClock.h>
#include <brn_mesh_kernel/progress/ReportGate.h>

namespace Brennic::Core {

// Behind a pointer for the sake of hosts that use Qt's keywords: TBB's headers have functions named `emit`.
struct ProgressState::ProgressStateImpl
{
    using Clock = std::chrono::steady_clock;

    // Replaced as a whole, so that a report only copies the pointer.
    using Watchers = std::vector<std::weak_ptr<ProgressReportingProtocol>>;

    struct CancellationPlatform
    {
        using Mutex = std::mutex;
        using Flag = std::atomic<bool>;
        using Handler = std::function<void()>;
    };

    // The new levels of parts.
    using Levels = std::map<const ProgressState*, int>;

    // What a cancellation has reached, and whom it has to tell.
    struct Cancelled
    {
        std::vector<ProgressState*> states;
        std::vector<Part> parts; // keeps them
        std::vector<std::function<void()>> handlers;
    };

    static bool collectLevels(const ProgressState& part, int newLevel, const ProgressState& whole,
                              Levels& levels);
    static void cancelAll(ProgressState& state, Cancelled& cancelled);

    // Without a lock: parts are only ever appended, and the last one's link to the next is not read.
    template <typename Predicate>
    bool isAnyPart(Predicate predicate);

    // Whether a unit is completed, or a part is no longer waiting.
    bool hasBegun();

    void setCountLocked(int count, std::int64_t moved);
    void goOn();
    void goOnLocked();
    void endTimeIsNow();
    std::optional<Clock::time_point> latestEnd();
    double secondsSoFar(EProgressStatus status);
    bool isComplete(int count) const;

    tbb::spin_rw_mutex countLock;
    int completedUnitCount = 0;    // guarded by countLock, like the next
    std::int64_t movedByParts = 0; // what the reports of the parts have added to it
    ReportGate<ReportClock> gate;  // guarded by countLock, like the next
    Clock::time_point startTime;   // of the first set of the count; the clock's beginning before that
    std::optional<Clock::time_point> endTime;
    std::atomic<bool> hasReportInterval{false};
    std::atomic<int> totalUnitCount{-1};
    std::atomic<bool> hasEnded{false};
    std::atomic<bool> isWatched{false};
    Cancellation<CancellationPlatform> cancellation;
    std::atomic<bool> hasFailed{false};
    std::atomic<int> level{0}; // larger than that of every whole that this has been a part of
    std::mutex mutex;
    std::shared_ptr<const std::wstring> description; // guarded by mutex
    std::wstring failure;                            // guarded by mutex
    std::list<Part> parts;                    // guarded by mutex; what is in it stays, and does not change
    std::int64_t pendingSum = 0;              // guarded by mutex
    std::shared_ptr<const Watchers> watchers; // guarded by mutex
    std::mutex estimateMutex;
    ProgressEstimator estimator; // guarded by estimateMutex
};

template <typename Predicate>
bool ProgressState::ProgressStateImpl::isAnyPart(Predicate predicate)
{
    std::unique_lock<std::mutex> lock(mutex);
    std::size_t left = parts.size();
    auto part = parts.cbegin();
    lock.unlock();
    for (; left > 0; --left) {
        if (predicate(*part))
            return true;
        if (left > 1)
            ++part;
    }
    return false;
}

} // namespace Brennic::Core
