#pragma once

#include "contacts/VCard.h"

#include <QString>
#include <QVariant>

// A typed user property of a contact ("Firma 2", "Weihnachtsgeschenke", ...), as Outlook's
// UserProperties hold them. Kept in the card as one line each:
//
//   X-ZETTELWERK-USERPROP-FIRMA-2;X-ZETTELWERK-NAME="Firma 2";X-ZETTELWERK-TYPE=text:Muster AG
//
// The NAME parameter is authoritative; the slug in the property name only keeps the lines
// apart in stores that hold one value per X- name (KDE), and with a catalogue it restores
// name and type after such a round trip.
//
// Values: Text -> QString, Number -> double, YesNo -> bool, DateTime -> QDate,
// Keywords -> QStringList (order kept).
class ContactUserProperty
{
public:
    // Outlook's OlUserPropertyType numbers.
    enum class Type { Text = 1, Number = 3, DateTime = 5, YesNo = 6, Keywords = 11 };

    QString name;
    Type type = Type::Text;
    QVariant value;
    // The type token as read; an unknown token reads as Text and is written back unchanged.
    QString typeToken;

    // "Zuständige Abteilungen" -> "ZUSTAENDIGE-ABTEILUNGEN".
    static QString slug(QStringView name);
    // "text", "number", "date", "yesno", "keywords".
    static QString tokenOf(Type type);
    // Unknown or empty tokens give Text and *known = false.
    static Type typeOf(QStringView token, bool* known = nullptr);

    // The value as escaped vCard text for `version` (dates: YYYY-MM-DD in 3.0, YYYYMMDD in
    // 4.0; numbers with "."; yes/no as TRUE/FALSE; keywords as a comma list).
    QString encodedValue(VCardVersion version) const;
    // The other way; a value that does not fit its type is kept as text.
    static QVariant decodeValue(const VCardProperty& line, Type type);
};
