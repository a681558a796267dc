#pragma once

#include "util/ZwError.h"

#include <QString>

// Writes a failure of the document layer to the log: the fixed line first, exactly as support
// and tests look for it, then the cause (description and number) on an information line of its
// own, so that the fixed line stays easy to find.
void logDocumentFailure(const QString& text, const ZwError& cause);
