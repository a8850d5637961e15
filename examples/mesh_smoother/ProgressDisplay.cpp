#include "ProgressDisplay.h"

#include <array>
#include <cstdio>
#include <iostream>

#include <boost/nowide/convert.hpp>

#include "Terminal.h"

namespace {

constexpr int redrawIntervalInMilliseconds = 100;
constexpr const char* toLineStartAndErase = "\r\x1b[K";

} // namespace

ProgressDisplay::ProgressDisplay() : m_isLive(isOutputATerminal())
{
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { draw(); });
    if (m_isLive)
        m_timer.start(redrawIntervalInMilliseconds);
}

ProgressDisplay::~ProgressDisplay()
{
    finish();
}

void ProgressDisplay::progressUpdated(Brennic::Core::Progress* /*progress*/, float fraction,
                                      const std::wstring& description)
{
    m_state.fraction = static_cast<double>(fraction);
    m_state.stage = boost::nowide::narrow(description);
}

void ProgressDisplay::progressCompleted(Brennic::Core::Progress* progress, const std::wstring& description)
{
    progressUpdated(progress, 1.0F, description);
}

void ProgressDisplay::stageDone(const std::string& stage)
{
    const std::chrono::duration<double> taken = Clock::now() - m_stageStart;
    m_stageStart = Clock::now();
    if (m_isLive)
        return;
    std::array<char, 64> line{};
    std::snprintf(line.data(), line.size(), "%-10s %8.3f s", stage.c_str(), taken.count());
    std::cout << line.data() << std::endl;
}

void ProgressDisplay::clearLine()
{
    if (m_isLineShown)
        std::cout << toLineStartAndErase << std::flush;
    m_isLineShown = false;
}

void ProgressDisplay::finish()
{
    m_timer.stop();
    clearLine();
}

void ProgressDisplay::draw()
{
    m_state.elapsed = Clock::now() - m_start;
    // One character less than the width: terminals wrap when the last one is filled.
    std::cout << toLineStartAndErase << progressLine(m_state, terminalWidth() - 1) << std::flush;
    m_isLineShown = true;
}
