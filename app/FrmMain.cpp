#include "app/FrmMain.h"

#include "app/Settings.h"
#include "util/AppInfo.h"
#include "util/ClsRegistry.h"
#include "util/ErrorRoutine.h"
#include "util/UserInterface.h"
#include "util/widgets/ShowHelp.h"
#include "util/widgets/SmartComboBox.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QTabWidget>
#include <QTimer>
#include <QVBoxLayout>

namespace
{

FrmMain* g_mainWindow = nullptr;
// A status text given before the window exists is shown when it appears.
QString g_pendingStatus;

constexpr int kTwipsPerPixel = 15;

} // namespace

FrmMain::FrmMain(AppGlobals& globals, QWidget* parent) : QMainWindow(parent), m_g(globals)
{
    setObjectName(QStringLiteral("FrmMain"));
    buildUi();
    g_mainWindow = this;
    if (!g_pendingStatus.isNull())
        txtStatus->setText(g_pendingStatus);
}

FrmMain::~FrmMain()
{
    if (g_mainWindow == this)
        g_mainWindow = nullptr;
}

FrmMain* FrmMain::instance()
{
    return g_mainWindow;
}

void FrmMain::buildUi()
{
    auto* fileMenu = menuBar()->addMenu(QStringLiteral("&Datei"));
    fileMenu->setObjectName(QStringLiteral("mnuFile"));
    QAction* exit = fileMenu->addAction(QStringLiteral("&Beenden"));
    exit->setObjectName(QStringLiteral("mnuFileExit"));
    connect(exit, &QAction::triggered, this, &QWidget::close);

    auto* extras = menuBar()->addMenu(QStringLiteral("E&xtras"));
    extras->setObjectName(QStringLiteral("mnuExtra"));
    extras->addAction(QStringLiteral("&Optionen..."))
        ->setObjectName(QStringLiteral("mnuExtraOptions"));
    extras->addAction(QStringLiteral("&Feldzuordnung..."))
        ->setObjectName(QStringLiteral("mnuExtraFieldAssignments"));

    auto* help = menuBar()->addMenu(QStringLiteral("?"));
    help->setObjectName(QStringLiteral("mnuHelp"));
    mnuHelpContent = help->addAction(QStringLiteral("Inhalt..."));
    mnuHelpContent->setObjectName(QStringLiteral("mnuHelpContent"));
    mnuHelpContent->setVisible(false);
    connect(mnuHelpContent, &QAction::triggered, this, &FrmMain::mnuHelpContent_Click);
    QAction* info = help->addAction(QStringLiteral("Info..."));
    info->setObjectName(QStringLiteral("mnuHelpInfo"));
    connect(info, &QAction::triggered, this, &FrmMain::mnuHelpInfo_Click);
    help->addAction(QStringLiteral("Word-Info..."))
        ->setObjectName(QStringLiteral("mnuHelpInfoWord"));

    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);

    tabMain = new QTabWidget(central);
    tabMain->setObjectName(QStringLiteral("tabMain"));

    auto* step1 = new QWidget;
    auto* step1Layout = new QFormLayout(step1);
    txtOutlookFolder = new QLineEdit(step1);
    txtOutlookFolder->setObjectName(QStringLiteral("txtOutlookFolder"));
    step1Layout->addRow(QStringLiteral("Outlook-&Ordner:"), txtOutlookFolder);
    cboSearchName = new QComboBox(step1);
    cboSearchName->setObjectName(QStringLiteral("cboSearchName"));
    cboSearchName->setEditable(true);
    cboSearchName->setInsertPolicy(QComboBox::NoInsert);
    step1Layout->addRow(QStringLiteral("&Nachname:"), cboSearchName);
    cmdAbort = new QPushButton(QStringLiteral("Abbrechen"), step1);
    cmdAbort->setObjectName(QStringLiteral("cmdAbort"));
    cmdAbort->setEnabled(false);
    connect(cmdAbort, &QPushButton::clicked, this, &FrmMain::cmdAbort_Click);
    step1Layout->addRow(QString(), cmdAbort);
    tabMain->addTab(step1, QStringLiteral("&Empfänger "));
    tabMain->addTab(new QWidget, QStringLiteral("&Briefformat"));
    tabMain->addTab(new QWidget, QStringLiteral("Weitere &Optionen "));
    connect(tabMain, &QTabWidget::currentChanged, this, &FrmMain::tabMain_Click);
    layout->addWidget(tabMain, 1);

    picBottomPanel = new QWidget(central);
    picBottomPanel->setObjectName(QStringLiteral("picBottomPanel"));
    auto* bottom = new QVBoxLayout(picBottomPanel);
    bottom->setContentsMargins(0, 0, 0, 0);
    auto* buttons = new QHBoxLayout;
    auto makeButton = [&](const QString& caption, const char* name) {
        auto* b = new QPushButton(caption, picBottomPanel);
        b->setObjectName(QLatin1String(name));
        buttons->addWidget(b);
        return b;
    };
    buttons->addStretch(1);
    cmdPrevTab = makeButton(QStringLiteral("< &Zurück"), "cmdPrevTab");
    cmdNextTab = makeButton(QStringLiteral("&Weiter >"), "cmdNextTab");
    cmdFinish = makeButton(QStringLiteral("&Fertigstellen"), "cmdFinish");
    cmdCancel = makeButton(QStringLiteral("Beenden"), "cmdCancel");
    connect(cmdPrevTab, &QPushButton::clicked, this, &FrmMain::cmdPrevTab_Click);
    connect(cmdNextTab, &QPushButton::clicked, this, &FrmMain::cmdNextTab_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &QWidget::close);
    bottom->addLayout(buttons);
    txtStatus = new QLineEdit(picBottomPanel);
    txtStatus->setObjectName(QStringLiteral("txtStatus"));
    txtStatus->setReadOnly(true);
    txtStatus->setFocusPolicy(Qt::NoFocus);
    bottom->addWidget(txtStatus);
    layout->addWidget(picBottomPanel);
    setCentralWidget(central);

    tmrUnloadTimer = new QTimer(this);
    tmrUnloadTimer->setObjectName(QStringLiteral("tmrUnloadTimer"));
    tmrUnloadTimer->setInterval(1000);
    connect(tmrUnloadTimer, &QTimer::timeout, this, &FrmMain::tmrUnloadTimer_Timer);

    resize(7785 / kTwipsPerPixel, 8430 / kTwipsPerPixel);
}

