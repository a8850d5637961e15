#pragma once
/// \file
/// Reads numbers that were written under an unknown C++ locale.
///
/// A report is written under one locale. Which character groups digits and which is the decimal point shows in
/// some of its numbers; the others are read by that. Seconds have three decimals at most and no zeros at their
/// end, so `0,25` and `1.234,5` have a decimal point, and `1,230` and `1.234.567` have grouped digits. Where a
/// report has only ambiguous numbers such as `1.234`, the separator is taken for a decimal point: the other
/// reading would need exactly a thousand or more whole seconds.

#include <cstdint>
#include <optional>

#include <QChar>
#include <QString>

namespace Brennic::Waypoints {

class LocaleNumbers
{
public:
    /// Remembers the separators of the number, if the text is one.
    void learnInteger(const QString& text);
    void learnSeconds(const QString& text);

    /// The value; nothing if the text is no number.
    std::optional<double> integer(const QString& text) const;
    std::optional<double> seconds(const QString& text) const;

private:
    bool isDecimalPoint(QChar separator, const QString& before, const QString& after) const;

    std::optional<QChar> m_grouping;
    std::optional<QChar> m_decimalPoint;
};

} // namespace Brennic::Waypoints
