#pragma once
/// \file
/// Internal, not installed. How many columns text takes on a terminal.

#include <algorithm>
#include <array>
#include <cstddef>

#include <QChar>
#include <QString>
#include <QVector>

namespace Brennic::Core {

struct CodePointRange
{
    char32_t first;
    char32_t last;
};

// What terminals give two columns: the scripts of East Asia in their full forms, and emoji.
inline constexpr std::array<CodePointRange, 30> wideCharacters = {{
    {0x1100, 0x115F},   {0x231A, 0x231B},   {0x2329, 0x232A},   {0x23E9, 0x23EC},   {0x25FD, 0x25FE},
    {0x2614, 0x2615},   {0x2648, 0x2653},   {0x26AA, 0x26AB},   {0x26BD, 0x26BE},   {0x26C4, 0x26C5},
    {0x2705, 0x2705},   {0x270A, 0x270B},   {0x274C, 0x274C},   {0x2753, 0x2755},   {0x2795, 0x2797},
    {0x2B1B, 0x2B1C},   {0x2E80, 0x303E},   {0x3041, 0x4DBF},   {0x4E00, 0xA4CF},   {0xA960, 0xA97C},
    {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},   {0xFFE0, 0xFFE6},
    {0x16FE0, 0x18CFF}, {0x1B000, 0x1B2FF}, {0x1F300, 0x1F64F}, {0x1F680, 0x1F9FF}, {0x20000, 0x3FFFD},
}};

/// 0 for marks that join the character before them, 2 for wide characters, otherwise 1.
inline int displayWidth(char32_t character)
{
    const QChar::Category category = QChar::category(character);
    if (category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing ||
        category == QChar::Other_Format)
        return 0;
    const auto* const range =
        std::lower_bound(wideCharacters.begin(), wideCharacters.end(), character,
                         [](const CodePointRange& entry, char32_t value) { return entry.last < value; });
    return range != wideCharacters.end() && range->first <= character ? 2 : 1;
}

inline int displayWidth(const QString& text)
{
    int width = 0;
    for (const auto character : text.toUcs4())
        width += displayWidth(static_cast<char32_t>(character));
    return width;
}

/// The beginning of the text that takes \p width columns at most.
inline QString cutToWidth(const QString& text, int width)
{
    QString beginning;
    int taken = 0;
    for (const auto ucs4 : text.toUcs4()) {
        const auto character = static_cast<char32_t>(ucs4);
        taken += displayWidth(character);
        if (taken > width)
            break;
        beginning += QString::fromUcs4(&character, 1);
    }
    return beginning;
}

} // namespace Brennic::Core
