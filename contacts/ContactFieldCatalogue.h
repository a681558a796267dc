#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// The Outlook fields a template can ask for, by their German display names, and the
// ContactItem properties each one reads. The order is the lookup order (the first exact,
// case-sensitive match wins) and the order in which the names are offered.
class ContactFieldCatalogue
{
public:
    struct Entry {
        QString displayName;
        // One property, or several joined by the append rule with " "
        // ("Vorname+Nachname" reads FirstName and LastName).
        QStringList properties;
    };

    static const QList<Entry>& entries();
    static QStringList displayNames();
    // The entry of that display name, or nullptr when the catalogue has none.
    static const Entry* find(const QString& displayName);
};
