/// \file
/// The window in light and dark colours, and as narrow as it gets.

#include <algorithm>

#include <QAction>
#include <QImage>
#include <QTreeView>

#include "MeshWorkbenchFixture.h"
#include "Palettes.h"
#include "RunToolBar.h"

using namespace Brennic::Testing;
using Brennic::Widgets::ProgressModel;

namespace {

// Of all pixels of an icon on its button, the one that is seen best.
double bestContrast(const QImage& image, const QColor& background)
{
    double best = 1;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            best = std::max(best, contrast(image.pixelColor(x, y), background));
    return best;
}

// The part of the action's button that has the icon and not the text.
QImage iconOnButton(const RunToolBar& bar, QAction* action)
{
    QWidget* const button = bar.widgetForAction(action);
    const int side = bar.iconSize().width() + 4;
    return button->grab(QRect(0, 0, side, button->height())).toImage();
}

class PaletteTest : public MeshWorkbenchTest
{
protected:
    // As the desktop does it while the program runs.
    void use(const QPalette& palette)
    {
        QApplication::setPalette(palette);
        QCoreApplication::processEvents();
    }
    void expectLegibleIcons(const QPalette& palette, const char* which)
    {
        auto& bar = *window->findChild<RunToolBar*>();
        const QColor background = palette.color(QPalette::Window);
        for (const bool isRunning : {false, true}) {
            bar.setState(true, isRunning);
            for (QAction* const action : bar.runActions()) {
                const double seen = bestContrast(iconOnButton(bar, action), background);
                EXPECT_GE(seen, action->isEnabled() ? 7.0 : 1.5)
                    << which << ": " << action->text().toStdString();
            }
        }
    }
};

} // namespace

TEST_F(PaletteTest, iconsAreLegibleInLightAndDarkColours)
{
    use(lightPalette());
    expectLegibleIcons(lightPalette(), "light");
    use(darkPalette());
    expectLegibleIcons(darkPalette(), "dark");
    use(lightPalette());
    expectLegibleIcons(lightPalette(), "light again");
}

TEST_F(PaletteTest, theMessageLineIsLegibleInLightAndDarkColours)
{
    auto& line = *window->findChild<MessageLine*>();
    for (const QPalette& palette : {lightPalette(), darkPalette()}) {
        use(palette);
        for (const auto kind :
             {MessageLine::Kind::Success, MessageLine::Kind::Notice, MessageLine::Kind::Error}) {
            line.say(kind, "A sentence");
            const QColor background = line.grab().toImage().pixelColor(1, 1);
            EXPECT_GE(contrast(line.palette().color(QPalette::WindowText), background), 7.0);
            EXPECT_GE(bestContrast(line.grab().toImage(), background), 7.0);
        }
    }
}

TEST_F(PaletteTest, theNarrowestWindowStillShowsCancelAndTheWholeTree)
{
    ASSERT_TRUE(smoothed(demoMesh));
    auto& tree = *window->findChild<QTreeView*>("progressTree");
    window->resize(1, 1);
    ASSERT_TRUE(serveUntil([&] { return window->width() <= window->minimumSizeHint().width(); }));
    auto& bar = *window->findChild<RunToolBar*>();
    for (QAction* const action : bar.runActions())
        EXPECT_TRUE(bar.widgetForAction(action)->isVisible()) << action->text().toStdString();
    const int right = tree.columnViewportPosition(ProgressModel::StateColumn) +
                      tree.columnWidth(ProgressModel::StateColumn);
    EXPECT_LE(right, tree.viewport()->width());
    EXPECT_GT(tree.columnWidth(ProgressModel::ProgressColumn), tree.fontMetrics().horizontalAdvance("100 %"));
}
