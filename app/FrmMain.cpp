#include "app/FrmMain.h"

#include "app/Settings.h"
#include "app/WizardIcons.h"
#include "app/dialogs/FrmInfo.h"
#include "contacts/ClsOutlookVgContactFolder.h"
#include "document/ClsWord.h"
#include "document/widgets/FrmFieldAssignments.h"
#include "document/widgets/FrmOptions.h"
#include "util/AppInfo.h"
#include "util/ClsRegistry.h"
#include "util/ErrorRoutine.h"
#include "util/UserInterface.h"
#include "util/widgets/ElidedLabel.h"
#include "util/widgets/HelpKey.h"
#include "util/widgets/ShowHelp.h"
#include "util/widgets/SmartComboBox.h"

#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QMimeData>
#include <QPushButton>
#include <QRadioButton>
#include <QScopedValueRollback>
#include <QTabWidget>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace
{

FrmMain* g_mainWindow = nullptr;
// A status text given before the window exists is shown when it appears.
QString g_pendingStatus;

QLabel* detailLabel(const char* name, QWidget* parent)
{
    // A long name or company is cut off with "…" rather than widening the window.
    auto* l = new ElidedLabel(parent);
    l->setObjectName(QLatin1String(name));
    // An empty label keeps its line, so the frame does not jump when a contact is shown.
    l->setMinimumHeight(l->fontMetrics().height());
    l->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return l;
}

QString indexed(const char* base, int i)
{
    return QLatin1String(base) + QString::number(i);
}

} // namespace

