#pragma once

#include <QString>
#include <memory>

struct AppGlobals;
class FrmMain;
class FrmIntro;

// What one start of the program brings up and keeps until it ends.
struct MainResult {
    bool started = false;
    std::unique_ptr<FrmIntro> splash;
    std::unique_ptr<FrmMain> mainWindow;
    MainResult();
    MainResult(MainResult&&) noexcept;
    ~MainResult();
};

// Start-up: splash with "Laden...", settings (first start registers the program), the
// pause that keeps the splash readable, then the main window. When the settings cannot
// be loaded nothing is shown and `started` stays false. `contactFile` is a vCard handed to
// the program at start: it is the contact "open in Outlook" (see FrmMain).
MainResult Main(AppGlobals& globals, int splashWaitMs = 1000,
                const QString& contactFile = QString());
