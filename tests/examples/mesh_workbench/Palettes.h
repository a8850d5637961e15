#pragma once
/// \file
/// Colours for a window in a light and in a dark desktop, and how well one is seen on another.

#include <algorithm>
#include <cmath>

#include <QColor>
#include <QPalette>

namespace Brennic::Testing {

inline QPalette lightPalette()
{
    return QPalette(QColor(0xEF, 0xEF, 0xEF));
}

inline QPalette darkPalette()
{
    QPalette palette(QColor(0x35, 0x35, 0x35));
    palette.setColor(QPalette::Base, QColor(0x23, 0x23, 0x23));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, QColor(0x80, 0x80, 0x80));
    palette.setColor(QPalette::Highlight, QColor(0x2A, 0x82, 0xDA));
    return palette;
}

/// As the accessibility guidelines of the web compute it: 1 for the same colours, 21 for black on white.
inline double contrast(const QColor& one, const QColor& other)
{
    const auto luminance = [](const QColor& color) {
        const auto linear = [](double part) {
            return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
               0.0722 * linear(color.blueF());
    };
    const auto [dark, light] = std::minmax({luminance(one), luminance(other)});
    return (light + 0.05) / (dark + 0.05);
}

} // namespace Brennic::Testing
