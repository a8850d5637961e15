#pragma once
/// \file
/// A C++ locale as in parts of Europe: "." groups digits, "," is the decimal point. Needs no installed
/// locale.

#include <locale>
#include <string>

namespace Brennic::Testing {

template <typename Char>
class GroupingNumbers : public std::numpunct<Char>
{
protected:
    Char do_decimal_point() const override { return static_cast<Char>(','); }
    Char do_thousands_sep() const override { return static_cast<Char>('.'); }
    std::string do_grouping() const override { return "\3"; }
};

inline std::locale groupingLocale()
{
    const std::locale narrow(std::locale::classic(), new GroupingNumbers<char>);
    return std::locale(narrow, new GroupingNumbers<wchar_t>);
}

/// Makes it the global locale while it lives.
class GlobalGroupingLocale
{
public:
    GlobalGroupingLocale() : m_saved(std::locale::global(groupingLocale())) {}
    ~GlobalGroupingLocale() { std::locale::global(m_saved); }
    GlobalGroupingLocale(const GlobalGroupingLocale&) = delete;
    GlobalGroupingLocale& operator=(const GlobalGroupingLocale&) = delete;

private:
    std::locale m_saved;
};

} // namespace Brennic::Testing
