#include "Crash.h"

#include <array>
#include <string>

#include <boost/nowide/convert.hpp>

#include <brn_mesh_common/FileUtil.h>
#include <brn_mesh_common/Util.h>

#include "Platform.h"

namespace {

using namespace Brennic::Objects;

std::array<char, 8192> g_commandLog{}; // filled before, since it cannot be worked out without memory

} // namespace

void prepareCrashNotice(const wchar_t* dumpDirectory)
{
    const std::wstring name = Util::GetCurrentProcessName() + L"_command_log.xml";
    Util::ConvertToChar(FileUtil::Combine(dumpDirectory, name))
        .copy(g_commandLog.data(), g_commandLog.size() - 1);
}

bool printCrashNotice(const wchar_t* dumpPath)
{
    std::array<char, 8192> dump; // NOLINT(*-member-init): filled by the conversion
    const bool fits = boost::nowide::narrow(dump.data(), dump.size(), dumpPath) != nullptr;
    printWithoutMemory("\nmesh_smoother: it has crashed. Dump: ");
    printWithoutMemory(fits ? dump.data() : "(its name is too long)");
    printWithoutMemory("\nmesh_smoother: command log: ");
    printWithoutMemory(g_commandLog.data());
    printWithoutMemory("\n");
    return true;
}
