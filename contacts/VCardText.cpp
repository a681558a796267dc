#include "contacts/VCardText.h"

#include <QStringDecoder>

namespace
{

// windows-1252 0x80..0x9F; the five unassigned bytes map to the C1 control of the same
// value, as browsers do, so that no byte is lost.
const char16_t kCp1252High[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                  0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                  0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                  0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

bool isAscii(QByteArrayView bytes)
{
    for (char c : bytes) {
        if (static_cast<unsigned char>(c) >= 0x80)
            return false;
    }
    return true;
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

bool equalsNoCase(QByteArrayView a, const char* b)
{
    return a.compare(QByteArrayView(b), Qt::CaseInsensitive) == 0;
}

} // namespace

QString VCardText::decodeWindows1252(QByteArrayView bytes)
{
    QString out(bytes.size(), Qt::Uninitialized);
    QChar* d = out.data();
    for (char c : bytes) {
        const auto b = static_cast<unsigned char>(c);
        *d++ = (b >= 0x80 && b < 0xA0) ? QChar(kCp1252High[b - 0x80]) : QChar(char16_t(b));
    }
    return out;
}

bool VCardText::looksLikeCharset(QByteArrayView name)
{
    const QByteArray n = name.toByteArray().toLower();
    return n.startsWith("utf-") || n.startsWith("utf8") || n.startsWith("iso-") ||
           n.startsWith("iso8859") || n.startsWith("windows-") || n.startsWith("cp") ||
           n == "us-ascii" || n == "ascii" || n.startsWith("latin") || n.startsWith("koi8") ||
           n == "shift_jis" || n == "big5" || n.startsWith("gb") || n.startsWith("euc-");
}

QString VCardText::decode(QByteArrayView bytes, QByteArrayView charset)
{
    if (isAscii(bytes))
        return QString::fromLatin1(bytes);
    if (!charset.isEmpty()) {
        if (equalsNoCase(charset, "utf-8") || equalsNoCase(charset, "utf8"))
            return QString::fromUtf8(bytes);
        if (equalsNoCase(charset, "windows-1252") || equalsNoCase(charset, "cp1252") ||
            equalsNoCase(charset, "iso-8859-1") || equalsNoCase(charset, "iso8859-1") ||
            equalsNoCase(charset, "latin1") || equalsNoCase(charset, "us-ascii"))
            return decodeWindows1252(bytes);
        // Other named sets (ISO-8859-2, KOI8-R, ...) through ICU where Qt has it.
        QStringDecoder decoder(charset.toByteArray().constData(),
                               QStringConverter::Flag::Stateless);
        if (decoder.isValid()) {
            QString text = decoder(bytes);
            if (!decoder.hasError())
                return text;
        }
    }
    if (bytes.isValidUtf8())
        return QString::fromUtf8(bytes);
    return decodeWindows1252(bytes);
}

QByteArray VCardText::decodeQuotedPrintable(QByteArrayView text)
{
    QByteArray out;
    out.reserve(text.size());
    const qsizetype n = text.size();
    for (qsizetype i = 0; i < n; ++i) {
        const char c = text[i];
        if (c == '=') {
            // A final "=" (blanks may follow) is a soft break without a following line.
            qsizetype j = i + 1;
            while (j < n && (text[j] == ' ' || text[j] == '\t'))
                ++j;
            if (j == n)
                break;
        }
        if (c == '=' && i + 2 < n) {
            const int hi = hexValue(text[i + 1]);
            const int lo = hexValue(text[i + 2]);
            if (hi >= 0 && lo >= 0) {
                out.append(char(hi * 16 + lo));
                i += 2;
                continue;
            }
        }
        out.append(c);
    }
    return out;
}

QString VCardText::unescape(QStringView escaped)
{
    if (!escaped.contains(u'\\'))
        return escaped.toString();
    QString out;
    out.reserve(escaped.size());
    const qsizetype n = escaped.size();
    for (qsizetype i = 0; i < n; ++i) {
        const QChar c = escaped[i];
        if (c == u'\\' && i + 1 < n) {
            const QChar next = escaped[++i];
            out.append((next == u'n' || next == u'N') ? QChar(u'\n') : next);
        } else {
            out.append(c);
        }
    }
    return out;
}

QString VCardText::escape(QStringView text)
{
    QString out;
    out.reserve(text.size() + 8);
    const qsizetype n = text.size();
    for (qsizetype i = 0; i < n; ++i) {
        const QChar c = text[i];
        switch (c.unicode()) {
        case u'\\':
            out.append(u"\\\\");
            break;
        case u',':
            out.append(u"\\,");
            break;
        case u';':
            out.append(u"\\;");
            break;
        case u'\r':
            if (i + 1 < n && text[i + 1] == u'\n')
                ++i;
            out.append(u"\\n");
            break;
        case u'\n':
            out.append(u"\\n");
            break;
        default:
            out.append(c);
        }
    }
    return out;
}

QList<QStringView> VCardText::splitEscaped(QStringView escaped, QChar separator)
{
    QList<QStringView> parts;
    qsizetype start = 0;
    const qsizetype n = escaped.size();
    for (qsizetype i = 0; i < n; ++i) {
        const QChar c = escaped[i];
        if (c == u'\\') {
            ++i;
        } else if (c == separator) {
            parts.append(escaped.mid(start, i - start));
            start = i + 1;
        }
    }
    parts.append(escaped.mid(start));
    return parts;
}

QString VCardText::decodeCaret(QStringView value)
{
    if (!value.contains(u'^'))
        return value.toString();
    QString out;
    out.reserve(value.size());
    const qsizetype n = value.size();
    for (qsizetype i = 0; i < n; ++i) {
        const QChar c = value[i];
        if (c == u'^' && i + 1 < n) {
            const QChar next = value[i + 1];
            if (next == u'n' || next == u'N') {
                out.append(u'\n');
                ++i;
                continue;
            }
            if (next == u'\'') {
                out.append(u'"');
                ++i;
                continue;
            }
            if (next == u'^') {
                out.append(u'^');
                ++i;
                continue;
            }
        }
        out.append(c);
    }
    return out;
}

QString VCardText::encodeParameterValue(QStringView value, bool isList, bool caret)
{
    QString out;
    bool needsQuotes = false;
    const qsizetype n = value.size();
    for (qsizetype i = 0; i < n; ++i) {
        const QChar c = value[i];
        switch (c.unicode()) {
        case u'^':
            out.append(caret ? u"^^" : u"^");
            break;
        case u'"':
            out.append(caret ? u"^'" : u"'");
            break;
        case u'\r':
            if (i + 1 < n && value[i + 1] == u'\n')
                ++i;
            out.append(caret ? u"^n" : u" ");
            break;
        case u'\n':
            out.append(caret ? u"^n" : u" ");
            break;
        case u',':
            needsQuotes = needsQuotes || !isList;
            out.append(c);
            break;
        case u';':
        case u':':
        case u' ':
        case u'\t':
            needsQuotes = true;
            out.append(c);
            break;
        default:
            out.append(c);
        }
    }
    return needsQuotes ? u'"' + out + u'"' : out;
}

QByteArray VCardText::foldLine(QByteArrayView line)
{
    constexpr qsizetype kMax = 75;
    QByteArray out;
    out.reserve(line.size() + line.size() / 70 * 3 + 2);
    qsizetype pos = 0;
    qsizetype room = kMax;
    const qsizetype n = line.size();
    while (n - pos > room) {
        qsizetype cut = pos + room;
        // Step back over continuation bytes (10xxxxxx) so a sequence stays whole.
        while (cut > pos && (static_cast<unsigned char>(line[cut]) & 0xC0) == 0x80)
            --cut;
        if (cut == pos)
            cut = pos + room; // not UTF-8 at all: cut where the limit is
        out.append(line.sliced(pos, cut - pos));
        out.append("\r\n ");
        pos = cut;
        room = kMax - 1; // the leading blank counts
    }
    out.append(line.sliced(pos));
    out.append("\r\n");
    return out;
}
