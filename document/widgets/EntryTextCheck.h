#pragma once

#include <QString>

class QLineEdit;

// Names and values end up inside the stored entry strings ("name=value|..."), where "=" and
// "|" are separators: a name holding either, or a value holding "|", would split into
// entries the user never made.
namespace EntryTextCheck
{
// Checks the box's text for the given forbidden characters. When one is found the box is
// shown red while a warning ("Ungültige Eingabe") names the value and `reason`, headed by
// `fieldName` when that is not empty; then the box gets the focus with its text selected.
bool isValid(QLineEdit* box, const QString& forbidden, const QString& reason,
             const QString& fieldName = QString());
} // namespace EntryTextCheck
