#pragma once

#include <QString>

// The general options the options dialog edits. The program copies them from its settings
// before the dialog opens and back after it closed with OK.
struct OptionsValues {
    bool CheckForCurrentContactAtStartup = false;
    bool ExitAfterFinished = true;
    bool AllowResize = true;
    // Folder finished documents are saved in; empty means the user's documents folder.
    QString OutputFolder;
};
