#pragma once

#include <QMainWindow>

struct AppGlobals;
class QComboBox;
class QLineEdit;
class QPushButton;
class QTabWidget;
class QTimer;
class QAction;

// The wizard's main window: three steps on a tab control, the step buttons, the status
// line and the menu.
class FrmMain : public QMainWindow
{
    Q_OBJECT
public:
    explicit FrmMain(AppGlobals& globals, QWidget* parent = nullptr);
    ~FrmMain() override;

    // Runs once before the window is first shown.
    void Form_Load();
    void SetStatusText(const QString& text);
    QString statusText() const;
    bool abortRequested() const { return m_abort; }

    // The window that status texts go to, or nullptr.
    static FrmMain* instance();

protected:
    void closeEvent(QCloseEvent* event) override;

private Q_SLOTS:
    void cmdNextTab_Click();
    void cmdPrevTab_Click();
    void tabMain_Click();
    void cmdAbort_Click();
    void tmrUnloadTimer_Timer();
    void mnuHelpContent_Click();
    void mnuHelpInfo_Click();

private:
    void buildUi();
    void InitControls();
    // Returns true when the window may go; false defers the close (a search runs).
    bool Form_Unload();

    AppGlobals& m_g;
    bool m_abort = false;
    bool m_unloaded = false;

    QTabWidget* tabMain = nullptr;
    QWidget* picBottomPanel = nullptr;
    QPushButton* cmdPrevTab = nullptr;
    QPushButton* cmdNextTab = nullptr;
    QPushButton* cmdFinish = nullptr;
    QPushButton* cmdCancel = nullptr;
    QLineEdit* txtStatus = nullptr;
    QLineEdit* txtOutlookFolder = nullptr;
    QComboBox* cboSearchName = nullptr;
    QPushButton* cmdAbort = nullptr;
    QTimer* tmrUnloadTimer = nullptr;
    QAction* mnuHelpContent = nullptr;
};

// Puts a text into the main window's status line and lets it paint at once.
void SetStatus(const QString& text);
// Switches the busy pointer; switching it on first lets pending paints through.
void SetHourglass(bool on);
