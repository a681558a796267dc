#include "document/widgets/FrmFieldAssignments.h"

#include "document/ClsWord.h"
#include "document/DocumentErrors.h"
#include "document/FieldAssignmentDefaults.h"
#include "document/FieldAssignmentList.h"
#include "document/FieldAssignments.h"
#include "document/widgets/EntryTextCheck.h"
#include "document/widgets/FrmOptions.h"
#include "document/widgets/ListIcons.h"
#include "document/widgets/NameValueText.h"
#include "util/ErrorRoutine.h"
#include "util/UserInterface.h"
#include "util/widgets/ShowHelp.h"
#include "util/widgets/TextBoxValidation.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace
{

const QString kCrLf = QStringLiteral("\r\n");

namespace Category
{
inline constexpr int Composite = 0, Important = 1, Other = 2, UserDefined = 3, Special = 4,
                     BuiltIn = 5;
}

QString defaultFileChooser(QWidget* parent, const QString& title, const QString& filter)
{
    return QFileDialog::getOpenFileName(parent, title, QString(), filter);
}

bool isTemplateFile(const QString& path)
{
    const QString suffix = QFileInfo(path).suffix().toUpper();
    return suffix == u"DOT" || suffix == u"DOTX" || suffix == u"DOTM";
}

} // namespace

QStringList FrmFieldAssignments::fieldCategories()
{
    return {QStringLiteral("Zusammengesetzte Felder (ZF)"),
            QStringLiteral("Wichtige Outlook-Felder (OF)"),
            QStringLiteral("Sonstige Outlook-Felder (OF)"),
            QStringLiteral("Benutzerdefinierte Felder (BF)"),
            QStringLiteral("Spezialfelder (SF)"),
            QStringLiteral("Eingebaute Felder (EF)")};
}

QStringList FrmFieldAssignments::fixedCategoryFields(int category)
{
    switch (category) {
    case Category::Composite: {
        QStringList fields;
        for (int line = 1; line <= 9; ++line)
            fields.append(QString::number(line) + QStringLiteral(". Anschrift-Zeile"));
        fields << QStringLiteral("Anrede+Name") << QStringLiteral("Briefanrede+Name")
               << QStringLiteral("Straße ausgewählte Adresse")
               << QStringLiteral("Ort ausgewählte Adresse")
               << QStringLiteral("PLZ ausgewählte Adresse")
               << QStringLiteral("PLZ+Ort ausgewählte Adresse");
        return fields;
    }
    case Category::Important:
        return {QStringLiteral("Speichern unter"),
                QStringLiteral("Anrede"),
                QStringLiteral("Vorname"),
                QStringLiteral("Nachname"),
                QStringLiteral("Name"),
                QStringLiteral("Position"),
                QStringLiteral("Abteilung"),
                QStringLiteral("Firma"),
                QStringLiteral("Straße geschäftlich"),
                QStringLiteral("Ort geschäftlich"),
                QStringLiteral("PLZ geschäftlich"),
                QStringLiteral("Postfach geschäftlich"),
                QStringLiteral("Region geschäftlich"),
                QStringLiteral("Land geschäftlich"),
                QStringLiteral("Telefon geschäftlich"),
                QStringLiteral("Telefon geschäftlich 2"),
                QStringLiteral("FAX geschäftlich"),
                QStringLiteral("Telefon privat"),
                QStringLiteral("Telefon privat 2"),
                QStringLiteral("Mobiltelefon"),
                QStringLiteral("E-Mail")};
    case Category::Other:
        // "Weiter Vornamen" is spelled so in stored assignments; keep it.
        return {QStringLiteral("Straße privat"),
                QStringLiteral("Ort privat"),
                QStringLiteral("PLZ privat"),
                QStringLiteral("Postfach privat"),
                QStringLiteral("Region privat"),
                QStringLiteral("Land privat"),
                QStringLiteral("FAX privat"),
                QStringLiteral("Straße weitere"),
                QStringLiteral("Ort weitere"),
                QStringLiteral("PLZ weitere"),
                QStringLiteral("Postfach weitere"),
                QStringLiteral("Region weitere"),
                QStringLiteral("Land weitere"),
                QStringLiteral("Namenszusatz"),
                QStringLiteral("Empfohlen von"),
                QStringLiteral("Initialen"),
                QStringLiteral("Kinder"),
                QStringLiteral("Partner"),
                QStringLiteral("Spitzname"),
                QStringLiteral("Vorgesetzte(r)"),
                QStringLiteral("Weiter Vornamen"),
                QStringLiteral("Geburtstag"),
                QStringLiteral("Geschlecht"),
                QStringLiteral("Hobbies"),
                QStringLiteral("Jahrestag"),
                QStringLiteral("Sprache"),
                QStringLiteral("E-Mail 2"),
                QStringLiteral("E-Mail 3"),
                QStringLiteral("Private Web-Seite"),
                QStringLiteral("FTP-Site"),
                QStringLiteral("weiteres FAX"),
                QStringLiteral("ISDN"),
                QStringLiteral("Telex"),
                QStringLiteral("Benutzerfeld 1"),
                QStringLiteral("Benutzerfeld 2"),
                QStringLiteral("Benutzerfeld 3"),
                QStringLiteral("Benutzerfeld 4"),
                QStringLiteral("Konto"),
                QStringLiteral("Kundennr."),
                QStringLiteral("Organisationsnr."),
                QStringLiteral("Name Assistent"),
                QStringLiteral("Telefon Assistent"),
                QStringLiteral("Autotelefon"),
                QStringLiteral("Funkruf"),
                QStringLiteral("Pager"),
                QStringLiteral("Telefonzentrale Firma"),
                QStringLiteral("Weiteres Telefon"),
                QStringLiteral("Beruf"),
                QStringLiteral("Büro")};
    case Category::BuiltIn:
        return {QStringLiteral("Datum tt.mm.jjjj"), QStringLiteral("Datum tt.mm.jj"),
                QStringLiteral("Computername"), QStringLiteral("Benutzer Login-Name")};
    default:
        return {};
    }
}

