#include <brn_mesh_kernel/diagnostics/CrashStack.h>

#include <windows.h>

namespace Brennic::Core {

namespace {

// The crash filter only waits here for the threads that do the work; the rest is for the system's own frames.
constexpr ULONG reserve = 64UL * 1024;

bool reserveStack()
{
    ULONG size = reserve;
    return SetThreadStackGuarantee(&size) != 0;
}

} // namespace

// The system keeps the reserve of a thread for as long as it runs, and never makes it smaller.
class CrashStack::Impl
{
public:
    bool isInstalled() const { return m_isInstalled; }

private:
    bool m_isInstalled = reserveStack();
};

CrashStack::CrashStack() : m_impl(std::make_unique<Impl>()) {}

CrashStack::~CrashStack() = default;

bool CrashStack::isInstalled() const
{
    return m_impl->isInstalled();
}

} // namespace Brennic::Core
