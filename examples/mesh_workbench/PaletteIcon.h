#pragma once
/// \file
/// Icons in the colour that buttons have for their text, so that they are legible wherever that is.
///
/// They are drawn anew each time, so a palette that changes while the program runs changes them too.

#include <QIcon>

enum class IconShape
{
    Folder,
    Triangle, ///< as on the button that plays
    Square,   ///< as on the one that stops
    Chevrons, ///< two, to the right: there is more
};

QIcon paletteIcon(IconShape shape);
