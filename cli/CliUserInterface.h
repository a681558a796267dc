#pragma once

#include "util/UserInterface.h"

#include <QStringList>

// The user-interface seam of zettelwerk-cli: no window, no waiting. A box's text goes to
// standard error at once, or, while a capture is running, into a list that the caller turns
// into its own message. Every question is answered No or Cancel, so nothing is done without
// the user's word; plain boxes are answered OK.
class CliUserInterface final : public UserInterface
{
public:
    int msgBox(const QString& text, int style, const QString& title) override;
    void beep() override {}
    void setHourglass(bool) override {}
    void doEvents() override {}

    void beginCapture();
    // The texts of the boxes since beginCapture(), oldest first; printing resumes.
    QStringList endCapture();

    // Writes one line to standard error (UTF-8, CR LF shown as line breaks).
    static void printError(const QString& text);
    // Writes one line to standard output (UTF-8).
    static void printOut(const QString& text);

private:
    bool m_capturing = false;
    QStringList m_captured;
};
