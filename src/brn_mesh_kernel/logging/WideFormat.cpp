#include <brn_mesh_kernel/logging/WideFormat.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <string_view>
#include <system_error>
#include <vector>

#include <boost/nowide/convert.hpp>

#include <brn_mesh_kernel/logging/FormatArguments.h>
#include <brn_mesh_kernel/logging/FormatReader.h>

namespace Brennic::Core {

namespace {

using namespace WideFormat;

// The highest width and precision, far above sensible values: without a limit one record could use up all
// memory.
constexpr int widest = 1'000'000;

// Builds the text of one record.
class Formatter
{
public:
    Formatter(std::wstring_view format, std::va_list arguments, int error)
        : m_format(format), m_arguments(arguments), m_error(error)
    {
    }

    std::wstring run();

private:
    void findPositions();
    bool resolve(Amount& amount);
    bool append(Conversion& conversion);
    bool appendArgument(const Conversion& conversion);
    void appendText(const Conversion& conversion);
    void appendCharacter(const Conversion& conversion);
    void appendErrorText(const Conversion& conversion);
    void appendPointer(const Conversion& conversion);
    void appendPadded(const Conversion& conversion, std::wstring_view text);
    std::intmax_t signedArgument(const Conversion& conversion);
    std::uintmax_t unsignedArgument(const Conversion& conversion);
    template <typename Integer>
    void appendInteger(const Conversion& conversion, Integer number);
    template <typename Number>
    void appendNumber(const Conversion& conversion, const wchar_t* length, Number number);

