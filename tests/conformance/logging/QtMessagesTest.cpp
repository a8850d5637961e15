#include <brn_mesh_kernel/logging/QtMessages.h>

#include <atomic>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <log4cplus/appender.h>
#include <log4cplus/logger.h>

#include <QLoggingCategory>
#include <QString>
#include <QtGlobal>

#include "support/KernelFixture.h"
#include "support/RunProgram.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

Q_LOGGING_CATEGORY(meshCategory, "host.Mesh")

std::mutex g_mutex;
std::vector<std::string> g_handedOn; // guarded by g_mutex

// The handler that the host has before.
void keepMessage(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& message)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_handedOn.push_back(message.toStdString());
}

// A handler that ends what has the message written.
void keepAndThrow(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    keepMessage(type, context, message);
    throw std::runtime_error("no warnings here");
}

QtMessageHandler g_below = nullptr;

// One that the host installs later, and that hands on.
void handOn(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    g_below(type, context, QStringLiteral("later: ") + message);
}

class QtMessagesTest : public KernelFixture
{
protected:
    QtMessagesTest()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("*=true\nqt.*=false"));
        qInstallMessageHandler(&keepMessage);
    }
    ~QtMessagesTest() override
    {
        QtMessages::restore();
        qInstallMessageHandler(nullptr);
    }

    static std::vector<std::string> handedOn()
    {
        const std::lock_guard<std::mutex> lock(g_mutex);
        return g_handedOn;
    }
};

// An appender of a host that uses Qt, which has something to say about it.
class WarningAppender : public log4cplus::Appender
{
public:
    ~WarningAppender() override { destructorImpl(); }
    void close() override {}

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& /*event*/) override
    {
        qWarning("from the appender");
    }
};

} // namespace

TEST_F(QtMessagesTest, eachMessageIsARecordOfItsLevel)
{
    kernel.SetLogMessageFormat(L"%p %m%n");
    kernel.SetLogFilePath(wide(directory / "host.log").c_str());
    kernel.SetLogLevel(Trace);
    kernel.Initialize();
    QtMessages::forward();
    qDebug("a");
    qInfo("b");
    qWarning("c");
    qCritical("d");
    EXPECT_THAT(logLines(), ElementsAre("DEBUG a", "INFO b", "WARN c", "ERROR d"));
    EXPECT_THAT(handedOn(), IsEmpty());
}

TEST_F(QtMessagesTest, theTextKeepsItsCaseAndEveryCharacter)
{
    initializeWithPlainLines();
    QtMessages::forward();
    const std::string text = "A %s \xC3\x9C \xE2\x82\xAC \xF0\x9F\x98\x80";
    qWarning().noquote() << QString::fromStdString(text);
    qWarning().noquote() << QString(QChar(0xD83D)) + QStringLiteral("<") + QChar(QChar::Null) +
                                QStringLiteral(">");
    EXPECT_THAT(logLines(), ElementsAre(text, "\xEF\xBF\xBD<\xE2\x90\x80>"));
}

TEST_F(QtMessagesTest, theCategoryStandsBeforeTheText)
{
    initializeWithPlainLines();
    QtMessages::forward();
    qCWarning(meshCategory, "is empty");
    EXPECT_THAT(logLines(), ElementsAre("host.Mesh: is empty"));
}

TEST_F(QtMessagesTest, thePlaceInTheSourceIsTheRecords)
{
    kernel.SetLogMessageFormat(L"%F:%L %M %m%n");
    kernel.SetLogFilePath(wide(directory / "host.log").c_str());
    kernel.Initialize();
    QtMessages::forward();
    QMessageLogger("mesh.cpp", 42, "smooth").warning("Done");
    EXPECT_THAT(logLines(), ElementsAre("mesh.cpp:42 smooth Done"));
}

TEST_F(QtMessagesTest, aMessageBelowTheLogLevelGoesNowhere)
{
    initializeWithPlainLines();
    QtMessages::forward();
    qDebug("x");
    EXPECT_THAT(logLines(), IsEmpty());
    EXPECT_THAT(handedOn(), IsEmpty());
}

TEST_F(QtMessagesTest, messagesGoWhereTheyWentWhileNothingIsLogged)
{
    QtMessages::forward();
    qWarning("before");
    initializeWithPlainLines();
    qWarning("between");
    kernel.SetLogLevel(Off);
    qWarning("silent");
    kernel.SetLogLevel(Info);
    kernel.Terminate();
    qWarning("after");
    EXPECT_THAT(logLines(), ElementsAre("between"));
    EXPECT_THAT(handedOn(), ElementsAre("before", "silent", "after"));
}

TEST_F(QtMessagesTest, forwardingTwiceIsForwardingOnce)
{
    initializeWithPlainLines();
    QtMessages::forward();
    QtMessages::forward();
    qWarning("x");
    QtMessages::restore();
    qWarning("y");
    EXPECT_THAT(logLines(), ElementsAre("x"));
    EXPECT_THAT(handedOn(), ElementsAre("y"));
}

