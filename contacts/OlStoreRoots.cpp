#include "contacts/OlStoreRoots.h"

#include "util/AppInfo.h"

#include <QStandardPaths>

OlStoreRoots OlStoreRoots::defaults(const QString& publicFolders)
{
    OlStoreRoots roots;
    roots.personal = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                     QStringLiteral("/Zettelwerk/") + OlStoreNames::personal();
    roots.publicFolders = publicFolders;
    roots.samples = AppInfo::dataFolder() + QLatin1Char('/') + OlStoreNames::samples();
    return roots;
}
