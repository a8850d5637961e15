#include <brn_mesh_widgets/TaskbarProgress.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QEvent>
#include <QGuiApplication>
#include <QProcess>
#include <QVariantMap>

#include <brn_mesh_widgets/ProgressModel.h>

#include "support/RunProgram.h"
#include "support/TemporaryDirectory.h"
#include "widgets/WidgetFixture.h"

using namespace Brennic;
using namespace Brennic::Testing;
using Core::Progress;
using ::testing::ElementsAre;
using Widgets::ProgressModel;
using Widgets::TaskbarProgress;

namespace {

/// The session bus of this process, which ends with it: a bus cannot be exchanged for another.
class SessionBus
{
public:
    static SessionBus& instance()
    {
        static SessionBus bus;
        return bus;
    }

    const QString& address() const { return m_address; }

private:
    SessionBus()
    {
        const QString place = QString::fromStdString((m_directory / "bus").u8string());
        m_daemon.start(DBUS_DAEMON_PATH, {"--session", "--nofork", "--nopidfile", "--nosyslog",
                                          "--address=unix:path=" + place, "--print-address"});
        if (m_daemon.waitForReadyRead())
            m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_address.toUtf8());
    }
    ~SessionBus()
    {
        m_daemon.terminate();
        m_daemon.waitForFinished();
    }

    TemporaryDirectory m_directory;
    QProcess m_daemon;
    QString m_address;
};

/// What a task bar hears of one program.
class Taskbar : public QObject
{
    Q_OBJECT

public:
    struct Update
    {
        double progress;
        bool isVisible;
        bool isUrgent;
    };

    explicit Taskbar(const QString& address)
        : m_bus(QDBusConnection::connectToBus(address, QStringLiteral("task bar")))
    {
        isListening = m_bus.connect(QString(), QString(), "com.canonical.Unity.LauncherEntry", "Update", this,
                                    SLOT(hear(QString, QVariantMap)));
    }
    ~Taskbar() override { QDBusConnection::disconnectFromBus(QStringLiteral("task bar")); }

    bool isListening = false;
    std::vector<Update> updates;
    std::vector<std::string> names;

    bool last(double progress, bool isVisible, bool isUrgent = false) const
    {
        return !updates.empty() && updates.back().progress == progress &&
               updates.back().isVisible == isVisible && updates.back().isUrgent == isUrgent;
    }

public Q_SLOTS:
    void hear(const QString& name, const QVariantMap& properties)
    {
        names.push_back(name.toStdString());
        updates.push_back({properties.value("progress").toDouble(),
                           properties.value("progress-visible").toBool(),
                           properties.value("urgent").toBool()});
    }

private:
    QDBusConnection m_bus;
};

class TaskbarProgressTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(taskbar.isListening); }

    // Serves events until this was heard last.
    bool hears(double progress, bool isVisible, bool isUrgent = false)
    {
        return serveUntil([&] { return taskbar.last(progress, isVisible, isUrgent); });
    }

    SessionBus& bus = SessionBus::instance(); // before the application, which opens the bus
    std::unique_ptr<QApplication> application = makeWidgetApplication();
    Taskbar taskbar{bus.address()};
    QWidget window;
    TaskbarProgress* entry = new TaskbarProgress(&window, "test"); // the window's
    std::shared_ptr<Progress> work = std::make_shared<Progress>(4, L"Import");
};

} // namespace

TEST_F(TaskbarProgressTest, theFractionOfTheRootIsShown)
{
    const auto tree = std::make_shared<Progress>(0, L"All");
    tree->addChildWithPendingCount(work, 100);
    entry->setProgress(tree);
    ASSERT_TRUE(hears(0, true));
    std::thread([&] { ++*work; }).join();
    ASSERT_TRUE(hears(0.25, true));
    EXPECT_EQ(taskbar.names.back(), "application://test.desktop");
}

TEST_F(TaskbarProgressTest, theRootOfAModelIsShownUntilTheModelGoes)
{
    auto model = std::make_unique<ProgressModel>();
    model->setProgress(work);
    entry->setModel(model.get());
    ++*work;
    ASSERT_TRUE(hears(0.25, true));
    model.reset();
    EXPECT_TRUE(hears(0, false));
}

TEST_F(TaskbarProgressTest, nothingIsSentWhileNothingChangesThatIsShown)
{
    ProgressModel model;
    model.setProgress(work);
    entry->setModel(&model);
    ++*work;
    ASSERT_TRUE(hears(0.25, true));
    const std::size_t before = taskbar.updates.size();
    int refreshes = 0;
    QObject::connect(&model, &ProgressModel::refreshed, &window, [&] { ++refreshes; });
    for (int i = 1; i <= 5; ++i) {
        work->setDescription(L"Import " + std::to_wstring(i));
        ASSERT_TRUE(serveUntil([&] { return refreshes >= i; }));
    }
    ++*work;
    ASSERT_TRUE(hears(0.5, true)); // behind all that came before it
    EXPECT_EQ(taskbar.updates.size(), before + 1);
}

TEST_F(TaskbarProgressTest, atMostTwentyUpdatesASecondAreSentAndTheLastOne)
{
    constexpr int steps = 100;
    constexpr std::chrono::milliseconds interval(50);
    work->setTotalUnitCount(steps + 1);
    ProgressModel model;
    model.setProgress(work);
    int refreshes = 0;
    QObject::connect(&model, &ProgressModel::refreshed, &window, [&] { ++refreshes; });
    const auto start = std::chrono::steady_clock::now();
    entry->setModel(&model);
    for (int i = 0; i < steps; ++i) {
        const int before = refreshes;
        ++*work;
        ASSERT_TRUE(serveUntil([&] { return refreshes > before; }));
    }
    ASSERT_TRUE(hears(0.99, true)); // 100 of 101, in thousandths
    const auto intervals = (std::chrono::steady_clock::now() - start) / interval;
    EXPECT_LE(taskbar.updates.size(), static_cast<std::size_t>(intervals) + 2);
    EXPECT_GT(taskbar.updates.size(), 10U);
}