FrmFieldAssignments::FrmFieldAssignments(FieldAssignmentList& list, QString& specialFieldsString,
                                         ClsWord& word, OptionsValues& options, QWidget* parent)
    : QDialog(parent), m_list(list), m_specialFieldsString(specialFieldsString), m_word(word),
      m_options(options), m_fileChooser(defaultFileChooser)
{
    buildUi();
    Form_Load();
}

FrmFieldAssignments::~FrmFieldAssignments() = default;

void FrmFieldAssignments::buildUi()
{
    setObjectName(QStringLiteral("FrmFieldAssignments"));
    setWindowTitle(QStringLiteral("Feldzuordnung"));

    // Templates.
    lstDotFiles = new QListWidget(this);
    lstDotFiles->setObjectName(QStringLiteral("lstDotFiles"));
    auto* lblDotFiles = new QLabel(QStringLiteral("&Vorlagendateien:"), this);
    lblDotFiles->setBuddy(lstDotFiles);
    cmdAddDotFile = new QPushButton(QStringLiteral("&Hinzufügen"), this);
    cmdAddDotFile->setObjectName(QStringLiteral("cmdAddDotFile"));
    cmdRemoveDotFile = new QPushButton(QStringLiteral("&Entfernen"), this);
    cmdRemoveDotFile->setObjectName(QStringLiteral("cmdRemoveDotFile"));

    // Bookmarks of the chosen template.
    lvwBookmarks = new QTreeWidget(this);
    lvwBookmarks->setObjectName(QStringLiteral("lvwBookmarks"));
    lvwBookmarks->setColumnCount(2);
    lvwBookmarks->setRootIsDecorated(false);
    lvwBookmarks->setUniformRowHeights(true);
    lvwBookmarks->setAllColumnsShowFocus(true);
    lvwBookmarks->setColumnWidth(0, 170);
    lvwBookmarks->header()->setStretchLastSection(true);
    auto* lblBookmarks =
        new QLabel(QStringLiteral("Zuordnung &Textmarken zu Outlook-Felder:"), this);
    lblBookmarks->setBuddy(lvwBookmarks);
    txtNewBookmark = new QLineEdit(this);
    txtNewBookmark->setObjectName(QStringLiteral("txtNewBookmark"));
    cmdAddBookmark = new QPushButton(QStringLiteral("Hinzufügen"), this);
    cmdAddBookmark->setObjectName(QStringLiteral("cmdAddBookmark"));
    cmdRemoveBookmark = new QPushButton(QStringLiteral("Entfernen"), this);
    cmdRemoveBookmark->setObjectName(QStringLiteral("cmdRemoveBookmark"));
    cmdGetDocBookmarks = new QPushButton(QStringLiteral("Aus &Word"), this);
    cmdGetDocBookmarks->setObjectName(QStringLiteral("cmdGetDocBookmarks"));
    cmdGetDocBookmarks->setToolTip(
        QStringLiteral("Word starten und die Textmarken aus der Vorlagendatei auslesen"));
    chkWordVisible = new QCheckBox(QStringLiteral("Word sichtbar"), this);
    chkWordVisible->setObjectName(QStringLiteral("chkWordVisible"));
    chkWordVisible->setChecked(true);

    // Fields.
    cboOutlookFieldCategories = new QComboBox(this);
    cboOutlookFieldCategories->setObjectName(QStringLiteral("cboOutlookFieldCategories"));
    auto* lblFields = new QLabel(QStringLiteral("&Outlook-Felder:"), this);
    lblFields->setBuddy(cboOutlookFieldCategories);
    lstOutlookFields = new QListWidget(this);
    lstOutlookFields->setObjectName(QStringLiteral("lstOutlookFields"));
    cmdAssignOutlookField = new QPushButton(QStringLiteral("< &Zuordnen"), this);
    cmdAssignOutlookField->setObjectName(QStringLiteral("cmdAssignOutlookField"));
    cmdUnassignOutlookField = new QPushButton(QStringLiteral("Auf&heben"), this);
    cmdUnassignOutlookField->setObjectName(QStringLiteral("cmdUnassignOutlookField"));
    cmdEditSpecialFields = new QPushButton(QStringLiteral("Bearbeiten"), this);
    cmdEditSpecialFields->setObjectName(QStringLiteral("cmdEditSpecialFields"));

    cmdHelp = new QPushButton(QStringLiteral("Hilfe"), this);
    cmdHelp->setObjectName(QStringLiteral("cmdHelp"));
    cmdClose = new QPushButton(QStringLiteral("Schließen"), this);
    cmdClose->setObjectName(QStringLiteral("cmdClose"));

    // Return in the bookmark box adds the bookmark; no button closes the dialog by Return.
    for (QPushButton* b : findChildren<QPushButton*>())
        b->setAutoDefault(false);

    auto* dotButtons = new QVBoxLayout;
    dotButtons->addWidget(cmdAddDotFile);
    dotButtons->addWidget(cmdRemoveDotFile);
    dotButtons->addStretch(1);
    auto* dotRow = new QHBoxLayout;
    dotRow->addWidget(lstDotFiles, 1);
    dotRow->addLayout(dotButtons);

    auto* newBookmarkRow = new QHBoxLayout;
    newBookmarkRow->addWidget(txtNewBookmark, 1);
    newBookmarkRow->addWidget(cmdAddBookmark);
    auto* bookmarkButtons = new QHBoxLayout;
    bookmarkButtons->addWidget(cmdRemoveBookmark);
    bookmarkButtons->addWidget(cmdGetDocBookmarks);
    bookmarkButtons->addWidget(chkWordVisible);
    bookmarkButtons->addStretch(1);
    auto* bookmarkColumn = new QVBoxLayout;
    bookmarkColumn->addWidget(lblBookmarks);
    bookmarkColumn->addWidget(lvwBookmarks, 1);
    bookmarkColumn->addLayout(newBookmarkRow);
    bookmarkColumn->addLayout(bookmarkButtons);

    auto* assignColumn = new QVBoxLayout;
    assignColumn->addStretch(1);
    assignColumn->addWidget(cmdAssignOutlookField);
    assignColumn->addWidget(cmdUnassignOutlookField);
    assignColumn->addStretch(1);

    auto* editRow = new QHBoxLayout;
    editRow->addStretch(1);
    editRow->addWidget(cmdEditSpecialFields);
    auto* fieldColumn = new QVBoxLayout;
    fieldColumn->addWidget(lblFields);
    fieldColumn->addWidget(cboOutlookFieldCategories);
    fieldColumn->addWidget(lstOutlookFields, 1);
    fieldColumn->addLayout(editRow);

    auto* middle = new QHBoxLayout;
    middle->addLayout(bookmarkColumn, 3);
    middle->addLayout(assignColumn);
    middle->addLayout(fieldColumn, 2);

    auto* bottom = new QHBoxLayout;
    bottom->addStretch(1);
    bottom->addWidget(cmdHelp);
    bottom->addWidget(cmdClose);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(lblDotFiles);
    layout->addLayout(dotRow, 1);
    layout->addSpacing(6);
    layout->addLayout(middle, 3);
    layout->addLayout(bottom);
    resize(820, 560);

    connect(lstDotFiles, &QListWidget::currentRowChanged, this,
            &FrmFieldAssignments::lstDotFiles_Click);
    connect(cmdAddDotFile, &QPushButton::clicked, this, &FrmFieldAssignments::cmdAddDotFile_Click);
    connect(cmdRemoveDotFile, &QPushButton::clicked, this,
            &FrmFieldAssignments::cmdRemoveDotFile_Click);
    connect(lvwBookmarks, &QTreeWidget::itemSelectionChanged, this,
            &FrmFieldAssignments::updateEnabledStates);
    connect(txtNewBookmark, &QLineEdit::returnPressed, this, [this] {
        if (cmdAddBookmark->isEnabled())
            cmdAddBookmark_Click();
    });
    connect(cmdAddBookmark, &QPushButton::clicked, this,
            &FrmFieldAssignments::cmdAddBookmark_Click);
    connect(cmdRemoveBookmark, &QPushButton::clicked, this,
            &FrmFieldAssignments::cmdRemoveBookmark_Click);
    connect(cmdGetDocBookmarks, &QPushButton::clicked, this,
            &FrmFieldAssignments::cmdGetDocBookmarks_Click);
    connect(chkWordVisible, &QCheckBox::clicked, this, &FrmFieldAssignments::chkWordVisible_Click);
    connect(cboOutlookFieldCategories, &QComboBox::currentIndexChanged, this,
            &FrmFieldAssignments::cboOutlookFieldCategories_Click);
    connect(lstOutlookFields, &QListWidget::itemSelectionChanged, this,
            &FrmFieldAssignments::updateEnabledStates);
    connect(lstOutlookFields, &QListWidget::itemDoubleClicked, this,
            &FrmFieldAssignments::lstOutlookFields_DblClick);
    connect(cmdAssignOutlookField, &QPushButton::clicked, this,
            &FrmFieldAssignments::cmdAssignOutlookField_Click);
    connect(cmdUnassignOutlookField, &QPushButton::clicked, this,
            &FrmFieldAssignments::cmdUnassignOutlookField_Click);
    connect(cmdEditSpecialFields, &QPushButton::clicked, this,
            &FrmFieldAssignments::cmdEditSpecialFields_Click);
    connect(cmdHelp, &QPushButton::clicked, this, &FrmFieldAssignments::cmdHelp_Click);
    connect(cmdClose, &QPushButton::clicked, this, &QDialog::accept);
}