TEST_F(QtMessagesTest, restoringBringsTheFormerHandlerBack)
{
    initializeWithPlainLines();
    QtMessages::restore(); // nothing to restore
    QtMessages::forward();
    QtMessages::restore();
    QtMessages::restore();
    qWarning("x");
    EXPECT_THAT(logLines(), IsEmpty());
    EXPECT_THAT(handedOn(), ElementsAre("x"));
    EXPECT_EQ(qInstallMessageHandler(nullptr), &keepMessage);
}

TEST_F(QtMessagesTest, aHandlerThatWasInstalledLaterStaysAndMayHandOn)
{
    initializeWithPlainLines();
    QtMessages::forward();
    g_below = qInstallMessageHandler(&handOn);
    qWarning("a");
    QtMessages::restore();
    qWarning("b");
    EXPECT_THAT(logLines(), ElementsAre("later: a"));
    EXPECT_THAT(handedOn(), ElementsAre("later: b"));
    EXPECT_EQ(qInstallMessageHandler(nullptr), &handOn);
}

TEST_F(QtMessagesTest, handlersThatHandOnToEachOtherComeToAnEnd)
{
    QtMessages::forward();
    g_below = qInstallMessageHandler(&handOn);
    QtMessages::forward(); // above the one that hands on to it
    const CapturedOutput errors(Descriptor::standardError);
    qWarning("x");
    EXPECT_EQ(fromTextMode(errors.text()), "later: x\n");
    EXPECT_THAT(handedOn(), IsEmpty());
    QtMessages::restore();
    EXPECT_EQ(qInstallMessageHandler(nullptr), &handOn);
}

TEST_F(QtMessagesTest, aHandlerThatThrowsGetsTheNextMessageToo)
{
    qInstallMessageHandler(&keepAndThrow);
    QtMessages::forward();
    EXPECT_THROW(qWarning("a"), std::runtime_error);
    EXPECT_THROW(qWarning("b"), std::runtime_error);
    EXPECT_THAT(handedOn(), ElementsAre("a", "b"));
}

TEST_F(QtMessagesTest, aMessageOfAnAppenderDoesNotComeBack)
{
    initializeWithPlainLines();
    log4cplus::Logger::getRoot().addAppender(log4cplus::SharedAppenderPtr(new WarningAppender));
    QtMessages::forward();
    logger().Log(Info, L"by the logger");
    EXPECT_THAT(logLines(), ElementsAre("by the logger"));
    EXPECT_THAT(handedOn(), ElementsAre("from the appender"));
}

// Qt calls no handler inside another.
TEST_F(QtMessagesTest, aMessageInsideTheRecordOfOneIsPrintedByQt)
{
    initializeWithPlainLines();
    log4cplus::Logger::getRoot().addAppender(log4cplus::SharedAppenderPtr(new WarningAppender));
    QtMessages::forward();
    const CapturedOutput errors(Descriptor::standardError);
    qWarning("by Qt");
    EXPECT_THAT(fromTextMode(errors.text()), HasSubstr("from the appender\n"));
    EXPECT_THAT(logLines(), ElementsAre("by Qt"));
    EXPECT_THAT(handedOn(), IsEmpty());
}

TEST_F(QtMessagesTest, noMessageIsLostWhileTheKernelComesAndGoes)
{
    constexpr int cycles = 10;
    constexpr int least = 50;
    std::atomic<bool> isDone{false};
    std::vector<std::set<std::string>> sent(2);
    QtMessages::forward();
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < sent.size(); ++thread)
        threads.emplace_back([&, thread] {
            for (int i = 0; i < least || !isDone; ++i) {
                const std::string text = std::to_string(thread) + ':' + std::to_string(i);
                qWarning("%s", text.c_str());
                sent[thread].insert(text);
            }
        });
    for (int cycle = 0; cycle < cycles; ++cycle) {
        initializeWithPlainLines();
        kernel.Terminate();
    }
    isDone = true;
    for (std::thread& thread : threads)
        thread.join();
    std::set<std::string> arrived; // a record stands there once for each Initialize()
    for (const std::string& line : logLines())
        arrived.insert(line);
    for (const std::string& message : handedOn())
        EXPECT_TRUE(arrived.insert(message).second) << message << " was written and handed on";
    sent[0].merge(sent[1]);
    EXPECT_EQ(arrived, sent[0]);
}

TEST_F(QtMessagesTest, aFatalMessageIsInTheFileBeforeTheProcessEnds)
{
    const ProgramResult result =
        runProgram(BRN_QT_MESSAGES_PROGRAM, {(directory / "host.log").u8string(), "fatal"}, directory.path());
    EXPECT_FALSE(result.hasExited && result.exitCode == 0);
    EXPECT_THAT(logLines(), Contains("FATAL The End"));
    EXPECT_THAT(logLines(), ::testing::Not(Contains("INFO not reached")));
}

TEST_F(QtMessagesTest, messagesOfExitHandlersAreRecords)
{
    const ProgramResult result =
        runProgram(BRN_QT_MESSAGES_PROGRAM, {(directory / "host.log").u8string(), "end"}, directory.path());
    EXPECT_TRUE(result.hasExited);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(logLines(), ElementsAre("WARN from main", "WARN from an exit handler"));
}
