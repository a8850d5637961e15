#include <brn_mesh_common/WinUtil.h>

#include <atomic>

#include <brn_mesh_common/ExceptionPointers_linux.h>
#include <brn_mesh_common/minidump/DumpSession_linux.h>

namespace Brennic::WinUtil {

namespace {

constexpr std::int64_t longestDump = 26'000;

Minidump::Workspace g_workspace;

// Process and thread that use the workspace; 0: nobody.
std::atomic<std::uint64_t> g_user{0};

// The workspace for one dump at a time. Not a lock that can be waited for in vain: it is taken over from a
// thread that crashed while it wrote a dump, from the parent of a forked process, and from one that takes too
// long.
class WorkspaceClaim
{
public:
    WorkspaceClaim() : m_self(self())
    {
        const Minidump::Deadline deadline(longestDump);
        for (std::uint64_t user = 0; !g_user.compare_exchange_strong(user, m_self); user = 0) {
            if (user == m_self || user >> 32 != m_self >> 32 || deadline.hasPassed())
                g_user = m_self;
            else
                Minidump::sleepMicroseconds(100);
        }
    }
    ~WorkspaceClaim() { g_user.compare_exchange_strong(m_self, 0); }
    WorkspaceClaim(const WorkspaceClaim&) = delete;
    WorkspaceClaim& operator=(const WorkspaceClaim&) = delete;

private:
    static std::uint64_t self()
    {
        const auto process = static_cast<std::uint64_t>(Minidump::processId());
        return process << 32 | static_cast<std::uint64_t>(Minidump::threadId());
    }

    std::uint64_t m_self;
};

} // namespace

bool DumpMiniDump(_EXCEPTION_POINTERS* exception, const wchar_t* path)
{
    const WorkspaceClaim claim;
    if (exception != nullptr)
        return Minidump::DumpSession(g_workspace, exception->information, *exception->context, path).run();
    ucontext_t here{};
    getcontext(&here);
    return Minidump::DumpSession(g_workspace, nullptr, here, path).run();
}

} // namespace Brennic::WinUtil
