#include <brn_mesh_kernel/logging/FormatReader.h>

#include <algorithm>

namespace Brennic::Core::WideFormat {

bool FormatReader::conversion(Conversion& conversion, std::wstring_view& raw)
{
    raw = m_rest;
    const bool isWhole = parts(conversion);
    raw.remove_suffix(m_rest.size());
    return isWhole;
}

// %[position$][flags][width][.precision][length]type. Flags, width and so on may be missing, and an unknown
// type is read too: whether there is such a conversion is the caller's question.
bool FormatReader::parts(Conversion& conversion)
{
    m_rest.remove_prefix(1); // the percent sign
    position(conversion.position);
    flags(conversion.flags);
    amount(conversion.width);
    if (consume(L"."))
        amount(conversion.precision = {}); // a point alone means 0, as in C
    conversion.length = length();
    if (m_rest.empty())
        return false;
    conversion.type = m_rest.front();
    m_rest.remove_prefix(1);
    return true;
}

int FormatReader::number()
{
    constexpr int limit = 100'000'000; // far below overflow
    int number = 0;
    while (!m_rest.empty() && m_rest.front() >= L'0' && m_rest.front() <= L'9') {
        number = std::min(number * 10 + static_cast<int>(m_rest.front() - L'0'), limit);
        m_rest.remove_prefix(1);
    }
    return number;
}

// Reads a number and a dollar sign, or nothing: without the sign the number is a width.
bool FormatReader::position(int& position)
{
    const std::wstring_view before = m_rest;
    const int found = number();
    if (m_rest.size() < before.size() && consume(L"$")) {
        position = found > 0 ? found : largestPosition + 1; // there is no argument 0
        return true;
    }
    m_rest = before;
    return false;
}

// Keeps each flag once, so that a conversion stays short however many flags a format has.
void FormatReader::flags(std::wstring& flags)
{
    while (!m_rest.empty() && std::wstring_view(L"-+ #0'").find(m_rest.front()) != std::wstring_view::npos) {
        if (flags.find(m_rest.front()) == std::wstring::npos)
            flags += m_rest.front();
        m_rest.remove_prefix(1);
    }
}

void FormatReader::amount(Amount& amount)
{
    amount.isArgument = consume(L"*");
    if (amount.isArgument)
        position(amount.position);
    else
        amount.number = number();
}

Length FormatReader::length()
{
    // The longer of two that begin alike comes first.
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

bool FormatReader::consume(std::wstring_view text)
{
    if (m_rest.substr(0, text.size()) != text)
        return false;
    m_rest.remove_prefix(text.size());
    return true;
}

} // namespace Brennic::Core::WideFormat
