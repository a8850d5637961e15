/// \file
/// Crashes where only the library's own code can put a process:
///
///     crash_child_inside DIRECTORY KIND worker|re-pointed
///
/// On a thread that is made as a worker of the library is, or with a dump directory that was set after the last
/// initialisation.

#include <filesystem>
#include <memory>
#include <string>

#include <QThread>
#include <boost/nowide/convert.hpp>
#include <brn_mesh_kernel/diagnostics/CrashFilter.h>
#include <brn_mesh_kernel/diagnostics/ExceptionHandler.h>

#include "crash/child/Crashes.h"
#include "crash/child/Handlers.h"

using namespace Brennic;
using namespace Brennic::Testing;

namespace {

constexpr int wrongArguments = 93;

// Not through Qt's thread function, which would catch an exception, and end the process when the stack is no more.
void crashOnWorker(const std::string& kind)
{
    const std::unique_ptr<QThread> worker(QThread::create([&kind]() noexcept {
        Core::CrashFilter::guardThisThread();
        crash(kind);
    }));
    worker->start();
    worker->wait();
}

} // namespace

int main(int count, char** values)
{
    if (count != 4)
        return wrongArguments;
    const std::filesystem::path directory = values[1];
    const std::string place = values[3];
    const std::wstring wideDirectory = boost::nowide::widen(directory.u8string());

    Core::ExceptionHandler handler;
    handler.SetDumpDirectory(wideDirectory.c_str());
    handler.Initialize();
    if (place == "worker") {
        crashOnWorker(values[2]);
    } else if (place == "re-pointed") {
        handler.SetSendCrashDumpHandler(crashHandler("true", directory));
        handler.SetDumpDirectory(wideDirectory.c_str());
        crash(values[2]);
    }
    return wrongArguments;
}
