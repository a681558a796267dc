#include "cli/CliFieldListing.h"

#include "contacts/ClsFieldsString.h"
#include "contacts/ContactFieldCatalogue.h"

QStringList CliFieldListing::compositeFieldNames()
{
    QStringList names = {QStringLiteral("Anrede+Name"),
                         QStringLiteral("Briefanrede+Name"),
                         QStringLiteral("Straße ausgewählte Adresse"),
                         QStringLiteral("Ort ausgewählte Adresse"),
                         QStringLiteral("PLZ ausgewählte Adresse"),
                         QStringLiteral("PLZ+Ort ausgewählte Adresse"),
                         QStringLiteral("Land ausgewählte Adresse")};
    // The address lines share one cursor: they are asked for in ascending order.
    for (int n = 1; n <= 9; ++n)
        names.append(QStringLiteral("%1. Anschrift-Zeile").arg(n));
    return names;
}

QStringList CliFieldListing::builtInFieldNames()
{
    return {QStringLiteral("Datum tt.mm.jjjj"), QStringLiteral("Datum tt.mm.jj"),
            QStringLiteral("Computername"), QStringLiteral("Benutzer Login-Name")};
}

QStringList CliFieldListing::specialFieldNames(const QString& specialFieldsString)
{
    QStringList names;
    ClsFieldsString fields;
    fields.setSeparator(QStringLiteral("|"));
    fields.SetFieldString(specialFieldsString);
    QString name, value;
    fields.GetNext2Field(true, name, value);
    while (!name.isEmpty()) {
        names.append(name);
        fields.GetNext2Field(false, name, value);
    }
    return names;
}

QList<std::pair<QString, QString>>
CliFieldListing::fieldValues(const ContactFieldResolver& item, const QStringList& userPropertyNames,
                             const QString& specialFieldsString)
{
    QList<std::pair<QString, QString>> rows;
    const auto add = [&](const QString& name, const char* suffix) {
        const QString field = name + QLatin1String(suffix);
        rows.append({field, ResolveFieldText(item, field, specialFieldsString)});
    };
    for (const QString& name : ContactFieldCatalogue::displayNames())
        add(name, " (OF)");
    for (const QString& name : compositeFieldNames())
        add(name, " (ZF)");
    for (const QString& name : userPropertyNames)
        add(name, " (BF)");
    for (const QString& name : specialFieldNames(specialFieldsString))
        add(name, " (SF)");
    for (const QString& name : builtInFieldNames())
        add(name, " (EF)");
    return rows;
}