void FrmFieldAssignments::Form_Load()
{
    vuTrap(QStringLiteral("Form_Load"), [&] {
        lvwBookmarks->setHeaderLabels(
            {QStringLiteral("Textmarke"), QStringLiteral("Outlook-Feld")});
        fillDotFiles();
        // Adding the first category chooses it, which fills the field list.
        cboOutlookFieldCategories->addItems(fieldCategories());
        cboOutlookFieldCategories->setCurrentIndex(Category::Composite);
        updateEnabledStates();
    });
}

void FrmFieldAssignments::setUserDefinedFieldNames(const QString& names)
{
    m_userDefinedFieldNames = names;
    if (cboOutlookFieldCategories->currentIndex() == Category::UserDefined)
        cboOutlookFieldCategories_Click();
}

void FrmFieldAssignments::setStatusSink(StatusSink sink)
{
    m_status = std::move(sink);
}

void FrmFieldAssignments::setFileChooser(FileChooser chooser)
{
    m_fileChooser = chooser ? std::move(chooser) : FileChooser(defaultFileChooser);
}

void FrmFieldAssignments::setStatus(const QString& text)
{
    if (m_status)
        m_status(text);
}

void FrmFieldAssignments::fillDotFiles()
{
    const QSignalBlocker block(lstDotFiles);
    lstDotFiles->clear();
    lstDotFiles->addItems(m_list.keys());
    lstDotFiles->setCurrentRow(-1);
}

