#include <brn_mesh_kernel/progress/ProgressLine.h>

#include <algorithm>
#include <cmath>

#include <QString>

#include <brn_console/DisplayWidth.h>
#include <brn_mesh_kernel/progress/Percent.h>

namespace Brennic::Core {

namespace {

constexpr std::size_t stageWidth = 10;
constexpr std::size_t smallestBar = 10;
constexpr std::size_t largestBar = 60;

std::size_t columns(const QString& text)
{
    return static_cast<std::size_t>(displayWidth(text));
}

// Only one line is erased, so line breaks in a description must go.
QString oneLine(QString text)
{
    for (QChar& character : text)
        if (character.category() == QChar::Other_Control)
            character = QLatin1Char(' ');
    return text;
}

QString padded(const QString& text, std::size_t width)
{
    const std::size_t missing = width - std::min(columns(text), width);
    return text + QString(static_cast<int>(missing), QLatin1Char(' '));
}

std::string twoDigits(long number)
{
    return (number < 10 ? "0" : "") + std::to_string(number);
}

// Such as 1:23, or 1:02:03 from an hour on.
std::string clockTime(std::chrono::duration<double> time)
{
    constexpr long minute = 60;
    const long seconds = std::lround(time.count());
    const long minutes = seconds / minute;
    const std::string rest = ":" + twoDigits(seconds % minute);
    if (minutes < minute)
        return std::to_string(minutes) + rest;
    return std::to_string(minutes / minute) + ":" + twoDigits(minutes % minute) + rest;
}

std::string times(const RunState& state)
{
    using namespace std::chrono_literals;
    const std::string elapsed = "  " + clockTime(state.elapsed) + " elapsed";
    const bool isWorthTelling = state.end.empty() && state.left && *state.left >= 0.5s && *state.left < 100h;
    return isWorthTelling ? elapsed + "  " + clockTime(*state.left) + " left" : elapsed;
}

std::string percentage(double fraction)
{
    const std::string number = std::to_string(toPercent(fraction));
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
    const double fraction = std::isnan(state.fraction) ? 0 : std::clamp(state.fraction, 0.0, 1.0);
    const QString stage = padded(oneLine(QString::fromStdString(state.stage)), stageWidth);
    const std::string percent = percentage(fraction);
    const std::string time = times(state);
    const QString end =
        state.end.empty() ? QString() : QStringLiteral("  ") + oneLine(QString::fromStdString(state.end));
    std::size_t taken = columns(stage);
    if (taken > width)
        return cutToWidth(stage, static_cast<int>(width)).toStdString();
    std::string line = stage.toStdString();
    const auto addIfItFits = [&](const std::string& part, std::size_t reserved = 0) {
        if (taken + part.size() + reserved > width)
            return;
        line += part;
        taken += part.size();
    };
    const std::size_t fixed = taken + 3 + percent.size() + time.size() + columns(end);
    if (fixed + smallestBar <= width)
        addIfItFits(' ' + bar(fraction, std::min(width - fixed, largestBar)));
    addIfItFits(percent);
    addIfItFits(time, columns(end));
    return line + cutToWidth(end, static_cast<int>(width - taken)).toStdString();
}

} // namespace Brennic::Core
