#include "util/widgets/ShowHelp.h"

#include "util/AppInfo.h"
#include "util/ErrorRoutine.h"
#include "util/TextUtil.h"
#include "util/UserInterface.h"
#include "util/widgets/HelpWindow.h"

#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QUrl>

namespace
{

QString g_helpFile;
HelpOpener g_opener;

bool openWithDesktop(const QString& file)
{
    return QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(file).absoluteFilePath()));
}

// The HTML page that stands in for a compiled Windows help file.
QString htmlTwinOf(const QString& chmFile)
{
    const QString base = chmFile.left(chmFile.size() - VuGetFileExtension(chmFile).size());
    for (const char* ext : {".html", ".htm", ".HTML", ".HTM"})
        if (VuFileExists(base + QLatin1String(ext)))
            return base + QLatin1String(ext);
    return QString();
}

} // namespace

void VuShowHelp(int command, const QString& helpFile, long contextId)
{
    vuTrap(QStringLiteral("VuShowHelp"), [&] {
        if (helpFile.isEmpty()) {
            msgBox(QStringLiteral("Keine Hilfe-Datei definiert!"), Mb::Critical);
            return;
        }
        if (!VuFileExists(helpFile)) {
            msgBox(QStringLiteral("Die Hilfedatei '") + helpFile +
                       QStringLiteral("' ist nicht verfügbar!"),
                   Mb::Critical);
            return;
        }
        const QString extension = VuGetFileExtension(helpFile).toUpper();
        QString page;
        if (extension == QLatin1String(".HTML") || extension == QLatin1String(".HTM"))
            page = helpFile;
        else if (extension == QLatin1String(".CHM"))
            page = htmlTwinOf(helpFile);
        if (!page.isEmpty()) {
            const QString anchor =
                command == HelpCommand::Context ? QString::number(contextId) : QString();
            HelpWindow::instance()->showTopic(QFileInfo(page).absoluteFilePath(), anchor);
            return;
        }
        const bool opened = g_opener ? g_opener(helpFile) : openWithDesktop(helpFile);
        if (!opened)
            throw ZwError(
                75,
                QStringLiteral("Die Hilfedatei '") + helpFile +
                    QStringLiteral("' konnte nicht mit dem zugehörigen Programm geöffnet werden"));
    });
}

void VuShowHelpContents()
{
    vuTrap(QStringLiteral("VuShowHelpContents"),
           [] { VuShowHelp(HelpCommand::Contents, vuHelpFile(), 0); });
}

void vuSetHelpFile(const QString& fileName)
{
    g_helpFile = fileName;
}

QString vuHelpFile()
{
    const QString name =
        g_helpFile.isNull() ? AppInfo::title() + QStringLiteral(".html") : g_helpFile;
    if (name.isEmpty() || !QFileInfo(name).isRelative())
        return name;
    return QDir(AppInfo::dataFolder()).filePath(name);
}

void vuSetHelpOpener(HelpOpener opener)
{
    g_opener = std::move(opener);
}
