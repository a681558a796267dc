#include "contacts/OlStoreRoots.h"

#include "util/AppInfo.h"

#include <QStandardPaths>

OlStoreRoots OlStoreRoots::defaults(const QString& publicFolders)
{
    OlStoreRoots roots;
    roots.personal = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                     QStringLiteral("/Zettelwerk/") + OlStoreNames::personal();
    roots.publicFolders = publicFolders;
    // The program and zettelwerk-cli share one cache of the server's books.
    roots.cardDav.cacheDir = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
                             QStringLiteral("/Zettelwerk/carddav");
    roots.samples = AppInfo::dataFolder() + QLatin1Char('/') + OlStoreNames::samples();
    return roots;
}
