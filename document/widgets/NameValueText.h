#pragma once

#include <QList>
#include <QString>

// A "name=value|name=value|..." string (the special fields) as rows and back.
namespace NameValueText
{

struct Entry {
    QString name;
    QString value;
    bool operator==(const Entry&) const = default;
};

// The entries in stored order: each "|"-separated token split at its first "=" (a token
// without "=" is a name with an empty value). Empty tokens are skipped.
QList<Entry> entries(const QString& specialFieldsString);
// The names alone, in stored order.
QStringList names(const QString& specialFieldsString);
// name "=" value per entry, joined by "|" (no trailing "|"); no entries give "".
QString compose(const QList<Entry>& entries);

} // namespace NameValueText