void FrmFieldAssignments::loadRows(const QString& key)
{
    lvwBookmarks->clear();
    const QIcon icon = ListIcons::bookmark();
    for (const BookmarkRow& row : LoadBookmarkList(m_list, key, false, {}, m_specialFieldsString)) {
        auto* item = new QTreeWidgetItem(lvwBookmarks, {row.bookmark, row.field});
        item->setIcon(0, icon);
    }
}

void FrmFieldAssignments::storeShownRows()
{
    if (!m_changed || m_currentDotFile.isEmpty())
        return;
    QString entry = m_currentDotFile;
    for (int i = 0; i < lvwBookmarks->topLevelItemCount(); ++i) {
        const QTreeWidgetItem* row = lvwBookmarks->topLevelItem(i);
        entry += QLatin1Char('|') + row->text(0) + QLatin1Char('=') + row->text(1);
    }
    // Replacing the entry puts it at the end of the list: the order users see next time.
    m_list.remove(m_currentDotFile);
    m_list.add(m_currentDotFile, entry);
    m_changed = false;
}

void FrmFieldAssignments::lstDotFiles_Click()
{
    vuTrap(QStringLiteral("lstDotFiles_Click"), [&] {
        storeShownRows();
        const QListWidgetItem* item = lstDotFiles->currentItem();
        m_currentDotFile = item ? item->text() : QString();
        loadRows(m_currentDotFile);
        m_changed = false;
        updateEnabledStates();
    });
}

