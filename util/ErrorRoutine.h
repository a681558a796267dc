#pragma once

#include "util/ZwError.h"

#include <QString>
#include <functional>
#include <optional>

// The one error routine of the system and its optional log file.
//
// Every procedure that traps its errors reports them here with its own name as the
// origin. Without a pending run-time error the box has an OK button only; with one it
// asks "Noch einmal versuchen?" and tells the caller the answer, so that the caller can
// repeat the failed operation (vuTrap does that for a whole body).
//
// The module text is shown as "in Modul <module>" only when the argument was passed: a
// null QString counts as "not passed", an empty but non-null one as passed.

// Reports a failure without a pending run-time error: exclamation box with OK. Always
// returns false, so that a caller can write `return VuShowError(...)`.
bool VuShowError(const QString& origin, const QString& module = QString()) noexcept;

// Reports a pending run-time error: question box with Yes/No. *retry receives whether the
// user answered Yes. An error numbered 0 is no error: the box is the one above. Always
// returns false.
bool VuShowError(const QString& origin, const ZwError& pending, const QString& module = QString(),
                 bool* retry = nullptr) noexcept;

// Turns the exception being handled into a run-time error with a German description.
// Call only inside a catch block. ZwError passes unchanged; standard exceptions map to the
// classic numbers (7 out of memory, 9 index, 6 overflow, 5 invalid argument, 75 path/file
// access, 51 anything else).
ZwError vuErrorFromCurrentException() noexcept;

// Runs body as an error-trapped procedure named origin: a run-time error (or any other
// exception) is reported through VuShowError with the pending error; each Yes runs the
// body once more from its start. Returns true when the body completed. Nothing escapes,
// so it can wrap the body of a Qt slot.
template <class F>
bool vuTrap(const QString& origin, F&& body, const QString& module = QString()) noexcept
{
    for (;;) {
        std::optional<ZwError> pending;
        try {
            std::invoke(body);
            return true;
        } catch (...) {
            pending.emplace(vuErrorFromCurrentException());
        }
        bool retry = false;
        VuShowError(origin, *pending, module, &retry);
        if (!retry)
            return false;
    }
}

// Log levels are the message box icon codes.
namespace LogLevel
{
inline constexpr int Error = 16, Warning = 48, Info = 64;
}

// Process-wide logging settings. Off unless switched on with VuSetLogging.
struct LogSettings {
    bool on = false;
    QString fileName;
    int maxKB = 0;
    // The first-use warning has been shown in this run.
    bool warningShown = false;
    // A cut is running (re-entry guard of VuCutFile).
    bool cutting = false;
};

const LogSettings& vuLogSettings();
// Back to the state at program start (logging off, warning not shown). For tests.
void vuResetLogging();

// Switches logging on or off. An empty file name or a size below 1 KB is refused with a
// box and changes nothing.
void VuSetLogging(bool on, const QString& fileName, int maxKB);

// Writes one line to the log (nothing when logging is off): date and time in the
// system's short form, the level word ("Fehler: ", "Warnung: ", "Info: ", nothing for
// other levels), the text. The log is cut afterwards to its maximum size.
void VuLog(int level, const QString& text);

// Text conversions of VuAppendToFile.
namespace LogConversion
{
inline constexpr int None = 0, AnsiToOem = 1, OemToAnsi = 2;
}

// Appends text as one line (CR LF) to file, creating it when missing.
// Conversion 0 writes UTF-8. 1 writes the text in code page 850, the German OEM code page
// (characters it lacks become "?"). 2 takes each character of the text as a code page 850
// byte (text read from a DOS file as Latin-1) and writes the decoded text as UTF-8.
// Both conversions keep at most 255 characters and drop trailing blanks. Any other
// conversion writes nothing. A failure shows a box with OK/Cancel and returns false.
bool VuAppendToFile(const QString& text, const QString& file, int conversion);

// Keeps a log short: once file is longer than maxKB * 1000 + 50000 bytes it is replaced by
// 80 "=", CR LF, "..." and its last maxKB * 1000 bytes. The new content is written to a
// temporary file first; the log is replaced only when that is complete, so a failure
// leaves the log as it was.
void VuCutFile(const QString& file, int maxKB);
