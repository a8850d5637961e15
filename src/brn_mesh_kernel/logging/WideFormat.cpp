#include <brn_mesh_kernel/logging/WideFormat.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string_view>

#include <boost/nowide/convert.hpp>

namespace Brennic::Core {

namespace {

enum class Length
{
    none,
    hh,
    h,
    l,
    ll,
    j,
    z,
    t
};

// The lengths z and t are read as j.
static_assert(sizeof(std::size_t) == sizeof(std::uintmax_t) &&
              sizeof(std::ptrdiff_t) == sizeof(std::intmax_t));

struct Conversion
{
    std::wstring flags;
    int width = 0;
    int precision = -1; // negative: none given
    Length length = Length::none;
    wchar_t type = L'\0';
};

// Holds a va_list so that it can be handed around: as an argument it is an array on some platforms.
class ArgumentReader
{
public:
    explicit ArgumentReader(std::va_list arguments) { va_copy(m_arguments, arguments); }
    ~ArgumentReader() { va_end(m_arguments); }
    ArgumentReader(const ArgumentReader&) = delete;
    ArgumentReader& operator=(const ArgumentReader&) = delete;

    template <typename T>
    T next()
    {
        return va_arg(m_arguments, T);
    }

private:
    std::va_list m_arguments;
};

class Formatter
{
public:
    Formatter(std::wstring_view format, std::va_list arguments) : m_rest(format), m_arguments(arguments) {}

    std::wstring run();

private:
    bool parseConversion(Conversion& conversion);
    void parseFlags(Conversion& conversion);
    int parseNumber();
    void parsePrecision(Conversion& conversion);
    Length parseLength();
    bool consume(std::wstring_view text);

    bool append(const Conversion& conversion);
    void appendText(const Conversion& conversion);
    void appendCharacter(const Conversion& conversion);
    void appendPointer(const Conversion& conversion);
    void appendPadded(const Conversion& conversion, std::wstring_view text);
    std::intmax_t nextSigned(Length length);
    std::uintmax_t nextUnsigned(Length length);
    template <typename Integer>
    void appendInteger(const Conversion& conversion, Integer number);
    template <typename Number>
    void appendNumber(const Conversion& conversion, const wchar_t* length, Number number);