void FrmFieldAssignments::cboOutlookFieldCategories_Click()
{
    vuTrap(QStringLiteral("cboOutlookFieldCategories_Click"), [&] {
        const int category = cboOutlookFieldCategories->currentIndex();
        lstOutlookFields->clear();
        switch (category) {
        case Category::UserDefined: {
            const QStringList names =
                m_userDefinedFieldNames.split(QLatin1Char('|'), Qt::SkipEmptyParts);
            if (names.isEmpty())
                msgBox(QStringLiteral("Benutzerdefinierte Felder werden direkt aus dem ") + kCrLf +
                           QStringLiteral("Outlook-Kontakt-Formular ausgelesen.") + kCrLf + kCrLf +
                           QStringLiteral("Es ist kein Outlook-Kontakt selektiert oder") + kCrLf +
                           QStringLiteral("das selektierte Kontaktformular hat keine ") + kCrLf +
                           QStringLiteral("benutzerdefinierten Felder!"),
                       Mb::OkOnly + Mb::Information);
            lstOutlookFields->addItems(names);
            break;
        }
        case Category::Special:
            lstOutlookFields->addItems(NameValueText::names(m_specialFieldsString));
            break;
        default:
            lstOutlookFields->addItems(fixedCategoryFields(category));
        }
        updateEnabledStates();
    });
}

