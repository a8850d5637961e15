#include <chrono>
#include <set>
#include <vector>

#include <QAction>
#include <QImage>
#include <QTreeView>

#include <brn_mesh_widgets/ProgressStatusBar.h>

#include "MeshFile.h"
#include "MeshWorkbenchFixture.h"

using Brennic::Testing::serveUntil;
using Brennic::Testing::writeFile;
using Brennic::Widgets::ProgressModel;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

std::vector<std::string> namesOf(const std::vector<Waypoint>& waypoints)
{
    std::vector<std::string> names;
    for (const Waypoint& waypoint : waypoints)
        names.push_back(waypoint.name.toStdString());
    return names;
}

// A name as a user reads it on the button.
QAction* action(const MainWindow& window, const QString& name)
{
    for (QAction* const candidate : window.findChildren<QAction*>())
        if (candidate->text().remove('&').startsWith(name))
            return candidate;
    return nullptr;
}

} // namespace

TEST_F(MeshWorkbenchTest, theDemoMeshIsSmoothedAndSaved)
{
    ASSERT_TRUE(smoothed(demoMesh));
    const Mesh before = loadMesh(demoMesh);
    const Mesh after = loadMesh(directory / "bunny_smoothed.obj");
    EXPECT_EQ(after.n_vertices(), before.n_vertices());
    EXPECT_NE(after.point(OpenMesh::VertexHandle(0)), before.point(OpenMesh::VertexHandle(0)));
    EXPECT_THAT(message(), HasSubstr("Saved bunny_smoothed.obj"));
    EXPECT_EQ(window->windowTitle(), "bunny.obj - mesh_workbench");
}

TEST_F(MeshWorkbenchTest, theTreeShowsTheStagesAndFills)
{
    std::set<double> fractions;
    QObject::connect(&model(), &ProgressModel::refreshed, window.get(), [&] {
        fractions.insert(model().rootIndex().data(ProgressModel::FractionRole).toDouble());
    });
    ASSERT_TRUE(smoothed(demoMesh));
    const QModelIndex root = model().rootIndex();
    ASSERT_TRUE(serveUntil([&] { return state(root) == ProgressModel::Complete; }));
    EXPECT_EQ(root.data().toString(), "bunny.obj");
    ASSERT_EQ(model().rowCount(root), 3);
    const std::vector<QString> stages = {"Load", "Smooth", "Save"};
    for (int i = 0; i < 3; ++i) {
        const QModelIndex stage = model().index(i, 0, root);
        EXPECT_EQ(stage.data().toString(), stages[static_cast<std::size_t>(i)]);
        EXPECT_EQ(state(stage), ProgressModel::Complete);
    }
    EXPECT_GT(fractions.size(), 2U) << "nothing was shown between the start and the end";
    EXPECT_TRUE(window->findChild<QTreeView*>("progressTree")->isExpanded(root));
}

TEST_F(MeshWorkbenchTest, theLogShowsTheLinesOfTheRun)
{
    EXPECT_EQ(logText(), "");
    ASSERT_TRUE(smoothed(demoMesh));
    EXPECT_THAT(logText(), HasSubstr("INFO  - loaded /usr/share/glmark2/models/bunny.obj"));
    EXPECT_THAT(logText(), HasSubstr("INFO  - saved bunny_smoothed.obj"));
    EXPECT_EQ(logText() + '\n', Brennic::Testing::readText(options.log));
}

TEST_F(MeshWorkbenchTest, aMessageOfQtIsInTheLog)
{
    qWarning("%d vertices are not used", 12);
    EXPECT_TRUE(
        serveUntil([&] { return logText().find("WARN  - 12 vertices are not used") != std::string::npos; }));
}

TEST_F(MeshWorkbenchTest, theChartHasABarForEachWaypointOfTheLastRunOnly)
{
    const WaypointChart& chart = *window->views().chart();
    EXPECT_TRUE(chart.waypoints().empty());
    ASSERT_TRUE(smoothed(demoMesh));
    EXPECT_THAT(namesOf(chart.waypoints()), ElementsAre("Load", "Smooth", "Save"));
    EXPECT_EQ(chart.waypoints()[1].iterations, 10);
    window->smooth();
    ASSERT_TRUE(serveUntilRunEnds(2));
    EXPECT_THAT(namesOf(chart.waypoints()), ElementsAre("Load", "Smooth", "Save"));
    EXPECT_EQ(chart.waypoints()[1].iterations, 10);
}

TEST_F(MeshWorkbenchTest, barsAreAsLongAsTheirTimes)
{
    WaypointChart& chart = *window->views().chart();
    chart.setWaypoints({{"Load", 0, 1.0, 0.0}, {"Smooth", 10, 0.5, 1048576.0}, {"Save", 0, 0.0, 0.0}});
    const std::vector<QRect> bars = chart.bars();
    ASSERT_EQ(bars.size(), 3U);
    EXPECT_GT(bars[0].width(), 20);
    EXPECT_NEAR(bars[1].width(), bars[0].width() / 2.0, 1.0);
    EXPECT_EQ(bars[2].width(), 1);
    const QImage picture = chart.grab().toImage();
    EXPECT_EQ(picture.pixelColor(bars[0].center()), chart.barColor());
    EXPECT_EQ(picture.pixelColor(bars[1].right() + 2, bars[1].center().y()),
              chart.palette().color(QPalette::Base));
}

