#pragma once

#include "document/EngineDocument.h"

#include <QList>
#include <QString>
#include <functional>
#include <memory>

// A word processor as the program drives it: shaped like the part of Word's Application
// object it uses (start, visible, documents from a template or blank, quit). Failures are
// raised as ZwError with a number from DocumentErrors.h.
class DocumentEngine
{
public:
    using Opener = std::function<void(const QString& path)>;

    virtual ~DocumentEngine() = default;

    // Name shown to the user, e.g. "Zettelwerk DOCX".
    virtual QString productName() const = 0;

    // Starts the application (or proves the running one answers). Idempotent.
    virtual void open() = 0;
    virtual bool isOpen() const = 0;
    // Visible: finished documents are opened for the user (see EngineDocument::present()).
    virtual void setVisible(bool visible) = 0;
    virtual bool isVisible() const = 0;
    // Closes every document (saving changed ones when asked) and stops the application.
    // Documents handed out before raise ObjectDeleted afterwards.
    virtual void quit(bool saveChanges) = 0;

    // Documents.Add: a new document from the template (.dotx, .dotm, .docx), or a blank one
    // for an empty path. The template file is only read. Raises ServerGone when not open,
    // FileNotFound or BadTemplate (German text naming the file) when it cannot be used.
    virtual std::shared_ptr<EngineDocument> addDocument(const QString& templatePath) = 0;
    // Open documents in the order they were added.
    virtual QList<std::shared_ptr<EngineDocument>> documents() const = 0;

    // Folder finished documents are saved into (default: the user's documents folder).
    virtual void setOutputFolder(const QString& folder) = 0;
    virtual QString outputFolder() const = 0;
    // Shows a saved document to the user (e.g. the desktop's word processor). Not called when
    // none is installed or the engine is invisible.
    virtual void setOpener(Opener opener) = 0;
};