FrmMain::FrmMain(AppGlobals& globals, QWidget* parent) : QMainWindow(parent), m_g(globals)
{
    setObjectName(QStringLiteral("FrmMain"));
    setWindowIcon(wizardIcon(QStringLiteral("App")));
    setAcceptDrops(true);
    buildUi();
    // F1 shows the current step's topic here and presses the help button of a dialog.
    auto* helpKey = new HelpKey(this);
    helpKey->setHandler(this, [this] {
        VuShowHelp(HelpCommand::Context, vuHelpFile(),
                   HelpContext::Recipient + tabMain->currentIndex());
    });
    qApp->installEventFilter(helpKey);
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

// ---- Building the window ------------------------------------------------------------------

void FrmMain::buildUi()
{
    auto* fileMenu = menuBar()->addMenu(QStringLiteral("&Datei"));
    fileMenu->setObjectName(QStringLiteral("mnuFile"));
    QAction* exit = fileMenu->addAction(QStringLiteral("&Beenden"));
    exit->setObjectName(QStringLiteral("mnuFileExit"));
    connect(exit, &QAction::triggered, this, &QWidget::close);

    auto* extras = menuBar()->addMenu(QStringLiteral("E&xtras"));
    extras->setObjectName(QStringLiteral("mnuExtra"));
    QAction* options = extras->addAction(QStringLiteral("&Optionen..."));
    options->setObjectName(QStringLiteral("mnuExtraOptions"));
    connect(options, &QAction::triggered, this, &FrmMain::mnuExtraOptions_Click);
    extras->addSeparator();
    QAction* assignments = extras->addAction(QStringLiteral("&Feldzuordnung..."));
    assignments->setObjectName(QStringLiteral("mnuExtraFieldAssignments"));
    connect(assignments, &QAction::triggered, this, &FrmMain::mnuExtraFieldAssignments_Click);

    auto* help = menuBar()->addMenu(QStringLiteral("?"));
    help->setObjectName(QStringLiteral("mnuHelp"));
    mnuHelpContent = help->addAction(QStringLiteral("Inhalt..."));
    mnuHelpContent->setObjectName(QStringLiteral("mnuHelpContent"));
    mnuHelpContent->setVisible(false);
    connect(mnuHelpContent, &QAction::triggered, this, &FrmMain::mnuHelpContent_Click);
    help->addSeparator();
    QAction* info = help->addAction(QStringLiteral("Info..."));
    info->setObjectName(QStringLiteral("mnuHelpInfo"));
    connect(info, &QAction::triggered, this, &FrmMain::mnuHelpInfo_Click);
    QAction* wordInfo = help->addAction(QStringLiteral("Word-Info..."));
    wordInfo->setObjectName(QStringLiteral("mnuHelpInfoWord"));
    connect(wordInfo, &QAction::triggered, this, &FrmMain::mnuHelpInfoWord_Click);

    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(6, 6, 6, 4);
    layout->setSpacing(4);

    tabMain = new QTabWidget(central);
    tabMain->setObjectName(QStringLiteral("tabMain"));
    tabMain->addTab(buildStepRecipient(), QStringLiteral("&Empfänger "));
    tabMain->addTab(buildStepTemplate(), QStringLiteral("&Briefformat"));
    tabMain->addTab(buildStepOptions(), QStringLiteral("Weitere &Optionen "));
    connect(tabMain, &QTabWidget::currentChanged, this, &FrmMain::tabMain_Click);
    layout->addWidget(tabMain, 1);

    picBottomPanel = new QWidget(central);
    picBottomPanel->setObjectName(QStringLiteral("picBottomPanel"));
    auto* bottom = new QVBoxLayout(picBottomPanel);
    bottom->setContentsMargins(0, 0, 0, 0);
    bottom->setSpacing(4);
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
    buttons->addSpacing(8);
    cmdFinish = makeButton(QStringLiteral("&Fertigstellen"), "cmdFinish");
    cmdCancel = makeButton(QStringLiteral("Beenden"), "cmdCancel");
    connect(cmdPrevTab, &QPushButton::clicked, this, &FrmMain::cmdPrevTab_Click);
    connect(cmdNextTab, &QPushButton::clicked, this, &FrmMain::cmdNextTab_Click);
    connect(cmdFinish, &QPushButton::clicked, this, &FrmMain::cmdFinish_Click);
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

    resize(kDesignWidth, kDesignHeight);
}

QWidget* FrmMain::buildStepRecipient()
{
    auto* page = new QWidget;
    auto* v = new QVBoxLayout(page);
    v->setContentsMargins(8, 6, 8, 6);
    v->setSpacing(4);

    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(6);
    grid->setVerticalSpacing(3);
    grid->setColumnMinimumWidth(0, 14);
    grid->setColumnStretch(2, 1);
    auto* sourceGroup = new QButtonGroup(page);
    const char* sourceCaptions[] = {"Aktueller Kontakt", "Kontakt suchen"};
    for (int i = 0; i < 2; ++i) {
        optSource[i] = new QRadioButton(QString::fromUtf8(sourceCaptions[i]), page);
        optSource[i]->setObjectName(indexed("optSource", i));
        sourceGroup->addButton(optSource[i], i);
    }
    optSource[0]->setChecked(true);
    grid->addWidget(optSource[0], 0, 0, 1, 5);
    grid->addWidget(new QLabel(QStringLiteral("Aktuell geöffneter Outlook-Kontakt"), page), 1, 1, 1,
                    2);
    cmdGetCurrentContact = new QPushButton(QStringLiteral("&Übernehmen"), page);
    cmdGetCurrentContact->setObjectName(QStringLiteral("cmdGetCurrentContact"));
    connect(cmdGetCurrentContact, &QPushButton::clicked, this,
            &FrmMain::cmdGetCurrentContact_Click);
    grid->addWidget(cmdGetCurrentContact, 1, 3);

    grid->addWidget(optSource[1], 2, 0, 1, 5);
    auto* folderLabel = new QLabel(QStringLiteral("Outlook-O&rdner:"), page);
    grid->addWidget(folderLabel, 3, 1);
    auto* folderRow = new QHBoxLayout;
    folderRow->setSpacing(2);
    txtOutlookFolder = new QLineEdit(page);
    txtOutlookFolder->setObjectName(QStringLiteral("txtOutlookFolder"));
    folderLabel->setBuddy(txtOutlookFolder);
    cmdSelectOutlookFolder = new QPushButton(QStringLiteral("..."), page);
    cmdSelectOutlookFolder->setObjectName(QStringLiteral("cmdSelectOutlookFolder"));
    cmdSelectOutlookFolder->setToolTip(QStringLiteral("Outlook-Ordner auswählen"));
    cmdSelectOutlookFolder->setFixedWidth(
        cmdSelectOutlookFolder->fontMetrics().horizontalAdvance(QStringLiteral("...")) + 16);
    connect(cmdSelectOutlookFolder, &QPushButton::clicked, this,
            &FrmMain::cmdSelectOutlookFolder_Click);
    folderRow->addWidget(txtOutlookFolder, 1);
    folderRow->addWidget(cmdSelectOutlookFolder);
    grid->addLayout(folderRow, 3, 2, 1, 3);

    auto* nameLabel = new QLabel(QStringLiteral("&Nachname:"), page);
    grid->addWidget(nameLabel, 4, 1);
    cboSearchName = new QComboBox(page);
    cboSearchName->setObjectName(QStringLiteral("cboSearchName"));
    cboSearchName->setEditable(true);
    cboSearchName->setInsertPolicy(QComboBox::NoInsert);
    nameLabel->setBuddy(cboSearchName);
    grid->addWidget(cboSearchName, 4, 2);
    cmdSearch = new QPushButton(QStringLiteral("&Suchen"), page);
    cmdSearch->setObjectName(QStringLiteral("cmdSearch"));
    cmdSearch->setDefault(false);
    connect(cmdSearch, &QPushButton::clicked, this, &FrmMain::cmdSearch_Click);
    grid->addWidget(cmdSearch, 4, 3);
    cmdAbort = new QPushButton(QStringLiteral("Abbrechen"), page);
    cmdAbort->setObjectName(QStringLiteral("cmdAbort"));
    cmdAbort->setEnabled(false);
    connect(cmdAbort, &QPushButton::clicked, this, &FrmMain::cmdAbort_Click);
    grid->addWidget(cmdAbort, 4, 4);
    // Enter in the name box searches.
    connect(cboSearchName->lineEdit(), &QLineEdit::returnPressed, this, [this] {
        if (cmdSearch->isEnabled())
            cmdSearch_Click();
    });
    v->addLayout(grid);

    auto* foundLabel = new QLabel(QStringLiteral("&Trefferliste:"), page);
    v->addWidget(foundLabel);
    lvwFound = new QTreeWidget(page);
    lvwFound->setObjectName(QStringLiteral("lvwFound"));
    lvwFound->setRootIsDecorated(false);
    lvwFound->setUniformRowHeights(true);
    lvwFound->setAllColumnsShowFocus(true);
    lvwFound->setMinimumHeight(40);
    foundLabel->setBuddy(lvwFound);
    connect(lvwFound, &QTreeWidget::currentItemChanged, this,
            [this](QTreeWidgetItem* current) { lvwFound_ItemClick(current); });
    v->addWidget(lvwFound, 1);

    fraAddress = new QGroupBox(QStringLiteral("Anschrift"), page);
    fraAddress->setObjectName(QStringLiteral("fraAddress"));
    auto* frameRow = new QHBoxLayout(fraAddress);
    frameRow->setContentsMargins(8, 4, 8, 6);
    auto* details = new QGridLayout;
    details->setHorizontalSpacing(8);
    details->setVerticalSpacing(1);
    details->setColumnStretch(1, 1);
    details->setColumnStretch(2, 1);
    lblName = detailLabel("lblName", fraAddress);
    QFont bold = lblName->font();
    bold.setBold(true);
    lblName->setFont(bold);
    lblCompany1 = detailLabel("lblCompany1", fraAddress);
    lblCompany2 = detailLabel("lblCompany2", fraAddress);
    lblCompany3 = detailLabel("lblCompany3", fraAddress);
    lblPosition = detailLabel("lblPosition", fraAddress);
    lblDepartment = detailLabel("lblDepartment", fraAddress);
    details->addWidget(lblName, 0, 0, 1, 3);
    details->addWidget(lblCompany1, 1, 0, 1, 2);
    details->addWidget(lblPosition, 1, 2);
    details->addWidget(lblCompany2, 2, 0, 1, 2);
    details->addWidget(lblDepartment, 2, 2);
    details->addWidget(lblCompany3, 3, 0, 1, 3);
    // The three address sets share their places; only the chosen one is visible.
    for (int i = 0; i < 3; ++i) {
        lblStreet[i] = detailLabel("", fraAddress);
        lblStreet[i]->setObjectName(indexed("lblStreet", i));
        lblZIP[i] = detailLabel("", fraAddress);
        lblZIP[i]->setObjectName(indexed("lblZIP", i));
        // The postcode column does not stretch: it keeps room for a whole postcode.
        lblZIP[i]->setMinimumWidth(
            lblZIP[i]->fontMetrics().horizontalAdvance(QStringLiteral("D-000000")));
        lblCity[i] = detailLabel("", fraAddress);
        lblCity[i]->setObjectName(indexed("lblCity", i));
        lblCountry[i] = detailLabel("", fraAddress);
        lblCountry[i]->setObjectName(indexed("lblCountry", i));
        details->addWidget(lblStreet[i], 4, 0, 1, 3);
        details->addWidget(lblZIP[i], 5, 0);
        details->addWidget(lblCity[i], 5, 1);
        details->addWidget(lblCountry[i], 5, 2);
    }
    details->setColumnMinimumWidth(0, lblZIP[0]->minimumWidth());
    frameRow->addLayout(details, 1);
    auto* addressChoice = new QVBoxLayout;
    addressChoice->setSpacing(2);
    auto* addressGroup = new QButtonGroup(fraAddress);
    const char* addressCaptions[] = {"&geschäftlich", "privat", "weitere"};
    for (int i = 0; i < 3; ++i) {
        optAddress[i] = new QRadioButton(QString::fromUtf8(addressCaptions[i]), fraAddress);
        optAddress[i]->setObjectName(indexed("optAddress", i));
        addressGroup->addButton(optAddress[i], i);
        addressChoice->addWidget(optAddress[i]);
    }
    optAddress[0]->setChecked(true);
    addressChoice->addStretch(1);
    connect(addressGroup, &QButtonGroup::idClicked, this, &FrmMain::optAddress_Click);
    frameRow->addLayout(addressChoice);
    v->addWidget(fraAddress);
    return page;
}

QWidget* FrmMain::buildStepTemplate()
{
    auto* page = new QWidget;
    auto* v = new QVBoxLayout(page);
    v->setContentsMargins(8, 6, 8, 6);
    v->setSpacing(4);
    auto* head = new QHBoxLayout;
    auto* filesLabel = new QLabel(QStringLiteral("&Vorlagendateien:"), page);
    head->addWidget(filesLabel);
    head->addStretch(1);
    chkShowDotFilePath = new QCheckBox(QStringLiteral("Pfad anzeigen"), page);
    chkShowDotFilePath->setObjectName(QStringLiteral("chkShowDotFilePath"));
    connect(chkShowDotFilePath, &QCheckBox::clicked, this, &FrmMain::chkShowDotFilePath_Click);
    head->addWidget(chkShowDotFilePath);
    v->addLayout(head);
    lstDotFiles = new QListWidget(page);
    lstDotFiles->setObjectName(QStringLiteral("lstDotFiles"));
    lstDotFiles->setMinimumHeight(60);
    lstDotFiles->setMaximumHeight(110);
    filesLabel->setBuddy(lstDotFiles);
    connect(lstDotFiles, &QListWidget::itemSelectionChanged, this, &FrmMain::lstDotFiles_Click);
    v->addWidget(lstDotFiles);
    auto* bookmarksLabel =
        new QLabel(QStringLiteral("&Textmarken, Outlook-Felder und Feldinhalte:"), page);
    v->addWidget(bookmarksLabel);
    lvwBookmarks = new QTreeWidget(page);
    lvwBookmarks->setObjectName(QStringLiteral("lvwBookmarks"));
    lvwBookmarks->setRootIsDecorated(false);
    lvwBookmarks->setUniformRowHeights(true);
    lvwBookmarks->setAllColumnsShowFocus(true);
    lvwBookmarks->setMinimumHeight(40);
    bookmarksLabel->setBuddy(lvwBookmarks);
    v->addWidget(lvwBookmarks, 1);
    return page;
}

QWidget* FrmMain::buildStepOptions()
{
    auto* page = new QWidget;
    auto* v = new QVBoxLayout(page);
    v->setContentsMargins(8, 6, 8, 6);
    v->setSpacing(6);

    auto previewPanel = [page](QVBoxLayout* into) {
        auto* panel = new QFrame(page);
        panel->setFrameShape(QFrame::StyledPanel);
        panel->setAutoFillBackground(true);
        QPalette pal = panel->palette();
        pal.setColor(QPalette::Window, pal.color(QPalette::Base));
        panel->setPalette(pal);
        auto* lines = new QVBoxLayout(panel);
        lines->setContentsMargins(6, 4, 6, 4);
        lines->setSpacing(0);
        into->addWidget(panel);
        return lines;
    };

    auto* addressFrame = new QGroupBox(QStringLiteral("Anschrift"), page);
    addressFrame->setObjectName(QStringLiteral("fraAddressOrder"));
    auto* addressRow = new QHBoxLayout(addressFrame);
    auto* addressLeft = new QVBoxLayout;
    addressLeft->setSpacing(2);
    auto* orderGroup = new QButtonGroup(addressFrame);
    const char* orderCaptions[] = {"&Geschäftlich (Firma, Name)", "Persönlich (Name, Firma)"};
    for (int i = 0; i < 2; ++i) {
        optAddressOrder[i] = new QRadioButton(QString::fromUtf8(orderCaptions[i]), addressFrame);
        optAddressOrder[i]->setObjectName(indexed("optAddressOrder", i));
        orderGroup->addButton(optAddressOrder[i], i);
        addressLeft->addWidget(optAddressOrder[i]);
    }
    optAddressOrder[0]->setChecked(true);
    connect(orderGroup, &QButtonGroup::idClicked, this, &FrmMain::optAddressOrder_Click);
    addressLeft->addSpacing(8);
    chkAddNToHerr = new QCheckBox(QStringLiteral("Anrede 'Herrn' statt 'Herr'"), addressFrame);
    chkAddNToHerr->setObjectName(QStringLiteral("chkAddNToHerr"));
    connect(chkAddNToHerr, &QCheckBox::clicked, this, &FrmMain::chkAddNToHerr_Click);
    chkAddEmptyLineBeforeCity =
        new QCheckBox(QStringLiteral("Leerzeile vor PLZ / Ort"), addressFrame);
    chkAddEmptyLineBeforeCity->setObjectName(QStringLiteral("chkAddEmptyLineBeforeCity"));
    connect(chkAddEmptyLineBeforeCity, &QCheckBox::clicked, this,
            &FrmMain::chkAddEmptyLineBeforeCity_Click);
    chkTitleAndNameOnSameLine =
        new QCheckBox(QStringLiteral("Anrede und Name auf eine Zeile"), addressFrame);
    chkTitleAndNameOnSameLine->setObjectName(QStringLiteral("chkTitleAndNameOnSameLine"));
    connect(chkTitleAndNameOnSameLine, &QCheckBox::clicked, this,
            &FrmMain::chkTitleAndNameOnSameLine_Click);
    addressLeft->addWidget(chkAddNToHerr);
    addressLeft->addWidget(chkAddEmptyLineBeforeCity);
    addressLeft->addWidget(chkTitleAndNameOnSameLine);
    addressLeft->addStretch(1);
    addressRow->addLayout(addressLeft);
    auto* addressRight = new QVBoxLayout;
    addressRight->setSpacing(2);
    addressRight->addWidget(new QLabel(QStringLiteral("Vorschau:"), addressFrame));
    QVBoxLayout* lines = previewPanel(addressRight);
    for (int i = 0; i < 9; ++i) {
        lblAddressOrder[i] = detailLabel("", addressFrame);
        lblAddressOrder[i]->setObjectName(indexed("lblAddressOrder", i));
        lines->addWidget(lblAddressOrder[i]);
    }
    addressRight->addStretch(1);
    addressRow->addLayout(addressRight, 1);
    v->addWidget(addressFrame);

    auto* styleFrame = new QGroupBox(QStringLiteral("Anrede"), page);
    styleFrame->setObjectName(QStringLiteral("fraAddressStyle"));
    auto* styleRow = new QHBoxLayout(styleFrame);
    auto* styleLeft = new QVBoxLayout;
    styleLeft->setSpacing(2);
    auto* styleGroup = new QButtonGroup(styleFrame);
    const char* styleCaptions[] = {"Geschäftsbrief", "Formlos"};
    for (int i = 0; i < 2; ++i) {
        optAddressStyle[i] = new QRadioButton(QString::fromUtf8(styleCaptions[i]), styleFrame);
        optAddressStyle[i]->setObjectName(indexed("optAddressStyle", i));
        styleGroup->addButton(optAddressStyle[i], i);
        styleLeft->addWidget(optAddressStyle[i]);
    }
    optAddressStyle[0]->setChecked(true);
    connect(styleGroup, &QButtonGroup::idClicked, this, &FrmMain::optAddressStyle_Click);
    styleLeft->addStretch(1);
    styleRow->addLayout(styleLeft);
    auto* styleRight = new QVBoxLayout;
    styleRight->setSpacing(2);
    styleRight->addWidget(new QLabel(QStringLiteral("Vorschau:"), styleFrame));
    lblAddressStyle = detailLabel("lblAddressStyle", styleFrame);
    previewPanel(styleRight)->addWidget(lblAddressStyle);
    styleRight->addStretch(1);
    styleRow->addLayout(styleRight, 1);
    v->addWidget(styleFrame);

    auto* note = new QLabel(QStringLiteral("Diese Optionen werden nur wirksam, wenn die Felder "
                                           "'1.Anschrift-Zeile' etc. verwendet werden!"),
                            page);
    note->setObjectName(QStringLiteral("lblOptionsNote"));
    note->setWordWrap(true);
    v->addWidget(note);
    v->addStretch(1);
    return page;
}

// ---- Start and end ------------------------------------------------------------------------

void FrmMain::Form_Load()
{
    vuTrap(QStringLiteral("Form_Load"), [&] {
        // The help page ships beside the program under the product's name.
        vuSetHelpFile(AppInfo::title() + QStringLiteral(".html"));
        mnuHelpContent->setVisible(true);
        setWindowTitle(AppInfo::title() + QStringLiteral(" - Schritt 1 von 3"));
        InitControls();
        SetStatus(QStringLiteral("Bereit"));
        if (m_g.settings.CheckForCurrentContactAtStartup)
            GetCurrentContactData(false);
    });
}

void FrmMain::InitControls()
{
    vuTrap(QStringLiteral("InitControls"), [&] {
        QString folder = m_g.settings.OutlookFolder;
        // Until the user names a folder, the sample store lets the whole wizard be tried.
        m_sampleFolderShown.clear();
        if (folder.trimmed().isEmpty() && QFileInfo(OlStoreRoots::defaults().samples).isDir()) {
            folder = QStringLiteral("Root\\") + OlStoreNames::samples();
            m_sampleFolderShown = folder;
        }
        txtOutlookFolder->setText(folder);
        LoadComboHistory(cboSearchName, m_g.registry.get(), QString());
        cboSearchName->setEditText(QString());
        lvwFound->setHeaderLabels({QStringLiteral("Speichern unter"), QStringLiteral("Nachname"),
                                   QStringLiteral("Vorname"), QStringLiteral("Firma")});
        lvwFound->header()->resizeSection(0, 150);
        lvwFound->header()->resizeSection(1, 95);
        lvwFound->header()->resizeSection(2, 85);
        ResetControls(true);
        RefreshFinishButton();
        InitDotFileList();
        lvwBookmarks->setHeaderLabels({QStringLiteral("Textmarke"),
                                       QStringLiteral("Outlook-Feldname"),
                                       QStringLiteral("Feldinhalt")});
        lvwBookmarks->header()->resizeSection(0, 150);
        lvwBookmarks->header()->resizeSection(1, 150);
        chkTitleAndNameOnSameLine->setChecked(m_g.settings.TitleAndNameOnSameLine);
        chkAddNToHerr->setChecked(m_g.settings.AddNToHerr);
        chkAddEmptyLineBeforeCity->setChecked(m_g.settings.AddEmptyLineBeforeCity);
        optAddressOrder_Click(optAddressOrder[1]->isChecked() ? 1 : 0);
        optAddressStyle_Click(optAddressStyle[1]->isChecked() ? 1 : 0);
        tabMain->setCurrentIndex(0);
        tabMain_Click();
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
        // The sample store stands in while no folder is set; it is no choice of the user's.
        if (txtOutlookFolder->text() != m_sampleFolderShown)
            m_g.settings.OutlookFolder = txtOutlookFolder->text();
        SaveComboHistory(cboSearchName, m_g.registry.get(), QString(),
                         m_g.settings.MaxSearchHistory);
        SaveSettings(m_g);
        SetStatus(QStringLiteral("Verbindung zu Outlook trennen..."));
    });
    if (!mayClose)
        return false;
    // From here on nothing may keep the program from closing.
    try {
        if (moVgContactFolder)
            moVgContactFolder->OutlookLogoff();
    } catch (...) {
    }
    for (QWidget* w : QApplication::topLevelWidgets())
        if (w->objectName() == QLatin1String("FrmIntro"))
            w->close();
    return true;
}

void FrmMain::tmrUnloadTimer_Timer()
{
    close();
}

// ---- Status line and pointer --------------------------------------------------------------

void FrmMain::SetStatusText(const QString& text)
{
    txtStatus->setText(text);
}

QString FrmMain::statusText() const
{
    return txtStatus->text();
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

// ---- Steps --------------------------------------------------------------------------------

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
        if (tab == 1)
            lstDotFiles_Click();
        if (tab == 2) {
            optAddressOrder_Click(m_addressOrder);
            optAddressStyle_Click(m_addressStyle);
        }
    });
}

