#pragma once
/// \file
/// Judges from samples of a fraction how fast it moves, and when it will be 1. Not installed.
///
/// The speed is that since an anchor, at first the beginning. Windows over the last samples watch it, a short one and longer
/// ones. Where the speed in a window differs by more than its samples' scatter explains, the anchor moves to where the
/// window begins. So even work is judged by all of its past, a large change of speed is followed as soon as the shortest
/// window has passed it, and a small one among scattered samples by a longer window.
///
/// Only samples at which the fraction has moved count: work that moves in large steps is measured from step to step. Between
/// two steps the remaining time counts down. A step that takes longer than any of the shortest window makes the work slower.
///
/// A fraction that falls means that there is more to do: of a longer whole, what was done before is a smaller part. So the
/// samples are scaled to the new whole, and the speed of the work stays known.
///
/// Times are in seconds from the beginning. Threads: one at a time.

#include <cstddef>
#include <optional>
#include <vector>

namespace Brennic::Core {

class ProgressEstimator
{
public:
    /// Takes the fraction of the moment, from 0 to 1. The first one may come at any time: nothing was done at time 0.
    void add(double now, double fraction);

    /// Returns how much of the whole is done in a second; 0 while that cannot be judged.
    double fractionPerSecond(double now) const;

    /// Returns how long it takes from \p now on; nothing while that cannot be judged.
    std::optional<double> remaining(double now) const;

    /// Returns how many samples are kept.
    std::size_t sampleCount() const { return m_samples.size(); }

private:
    struct Sample
    {
        double time;
        double fraction;
    };

    using Samples = std::vector<Sample>;

    bool canJudge(double now) const;
    Samples::const_iterator beginOfWindow(double now, double length) const;
    double longestStep(double now) const;
    double speedSince(const Sample& from, double now) const;
    double standardError(Samples::const_iterator first) const;
    void scale(double factor);
    void followChange(double now);
    bool isOtherSpeed(Samples::const_iterator first, double now) const;

    Samples m_samples; // in the order of time, over the longest window
    Sample m_anchor{0, 0};
    double m_lastChange = 0; // when a change of speed was noticed
};

} // namespace Brennic::Core
