#include <brn_mesh_kernel/diagnostics/CrashStack.h>

#include <csignal>
#include <memory>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <sys/resource.h>

using namespace Brennic::Core;

namespace {

stack_t secondStack()
{
    stack_t stack{};
    sigaltstack(nullptr, &stack);
    return stack;
}

bool isBlocked(int signal)
{
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    return sigismember(&mask, signal) == 1;
}

} // namespace

TEST(CrashStack, givesItsThreadASecondStackOfOneMebibyteAtLeast)
{
    std::thread([] {
        const CrashStack crashStack;
        EXPECT_TRUE(crashStack.isInstalled());
        EXPECT_EQ(secondStack().ss_flags & SS_DISABLE, 0);
        EXPECT_GE(secondStack().ss_size, 1024U * 1024);
    }).join();
}

TEST(CrashStack, putsThePreviousStackBack)
{
    std::thread([] {
        std::vector<char> memory(64 * 1024);
        stack_t own{};
        own.ss_sp = memory.data();
        own.ss_size = memory.size();
        stack_t before = secondStack();
        ASSERT_EQ(sigaltstack(&own, nullptr), 0);
        {
            const CrashStack crashStack;
            EXPECT_NE(secondStack().ss_sp, own.ss_sp);
        }
        EXPECT_EQ(secondStack().ss_sp, own.ss_sp);
        sigaltstack(&before, nullptr);
    }).join();
}

TEST(CrashStack, leavesAStackAloneThatIsLargeEnough)
{
    std::thread([] {
        const CrashStack outer;
        const stack_t stack = secondStack();
        {
            const CrashStack inner;
            EXPECT_TRUE(inner.isInstalled());
            EXPECT_EQ(secondStack().ss_sp, stack.ss_sp);
        }
        EXPECT_EQ(secondStack().ss_sp, stack.ss_sp);
    }).join();
}

TEST(CrashStack, letsThroughTheSignalsOfACrash)
{
    std::thread([] {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, nullptr);
        const CrashStack crashStack;
        for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT})
            EXPECT_FALSE(isBlocked(signal)) << signal;
        EXPECT_TRUE(isBlocked(SIGTERM));
    }).join();
}

TEST(CrashStack, saysWhenThereIsNoMemoryForIt)
{
    if (!std::string_view(BRN_SANITIZER_NAME).empty())
        GTEST_SKIP() << "the sanitizer needs address space";
    std::thread([] {
        const auto first = std::make_unique<int>(0); // the thread has a heap now
        rlimit before{};
        getrlimit(RLIMIT_AS, &before);
        const rlimit little{1 << 20, before.rlim_max};
        setrlimit(RLIMIT_AS, &little);
        const bool isInstalled = CrashStack().isInstalled();
        setrlimit(RLIMIT_AS, &before);
        EXPECT_FALSE(isInstalled);
    }).join();
}
