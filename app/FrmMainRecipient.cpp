// Step 1 of the main window: the recipient, taken over from the open contact or found by
// last name in a contact folder.

#include "app/FrmMain.h"

#include "app/Settings.h"
#include "app/WizardIcons.h"
#include "app/dialogs/FrmCardDavLogin.h"
#include "app/dialogs/FrmOutlookFolderSelection.h"
#include "contacts/ClsOutlookVgContactFolder.h"
#include "contacts/OlItemWindow.h"
#include "contacts/VCardReader.h"
#include "util/ErrorRoutine.h"
#include "util/UserInterface.h"
#include "util/ZwError.h"
#include "util/widgets/SmartComboBox.h"

#include <QComboBox>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTreeWidget>

namespace
{

// Data roles of a hit list row.
constexpr int kEntryIdRole = Qt::UserRole;
constexpr int kItemIndexRole = Qt::UserRole + 1;

// Rows reach the list in batches: inserting them one by one lets the list lay out all its
// rows again after every insertion, which for a folder of many thousand contacts costs
// far more than the search itself.
constexpr int kRowFlushMs = 100;

// Error number of an operation the user broke off (VB's "Benutzerunterbrechung").
constexpr long kUserInterrupt = 18;

QString text(const ContactItem& c, const char* property)
{
    return c.value(QString::fromLatin1(property)).toString();
}

// Every readable card of a vCard file, in file order.
QList<ContactItem> cardsOfFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const VCardReader::Result r = VCardReader::read(file.readAll());
    QList<ContactItem> cards;
    for (int i = 0; i < r.cards.size(); ++i)
        cards.append(ContactItem(r.cards[i], path, i));
    return cards;
}

} // namespace

void FrmMain::setActiveInspectorFile(const QString& path)
{
    m_inspectorFile = path;
    if (m_olApplication)
        m_olApplication->setActiveInspectorFile(path);
}

void FrmMain::handOverContactFile(const QString& path)
{
    setActiveInspectorFile(path);
    if (cmdAbort->isEnabled())
        return; // a search runs; the file is taken with "Übernehmen" afterwards
    tabMain->setCurrentIndex(0);
    GetCurrentContactData(true);
}

bool FrmMain::ConnectOutlook()
{
    if (moVgContactFolder)
        return true;
    bool result = false;
    vuTrap(QStringLiteral("Fehler bei Outlook-Logon"), [&] {
        SetStatus(QStringLiteral("Verbindung zu Outlook herstellen..."));
        SetHourglass(true);
        if (!m_olApplication) {
            OlStoreRoots roots = OlStoreRoots::defaults(m_g.settings.PublicFoldersPath);
            roots.cardDav.askLogin = [this](const CardDavLoginRequest& request) {
                return FrmCardDavLogin::ask(request, this);
            };
            m_olApplication = std::make_shared<OlApplication>(roots);
            m_olApplication->setActiveInspectorFile(m_inspectorFile);
        }
        moVgContactFolder = std::make_unique<ClsOutlookVgContactFolder>(m_olApplication);
        moVgContactFolder->setRaiseErrorEvents(true);
        moVgContactFolder->setTitleAndNameOnSameLine(m_g.settings.TitleAndNameOnSameLine);
        moVgContactFolder->setAddNToHerr(m_g.settings.AddNToHerr);
        moVgContactFolder->setAddEmptyLineBeforeCity(m_g.settings.AddEmptyLineBeforeCity);
        moVgContactFolder->onCheckForAbort(
            [this](bool& bMustAbort) { moVgContactFolder_CheckForAbort(bMustAbort); });
        moVgContactFolder->onErrorEvent([this](long number, const QString& message) {
            moVgContactFolder_ErrorEvent(number, message);
        });
        if (moVgContactFolder->OutlookLogon()) {
            SetStatus(QStringLiteral("Bereit"));
            result = true;
        } else {
            SetStatus(QStringLiteral("Keine Verbindung zu Outlook"));
            moVgContactFolder.reset();
        }
        SetHourglass(false);
    });
    if (!result)
        moVgContactFolder.reset();
    return result;
}