void FrmMain::RefreshFinishButton()
{
    cmdFinish->setEnabled(selectedDotFileRow() >= 0);
}

int FrmMain::selectedDotFileRow() const
{
    const QList<QListWidgetItem*> selected = lstDotFiles->selectedItems();
    return selected.isEmpty() ? -1 : lstDotFiles->row(selected.first());
}

// ---- Abort --------------------------------------------------------------------------------

void FrmMain::cmdAbort_Click()
{
    m_abort = true;
}

void FrmMain::moVgContactFolder_CheckForAbort(bool& bMustAbort)
{
    bMustAbort = m_abort;
    SetStatus(QStringLiteral("Warten auf Abbruch..."));
}

// ---- Resizing -----------------------------------------------------------------------------

void FrmMain::resizeEvent(QResizeEvent* event)
{
    QMainWindow::resizeEvent(event);
    Form_Resize();
}

void FrmMain::changeEvent(QEvent* event)
{
    QMainWindow::changeEvent(event);
    // Coming back from maximised, the design sizes apply again.
    if (event->type() == QEvent::WindowStateChange)
        Form_Resize();
}

void FrmMain::Form_Resize()
{
    if (m_resizing)
        return;
    QScopedValueRollback<bool> guard(m_resizing, true);
    vuTrap(QStringLiteral("Form_Resize"), [&] {
        if (isMinimized())
            return;
        // The controls follow the window through their layouts: the tab control takes the
        // height above the bottom panel, the address frame stays at the foot of step 1, and
        // the two lists take what remains.
        if (isMaximized())
            return;
        if (m_g.settings.AllowResize) {
            // Only the height is the user's to change.
            const int h = qMax(height(), kMinHeight);
            if (width() != kDesignWidth || h != height())
                resize(kDesignWidth, h);
        } else if (height() != kDesignHeight) {
            resize(width(), kDesignHeight);
        }
    });
}

