#pragma once
/// \file
/// Internal, not installed. Takes a wide printf format apart, conversion by conversion, and knows nothing of
/// arguments.

#include <string>
#include <string_view>

namespace Brennic::Core::WideFormat {

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

/// A width or a precision: a number of the format, or an argument.
struct Amount
{
    int number = 0;
    bool isArgument = false;
    int position = 0; ///< of the argument, from 1 on; 0 for the next one
};

struct Conversion
{
    int position = 0; ///< of the argument, from 1 on; 0 for the next one
    std::wstring flags;
    Amount width;
    Amount precision{-1}; ///< negative: none given
    Length length = Length::none;
    wchar_t type = L'\0';
};

/// The largest position that an argument can have.
constexpr int largestPosition = 64;

/// Reads a format from its beginning to its end.
class FormatReader
{
public:
    explicit FormatReader(std::wstring_view format) : m_rest(format) {}

    /// Returns the text before the next conversion, and moves behind it.
    std::wstring_view text()
    {
        const std::wstring_view before = m_rest.substr(0, m_rest.find(L'%'));
        m_rest.remove_prefix(before.size());
        return before;
    }
    bool atEnd() const { return m_rest.empty(); }

    /// Moves behind the conversion.
    /// \return false if the format ends in the middle of it; what was read is in \p raw either way.
    bool conversion(Conversion& conversion, std::wstring_view& raw);

private:
    bool parts(Conversion& conversion);
    int number();
    bool position(int& position);
    void flags(std::wstring& flags);
    void amount(Amount& amount);
    Length length();
    bool consume(std::wstring_view text);

    std::wstring_view m_rest;
};

} // namespace Brennic::Core::WideFormat
