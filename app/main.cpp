#include "app/Main.h"
#include "app/Settings.h"
#include "util/AppInfo.h"
#include "util/widgets/QtUserInterface.h"

#include <QApplication>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(AppInfo::title());
    QApplication::setApplicationVersion(AppInfo::versionText());
    QtUserInterface qtUi;
    setUserInterface(&qtUi);

    AppGlobals globals;
    MainResult started = Main(globals);
    if (!started.started)
        return 1;
    const int rc = app.exec();
    setUserInterface(nullptr);
    return rc;
}