    std::wstring_view m_format;
    Arguments m_arguments;
    int m_error;
    std::wstring m_result;
};

std::wstring Formatter::run()
{
    if (m_format.find(L'$') != std::wstring_view::npos)
        findPositions();
    m_result.reserve(m_format.size() + 64);
    FormatReader format(m_format);
    for (;;) {
        m_result.append(format.text());
        if (format.atEnd())
            return std::move(m_result);
        Conversion conversion;
        std::wstring_view raw;
        if (!format.conversion(conversion, raw) || !append(conversion))
            m_result.append(raw);
    }
}

// If the first conversion has a position, all arguments are fetched by position. An argument can only be
// reached by reading those before it, each with its type, so this collects the types and then reads all.
void Formatter::findPositions()
{
    std::vector<Kind> kinds;
    const auto note = [&kinds](int position, Kind kind) {
        if (position <= 0 || position > largestPosition || kind == Kind::none)
            return;
        kinds.resize(std::max(kinds.size(), static_cast<std::size_t>(position)), Kind::none);
        Kind& known = kinds[static_cast<std::size_t>(position) - 1];
        known = known == Kind::none ? kind : known; // the first conversion that names it decides
    };
    FormatReader format(m_format);
    for (;;) {
        format.text();
        Conversion conversion;
        std::wstring_view raw;
        if (format.atEnd() || !format.conversion(conversion, raw))
            break;
        const Kind kind = argumentKind(conversion);
        if (kinds.empty() && kind != Kind::none && conversion.position == 0)
            return; // without positions: arguments are read one after the other as they are used
        for (const Amount& amount : {conversion.width, conversion.precision})
            if (amount.isArgument)
                note(amount.position, Kind::integer);
        note(conversion.position, kind);
    }
    m_arguments.readAll(kinds);
}

// False if the argument does not exist.
bool Formatter::resolve(Amount& amount)
{
    if (!amount.isArgument)
        return true;
    if (!m_arguments.has(amount.position, Kind::integer))
        return false;
    amount.number = m_arguments.get<int>(amount.position);
    return true;
}

// False if the conversion is copied unchanged, because it is unknown or its argument is missing or of another
// type.
bool Formatter::append(Conversion& conversion)
{
    if (conversion.type == L'%') {
        m_result += L'%';
        return true;
    }
    const Kind kind = argumentKind(conversion);
    const bool isKnown = conversion.type == L'm' || kind != Kind::none;
    // The arguments of width and precision come before the one of the conversion, so they are resolved first.
    if (!isKnown || (kind != Kind::none && !m_arguments.has(conversion.position, kind)) ||
        !resolve(conversion.width) || !resolve(conversion.precision))
        return false;
    int& width = conversion.width.number;
    width = std::clamp(width, -widest, widest);
    if (width < 0) { // a negative width from an argument is a left-justified one
        conversion.flags += L'-';
        width = -width;
    }
    return appendArgument(conversion);
}

bool Formatter::appendArgument(const Conversion& conversion)
{
    switch (conversion.type) {
    case L's':
        appendText(conversion);
        break;
    case L'c':
        appendCharacter(conversion);
        break;
    case L'm':
        appendErrorText(conversion);
        break;
    case L'd':
    case L'i':
        appendInteger(conversion, signedArgument(conversion));
        break;
    case L'u':
    case L'x':
    case L'o':
        appendInteger(conversion, unsignedArgument(conversion));
        break;
    case L'p':
        appendPointer(conversion);
        break;
    case L'n': // takes its argument and stores nothing: a format from outside must not write memory
        m_arguments.get<void*>(conversion.position);
        break;
    default: // %e %f %g %a: append() has let nothing else through
        appendNumber(conversion, L"", m_arguments.get<double>(conversion.position));
        break;
    }
    return true;
}

// The length of a string of which at most `limit` units may be read; a negative limit is none.
template <typename Char>
std::size_t boundedLength(const Char* text, int limit)
{
    std::size_t length = 0;
    while ((limit < 0 || length < static_cast<std::size_t>(limit)) && text[length] != Char())
        ++length;
    return length;
}

// Drops a character that a precision has cut in two. Its bytes alone are no valid UTF-8, and would show as
// U+FFFD.
std::string_view withoutCutCharacter(std::string_view utf8)
{
    const auto isContinuation = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; };
    std::size_t lead = utf8.size();
    while (lead > 0 && utf8.size() - lead < 3 && isContinuation(utf8[lead - 1]))
        --lead;
    if (lead == 0)
        return utf8;
    const auto first = static_cast<unsigned char>(utf8[lead - 1]);
    const std::size_t expected = first >= 0xF0U ? 4U : first >= 0xE0U ? 3U : first >= 0xC0U ? 2U : 1U;
    return utf8.size() - lead + 1 < expected ? utf8.substr(0, lead - 1) : utf8;
}

void appendCharacter(std::wstring& text, char32_t character)
{
    if (sizeof(wchar_t) == sizeof(char16_t) && character > 0xFFFF) {
        text += static_cast<wchar_t>(0xD7C0 + (character >> 10));
        text += static_cast<wchar_t>(0xDC00 + (character & 0x3FF));
    } else {
        text += static_cast<wchar_t>(character);
    }
}

// Reads the character at the beginning of the bytes and takes it off them; U+FFFD for what is none. A byte that cannot
// go on with a character begins the next one. boost::nowide would take it for a part of the broken one and lose it.
char32_t takeCharacter(std::string_view& utf8)
{
    constexpr char32_t invalid = 0xFFFD;
    const auto lead = static_cast<unsigned char>(utf8.front());
    utf8.remove_prefix(1);
    if (lead < 0x80)
        return lead;
    if (lead < 0xC2 || lead > 0xF4) // on its own, too long for what it says, or above the last character
        return invalid;
    const int count = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    char32_t character = lead & (0x3FU >> count);
    unsigned char first = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80; // which no shorter form can say
    unsigned char last = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;  // no surrogates, nothing too high
    for (int i = 0; i < count; ++i) {
        const auto byte = static_cast<unsigned char>(utf8.empty() ? '\0' : utf8.front());
        if (byte < first || byte > last)
            return invalid;
        utf8.remove_prefix(1);
        character = character << 6 | (byte & 0x3FU);
        first = 0x80;
        last = 0xBF;
    }
    return character;
}

std::wstring widenUtf8(std::string_view utf8)
{
    std::wstring text;
    text.reserve(utf8.size());
    while (!utf8.empty())
        appendCharacter(text, takeCharacter(utf8));
    return text;
}

std::wstring narrowArgument(const char* text, int precision)
{
    std::string_view utf8(text, boundedLength(text, precision));
    if (precision >= 0 && utf8.size() == static_cast<std::size_t>(precision))
        utf8 = withoutCutCharacter(utf8);
    return widenUtf8(utf8);
}

// %s takes wide text on every platform, and %hs takes UTF-8: with the C library's printf both depend on the
// platform, and narrow text that the C locale cannot convert makes the whole call fail.
void Formatter::appendText(const Conversion& conversion)
{
    constexpr std::wstring_view null = L"(null)";
    const int precision = conversion.precision.number;
    const void* const argument = m_arguments.get<void*>(conversion.position);
    if (argument == nullptr)
        appendPadded(conversion, null.substr(0, static_cast<std::size_t>(precision)));
    else if (conversion.length == Length::h)
        appendPadded(conversion, narrowArgument(static_cast<const char*>(argument), precision));
    else {
        const auto* const text = static_cast<const wchar_t*>(argument);
        appendPadded(conversion, {text, boundedLength(text, precision)});
    }
}

// Shows character 0 by its symbol, because readers of the log that use C strings would end the record there.
void Formatter::appendCharacter(const Conversion& conversion)
{
    const int argument = m_arguments.get<int>(conversion.position);
    if (conversion.length == Length::h) {
        const char character = static_cast<char>(argument);
        appendPadded(conversion, character == '\0' ? L"\u2400" : boost::nowide::widen(&character, 1));
    } else {
        const auto character = argument == 0 ? L'\u2400' : static_cast<wchar_t>(argument);
        appendPadded(conversion, {&character, 1});
    }
}

void Formatter::appendErrorText(const Conversion& conversion)
{
    const std::string text = std::generic_category().message(m_error);
    appendPadded(conversion, narrowArgument(text.c_str(), conversion.precision.number));
}

// Not left to swprintf, because C libraries print pointers differently.
void Formatter::appendPointer(const Conversion& conversion)
{
    const auto address = reinterpret_cast<std::uintptr_t>(m_arguments.get<void*>(conversion.position));
    std::array<char, 16> digits; // NOLINT(*-member-init): written by to_chars
    const std::to_chars_result end = std::to_chars(digits.data(), digits.data() + digits.size(), address, 16);
    const std::wstring text = L"0x" + std::wstring(digits.data(), end.ptr);
    appendPadded(conversion, address == 0 ? L"(nil)" : text);
}

void Formatter::appendPadded(const Conversion& conversion, std::wstring_view text)
{
    const auto width = static_cast<std::size_t>(conversion.width.number);
    const std::size_t padding = width > text.size() ? width - text.size() : 0;
    const bool isLeftJustified = conversion.flags.find(L'-') != std::wstring::npos;
    if (!isLeftJustified)
        m_result.append(padding, L' ');
    m_result.append(text);
    if (isLeftJustified)
        m_result.append(padding, L' ');
}

// Only the C library of Linux knows the flag for grouped digits.
std::wstring platformFlags(std::wstring flags)
{
    constexpr bool isWindows = sizeof(wchar_t) == sizeof(char16_t);
    if constexpr (isWindows)
        flags.erase(std::remove(flags.begin(), flags.end(), L'\''), flags.end());
    return flags;
}

std::intmax_t Formatter::signedArgument(const Conversion& conversion)
{
    const int position = conversion.position;
    switch (conversion.length) {
    case Length::hh:
        return static_cast<signed char>(m_arguments.get<int>(position));
    case Length::h:
        return static_cast<short>(m_arguments.get<int>(position));
    case Length::l:
        return m_arguments.get<long>(position);
    case Length::ll:
        return m_arguments.get<long long>(position);
    case Length::j:
    case Length::z:
    case Length::t:
        return m_arguments.get<std::intmax_t>(position);
    case Length::none:
        break;
    }
    return m_arguments.get<int>(position);
}

std::uintmax_t Formatter::unsignedArgument(const Conversion& conversion)
{
    const int position = conversion.position;
    switch (conversion.length) {
    case Length::hh:
        return static_cast<unsigned char>(m_arguments.get<unsigned>(position));
    case Length::h:
        return static_cast<unsigned short>(m_arguments.get<unsigned>(position));
    case Length::l:
        return m_arguments.get<unsigned long>(position);
    case Length::ll:
        return m_arguments.get<unsigned long long>(position);
    case Length::j:
    case Length::z:
    case Length::t:
        return m_arguments.get<std::uintmax_t>(position);
    case Length::none:
        break;
    }
    return m_arguments.get<unsigned>(position);
}

// Most integers are plain ones, and the C library's wide printf takes longer for one than all the rest does.
template <typename Integer>
void Formatter::appendInteger(const Conversion& conversion, Integer number)
{
    const bool isDecimal = conversion.type != L'x' && conversion.type != L'o';
    if (!isDecimal || !conversion.flags.empty() || conversion.width.number != 0 ||
        conversion.precision.number >= 0) {
        appendNumber(conversion, L"j", number);
        return;
    }
    std::array<char, 24> digits; // NOLINT(*-member-init): written by to_chars
    const std::to_chars_result end = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    m_result.append(digits.data(), end.ptr);
}

// The conversion is built anew with the widest argument type, so that one call serves all lengths.
template <typename Number>
void Formatter::appendNumber(const Conversion& conversion, const wchar_t* length, Number number)
{
    const int width = conversion.width.number;
    const int precision = std::min(conversion.precision.number, widest);
    const std::wstring format = L'%' + platformFlags(conversion.flags) + L"*.*" + length + conversion.type;
    const auto print = [&](wchar_t* buffer, std::size_t size) {
        return std::swprintf(buffer, size, format.c_str(), width, precision, number);
    };
    std::array<wchar_t, 128> buffer; // NOLINT(*-member-init): written by swprintf
    int written = print(buffer.data(), buffer.size());
    // If the text does not fit, one C library returns a negative number, and another the size that the text
    // needs.
    if (written >= 0 && static_cast<std::size_t>(written) < buffer.size()) {
        m_result.append(buffer.data(), static_cast<std::size_t>(written));
        return;
    }
    // The longest double has 309 digits before the point, and signs between them; nothing else needs more
    // beside width and precision.
    const std::size_t longest =
        1024 + static_cast<std::size_t>(width) + 2 * static_cast<std::size_t>(std::max(precision, 0));
    std::wstring large(longest, L'\0');
    written = print(large.data(), large.size());
    m_result.append(large, 0, static_cast<std::size_t>(std::max(written, 0)));
}

} // namespace

std::wstring formatWide(const wchar_t* format, std::va_list arguments, int error)
{
    return Formatter(format, arguments, error).run();
}

} // namespace Brennic::Core
