/// \file
/// Crashes where no host can bring a process, between the setting of a dump directory and its initialisation:
///
///     crash_child_inside DIRECTORY KIND

#include <filesystem>
#include <string>

#include <boost/nowide/args.hpp>
#include <boost/nowide/convert.hpp>
#include <brn_mesh_kernel/diagnostics/ExceptionHandler.h>

#include "crash/child/Crashes.h"
#include "crash/child/Handlers.h"

int main(int count, char** values)
{
    constexpr int wrongArguments = 93;
    const boost::nowide::args utf8(count, values);
    if (count != 3)
        return wrongArguments;
    const std::filesystem::path directory = std::filesystem::u8path(values[1]);
    const std::wstring wideDirectory = boost::nowide::widen(directory.u8string());

    Brennic::Core::ExceptionHandler handler([](const wchar_t* /*path*/) noexcept {});
    handler.SetDumpDirectory(wideDirectory.c_str());
    handler.Initialize();
    handler.SetSendCrashDumpHandler(Brennic::Testing::crashHandler("true", directory));
    handler.SetDumpDirectory(wideDirectory.c_str());
    return Brennic::Testing::crash(values[2]) ? 0 : wrongArguments;
}
