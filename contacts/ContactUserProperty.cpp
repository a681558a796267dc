#include "contacts/ContactUserProperty.h"

#include "contacts/VCardText.h"

#include <QDate>
#include <QLocale>

QString ContactUserProperty::slug(QStringView name)
{
    QString out;
    bool pendingDash = false;
    for (QChar c : name.toString().toUpper()) {
        QString piece;
        switch (c.unicode()) {
        case u'Ä':
            piece = QStringLiteral("AE");
            break;
        case u'Ö':
            piece = QStringLiteral("OE");
            break;
        case u'Ü':
            piece = QStringLiteral("UE");
            break;
        case u'ß':
        case u'ẞ':
            piece = QStringLiteral("SS");
            break;
        default:
            if ((c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9'))
                piece = c;
        }
        if (piece.isEmpty()) {
            pendingDash = true;
            continue;
        }
        if (pendingDash && !out.isEmpty())
            out += u'-';
        pendingDash = false;
        out += piece;
    }
    return out;
}

QString ContactUserProperty::tokenOf(Type type)
{
    switch (type) {
    case Type::Number:
        return QStringLiteral("number");
    case Type::DateTime:
        return QStringLiteral("date");
    case Type::YesNo:
        return QStringLiteral("yesno");
    case Type::Keywords:
        return QStringLiteral("keywords");
    case Type::Text:
        break;
    }
    return QStringLiteral("text");
}

ContactUserProperty::Type ContactUserProperty::typeOf(QStringView token, bool* known)
{
    const QString t = token.trimmed().toString().toLower();
    Type type = Type::Text;
    bool ok = true;
    if (t == u"number")
        type = Type::Number;
    else if (t == u"date")
        type = Type::DateTime;
    else if (t == u"yesno")
        type = Type::YesNo;
    else if (t == u"keywords")
        type = Type::Keywords;
    else if (t != u"text")
        ok = false;
    if (known)
        *known = ok;
    return type;
}

QString ContactUserProperty::encodedValue(VCardVersion version) const
{
    switch (type) {
    case Type::Number: {
        if (value.typeId() == QMetaType::QString)
            return VCardText::escape(value.toString());
        return QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest);
    }
    case Type::DateTime: {
        const QDate d =
            value.typeId() == QMetaType::QDateTime ? value.toDateTime().date() : value.toDate();
        if (!d.isValid())
            return VCardText::escape(value.toString());
        return d.toString(version == VCardVersion::V40 ? u"yyyyMMdd" : u"yyyy-MM-dd");
    }
    case Type::YesNo:
        if (value.typeId() == QMetaType::QString)
            return VCardText::escape(value.toString());
        return value.toBool() ? QStringLiteral("TRUE") : QStringLiteral("FALSE");
    case Type::Keywords: {
        QStringList escaped;
        for (const QString& k : value.toStringList())
            escaped.append(VCardText::escape(k));
        return escaped.join(u',');
    }
    case Type::Text:
        break;
    }
    return VCardText::escape(value.toString());
}

QVariant ContactUserProperty::decodeValue(const VCardProperty& line, Type type)
{
    const QString text = line.text().trimmed();
    switch (type) {
    case Type::Number: {
        bool ok = false;
        const double d = QLocale::c().toDouble(text, &ok);
        return ok ? QVariant(d) : QVariant(line.text());
    }
    case Type::DateTime: {
        QDate d = QDate::fromString(text.left(10), Qt::ISODate);
        if (!d.isValid())
            d = QDate::fromString(text.left(8), u"yyyyMMdd");
        return d.isValid() ? QVariant(d) : QVariant(line.text());
    }
    case Type::YesNo:
        if (text.compare(u"TRUE", Qt::CaseInsensitive) == 0 || text == u"1")
            return true;
        if (text.compare(u"FALSE", Qt::CaseInsensitive) == 0 || text == u"0")
            return false;
        return line.text();
    case Type::Keywords: {
        QStringList items = line.list();
        if (items.size() == 1 && items.first().isEmpty())
            items.clear();
        return items;
    }
    case Type::Text:
        break;
    }
    return line.text();
}
