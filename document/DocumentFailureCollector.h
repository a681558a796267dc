#pragma once

#include "util/ZwError.h"

#include <QList>
#include <QString>

// Collects the document failures logged (logDocumentFailure) on this thread while it lives,
// so that a caller that must report them itself, such as the command line, learns of them
// although the log is off. Collectors nest; the innermost one collects.
class DocumentFailureCollector
{
public:
    struct Failure {
        QString text;
        ZwError cause;
    };

    DocumentFailureCollector();
    ~DocumentFailureCollector();
    DocumentFailureCollector(const DocumentFailureCollector&) = delete;
    DocumentFailureCollector& operator=(const DocumentFailureCollector&) = delete;

    const QList<Failure>& failures() const { return m_failures; }

    // The innermost collector of this thread; nullptr when none lives.
    static DocumentFailureCollector* current();
    void add(const QString& text, const ZwError& cause) { m_failures.append({text, cause}); }

private:
    QList<Failure> m_failures;
    DocumentFailureCollector* m_outer = nullptr;
};
