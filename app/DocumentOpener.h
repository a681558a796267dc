#pragma once

#include <QString>

// Shows a finished document with the desktop's program for it (xdg-open), and tells the user
// where the document lies when that fails: no program for .docx, no xdg-open at all.
//
// xdg-open reports a missing program only by its exit code, and on some desktops it waits
// until the word processor ends. So it runs detached (the document stays open when this
// program ends) and is given a few seconds: an error exit in that time counts as failure,
// still running counts as shown.
class DocumentOpener
{
public:
    explicit DocumentOpener(QString launcher = QStringLiteral("xdg-open"), int waitMs = 4000);

    // Opens the document; on failure shows where it was saved. Returns true when shown.
    bool operator()(const QString& path) const;
    // Only the launch, without a message.
    bool launch(const QString& path) const;

    // The message of a document that could not be opened.
    static QString notOpenedText(const QString& path);

private:
    QString m_launcher;
    int m_waitMs;
};