TEST_F(TaskbarProgressTest, whatIsCompleteIsNotShown)
{
    entry->setProgress(work);
    work->setCompletedUnitCount(3);
    ASSERT_TRUE(hears(0.75, true));
    work->setCompletedUnitCount(4);
    EXPECT_TRUE(hears(0, false));
}

TEST_F(TaskbarProgressTest, whatIsCancelledIsNotShown)
{
    entry->setProgress(work);
    ++*work;
    ASSERT_TRUE(hears(0.25, true));
    std::thread([&] { work->cancel(); }).join();
    EXPECT_TRUE(hears(0, false));
}

TEST_F(TaskbarProgressTest, whatHasEndedIsNotShown)
{
    entry->setProgress(work);
    ++*work;
    ASSERT_TRUE(hears(0.25, true));
    std::thread([&] { work.reset(); }).join();
    EXPECT_TRUE(hears(0, false));
}

TEST_F(TaskbarProgressTest, aWindowThatGoesClearsTheEntry)
{
    auto other = std::make_unique<QWidget>();
    auto* const otherEntry = new TaskbarProgress(other.get(), "other");
    otherEntry->setProgress(work);
    ASSERT_TRUE(hears(0, true));
    EXPECT_EQ(taskbar.names.back(), "application://other.desktop");
    other.reset();
    EXPECT_TRUE(hears(0, false));
    EXPECT_EQ(taskbar.names.back(), "application://other.desktop");
}

TEST_F(TaskbarProgressTest, anEmptyPointerClearsTheEntry)
{
    entry->setProgress(work);
    ASSERT_TRUE(hears(0, true));
    entry->setProgress(nullptr);
    EXPECT_TRUE(hears(0, false));
}

TEST_F(TaskbarProgressTest, whatWasNeverShownIsNotClearedEither)
{
    work->setCompletedUnitCount(4);
    entry->setProgress(work);
    entry->setProgress(nullptr);
    const auto last = std::make_shared<Progress>(2, L"Last");
    entry->setProgress(last);
    ASSERT_TRUE(hears(0, true));
    EXPECT_EQ(taskbar.updates.size(), 1U);
}

TEST_F(TaskbarProgressTest, aFailureAsksForAttentionUntilTheUserComes)
{
    entry->setProgress(work);
    ++*work;
    ASSERT_TRUE(hears(0.25, true));
    std::thread([&] { work->fail(L"the disk is full"); }).join();
    ASSERT_TRUE(hears(0.25, true, true));
    QEvent activation(QEvent::WindowActivate);
    QCoreApplication::sendEvent(&window, &activation);
    ASSERT_TRUE(hears(0, false, false));
    const auto next = std::make_shared<Progress>(2, L"Import once more");
    entry->setProgress(next);
    ASSERT_TRUE(hears(0, true, false));
    next->fail(L"the disk is still full");
    EXPECT_TRUE(hears(0, true, true)) << "the next failure is told too";
}

TEST_F(TaskbarProgressTest, aFailureAsksForNoAttentionOfAUserWhoIsAtTheWindow)
{
    window.show();
    window.activateWindow();
    ASSERT_TRUE(serveUntil([&] { return window.isActiveWindow(); }));
    entry->setProgress(work);
    ++*work;
    ASSERT_TRUE(hears(0.25, true));
    work->fail(L"the disk is full");
    ASSERT_TRUE(hears(0, false, false));
    EXPECT_FALSE(std::any_of(taskbar.updates.begin(), taskbar.updates.end(),
                             [](const auto& update) { return update.isUrgent; }));
}

TEST_F(TaskbarProgressTest, theNameIsTheApplicationsUnlessAnotherIsGiven)
{
    QGuiApplication::setDesktopFileName("org.example.host.desktop");
    auto* const unnamed = new TaskbarProgress(&window);
    unnamed->setProgress(work);
    ASSERT_TRUE(hears(0, true));
    EXPECT_EQ(taskbar.names.back(), "application://org.example.host.desktop");
    QGuiApplication::setDesktopFileName(QString());
    delete unnamed;
    ASSERT_TRUE(hears(0, false));
    EXPECT_EQ(taskbar.names.back(), "application://org.example.host.desktop");
}

TEST_F(TaskbarProgressTest, aProgramWithoutANameSaysNothing)
{
    auto* const unnamed = new TaskbarProgress(&window);
    unnamed->setProgress(work);
    entry->setProgress(work); // behind it on the same bus
    ASSERT_TRUE(hears(0, true));
    EXPECT_THAT(taskbar.names, ElementsAre("application://test.desktop"));
}

TEST(TaskbarProgress, withoutASessionBusNothingIsPrinted)
{
    const TemporaryDirectory directory;
    const QByteArray place = QByteArray::fromStdString((directory / "no_bus").u8string());
    const QByteArray before = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + place);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("XDG_RUNTIME_DIR", QByteArray::fromStdString(directory.path().u8string())); // else Qt tells of it
    std::filesystem::permissions(directory.path(), std::filesystem::perms::owner_all);
    const ProgramResult result = runProgram(TASKBAR_PROGRAM_PATH, {}, directory.path());
    qputenv("DBUS_SESSION_BUS_ADDRESS", before);
    qputenv("QT_QPA_PLATFORM", platform);
    EXPECT_TRUE(result.hasExited);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
}

#include "TaskbarProgressTest.moc"
