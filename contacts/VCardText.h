#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

// The text rules of vCard lines: character sets, quoted-printable, escapes, RFC 6868 carets
// and folding. Pure functions, shared by the reader, the writer and the contact model.
//
// "Escaped" text below always means the escaping of vCard 3.0/4.0 (\\ \, \; \n). The reader
// converts 2.1 values into that form once, so nothing downstream has to know about 2.1.
class VCardText
{
public:
    // Bytes -> text. `charset` empty or unknown: UTF-8 if the bytes are valid UTF-8, else
    // windows-1252. ISO-8859-1 (and its aliases) is read as windows-1252, its superset.
    static QString decode(QByteArrayView bytes, QByteArrayView charset = {});
    // windows-1252 from our own table (Qt guarantees only UTF-8/16/32 and Latin-1).
    static QString decodeWindows1252(QByteArrayView bytes);
    // True when `name` looks like a character set name (utf-8, iso-8859-15, windows-1252 ...).
    static bool looksLikeCharset(QByteArrayView name);

    // RFC 2045 quoted-printable to bytes. Soft line breaks must already be removed; an `=`
    // that does not start a hex pair is kept as it is.
    static QByteArray decodeQuotedPrintable(QByteArrayView text);

    // Removes the escapes of escaped text: \n \N -> newline, any other \x -> x.
    static QString unescape(QStringView escaped);
    // Escapes text for a 3.0/4.0 value: \ , ; and line breaks (CRLF, LF, CR -> \n).
    static QString escape(QStringView text);
    // Splits escaped text at every unescaped `separator`; the parts stay escaped.
    static QList<QStringView> splitEscaped(QStringView escaped, QChar separator);

    // RFC 6868: ^n -> newline, ^' -> ", ^^ -> ^; any other ^ is kept.
    static QString decodeCaret(QStringView value);
    // A parameter value as written: in double quotes when it holds , ; : or blanks (unless
    // `isList`, where commas separate the values of a TYPE list). With `caret` (4.0, and our
    // own parameters, which the reader decodes in every version) ^ " and line breaks are
    // RFC 6868 encoded; without it a " becomes ' and a line break a blank, as nothing else
    // can stand there.
    static QString encodeParameterValue(QStringView value, bool isList, bool caret);

    // Folds one logical line (without line break) at 75 octets, never inside a UTF-8
    // sequence, and ends it with CRLF.
    static QByteArray foldLine(QByteArrayView line);
};