void FrmMain::Form_Load()
{
    vuTrap(QStringLiteral("Form_Load"), [&] {
        // The help page ships beside the program under the product's name.
        vuSetHelpFile(AppInfo::title() + QStringLiteral(".html"));
        mnuHelpContent->setVisible(true);
        setWindowTitle(AppInfo::title() + QStringLiteral(" - Schritt 1 von 3"));
        InitControls();
        SetStatus(QStringLiteral("Bereit"));
    });
}

void FrmMain::InitControls()
{
    vuTrap(QStringLiteral("InitControls"), [&] {
        txtOutlookFolder->setText(m_g.settings.OutlookFolder);
        LoadComboHistory(cboSearchName, m_g.registry.get(), QString());
        cboSearchName->setEditText(QString());
        tabMain->setCurrentIndex(0);
        tabMain_Click();
    });
}

void FrmMain::SetStatusText(const QString& text)
{
    txtStatus->setText(text);
}

QString FrmMain::statusText() const
{
    return txtStatus->text();
}

void FrmMain::cmdNextTab_Click()
{
    if (tabMain->currentIndex() < tabMain->count() - 1)
        tabMain->setCurrentIndex(tabMain->currentIndex() + 1);
}

void FrmMain::cmdPrevTab_Click()
{
    if (tabMain->currentIndex() > 0)
        tabMain->setCurrentIndex(tabMain->currentIndex() - 1);
}

void FrmMain::tabMain_Click()
{
    vuTrap(QStringLiteral("tabMain_Click"), [&] {
        const int tab = tabMain->currentIndex();
        const int tabs = tabMain->count();
        cmdPrevTab->setEnabled(tab >= 1);
        cmdNextTab->setEnabled(tab < tabs - 1);
        setWindowTitle(AppInfo::title() +
                       QStringLiteral(" - Schritt %1 von %2").arg(tab + 1).arg(tabs));
    });
}

void FrmMain::cmdAbort_Click()
{
    m_abort = true;
}

void FrmMain::tmrUnloadTimer_Timer()
{
    close();
}

void FrmMain::mnuHelpContent_Click()
{
    vuTrap(QStringLiteral("mnuHelpContent_Click"), [&] { VuShowHelpContents(); });
}

void FrmMain::mnuHelpInfo_Click()
{
    vuTrap(QStringLiteral("mnuHelpInfo_Click"), [&] {
        msgBox(AppInfo::title() + QStringLiteral(" ") + AppInfo::versionText() +
                   QStringLiteral("\r\n\r\n") + QString::number(m_g.settings.StartCount) +
                   QStringLiteral(". Start der Anwendung"),
               Mb::Information);
    });
}

void FrmMain::closeEvent(QCloseEvent* event)
{
    if (m_unloaded || Form_Unload()) {
        m_unloaded = true;
        event->accept();
    } else {
        event->ignore();
    }
}

bool FrmMain::Form_Unload()
{
    bool mayClose = true;
    vuTrap(QStringLiteral("Form_Unload"), [&] {
        if (cmdAbort->isEnabled()) {
            // A search is running: ask it to stop and come back when it has.
            m_abort = true;
            tmrUnloadTimer->start();
            SetStatus(QStringLiteral("Abbrechen..."));
            ui().doEvents();
            mayClose = false;
            return;
        }
        tmrUnloadTimer->stop();
        m_g.settings.OutlookFolder = txtOutlookFolder->text();
        SaveComboHistory(cboSearchName, m_g.registry.get(), QString(),
                         m_g.settings.MaxSearchHistory);
        SaveSettings(m_g);
        SetStatus(QStringLiteral("Verbindung zu Outlook trennen..."));
    });
    return mayClose;
}

void SetStatus(const QString& text)
{
    if (FrmMain* w = FrmMain::instance())
        w->SetStatusText(text);
    else
        g_pendingStatus = text;
    ui().doEvents();
}

void SetHourglass(bool on)
{
    if (on)
        ui().doEvents();
    ui().setHourglass(on);
}
