#include <brn_mesh_kernel/progress/ProgressEstimator.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

namespace Brennic::Core {

namespace {

constexpr double shortestTime = 1;     // before which nothing is said
constexpr double enoughToJudge = 0.05; // of the whole; of less, a few steps
constexpr std::size_t fewestSteps = 5;
constexpr double samplesPerWindow = 50;
constexpr std::array<double, 4> windowLengths = {1, 2, 4, 8}; // in multiples of the shortest
constexpr double smallestDeviation = 0.05;
constexpr double deviationPerError = 4; // larger by chance in one of 16,000 windows
constexpr double restart = 0.05;        // a fraction that falls to so little of itself has begun anew

// The shortest window. A long run is not judged by a moment.
double windowLength(double now)
{
    constexpr double partOfTime = 0.1;
    constexpr double shortest = 2;
    constexpr double longest = 30;
    return std::clamp(now * partOfTime, shortest, longest);
}

} // namespace

void ProgressEstimator::add(double now, double fraction)
{
    if (m_samples.empty())
        m_samples.push_back(m_anchor);
    const double before = m_samples.back().fraction;
    if (fraction < restart * before)
        m_samples = {m_anchor = {now, fraction}};
    else if (fraction < before)
        scale(fraction / before);
    const Sample& last = m_samples.back();
    if (fraction <= last.fraction || now - last.time < windowLength(now) / samplesPerWindow)
        return;
    m_samples.push_back({now, fraction});
    m_samples.erase(m_samples.cbegin(), beginOfWindow(now, windowLengths.back() * windowLength(now)));
    followChange(now);
}

double ProgressEstimator::fractionPerSecond(double now) const
{
    return canJudge(now) ? speedSince(m_anchor, now) : 0;
}

std::optional<double> ProgressEstimator::remaining(double now) const
{
    if (!canJudge(now))
        return std::nullopt;
    const Sample& last = m_samples.back();
    const double sinceStep = std::min(now - last.time, longestStep(now));
    return std::max(0.0, (1 - last.fraction) / speedSince(m_anchor, now) - sinceStep);
}

bool ProgressEstimator::canJudge(double now) const
{
    if (m_samples.size() < 2 || now < shortestTime)
        return false;
    return m_samples.size() >= fewestSteps || m_samples.back().fraction - m_anchor.fraction >= enoughToJudge;
}

// The last sample before the window, but one that is followed by a few steps.
ProgressEstimator::Samples::const_iterator ProgressEstimator::beginOfWindow(double now, double length) const
{
    const auto inside = std::find_if(m_samples.cbegin(), m_samples.cend(),
                                     [&](const Sample& sample) { return now - sample.time < length; });
    const std::size_t before =
        inside == m_samples.cbegin() ? 0 : static_cast<std::size_t>(inside - m_samples.cbegin()) - 1;
    const std::size_t latest = m_samples.size() - std::min(m_samples.size(), fewestSteps + 1);
    return std::next(m_samples.cbegin(), static_cast<std::ptrdiff_t>(std::min(before, latest)));
}

double ProgressEstimator::longestStep(double now) const
{
    double longest = 0;
    for (auto sample = beginOfWindow(now, windowLength(now)); std::next(sample) != m_samples.cend(); ++sample)
        longest = std::max(longest, std::next(sample)->time - sample->time);
    return longest;
}

double ProgressEstimator::speedSince(const Sample& from, double now) const
{
    const Sample& last = m_samples.back();
    const double end = std::max(last.time, now - longestStep(now));
    return (last.fraction - from.fraction) / (end - from.time);
}

// Of the speed since first, as a part of it: how much it would differ by chance if the steps scatter as they do.
double ProgressEstimator::standardError(Samples::const_iterator first) const
{
    const double height = m_samples.back().fraction - first->fraction;
    const double speed = height / (m_samples.back().time - first->time);
    double variance = 0;
    for (auto sample = first; std::next(sample) != m_samples.cend(); ++sample) {
        const double step = std::next(sample)->fraction - sample->fraction;
        variance += std::pow(step - speed * (std::next(sample)->time - sample->time), 2);
    }
    return std::sqrt(variance) / height;
}

void ProgressEstimator::scale(double factor)
{
    for (Sample& sample : m_samples)
        sample.fraction *= factor;
    m_anchor.fraction *= factor;
}

// The window in which a change is noticed has begun before it. So the anchor goes on with the window, until that has begun
// after the change.
void ProgressEstimator::followChange(double now)
{
    const auto window = beginOfWindow(now, windowLength(now));
    if (m_anchor.time < m_lastChange && window->time > m_anchor.time) {
        m_anchor = *window;
        return;
    }
    for (const double length : windowLengths) {
        const auto first = beginOfWindow(now, length * windowLength(now));
        if (first->time <= m_anchor.time)
            return;
        if (isOtherSpeed(first, now)) {
            m_anchor = *first;
            m_lastChange = now;
            return;
        }
    }
}

bool ProgressEstimator::isOtherSpeed(Samples::const_iterator first, double now) const
{
    const double recent = speedSince(*first, now);
    const double whole = speedSince(m_anchor, now);
    const double tolerated = std::max(smallestDeviation, deviationPerError * standardError(first));
    return std::abs(recent - whole) > tolerated * std::max(recent, whole);
}

} // namespace Brennic::Core
