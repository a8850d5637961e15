#include <brn_mesh_kernel/library/LiveLine.h>

#include <brn_mesh_kernel/library/StandardOutput.h>

namespace Brennic::Core {

namespace {

constexpr const char* toLineStartAndErase = "\r\x1b[K";

} // namespace

LiveLine& LiveLine::instance()
{
    static LiveLine& line = *new LiveLine; // never destroyed: records are logged late
    return line;
}

// Publishes m_isShown before reading m_hiders; hide() does the reverse, so at least one side sees the other.
void LiveLine::draw(const std::string& text)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const bool wasShown = m_isShown.exchange(true);
    if (m_hiders != 0) {
        m_isShown = wasShown;
        return;
    }
    drawOnStandardOutput(toLineStartAndErase + text);
}

void LiveLine::clear()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_isShown)
        drawOnStandardOutput(toLineStartAndErase);
    m_isShown = false;
}

void LiveLine::hide()
{
    ++m_hiders;
    if (m_isShown)
        clear();
}

void LiveLine::release()
{
    --m_hiders;
}

} // namespace Brennic::Core