void FrmMain::moVgContactFolder_ErrorEvent(long lErrorNumber, const QString& sErrorMessage)
{
    // Most contacts lack the optional form fields ("Firma 2", ...): that is no news for the
    // user, only for the log.
    VuLog(LogLevel::Info, QStringLiteral("%1 (%2)").arg(sErrorMessage).arg(lErrorNumber));
}

void FrmMain::cmdGetCurrentContact_Click()
{
    GetCurrentContactData(true);
}

void FrmMain::GetCurrentContactData(bool bShowMessage)
{
    vuTrap(QStringLiteral("GetCurrentContactData"), [&] {
        optSource[0]->setChecked(true);
        ResetControls(false);
        RefreshFinishButton();
        if (!ConnectOutlook())
            return;
        const std::shared_ptr<OlItemWindow> inspector = moVgContactFolder->GetActiveInspector();
        if (inspector) {
            OlItem item = inspector->CurrentItem();
            if (item.isContact()) {
                // A file of several cards: all of them are offered, the user picks one.
                m_handedOver = cardsOfFile(inspector->filePath());
                if (m_handedOver.size() > 1) {
                    QList<QTreeWidgetItem*> rows;
                    for (int i = 0; i < m_handedOver.size(); ++i)
                        rows.append(makeFoundRow(m_handedOver[i], i + 1));
                    lvwFound->addTopLevelItems(rows);
                    return;
                }
                m_handedOver.clear();
                m_currentContact = *item.contact();
                QTreeWidgetItem* row = makeFoundRow(*m_currentContact, 0);
                lvwFound->addTopLevelItem(row);
                lvwFound->setCurrentItem(row);
                ShowSelectedItemDetails();
                return;
            }
        }
        if (bShowMessage) {
            ui().beep();
            msgBox(QStringLiteral("Aktuell ist kein Kontaktelement geöffnet!\r\n\r\n"
                                  "Öffnen Sie in Outlook das gewünschte Kontaktelement und "
                                  "versuchen es erneut\r\n"
                                  "oder suchen Sie es mit der Option 'Kontakt suchen'"),
                   Mb::Exclamation);
        }
    });
}

void FrmMain::ResetControls(bool bClearName)
{
    vuTrap(QStringLiteral("ResetControls"), [&] {
        if (bClearName)
            cboSearchName->setEditText(QString());
        lvwFound->clear();
        m_items.reset();
        m_handedOver.clear();
        for (QLabel* l :
             {lblName, lblCompany1, lblCompany2, lblCompany3, lblPosition, lblDepartment})
            l->clear();
        for (int i = 0; i < 3; ++i) {
            lblStreet[i]->clear();
            lblZIP[i]->clear();
            lblCity[i]->clear();
            lblCountry[i]->clear();
        }
        optAddress[0]->setChecked(true);
        optAddress_Click(0);
    });
}

QTreeWidgetItem* FrmMain::makeFoundRow(const ContactItem& contact, long itemIndex) const
{
    return makeFoundRow(OlItemRow::of(OlItem(contact)), itemIndex);
}

QTreeWidgetItem* FrmMain::makeFoundRow(const OlItemRow& item, long itemIndex) const
{
    auto* row = new QTreeWidgetItem(
        QStringList{item.fileAs, item.lastName, item.firstName, item.companyName});
    const QString icon =
        item.lastName.isEmpty() ? QStringLiteral("VirtualPerson") : QStringLiteral("Person");
    row->setIcon(0, wizardIcon(icon));
    row->setData(0, kEntryIdRole, item.entryId);
    row->setData(0, kItemIndexRole, qlonglong(itemIndex));
    return row;
}

