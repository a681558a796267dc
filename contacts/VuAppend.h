#pragma once

#include <QString>

// The append rule shared by every field that is put together from pieces ("Vorname+Nachname",
// address lines, the salutation): an empty piece changes nothing, an empty text takes the
// piece alone, otherwise text, separator and piece. An empty separator counts as " ", so that
// the pieces never run into each other.
void VuAppend(QString& sText, const QString& sPiece, const QString& sSeparator = QString());
