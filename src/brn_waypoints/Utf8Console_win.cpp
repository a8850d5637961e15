#include <brn_waypoints/Utf8Console.h>

#include <windows.h>

namespace Brennic::Waypoints {

class Utf8Console::Impl
{
public:
    explicit Impl(UINT formerCodePage) : m_formerCodePage(formerCodePage) {}
    ~Impl() { SetConsoleOutputCP(m_formerCodePage); }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

private:
    const UINT m_formerCodePage;
};

Utf8Console::Utf8Console()
{
    const UINT codePage = GetConsoleOutputCP();
    if (codePage != 0 && SetConsoleOutputCP(CP_UTF8) != FALSE)
        m_impl = std::make_unique<Impl>(codePage);
}

Utf8Console::~Utf8Console() = default;

} // namespace Brennic::Waypoints
