#include <brn_mesh_common/WinUtil.h>

#include <brn_mesh_common/ExceptionPointers_linux.h>
#include <brn_mesh_common/minidump/DumpSession_linux.h>
#include <brn_mesh_common/minidump/ThreadClaim_linux.h>

namespace Brennic::WinUtil {

namespace {

// Milliseconds. Longer than a dump can take: its helpers have 25 seconds at most (DumpSession_linux.cpp).
constexpr std::int64_t longestDump = 26'000;

Minidump::Workspace g_workspace;

// The thread that uses the workspace.
Minidump::ThreadClaim g_claim;

// The workspace for one dump at a time. The claim is taken over from a thread that crashed while it wrote a
// dump, and from one that takes too long.
class WorkspaceClaim
{
public:
    WorkspaceClaim()
    {
        const Minidump::Deadline deadline(longestDump);
        for (;;) {
            const Minidump::ThreadClaim::Holder holder = g_claim.take();
            if (!holder.isInThisProcess())
                break;
            if (holder.isThisThread() || deadline.hasPassed()) {
                g_claim.takeOver();
                break;
            }
            Minidump::sleepMicroseconds(100);
        }
    }
    ~WorkspaceClaim() { g_claim.release(); }
    WorkspaceClaim(const WorkspaceClaim&) = delete;
    WorkspaceClaim& operator=(const WorkspaceClaim&) = delete;
};

} // namespace

bool DumpMiniDump(_EXCEPTION_POINTERS* exception, const wchar_t* path)
{
    const WorkspaceClaim claim;
    if (exception != nullptr)
        return Minidump::DumpSession(g_workspace, exception->information, *exception->context, path).run();
    ucontext_t here{}; // the registers of the caller, since no signal has recorded any
    getcontext(&here);
    return Minidump::DumpSession(g_workspace, nullptr, here, path).run();
}

} // namespace Brennic::WinUtil
