#pragma once

#include "document/DocumentEngine.h"
#include "document/EngineDocument.h"
#include "util/ZwError.h"

#include <QString>
#include <QStringList>
#include <memory>

class ZwError;

// A document as ClsWord hands it out; empty (none) after a failure.
using WordDocument = std::shared_ptr<EngineDocument>;

// The program's one gateway to the word processor: which versions are installed, starting it,
// new documents from a template (or blank), text at bookmarks, bookmark names, quitting.
//
// Versions, newest first (Version() picks the first installed one unless the user chose):
//   "LO"     "LibreOffice Writer"  installed when `soffice` is found on PATH
//   "OOXML"  "Zettelwerk DOCX"     always installed (the built-in Office Open XML engine)
// The two take the places of Word 2000/97 and Word 95 in the logic that chooses a version.
//
// Which engine makes a document: under "LO" every template goes to LibreOffice over UNO;
// under "OOXML" the built-in engine serves .dotx/.dotm/.docx, and the older formats (.dot,
// .doc, .rtf, .odt, .ott) still go to LibreOffice when it is installed (refused with a German
// reason naming LibreOffice Writer when it is not).
//
// No member shows a message box or raises: failures go to the log (VuLog) and the results.
class ClsWord
{
public:
    static const QString kVersionLibreOffice; // "LO"
    static const QString kVersionOoxml;       // "OOXML"

    ClsWord();
    ~ClsWord();
    ClsWord(const ClsWord&) = delete;
    ClsWord& operator=(const ClsWord&) = delete;

    // The known versions in the order Version() tries them (newest first).
    static QStringList knownVersions();
    // Product name of a known version; empty for any other string.
    static QString productNameOf(const QString& version);
    // Texts of the version choice: "<product> verwenden" for the choice button and
    // "<product> ist nicht installiert" when a chosen version is not there.
    static QString useVersionCaption(const QString& version);
    static QString notInstalledText(const QString& version);

    // True when the version is installed. Changes nothing.
    bool IsVersionInstalled(const QString& sRequiredVersion) const;
    // The same test; also stores the version in use (empty when not installed) and its
    // program directory. An unknown version string returns false and stores nothing.
    bool SetUsedVersion(const QString& sVersion);
    // The version in use; when none is chosen, the newest installed one is chosen first.
    QString Version();
    // Product name of Version(); empty for none.
    QString ProductName();

    // Starts the word processor (or proves the running one still answers) and checks that the
    // output folder can take new files. Failure: log "Fehler beim Öffnen von Word", false.
    bool OpenWord(bool bVisible);
    // Quits, closing every document (saving changed ones when asked). Errors are ignored.
    void CloseWord(bool bSaveChanges);
    // A new document from the template, or a blank one for "(leeres Dokument)". The previous
    // document is closed first when asked. Failure: log "Fehler beim Erzeugen eines
    // Word-Dokuments", none.
    WordDocument CreateDocument(const QString& sDotFile, bool bWordVisible, bool bCloseOldDocument);
    // Types the text at the bookmark, or, for an empty bookmark or a "(" line placeholder,
    // followed by "\r\n" at the insertion point. Text that is empty after trimming blanks is
    // not written (true). A protected document is unprotected and the write repeated once.
    // Failure: log "Fehler beim Schreiben von '<text>'[ an Textmarke '<bookmark>']", false.
    bool SetText(const WordDocument& oDoc, const QString& sText, const QString& sBookmark);
    // Visible bookmarks sorted by name. Failure: log "GetBookmarkCount", 0.
    qint16 GetBookmarkCount(const WordDocument& oDoc);
    // Name of bookmark nIndex (1-based) in that order. Failure: log "GetBookmarkName", empty.
    QString GetBookmarkName(const WordDocument& oDoc, qint16 nIndex);

    // Hands a finished document to the user. A visible LibreOffice that can show windows keeps
    // it open, filled and unsaved, in its Writer window (empty result, isOpenForUser()).
    // Otherwise it is saved as a new file in the output folder (never over an existing file;
    // .docx, or .odt/PDF from LibreOffice, see setSaveFormat) and, when the word processor is
    // visible, passed to the opener. Returns the saved path; failure: log "Fehler beim
    // Speichern des Word-Dokuments", empty.
    QString presentDocument(const WordDocument& oDoc);

    // Folder the finished documents are saved into; empty means the user's documents folder
    // (created when missing). Another folder that is missing or not writable makes OpenWord
    // fail. Takes effect at the next OpenWord.
    void setOutputFolder(const QString& folder);
    QString outputFolder() const { return m_outputFolder; }
    // The folder actually used: the one set, or the user's documents folder.
    QString effectiveOutputFolder() const;
    // How a saved document is shown to the user (the program opens it with the desktop's
    // word processor; tests record). Without one, documents are saved but not opened.
    void setOpener(DocumentEngine::Opener opener);

    // Format of documents saved by LibreOffice: "docx", "odt", "pdf"; empty: .docx for Word
    // templates, .odt for OpenDocument ones. The built-in engine always writes .docx.
    void setSaveFormat(const QString& format);
    // Time limits for LibreOffice's start and for each call to it (a hung office is stopped).
    void setOfficeTimeouts(int startMs, int callMs);
    // Number and German reason of the last failure a member logged (DocumentErrors.h); 0 and
    // empty after a success of OpenWord, CreateDocument, GetBookmarkCount or presentDocument.
    // The caller tells a damaged template from an output folder that takes no files.
    long lastErrorNumber() const { return m_lastErrorNumber; }
    QString lastErrorDescription() const { return m_lastErrorDescription; }
    // True for the template formats only LibreOffice reads (.dot, .doc, .rtf, .odt, .ott).
    static bool needsLibreOffice(const QString& templatePath);

    // Program directory of the version in use (ends in a separator); empty for none.
    QString programDirectory() const { return m_programDirectory; }
    // The engine of the version in use while connected (after OpenWord, before CloseWord);
    // else the other engine while it serves a document; nullptr otherwise.
    DocumentEngine* engine() const;
    // The document last made by CreateDocument; none before or after CloseWord.
    WordDocument currentDocument() const { return m_currentDocument; }

private:
    static QString programDirectoryOf(const QString& version);
    std::unique_ptr<DocumentEngine>& slotFor(bool office) { return office ? m_office : m_engine; }
    bool openEngine(bool office, bool bVisible);
    void ensureOutputFolder() const;
    void dropEngine(bool office);
    void logFailure(const QString& line, const ZwError& cause);

    QString m_usedVersion;
    QString m_programDirectory;
    QString m_outputFolder;
    DocumentEngine::Opener m_opener;
    QString m_saveFormat;
    int m_officeStartMs = 60000;
    int m_officeCallMs = 30000;
    std::unique_ptr<DocumentEngine> m_engine; // the built-in engine
    std::unique_ptr<DocumentEngine> m_office; // LibreOffice over UNO
    WordDocument m_currentDocument;
    long m_lastErrorNumber = 0;
    QString m_lastErrorDescription;
    void keepFailure(const ZwError& failure);
};
