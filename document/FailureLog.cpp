#include "document/FailureLog.h"

#include "util/ErrorRoutine.h"

void logDocumentFailure(const QString& text, const ZwError& cause)
{
    VuLog(LogLevel::Error, text);
    VuLog(LogLevel::Info, QStringLiteral("%1 (%2)").arg(cause.description()).arg(cause.number()));
}
