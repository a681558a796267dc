#include "document/widgets/FrmOptions.h"

#include "document/ClsWord.h"
#include "document/FieldAssignmentDefaults.h"
#include "document/FieldAssignmentList.h"
#include "document/widgets/EntryTextCheck.h"
#include "document/widgets/ListIcons.h"
#include "document/widgets/NameValueText.h"
#include "util/ErrorRoutine.h"
#include "util/SystemErrorText.h"
#include "util/UserInterface.h"
#include "util/widgets/ShowHelp.h"
#include "util/widgets/TextBoxValidation.h"

#include <QCheckBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QStandardPaths>
#include <QTabWidget>
#include <QTemporaryFile>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace
{

const QString kCrLf = QStringLiteral("\r\n");

QString defaultFolderChooser(QWidget* parent, const QString& current)
{
    return QFileDialog::getExistingDirectory(parent, QStringLiteral("Ausgabeordner auswählen"),
                                             current);
}

QString documentsFolder()
{
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    return documents.isEmpty() ? QDir::homePath() : documents;
}

} // namespace

FrmOptions::FrmOptions(OptionsValues& values, FieldAssignmentList& list,
                       QString& specialFieldsString, ClsWord& word, QWidget* parent)
    : QDialog(parent), m_values(values), m_list(list), m_specialFieldsString(specialFieldsString),
      m_word(word), m_folderChooser(defaultFolderChooser)
{
    setObjectName(QStringLiteral("FrmOptions"));
    setWindowTitle(QStringLiteral("Optionen"));

    tabMain = new QTabWidget(this);
    tabMain->setObjectName(QStringLiteral("tabMain"));
    tabMain->addTab(buildGeneralTab(), QStringLiteral("&Allgemein "));
    tabMain->addTab(buildSpecialFieldsTab(), QStringLiteral("&Spezialfelder "));

    cmdOK = new QPushButton(QStringLiteral("OK"), this);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    cmdCancel = new QPushButton(QStringLiteral("Abbrechen"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    cmdHelp = new QPushButton(QStringLiteral("Hilfe"), this);
    cmdHelp->setObjectName(QStringLiteral("cmdHelp"));
    for (QPushButton* b : {cmdCancel, cmdHelp})
        b->setAutoDefault(false);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdCancel);
    buttons->addWidget(cmdHelp);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(tabMain);
    layout->addLayout(buttons);

    connect(cmdOK, &QPushButton::clicked, this, &FrmOptions::cmdOK_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(cmdHelp, &QPushButton::clicked, this, &FrmOptions::cmdHelp_Click);

    Form_Load();
}

FrmOptions::~FrmOptions() = default;

QWidget* FrmOptions::buildGeneralTab()
{
    auto* page = new QWidget;
    chkExitAfterFinished = new QCheckBox(
        QStringLiteral("Programm &beenden nach dem Erstellen des Word-Dokuments"), page);
    chkExitAfterFinished->setObjectName(QStringLiteral("chkExitAfterFinished"));
    chkCheckForCurrentContactAtStartup = new QCheckBox(
        QStringLiteral("Beim Starten automatisch aktuellen Outlook-Kontakt übernehmen"), page);
    chkCheckForCurrentContactAtStartup->setObjectName(
        QStringLiteral("chkCheckForCurrentContactAtStartup"));
    chkAllowResize =
        new QCheckBox(QStringLiteral("Größenveränderung des Haupformulars zulassen"), page);
    chkAllowResize->setObjectName(QStringLiteral("chkAllowResize"));

    // One button per version, newest first; the control index counts from the oldest.
    auto* fraWordVersion = new QGroupBox(QStringLiteral("Word"), page);
    fraWordVersion->setObjectName(QStringLiteral("fraWordVersion"));
    auto* versionLayout = new QVBoxLayout(fraWordVersion);
    m_versions = ClsWord::knownVersions();
    for (int row = 0; row < m_versions.size(); ++row) {
        auto* button =
            new QRadioButton(ClsWord::useVersionCaption(m_versions[row]), fraWordVersion);
        button->setObjectName(QStringLiteral("optWordVersion") + m_versions[row]);
        button->setProperty("Version", m_versions[row]);
        versionLayout->addWidget(button);
        m_versionButtons.append(button);
        const int index = int(m_versions.size()) - 1 - row;
        connect(button, &QRadioButton::clicked, this,
                [this, index] { optWordVersion_Click(index); });
    }

    auto* fraOutputFolder = new QGroupBox(QStringLiteral("Ausgabeordner für Dokumente"), page);
    fraOutputFolder->setObjectName(QStringLiteral("fraOutputFolder"));
    txtOutputFolder = new QLineEdit(fraOutputFolder);
    txtOutputFolder->setObjectName(QStringLiteral("txtOutputFolder"));
    txtOutputFolder->setPlaceholderText(QStringLiteral("Standard: ") +
                                        QDir::toNativeSeparators(documentsFolder()));
    cmdChooseOutputFolder = new QPushButton(QStringLiteral("Aus&wählen..."), fraOutputFolder);
    cmdChooseOutputFolder->setObjectName(QStringLiteral("cmdChooseOutputFolder"));
    cmdChooseOutputFolder->setAutoDefault(false);
    auto* folderLayout = new QHBoxLayout(fraOutputFolder);
    folderLayout->addWidget(txtOutputFolder, 1);
    folderLayout->addWidget(cmdChooseOutputFolder);
    connect(cmdChooseOutputFolder, &QPushButton::clicked, this,
            &FrmOptions::cmdChooseOutputFolder_Click);

    auto* fraReset = new QGroupBox(QStringLiteral("Alle Feldzuordnungen zurücksetzen"), page);
    fraReset->setObjectName(QStringLiteral("fraResetFieldAssignments"));
    auto* lblReset = new QLabel(
        QStringLiteral("Zurücksetzen aller Spezialfelder und Feldzuordnungen"), fraReset);
    lblReset->setObjectName(QStringLiteral("lblResetFieldAssignments"));
    cmdResetFieldAssignments = new QPushButton(QStringLiteral("Zurücksetzen"), fraReset);
    cmdResetFieldAssignments->setObjectName(QStringLiteral("cmdResetFieldAssignments"));
    cmdResetFieldAssignments->setAutoDefault(false);
    auto* resetLayout = new QHBoxLayout(fraReset);
    resetLayout->addWidget(lblReset, 1);
    resetLayout->addWidget(cmdResetFieldAssignments);
    connect(cmdResetFieldAssignments, &QPushButton::clicked, this,
            &FrmOptions::cmdResetFieldAssignments_Click);

    auto* layout = new QVBoxLayout(page);
    layout->addWidget(chkExitAfterFinished);
    layout->addWidget(chkCheckForCurrentContactAtStartup);
    layout->addWidget(chkAllowResize);
    layout->addWidget(fraWordVersion);
    layout->addWidget(fraOutputFolder);
    layout->addWidget(fraReset);
    layout->addStretch(1);
    return page;
}

QWidget* FrmOptions::buildSpecialFieldsTab()
{
    auto* page = new QWidget;
    lvwSpecialFields = new QTreeWidget(page);
    lvwSpecialFields->setObjectName(QStringLiteral("lvwSpecialFields"));
    lvwSpecialFields->setColumnCount(2);
    lvwSpecialFields->setHeaderLabels({QStringLiteral("Feldname"), QStringLiteral("Wert")});
    lvwSpecialFields->setRootIsDecorated(false);
    lvwSpecialFields->setUniformRowHeights(true);
    lvwSpecialFields->setAllColumnsShowFocus(true);
    lvwSpecialFields->header()->setStretchLastSection(true);
    lvwSpecialFields->setColumnWidth(0, 170);
    auto* lblList = new QLabel(QStringLiteral("Feld&liste:"), page);
    lblList->setBuddy(lvwSpecialFields);

    txtFieldname = new QLineEdit(page);
    txtFieldname->setObjectName(QStringLiteral("txtFieldname"));
    auto* lblName = new QLabel(QStringLiteral("&Feldname:"), page);
    lblName->setBuddy(txtFieldname);
    txtFieldvalue = new QLineEdit(page);
    txtFieldvalue->setObjectName(QStringLiteral("txtFieldvalue"));
    auto* lblValue = new QLabel(QStringLiteral("&Wert:"), page);
    lblValue->setBuddy(txtFieldvalue);

    cmdNewField = new QPushButton(QStringLiteral("&Neu"), page);
    cmdNewField->setObjectName(QStringLiteral("cmdNewField"));
    cmdSetField = new QPushButton(QStringLiteral("S&etzen"), page);
    cmdSetField->setObjectName(QStringLiteral("cmdSetField"));
    cmdDeleteField = new QPushButton(QStringLiteral("Löschen"), page);
    cmdDeleteField->setObjectName(QStringLiteral("cmdDeleteField"));
    for (QPushButton* b : {cmdNewField, cmdSetField, cmdDeleteField})
        b->setAutoDefault(false);

    auto* edit = new QGridLayout;
    edit->addWidget(lblName, 0, 0);
    edit->addWidget(txtFieldname, 0, 1);
    edit->addWidget(lblValue, 1, 0);
    edit->addWidget(txtFieldvalue, 1, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cmdNewField);
    buttons->addWidget(cmdSetField);
    buttons->addWidget(cmdDeleteField);

    auto* layout = new QVBoxLayout(page);
    layout->addWidget(lblList);
    layout->addWidget(lvwSpecialFields, 1);
    layout->addLayout(edit);
    layout->addLayout(buttons);

    connect(lvwSpecialFields, &QTreeWidget::itemClicked, this,
            [this](QTreeWidgetItem* item) { lvwSpecialFields_ItemClick(item); });
    connect(lvwSpecialFields, &QTreeWidget::currentItemChanged, this,
            [this](QTreeWidgetItem* item) { lvwSpecialFields_ItemClick(item); });
    txtFieldname->installEventFilter(this);
    txtFieldvalue->installEventFilter(this);
    connect(txtFieldname, &QLineEdit::textChanged, this, &FrmOptions::txtFieldname_Change);
    connect(cmdNewField, &QPushButton::clicked, this, &FrmOptions::cmdNewField_Click);
    connect(cmdSetField, &QPushButton::clicked, this, &FrmOptions::cmdSetField_Click);
    connect(cmdDeleteField, &QPushButton::clicked, this, &FrmOptions::cmdDeleteField_Click);
    return page;
}

bool FrmOptions::eventFilter(QObject* watched, QEvent* event)
{
    if ((watched == txtFieldname || watched == txtFieldvalue) &&
        event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            if (cmdSetField->isEnabled())
                cmdSetField_Click();
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

void FrmOptions::Form_Load()
{
    vuTrap(QStringLiteral("Form_Load"), [&] {
        chkExitAfterFinished->setChecked(m_values.ExitAfterFinished);
        chkCheckForCurrentContactAtStartup->setChecked(m_values.CheckForCurrentContactAtStartup);
        chkAllowResize->setChecked(m_values.AllowResize);
        txtOutputFolder->setText(QDir::toNativeSeparators(m_values.OutputFolder));

        const QString inUse = m_word.Version();
        for (int row = 0; row < m_versionButtons.size(); ++row) {
            QRadioButton* button = m_versionButtons[row];
            const bool installed = m_word.IsVersionInstalled(m_versions[row]);
            button->setEnabled(installed);
            button->setToolTip(installed ? QString() : ClsWord::notInstalledText(m_versions[row]));
            button->setChecked(m_versions[row] == inUse);
        }

        fillSpecialFields();
        setEditState(true, false);
    });
}

qint16 FrmOptions::CurrentTab() const
{
    return qint16(tabMain->currentIndex());
}

void FrmOptions::setCurrentTab(qint16 tab)
{
    tabMain->setCurrentIndex(tab);
}

void FrmOptions::setFolderChooser(FolderChooser chooser)
{
    m_folderChooser = chooser ? std::move(chooser) : FolderChooser(defaultFolderChooser);
}

QRadioButton* FrmOptions::versionButton(int index) const
{
    const int row = int(m_versionButtons.size()) - 1 - index;
    return row >= 0 && row < m_versionButtons.size() ? m_versionButtons[row] : nullptr;
}

void FrmOptions::fillSpecialFields()
{
    lvwSpecialFields->clear();
    const QIcon icon = ListIcons::field();
    for (const NameValueText::Entry& entry :
         NameValueText::entries(m_specialFieldsString)) {
        auto* item = new QTreeWidgetItem(lvwSpecialFields, {entry.name, entry.value});
        item->setIcon(0, icon);
    }
}

void FrmOptions::setEditState(bool nameEditable, bool rowChosen)
{
    txtFieldname->setEnabled(nameEditable);
    cmdSetField->setEnabled(rowChosen || !txtFieldname->text().isEmpty());
    cmdDeleteField->setEnabled(rowChosen);
}

void FrmOptions::optWordVersion_Click(int index)
{
    // Only choosing the oldest version while the next one is there is worth the hint: the
    // program would otherwise take the newer one again at the next start.
    if (index != 0)
        return;
    if (QRadioButton* next = versionButton(1); next && next->isEnabled())
        msgBox(QStringLiteral("Hinweis: diese Einstellung wird nicht permanent gespeichert!"),
               Mb::OkOnly + Mb::Exclamation);
}

void FrmOptions::lvwSpecialFields_ItemClick(QTreeWidgetItem* item)
{
    if (!item)
        return;
    txtFieldname->setText(item->text(0));
    txtFieldvalue->setText(item->text(1));
    setEditState(false, true);
}

void FrmOptions::txtFieldname_Change()
{
    cmdSetField->setEnabled(!txtFieldname->text().isEmpty());
}

void FrmOptions::cmdNewField_Click()
{
    lvwSpecialFields->setCurrentItem(nullptr);
    lvwSpecialFields->clearSelection();
    txtFieldname->clear();
    txtFieldvalue->clear();
    setEditState(true, false);
    txtFieldname->setFocus();
}

void FrmOptions::cmdSetField_Click()
{
    vuTrap(QStringLiteral("cmdSetField_Click"), [&] {
        if (!VuTextBoxIsValid(txtFieldname, ValueType::Text, false))
            return;
        if (!EntryTextCheck::isValid(
                txtFieldname, QStringLiteral("=|"),
                QStringLiteral("Ein Feldname darf die Zeichen '=' und '|' nicht enthalten")))
            return;
        if (!EntryTextCheck::isValid(
                txtFieldvalue, QStringLiteral("|"),
                QStringLiteral("Ein Wert darf das Zeichen '|' nicht enthalten")))
            return;

        // Names compare exactly, as the special fields are resolved: "von-name" is a field
        // of its own beside "Von-Name".
        const QString name = txtFieldname->text();
        QTreeWidgetItem* row = nullptr;
        for (int i = 0; i < lvwSpecialFields->topLevelItemCount() && !row; ++i)
            if (lvwSpecialFields->topLevelItem(i)->text(0) == name)
                row = lvwSpecialFields->topLevelItem(i);
        if (row) {
            row->setText(1, txtFieldvalue->text());
        } else {
            row = new QTreeWidgetItem(lvwSpecialFields, {name, txtFieldvalue->text()});
            row->setIcon(0, ListIcons::field());
        }
        lvwSpecialFields->setCurrentItem(row);
        lvwSpecialFields->scrollToItem(row);
    });
}

void FrmOptions::cmdDeleteField_Click()
{
    vuTrap(QStringLiteral("cmdDeleteField_Click"), [&] {
        QTreeWidgetItem* row = lvwSpecialFields->currentItem();
        if (!row)
            return;
        const QString text =
            QStringLiteral("Wollen Sie das Feld '") + row->text(0) +
            QStringLiteral("' wirklich löschen?") + kCrLf +
            QStringLiteral("Wenn das Feld bereits Word-Textmarken zugeordnet ist,") + kCrLf +
            QStringLiteral("können diese nicht mehr verwendet werden!");
        if (msgBox(text, Mb::OkCancel + Mb::Question) != Mb::Ok)
            return;
        // The next row must not become the chosen one by itself: nothing is chosen now.
        const QSignalBlocker block(lvwSpecialFields);
        delete row;
        lvwSpecialFields->setCurrentItem(nullptr);
        lvwSpecialFields->clearSelection();
        cmdSetField->setEnabled(false);
        cmdDeleteField->setEnabled(false);
    });
}

void FrmOptions::cmdResetFieldAssignments_Click()
{
    vuTrap(QStringLiteral("cmdResetFieldAssignments_Click"), [&] {
        const QString text =
            QStringLiteral("ACHTUNG: hiermit setzen Sie alle Spezialfelder und Feldzuordnungen") +
            kCrLf + QStringLiteral("auf die voreingestellten Werte zurück.") + kCrLf +
            QStringLiteral("Ihre Einstellungen gehen verloren!") + kCrLf +
            QStringLiteral("Möchten Sie fortfahren?");
        if (msgBox(text, Mb::YesNo + Mb::Question) != Mb::Yes)
            return;
        SetDefaultFieldAssignments(m_list, m_specialFieldsString);
        const QSignalBlocker block(lvwSpecialFields);
        fillSpecialFields();
        txtFieldname->clear();
        txtFieldvalue->clear();
        setEditState(true, false);
    });
}

void FrmOptions::cmdChooseOutputFolder_Click()
{
    vuTrap(QStringLiteral("cmdChooseOutputFolder_Click"), [&] {
        const QString current = txtOutputFolder->text().trimmed();
        const QString chosen =
            m_folderChooser(this, current.isEmpty() ? documentsFolder() : current);
        if (!chosen.isEmpty())
            txtOutputFolder->setText(QDir::toNativeSeparators(chosen));
    });
}

QString FrmOptions::outputFolderProblem(const QString& folder)
{
    if (folder.isEmpty())
        return QString();
    const QString shown = QDir::toNativeSeparators(folder);
    const QString advice =
        kCrLf + QStringLiteral("Wählen Sie einen anderen Ordner oder lassen Sie das Feld leer, "
                               "um den Ordner 'Dokumente' zu verwenden.");
    const QFileInfo info(folder);
    if (!info.isAbsolute())
        return QStringLiteral("Geben Sie den Ausgabeordner mit vollständigem Pfad an: '") + shown +
               QStringLiteral("'") + advice;
    if (!info.exists())
        return QStringLiteral("Der Ausgabeordner '") + shown +
               QStringLiteral("' existiert nicht!") + advice;
    if (!info.isDir())
        return QStringLiteral("'") + shown + QStringLiteral("' ist kein Ordner!") + advice;
    // Permission bits do not tell (access lists, read-only mounts): try it.
    QTemporaryFile probe(QDir(folder).filePath(QStringLiteral(".zettelwerk-probe-XXXXXX")));
    if (!probe.open())
        return QStringLiteral("In den Ausgabeordner '") + shown +
               QStringLiteral("' kann nicht geschrieben werden!") + kCrLf + VuFileErrorText(probe) +
               advice;
    return QString();
}

void FrmOptions::cmdOK_Click()
{
    vuTrap(QStringLiteral("cmdOK_Click"), [&] {
        // The folder first: a folder that cannot take documents keeps the dialog open with
        // nothing taken over, so the user can correct it.
        const QString folder = QDir::fromNativeSeparators(txtOutputFolder->text().trimmed());
        if (const QString problem = outputFolderProblem(folder); !problem.isEmpty()) {
            tabMain->setCurrentIndex(TabGeneral);
            ui().beep();
            msgBox(problem, Mb::OkOnly + Mb::Exclamation);
            txtOutputFolder->setFocus();
            txtOutputFolder->selectAll();
            return;
        }

        m_values.ExitAfterFinished = chkExitAfterFinished->isChecked();
        m_values.CheckForCurrentContactAtStartup = chkCheckForCurrentContactAtStartup->isChecked();
        m_values.AllowResize = chkAllowResize->isChecked();
        m_values.OutputFolder = QDir::toNativeSeparators(folder);
        m_word.setOutputFolder(folder);

        for (int row = 0; row < m_versionButtons.size(); ++row) {
            if (!m_versionButtons[row]->isChecked())
                continue;
            // A failure leaves no version in use, so the next use takes the newest again.
            if (!m_word.SetUsedVersion(m_versions[row]))
                msgBox(ClsWord::notInstalledText(m_versions[row]), Mb::OkOnly + Mb::Exclamation);
        }

        QList<NameValueText::Entry> entries;
        for (int i = 0; i < lvwSpecialFields->topLevelItemCount(); ++i) {
            const QTreeWidgetItem* row = lvwSpecialFields->topLevelItem(i);
            entries.append({row->text(0), row->text(1)});
        }
        m_specialFieldsString = NameValueText::compose(entries);
        accept();
    });
}

void FrmOptions::cmdHelp_Click()
{
    VuShowHelp(HelpCommand::Context, vuHelpFile(), HelpContext::Settings);
}
