#include "app/Main.h"
#include "app/DocumentOpener.h"
#include "app/FrmMain.h"
#include "app/Settings.h"
#include "app/SingleInstance.h"
#include "util/AppInfo.h"
#include "util/UserInterface.h"
#include "util/widgets/QtTranslations.h"
#include "util/widgets/QtUserInterface.h"

#include <QApplication>
#include <QFileInfo>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(AppInfo::title());
    QApplication::setApplicationVersion(AppInfo::versionText());

    // A vCard named on the command line is the contact "open in Outlook".
    const QStringList args = QApplication::arguments().mid(1);
    const QString contactFile =
        args.isEmpty() ? QString() : QFileInfo(args.first()).absoluteFilePath();

    // A second start hands its file to the running program and ends.
    SingleInstance instance;
    if (instance.handOverToRunning(contactFile))
        return 0;
    instance.listen();

    installGermanQtTranslations(app);
    QtUserInterface qtUi;
    setUserInterface(&qtUi);

    AppGlobals globals;
    globals.documentOpener = [](const QString& path) { DocumentOpener()(path); };
    MainResult started = Main(globals, 1000, contactFile);
    if (!started.started)
        return 1;
    FrmMain* window = started.mainWindow.get();
    QObject::connect(&instance, &SingleInstance::fileHandedOver, window,
                     [window](const QString& path) {
                         window->showNormal();
                         window->raise();
                         window->activateWindow();
                         if (!path.isEmpty())
                             window->handOverContactFile(path);
                     });
    const int rc = app.exec();
    setUserInterface(nullptr);
    return rc;
}
