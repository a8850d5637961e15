#include "ProgressLine.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr std::size_t stageWidth = 10;
constexpr std::size_t smallestBar = 10;
constexpr std::size_t largestBar = 60;

std::string padded(std::string text, std::size_t width)
{
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

std::string minutesAndSeconds(std::chrono::duration<double> time)
{
    const auto seconds = static_cast<long>(std::lround(time.count()));
    const std::string rest = std::to_string(seconds % 60);
    return std::to_string(seconds / 60) + (rest.size() < 2 ? ":0" : ":") + rest;
}

std::string times(const RunState& state)
{
    constexpr double enoughToJudge = 0.01;
    std::string elapsed = "  " + minutesAndSeconds(state.elapsed) + " elapsed";
    if (state.fraction < enoughToJudge)
        return elapsed;
    return elapsed + "  " + minutesAndSeconds(state.elapsed * (1 - state.fraction) / state.fraction) +
           " left";
}

std::string percentage(double fraction)
{
    const std::string number = std::to_string(static_cast<int>(fraction * 100));
    return std::string(4 - std::min<std::size_t>(number.size(), 4), ' ') + number + " %";
}

std::string bar(double fraction, std::size_t width)
{
    const auto done = static_cast<std::size_t>(fraction * static_cast<double>(width));
    return "[" + std::string(done, '#') + std::string(width - done, '-') + "]";
}

} // namespace

std::string progressLine(const RunState& state, std::size_t width)
{
    RunState shown = state;
    shown.fraction = std::clamp(state.fraction, 0.0, 1.0);
    std::string line = padded(shown.stage, stageWidth);
    const std::string percent = percentage(shown.fraction);
    const std::string time = times(shown);
    const std::size_t fixed = line.size() + 3 + percent.size() + time.size();
    if (fixed + smallestBar <= width)
        line.append(1, ' ').append(bar(shown.fraction, std::min(width - fixed, largestBar)));
    if (line.size() + percent.size() <= width)
        line += percent;
    if (line.size() + time.size() <= width)
        line += time;
    return line.substr(0, width);
}
