#pragma once

#include "document/FieldAssignments.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <utility>

// Every field a template can be assigned, with the text it gives for one contact: the Outlook
// fields of the catalogue (OF), the composite fields (ZF) with the address lines in their
// order, the contact's own user properties (BF), the special fields (SF) and the built-in
// fields (EF). Names carry their category suffix, as an assignment names them.
class CliFieldListing
{
public:
    // The composite fields offered for assignment, address lines 1 to 9 last.
    static QStringList compositeFieldNames();
    static QStringList builtInFieldNames();
    // The special field names of a special fields string, in stored order.
    static QStringList specialFieldNames(const QString& specialFieldsString);

    // (assigned field name, value) for every field, each resolved as a fill resolves it.
    static QList<std::pair<QString, QString>> fieldValues(const ContactFieldResolver& item,
                                                          const QStringList& userPropertyNames,
                                                          const QString& specialFieldsString);
};
