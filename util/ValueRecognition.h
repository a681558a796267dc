#pragma once

#include <QDate>
#include <QString>
#include <QTime>
#include <optional>

// Recognition of numbers, dates and times as a German user types them. Leading and
// trailing blanks are ignored everywhere.
//
// Numbers follow German writing: decimal comma, "." only as a thousands separator in
// groups of three ("1.000,5"). "3.5" is therefore not a number: a German "1.500" means
// fifteen hundred, and accepting "1.5" as one and a half would make the two look alike
// while meaning different things. Whole numbers contain neither "." nor ",".
namespace ValueRecognition
{

// A whole number in -32768..32767.
std::optional<qint16> toInt16(const QString& text);
// A whole number in the 32-bit range.
std::optional<qint32> toInt32(const QString& text);
// A floating-point number ("3,5", "-0,25", "1.000,5", "1e3").
std::optional<double> toDouble(const QString& text);
// A date: "1.2.2024", "01.02.2024", "1.2.24" (two-digit years 00-29 are 2000-2029, 30-99
// are 1930-1999), "1.2." (this year), "2024-02-01", "1. Februar 2024", "1. Feb. 2024".
std::optional<QDate> toDate(const QString& text);
// A time of day "H:M" with hour 0..23 and minute 0..59, each a whole number ("7:5").
std::optional<QTime> toTimeOfDay(const QString& text);

} // namespace ValueRecognition
