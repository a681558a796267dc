#include "document/FailureLog.h"

#include "document/DocumentFailureCollector.h"
#include "util/ErrorRoutine.h"

void logDocumentFailure(const QString& text, const ZwError& cause)
{
    VuLog(LogLevel::Error, text);
    VuLog(LogLevel::Info, QStringLiteral("%1 (%2)").arg(cause.description()).arg(cause.number()));
    if (DocumentFailureCollector* collector = DocumentFailureCollector::current())
        collector->add(text, cause);
}
