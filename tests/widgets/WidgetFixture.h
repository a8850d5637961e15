#pragma once
/// \file
/// A test with an application of widgets, in a style that is the same everywhere.

#include <memory>

#include <gtest/gtest.h>

#include <QApplication>
#include <QWidget>
#include <QWindow>

#include "support/TaskFixture.h"

namespace Brennic::Testing {

inline std::unique_ptr<QApplication> makeWidgetApplication()
{
    static int count = 1;
    static char name[] = "test";
    static char* arguments[] = {name, nullptr};
    auto application = std::make_unique<QApplication>(count, arguments);
    QApplication::setStyle("Fusion");
    return application;
}

/// Shows \p widget and serves events until the display shows it; returns whether it does.
inline bool showOnDisplay(QWidget& widget)
{
    widget.show();
    return serveUntil([&] { return widget.windowHandle() != nullptr && widget.windowHandle()->isExposed(); });
}

class WidgetFixture : public ::testing::Test
{
protected:
    std::unique_ptr<QApplication> application = makeWidgetApplication();
};

} // namespace Brennic::Testing
