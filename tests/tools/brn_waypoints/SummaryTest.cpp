#include <brn_waypoints/Summary.h>

#include <gtest/gtest.h>

#include "tools/brn_waypoints/ReportsFixture.h"

using namespace Brennic::Testing;
using namespace Brennic::Waypoints;

TEST(Summary, waypointsOfOneNameAreAddedUpInTheOrderOfTheirNames)
{
    const Summary summary(parsed(exampleReport()));
    ASSERT_EQ(summary.rows().size(), 3U);
    EXPECT_EQ(summary.rows()[0].name, QStringLiteral("Load"));
    EXPECT_EQ(summary.rows()[2].name, QStringLiteral("END"));
    const SummaryRow& smooth = summary.rows()[1];
    EXPECT_EQ(smooth.name, QStringLiteral("Smooth"));
    EXPECT_EQ(smooth.count, 2U);
    EXPECT_EQ(smooth.seconds, 2.5);
    EXPECT_EQ(smooth.frames, 30);
    EXPECT_EQ(smooth.memory, 524288);
}

TEST(Summary, theTotalIsTheSumAndSharesAreOfIt)
{
    const Summary summary(parsed(exampleReport()));
    EXPECT_EQ(summary.total().count, 4U);
    EXPECT_EQ(summary.total().seconds, 4);
    EXPECT_EQ(summary.total().frames, 30);
    EXPECT_EQ(summary.total().memory, 2621440);
    EXPECT_EQ(summary.share(summary.rows()[0]), 0.375);
    EXPECT_EQ(summary.share(summary.total()), 1);
}

TEST(Summary, sumsMayLeaveTheRangeOfOneWaypoint)
{
    const std::string line = waypointLine("a", "2147483647", "0", "-2147483648");
    const Summary summary(parsed(reportOf(line + line)));
    EXPECT_EQ(summary.total().frames, 4'294'967'294);
    EXPECT_EQ(summary.total().memory, -4'294'967'296);
}

TEST(Summary, withoutTimeSharesAreZero)
{
    const Summary summary(parsed(reportOf(waypointLine("a", "0", "0", "0"))));
    EXPECT_EQ(summary.share(summary.rows()[0]), 0);
}

TEST(SummaryTable, cellsHaveTheirUnits)
{
    const std::vector<QStringList> table = summaryTable(Summary(parsed(exampleReport())));
    ASSERT_EQ(table.size(), 4U);
    EXPECT_EQ(table[1].join(QLatin1Char('|')), QStringLiteral("Smooth|2|2.500|62.5 %|30|+0.5"));
    EXPECT_EQ(table[3].join(QLatin1Char('|')), QStringLiteral("total|4|4.000|100.0 %|30|+2.5"));
}

TEST(SummaryTable, littleMemoryIsNoNegativeZero)
{
    const std::vector<QStringList> table =
        summaryTable(Summary(parsed(reportOf(waypointLine("a", "0", "0", "-1")))));
    EXPECT_EQ(table[0].last(), QStringLiteral("+0.0"));
}
