#include <brn_mesh_kernel/logging/Log4CplusLogger.h>

#include <cerrno>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include <gtest/gtest.h>
#include <log4cplus/appender.h>
#include <log4cplus/logger.h>
#include <log4cplus/spi/loggingevent.h>

#include <brn_mesh_kernel/logging/Log4cplusText.h>

#include "support/CapturedDebugger.h"
#include "support/VirtualSlot.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

class RecordingAppender : public log4cplus::Appender
{
public:
    ~RecordingAppender() override { destructorImpl(); }
    void close() override { closed = true; }

    std::vector<log4cplus::spi::InternalLoggingEvent> events;

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& event) override { events.push_back(event); }
};

class Log4CplusLoggerTest : public ::testing::Test
{
protected:
    Log4CplusLoggerTest()
    {
        log4cplus::Logger::getRoot().setLogLevel(Info);
        log4cplus::Logger::getRoot().addAppender(log4cplus::SharedAppenderPtr(m_appender.get()));
        logger.Initialize();
    }

    const std::vector<log4cplus::spi::InternalLoggingEvent>& events() const { return m_appender->events; }

    CapturedDebugger debugger;
    Log4CplusLogger logger{L"Test"};

private:
    log4cplus::helpers::SharedObjectPtr<RecordingAppender> m_appender{new RecordingAppender};
};

log4cplus::tstring text(const wchar_t* wide)
{
    return toLog4cplusText(wide);
}

} // namespace

TEST_F(Log4CplusLoggerTest, initializeBindsTheNamedLogger)
{
    EXPECT_EQ(Log4CplusLogger(L"Other").Initialize(), Success);
    EXPECT_TRUE(log4cplus::Logger::exists(text(L"Other")));
    logger.Log(Info, L"x");
    ASSERT_EQ(events().size(), 1U);
    EXPECT_EQ(events()[0].getLoggerName(), text(L"Test"));
}

TEST_F(Log4CplusLoggerTest, theFormatIsLowerCasedAndArgumentsAreNot)
{
    logger.Log(Info, L"Value %D of \u00c4 %S %X", 5, L"Name", 255);
    ASSERT_EQ(events().size(), 1U);
    // A capital letter outside ASCII is lower-cased only where the C locale knows it, and this one does not.
    EXPECT_EQ(events()[0].getMessage(), text(L"value 5 of \u00c4 Name ff"));
}

TEST_F(Log4CplusLoggerTest, recordsCarryTheLevelUnchanged)
{
    logger.Log(static_cast<EKvsLogLevel>(34567), L"between the levels");
    ASSERT_EQ(events().size(), 1U);
    EXPECT_EQ(events()[0].getLogLevel(), 34567);
}

TEST_F(Log4CplusLoggerTest, logCarriesNoLocation)
{
    logger.Log(Info, L"x");
    ASSERT_EQ(events().size(), 1U);
    EXPECT_EQ(events()[0].getFile(), log4cplus::tstring());
    EXPECT_EQ(events()[0].getLine(), -1);
    EXPECT_EQ(events()[0].getFunction(), log4cplus::tstring());
}

TEST_F(Log4CplusLoggerTest, logWithLocationCarriesIt)
{
    logger.LogWithLocation(Info, "mesh.cpp", 42, "smooth", L"Step %d", 3);
    ASSERT_EQ(events().size(), 1U);
    EXPECT_EQ(events()[0].getMessage(), text(L"step 3"));
    EXPECT_EQ(events()[0].getFile(), text(L"mesh.cpp"));
    EXPECT_EQ(events()[0].getLine(), 42);
    EXPECT_EQ(events()[0].getFunction(), text(L"smooth"));
    EXPECT_EQ(debugger.text(), "[KVS_LOG] step 3\n");
}

TEST_F(Log4CplusLoggerTest, locationWithNullNamesIsWritten)
{
    logger.LogWithLocation(Info, nullptr, 0, nullptr, L"x");
    ASSERT_EQ(events().size(), 1U);
    EXPECT_EQ(events()[0].getMessage(), text(L"x"));
}

TEST_F(Log4CplusLoggerTest, aNullFormatDoesNothing)
{
    logger.Log(Fatal, nullptr);
    logger.LogWithLocation(Fatal, "file", 1, "function", nullptr);
    EXPECT_TRUE(events().empty());
    EXPECT_EQ(debugger.text(), "");
}

TEST_F(Log4CplusLoggerTest, aDisabledLevelWritesNothingAnywhere)
{
    logger.Log(Debug, L"%s", L"x");
    logger.LogWithLocation(Debug, "file", 1, "function", L"x");
    EXPECT_TRUE(events().empty());
    EXPECT_EQ(debugger.text(), "");
}

TEST_F(Log4CplusLoggerTest, textThatIsNoUnicodeArrivesWithReplacementCharacters)
{
    const std::wstring invalid{L'a', static_cast<wchar_t>(0xD800), L'b'};
    logger.Log(Info, L"%s", invalid.c_str());
    ASSERT_EQ(events().size(), 1U);
    EXPECT_EQ(events()[0].getMessage(), text(L"a\uFFFDb"));
    EXPECT_EQ(debugger.text(), debugger.shown("[KVS_LOG] a\xEF\xBF\xBD"
                                              "b\n"));
}

TEST_F(Log4CplusLoggerTest, terminateLeavesTheLoggerBound)
{
    logger.Terminate();
    logger.Log(Info, L"still here");
    EXPECT_EQ(events().size(), 1U);
}

TEST_F(Log4CplusLoggerTest, theServiceIsTheFirstBase)
{
    const auto address = [](const void* pointer) { return reinterpret_cast<std::uintptr_t>(pointer); };
    EXPECT_EQ(address(static_cast<IService*>(&logger)), address(&logger));
    EXPECT_GT(address(static_cast<ILogger*>(&logger)), address(&logger));
}

TEST_F(Log4CplusLoggerTest, controlCharactersAreShownWhereThatIsSet)
{
    const wchar_t* const forged = L"a\n[1] FATAL - b\r\x1b[2J\u0085\u2028\u202e\ttab";
    logger.Log(Info, L"%s", forged);
    logger.setShowsControls(true);
    logger.Log(Info, L"%s", forged);
    ASSERT_EQ(events().size(), 2U);
    EXPECT_EQ(events()[0].getMessage(), text(forged));
    EXPECT_EQ(events()[1].getMessage(), text(LR"(a\n[1] FATAL - b\r\x1b[2J\x85\u2028\u202e)"
                                             L"\ttab"));
}

TEST_F(Log4CplusLoggerTest, theErrorOfTheCallerIsDescribedAndStays)
{
    errno = ENOENT;
    logger.Log(Info, L"%m");
    EXPECT_EQ(errno, ENOENT);
    ASSERT_EQ(events().size(), 1U);
    const std::string expected = std::generic_category().message(ENOENT);
    EXPECT_EQ(events()[0].getMessage(), text(std::wstring(expected.begin(), expected.end()).c_str()));
}
