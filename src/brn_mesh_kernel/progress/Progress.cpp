#include <brn_mesh_kernel/progress/Progress.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <utility>

namespace Brennic::Core {

namespace {

using Range = std::numeric_limits<int>;

// A child without a total may report a fraction that is not a number, or far outside 0 to 1.
int toUnits(float change)
{
    const auto units = static_cast<double>(change); // represents every int exactly
    return std::isnan(units) ? 0 : static_cast<int>(std::clamp<double>(units, Range::min(), Range::max()));
}

} // namespace

// The interface's defaults: ignore the report.
void ProgressReportingProtocol::progressUpdated(Progress*, float, const std::wstring&) {}

void ProgressReportingProtocol::progressCompleted(Progress*, const std::wstring&) {}

struct Progress::ProgressImpl
{
    struct State final : ProgressState // whose constructor is private
    {
        State(int totalUnitCount, const std::wstring& description)
            : ProgressState(totalUnitCount, description)
        {
        }
    };

    struct Child
    {
        std::shared_ptr<Progress> progress;
        const ProgressState::Part* part = nullptr; // null for what reports and was never added
        float fraction = 0.0F;                     // what was reported last
    };

    std::shared_ptr<ProgressState> state;
    std::map<const Progress*, Child> children; // one null stands for all that no pointer owns
};

Progress::Progress(int totalUnitCount, const std::wstring& description)
    : m_impl(std::make_unique<ProgressImpl>())
{
    m_impl->state = std::make_shared<ProgressImpl::State>(totalUnitCount, description);
}

Progress::~Progress()
{
    m_impl->state->end(this);
}

void Progress::setTotalUnitCount(int totalUnitCount)
{
    m_impl->state->setTotalUnitCount(totalUnitCount);
    m_impl->state->notifyWatchers(this);
}

int Progress::getTotalUnitCount() const
{
    return m_impl->state->getTotalUnitCount();
}

void Progress::setCompletedUnitCount(int completedUnitCount)
{
    m_impl->state->setCompletedUnitCount(completedUnitCount);
    std::shared_ptr<Progress> self;
    if (m_impl->state->isWatched()) {
        self = shared_from_this(); // a watcher may release the last other pointer,
        const std::shared_ptr<ProgressState> state = m_impl->state;
        state->notifyWatchers(this);
        if (state->hasEnded()) // or destroy what it owns alone
            return;
    }
    notifyObservers(m_impl->state->report(this));
}

int Progress::getCompletedUnitCount()
{
    return m_impl->state->getCompletedUnitCount();
}

// Not atomic by design: callers that count from several threads serialize their increments.
void Progress::incrementCompletedUnitCount(int unitCount)
{
    const std::int64_t sum = std::int64_t{getCompletedUnitCount()} + unitCount;
    setCompletedUnitCount(static_cast<int>(std::clamp<std::int64_t>(sum, Range::min(), Range::max())));
}

int Progress::operator++()
{
    return *this += 1;
}

int Progress::operator+=(int unitCount)
{
    const std::shared_ptr<ProgressState> state = m_impl->state; // a receiver may release this object
    incrementCompletedUnitCount(unitCount);
    return state->getCompletedUnitCount();
}

float Progress::getFractionCompleted()
{
    return static_cast<float>(getCompletedUnitCount()) / static_cast<float>(getTotalUnitCount());
}

bool Progress::isIndeterminateProgress() const
{
    return getTotalUnitCount() <= 0;
}

bool Progress::isComplete()
{
    return getCompletedUnitCount() >= getTotalUnitCount();
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the caller's pointer may be the child's only owner.
void Progress::addChildWithPendingCount(std::shared_ptr<Progress> child, int pendingUnitCount)
{
    if (!child || m_impl->children.count(child.get()) != 0)
        return;
    const ProgressState::Part* const part = m_impl->state->addPart(child->getState(), pendingUnitCount);
    if (part == nullptr)
        return;
    // A child that its pointer does not own cannot name itself in reports, so its reports change nothing.
    const bool isOwned = child->shared_from_this() != nullptr;
    m_impl->children[child.get()] = {child, isOwned ? part : nullptr};
    child->setDelegate(std::shared_ptr<ProgressReportingProtocol>(shared_from_this()), false);
    m_impl->state->notifyWatchers(this);
}

void Progress::setDescription(const std::wstring& description)
{
    m_impl->state->setDescription(description);
    m_impl->state->notifyWatchers(this);
}

std::wstring Progress::getDescription() const
{
    return m_impl->state->getDescription();
}

std::shared_ptr<ProgressState> Progress::getState() const
{
    return m_impl->state;
}

void Progress::progressUpdated(Progress* child, float fraction, const std::wstring&)
{
    auto entry = m_impl->children.find(child);
    if (entry == m_impl->children.end()) {
        std::shared_ptr<Progress> stranger = child->shared_from_this();
        entry = m_impl->children.try_emplace(stranger.get()).first;
        entry->second.progress = std::move(stranger);
    }
    ProgressImpl::Child& known = entry->second;
    const int units = known.part == nullptr ? 0 : known.part->pendingUnitCount;
    const float change = (fraction - known.fraction) * static_cast<float>(units);
    known.fraction = fraction;
    incrementCompletedUnitCount(toUnits(change));
    static_cast<void>(getCompletedUnitCount()); // waits for a writer that stores the count at this moment
}

void Progress::progressCompleted(Progress* child, const std::wstring& description)
{
    progressUpdated(child, 1.0F, description);
}

} // namespace Brennic::Core

template class Brennic::Objects::SharedObject<Brennic::Core::Progress>;
template class Brennic::Core::Broadcaster<Brennic::Core::ProgressReportingProtocol>;
template class Brennic::Core::Delegator<Brennic::Core::ProgressReportingProtocol>;