void FrmMain::cmdSearch_Click()
{
    vuTrap(QStringLiteral("Suchen"), [&] {
        optSource[1]->setChecked(true);
        ResetControls(false);
        RefreshFinishButton();
        const QString folder = txtOutlookFolder->text().trimmed();
        if (folder.isEmpty()) {
            msgBox(QStringLiteral("Kein Outlook-Ordner angegeben!"), Mb::Exclamation);
            cmdSelectOutlookFolder->setFocus();
            return;
        }
        const QString name = cboSearchName->currentText().trimmed();
        AddComboText(cboSearchName);
        SaveComboHistory(cboSearchName, m_g.registry.get(), QString(),
                         m_g.settings.MaxSearchHistory);
        if (name.isEmpty()) {
            const int answer = msgBox(
                QStringLiteral("Kein zu suchender Name angegeben!\r\n"
                               "Wenn kein Name angegeben ist, kann der Suchvorgang u.U. lange "
                               "dauern\r\n"
                               "und die Trefferliste sehr umfangreich werden!\r\n\r\n"
                               "Wollen Sie trotzdem fortfahren?"),
                Mb::OkCancel + Mb::Question);
            if (answer != Mb::Ok) {
                cboSearchName->setFocus();
                return;
            }
        }
        if (!ConnectOutlook())
            return;
        searchFolder(folder, name);
    });
}

void FrmMain::searchFolder(const QString& folder, const QString& name)
{
    m_abort = false;
    cmdAbort->setEnabled(true);
    cmdSearch->setEnabled(false);
    // Taking over the open contact resets the items this loop walks.
    cmdGetCurrentContact->setEnabled(false);
    SetHourglass(true);
    SetStatus(QStringLiteral("Suchen..."));
    // The buttons come back also when the search fails, so that the window can be closed.
    struct Restore {
        FrmMain* w;
        std::shared_ptr<OlFolder> folder;
        ~Restore()
        {
            w->cmdAbort->setEnabled(false);
            w->cmdSearch->setEnabled(true);
            w->cmdGetCurrentContact->setEnabled(true);
            SetHourglass(false);
            // A server that did not answer: the hits come from the cache, and the user is told.
            const QString note = folder ? folder->staleNote() : QString();
            SetStatus(note.isEmpty() ? QStringLiteral("Bereit") : note);
        }
    } restore{this, nullptr};

    const std::shared_ptr<OlFolder> opened = moVgContactFolder->OpenFolder(folder);
    if (!opened)
        return;
    restore.folder = opened;
    // Reading a large folder takes a while: let the user break it off. This is the search's
    // own question, not the folder object's CheckForAbort event, whose handler announces an
    // abort under way: the status keeps "Suchen..." until somebody presses "Abbrechen".
    const OlItems::Progress progress = [this] {
        ui().doEvents();
        if (m_abort)
            SetStatus(QStringLiteral("Warten auf Abbruch..."));
        return m_abort;
    };
    const QString filter =
        name.isEmpty() ? QString() : QStringLiteral("[LastName] = '") + name + QStringLiteral("'");
    const OlItems all = opened->Items();
    try {
        OlItems items = filter.isEmpty() ? all : all.Restrict(filter, progress);
        // One pass over the files counts the items and keeps what the hit list shows, so the
        // loop below parses no card.
        items.countWithRows(progress);
        m_items = std::move(items);
    } catch (const ZwError& e) {
        if (e.number() != kUserInterrupt)
            throw;
        // Broken off while the folder was still being read: what was found until then is
        // listed all the same, at once.
        m_items = all.foundBeforeAbort(filter);
        m_abort = false;
    }

    const long count = m_items->Count();
    QList<QTreeWidgetItem*> pending;
    QElapsedTimer sinceFlush;
    sinceFlush.start();
    auto flush = [&] {
        if (pending.isEmpty())
            return;
        lvwFound->addTopLevelItems(pending);
        pending.clear();
        sinceFlush.restart();
    };
    for (long i = 1; i <= count; ++i) {
        const OlItemRow item = m_items->row(i);
        // Distribution lists share the folder with the contacts but are no recipients.
        if (item.isContact())
            pending.append(makeFoundRow(item, i));
        if (m_abort)
            break;
        if (sinceFlush.elapsed() >= kRowFlushMs)
            flush();
        ui().doEvents();
    }
    flush();
    showNewFolderProblems(opened->path());
}

