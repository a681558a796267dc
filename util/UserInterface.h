#pragma once

#include <QString>

// Message box styles and answers keep the numbers the system composes them with:
// a style is buttons + icon (36 = Yes/No with the question icon, 48 = OK with the
// exclamation icon, 49 = OK/Cancel with the exclamation icon).
namespace Mb
{
// Buttons
inline constexpr int OkOnly = 0, OkCancel = 1, AbortRetryIgnore = 2, YesNoCancel = 3, YesNo = 4,
                     RetryCancel = 5;
// Icons
inline constexpr int NoIcon = 0, Critical = 16, Question = 32, Exclamation = 48, Information = 64;
// Default button
inline constexpr int DefaultButton1 = 0, DefaultButton2 = 256, DefaultButton3 = 512;
// Answers
inline constexpr int Ok = 1, Cancel = 2, Abort = 3, Retry = 4, Ignore = 5, Yes = 6, No = 7;

inline int buttonsOf(int style)
{
    return style & 0x0F;
}
inline int iconOf(int style)
{
    return style & 0xF0;
}
} // namespace Mb

// The seam between the system's logic and the screen. Every message box of the system
// goes through it, so that tests can record boxes and answer them.
class UserInterface
{
public:
    virtual ~UserInterface() = default;

    // Shows a modal box and returns the answer (Mb::Ok ... Mb::No). An empty title means the
    // program's title.
    virtual int msgBox(const QString& text, int style, const QString& title) = 0;
    virtual void beep() = 0;
    // Switches the busy pointer on or off.
    virtual void setHourglass(bool on) = 0;
    // Lets the user interface process what is pending: paint, clicks, close requests.
    virtual void doEvents() = 0;
};

// The process-wide seam. Until one is installed, a console version answers: it prints
// each box to standard error, answers OK, and No or Cancel to every question, so that
// nothing is done without a person's word.
UserInterface& ui();
// Installs another implementation (not owned); nullptr restores the console version.
void setUserInterface(UserInterface* impl);

// Shorthand for the common case.
int msgBox(const QString& text, int style = Mb::OkOnly, const QString& title = QString());
