#include "contacts/VCardWriter.h"

#include "contacts/VCardText.h"
#include "util/SystemErrorText.h"

#include <QSaveFile>

namespace
{

// The bytes of a line as read, with its inner line breaks (folds) made CRLF.
QByteArray rawWithCrlf(const QByteArray& raw)
{
    QByteArray out;
    out.reserve(raw.size() + 8);
    const qsizetype n = raw.size();
    for (qsizetype i = 0; i < n; ++i) {
        const char c = raw[i];
        if (c == '\r') {
            if (i + 1 < n && raw[i + 1] == '\n')
                ++i;
            else if (i + 2 < n && raw[i + 1] == '\r' && raw[i + 2] == '\n')
                i += 2;
            out.append("\r\n");
        } else if (c == '\n') {
            out.append("\r\n");
        } else {
            out.append(c);
        }
    }
    out.append("\r\n");
    return out;
}

bool canKeepRaw(const VCardProperty& p, VCardVersion source, VCardVersion target)
{
    if (p.modified || p.raw.isEmpty())
        return false;
    if (source == target)
        return true;
    return source == VCardVersion::V21 && p.rawIsPortable;
}

} // namespace

QString VCardWriter::composedFullName(const VCard& card)
{
    if (const VCardProperty* n = card.find("N")) {
        const QStringList c = n->components();
        // prefix given additional family suffix
        QStringList parts;
        for (int i : {3, 1, 2, 0, 4}) {
            if (i < c.size() && !c[i].trimmed().isEmpty())
                parts.append(c[i].trimmed());
        }
        if (!parts.isEmpty())
            return parts.join(u' ');
    }
    if (const VCardProperty* org = card.find("ORG")) {
        const QStringList c = org->components();
        if (!c.isEmpty() && !c[0].isEmpty())
            return c[0];
    }
    if (const VCardProperty* email = card.find("EMAIL"))
        return email->text();
    return QString();
}

VCardVersion VCardWriter::targetVersion(const VCard& card)
{
    return card.version() == VCardVersion::V40 ? VCardVersion::V40 : VCardVersion::V30;
}

QByteArray VCardWriter::serialize(const VCardProperty& p, VCardVersion target)
{
    QString line;
    if (!p.group.isEmpty())
        line = QString::fromUtf8(p.group) + u'.';
    line += QString::fromUtf8(p.name).toUpper();

    QStringList typeValues;
    for (const VCardProperty::Parameter& param : p.parameters) {
        if (param.name == "TYPE") {
            for (QStringView t : QStringView(param.value).split(u',')) {
                const QString v = t.trimmed().toString();
                if (!v.isEmpty() && !typeValues.contains(v, Qt::CaseInsensitive))
                    typeValues.append(v);
            }
        }
    }
    const bool caret = target == VCardVersion::V40;
    bool typesWritten = false;
    for (const VCardProperty::Parameter& param : p.parameters) {
        QString value = param.value;
        if (param.name == "CHARSET")
            continue; // everything is UTF-8 now
        if (param.name == "ENCODING") {
            if (!p.isBinary())
                continue; // quoted-printable, 7bit, 8bit: the value is plain text now
            value = target == VCardVersion::V40 ? param.value : QStringLiteral("b");
        }
        if (param.name == "VALUE" && value.compare(u"INLINE", Qt::CaseInsensitive) == 0)
            continue; // 2.1's default, not a 3.0 value type
        if (param.name == "TYPE") {
            if (typesWritten)
                continue;
            typesWritten = true;
            line += QStringLiteral(";TYPE=") +
                    VCardText::encodeParameterValue(typeValues.join(u','), true, caret);
            continue;
        }
        line += u';' + QString::fromUtf8(param.name) + u'=' +
                VCardText::encodeParameterValue(value, false,
                                                caret || param.name.startsWith("X-ZETTELWERK-"));
    }
    line += u':';
    if (p.isBinary()) {
        QString data = p.value;
        data.removeIf([](QChar c) { return c.isSpace(); });
        line += data;
    } else {
        line += p.value;
    }
    return VCardText::foldLine(line.toUtf8());
}

QByteArray VCardWriter::write(const VCard& card)
{
    const VCardVersion target = targetVersion(card);
    if (!card.isModified() && card.version() == target && card.hasVersionLine() &&
        !card.raw().isEmpty()) {
        QByteArray out = card.raw();
        if (!out.endsWith('\n') && !out.endsWith('\r'))
            out.append("\r\n");
        return out;
    }

    QByteArray out("BEGIN:VCARD\r\n");
    out.append(target == VCardVersion::V40 ? "VERSION:4.0\r\n" : "VERSION:3.0\r\n");
    bool hasFn = false, hasN = false;
    for (const VCardProperty& p : card.properties()) {
        if (p.malformed)
            continue;
        hasFn = hasFn || p.isNamed("FN");
        hasN = hasN || p.isNamed("N");
    }
    for (const VCardProperty& p : card.properties()) {
        if (p.malformed || canKeepRaw(p, card.version(), target))
            out.append(rawWithCrlf(p.raw));
        else
            out.append(serialize(p, target));
        // FN right after the name keeps the usual order for a new card.
        if (!hasFn && p.isNamed("N") && !p.malformed) {
            VCardProperty fn("FN", VCardText::escape(composedFullName(card)));
            out.append(serialize(fn, target));
            hasFn = true;
        }
    }
    if (!hasFn) {
        VCardProperty fn("FN", VCardText::escape(composedFullName(card)));
        out.append(serialize(fn, target));
    }
    if (!hasN && target == VCardVersion::V30)
        out.append("N:;;;;\r\n");
    out.append("END:VCARD\r\n");
    return out;
}

QByteArray VCardWriter::write(const QList<VCard>& cards)
{
    QByteArray out;
    for (const VCard& c : cards)
        out.append(write(c));
    return out;
}

bool VCardWriter::writeFile(const QString& path, const QList<VCard>& cards, QString* errorMessage)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        if (errorMessage)
            *errorMessage = QStringLiteral("Die Datei '%1' kann nicht geschrieben werden: %2")
                                .arg(path, VuFileErrorText(file));
        return false;
    }
    const QByteArray bytes = write(cards);
    if (file.write(bytes) != bytes.size() || !file.commit()) {
        if (errorMessage)
            *errorMessage = QStringLiteral("Die Datei '%1' kann nicht geschrieben werden: %2")
                                .arg(path, VuFileErrorText(file));
        file.cancelWriting();
        return false;
    }
    return true;
}
