#include "app/Main.h"

#include "app/FrmMain.h"
#include "app/Settings.h"
#include "app/dialogs/FrmIntro.h"
#include "util/UserInterface.h"
#include "util/ZwError.h"

#include <QThread>

MainResult::MainResult() = default;
MainResult::MainResult(MainResult&&) noexcept = default;
MainResult::~MainResult() = default;

MainResult Main(AppGlobals& globals, int splashWaitMs, const QString& contactFile)
{
    MainResult r;
    try {
        SetHourglass(true);
        r.splash = std::make_unique<FrmIntro>();
        r.splash->show();
        r.splash->setMessage(QStringLiteral("Laden..."));
        ui().doEvents();

        const bool loaded = GetSettings(globals);
        if (loaded && globals.settings.CheckForCurrentContactAtStartup) {
            r.splash->setMessage(QStringLiteral("Verbindung zu Outlook herstellen..."));
            ui().doEvents();
        }
        if (!loaded) {
            r.splash.reset();
            SetHourglass(false);
            return r;
        }
        if (splashWaitMs > 0)
            QThread::msleep(splashWaitMs);

        r.mainWindow = std::make_unique<FrmMain>(globals);
        if (!contactFile.isEmpty())
            r.mainWindow->setActiveInspectorFile(contactFile);
        r.mainWindow->Form_Load();
        r.mainWindow->show();
        // The splash has done its work once the main window is up.
        r.splash->close();
        SetHourglass(false);
        r.started = true;
    } catch (const ZwError& e) {
        msgBox(e.description());
    } catch (const std::exception& e) {
        msgBox(QString::fromLocal8Bit(e.what()));
    }
    return r;
}
