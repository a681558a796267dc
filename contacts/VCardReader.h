#pragma once

#include "contacts/VCard.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <initializer_list>
#include <optional>

// Reads vCard 2.1, 3.0 and 4.0 as the common address books write them.
//
// Reading is lenient and never changes the file. What it accepts: CRLF, LF, CR and CR CR LF
// line breaks, folding with one blank or tab (a fold may split a UTF-8 sequence: lines are
// joined as bytes and decoded afterwards), 2.1 quoted-printable soft breaks (also when the
// continuation starts with a blank or with "=C3=91"), CHARSET (raw 8-bit without CHARSET is
// UTF-8 when it decodes cleanly, else windows-1252), bare 2.1 parameters, empty parameters,
// quoted parameter values with , ; and :, RFC 6868 carets, groups, byte order marks (UTF-8
// and UTF-16), lower-case names, no or a late VERSION line, several cards per file, text
// between cards, no final line break. A line without a colon is kept but not interpreted.
//
// A card that cannot be read (no END:VCARD before the next BEGIN or the end of the file,
// NUL bytes, nothing in it) is skipped and reported with a German reason and its line; the
// other cards of the file still load.
//
// Speed: everything is one linear pass over bytes, no regular expressions. For big folders
// keep the bytes of each card (split()) and parse only what a query needs: peek() decodes a
// single property (N, FN, UID) without building the whole card. A cheap pre-filter for a
// search is a byte search for the term in the card before peeking.
class VCardReader
{
public:
    struct Issue {
        int line = 0;      // 1-based line where the card starts (0: the file as a whole)
        qint64 offset = 0; // byte offset of that line
        QString message;   // German, complete sentence with the line number
    };
    // Where one card lies in the (encoding-normalised) file bytes: BEGIN to END including
    // the END line's break.
    struct Chunk {
        qint64 offset = 0;
        qint64 size = 0;
        int line = 0;
    };
    struct Result {
        QList<VCard> cards;
        QList<Issue> issues;
        bool fileUnreadable = false; // the file itself was refused; issues says why
    };

    // Contact files are read whole; anything bigger is no address book a person keeps.
    static constexpr qint64 kMaxFileSize = 64 * 1024 * 1024;
    // A file reports at most this many bad cards one by one, then how many more there are:
    // a file of nothing but broken cards must not take more memory than its bytes.
    static constexpr int kMaxIssuesPerFile = 100;

    // The file's bytes with a UTF-16 byte order mark converted to UTF-8; anything else is
    // returned as it is (a UTF-8 BOM is skipped by split()).
    static QByteArray normalizeEncoding(const QByteArray& fileBytes);
    // Finds the cards of a file; bad cards go to `issues` and are not returned.
    static QList<Chunk> split(QByteArrayView data, QList<Issue>* issues = nullptr);
    // Parses the bytes of one card (as given by split()). `firstLine` numbers its lines.
    static VCard parse(QByteArrayView card, int firstLine = 1);
    // The first property of that name (groups ignored, case-insensitive), decoded as in a
    // full parse, without parsing the rest of the card.
    static std::optional<VCardProperty> peek(QByteArrayView card, QByteArrayView name);
    // The card with only the lines of these names (groups ignored, case-insensitive), each
    // read exactly as parse() reads it, in file order: for a few properties of many cards
    // (a hit list) without building every line.
    static VCard parseOnly(QByteArrayView card, std::initializer_list<QByteArrayView> names,
                           int firstLine = 1);

    // normalizeEncoding + split + parse.
    static Result read(const QByteArray& fileBytes);
    // The bytes of a contact file: only a regular file (or a link to one) of at most
    // kMaxFileSize bytes is read, so a device, a pipe or a socket can neither block nor
    // exhaust memory. False with a German `problem` naming the file otherwise.
    static bool loadFile(const QString& path, QByteArray& bytes, QString& problem);
    // loadFile + read; a file it refuses gives one issue, no cards and fileUnreadable.
    static Result readFile(const QString& path);
};
