/// \file
/// Crashes on purpose, for a test that looks at what is left:
///
///     crash_child DIRECTORY KIND [before=SITUATION] [after=SITUATION] [handler=NAME] [in=PLACE] [log=SETTING]
///                 [kernel=none] [delete=FILE [replace-by=FILE]]
///
/// `before` and `after` the kernel is initialised. The exit code is 9x if it could not get as far as that.

#include <filesystem>
#include <iostream>
#include <map>
#include <string>

#include <boost/nowide/args.hpp>
#include <boost/nowide/convert.hpp>
#include <brn_mesh_kernel/kernel/Kernel.h>

#include "crash/child/Crashes.h"
#include "crash/child/Handlers.h"
#include "crash/child/Places.h"
#include "crash/child/Situations.h"

namespace {

using namespace Brennic;
using namespace Brennic::Testing;

constexpr int wrongArguments = 93;
constexpr int hasSurvived = 94;

class Options
{
public:
    Options(int count, char** values)
    {
        for (int i = 3; i < count; ++i) {
            const std::string argument = values[i];
            const std::size_t separator = argument.find('=');
            m_values[argument.substr(0, separator)] = argument.substr(separator + 1);
        }
    }

    std::string get(const std::string& name, const std::string& otherwise) const
    {
        const auto found = m_values.find(name);
        return found == m_values.end() ? otherwise : found->second;
    }

private:
    std::map<std::string, std::string> m_values;
};

std::wstring logFile(const std::filesystem::path& directory)
{
    return boost::nowide::widen((directory / "child.log").u8string());
}

void initialize(const std::filesystem::path& directory, const std::string& log)
{
    Core::Kernel& kernel = Core::Kernel::Instance();
    if (log != "none")
        kernel.SetLogFilePath(logFile(directory).c_str());
    kernel.Initialize();
    kernel.ProfilerWaypoint(L"Before the crash");
    if (log == "re-pointed") {
        std::filesystem::create_directories(directory / "other");
        kernel.SetLogFilePath(logFile(directory / "other").c_str());
        kernel.Initialize();
    }
    if (log == "two-kernels" || log == "two-kernels-with-paths") {
        static auto* const second = new Core::Kernel;
        std::filesystem::create_directories(directory / "other");
        if (log == "two-kernels-with-paths")
            second->SetLogFilePath(logFile(directory / "other").c_str());
        second->Initialize();
    }
}

bool enter(const Options& options, const char* when, const std::filesystem::path& directory)
{
    const std::string situation = options.get(when, "");
    return situation.empty() || enterSituation(situation, directory);
}

void takeAway(const std::string& file, const std::string& replacement)
{
    if (!file.empty())
        std::filesystem::remove(file);
    if (!replacement.empty())
        std::filesystem::copy_file(replacement, file);
}

// Called by everything that crashes, so that a backtrace has a line of the host's that is always the same.
__attribute__((noinline)) bool workOnMesh(const std::string& kind)
{
    const bool isKnown = crash(kind);
    return isKnown && std::cout.good(); // no tail call
}

} // namespace

int main(int count, char** values)
{
    const boost::nowide::args utf8(count, values);
    if (count < 3)
        return wrongArguments;
    const std::filesystem::path directory = std::filesystem::u8path(values[1]);
    const std::string kind = values[2];
    const Options options(count, values);

    if (!enter(options, "before", directory))
        return wrongArguments;
    if (options.get("kernel", "one") != "none")
        initialize(directory, options.get("log", "file"));
    const std::string handler = options.get("handler", "none");
    if (handler != "none")
        Core::Kernel::Instance().SetSendCrashDumpHandler(crashHandler(handler, directory));
    takeAway(options.get("delete", ""), options.get("replace-by", ""));
    if (!enter(options, "after", directory))
        return wrongArguments;
    const bool isKnown = runIn(options.get("in", "main"), [&kind] { workOnMesh(kind); });
    return isKnown ? hasSurvived : wrongArguments;
}
