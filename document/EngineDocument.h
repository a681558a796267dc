#pragma once

#include <QString>

// One open document of a DocumentEngine, shaped like the part of Word's Document and Selection
// objects the program uses. Every failure is raised as ZwError with a number from
// DocumentErrors.h and a German description naming the file or bookmark.
//
// Selection model (as in Word): a new document has its insertion point at the start of the
// main text. goToBookmark() selects the bookmark's content; typeText() replaces the selection
// (or inserts at the insertion point) and leaves the insertion point after the new text.
class EngineDocument
{
public:
    virtual ~EngineDocument() = default;

    // The template the document was created from; empty for a blank document.
    virtual QString templatePath() const = 0;

    // Bookmarks sorted by name (case-insensitive), hidden ones (beginning with "_") left out.
    // Bookmarks in the body, tables, text boxes, headers, footers and notes all count.
    virtual int bookmarkCount() const = 0;
    // 1-based; an index outside 1..bookmarkCount() raises NoSuchItem.
    virtual QString bookmarkName(int index) const = 0;
    // Names compare case-insensitively, as in Word; hidden bookmarks exist too.
    virtual bool bookmarkExists(const QString& name) const = 0;

    // Selects the bookmark's content; raises BookmarkMissing for an unknown name.
    virtual void goToBookmark(const QString& name) = 0;
    // Types text over the selection. "\r\n", "\r" and "\n" each start a new paragraph that
    // copies the paragraph properties of the one it splits; "\t" is a tab, "\v" a line break.
    // The run formatting found at the selection is kept; a bookmark keeps enclosing the text.
    // Raises Protected (4605) when the selection lies in a protected part of the document;
    // nothing has been changed then, so unprotect() and a second call succeed.
    virtual void typeText(const QString& text) = 0;

    virtual bool isProtected() const = 0;
    // Removes the document protection (no password is needed, nor checked).
    virtual void unprotect() = 0;

    // Writes the document as a .docx into the folder (empty: the engine's output folder),
    // named after the template (or "Dokument"), never over an existing file: a taken name
    // gets " (2)", " (3)", ... before the extension. Returns the full path written.
    virtual QString save(const QString& folder = QString()) = 0;
    // The recipient's "Speichern unter": a saved document is then named "<template> - <name>"
    // (characters a file name cannot hold replaced); without one, after the template alone.
    void setRecipientName(const QString& name) { m_recipientName = name; }
    // The name a save gives the document, before the extension and any " (2)".
    QString documentBaseName() const
    {
        const QString base = templatePath().isEmpty() ? QStringLiteral("Dokument")
                                                      : templateBaseName(templatePath());
        const QString recipient = m_recipientName.trimmed();
        return recipient.isEmpty() ? base : base + QStringLiteral(" - ") + recipient;
    }
    // Path of the last save; empty before the first.
    virtual QString savedPath() const = 0;
    // True when the document changed since it was created or last saved.
    virtual bool isDirty() const = 0;
    // Hands the finished document to the user: saves it when it is new or changed, then, when
    // the engine is visible, passes the file to the engine's opener. Returns the saved path.
    virtual QString present() = 0;
    // True when present() left the document open, unsaved, in the word processor's window for
    // the user to finish (as Word does); savedPath() stays empty then.
    virtual bool isOpenForUser() const { return false; }

    // Closes the document, saving it first when asked and changed. Afterwards every member
    // except isClosed() raises ObjectDeleted.
    virtual void close(bool saveChanges) = 0;
    virtual bool isClosed() const = 0;

private:
    // The file name without folder and last extension; both "/" and "\\" separate folders.
    static QString templateBaseName(const QString& path)
    {
        QString name = path.mid(
            qMax(path.lastIndexOf(QLatin1Char('/')), path.lastIndexOf(QLatin1Char('\\'))) + 1);
        const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
        return dot > 0 ? name.left(dot) : name;
    }

    QString m_recipientName;
};
