#include <brn_mesh_common/WinUtil.h>

#include <brn_mesh_common/minidump/DumpThread_win.h>

namespace Brennic::WinUtil {

bool DumpMiniDump(_EXCEPTION_POINTERS* exception, const wchar_t* path)
{
    return Minidump::dumpOnDumpThread(exception, path);
}

} // namespace Brennic::WinUtil