// ---- Menus --------------------------------------------------------------------------------

void FrmMain::mnuExtraOptions_Click()
{
    vuTrap(QStringLiteral("mnuExtraOptions_Click"), [&] {
        showOptionsDialog();
        InitDotFileList();
    });
}

void FrmMain::mnuExtraFieldAssignments_Click()
{
    vuTrap(QStringLiteral("mnuExtraFieldAssignments_Click"), [&] {
        showFieldAssignmentsDialog();
        InitDotFileList();
    });
}

namespace
{

FrmMain::DialogHook& dialogHook()
{
    static FrmMain::DialogHook hook;
    return hook;
}

// The dialogs edit the options through their own record (they cannot see the settings).
OptionsValues optionsOf(const Settings& s)
{
    OptionsValues v;
    v.CheckForCurrentContactAtStartup = s.CheckForCurrentContactAtStartup;
    v.ExitAfterFinished = s.ExitAfterFinished;
    v.AllowResize = s.AllowResize;
    v.OutputFolder = s.OutputFolder;
    return v;
}

void applyOptions(const OptionsValues& v, Settings& s)
{
    s.CheckForCurrentContactAtStartup = v.CheckForCurrentContactAtStartup;
    s.ExitAfterFinished = v.ExitAfterFinished;
    s.AllowResize = v.AllowResize;
    s.OutputFolder = v.OutputFolder;
}

} // namespace

