#include "contacts/OlItem.h"

#include <QFileInfo>

OlItem::OlItem(ContactItem item, QString filePath)
    : m_messageClass(messageClassOf(item.card())), m_contact(std::move(item)),
      m_filePath(std::move(filePath))
{
}

OlItem OlItem::other(QString messageClass, QString filePath, QString subject)
{
    OlItem item;
    item.m_messageClass = std::move(messageClass);
    item.m_filePath = std::move(filePath);
    item.m_subject = std::move(subject);
    return item;
}

QString OlItem::messageClassOf(const VCard& card)
{
    for (const char* name : {"KIND", "X-ADDRESSBOOKSERVER-KIND"}) {
        if (const VCardProperty* kind = card.find(name)) {
            if (kind->text().trimmed().compare(u"group", Qt::CaseInsensitive) == 0)
                return QStringLiteral("IPM.DistList");
        }
    }
    return QStringLiteral("IPM.Contact");
}

QString OlItem::EntryID() const
{
    return m_contact ? m_contact->entryId() : QString();
}

QString OlItem::Subject() const
{
    if (m_contact)
        return m_contact->value(u"FileAs").toString();
    return m_subject;
}

QVariant OlItem::value(QStringView propertyName) const
{
    if (propertyName.compare(u"MessageClass", Qt::CaseInsensitive) == 0)
        return m_messageClass;
    if (propertyName.compare(u"Subject", Qt::CaseInsensitive) == 0)
        return Subject();
    if (propertyName.compare(u"EntryID", Qt::CaseInsensitive) == 0)
        return EntryID();
    // A distribution list has none of a contact's properties.
    if (m_contact && isContact())
        return m_contact->value(propertyName);
    return QVariant();
}
