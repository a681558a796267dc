#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

// A list of accepted values; an empty filter accepts everything.
class ClsFilterString
{
public:
    void setSeparator(const QString& separator) { m_separator = separator; }
    // Stores the text and splits it into trimmed elements.
    void SetFilterString(const QString& filter);
    const QString& FilterString() const { return m_filter; }
    // True when the filter is empty or an element equals the value's text exactly.
    bool IsMatching(const QVariant& value) const;

private:
    QString m_separator = QStringLiteral(",");
    QString m_filter;
    QStringList m_elements;
};
