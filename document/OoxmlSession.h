#pragma once

#include "document/DocumentEngine.h"

#include <QString>

// What the Office Open XML engine shares with the documents it handed out; documents keep it
// alive even when they outlive the engine.
struct OoxmlSession {
    bool open = false;
    bool visible = false;
    QString outputFolder;
    bool outputFolderIsDefault = true;
    DocumentEngine::Opener opener;
    int compressionLevel = 6;
    bool syncToDisk = true;
};
