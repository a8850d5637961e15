#pragma once
/// \file
/// Reads numbers as a C++ locale has written them, without being told which.
///
/// A report is written under one locale. Which character groups digits and which is the decimal point shows in
/// some of its numbers; the others are read by that. Seconds have three decimals at most and no zeros at their
/// end, so `0,25` and `1.234,5` have a decimal point, and `1,230` and `1.234.567` have grouped digits. Where nothing
/// tells, as in a lone `1.234`, it is a decimal point: it takes whole seconds, a thousand of them, for the other.

#include <cstdint>
#include <optional>

#include <QChar>
#include <QString>

namespace Brennic::Waypoints {

class LocaleNumbers
{
public:
    /// Takes notice of how the number is written, if it is one.
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
