#include "faults/Supervisor.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iostream>

#include <sys/syscall.h>

#include "crash/support/CrashFixture.h"

using namespace Brennic::Testing;

namespace {

const std::string olderDump = "an older dump";
const std::string olderReport = "an older report";

// Every time of every call, with every error, where somebody has the time for it.
bool isThorough()
{
    return std::getenv("BRN_FAULTS_THOROUGH") != nullptr;
}

// All but those that have no error to return, and our own mark.
bool mayFail(int call)
{
    static const std::set<int> infallible{SYS_rt_sigreturn, SYS_getpid,  SYS_gettid,
                                          SYS_getppid,      SYS_geteuid, SYS_personality};
    return infallible.count(call) == 0;
}

bool isWrite(int call)
{
    return call == SYS_write || call == SYS_pwrite64;
}

std::vector<Fault> faultsOf(int call, unsigned times)
{
    std::vector<Fault> faults{{call, 0, EPERM}, {call, 1, isWrite(call) ? ENOSPC : ENOSYS}};
    if (isWrite(call))
        faults.push_back({call, 0, 0});
    if (!isThorough())
        return faults;
    for (const int error : {ENOSYS, EIO, ENOMEM, ENOSPC, EINTR}) {
        // What is interrupted each time never comes to an end: nobody promises more.
        if (error != EINTR)
            faults.push_back({call, 0, error});
        for (unsigned time = 1; time <= std::min(times, 10U); ++time)
            faults.push_back({call, time, error});
    }
    return faults;
}

class CrashFaults : public CrashFixture, public ::testing::WithParamInterface<unsigned>
{
protected:
    SupervisedEnd run(const std::optional<Fault>& fault)
    {
        for (const auto& directory : {m_host, m_temporary}) {
            std::filesystem::remove_all(directory);
            std::filesystem::create_directory(directory);
        }
        writeFile(dump(), olderDump);
        writeFile(report(), olderReport);
        return runSupervised(m_directory.path(),
                             {m_host.string(), "null-write", "before=supervised", "after=watched"}, fault);
    }

    void expectWholeFiles()
    {
        const std::string text = readFile(report());
        EXPECT_TRUE(text == olderReport || text.find("</Profiler>\n") == text.size() - 12) << text;
        const std::vector<std::filesystem::path> elsewhere = finishedDumpsIn(m_temporary);
        if (readFile(dump()) != olderDump)
            return expectReadableDump(dump());
        if (!elsewhere.empty())
            expectReadableDump(elsewhere[0]);
    }

    bool hasDump() const { return readFile(dump()) != olderDump || !finishedDumpsIn(m_temporary).empty(); }

    static std::vector<std::filesystem::path> finishedDumpsIn(const std::filesystem::path& directory)
    {
        std::vector<std::filesystem::path> dumps = dumpsIn(directory);
        dumps.erase(std::remove_if(dumps.begin(), dumps.end(),
                                   [](const auto& path) { return path.extension() != ".dmp"; }),
                    dumps.end());
        return dumps;
    }

    // Dumps with the same parts are alike to the slow readers: one of them is enough.
    void expectReadableDump(const std::filesystem::path& path)
    {
        const Minidump minidump(path);
        EXPECT_EQ(minidump.exceptionCode(), static_cast<std::uint32_t>(SIGSEGV));
        const ReaderOutput yaml = readWithObj2yaml(path);
        EXPECT_EQ(yaml.exitCode, 0) << yaml.err;
        if (hasStackwalk()) {
            EXPECT_EQ(readWithStackwalk(path).exitCode, 0);
        }
        const std::string parts = describe(minidump);
        if (isThorough() || m_readParts.insert(parts).second) {
            EXPECT_THAT(readWithLldb(path).out, ::testing::HasSubstr("signal SIGSEGV")) << parts;
        }
    }

    static std::string describe(const Minidump& minidump)
    {
        std::string parts = std::to_string(minidump.placedThreadCount()) + " of " +
                            std::to_string(minidump.threadIds().size()) + " threads, " +
                            std::to_string(minidump.modules().size()) + " modules, streams";
        for (const std::uint32_t type : minidump.streamTypes())
            parts += ' ' + std::to_string(type);
        return parts;
    }

    void expectOutcome(const SupervisedEnd& outcome, const Fault& fault)
    {
        const ProcessEnd& end = outcome.end;
        // Standing still: 2 s for the report, 4 for the dump. The rest is for a machine that is busy.
        constexpr int documentedTime = 20'000;
        EXPECT_LT(end.time.count(), documentedTime);
        EXPECT_TRUE(end.signal == SIGSEGV || end.exitCode == 128 + SIGSEGV || end.signal == SIGKILL)
            << "signal " << end.signal << ", exit code " << end.exitCode;
        const bool canTell = !(fault.call == SYS_write && fault.time == 0 && fault.error != 0);
        const bool tells = end.err.find("[KVS_LOG] No crash dump: ") != std::string::npos;
        EXPECT_TRUE(hasDump() || tells || !canTell) << end.err;
        expectWholeFiles();
    }

    std::set<std::string> m_readParts;
};

constexpr unsigned parts = 4;

} // namespace

TEST_F(CrashFaults, withoutAFaultAllCallsOfTheCrashAreSeen)
{
    const SupervisedEnd outcome = run({});
    if (!outcome.isSupervised)
        GTEST_SKIP() << "the system lets nobody answer for another";
    EXPECT_EQ(outcome.end.signal, SIGSEGV);
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
    expectReport();
    // Not exit_group: the helper is killed as soon as it has said that it is done, and may not get there.
    for (const int call : {SYS_openat, SYS_write, SYS_pwrite64, SYS_renameat, SYS_clone, SYS_ptrace,
                           SYS_futex, SYS_process_vm_readv, SYS_rt_tgsigqueueinfo})
        EXPECT_GT(outcome.calls.count(call), 0U) << call;
}

TEST_P(CrashFaults, everySingleOneLeavesADumpOrALineAndNoBrokenFile)
{
    const SupervisedEnd clean = run({});
    if (!clean.isSupervised)
        GTEST_SKIP() << "the system lets nobody answer for another";
    unsigned count = 0;
    unsigned withoutDump = 0;
    unsigned index = 0;
    std::int64_t longest = 0;
    for (const auto& [call, times] : clean.calls) {
        if (index++ % parts != GetParam() || !mayFail(call))
            continue;
        for (const Fault& fault : faultsOf(call, times)) {
            SCOPED_TRACE("call " + std::to_string(call) + ", time " + std::to_string(fault.time) +
                         ", error " + std::to_string(fault.error));
            const SupervisedEnd outcome = run(fault);
            expectOutcome(outcome, fault);
            ++count;
            withoutDump += hasDump() ? 0U : 1U;
            if (outcome.end.time.count() > 2000)
                std::cout << "call " << call << ", time " << fault.time << ", error " << fault.error << ": "
                          << outcome.end.time.count() << " ms\n";
            longest = std::max<std::int64_t>(longest, outcome.end.time.count());
        }
    }
    std::cout << count << " faults, " << withoutDump << " without a dump, " << longest << " ms at most\n";
}

INSTANTIATE_TEST_SUITE_P(Part, CrashFaults, ::testing::Range(0U, parts));
