#include "crash/child/PlatformSituations.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <future>
#include <locale>
#include <thread>
#include <utility>
#include <vector>

#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>
#include <log4cplus/appender.h>
#include <log4cplus/logger.h>

#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "crash/child/Crashes.h"
#include "crash/child/Sandbox_linux.h"
#include "support/Eventually.h"

#define BRN_NOT_INLINED __attribute__((noinline))

namespace Brennic::Testing {

namespace {

void require(bool isDone)
{
    if (!isDone)
        std::_Exit(91); // the test's own preparation has failed
}

// Starts a thread and returns once the function has said that it is where it shall be.
template <typename Function>
void startThread(Function function)
{
    std::promise<void> isThere;
    std::thread([&isThere, function] { function(isThere); }).detach();
    isThere.get_future().wait();
}

BRN_NOT_INLINED void idleForEver(std::promise<void>& isThere)
{
    isThere.set_value();
    for (;;)
        pause();
}

BRN_NOT_INLINED void spinForEver(std::promise<void>& isThere)
{
    isThere.set_value();
    for (volatile unsigned long count = 0;; count = count + 1)
        continue;
}

void startIdleThreads(int count)
{
    for (int i = 0; i != count; ++i)
        startThread(idleForEver);
}

// Blocks all signals, so that nobody stops it, and ends soon.
void passBy()
{
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(20);
    while (std::chrono::steady_clock::now() < end)
        continue;
}

// Threads begin and end all the time.
void startPassingThreads()
{
    constexpr int atOnce = 4;
    for (int i = 0; i != atOnce; ++i)
        startThread([](std::promise<void>& isThere) {
            isThere.set_value();
            for (;;)
                std::thread(passBy).join();
        });
}

void holdAppenderLocks()
{
    std::promise<std::size_t> locked;
    startThread([&locked](std::promise<void>& isThere) {
        log4cplus::SharedAppenderPtrList appenders = log4cplus::Logger::getRoot().getAllAppenders();
        for (const log4cplus::SharedAppenderPtr& appender : appenders)
            appender->access_mutex.lock();
        locked.set_value(appenders.size());
        idleForEver(isThere);
    });
    constexpr std::size_t consoleAndFile = 2;
    require(locked.get_future().get() == consoleAndFile);
}

std::size_t eventDescriptors()
{
    std::size_t count = 0;
    std::error_code error; // a descriptor may be closed while the directory is read
    for (std::filesystem::directory_iterator entry("/proc/self/fd", error), end; entry != end;
         entry.increment(error))
        count += std::filesystem::read_symlink(*entry, error) == "anon_inode:[eventfd]" ? 1U : 0U;
    return count;
}

// A worker that starts takes a descriptor, perhaps the very one that the report has been given.
bool haveAllWorkersStarted()
{
    int workers = 0;
    for (const Core::EQualityOfService qos :
         {Core::eQOS_High, Core::eQOS_Normal, Core::eQOS_Low, Core::eQOS_Background})
        workers += Core::TaskQueue::getGlobalQueue(qos)->getMaxConcurrency();
    return eventDescriptors() >= static_cast<std::size_t>(workers);
}

void useUpDescriptors()
{
    require(eventually(haveAllWorkersStarted));
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max = std::min<rlim_t>(limit.rlim_max, 256);
    require(setrlimit(RLIMIT_NOFILE, &limit) == 0);
    while (open("/dev/null", O_RDONLY | O_CLOEXEC) >= 0)
        continue;
}

void useUpAddressSpace()
{
    constexpr rlim_t little = 1 << 20;
    const rlimit limit{little, little}; // below what there is: nothing more can be mapped
    require(setrlimit(RLIMIT_AS, &limit) == 0);
    while (mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED)
        continue;
}

void becomeNobody()
{
    require(geteuid() != 0 || setresuid(65534, 65534, 65534) == 0);
    prctl(PR_SET_DUMPABLE, 1, 0, 0, 0); // as for a program that was started by that user
}

void limitFileSize(rlim_t now, rlim_t atMost)
{
    const rlimit limit{now, atMost};
    require(setrlimit(RLIMIT_FSIZE, &limit) == 0);
    becomeNobody(); // who may not raise it again
}

// A file system of the process's own, so that nobody else's runs full.
void mountSmallDisk(const std::filesystem::path& directory, const char* size)
{
    require(unshare(CLONE_NEWNS) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0);
    require(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0);
    require(mount("tmpfs", directory.c_str(), "tmpfs", 0, (std::string("mode=0777,size=") + size).c_str()) ==
            0);
}

void fillDisk(const std::filesystem::path& directory)
{
    mountSmallDisk(directory, "64k");
    const int file = open((directory / "other").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const std::vector<char> page(4096);
    while (write(file, page.data(), page.size()) > 0)
        continue;
    close(file);
}

void makeUnwritable(const std::filesystem::path& directory)
{
    require(chmod(directory.c_str(), 0555) == 0);
    becomeNobody();
}

// Crashes where a thread other than the main one formats numbers, as the report's does.
class CrashingNumbers : public std::num_put<char>
{
protected:
    iter_type do_put(iter_type next, std::ios_base& format, char fill, long number) const override
    {
        if (gettid() != getpid())
            crash("null-write");
        return std::num_put<char>::do_put(next, format, fill, number);
    }
};

// Takes its time where a thread other than the main one formats numbers, as the report's does.
class SlowNumbers : public std::num_put<char>
{
public:
    explicit SlowNumbers(void (*wait)()) : m_wait(wait) {}

protected:
    iter_type do_put(iter_type next, std::ios_base& format, char fill, long number) const override
    {
        if (gettid() != getpid())
            m_wait();
        return std::num_put<char>::do_put(next, format, fill, number);
    }

private:
    void (*m_wait)();
};

void useSlowNumbers(void (*wait)())
{
    std::locale::global(std::locale(std::locale(), new SlowNumbers(wait)));
}

// Works longer than anything may stand still.
void workForThreeSeconds()
{
    timespec used{};
    const auto seconds = [&used] {
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
        return used.tv_sec;
    };
    static thread_local bool isFirst = true;
    if (!std::exchange(isFirst, false))
        return;
    for (const time_t end = seconds() + 3; seconds() < end;)
        continue;
}

void allowDescriptors(rlim_t now, rlim_t atMost)
{
    const rlimit limit{now, atMost};
    require(setrlimit(RLIMIT_NOFILE, &limit) == 0);
}

// As where a program may not be looked into, not by its own user either.
void becomeUndumpable()
{
    becomeNobody();
    prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
}

// Somebody changes what a crash would use, all the time.
void changeSettingsAllTheTime()
{
    const auto setHandler = [](bool answer) {
        Core::Kernel::Instance().SetSendCrashDumpHandler([answer](const wchar_t*) { return answer; });
    };
    setHandler(true);
    startThread([setHandler](std::promise<void>& isThere) {
        isThere.set_value();
        for (bool answer = false;; answer = !answer)
            setHandler(answer);
    });
}

} // namespace

const Situations& platformSituations()
{
    static const Situations table{
        {"64-threads", [](const auto&) { startIdleThreads(64); }},
        {"500-threads", [](const auto&) { startIdleThreads(500); }},
        {"spinning-thread", [](const auto&) { startThread(spinForEver); }},
        {"passing-threads", [](const auto&) { startPassingThreads(); }},
        {"passing-threads-no-ptrace",
         [](const auto&) {
             startPassingThreads();
             answerCallsWith({SYS_ptrace}, Answer::Error);
         }},
        {"appender-locks-held", [](const auto&) { holdAppenderLocks(); }},
        {"no-descriptors", [](const auto&) { useUpDescriptors(); }},
        {"no-address-space", [](const auto&) { useUpAddressSpace(); }},
        {"file-size-limit", [](const auto&) { limitFileSize(4096, RLIM_INFINITY); }},
        {"hard-file-size-limit", [](const auto&) { limitFileSize(4096, 48UL * 1024); }},
        {"small-disk", [](const auto& directory) { mountSmallDisk(directory, "56k"); }},
        {"full-disk", fillDisk},
        {"unwritable-directory", makeUnwritable},
        {"vanished-directory", [](const auto& directory) { std::filesystem::remove_all(directory); }},
        {"no-ptrace", [](const auto&) { answerCallsWith({SYS_ptrace}, Answer::Error); }},
        {"no-ptrace-by-signal", [](const auto&) { answerCallsWith({SYS_ptrace}, Answer::Signal); }},
        {"no-memory-reading", [](const auto&) { answerCallsWith({SYS_process_vm_readv}, Answer::Error); }},
        {"no-helper", [](const auto&) { refuseNewProcesses(); }},
        {"no-helper-by-signal",
         [](const auto&) {
             answerCallsWith({SYS_clone, SYS_ptrace, SYS_close_range}, Answer::Signal);
         }},
        {"no-helper-no-signals",
         [](const auto&) {
             refuseNewProcesses();
             answerCallsWith({SYS_tgkill}, Answer::Error);
         }},
        {"changing-settings", [](const auto&) { changeSettingsAllTheTime(); }},
        {"crashing-report",
         [](const auto&) { std::locale::global(std::locale(std::locale(), new CrashingNumbers)); }},
        {"standing-report", [](const auto&) { useSlowNumbers([] { pause(); }); }},
        {"slow-report", [](const auto&) { useSlowNumbers(workForThreeSeconds); }},
        {"no-descriptors-for-now", [](const auto&) { allowDescriptors(0, 1024); }},
        {"no-descriptors-ever",
         [](const auto&) {
             becomeNobody();
             allowDescriptors(0, 0);
         }},
        {"undumpable", [](const auto&) { becomeUndumpable(); }},
        // What the usual profile of a container denies of what a dump would call.
        {"container",
         [](const auto&) {
             answerCallsWith({SYS_ptrace, SYS_process_vm_readv, SYS_process_vm_writev, SYS_kcmp},
                             Answer::Error);
         }},
        {"supervised", [](const auto&) { letSupervisorAnswerCalls(); }},
        {"watched", [](const auto&) { markForSupervisor(); }},
        {"as-nobody", [](const auto&) { becomeNobody(); }},
    };
    return table;
}

} // namespace Brennic::Testing
