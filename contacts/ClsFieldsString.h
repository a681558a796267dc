#pragma once

#include <QString>
#include <QStringList>

// A separated list of "name=value" entries, normally ending with the separator. Used
// for the bookmark entries of a template and for search criteria.
class ClsFieldsString
{
public:
    void setSeparator(const QString& separator) { m_separator = separator; }
    // Stored only; no operation consults it.
    void setFieldValuePairMode(bool on) { m_pairMode = on; }
    const QString& FieldString() const { return m_fields; }

    // Stores the list; a non-empty list gets the separator appended when it lacks it.
    void SetFieldString(const QString& fields);
    void Clear() { m_fields.clear(); }
    // True for an empty list and for one that holds the separator alone.
    bool IsEmpty() const;

    // The next entry; `getFirst` restarts at the beginning. Empty at the end.
    QString GetNextField(bool getFirst);
    // The next entry split at its first "=" when that stands after the first character;
    // otherwise the whole entry is the name and the value is empty. An empty name ends
    // the list.
    void GetNext2Field(bool getFirst, QString& field, QString& value);
    // Appends the type mark (when given), then "name=value;". Nothing when either is
    // empty. The closing ";" is fixed whatever the separator is.
    void Add2Field(const QString& field, const QString& value, const QString& datatype);
    // The n-th entry (1-based). With `allRightFields` true: everything from that entry to
    // the end, less the closing separator; with it false: empty. Without it (the
    // overload below): the entry alone.
    QString GetFieldByNumber(int number, bool allRightFields) const;
    QString GetFieldByNumber(int number) const;
    // The names of the entries, in order, up to the first empty name.
    QStringList LoadList();
    // "name = value" pieces joined by " and " or " or "; a name starting with "s" has its
    // value quoted. The first character of each name is a type mark and is dropped.
    QString SQLClause(bool useAnd);

private:
    QString fieldByNumber(int number, int allRight) const;

    QString m_separator = QStringLiteral(";");
    bool m_pairMode = false;
    QString m_fields;
    QString m_cursor;
};
