#pragma once

#include "contacts/OlFilter.h"
#include "contacts/OlItemRow.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <optional>

// One card as a folder's index keeps it: the values of its hit list row (OlItemRow) and the
// values a filter on the indexed properties (LastName, FirstName, CompanyName, FileAs)
// compares. Those are what reading the card gives: the N and ORG lines as the folder's fast
// path reads them, and no value at all for a distribution list. They nearly always equal the
// row's values; only where they differ (a damaged first N line, say) are they kept besides.
//
// Records lie one after another in a file's block (UTF-8 texts with variable-length sizes),
// so 100,000 of them fit in a few megabytes and a search decodes only the texts it compares.
class IndexedCard
{
public:
    enum Field { FileAs, LastName, FirstName, CompanyName, EntryId, FieldCount };

    // Appends the record of one card (bytes as VCardReader::split gives them); `location` and
    // `index` make the EntryID of a card without UID, as for ContactItem.
    static void pack(QByteArrayView card, const QString& location, int index, QByteArray& out);
    // True when `records` holds exactly `count` whole records (an index file read back).
    static bool valid(QByteArrayView records, quint32 count);
    // Moves `pos` past the record there.
    static void skip(QByteArrayView records, qsizetype& pos);

    // The record at `pos`; `pos` moves past it. Nothing is decoded yet.
    IndexedCard(QByteArrayView records, qsizetype& pos);

    OlItemRow row() const;
    // A distribution list as the folder's filter path sees it: it matches no filter.
    bool isGroup() const { return m_flags & kGroup; }
    // The value a filter compares for `field` (not for a group), and its UTF-8 bytes.
    QString filterText(Field field) const { return text(filterUtf8(field)); }
    QByteArrayView filterUtf8(Field field) const;

    // The indexed field a filter property reads; nullopt for any other property.
    static std::optional<Field> filterField(const OlFilter::Property& property);
    // True when a card is a distribution list (KIND or Apple's kind is "group").
    static bool isGroupCard(QByteArrayView card);

private:
    static constexpr quint8 kDistList = 1; // the row's class
    static constexpr quint8 kGroup = 2;    // the filter's view
    static constexpr quint8 kOwnLast = 4, kOwnFirst = 8, kOwnCompany = 16, kOwnFileAs = 32;

    QString text(QByteArrayView utf8) const { return QString::fromUtf8(utf8); }

    quint8 m_flags = 0;
    QByteArrayView m_text[FieldCount];
    QByteArrayView m_own[4]; // filter values of LastName, FirstName, CompanyName, FileAs
};
