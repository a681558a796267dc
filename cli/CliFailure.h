#pragma once

#include <QString>

// Ends a zettelwerk-cli run: a German message for standard error and the exit code
// (CliExitCode).
class CliFailure
{
public:
    CliFailure(int exitCode, QString message) : m_exitCode(exitCode), m_message(std::move(message))
    {
    }

    int exitCode() const { return m_exitCode; }
    const QString& message() const { return m_message; }

private:
    int m_exitCode;
    QString m_message;
};