void FrmMain::setDialogHook(DialogHook hook)
{
    dialogHook() = std::move(hook);
}

int FrmMain::runDialog(QDialog& dialog)
{
    if (dialogHook()) {
        dialogHook()(dialog);
        return dialog.result();
    }
    return dialog.exec();
}

void FrmMain::showOptionsDialog()
{
    OptionsValues values = optionsOf(m_g.settings);
    FrmOptions dlg(values, m_g.fieldAssignmentList, m_g.specialFieldsString, SharedWord(m_g), this);
    runDialog(dlg);
    // The dialog writes the values only on OK, so taking them back is always right.
    applyOptions(values, m_g.settings);
}

void FrmMain::showFieldAssignmentsDialog()
{
    OptionsValues values = optionsOf(m_g.settings);
    FrmFieldAssignments dlg(m_g.fieldAssignmentList, m_g.specialFieldsString, SharedWord(m_g),
                            values, this);
    // The user-defined fields offered are those of the contact read last.
    if (m_currentContact && moVgContactFolder)
        dlg.setUserDefinedFieldNames(
            moVgContactFolder->GetUserPropertyNames(&*m_currentContact).join(QLatin1Char('|')));
    dlg.setStatusSink([](const QString& text) { SetStatus(text); });
    runDialog(dlg);
    // "Bearbeiten" opens the options from inside this dialog.
    applyOptions(values, m_g.settings);
}