void FrmMain::showNewFolderProblems(const QString& folder)
{
    QStringList fresh;
    for (const QString& p : moVgContactFolder->FolderProblems())
        if (!m_shownProblems.contains(p))
            fresh.append(p);
    if (fresh.isEmpty())
        return;
    for (const QString& p : fresh)
        m_shownProblems.insert(p);
    // One box per search, however many files are damaged.
    constexpr int kShown = 8;
    QString text = QStringLiteral("Im Ordner '%1' konnten %2 Kontakte nicht gelesen werden; sie "
                                  "fehlen in der Trefferliste:\r\n")
                       .arg(folder)
                       .arg(fresh.size());
    for (int i = 0; i < fresh.size() && i < kShown; ++i)
        text += QStringLiteral("\r\n- ") + fresh[i];
    if (fresh.size() > kShown)
        text +=
            QStringLiteral("\r\n- ... und %1 weitere (siehe Protokoll)").arg(fresh.size() - kShown);
    msgBox(text, Mb::Exclamation);
}

void FrmMain::lvwFound_ItemClick(QTreeWidgetItem* row)
{
    if (!row)
        return;
    vuTrap(QStringLiteral("lvwFound_ItemClick"), [&] {
        const long index = long(row->data(0, kItemIndexRole).toLongLong());
        // A row of a handed-over file of several cards.
        if (!m_items && index >= 1 && index <= m_handedOver.size()) {
            m_currentContact = m_handedOver[index - 1];
            ShowSelectedItemDetails();
            return;
        }
        // A row of the taken-over contact stands for no search result.
        if (!m_items)
            return;
        const OlItem item = m_items->Item(index);
        if (!item.isContact())
            return;
        m_currentContact = *item.contact();
        ShowSelectedItemDetails();
    });
}

void FrmMain::ShowSelectedItemDetails()
{
    if (!m_currentContact || !moVgContactFolder)
        return;
    const ContactItem& c = *m_currentContact;
    lblName->setText(text(c, "Title") + QLatin1Char(' ') + text(c, "FirstName") + QLatin1Char(' ') +
                     text(c, "LastName"));
    lblCompany1->setText(text(c, "CompanyName"));
    lblCompany2->setText(ContactFields::valueText(
        moVgContactFolder->GetUserProperty(&c, QStringLiteral("Firma 2"))));
    lblCompany3->setText(ContactFields::valueText(
        moVgContactFolder->GetUserProperty(&c, QStringLiteral("Firma 3"))));
    lblPosition->setText(text(c, "JobTitle"));
    lblDepartment->setText(text(c, "Department"));
    const char* kinds[] = {"Business", "Home", "Other"};
    for (int i = 0; i < 3; ++i) {
        const QString prefix = QLatin1String(kinds[i]) + QStringLiteral("Address");
        auto part = [&](const char* name) {
            return c.value(QString(prefix + QLatin1String(name))).toString();
        };
        lblStreet[i]->setText(part("Street"));
        lblZIP[i]->setText(part("PostalCode"));
        lblCity[i]->setText(part("City"));
        lblCountry[i]->setText(part("Country"));
    }
    optAddress_Click(m_addressType);
}

void FrmMain::optAddress_Click(int index)
{
    m_addressType = qint16(index);
    for (int i = 0; i < 3; ++i) {
        const bool shown = i == index;
        lblStreet[i]->setVisible(shown);
        lblZIP[i]->setVisible(shown);
        lblCity[i]->setVisible(shown);
        lblCountry[i]->setVisible(shown);
    }
}

void FrmMain::cmdSelectOutlookFolder_Click()
{
    vuTrap(QStringLiteral("cmdSelectOutlookFolder_Click"), [&] {
        if (!ConnectOutlook())
            return;
        chooseFolder();
    });
}

void FrmMain::chooseFolder()
{
    FrmOutlookFolderSelection dlg(moVgContactFolder->OutlookNameSpace(), txtOutlookFolder->text(),
                                  this);
    dlg.setValidMessageClass(QStringLiteral("IPM.Contact"));
    runDialog(dlg);
    if (dlg.OkPressed())
        txtOutlookFolder->setText(dlg.FullPath());
}
