#pragma once

#include <QString>
#include <QVariant>

class QLineEdit;

// Value types of VuTextBoxIsValid.
namespace ValueType
{
inline constexpr int Integer = 2; // whole number, 16-bit
inline constexpr int Long = 3;    // whole number, 32-bit
inline constexpr int Double = 5;  // floating-point number
inline constexpr int Date = 7;    // date
inline constexpr int Text = 8;    // any text
inline constexpr int Time = 1001; // time of day "HH:MM"
} // namespace ValueType

// Checks the text of box against a value type (see ValueRecognition for what German input
// is recognised). An empty box is valid only when emptyAllowed; for any other text the
// type decides, and an unknown type is never valid. The number types (2, 3, 5) also check
// a passed minimum and maximum, both of which are valid values themselves; a bound is
// "passed" when the QVariant is not null, and may be a number or a German number text.
// A valid time is written back as "HH:MM".
//
// On an invalid value the box turns red (255, 0, 0) while a warning box explains why
// ("Ungültige Eingabe"), gets its colour back, and, when its window is the active window,
// gets the focus with its whole text selected. The field name, when passed (not null),
// heads the warning.
bool VuTextBoxIsValid(QLineEdit* box, int type, bool emptyAllowed,
                      const QString& fieldName = QString(), const QVariant& minimum = QVariant(),
                      const QVariant& maximum = QVariant());