void FrmFieldAssignments::cmdAddDotFile_Click()
{
    vuTrap(QStringLiteral("cmdAddDotFile_Click"), [&] {
        const QString chosen =
            m_fileChooser(this, QStringLiteral("Dokumentvorlage auswählen"),
                          QStringLiteral("Dokumentvorlagen (*.dot *.dotx *.dotm);;"
                                         "Alle Dateien (*.*)"));
        if (chosen.isEmpty())
            return;
        if (!isTemplateFile(chosen)) {
            msgBox(
                QStringLiteral(
                    "Nur Word-Dokumentvorlagen (*.dot, *.dotx, *.dotm) können ausgewählt werden!"),
                Mb::OkOnly + Mb::Exclamation);
            return;
        }
        const QString path = QDir::toNativeSeparators(chosen);
        // "|" separates the bookmarks in the stored entry: such a path would break it.
        if (path.contains(QLatin1Char('|'))) {
            msgBox(QStringLiteral("Der Pfad der Vorlagendatei '") + path +
                       QStringLiteral("' enthält das Zeichen '|' und kann nicht verwendet "
                                      "werden!") +
                       kCrLf + QStringLiteral("Benennen Sie die Datei oder den Ordner um."),
                   Mb::OkOnly + Mb::Exclamation);
            return;
        }
        // A template already in the list is not added twice; its line is chosen instead.
        if (m_list.contains(path)) {
            const QList<QListWidgetItem*> lines =
                lstDotFiles->findItems(path, Qt::MatchFixedString);
            if (!lines.isEmpty())
                lstDotFiles->setCurrentItem(lines.first());
            return;
        }
        m_list.add(path, path + QLatin1Char('|'));
        lstDotFiles->addItem(path);
        updateEnabledStates();
    });
}

void FrmFieldAssignments::cmdRemoveDotFile_Click()
{
    vuTrap(QStringLiteral("cmdRemoveDotFile_Click"), [&] {
        QListWidgetItem* line = lstDotFiles->currentItem();
        if (!line)
            return;
        const QString name = line->text();
        if (name == kEmptyDocument) {
            msgBox(QStringLiteral("Der Eintrag '") + name +
                       QStringLiteral("' kann nicht entfernt werden!"),
                   Mb::OkOnly + Mb::Exclamation);
            return;
        }
        if (msgBox(QStringLiteral("Wollen Sie die Vorlagendatei '") + name +
                       QStringLiteral("' tatsächlich aus der Liste entfernen?") + kCrLf +
                       QStringLiteral("Evtl. eingetragene Feldzuordnungen gehen damit verloren!"),
                   Mb::OkCancel + Mb::Question) != Mb::Ok)
            return;
        // The rows shown belong to the template that goes: they must not be stored back.
        m_changed = false;
        m_currentDotFile.clear();
        {
            const QSignalBlocker block(lstDotFiles);
            delete line;
            lstDotFiles->setCurrentRow(-1);
        }
        m_list.remove(name);
        lvwBookmarks->clear();
        updateEnabledStates();
    });
}

void FrmFieldAssignments::cmdAddBookmark_Click()
{
    vuTrap(QStringLiteral("cmdAddBookmark_Click"), [&] {
        if (!VuTextBoxIsValid(
                txtNewBookmark, ValueType::Text, false,
                QStringLiteral("Geben Sie den Namen der hinzuzufügenden Textmarke ein")))
            return;
        if (!EntryTextCheck::isValid(
                txtNewBookmark, QStringLiteral("=|"),
                QStringLiteral("Ein Textmarkenname darf die Zeichen '=' und '|' nicht enthalten"),
                QStringLiteral("Geben Sie den Namen der hinzuzufügenden Textmarke ein")))
            return;
        const QString name = txtNewBookmark->text();
        // Word tells bookmark names apart without regard to case.
        for (int i = 0; i < lvwBookmarks->topLevelItemCount(); ++i) {
            if (lvwBookmarks->topLevelItem(i)->text(0).compare(name, Qt::CaseInsensitive) == 0) {
                msgBox(QStringLiteral("Eine Textmarke mit dem Namen '") + name +
                           QStringLiteral("' ist bereits eingetragen"),
                       Mb::OkOnly + Mb::Exclamation);
                return;
            }
        }
        auto* item = new QTreeWidgetItem(lvwBookmarks, {name, QStringLiteral("-")});
        item->setIcon(0, ListIcons::bookmark());
        txtNewBookmark->clear();
        updateEnabledStates();
    });
}