    std::wstring_view m_rest;
    ArgumentReader m_arguments;
    std::wstring m_result;
};

std::wstring Formatter::run()
{
    m_result.reserve(m_rest.size() + 64);
    while (!m_rest.empty()) {
        const std::size_t percent = std::min(m_rest.find(L'%'), m_rest.size());
        m_result.append(m_rest.substr(0, percent));
        m_rest.remove_prefix(percent);
        const std::wstring_view fromPercent = m_rest;
        Conversion conversion;
        if (!m_rest.empty() && !(parseConversion(conversion) && append(conversion))) {
            m_result.append(fromPercent);
            break;
        }
    }
    return std::move(m_result);
}

bool Formatter::parseConversion(Conversion& conversion)
{
    m_rest.remove_prefix(1); // the percent sign
    parseFlags(conversion);
    conversion.width = parseNumber();
    if (conversion.width < 0) { // a negative width from an argument is a left-justified one
        conversion.flags += L'-';
        conversion.width = -conversion.width;
    }
    parsePrecision(conversion);
    conversion.length = parseLength();
    if (m_rest.empty())
        return false;
    conversion.type = m_rest.front();
    m_rest.remove_prefix(1);
    return true;
}

void Formatter::parseFlags(Conversion& conversion)
{
    const std::size_t count = std::min(m_rest.find_first_not_of(L"-+ #0"), m_rest.size());
    conversion.flags = m_rest.substr(0, count);
    m_rest.remove_prefix(count);
}

int Formatter::parseNumber()
{
    constexpr int limit = 100'000'000; // far above any sensible width, far below overflow
    if (consume(L"*"))
        return std::clamp(m_arguments.next<int>(), -limit, limit);
    int number = 0;
    while (!m_rest.empty() && m_rest.front() >= L'0' && m_rest.front() <= L'9') {
        number = std::min(number * 10 + static_cast<int>(m_rest.front() - L'0'), limit);
        m_rest.remove_prefix(1);
    }
    return number;
}

void Formatter::parsePrecision(Conversion& conversion)
{
    if (consume(L"."))
        conversion.precision = parseNumber();
}

Length Formatter::parseLength()
{
    constexpr struct
    {
        std::wstring_view text;
        Length length;
    } lengths[] = {{L"hh", Length::hh}, {L"h", Length::h}, {L"ll", Length::ll}, {L"l", Length::l},
                   {L"j", Length::j},   {L"z", Length::z}, {L"t", Length::t}};
    for (const auto& candidate : lengths)
        if (consume(candidate.text))
            return candidate.length;
    return Length::none;
}

bool Formatter::consume(std::wstring_view text)
{
    if (m_rest.substr(0, text.size()) != text)
        return false;
    m_rest.remove_prefix(text.size());
    return true;
}

bool Formatter::append(const Conversion& conversion)
{
    switch (conversion.type) {
    case L'%':
        m_result += L'%';
        return true;
    case L's':
        appendText(conversion);
        return true;
    case L'c':
        appendCharacter(conversion);
        return true;
    case L'd':
    case L'i':
        appendInteger(conversion, nextSigned(conversion.length));
        return true;
    case L'u':
    case L'x':
    case L'o':
        appendInteger(conversion, nextUnsigned(conversion.length));
        return true;
    case L'e':
    case L'f':
    case L'g':
    case L'a':
        appendNumber(conversion, L"", m_arguments.next<double>());
        return true;
    case L'p':
        appendPointer(conversion);
        return true;
    case L'n':
        m_arguments.next<void*>();
        return true;
    default:
        return false;
    }
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

// Drops a character that a precision has cut in two: its first byte and what follows of it.
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

std::wstring narrowArgument(const char* text, int precision)
{
    std::string_view utf8(text, boundedLength(text, precision));
    if (precision >= 0 && utf8.size() == static_cast<std::size_t>(precision))
        utf8 = withoutCutCharacter(utf8);
    return boost::nowide::widen(utf8.data(), utf8.size());
}

void Formatter::appendText(const Conversion& conversion)
{
    constexpr std::wstring_view null = L"(null)";
    const void* const argument = m_arguments.next<const void*>();
    if (argument == nullptr)
        appendPadded(conversion, null.substr(0, static_cast<std::size_t>(conversion.precision)));
    else if (conversion.length == Length::h)
        appendPadded(conversion, narrowArgument(static_cast<const char*>(argument), conversion.precision));
    else {
        const auto* const text = static_cast<const wchar_t*>(argument);
        appendPadded(conversion, {text, boundedLength(text, conversion.precision)});
    }
}

void Formatter::appendCharacter(const Conversion& conversion)
{
    const int argument = m_arguments.next<int>();
    if (conversion.length == Length::h) {
        const char character = static_cast<char>(argument);
        appendPadded(conversion, boost::nowide::widen(&character, 1));
    } else {
        const auto character = static_cast<wchar_t>(argument);
        appendPadded(conversion, {&character, 1});
    }
}

// C libraries have different ideas of it.
void Formatter::appendPointer(const Conversion& conversion)
{
    const auto address = reinterpret_cast<std::uintptr_t>(m_arguments.next<void*>());
    std::array<char, 16> digits; // NOLINT(*-member-init): written by to_chars
    const std::to_chars_result end = std::to_chars(digits.data(), digits.data() + digits.size(), address, 16);
    const std::wstring text = L"0x" + std::wstring(digits.data(), end.ptr);
    appendPadded(conversion, address == 0 ? L"(nil)" : text);
}

void Formatter::appendPadded(const Conversion& conversion, std::wstring_view text)
{
    const auto width = static_cast<std::size_t>(conversion.width);
    const std::size_t padding = width > text.size() ? width - text.size() : 0;
    const bool isLeftJustified = conversion.flags.find(L'-') != std::wstring::npos;
    if (!isLeftJustified)
        m_result.append(padding, L' ');
    m_result.append(text);
    if (isLeftJustified)
        m_result.append(padding, L' ');
}

std::intmax_t Formatter::nextSigned(Length length)
{
    switch (length) {
    case Length::hh:
        return static_cast<signed char>(m_arguments.next<int>());
    case Length::h:
        return static_cast<short>(m_arguments.next<int>());
    case Length::l:
        return m_arguments.next<long>();
    case Length::ll:
        return m_arguments.next<long long>();
    case Length::j:
    case Length::z:
    case Length::t:
        return m_arguments.next<std::intmax_t>();
    case Length::none:
        break;
    }
    return m_arguments.next<int>();
}

std::uintmax_t Formatter::nextUnsigned(Length length)
{
    switch (length) {
    case Length::hh:
        return static_cast<unsigned char>(m_arguments.next<unsigned>());
    case Length::h:
        return static_cast<unsigned short>(m_arguments.next<unsigned>());
    case Length::l:
        return m_arguments.next<unsigned long>();
    case Length::ll:
        return m_arguments.next<unsigned long long>();
    case Length::j:
    case Length::z:
    case Length::t:
        return m_arguments.next<std::uintmax_t>();
    case Length::none:
        break;
    }
    return m_arguments.next<unsigned>();
}

// Most integers are plain ones, and the C library's wide printf takes longer for one than all the rest does.
template <typename Integer>
void Formatter::appendInteger(const Conversion& conversion, Integer number)
{
    const bool isDecimal = conversion.type != L'x' && conversion.type != L'o';
    if (!isDecimal || !conversion.flags.empty() || conversion.width != 0 || conversion.precision >= 0) {
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
    const std::wstring format = L'%' + conversion.flags + L"*.*" + length + conversion.type;
    const auto print = [&](wchar_t* buffer, std::size_t size) {
        return std::swprintf(buffer, size, format.c_str(), conversion.width, conversion.precision, number);
    };
    std::array<wchar_t, 128> buffer; // NOLINT(*-member-init): written by swprintf
    int written = print(buffer.data(), buffer.size());
    // What does not fit gives a negative number in one C library, and the size that it takes in another.
    if (written >= 0 && static_cast<std::size_t>(written) < buffer.size()) {
        m_result.append(buffer.data(), static_cast<std::size_t>(written));
        return;
    }
    // The longest double has 309 digits before the point; nothing else needs more beside width and precision.
    const std::size_t longest = 512 + static_cast<std::size_t>(conversion.width) +
                                static_cast<std::size_t>(std::max(conversion.precision, 0));
    std::wstring large(longest, L'\0');
    written = print(large.data(), large.size());
    m_result.append(large, 0, static_cast<std::size_t>(std::max(written, 0)));
}

} // namespace

std::wstring formatWide(const wchar_t* format, std::va_list arguments)
{
    return Formatter(format, arguments).run();
}

} // namespace Brennic::Core
