#include "util/widgets/QtTranslations.h"

#include "util/ErrorRoutine.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

bool installGermanQtTranslations(QCoreApplication& app)
{
    const QLocale german(QLocale::German, QLocale::Germany);
    QLocale::setDefault(german);
    auto* translator = new QTranslator(&app);
    const QString folder = QLibraryInfo::path(QLibraryInfo::TranslationsPath);
    if (!translator->load(german, QStringLiteral("qtbase"), QStringLiteral("_"), folder)) {
        VuLog(LogLevel::Warning,
              QStringLiteral("Qt-Übersetzungen (qtbase_de.qm) nicht gefunden in '%1'").arg(folder));
        delete translator;
        return false;
    }
    app.installTranslator(translator);
    return true;
}