void FrmFieldAssignments::cmdRemoveBookmark_Click()
{
    vuTrap(QStringLiteral("cmdRemoveBookmark_Click"), [&] {
        QTreeWidgetItem* row = lvwBookmarks->currentItem();
        if (!row || !row->isSelected())
            return;
        if (msgBox(QStringLiteral("Wollen Sie die Textmarke '") + row->text(0) +
                       QStringLiteral("' wirklich aus der Liste entfernen?"),
                   Mb::OkCancel + Mb::Question) != Mb::Ok)
            return;
        delete row;
        updateEnabledStates();
    });
}

void FrmFieldAssignments::cmdGetDocBookmarks_Click()
{
    vuTrap(QStringLiteral("cmdGetDocBookmarks_Click"), [&] {
        // Every version of the version table reads bookmarks through the document engine,
        // so no version is refused here.
        if (lvwBookmarks->topLevelItemCount() > 0) {
            const QString question =
                QStringLiteral("Beim Auslesen der Textmarken aus der Word-Vorlage") + kCrLf +
                QStringLiteral("gehen evtl. bereits eingetragene Zuordnungen zu Outlook-") + kCrLf +
                QStringLiteral("Feldern verloren.") + kCrLf + kCrLf +
                QStringLiteral("Wollen Sie trotzdem fortfahren?");
            if (msgBox(question, Mb::OkCancel + Mb::Question) != Mb::Ok)
                return;
        }
        if (m_currentDotFile == kEmptyDocument) {
            msgBox(QStringLiteral("Ein leeres Dokument hat keine Textmarken, die ausgelesen "
                                  "werden könnten!"),
                   Mb::OkOnly + Mb::Exclamation);
            return;
        }
        setStatus(QStringLiteral("Verbindung zu Word herstellen..."));
        // Any failure is said, with its reason, and leaves the rows as they were: the user
        // agreed to lose them for the template's bookmarks, not for nothing.
        const auto refuse = [&](const QString& reason) {
            setStatus(QStringLiteral("Bereit"));
            ui().beep();
            msgBox(QStringLiteral("Die Textmarken der Vorlage '") + m_currentDotFile +
                       QStringLiteral("' können nicht ausgelesen werden:") + kCrLf + reason +
                       kCrLf + kCrLf +
                       QStringLiteral("Die bisherigen Zuordnungen bleiben erhalten."),
                   Mb::OkOnly + Mb::Critical);
        };
        const WordDocument document =
            m_word.CreateDocument(m_currentDotFile, chkWordVisible->isChecked(), true);
        if (!document) {
            // A damaged template is named as such; any other failure says its reason.
            if (m_word.lastErrorNumber() == DocumentError::BadTemplate) {
                setStatus(QStringLiteral("Bereit"));
                ui().beep();
                msgBox(QStringLiteral("Die Vorlagendatei '") + m_currentDotFile +
                           QStringLiteral("' ist beschädigt und kann nicht verwendet werden!") +
                           kCrLf + kCrLf + m_word.lastErrorDescription(),
                       Mb::OkOnly + Mb::Critical);
            } else {
                refuse(m_word.lastErrorDescription());
            }
            return;
        }
        setStatus(QStringLiteral("Textmarken auslesen..."));
        // The count is 16-bit: a template with more bookmarks gives 0 and a reason.
        const qint16 count = m_word.GetBookmarkCount(document);
        if (count == 0 && !m_word.lastErrorDescription().isEmpty()) {
            refuse(m_word.lastErrorDescription());
            return;
        }
        QStringList names;
        for (qint16 i = 1; i <= count; ++i)
            names.append(m_word.GetBookmarkName(document, i));
        lvwBookmarks->clear();
        const QIcon icon = ListIcons::bookmark();
        for (const QString& name : std::as_const(names)) {
            auto* item = new QTreeWidgetItem(lvwBookmarks, {name, QStringLiteral("-")});
            item->setIcon(0, icon);
        }
        m_changed = true;
        setStatus(QStringLiteral("Bereit"));
        updateEnabledStates();
    });
}

