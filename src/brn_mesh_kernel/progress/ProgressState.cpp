#include <brn_mesh_kernel/progress/ProgressState.h>

#include <algorithm>
#include <atomic>
#include <mutex>

#include <brn_mesh_kernel/progress/ProgressReportingProtocol.h>

namespace Brennic::Core {

namespace {

// Replaced as a whole, so that a report only copies the pointer.
using Watchers = std::vector<std::weak_ptr<ProgressReportingProtocol>>;

} // namespace

struct ProgressState::ProgressStateImpl
{
    std::atomic<int> totalUnitCount{-1};
    std::atomic<int> completedUnitCount{0};
    std::atomic<bool> hasEnded{false};
    std::atomic<bool> isWatched{false};
    std::mutex mutex;
    std::wstring description;                 // guarded by mutex
    std::vector<Part> parts;                  // guarded by mutex
    std::shared_ptr<const Watchers> watchers; // guarded by mutex
};

ProgressState::ProgressState(int totalUnitCount, const std::wstring& description)
    : m_impl(std::make_unique<ProgressStateImpl>())
{
    m_impl->totalUnitCount = totalUnitCount;
    m_impl->description = description;
}

ProgressState::~ProgressState() = default;

int ProgressState::getTotalUnitCount() const
{
    return m_impl->totalUnitCount;
}

int ProgressState::getCompletedUnitCount() const
{
    return m_impl->completedUnitCount;
}

bool ProgressState::hasEnded() const
{
    return m_impl->hasEnded;
}

std::wstring ProgressState::getDescription() const
{
    const std::lock_guard<std::mutex> lock(m_impl->mutex);
    return m_impl->description;
}

std::vector<ProgressState::Part> ProgressState::getParts(std::size_t first) const
{
    const std::lock_guard<std::mutex> lock(m_impl->mutex);
    const std::vector<Part>& parts = m_impl->parts;
    return {parts.begin() + static_cast<std::ptrdiff_t>(std::min(first, parts.size())), parts.end()};
}

void ProgressState::addWatcher(const std::shared_ptr<ProgressReportingProtocol>& watcher)
{
    if (!watcher)
        return;
    auto watchers = std::make_shared<Watchers>();
    const std::lock_guard<std::mutex> lock(m_impl->mutex);
    if (m_impl->watchers)
        std::copy_if(m_impl->watchers->begin(), m_impl->watchers->end(), std::back_inserter(*watchers),
                     [](const std::weak_ptr<ProgressReportingProtocol>& entry) { return !entry.expired(); });
    watchers->push_back(watcher);
    m_impl->watchers = std::move(watchers);
    m_impl->isWatched = true;
}

void ProgressState::setTotalUnitCount(int totalUnitCount)
{
    m_impl->totalUnitCount = totalUnitCount;
}

void ProgressState::setCompletedUnitCount(int completedUnitCount)
{
    m_impl->completedUnitCount = completedUnitCount;
}

void ProgressState::setDescription(const std::wstring& description)
{
    const std::lock_guard<std::mutex> lock(m_impl->mutex);
    m_impl->description = description;
}

void ProgressState::addPart(const std::shared_ptr<ProgressState>& part, int pendingUnitCount)
{
    const std::lock_guard<std::mutex> lock(m_impl->mutex);
    m_impl->parts.push_back({part, pendingUnitCount});
}

void ProgressState::end(Progress* progress)
{
    m_impl->hasEnded = true;
    try {
        tell(progress);
    } catch (...) { // NOLINT(bugprone-empty-catch): nobody could catch it behind a destructor
    }
}

void ProgressState::tell(Progress* progress) const
{
    if (!m_impl->isWatched)
        return;
    std::shared_ptr<const Watchers> watchers;
    {
        const std::lock_guard<std::mutex> lock(m_impl->mutex);
        watchers = m_impl->watchers;
    }
    const int total = getTotalUnitCount();
    const int completed = getCompletedUnitCount();
    const std::wstring description = getDescription();
    for (const std::weak_ptr<ProgressReportingProtocol>& entry : *watchers) {
        const std::shared_ptr<ProgressReportingProtocol> watcher = entry.lock();
        if (watcher && completed >= total)
            watcher->progressCompleted(progress, description);
        else if (watcher)
            watcher->progressUpdated(progress, static_cast<float>(completed) / static_cast<float>(total),
                                     description);
    }
}

} // namespace Brennic::Core
