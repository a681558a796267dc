#pragma once

#include "document/DocumentEngine.h"

#include <QString>
#include <memory>

class LibreOfficeConnection;

// What the LibreOffice engine shares with the documents it handed out.
struct LibreOfficeSession {
    std::shared_ptr<LibreOfficeConnection> connection;
    bool open = false;
    bool visible = false;
    QString outputFolder;
    bool outputFolderIsDefault = true;
    DocumentEngine::Opener opener;
    // "docx", "odt" or "pdf"; empty: .docx for Word templates, .odt for OpenDocument ones.
    QString saveFormat;
};
