#include <brn_mesh_kernel/progress/ReportGate.h>

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using Brennic::Core::EReportVerdict;
using Brennic::Core::ReportGate;
using Brennic::Core::ReportReceivers;

namespace {

using Time = std::chrono::nanoseconds;

struct FakeClock
{
    static Time coarse() { return now; }
    static Time exact() { return now; }

    static inline Time now{0};
};

class ReportGateTest : public ::testing::Test
{
protected:
    ReportGateTest()
    {
        FakeClock::now = 1h;
        gate.setInterval(100ms);
    }

    // Takes a step, and reports if it has to.
    EReportVerdict step(Time passed, bool isComplete = false)
    {
        FakeClock::now += passed;
        const EReportVerdict result = gate.step(FakeClock::now, isComplete);
        if (result == EReportVerdict::Report) {
            EXPECT_EQ(gate.end(), EReportVerdict::LeaveOut);
        }
        return result;
    }

    Time lateReport(std::uint64_t number, bool reachesDelegate = true)
    {
        return gate.lateReport(number, reachesDelegate, verdict);
    }

    // Begins a report that is due for the delegate: the watchers had a late one 30 ms ago.
    void beginReportToTheDelegateAlone()
    {
        step(0ms);
        step(30ms);
        FakeClock::now += 70ms;
        lateReport(gate.beginLateReport(), false);
        FakeClock::now += 30ms;
        ASSERT_EQ(gate.step(FakeClock::now, false), EReportVerdict::Report);
    }

    ReportGate<FakeClock> gate;
    EReportVerdict verdict = EReportVerdict::LeaveOut;
};

} // namespace

TEST_F(ReportGateTest, aStepIsReportedOnceTheIntervalHasPassed)
{
    EXPECT_EQ(step(0ms), EReportVerdict::Report);
    EXPECT_EQ(step(0ms), EReportVerdict::LeaveOutFirst);
    EXPECT_EQ(step(99ms), EReportVerdict::LeaveOut);
    EXPECT_EQ(step(1ms), EReportVerdict::Report);
    EXPECT_EQ(step(99ms), EReportVerdict::LeaveOutFirst);
    EXPECT_EQ(step(500ms), EReportVerdict::Report);
}

TEST_F(ReportGateTest, aThousandStepsAMillisecondApartMakeTenReports)
{
    int reports = 0;
    for (int i = 0; i < 1000; ++i)
        reports += step(1ms) == EReportVerdict::Report ? 1 : 0;
    EXPECT_EQ(reports, 10);
}

TEST_F(ReportGateTest, completionIsReportedAtOnceAndOnce)
{
    EXPECT_EQ(step(0ms), EReportVerdict::Report);
    EXPECT_EQ(step(0ms, true), EReportVerdict::Report);
    EXPECT_EQ(step(0ms, true), EReportVerdict::LeaveOutFirst);
    EXPECT_EQ(step(100ms, true), EReportVerdict::Report) << "a later step, at the interval";
}

TEST_F(ReportGateTest, workThatGrewAndIsCompletedAgainReportsThat)
{
    EXPECT_EQ(step(0ms, true), EReportVerdict::Report);
    EXPECT_EQ(step(100ms, false), EReportVerdict::Report);
    EXPECT_EQ(step(0ms, true), EReportVerdict::Report);
}

TEST_F(ReportGateTest, aStepDuringAReportIsLeftToTheThreadThatReports)
{
    ASSERT_EQ(gate.step(FakeClock::now, false), EReportVerdict::Report);
    EXPECT_EQ(gate.step(FakeClock::now, false), EReportVerdict::LeaveOut);
    EXPECT_EQ(gate.end(), EReportVerdict::LeaveOutFirst);
}

TEST_F(ReportGateTest, whoeverReportsReportsACompletionOfMeanwhileToo)
{
    ASSERT_EQ(gate.step(FakeClock::now, false), EReportVerdict::Report);
    EXPECT_EQ(gate.step(FakeClock::now, true), EReportVerdict::LeaveOut);
    EXPECT_EQ(gate.end(), EReportVerdict::Report);
    EXPECT_EQ(gate.end(), EReportVerdict::LeaveOut);
}

TEST_F(ReportGateTest, aLateReportWaitsForTheRestOfTheInterval)
{
    step(0ms);
    ASSERT_EQ(step(30ms), EReportVerdict::LeaveOutFirst);
    const std::uint64_t number = gate.beginLateReport();
    EXPECT_EQ(lateReport(number), 70ms);
    FakeClock::now += 70ms;
    EXPECT_EQ(lateReport(number), 0ms);
    EXPECT_EQ(verdict, EReportVerdict::Report);
    EXPECT_EQ(gate.end(), EReportVerdict::LeaveOut);
    EXPECT_FALSE(gate.close()) << "the delegate has it";
}

TEST_F(ReportGateTest, aStepThatIsReportedMovesTheLateReport)
{
    step(0ms);
    step(30ms);
    const std::uint64_t number = gate.beginLateReport();
    ASSERT_EQ(step(70ms), EReportVerdict::Report);
    EXPECT_EQ(step(10ms), EReportVerdict::LeaveOut) << "one is on its way";
    EXPECT_EQ(lateReport(number), 90ms);
    EXPECT_EQ(verdict, EReportVerdict::LeaveOut);
}

