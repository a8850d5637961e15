#pragma once
/// \file
/// A test with the window of mesh_workbench on a display, in a directory of its own.

#include <filesystem>
#include <memory>
#include <string>

#include <QApplication>
#include <QLabel>
#include <QPlainTextEdit>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <brn_mesh_widgets/ProgressModel.h>
#include <brn_mesh_widgets/ProgressStatusBar.h>

#include "KernelSession.h"
#include "MainWindow.h"
#include "MessageLine.h"
#include "RunViews.h"
#include "WaypointChart.h"
#include "support/Files.h"
#include "support/TemporaryDirectory.h"
#include "widgets/WidgetFixture.h"

class MeshWorkbenchTest : public Brennic::Testing::WidgetFixture
{
protected:
    using Outcome = SmoothingRun::Outcome;

    static constexpr const char* demoMesh = "/usr/share/glmark2/models/bunny.obj";

    MeshWorkbenchTest()
    {
        std::filesystem::current_path(directory.path()); // of this process, which runs this test alone
        options.log = directory / "workbench.log";
        options.threads = 2;
        session = std::make_unique<KernelSession>(options);
        makeWindow();
    }
    ~MeshWorkbenchTest() override
    {
        window.reset();
        session.reset();
        std::filesystem::current_path(std::filesystem::temp_directory_path());
    }

    void SetUp() override { ASSERT_TRUE(Brennic::Testing::showOnDisplay(*window)); }

    bool serveUntilRunEnds(int run = 1)
    {
        return Brennic::Testing::serveUntil([&] { return runsEnded == run; });
    }
    // Opens a mesh and waits for its run; returns whether it was smoothed.
    bool smoothed(const std::filesystem::path& mesh)
    {
        const int run = runsEnded + 1;
        window->openMesh(mesh);
        return serveUntilRunEnds(run) && outcome == Outcome::Done;
    }
    // Begins a run that would take very long, and waits until it smooths.
    bool isSmoothingForLong()
    {
        options.iterations = 1'000'000;
        makeWindow();
        window->show();
        window->openMesh(demoMesh);
        return Brennic::Testing::serveUntil([&] { return session->source().FrameCount() > 0; });
    }

    std::string logText() const
    {
        return window->findChild<QPlainTextEdit*>("log")->toPlainText().toStdString();
    }
    // Empty while none is shown.
    std::string message() const
    {
        const auto* const line = window->findChild<MessageLine*>();
        return line->isVisible() ? line->text().toStdString() : std::string();
    }
    std::string statusBarText() const
    {
        const auto* const bar = window->findChild<Brennic::Widgets::ProgressStatusBar*>();
        return bar->findChild<QLabel*>()->text().toStdString();
    }
    Brennic::Widgets::ProgressModel& model() const { return *window->views().progressModel(); }
    Brennic::Widgets::ProgressModel::State state(const QModelIndex& index) const
    {
        using Brennic::Widgets::ProgressModel;
        return static_cast<ProgressModel::State>(index.data(ProgressModel::StateRole).toInt());
    }

    void makeWindow()
    {
        window = std::make_unique<MainWindow>(options, session->source());
        QObject::connect(window.get(), &MainWindow::runEnded, window.get(), [this](Outcome how) {
            outcome = how;
            ++runsEnded;
        });
    }

    Brennic::Testing::TemporaryDirectory directory;
    RunOptions options;
    std::unique_ptr<KernelSession> session;
    std::unique_ptr<MainWindow> window;
    Outcome outcome = Outcome::Failed;
    int runsEnded = 0;
};
