#include "faults/StracedProgram.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <utility>

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include "support/Files.h"

namespace Brennic::Testing {

namespace {

// Standing still is what is looked for; a busy machine takes its time.
constexpr const char* longestRunInSeconds = "40";
constexpr int exitCodeOfTimeout = 124;

// strace ends as its program does, by the same signal too, and QProcess tells no signal: a shell does.
constexpr const char* runAndTell = R"(out=$1; shift; "$@" 2>"$out/err" >/dev/null; echo $? >"$out/status")";

struct TraceLine
{
    std::string thread;
    std::string name;
    std::string text;
};

// "1234  openat(AT_FDCWD, ...": no line for the rest of a call that another thread's has interrupted.
TraceLine parse(const std::string& line)
{
    const std::size_t space = line.find(' ');
    const std::size_t start = line.find_first_not_of(' ', space);
    if (start == std::string::npos)
        return {};
    const std::size_t parenthesis = line.find('(', start);
    std::string name = line.substr(start, parenthesis == std::string::npos ? 0 : parenthesis - start);
    if (name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_") != std::string::npos)
        name.clear();
    return {line.substr(0, space), name, line.substr(start)};
}

bool isRest(const TraceLine& line)
{
    return line.text.compare(0, 5, "<... ") == 0;
}

} // namespace

bool StracedEnd::isHit() const
{
    return injections == 1 &&
           std::any_of(calls.begin(), calls.end(), [](const SeenCall& call) { return call.isInjected; });
}

StracedProgram::StracedProgram(std::vector<std::string> command, std::filesystem::path watched,
                               std::filesystem::path scratch)
    : m_command(std::move(command)), m_watched(std::move(watched)), m_scratch(std::move(scratch))
{
}

std::string StracedProgram::hindrance() const
{
    QProcess strace;
    strace.start("strace", {"-f", "-o", "/dev/null", "true"});
    if (!strace.waitForStarted())
        return "strace is not installed";
    const bool isOver = strace.waitForFinished();
    return isOver && strace.exitStatus() == QProcess::NormalExit && strace.exitCode() == 0
               ? ""
               : "nobody may trace here: " + strace.readAllStandardError().simplified().toStdString();
}

StracedEnd StracedProgram::run() const
{
    return runStrace({});
}

StracedEnd StracedProgram::run(const InjectedFault& fault) const
{
    return runStrace(
        {"-e", "inject=" + fault.call + ':' + fault.effect + ":when=" + std::to_string(fault.time)});
}

StracedEnd StracedProgram::runStrace(const std::vector<std::string>& options) const
{
    QStringList arguments{"-c", runAndTell, "sh", QString::fromStdString(m_scratch.string())};
    const std::string trace = (m_scratch / "trace").string();
    for (const char* const word : {"timeout", longestRunInSeconds, "strace", "-f", "-y", "-o", trace.c_str(),
                                   "-e", "trace=%file,%desc"})
        arguments << word;
    for (const std::vector<std::string>* words : {&options, &m_command})
        for (const std::string& word : *words)
            arguments << QString::fromStdString(word);
    for (const char* name : {"trace", "err", "status"})
        std::filesystem::remove(m_scratch / name);
    QProcess shell;
    shell.setWorkingDirectory("/"); // so that only paths tell which calls are about the watched files
    shell.start("sh", arguments);
    StracedEnd end;
    shell.waitForFinished(-1); // the program's time is limited
    const int status = std::atoi(readFile(m_scratch / "status").c_str());
    end.isOver = status != exitCodeOfTimeout;
    end.signal = status > 128 ? status - 128 : 0;
    end.exitCode = status > 128 ? -1 : status;
    end.err = readFile(m_scratch / "err");
    read(readFile(m_scratch / "trace"), end);
    return end;
}

void StracedProgram::read(const std::string& trace, StracedEnd& end) const
{
    std::vector<SeenCall>& calls = end.calls;
    std::map<std::pair<std::string, std::string>, unsigned> times;
    std::map<std::string, std::size_t> unfinished; // a thread's call that waits for its end, by place
    std::istringstream lines(trace);
    for (std::string text; std::getline(lines, text);) {
        const TraceLine line = parse(text);
        if (line.text.empty())
            continue;
        const bool isInjected = text.find("(INJECTED)") != std::string::npos;
        end.injections += isInjected ? 1U : 0U;
        if (isRest(line)) {
            const auto begun = unfinished.find(line.thread);
            if (begun != unfinished.end() && begun->second < calls.size())
                calls[begun->second].isInjected |= isInjected;
            continue;
        }
        unfinished.erase(line.thread);
        if (line.name.empty())
            continue;
        const unsigned time = ++times[{line.thread, line.name}];
        if (text.find(m_watched.string()) == std::string::npos)
            continue;
        unfinished[line.thread] = calls.size();
        calls.push_back({line.name, time, line.text, isInjected});
    }
}

} // namespace Brennic::Testing
