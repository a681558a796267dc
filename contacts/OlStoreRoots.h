#pragma once

#include <QString>

// Where the stores of the Outlook session live on disk. Handed to OlApplication, so that the
// program (from its settings) and tests can point every store anywhere.
struct OlStoreRoots {
    // "Persönliche Ordner": read and write. Created on logon together with its folder
    // "Kontakte".
    QString personal;
    // The folder tree behind "Öffentliche Ordner\Alle Öffentlichen Ordner" (a mounted share
    // until CardDAV arrives). Empty: "Öffentliche Ordner" has no sub-folders.
    QString publicFolders;
    // The read-only sample store shipped beside the program. Listed only when it exists.
    QString samples;

    // personal: the user's data folder + "/Zettelwerk/Persönliche Ordner" (XDG_DATA_HOME
    // moves it); samples: the data folder (AppInfo::dataFolder) + "/Beispielkontakte".
    static OlStoreRoots defaults(const QString& publicFolders = QString());
};

// The names under which the stores appear in the session.
namespace OlStoreNames
{
inline QString personal()
{
    return QStringLiteral("Persönliche Ordner");
}
inline QString publicStore()
{
    return QStringLiteral("Öffentliche Ordner");
}
inline QString allPublicFolders()
{
    return QStringLiteral("Alle Öffentlichen Ordner");
}
inline QString samples()
{
    return QStringLiteral("Beispielkontakte");
}
// The folder created in the personal store on first use.
inline QString contacts()
{
    return QStringLiteral("Kontakte");
}
} // namespace OlStoreNames
