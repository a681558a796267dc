#include "contacts/VCardProperty.h"

#include "contacts/VCardText.h"

VCardProperty::VCardProperty(QByteArray n, QString escapedValue, QList<Parameter> params,
                             QByteArray g)
    : group(std::move(g)), name(std::move(n)), parameters(std::move(params)),
      value(std::move(escapedValue)), modified(true)
{
}

bool VCardProperty::isNamed(QByteArrayView n) const
{
    return QByteArrayView(name).compare(n, Qt::CaseInsensitive) == 0;
}

bool VCardProperty::hasGroup(QByteArrayView g) const
{
    return QByteArrayView(group).compare(g, Qt::CaseInsensitive) == 0;
}

QString VCardProperty::parameter(QByteArrayView n) const
{
    for (const Parameter& p : parameters) {
        if (QByteArrayView(p.name).compare(n, Qt::CaseInsensitive) == 0)
            return p.value;
    }
    return QString();
}

bool VCardProperty::hasParameter(QByteArrayView n) const
{
    for (const Parameter& p : parameters) {
        if (QByteArrayView(p.name).compare(n, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

void VCardProperty::setParameter(QByteArrayView n, const QString& v)
{
    removeParameter(n);
    parameters.append({n.toByteArray().toUpper(), v});
    modified = true;
}

void VCardProperty::removeParameter(QByteArrayView n)
{
    const auto before = parameters.size();
    parameters.removeIf([n](const Parameter& p) {
        return QByteArrayView(p.name).compare(n, Qt::CaseInsensitive) == 0;
    });
    if (parameters.size() != before)
        modified = true;
}

QStringList VCardProperty::types() const
{
    QStringList out;
    for (const Parameter& p : parameters) {
        if (p.name != "TYPE")
            continue;
        for (QStringView t : QStringView(p.value).split(u',')) {
            t = t.trimmed();
            if (!t.isEmpty())
                out.append(t.toString().toUpper());
        }
    }
    return out;
}

bool VCardProperty::hasType(QStringView t) const
{
    for (const Parameter& p : parameters) {
        if (p.name != "TYPE")
            continue;
        for (QStringView v : QStringView(p.value).split(u',')) {
            if (v.trimmed().compare(t, Qt::CaseInsensitive) == 0)
                return true;
        }
    }
    return false;
}

int VCardProperty::preference() const
{
    bool ok = false;
    const int pref = parameter("PREF").toInt(&ok);
    if (ok && pref > 0)
        return pref;
    return hasType(u"PREF") ? 1 : 101;
}

bool VCardProperty::isBinary() const
{
    const QString enc = parameter("ENCODING");
    return enc.compare(u"b", Qt::CaseInsensitive) == 0 ||
           enc.compare(u"BASE64", Qt::CaseInsensitive) == 0;
}

QString VCardProperty::text() const
{
    return VCardText::unescape(value);
}

QStringList VCardProperty::components() const
{
    QStringList out;
    for (QStringView part : VCardText::splitEscaped(value, u';'))
        out.append(VCardText::unescape(part));
    return out;
}

QList<QStringList> VCardProperty::structured() const
{
    QList<QStringList> out;
    for (QStringView part : VCardText::splitEscaped(value, u';')) {
        QStringList values;
        for (QStringView v : VCardText::splitEscaped(part, u','))
            values.append(VCardText::unescape(v));
        out.append(values);
    }
    return out;
}

QStringList VCardProperty::list() const
{
    QStringList out;
    for (QStringView v : VCardText::splitEscaped(value, u','))
        out.append(VCardText::unescape(v));
    return out;
}

void VCardProperty::setText(const QString& text)
{
    value = VCardText::escape(text);
    modified = true;
}

void VCardProperty::setComponents(const QStringList& parts)
{
    QStringList escaped;
    escaped.reserve(parts.size());
    for (const QString& p : parts)
        escaped.append(VCardText::escape(p));
    value = escaped.join(u';');
    modified = true;
}

void VCardProperty::setComponent(int index, const QString& text)
{
    QStringList escaped;
    for (QStringView part : VCardText::splitEscaped(value, u';'))
        escaped.append(part.toString());
    while (escaped.size() <= index)
        escaped.append(QString());
    escaped[index] = VCardText::escape(text);
    value = escaped.join(u';');
    modified = true;
}

void VCardProperty::setList(const QStringList& values)
{
    QStringList escaped;
    escaped.reserve(values.size());
    for (const QString& v : values)
        escaped.append(VCardText::escape(v));
    value = escaped.join(u',');
    modified = true;
}
