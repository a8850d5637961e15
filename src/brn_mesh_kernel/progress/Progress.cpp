#include <brn_mesh_kernel/progress/Progress.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include <tbb/spin_rw_mutex.h>

namespace Brennic::Core {

// Behind a pointer for the sake of hosts that use Qt's keywords: TBB's headers have functions named `emit`.
struct Progress::ProgressImpl
{
    std::map<std::shared_ptr<Progress>, int> pendingCounts;
    std::map<std::shared_ptr<Progress>, float> childFractions;
    tbb::spin_rw_mutex countLock; // orders the sets of the completed count
    std::shared_ptr<ProgressState> state;
};

namespace {

// A child without a total may report what is no number, or far from a fraction.
int toUnits(float change)
{
    constexpr float limit = 1e9F;
    return std::isnan(change) ? 0 : static_cast<int>(std::clamp(change, -limit, limit));
}

} // namespace

Progress::Progress(int totalUnitCount, const std::wstring& description)
    : m_impl(std::make_unique<ProgressImpl>())
{
    m_impl->state.reset(new ProgressState(totalUnitCount, description)); // its constructor is private
}

Progress::~Progress()
{
    m_impl->state->end(this);
}

void Progress::setTotalUnitCount(int totalUnitCount)
{
    m_impl->state->setTotalUnitCount(totalUnitCount);
    m_impl->state->tell(this);
}

int Progress::getTotalUnitCount() const
{
    return m_impl->state->getTotalUnitCount();
}

void Progress::setCompletedUnitCount(int completedUnitCount)
{
    {
        const tbb::spin_rw_mutex::scoped_lock lock(m_impl->countLock, true);
        m_impl->state->setCompletedUnitCount(completedUnitCount);
    }
    m_impl->state->tell(this);
    if (isComplete())
        delegate(&ProgressReportingProtocol::progressCompleted, this, getDescription());
    else
        delegate(&ProgressReportingProtocol::progressUpdated, this, getFractionCompleted(), getDescription());
}

int Progress::getCompletedUnitCount()
{
    const tbb::spin_rw_mutex::scoped_lock lock(m_impl->countLock, false);
    return m_impl->state->getCompletedUnitCount();
}

// Deliberately not one step: callers that count from several threads order their increments themselves.
void Progress::incrementCompletedUnitCount(int unitCount)
{
    setCompletedUnitCount(getCompletedUnitCount() + unitCount);
}

int Progress::operator++()
{
    incrementCompletedUnitCount(1);
    return getCompletedUnitCount();
}

int Progress::operator+=(int unitCount)
{
    incrementCompletedUnitCount(unitCount);
    return getCompletedUnitCount();
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
    if (!child || !m_impl->pendingCounts.emplace(child, pendingUnitCount).second)
        return;
    m_impl->childFractions[child] = 0.0F;
    child->setDelegate(std::shared_ptr<ProgressReportingProtocol>(shared_from_this()), false);

    int pendingSum = 0;
    for (const auto& [part, unitCount] : m_impl->pendingCounts)
        pendingSum += unitCount;
    if (getTotalUnitCount() < pendingSum)
        m_impl->state->setTotalUnitCount(pendingSum);
    m_impl->state->addPart(child->getState(), pendingUnitCount);
    m_impl->state->tell(this);
}

void Progress::setDescription(const std::wstring& description)
{
    m_impl->state->setDescription(description);
    m_impl->state->tell(this);
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
    const std::shared_ptr<Progress> key = child->shared_from_this();
    float& lastFraction = m_impl->childFractions[key];
    const float change = (fraction - lastFraction) * static_cast<float>(m_impl->pendingCounts[key]);
    lastFraction = fraction;
    incrementCompletedUnitCount(toUnits(change));
    // Waits for a writer that stores the count at this moment.
    const tbb::spin_rw_mutex::scoped_lock lock(m_impl->countLock, false);
}

void Progress::progressCompleted(Progress* child, const std::wstring& description)
{
    progressUpdated(child, 1.0F, description);
}

} // namespace Brennic::Core

template class Brennic::Objects::SharedObject<Brennic::Core::Progress>;
template class Brennic::Core::Broadcaster<Brennic::Core::ProgressReportingProtocol>;
template class Brennic::Core::Delegator<Brennic::Core::ProgressReportingProtocol>;
