#pragma once

#include "document/DocumentEngine.h"
#include "document/FieldAssignmentList.h"

#include <QString>
#include <memory>

class ClsRegistry;
class ClsWord;

// The user's settings as they live in memory between start and end of a run. The
// member names are the registry value names.
struct Settings {
    qint32 StartCount = 1;
    QString OutlookFolder;
    bool CheckForCurrentContactAtStartup = false;
    bool ExitAfterFinished = true;
    bool TitleAndNameOnSameLine = false;
    bool AddEmptyLineBeforeCity = true;
    bool AddNToHerr = false;
    bool AllowResize = true;
    QString WordVersion;
    // Folder the finished documents are saved in; empty means the user's documents folder.
    QString OutputFolder;
    // Folder tree that stands for "Öffentliche Ordner\Alle Öffentlichen Ordner" (a shared
    // or mounted folder); empty means the public folders have no sub-folders.
    QString PublicFoldersPath;
    // How many search names the search box remembers across runs (not stored).
    qint16 MaxSearchHistory = 10;
};

// The process-wide values of one run, created by Main and handed to the windows.
struct AppGlobals {
    AppGlobals();
    ~AppGlobals();

    std::unique_ptr<ClsRegistry> registry;
    Settings settings;
    FieldAssignmentList fieldAssignmentList;
    QString specialFieldsString;
    // The one word processor object of the run, made by SharedWord() on first use.
    std::unique_ptr<ClsWord> word;
    // How finished documents are shown: the program opens them with the desktop's word
    // processor; tests record. Handed to the word processor object when it is made.
    DocumentEngine::Opener documentOpener;
};

// The shared word processor object, made on first use with the output folder of the
// settings and the document opener.
ClsWord& SharedWord(AppGlobals& globals);

// Loads every setting and the field assignments (defaults on a first start). Registers
// the program on its first start, which shows the first-start message. False ends the
// program.
bool GetSettings(AppGlobals& globals);
// The key the settings live under: "Software\<company>\<product title>".
QString settingsKey(const ClsRegistry& registry);
// Reads every setting and the field assignments from the registry's current key, as
// GetSettings does after registering, but changes nothing and shows nothing: for tools that
// run beside the program. Missing values take their defaults; a missing "DotCount" gives the
// default assignments and special fields. Throws ZwError 13 or 6 for a stored number that is
// no number or out of range.
void ReadSettings(ClsRegistry& registry, Settings& settings, FieldAssignmentList& list,
                  QString& specialFieldsString);
// Writes every setting back; stale template entries of an earlier, longer list are deleted.
void SaveSettings(AppGlobals& globals);

// The first-start message for the given login name.
QString firstStartMessage(const QString& loginName);