void FrmFieldAssignments::chkWordVisible_Click(bool checked)
{
    if (checked)
        return;
    const QString question =
        QStringLiteral("Achtung: wenn die Vorlagendatei Macros mit Benutzereingaben enthält,") +
        kCrLf + QStringLiteral("kann das unsichtbare Starten von Word zu einer Blockade führen!") +
        kCrLf +
        QStringLiteral("In diesem Fall müssen Sie WINWORD.EXE im Taskmanager gewaltsam beenden!") +
        kCrLf + QStringLiteral("Wollen Sie Word trotzdem unsichtbar starten?");
    if (msgBox(question, Mb::OkCancel + Mb::Question) != Mb::Ok)
        chkWordVisible->setChecked(true);
}

void FrmFieldAssignments::assignField(const QString& field)
{
    QTreeWidgetItem* row = lvwBookmarks->currentItem();
    if (!row || !row->isSelected())
        return;
    row->setText(1, field);
    m_changed = true;
}

void FrmFieldAssignments::cmdAssignOutlookField_Click()
{
    vuTrap(QStringLiteral("cmdAssignOutlookField_Click"), [&] {
        const QListWidgetItem* field = lstOutlookFields->currentItem();
        if (field && field->isSelected())
            assignField(field->text() + cboOutlookFieldCategories->currentText().right(5));
        else
            assignField(QStringLiteral("-"));
    });
}

void FrmFieldAssignments::cmdUnassignOutlookField_Click()
{
    vuTrap(QStringLiteral("cmdUnassignOutlookField_Click"),
           [&] { assignField(QStringLiteral("-")); });
}

void FrmFieldAssignments::lstOutlookFields_DblClick()
{
    if (cmdAssignOutlookField->isEnabled())
        cmdAssignOutlookField_Click();
}

void FrmFieldAssignments::cmdEditSpecialFields_Click()
{
    vuTrap(QStringLiteral("cmdEditSpecialFields_Click"), [&] {
        const QStringList entriesBefore = m_list.entries();
        {
            FrmOptions options(m_options, m_list, m_specialFieldsString, m_word, this);
            options.setCurrentTab(FrmOptions::TabSpecialFields);
            options.exec();
        }
        // A reset in the options replaced every assignment: what is shown here is stale, and
        // storing the shown rows would bring a removed template back.
        if (m_list.entries() != entriesBefore) {
            m_changed = false;
            m_currentDotFile.clear();
            lvwBookmarks->clear();
            fillDotFiles();
        }
        cboOutlookFieldCategories_Click();
    });
}

void FrmFieldAssignments::cmdHelp_Click()
{
    VuShowHelp(HelpCommand::Context, vuHelpFile(), HelpContext::FieldAssignments);
}

void FrmFieldAssignments::updateEnabledStates()
{
    const QListWidgetItem* dotFile = lstDotFiles->currentItem();
    const bool templateChosen = dotFile && !m_currentDotFile.isEmpty();
    cmdRemoveDotFile->setEnabled(templateChosen && dotFile->text() != kEmptyDocument);
    txtNewBookmark->setEnabled(templateChosen);
    cmdAddBookmark->setEnabled(templateChosen);
    cmdGetDocBookmarks->setEnabled(templateChosen);
    chkWordVisible->setEnabled(templateChosen);

    const QTreeWidgetItem* row = lvwBookmarks->currentItem();
    const bool rowChosen = row && row->isSelected();
    const QListWidgetItem* field = lstOutlookFields->currentItem();
    const bool fieldChosen = field && field->isSelected();
    cmdRemoveBookmark->setEnabled(rowChosen);
    cmdAssignOutlookField->setEnabled(rowChosen && fieldChosen);
    cmdUnassignOutlookField->setEnabled(rowChosen);
}

void FrmFieldAssignments::done(int result)
{
    if (!m_unloaded) {
        m_unloaded = true;
        vuTrap(QStringLiteral("Form_Unload"), [&] {
            storeShownRows();
            ui().setHourglass(true);
            setStatus(QStringLiteral("Word schließen..."));
            m_word.CloseWord(false);
            setStatus(QStringLiteral("Bereit"));
        });
        ui().setHourglass(false);
    }
    QDialog::done(result);
}
