#include "contacts/ClsFieldsString.h"

void ClsFieldsString::SetFieldString(const QString& fields)
{
    m_fields = fields;
    if (!m_fields.isEmpty() && !m_fields.endsWith(m_separator))
        m_fields += m_separator;
}

bool ClsFieldsString::IsEmpty() const
{
    return m_fields.isEmpty() || m_fields == m_separator;
}

QString ClsFieldsString::GetNextField(bool getFirst)
{
    if (getFirst)
        m_cursor = m_fields;
    const qsizetype at = m_separator.isEmpty() ? -1 : m_cursor.indexOf(m_separator);
    if (at < 0) {
        m_cursor.clear();
        return QString();
    }
    const QString entry = m_cursor.left(at);
    m_cursor = m_cursor.mid(at + m_separator.size());
    return entry;
}

void ClsFieldsString::GetNext2Field(bool getFirst, QString& field, QString& value)
{
    const QString entry = GetNextField(getFirst);
    const qsizetype eq = entry.indexOf(QLatin1Char('='));
    if (eq >= 1) {
        field = entry.left(eq);
        value = entry.mid(eq + 1);
    } else {
        field = entry;
        value.clear();
    }
}

void ClsFieldsString::Add2Field(const QString& field, const QString& value, const QString& datatype)
{
    if (field.isEmpty() || value.isEmpty())
        return;
    if (!datatype.isEmpty())
        m_fields += datatype;
    m_fields += field + QLatin1Char('=') + value + QLatin1Char(';');
}

QString ClsFieldsString::GetFieldByNumber(int number, bool allRightFields) const
{
    return fieldByNumber(number, allRightFields ? 1 : 0);
}

QString ClsFieldsString::GetFieldByNumber(int number) const
{
    return fieldByNumber(number, -1);
}

// allRight: -1 not given, 0 given as false, 1 given as true.
QString ClsFieldsString::fieldByNumber(int number, int allRight) const
{
    if (number < 1 || m_fields.isEmpty() || m_separator.isEmpty())
        return QString();
    qsizetype start = 0;
    for (int i = 1; i < number; ++i) {
        const qsizetype at = m_fields.indexOf(m_separator, start);
        if (at < 0)
            return QString();
        start = at + m_separator.size();
    }
    const qsizetype end = m_fields.indexOf(m_separator, start);
    if (end < 0)
        return QString();
    if (allRight == 0)
        return QString();
    if (allRight == 1)
        return m_fields.mid(start, m_fields.size() - start - 1);
    return m_fields.mid(start, end - start);
}

QStringList ClsFieldsString::LoadList()
{
    QStringList names;
    QString field, value;
    GetNext2Field(true, field, value);
    while (!field.isEmpty()) {
        names.append(field);
        GetNext2Field(false, field, value);
    }
    return names;
}

QString ClsFieldsString::SQLClause(bool useAnd)
{
    const QString conjunction = useAnd ? QStringLiteral(" and ") : QStringLiteral(" or ");
    QString clause;
    QString field, value;
    GetNext2Field(true, field, value);
    while (!field.isEmpty()) {
        if (field.startsWith(QLatin1Char('s')))
            value = QLatin1Char('\'') + value + QLatin1Char('\'');
        clause += field.mid(1) + QStringLiteral(" = ") + value + conjunction;
        GetNext2Field(false, field, value);
    }
    if (!clause.isEmpty())
        clause.chop(conjunction.size());
    return clause;
}
