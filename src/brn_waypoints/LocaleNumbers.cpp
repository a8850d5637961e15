#include <brn_waypoints/LocaleNumbers.h>

#include <algorithm>
#include <vector>

namespace Brennic::Waypoints {

namespace {

constexpr int groupSize = 3; // in every locale, for the group before the decimal point

// Digits, and the characters between them.
struct Number
{
    bool isNegative = false;
    std::vector<QString> groups = {QString()};
    std::vector<QChar> separators;
};

bool isDigit(QChar character)
{
    return character >= QLatin1Char('0') && character <= QLatin1Char('9');
}

std::optional<Number> split(const QString& text)
{
    Number number;
    number.isNegative = text.startsWith(QLatin1Char('-'));
    for (auto place = text.begin() + (number.isNegative ? 1 : 0); place != text.end(); ++place) {
        if (isDigit(*place)) {
            number.groups.back() += *place;
            continue;
        }
        if (number.groups.back().isEmpty())
            return std::nullopt;
        number.separators.push_back(*place);
        number.groups.emplace_back();
    }
    if (number.groups.back().isEmpty())
        return std::nullopt;
    return number;
}

// A letter would be part of an exponent, or the text is not a number.
bool areSeparatorsOfOneKind(const Number& number, std::size_t count)
{
    const auto end = number.separators.begin() + static_cast<std::ptrdiff_t>(count);
    return std::all_of(number.separators.begin(), end, [&](QChar separator) {
        return !separator.isLetterOrNumber() && separator == number.separators.front();
    });
}

// The first groups form the integer part; a group after them is the fraction.
double valueOf(const Number& number, std::size_t wholeGroups)
{
    QString digits;
    for (std::size_t i = 0; i < number.groups.size(); ++i) {
        if (i == wholeGroups)
            digits += QLatin1Char('.');
        digits += number.groups[i];
    }
    const double value = digits.toDouble();
    return number.isNegative ? -value : value;
}

bool hasTwoKindsOfSeparators(const Number& number)
{
    return number.separators.size() > 1 && number.separators.front() != number.separators.back();
}

bool canBeGroup(const QString& before, const QString& after)
{
    return after.size() == groupSize && before.size() <= groupSize && !before.startsWith(QLatin1Char('0'));
}

} // namespace

void LocaleNumbers::learnInteger(const QString& text)
{
    const std::optional<Number> number = split(text);
    if (number && !number->separators.empty())
        m_grouping = number->separators.front();
}

void LocaleNumbers::learnSeconds(const QString& text)
{
    const std::optional<Number> number = split(text);
    if (!number || number->separators.empty())
        return;
    const QChar first = number->separators.front();
    if (number->separators.size() > 1) {
        m_grouping = first;
        if (hasTwoKindsOfSeparators(*number))
            m_decimalPoint = number->separators.back();
    } else if (!canBeGroup(number->groups[0], number->groups[1])) {
        m_decimalPoint = first;
    } else if (number->groups[1].endsWith(QLatin1Char('0'))) {
        m_grouping = first;
    }
}

std::optional<double> LocaleNumbers::integer(const QString& text) const
{
    const std::optional<Number> number = split(text);
    if (!number || !areSeparatorsOfOneKind(*number, number->separators.size()))
        return std::nullopt;
    return valueOf(*number, number->groups.size());
}

std::optional<double> LocaleNumbers::seconds(const QString& text) const
{
    const std::optional<Number> number = split(text);
    if (!number)
        return std::nullopt;
    const std::size_t count = number->separators.size();
    const bool hasFraction = count == 1
                                 ? isDecimalPoint(number->separators[0], number->groups[0], number->groups[1])
                                 : hasTwoKindsOfSeparators(*number);
    if (hasFraction && number->separators.back().isLetterOrNumber())
        return std::nullopt;
    if (!areSeparatorsOfOneKind(*number, hasFraction ? count - 1 : count))
        return std::nullopt;
    return valueOf(*number, hasFraction ? count : count + 1);
}

bool LocaleNumbers::isDecimalPoint(QChar separator, const QString& before, const QString& after) const
{
    if (m_decimalPoint == separator || !canBeGroup(before, after))
        return true;
    return m_grouping != separator && !m_decimalPoint;
}

} // namespace Brennic::Waypoints
