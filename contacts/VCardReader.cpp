#include "contacts/VCardReader.h"
#include "util/SystemErrorText.h"

#include "contacts/VCardText.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>
#include <cstring>

namespace
{

struct PhysicalLine {
    const char* begin;
    const char* end;  // end of content, before the line break
    const char* next; // start of the following line
};

// One line break is CRLF, LF, CR or CR CR LF (iOS 5).
PhysicalLine nextLine(const char* p, const char* limit)
{
    const char* q = p;
    while (q < limit && *q != '\n' && *q != '\r')
        ++q;
    PhysicalLine line{p, q, q};
    if (q < limit) {
        if (*q == '\n')
            line.next = q + 1;
        else if (q + 1 < limit && q[1] == '\n')
            line.next = q + 2;
        else if (q + 2 < limit && q[1] == '\r' && q[2] == '\n')
            line.next = q + 3;
        else
            line.next = q + 1;
    }
    return line;
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

QByteArrayView trimmedEnd(const char* b, const char* e)
{
    while (e > b && isBlank(e[-1]))
        --e;
    return QByteArrayView(b, e - b);
}

bool startsWithBom(const char* b, const char* e)
{
    return e - b >= 3 && static_cast<unsigned char>(b[0]) == 0xEF &&
           static_cast<unsigned char>(b[1]) == 0xBB && static_cast<unsigned char>(b[2]) == 0xBF;
}

// `[group.]BEGIN:VCARD` / `END:VCARD`, any case, blanks after it allowed.
bool isMarker(const char* b, const char* e, QByteArrayView marker)
{
    if (startsWithBom(b, e))
        b += 3;
    const QByteArrayView t = trimmedEnd(b, e);
    if (t.size() < marker.size())
        return false;
    const char last = t.back();
    if (last != 'D' && last != 'd')
        return false;
    if (t.last(marker.size()).compare(marker, Qt::CaseInsensitive) != 0)
        return false;
    return t.size() == marker.size() || t[t.size() - marker.size() - 1] == '.';
}

bool containsNoCase(QByteArrayView hay, QByteArrayView needle)
{
    if (needle.size() > hay.size())
        return false;
    for (qsizetype i = 0; i + needle.size() <= hay.size(); ++i) {
        if (hay.sliced(i, needle.size()).compare(needle, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

// Everything before the colon that starts the value (a colon inside quotes does not).
qsizetype valueColon(QByteArrayView line)
{
    bool quoted = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (c == '"')
            quoted = !quoted;
        else if (c == ':' && !quoted)
            return i;
        else if (c == '\n' || c == '\r')
            break;
    }
    // An unterminated quote: fall back to the first colon at all.
    return quoted ? line.indexOf(':') : -1;
}

// The property name of a logical line, without group.
QByteArrayView lineName(QByteArrayView line)
{
    qsizetype end = 0;
    while (end < line.size() && line[end] != ';' && line[end] != ':')
        ++end;
    QByteArrayView name = line.first(end);
    const qsizetype dot = name.lastIndexOf('.');
    return dot >= 0 ? name.sliced(dot + 1) : name;
}

struct LogicalLine {
    const char* rawBegin;
    const char* rawEnd;
    QByteArray joined; // unfolded content; empty when the line was not folded
    bool folded = false;
    int line = 0;
    QByteArrayView content() const
    {
        return folded ? QByteArrayView(joined) : QByteArrayView(rawBegin, rawEnd - rawBegin);
    }
};

QByteArrayView header(QByteArrayView content)
{
    const qsizetype colon = valueColon(content);
    return colon >= 0 ? content.first(colon) : content;
}

bool endsWithSoftBreak(QByteArrayView content)
{
    const QByteArrayView t = trimmedEnd(content.data(), content.data() + content.size());
    return !t.isEmpty() && t.back() == '=' && containsNoCase(header(content), "QUOTED-PRINTABLE");
}

bool isBase64Header(QByteArrayView content)
{
    const QByteArrayView h = header(content);
    for (const QByteArray& part : h.toByteArray().split(';')) {
        QByteArrayView token = QByteArrayView(part).trimmed();
        const qsizetype eq = token.indexOf('=');
        if (eq >= 0)
            token = token.sliced(eq + 1);
        if (token.compare("B", Qt::CaseInsensitive) == 0 ||
            token.compare("BASE64", Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

enum class SeenVersion { None, V21, V30, V40 };

SeenVersion versionOf(QByteArrayView content)
{
    const qsizetype colon = content.indexOf(':');
    if (colon < 0)
        return SeenVersion::None;
    const QByteArrayView v = content.sliced(colon + 1).trimmed();
    if (v.startsWith("2."))
        return SeenVersion::V21;
    if (v.startsWith("4."))
        return SeenVersion::V40;
    return SeenVersion::V30;
}

// Walks the logical lines of one card (BEGIN and END excluded), calling `visit` for each;
// `visit` returns false to stop. Returns the version line's version.
template <typename Visit>
SeenVersion forEachLogicalLine(QByteArrayView card, int firstLine, Visit visit)
{
    const char* p = card.data();
    const char* limit = p + card.size();
    SeenVersion version = SeenVersion::None;
    int lineNo = firstLine;

    // Skip the BEGIN line.
    PhysicalLine pl = nextLine(p, limit);
    p = pl.next;
    ++lineNo;

    std::optional<LogicalLine> current;
    int agentDepth = 0; // a 2.1 AGENT may embed a whole card
    bool currentBase64 = false;
    bool currentBase64Known = false;

    auto flush = [&]() -> bool {
        if (!current)
            return true;
        LogicalLine done = std::move(*current);
        current.reset();
        const QByteArrayView c = done.content();
        if (lineName(c).compare("VERSION", Qt::CaseInsensitive) == 0)
            version = versionOf(c);
        return visit(done);
    };

    while (p < limit) {
        pl = nextLine(p, limit);
        const int thisLine = lineNo++;
        p = pl.next;
        const qsizetype len = pl.end - pl.begin;

        if (agentDepth > 0) {
            if (isMarker(pl.begin, pl.end, "BEGIN:VCARD"))
                ++agentDepth;
            else if (isMarker(pl.begin, pl.end, "END:VCARD"))
                --agentDepth;
            if (current) { // the embedded card stays part of the AGENT line, uninterpreted
                current->rawEnd = pl.end;
                if (current->folded)
                    current->joined.append('\n').append(pl.begin, len);
            }
            continue;
        }
        if (isMarker(pl.begin, pl.end, "END:VCARD"))
            break;
        if (isMarker(pl.begin, pl.end, "BEGIN:VCARD")) {
            // Only reached for an AGENT (split() cuts elsewhere): keep it with the AGENT line.
            ++agentDepth;
            if (current) {
                if (!current->folded) {
                    current->joined = current->content().toByteArray();
                    current->folded = true;
                }
                current->rawEnd = pl.end;
                current->joined.append('\n').append(pl.begin, len);
            }
            continue;
        }
        if (trimmedEnd(pl.begin, pl.end).isEmpty()) {
            // A blank line ends a 2.1 base64 block; otherwise it means nothing.
            if (!flush())
                return version;
            continue;
        }

        if (current) {
            const bool startsBlank = isBlank(*pl.begin);
            const bool softBreak = endsWithSoftBreak(current->content());
            const bool v30 = version == SeenVersion::V30 || version == SeenVersion::V40;
            bool join = false;
            bool keepAll = false;
            if (softBreak && (!startsBlank || !v30)) {
                join = true;
                keepAll = true; // quoted-printable: the next line is content, blanks too
            } else if (startsBlank) {
                join = true;
            } else if (!QByteArrayView(pl.begin, len).contains(':')) {
                if (!currentBase64Known) {
                    currentBase64 = isBase64Header(current->content());
                    currentBase64Known = true;
                }
                join = currentBase64; // unindented base64 continuation
            }
            if (join) {
                if (!current->folded) {
                    current->joined = current->content().toByteArray();
                    current->folded = true;
                }
                if (keepAll) {
                    // Drop the soft break: "=" and any blanks after it.
                    QByteArray& j = current->joined;
                    while (!j.isEmpty() && isBlank(j.back()))
                        j.chop(1);
                    j.chop(1);
                    j.append(pl.begin, len);
                } else if (startsBlank) {
                    current->joined.append(pl.begin + 1, len - 1);
                } else {
                    current->joined.append(pl.begin, len);
                }
                current->rawEnd = pl.end;
                continue;
            }
            if (!flush())
                return version;
        }
        current = LogicalLine{pl.begin, pl.end, QByteArray(), false, thisLine};
        currentBase64Known = false;
    }
    flush();
    return version;
}

VCardVersion toVersion(SeenVersion v)
{
    switch (v) {
    case SeenVersion::V21:
        return VCardVersion::V21;
    case SeenVersion::V40:
        return VCardVersion::V40;
    default:
        return VCardVersion::V30;
    }
}

bool isStructured(QByteArrayView name)
{
    return name.compare("N", Qt::CaseInsensitive) == 0 ||
           name.compare("ADR", Qt::CaseInsensitive) == 0 ||
           name.compare("ORG", Qt::CaseInsensitive) == 0 ||
           name.compare("GEO", Qt::CaseInsensitive) == 0;
}

// Blanks at the ends of each line of a quoted-printable text are not content: a
// continuation's leading blank may be a fold (see the 2.1 example) or a real blank.
QString trimLines(const QString& text)
{
    QStringList lines = text.split(u'\n');
    for (QString& l : lines) {
        qsizetype b = 0, e = l.size();
        while (b < e && (l[b] == u' ' || l[b] == u'\t'))
            ++b;
        while (e > b && (l[e - 1] == u' ' || l[e - 1] == u'\t'))
            --e;
        l = l.mid(b, e - b);
    }
    return lines.join(u'\n');
}

// 2.1 text -> escaped 3.0 text. In 2.1 only "\;" is an escape; commas are literal.
QString canonicalFrom21(const QString& text, bool structured, bool trim)
{
    QString normalized = text;
    normalized.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(u'\r', u'\n');
    auto convert = [trim](QStringView part) {
        QString plain = part.toString();
        plain.replace(QStringLiteral("\\;"), QStringLiteral(";"));
        if (trim)
            plain = trimLines(plain);
        return VCardText::escape(plain);
    };
    if (!structured)
        return convert(normalized);
    QStringList out;
    qsizetype start = 0;
    for (qsizetype i = 0; i < normalized.size(); ++i) {
        if (normalized[i] == u'\\' && i + 1 < normalized.size() && normalized[i + 1] == u';') {
            ++i;
        } else if (normalized[i] == u';') {
            out.append(convert(QStringView(normalized).mid(start, i - start)));
            start = i + 1;
        }
    }
    out.append(convert(QStringView(normalized).mid(start)));
    return out.join(u';');
}

QByteArray bareParameterName(QByteArrayView token)
{
    static const char* const encodings[] = {"QUOTED-PRINTABLE", "7BIT", "8BIT", "BASE64", "B"};
    for (const char* e : encodings) {
        if (token.compare(QByteArrayView(e), Qt::CaseInsensitive) == 0)
            return "ENCODING";
    }
    static const char* const values[] = {"INLINE", "URL", "CONTENT-ID", "CID"};
    for (const char* v : values) {
        if (token.compare(QByteArrayView(v), Qt::CaseInsensitive) == 0)
            return "VALUE";
    }
    if (VCardText::looksLikeCharset(token))
        return "CHARSET";
    return "TYPE";
}

VCardProperty parseLine(const LogicalLine& ll, VCardVersion version)
{
    VCardProperty prop;
    prop.raw = QByteArray(ll.rawBegin, ll.rawEnd - ll.rawBegin);
    prop.line = ll.line;
    const QByteArrayView content = ll.content();
    const qsizetype colon = valueColon(content);

    // Name and group.
    qsizetype nameEnd = 0;
    while (nameEnd < content.size() && content[nameEnd] != ';' && content[nameEnd] != ':')
        ++nameEnd;
    QByteArrayView fullName = content.first(nameEnd).trimmed();
    const qsizetype dot = fullName.indexOf('.');
    if (dot >= 0) {
        prop.group = fullName.first(dot).toByteArray();
        fullName = fullName.sliced(dot + 1);
    }
    prop.name = fullName.toByteArray();
    if (colon < 0 || prop.name.isEmpty()) {
        prop.malformed = true;
        prop.rawIsPortable = true;
        return prop;
    }

    // Parameters.
    bool normalized = false;
    qsizetype pos = nameEnd;
    while (pos < colon) {
        ++pos; // skip ';'
        qsizetype end = pos;
        bool quoted = false;
        while (end < colon && (quoted || content[end] != ';')) {
            if (content[end] == '"')
                quoted = !quoted;
            ++end;
        }
        const QByteArrayView token = content.sliced(pos, end - pos).trimmed();
        pos = end;
        if (token.isEmpty()) {
            normalized = true; // "ADR;HOME;PREF;:" from German Outlook
            continue;
        }
        VCardProperty::Parameter param;
        const qsizetype eq = token.indexOf('=');
        QByteArrayView valueBytes;
        if (eq < 0) {
            param.name = bareParameterName(token);
            valueBytes = token;
            normalized = true;
        } else {
            param.name = token.first(eq).trimmed().toByteArray().toUpper();
            valueBytes = token.sliced(eq + 1).trimmed();
        }
        QByteArray unquoted;
        unquoted.reserve(valueBytes.size());
        for (char c : valueBytes) {
            if (c != '"')
                unquoted.append(c);
        }
        param.value = VCardText::decode(unquoted);
        if (version == VCardVersion::V40 || param.name.startsWith("X-ZETTELWERK-"))
            param.value = VCardText::decodeCaret(param.value);
        if (param.name == "ENCODING" || param.name == "CHARSET")
            normalized = true;
        prop.parameters.append(std::move(param));
    }

    // Value.
    QByteArrayView valueBytes = content.sliced(colon + 1);
    const QString encoding = prop.parameter("ENCODING");
    const bool qp = encoding.compare(u"QUOTED-PRINTABLE", Qt::CaseInsensitive) == 0;
    QString text;
    if (prop.isBinary()) {
        text = QString::fromLatin1(valueBytes); // base64 is ASCII; never decoded here
    } else if (qp) {
        text = VCardText::decode(VCardText::decodeQuotedPrintable(valueBytes),
                                 prop.parameter("CHARSET").toLatin1());
    } else {
        text = VCardText::decode(valueBytes, prop.parameter("CHARSET").toLatin1());
    }

    if (version == VCardVersion::V21 && !prop.isBinary()) {
        prop.value = canonicalFrom21(text, isStructured(prop.name), qp);
        prop.rawIsPortable = !normalized && !qp && prop.value == text && valueBytes.isValidUtf8();
    } else {
        if (qp) {
            text.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(u'\r', u'\n');
            text.replace(u'\n', QStringLiteral("\\n"));
        }
        prop.value = text;
        prop.rawIsPortable = !normalized;
    }
    return prop;
}

QString cardWord(int line)
{
    return QStringLiteral("Der Kontakt ab Zeile %1").arg(line);
}

} // namespace

QByteArray VCardReader::normalizeEncoding(const QByteArray& bytes)
{
    if (bytes.size() >= 2) {
        const auto b0 = static_cast<unsigned char>(bytes[0]);
        const auto b1 = static_cast<unsigned char>(bytes[1]);
        if ((b0 == 0xFF && b1 == 0xFE) || (b0 == 0xFE && b1 == 0xFF)) {
            QStringDecoder decoder(b0 == 0xFF ? QStringConverter::Utf16LE
                                              : QStringConverter::Utf16BE);
            const QString text = decoder(QByteArrayView(bytes).sliced(2));
            return text.toUtf8();
        }
    }
    return bytes;
}

QList<VCardReader::Chunk> VCardReader::split(QByteArrayView data, QList<Issue>* issues)
{
    QList<Chunk> chunks;
    const char* base = data.data();
    const char* p = base;
    const char* limit = p + data.size();
    int lineNo = 1;
    bool inside = false;
    bool sawAnyBegin = false;
    int depth = 0;
    bool agentPending = false; // the last line was "AGENT:" with its card to follow
    Chunk current;

    // The message is only composed for the issues that are kept: a file of millions of
    // broken cards must not spend its time formatting texts nobody reads.
    int reported = 0;
    int notReported = 0;
    auto report = [&](int line, qint64 offset, const auto& message) {
        if (!issues)
            return;
        if (reported++ < kMaxIssuesPerFile)
            issues->append({line, offset, message()});
        else
            ++notReported;
    };
    auto finish = [&](const char* end) {
        current.size = (end - base) - current.offset;
        const QByteArrayView bytes(base + current.offset, current.size);
        if (std::memchr(bytes.data(), 0, size_t(bytes.size())) != nullptr) {
            report(current.line, current.offset, [&] {
                return cardWord(current.line) +
                       QStringLiteral(" enthält Binärdaten (Nullbytes) und wird übersprungen.");
            });
            return;
        }
        // Something besides BEGIN and END?
        const PhysicalLine first = nextLine(bytes.data(), bytes.data() + bytes.size());
        bool hasContent = false;
        for (const char* q = first.next; q < bytes.data() + bytes.size();) {
            const PhysicalLine l = nextLine(q, bytes.data() + bytes.size());
            if (!trimmedEnd(l.begin, l.end).isEmpty() && !isMarker(l.begin, l.end, "END:VCARD")) {
                hasContent = true;
                break;
            }
            q = l.next;
        }
        if (!hasContent) {
            report(current.line, current.offset, [&] {
                return cardWord(current.line) +
                       QStringLiteral(" enthält keine Angaben und wird übersprungen.");
            });
            return;
        }
        chunks.append(current);
    };

    while (p < limit) {
        const PhysicalLine pl = nextLine(p, limit);
        const int thisLine = lineNo++;
        if (!inside) {
            if (isMarker(pl.begin, pl.end, "BEGIN:VCARD")) {
                inside = true;
                sawAnyBegin = true;
                depth = 0;
                agentPending = false;
                const char* start = startsWithBom(pl.begin, pl.end) ? pl.begin + 3 : pl.begin;
                current = Chunk{start - base, 0, thisLine};
            }
        } else if (isMarker(pl.begin, pl.end, "BEGIN:VCARD")) {
            if (agentPending) {
                ++depth;
            } else {
                report(current.line, current.offset, [&] {
                    return cardWord(current.line) +
                           QStringLiteral(" endet nicht mit END:VCARD, bevor in Zeile %1 der "
                                          "nächste beginnt; er wird übersprungen.")
                               .arg(thisLine);
                });
                const char* start = startsWithBom(pl.begin, pl.end) ? pl.begin + 3 : pl.begin;
                current = Chunk{start - base, 0, thisLine};
                depth = 0;
            }
            agentPending = false;
        } else if (isMarker(pl.begin, pl.end, "END:VCARD")) {
            if (depth > 0) {
                --depth;
            } else {
                finish(pl.next);
                inside = false;
            }
            agentPending = false;
        } else if (pl.end > pl.begin && !isBlank(*pl.begin)) {
            const QByteArrayView t = trimmedEnd(pl.begin, pl.end);
            agentPending = !t.isEmpty() && t.back() == ':' &&
                           lineName(t).compare("AGENT", Qt::CaseInsensitive) == 0;
        }
        p = pl.next;
    }
    if (inside) {
        report(current.line, current.offset, [&] {
            return cardWord(current.line) +
                   QStringLiteral(" endet nicht mit END:VCARD (Datei unvollständig?); er wird "
                                  "übersprungen.");
        });
    }
    if (!sawAnyBegin && !trimmedEnd(data.data(), data.data() + data.size()).trimmed().isEmpty())
        report(0, 0, [&] {
            return QStringLiteral("Die Datei enthält keinen Kontakt (BEGIN:VCARD fehlt).");
        });
    if (notReported > 0)
        issues->append({0, 0,
                        QStringLiteral("%1 weitere fehlerhafte Kontakte der Datei werden "
                                       "übersprungen.")
                            .arg(notReported)});
    return chunks;
}

VCard VCardReader::parse(QByteArrayView card, int firstLine)
{
    QList<LogicalLine> lines;
    const SeenVersion seen = forEachLogicalLine(card, firstLine, [&](LogicalLine& l) {
        lines.append(std::move(l));
        return true;
    });
    const VCardVersion version = toVersion(seen);
    VCard result;
    result.setSource(version, seen != SeenVersion::None, card.toByteArray(), firstLine);
    auto& props = result.properties();
    props.reserve(lines.size());
    for (const LogicalLine& l : lines) {
        VCardProperty prop = parseLine(l, version);
        if (!prop.malformed && prop.isNamed("VERSION"))
            continue;
        props.append(std::move(prop));
    }
    return result;
}

std::optional<VCardProperty> VCardReader::peek(QByteArrayView card, QByteArrayView name)
{
    std::optional<LogicalLine> found;
    bool versionSeen = false;
    const SeenVersion seen = forEachLogicalLine(card, 1, [&](LogicalLine& l) {
        const QByteArrayView n = lineName(l.content());
        if (!found && n.compare(name, Qt::CaseInsensitive) == 0) {
            found = std::move(l);
        } else if (n.compare("VERSION", Qt::CaseInsensitive) == 0) {
            versionSeen = true;
        }
        // Stop once both are known (VERSION can come late).
        return !(found && versionSeen);
    });
    if (!found)
        return std::nullopt;
    VCardProperty prop = parseLine(*found, toVersion(seen));
    if (prop.malformed)
        return std::nullopt;
    return prop;
}

VCard VCardReader::parseOnly(QByteArrayView card, std::initializer_list<QByteArrayView> names,
                             int firstLine)
{
    auto wanted = [&](QByteArrayView name) {
        if (name.isEmpty())
            return false;
        const char first = char(name.front() & ~0x20); // most lines differ in the first letter
        for (QByteArrayView n : names) {
            if (!n.isEmpty() && char(n.front() & ~0x20) == first &&
                name.compare(n, Qt::CaseInsensitive) == 0)
                return true;
        }
        return false;
    };
    // The whole card is walked (a late VERSION line decides how every line reads), but only
    // the wanted lines are decoded. The name test before decoding lets through every line
    // that parse() would give one of these names.
    QList<LogicalLine> lines;
    const SeenVersion seen = forEachLogicalLine(card, firstLine, [&](LogicalLine& l) {
        if (wanted(lineName(l.content()).trimmed()))
            lines.append(std::move(l));
        return true;
    });
    const VCardVersion version = toVersion(seen);
    VCard result;
    result.setSource(version, seen != SeenVersion::None, QByteArray(), firstLine);
    for (const LogicalLine& l : lines) {
        VCardProperty prop = parseLine(l, version);
        if (!prop.malformed && wanted(prop.name))
            result.properties().append(std::move(prop));
    }
    return result;
}

VCardReader::Result VCardReader::read(const QByteArray& fileBytes)
{
    Result result;
    const QByteArray data = normalizeEncoding(fileBytes);
    const QList<Chunk> chunks = split(data, &result.issues);
    result.cards.reserve(chunks.size());
    for (const Chunk& c : chunks)
        result.cards.append(parse(QByteArrayView(data).sliced(c.offset, c.size), c.line));
    return result;
}

bool VCardReader::loadFile(const QString& path, QByteArray& bytes, QString& problem)
{
    bytes.clear();
    const QString shown = QDir::toNativeSeparators(path);
    const QString tooBig =
        QStringLiteral("Die Datei '%1' ist größer als %2 MB und wird nicht als Kontaktdatei "
                       "gelesen.")
            .arg(shown)
            .arg(kMaxFileSize / (1024 * 1024));
    // Asked before opening: opening a pipe would wait for a writer.
    const QFileInfo info(path);
    if (info.exists() && !info.isFile()) {
        problem = info.isDir()
                      ? QStringLiteral("'%1' ist ein Ordner, keine Kontaktdatei.").arg(shown)
                      : QStringLiteral("'%1' ist keine gewöhnliche Datei (sondern etwa "
                                       "ein Gerät oder eine Pipe) und wird nicht "
                                       "gelesen.")
                            .arg(shown);
        return false;
    }
    if (info.size() > kMaxFileSize) {
        problem = tooBig;
        return false;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        problem = QStringLiteral("Die Datei '%1' kann nicht gelesen werden: %2")
                      .arg(shown, VuFileErrorText(file));
        return false;
    }
    // Read in pieces up to one byte past the limit: a file that grows meanwhile, or one that
    // was swapped for a device, stops there.
    bytes.reserve(qsizetype(info.size()));
    while (bytes.size() <= kMaxFileSize) {
        const qint64 want = qMin<qint64>(1 << 20, kMaxFileSize + 1 - bytes.size());
        const qsizetype old = bytes.size();
        bytes.resize(old + qsizetype(want));
        const qint64 got = file.read(bytes.data() + old, want);
        bytes.resize(old + qsizetype(qMax<qint64>(got, 0)));
        if (got < 0) {
            problem = QStringLiteral("Die Datei '%1' kann nicht gelesen werden: %2")
                          .arg(shown, VuFileErrorText(file));
            bytes.clear();
            return false;
        }
        if (got == 0)
            break;
    }
    if (bytes.size() > kMaxFileSize) {
        problem = tooBig;
        bytes.clear();
        return false;
    }
    bytes.squeeze();
    return true;
}

VCardReader::Result VCardReader::readFile(const QString& path)
{
    QByteArray bytes;
    QString problem;
    if (!loadFile(path, bytes, problem)) {
        Result result;
        result.issues.append({0, 0, problem});
        result.fileUnreadable = true;
        return result;
    }
    return read(bytes);
}
