#pragma once
/// \file
/// What other people's programs see in a dump.

#include <cstddef>
#include <filesystem>
#include <string>

namespace Brennic::Testing {

struct ReaderOutput
{
    int exitCode;
    std::string out;
    std::string err;
};

/// lldb: the crashing thread's backtrace, and a line per thread.
/// \param executable if it does not lie where the dump says.
ReaderOutput readWithLldb(const std::filesystem::path& dump, const std::filesystem::path& executable = {});
/// lldb: all backtraces.
ReaderOutput readAllThreadsWithLldb(const std::filesystem::path& dump);
/// LLVM's strict reader.
ReaderOutput readWithObj2yaml(const std::filesystem::path& dump);

/// Whether tools/crash-readers.sh has put it where the build looks for it.
bool hasStackwalk();
ReaderOutput readWithStackwalk(const std::filesystem::path& dump);

std::size_t countLines(const std::string& text, const std::string& part);

} // namespace Brennic::Testing
