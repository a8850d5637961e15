#pragma once
/// \file
/// Internal, not installed. UTF-16 text that may have unpaired surrogates.

#include <string>

namespace Brennic::Objects::Util {

/// Replaces each unpaired surrogate by U+FFFD. Without this, a conversion to UTF-8 would also lose the character that
/// follows a lone first half.
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