TEST_F(ReportGateTest, aLateReportDoesNotOvertakeReportsThatWereMadeSinceItWasPosted)
{
    step(0ms);
    step(30ms);
    const std::uint64_t number = gate.beginLateReport();
    ASSERT_EQ(step(70ms), EReportVerdict::Report);
    step(10ms);
    FakeClock::now += 500ms; // the GUI thread was busy
    EXPECT_EQ(lateReport(number), 1ms);
    EXPECT_EQ(verdict, EReportVerdict::LeaveOut);
    gate.postLateReport();
    EXPECT_EQ(lateReport(number), 0ms);
    EXPECT_EQ(verdict, EReportVerdict::Report);
}

TEST_F(ReportGateTest, aLateReportWithNothingToTellEnds)
{
    step(0ms);
    step(30ms);
    const std::uint64_t number = gate.beginLateReport();
    step(70ms);
    EXPECT_EQ(lateReport(number), 0ms);
    EXPECT_EQ(verdict, EReportVerdict::LeaveOut);
    EXPECT_EQ(step(10ms), EReportVerdict::LeaveOutFirst) << "the next one is asked for";
}

TEST_F(ReportGateTest, aLateReportToWatchersLeavesTheDelegateItsOwn)
{
    step(0ms);
    step(30ms);
    const std::uint64_t number = gate.beginLateReport();
    FakeClock::now += 100ms;
    EXPECT_EQ(lateReport(number, false), 0ms);
    EXPECT_EQ(verdict, EReportVerdict::Report);
    EXPECT_TRUE(gate.close());
    EXPECT_FALSE(gate.close());
}

TEST_F(ReportGateTest, aLateReportToWatchersPutsTheDelegatesNoneOff)
{
    ASSERT_NO_FATAL_FAILURE(beginReportToTheDelegateAlone());
    const ReportReceivers receivers = gate.told(false);
    EXPECT_TRUE(receivers.delegate);
    EXPECT_FALSE(receivers.watchers);
    EXPECT_EQ(gate.end(), EReportVerdict::LeaveOutFirst);
    const std::uint64_t number = gate.beginLateReport();
    EXPECT_EQ(lateReport(number, false), 70ms);
    FakeClock::now += 70ms;
    EXPECT_EQ(lateReport(number, false), 0ms);
    EXPECT_EQ(verdict, EReportVerdict::Report);
    EXPECT_FALSE(gate.close()) << "the delegate has it";
}

TEST_F(ReportGateTest, whatChangesBeforeTheReportIsReadIsReportedWithIt)
{
    ASSERT_EQ(gate.step(FakeClock::now, false), EReportVerdict::Report);
    ASSERT_EQ(gate.step(FakeClock::now, true), EReportVerdict::LeaveOut);
    const ReportReceivers receivers = gate.told(true);
    EXPECT_TRUE(receivers.delegate && receivers.watchers);
    EXPECT_EQ(gate.end(), EReportVerdict::LeaveOut);
    EXPECT_FALSE(gate.close());
}

TEST_F(ReportGateTest, aCompletionReachesAllThoughTheReportWasForTheDelegate)
{
    ASSERT_NO_FATAL_FAILURE(beginReportToTheDelegateAlone());
    ASSERT_EQ(gate.step(FakeClock::now, true), EReportVerdict::LeaveOut);
    EXPECT_TRUE(gate.told(true).watchers);
    EXPECT_EQ(gate.end(), EReportVerdict::LeaveOut);
}

TEST_F(ReportGateTest, aReceiverThatComesLaterIsAReasonToAskAgain)
{
    step(0ms);
    ASSERT_EQ(step(1ms), EReportVerdict::LeaveOutFirst);
    ASSERT_EQ(step(1ms), EReportVerdict::LeaveOut);
    gate.addReceiver();
    EXPECT_EQ(step(1ms), EReportVerdict::LeaveOutFirst);
}

TEST_F(ReportGateTest, aNewIntervalCountsAtOnceAndEndsTheLateReport)
{
    step(0ms);
    step(30ms);
    const std::uint64_t number = gate.beginLateReport();
    gate.setInterval(40ms);
    EXPECT_EQ(lateReport(number), 0ms);
    EXPECT_EQ(verdict, EReportVerdict::LeaveOut);
    EXPECT_EQ(step(9ms), EReportVerdict::LeaveOutFirst);
    EXPECT_EQ(step(1ms), EReportVerdict::Report);
}

TEST_F(ReportGateTest, aFlushReportsWhatWasLeftOutAndNothingElse)
{
    step(0ms);
    EXPECT_EQ(gate.flush(), EReportVerdict::LeaveOut);
    step(30ms);
    EXPECT_EQ(gate.flush(), EReportVerdict::Report);
    EXPECT_EQ(gate.end(), EReportVerdict::LeaveOut);
    EXPECT_EQ(step(99ms), EReportVerdict::LeaveOutFirst) << "it counts as a report";
}

TEST_F(ReportGateTest, whatIsFlushedDuringAReportIsReportedByThatThread)
{
    ASSERT_EQ(gate.step(FakeClock::now, false), EReportVerdict::Report);
    gate.step(FakeClock::now, false);
    EXPECT_EQ(gate.flush(), EReportVerdict::LeaveOut);
    EXPECT_EQ(gate.end(), EReportVerdict::Report);
}
