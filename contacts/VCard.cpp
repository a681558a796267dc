#include "contacts/VCard.h"

VCard::VCard(VCardVersion version) : m_version(version), m_structureChanged(true) {}

const VCardProperty* VCard::find(QByteArrayView name) const
{
    for (const VCardProperty& p : m_properties) {
        if (!p.malformed && p.isNamed(name))
            return &p;
    }
    return nullptr;
}

VCardProperty* VCard::find(QByteArrayView name)
{
    for (VCardProperty& p : m_properties) {
        if (!p.malformed && p.isNamed(name))
            return &p;
    }
    return nullptr;
}

QList<int> VCard::indexesOf(QByteArrayView name) const
{
    QList<int> out;
    for (int i = 0; i < m_properties.size(); ++i) {
        if (!m_properties[i].malformed && m_properties[i].isNamed(name))
            out.append(i);
    }
    return out;
}

QString VCard::groupLabel(QByteArrayView group) const
{
    if (group.isEmpty())
        return QString();
    for (const VCardProperty& p : m_properties) {
        if (!p.malformed && p.hasGroup(group) && p.isNamed("X-ABLABEL"))
            return p.text();
    }
    return QString();
}

VCardProperty& VCard::append(VCardProperty property)
{
    property.modified = true;
    m_properties.append(std::move(property));
    m_structureChanged = true;
    return m_properties.last();
}

void VCard::removeAt(int index)
{
    m_properties.removeAt(index);
    m_structureChanged = true;
}

int VCard::removeAll(QByteArrayView name)
{
    const auto removed = m_properties.removeIf(
        [name](const VCardProperty& p) { return !p.malformed && p.isNamed(name); });
    if (removed)
        m_structureChanged = true;
    return int(removed);
}

bool VCard::isModified() const
{
    if (m_structureChanged)
        return true;
    for (const VCardProperty& p : m_properties) {
        if (p.modified)
            return true;
    }
    return false;
}

void VCard::setSource(VCardVersion version, bool hasVersionLine, QByteArray raw, int line)
{
    m_version = version;
    m_hasVersionLine = hasVersionLine;
    m_raw = std::move(raw);
    m_line = line;
    m_structureChanged = false;
}
