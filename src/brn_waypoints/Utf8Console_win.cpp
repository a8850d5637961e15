#include <brn_waypoints/Utf8Console.h>

#include <windows.h>

namespace Brennic::Waypoints {

Utf8Console::Utf8Console()
{
    const UINT codePage = GetConsoleOutputCP();
    if (codePage != 0 && SetConsoleOutputCP(CP_UTF8) != FALSE)
        m_formerCodePage = codePage;
}

Utf8Console::~Utf8Console()
{
    if (m_formerCodePage != 0)
        SetConsoleOutputCP(m_formerCodePage);
}

} // namespace Brennic::Waypoints
