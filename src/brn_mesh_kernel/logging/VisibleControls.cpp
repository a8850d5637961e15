#include <brn_mesh_kernel/logging/VisibleControls.h>

#include <cstdint>

#include <algorithm>

namespace Brennic::Core {

namespace {

// The characters by which a message could leave its line, command the terminal that shows the log, or show
// its text in another order than it has. Named by their codes, since most of them are invisible in a source
// file.
bool isControl(wchar_t character)
{
    const auto code = static_cast<std::uint32_t>(character); // NOLINT(bugprone-signed-char-misuse)
    const bool isOfLatin = (code < 0x20 && code != '\t') || (code >= 0x7f && code <= 0x9f);
    const bool endsLine = code == 0x2028 || code == 0x2029;
    const bool turnsDirection = code == 0x061c || code == 0x200e || code == 0x200f ||
                                (code >= 0x202a && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069);
    return isOfLatin || endsLine || turnsDirection;
}

std::wstring visible(wchar_t character)
{
    constexpr const wchar_t* digits = L"0123456789abcdef";
    if (character == L'\n')
        return L"\\n";
    if (character == L'\r')
        return L"\\r";
    const auto code = static_cast<std::uint32_t>(character); // NOLINT(bugprone-signed-char-misuse)
    std::wstring text = code < 0x100 ? L"\\x" : L"\\u";
    for (int shift = code < 0x100 ? 4 : 12; shift >= 0; shift -= 4)
        text += digits[(code >> static_cast<unsigned>(shift)) & 0xfU];
    return text;
}

} // namespace

std::wstring withVisibleControls(const std::wstring& text)
{
    if (std::none_of(text.begin(), text.end(), &isControl))
        return text;
    std::wstring result;
    for (const wchar_t character : text)
        if (isControl(character))
            result += visible(character);
        else
            result += character;
    return result;
}

} // namespace Brennic::Core
