#include "crash/support/CrashFixture.h"

#include <algorithm>

namespace {

using namespace Brennic::Testing;

struct Kind
{
    const char* name;
    int signal;
    const char* function;
};

void PrintTo(const Kind& kind, std::ostream* stream)
{
    *stream << kind.name;
}

class CrashKind : public CrashFixture, public ::testing::WithParamInterface<Kind>
{
protected:
    void expectDumpOfThisKind()
    {
        const ProcessEnd end = crash(GetParam().name);
        EXPECT_EQ(end.signal, GetParam().signal);
        EXPECT_LT(end.time.count(), usualTime);
        expectReport();
        expectGoodDump(dump(), GetParam().signal, GetParam().function);
        EXPECT_THAT(dumpsIn(m_temporary), ::testing::IsEmpty());
    }
};

class CrashInHeap : public CrashKind
{
};

std::string nameOf(const ::testing::TestParamInfo<Kind>& test)
{
    std::string name = test.param.name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

} // namespace

TEST_P(CrashKind, leavesReportAndDumpAndDiesOfItsSignal)
{
    expectDumpOfThisKind();
}

TEST_P(CrashInHeap, leavesReportAndDumpAndDiesOfItsSignal)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizer's heap does not break so";
    expectDumpOfThisKind();
}

INSTANTIATE_TEST_SUITE_P(All, CrashKind,
                         ::testing::Values(Kind{"null-write", SIGSEGV, "crashByNullWrite"},
                                           Kind{"jump-to-null", SIGSEGV, "crashByJumpToNull"},
                                           Kind{"execute-data", SIGSEGV, "crashByExecutingData"},
                                           Kind{"abort", SIGABRT, "crashByAbort"},
                                           Kind{"throw", SIGABRT, "crashByException"},
                                           Kind{"pure-virtual", SIGABRT, "crashByPureVirtualCall"},
                                           Kind{"division", SIGFPE, "crashByDivision"},
                                           Kind{"illegal-instruction", SIGILL, "crashByIllegalInstruction"},
                                           Kind{"truncated-mapping", SIGBUS, "crashByTruncatedMapping"},
                                           Kind{"trap", SIGTRAP, "crashByTrap"},
                                           Kind{"forbidden-call", SIGSYS, "crashByForbiddenCall"},
                                           Kind{"stack-overflow", SIGSEGV, "crashByRecursion"}),
                         nameOf);

INSTANTIATE_TEST_SUITE_P(All, CrashInHeap,
                         ::testing::Values(Kind{"heap-top", SIGABRT, "crashInHeapByTopChunk"},
                                           Kind{"heap-free-list", SIGSEGV, "crashInHeapByFreeList"},
                                           Kind{"heap-double-free", SIGABRT, "crashInHeapByDoubleFree"}),
                         nameOf);
