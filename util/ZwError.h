#pragma once

#include <QString>
#include <exception>

// The one run-time error type of the system. It carries the number the logic tests for
// (91, 462, 4605, ...), a German description and the source that raised it.
class ZwError : public std::exception
{
public:
    ZwError(long number, QString description, QString source = QString());

    long number() const { return m_number; }
    const QString& description() const { return m_description; }
    const QString& source() const { return m_source; }
    const char* what() const noexcept override { return m_what.constData(); }

private:
    long m_number;
    QString m_description;
    QString m_source;
    QByteArray m_what;
};
