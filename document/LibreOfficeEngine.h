#pragma once

#include "document/DocumentEngine.h"

#include <memory>
#include <vector>

class LibreOfficeDocument;
struct LibreOfficeSession;

// The document engine "LibreOffice Writer": documents made by a LibreOffice process over UNO
// from .dot, .doc, .rtf, .odt, .ott, .dotx, .dotm and .docx templates. The office is reached
// on a named pipe with a profile of its own (never an office the user started) and is started
// when none listens there. Visible documents stay open, unsaved, in a Writer window when the
// office can show windows (a display and LibreOffice's GUI); otherwise present() saves them
// (.docx for Word templates, .odt for OpenDocument ones, or the format set) and hands the
// file to the opener, as the built-in engine does.
class LibreOfficeEngine : public DocumentEngine
{
public:
    // soffice: the program; empty: `soffice` found on PATH.
    explicit LibreOfficeEngine(const QString& soffice = QString());
    ~LibreOfficeEngine() override;

    QString productName() const override;
    void open() override;
    bool isOpen() const override;
    void setVisible(bool visible) override;
    bool isVisible() const override;
    // Closes the documents not handed to the user; an office started here that holds no
    // window afterwards is closed too.
    void quit(bool saveChanges) override;
    std::shared_ptr<EngineDocument> addDocument(const QString& templatePath) override;
    QList<std::shared_ptr<EngineDocument>> documents() const override;
    void setOutputFolder(const QString& folder) override;
    QString outputFolder() const override;
    void setOpener(Opener opener) override;

    // "docx", "odt", "pdf", or empty for the template's kind (see the class comment).
    void setSaveFormat(const QString& format);
    // Time limits for the office's start and for each call (default 60 s and 30 s).
    void setTimeouts(int startMs, int callMs);
    // Whether documents can be shown in a window: a display is there and the office has a GUI.
    static bool canShowWindows(const QString& soffice);
    // The office's own profile folder (below the user's data folder).
    static QString profileFolder();
    // Reads a document as LibreOffice sees it: its visible bookmarks, sorted, each with the
    // text it encloses (paragraphs joined by "\n"). The file is only read. Needs open().
    QList<std::pair<QString, QString>> readBookmarks(const QString& path);
    // Process id of the office serving the pipe once connected (0 when not known).
    qint64 officeProcessId() const;

private:
    QString m_soffice;
    int m_startTimeoutMs = 60000;
    int m_callTimeoutMs = 30000;
    std::shared_ptr<LibreOfficeSession> m_session;
    std::vector<std::shared_ptr<LibreOfficeDocument>> m_documents;
};
