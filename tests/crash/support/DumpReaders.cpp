#include "crash/support/DumpReaders.h"

#include <vector>

#include <QProcess>

#include "support/Files.h"
#include "support/RunProgram.h"

namespace Brennic::Testing {

namespace {

ReaderOutput run(const std::string& program, const std::vector<std::string>& arguments)
{
    const ProgramResult result = runProgram(program, arguments, std::filesystem::temp_directory_path());
    return {result.hasExited ? result.exitCode : -1, result.out, result.err};
}

ReaderOutput runLldb(const std::filesystem::path& dump, const std::filesystem::path& executable,
                     const std::vector<std::string>& commands)
{
    std::vector<std::string> arguments{"--no-lldbinit", "--batch", "-c", dump.string()};
    if (!executable.empty())
        arguments.push_back(executable.string());
    for (const std::string& command : commands) {
        arguments.emplace_back("-o");
        arguments.push_back(command);
    }
    return run(BRN_LLDB, arguments);
}

} // namespace

ReaderOutput readWithLldb(const std::filesystem::path& dump, const std::filesystem::path& executable)
{
    return runLldb(dump, executable, {"thread backtrace -c 30", "thread list"});
}

ReaderOutput readAllThreadsWithLldb(const std::filesystem::path& dump)
{
    return runLldb(dump, {}, {"thread backtrace all"});
}

ReaderOutput readWithObj2yaml(const std::filesystem::path& dump)
{
    return run(BRN_OBJ2YAML, {dump.string()});
}

bool hasStackwalk()
{
    return std::filesystem::exists(BRN_MINIDUMP_STACKWALK);
}

ReaderOutput readWithStackwalk(const std::filesystem::path& dump)
{
    return run(BRN_MINIDUMP_STACKWALK, {dump.string()});
}

std::size_t countLines(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (const std::string& line : splitLines(text))
        count += line.find(part) != std::string::npos ? 1U : 0U;
    return count;
}

} // namespace Brennic::Testing
