#pragma once

#include "contacts/VCard.h"

#include <QByteArray>
#include <QList>
#include <QString>

// Writes cards as vCard text.
//
// Version: a 4.0 card stays 4.0; 2.1, 3.0 and new cards are written as 3.0 (what every
// CardDAV server must accept). Form: UTF-8 without BOM, CRLF, upper-case names of rewritten
// lines, no QUOTED-PRINTABLE and no CHARSET, ENCODING=b for inline binary, folded at 75 octets
// without splitting a UTF-8 sequence. FN (and N in 3.0) are added when missing.
//
// Nothing that was not understood is dropped: a card nobody changed is written back exactly
// as read (a 2.1 card is converted); in a changed card every unchanged line keeps its bytes
// (only its line breaks become CRLF), unknown lines, parameters and groups included.
class VCardWriter
{
public:
    static QByteArray write(const VCard& card);
    static QByteArray write(const QList<VCard>& cards);
    // Writes to a temporary file in the same folder and renames it over `path`, so a
    // crash never leaves a half-written file. On failure returns false and a German reason.
    static bool writeFile(const QString& path, const QList<VCard>& cards,
                          QString* errorMessage = nullptr);

    // The version a card is written in.
    static VCardVersion targetVersion(const VCard& card);
    // The FN written for a card without one: prefix, given, additional, family and suffix
    // name, else the company, else the first e-mail address.
    static QString composedFullName(const VCard& card);
    // One line as written (folded, ending in CRLF).
    static QByteArray serialize(const VCardProperty& property, VCardVersion target);
};
