#pragma once

#include <QString>

class QFileDevice;

// German descriptions of the operating system's error codes, for messages that are German
// throughout: the C library's own texts follow the system language, which is often English.

// The description of an errno value ("Zugriff verweigert"); a code without a German text
// reads "Systemfehler <n>".
QString VuSystemErrorText(int error);
// Why an operation on the file failed. Call at once after the failing call: the errno that
// call left is read first, the file's error kind is the fallback.
QString VuFileErrorText(const QFileDevice& file);
