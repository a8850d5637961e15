#pragma once
/// \file
/// Internal, not installed. Text of UTF-16 units that may be part of no character.

#include <string>

namespace Brennic::Objects::Util {

/// Replaces each unit of UTF-16 that is part of no character by U+FFFD, and nothing else. A conversion to UTF-8
/// would take the character after a lone first half along with it.
inline std::wstring validUnicode(std::wstring text)
{
    const auto isFirstHalf = [](wchar_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; };
    const auto isSecondHalf = [](wchar_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; };
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (isFirstHalf(text[i]) && i + 1 < text.size() && isSecondHalf(text[i + 1]))
            ++i;
        else if (isFirstHalf(text[i]) || isSecondHalf(text[i]))
            text[i] = L'\uFFFD';
    }
    return text;
}

} // namespace Brennic::Objects::Util
