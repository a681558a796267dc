#pragma once

#include <QString>

// Name and version of the running program.
namespace AppInfo
{
// The product name, shown in captions and message box titles.
QString title();
// major.minor.revision of the running program, e.g. "1.0.0".
QString versionText();
int versionMajor();
int versionMinor();
int versionRevision();
// Folder of the running program.
QString programFolder();
// Folder of the files shipped with the program (help page, sample templates, sample
// contacts): the program's own folder in the build tree, <prefix>/share/zettelwerk once
// installed.
QString dataFolder();
// Absolute path of the running program file.
QString programPath();
} // namespace AppInfo