TEST_F(MeshWorkbenchTest, aFileThatCannotBeLoadedIsToldInOneLineAndTheWindowLives)
{
    writeFile(directory / "cut.off", "OFF\n4 4 0\n0 0 0\n1 0");
    EXPECT_FALSE(smoothed(directory / "cut.off"));
    EXPECT_THAT(message(), HasSubstr("cut.off: it is cut short"));
    EXPECT_THAT(message(), Not(HasSubstr("\n")));
    EXPECT_THAT(logText(), HasSubstr("ERROR - cannot load "));
    const QModelIndex root = model().rootIndex();
    ASSERT_TRUE(serveUntil([&] { return state(root) == ProgressModel::Failed; }));
    EXPECT_EQ(state(model().index(0, 0, root)), ProgressModel::Failed);
    EXPECT_EQ(state(model().index(1, 0, root)), ProgressModel::Cancelled);
    EXPECT_EQ(statusBarText(), "cut.off: failed: " + message());
    EXPECT_FALSE(smoothed("missing.obj"));
    EXPECT_EQ(message(), "cannot load missing.obj: there is no such file");
    EXPECT_FALSE(action(*window, "Smooth")->isEnabled());
    EXPECT_TRUE(smoothed(demoMesh));
    EXPECT_THAT(message(), HasSubstr("Saved "));
}

TEST_F(MeshWorkbenchTest, aReportThatCannotBeSavedIsAFailureOfTheRun)
{
    std::filesystem::create_directory(directory / "passing");
    options.input = demoMesh;
    options.report = directory / "passing" / "report.xml";
    makeWindow();
    window->show();
    window->openMesh(demoMesh);
    std::filesystem::remove(directory / "passing"); // after it was looked at
    ASSERT_TRUE(serveUntilRunEnds());
    EXPECT_EQ(outcome, Outcome::Failed);
    EXPECT_THAT(message(), HasSubstr("cannot save "));
    EXPECT_TRUE(serveUntil([&] { return statusBarText() == "bunny.obj: failed: " + message(); }));
}

TEST_F(MeshWorkbenchTest, aMeshIsSmoothedAgainAfterABadFileCameBetween)
{
    ASSERT_TRUE(smoothed(demoMesh));
    EXPECT_FALSE(smoothed("missing.obj"));
    EXPECT_EQ(window->windowTitle(), "bunny.obj - mesh_workbench");
    action(*window, "Smooth")->trigger();
    ASSERT_TRUE(serveUntilRunEnds(3));
    EXPECT_EQ(outcome, Outcome::Done);
}

TEST_F(MeshWorkbenchTest, aFileThatCannotServeTwiceIsRefusedBeforeTheWork)
{
    const std::string before = Brennic::Testing::readFile(options.log);
    EXPECT_FALSE(smoothed(options.log));
    EXPECT_THAT(message(), HasSubstr("the log cannot be the mesh's file"));
    EXPECT_EQ(Brennic::Testing::readFile(options.log).substr(0, before.size()), before);
}

TEST_F(MeshWorkbenchTest, aCancelledRunSaysSoAndLeavesNoMesh)
{
    ASSERT_TRUE(isSmoothingForLong());
    EXPECT_FALSE(action(*window, "Open")->isEnabled());
    action(*window, "Cancel")->trigger();
    ASSERT_TRUE(serveUntilRunEnds());
    EXPECT_EQ(outcome, Outcome::Interrupted);
    EXPECT_EQ(message(), "Cancelled: nothing was saved");
    const QModelIndex root = model().rootIndex();
    ASSERT_TRUE(serveUntil([&] { return state(root) == ProgressModel::Cancelled; }));
    EXPECT_EQ(state(model().index(0, 0, root)), ProgressModel::Complete);
    EXPECT_EQ(state(model().index(1, 0, root)), ProgressModel::Cancelled);
    EXPECT_EQ(state(model().index(2, 0, root)), ProgressModel::Cancelled); // and not waiting
    EXPECT_EQ(statusBarText(), "bunny.obj: cancelled");
    EXPECT_FALSE(std::filesystem::exists(directory / "bunny_smoothed.obj"));
    EXPECT_TRUE(action(*window, "Open")->isEnabled());
    EXPECT_FALSE(action(*window, "Cancel")->isEnabled());
}

TEST_F(MeshWorkbenchTest, closingDuringWorkEndsTheEventLoopAndTheRunSoon)
{
    ASSERT_TRUE(isSmoothingForLong());
    const auto start = std::chrono::steady_clock::now();
    QMetaObject::invokeMethod(window.get(), &QWidget::close, Qt::QueuedConnection);
    QCoreApplication::exec(); // until the last window is closed
    window.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_FALSE(std::filesystem::exists(directory / "bunny_smoothed.obj"));
}

TEST_F(MeshWorkbenchTest, aWindowThatIsDestroyedDuringWorkWaitsForItsRun)
{
    ASSERT_TRUE(isSmoothingForLong());
    window.reset();
    const std::int64_t iterations = session->source().FrameCount();
    EXPECT_GT(iterations, 0);
    EXPECT_LT(iterations, options.iterations);
    EXPECT_EQ(runsEnded, 0) << "a signal came out of a window that has gone";
}