void FrmMain::mnuHelpContent_Click()
{
    vuTrap(QStringLiteral("mnuHelpContent_Click"), [&] { VuShowHelpContents(); });
}

void FrmMain::mnuHelpInfo_Click()
{
    vuTrap(QStringLiteral("mnuHelpInfo_Click"), [&] {
        auto* info = new FrmInfo(this);
        info->setAttribute(Qt::WA_DeleteOnClose);
        info->setRevisionHistory(FrmInfo::releaseHistory());
        info->setUnderConstructionBlinking(true);
        info->setFreeText(QString::number(m_g.settings.StartCount) +
                          QStringLiteral(". Start der Anwendung"));
        info->setUnderConstructionCaption(QString());
        info->setIcon(windowIcon());
        info->open();
    });
}

void FrmMain::mnuHelpInfoWord_Click()
{
    vuTrap(QStringLiteral("mnuHelpInfoWord_Click"), [&] {
        ClsWord& word = SharedWord(m_g);
        const QString version = word.Version();
        if (!version.isEmpty()) {
            msgBox(word.ProductName() + QStringLiteral(" (") + version +
                       QStringLiteral(") ist installiert"),
                   Mb::Information);
        } else {
            ui().beep();
            msgBox(QStringLiteral("Keine Textverarbeitung auf diesem PC gefunden!\r\nDiese "
                                  "Anwendung setzt LibreOffice Writer oder ein Programm für "
                                  "Word-Dokumente (*.docx) voraus!"),
                   Mb::Critical);
        }
    });
}

// ---- Files handed to the window -----------------------------------------------------------

void FrmMain::dragEnterEvent(QDragEnterEvent* event)
{
    const QList<QUrl> urls = event->mimeData()->urls();
    if (!urls.isEmpty() && urls.first().isLocalFile())
        event->acceptProposedAction();
}

void FrmMain::dropEvent(QDropEvent* event)
{
    const QList<QUrl> urls = event->mimeData()->urls();
    if (urls.isEmpty() || !urls.first().isLocalFile())
        return;
    event->acceptProposedAction();
    const QString path = urls.first().toLocalFile();
    // Take the contact after the drop has finished, not inside the drag machinery.
    QTimer::singleShot(0, this, [this, path] { handOverContactFile(path); });
}
