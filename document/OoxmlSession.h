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
    // Rewritten parts are small and written often: fast deflate over the last few bytes.
    int compressionLevel = 1;
    bool syncToDisk = true;
};
