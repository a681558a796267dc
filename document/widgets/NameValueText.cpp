#include "document/widgets/NameValueText.h"

#include <QStringList>

namespace NameValueText
{

QList<Entry> entries(const QString& specialFieldsString)
{
    QList<Entry> result;
    const QStringList tokens = specialFieldsString.split(QLatin1Char('|'), Qt::SkipEmptyParts);
    for (const QString& token : tokens) {
        const qsizetype equals = token.indexOf(QLatin1Char('='));
        if (equals < 0)
            result.append({token, QString()});
        else
            result.append({token.left(equals), token.mid(equals + 1)});
    }
    return result;
}

QStringList names(const QString& specialFieldsString)
{
    QStringList result;
    for (const Entry& entry : entries(specialFieldsString))
        result.append(entry.name);
    return result;
}

QString compose(const QList<Entry>& entries)
{
    QStringList pieces;
    for (const Entry& entry : entries)
        pieces.append(entry.name + QLatin1Char('=') + entry.value);
    return pieces.join(QLatin1Char('|'));
}

} // namespace NameValueText
