// Steps 2 and 3 of the main window: the template with its bookmarks, and the address
// options with their previews.

#include "app/FrmMain.h"

#include "app/Settings.h"
#include "app/WizardIcons.h"
#include "contacts/ClsOutlookVgContactFolder.h"
#include "document/FieldAssignmentList.h"
#include "util/ErrorRoutine.h"
#include "util/TextUtil.h"

#include <QCheckBox>
#include <QLabel>
#include <QListWidget>
#include <QSignalBlocker>
#include <QTreeWidget>

namespace
{

const QString kSampleCompany = QStringLiteral("Fima Musterfirma+Co");

} // namespace

ContactFieldResolver FrmMain::contactResolver()
{
    if (!m_currentContact || !moVgContactFolder)
        return {};
    return [this](const QString& baseName, int fieldType) {
        return moVgContactFolder->GetFieldData(&*m_currentContact, baseName, fieldType,
                                               m_addressType, m_addressOrder, m_addressStyle);
    };
}

void FrmMain::InitDotFileList()
{
    vuTrap(QStringLiteral("InitDotFileList"), [&] {
        // Refilling is no click on the list: the finish button keeps its state.
        const QSignalBlocker block(lstDotFiles);
        lstDotFiles->clear();
        const FieldAssignmentList& list = m_g.fieldAssignmentList;
        for (int i = 1; i <= list.count(); ++i) {
            const QString path = FieldAssignmentList::keyOf(list.item(i));
            lstDotFiles->addItem(chkShowDotFilePath->isChecked() ? path : VuGetFileName(path));
        }
        lvwBookmarks->clear();
    });
}

void FrmMain::lstDotFiles_Click()
{
    vuTrap(QStringLiteral("lstDotFiles_Click"), [&] {
        const int position = selectedDotFileRow() + 1;
        lvwBookmarks->clear();
        const QList<BookmarkRow> rows = LoadBookmarkList(
            m_g.fieldAssignmentList, position, true, contactResolver(), m_g.specialFieldsString);
        QList<QTreeWidgetItem*> items;
        for (const BookmarkRow& row : rows) {
            auto* item = new QTreeWidgetItem(QStringList{row.bookmark, row.field, row.value});
            item->setIcon(0, wizardIcon(QStringLiteral("Bookmark")));
            items.append(item);
        }
        lvwBookmarks->addTopLevelItems(items);
        RefreshFinishButton();
    });
}

void FrmMain::chkShowDotFilePath_Click()
{
    // Showing or hiding the folders changes no line: the chosen template stays chosen.
    const int row = selectedDotFileRow();
    InitDotFileList();
    if (row >= 0 && row < lstDotFiles->count()) {
        {
            const QSignalBlocker block(lstDotFiles);
            lstDotFiles->setCurrentRow(row);
        }
        lstDotFiles_Click();
    }
}

void FrmMain::RefreshAddressPreview()
{
    vuTrap(QStringLiteral("RefreshAddressPreview"), [&] {
        const Settings& s = m_g.settings;
        for (QLabel* l : lblAddressOrder)
            l->clear();
        if (moVgContactFolder) {
            moVgContactFolder->setTitleAndNameOnSameLine(s.TitleAndNameOnSameLine);
            moVgContactFolder->setAddNToHerr(s.AddNToHerr);
            moVgContactFolder->setAddEmptyLineBeforeCity(s.AddEmptyLineBeforeCity);
            const ContactFieldResolver item = contactResolver();
            for (int i = 1; i <= 9; ++i) {
                lblAddressOrder[i - 1]->setText(ResolveFieldText(
                    item, QString::number(i) + QStringLiteral(". Anschrift-Zeile (ZF)"),
                    m_g.specialFieldsString));
            }
        }
        if (!lblAddressOrder[0]->text().isEmpty())
            return;
        // No contact to show: a made-up one shows what the options do.
        const QString salutation = s.AddNToHerr ? QStringLiteral("Herrn") : QStringLiteral("Herr");
        QStringList nameBlock;
        if (s.TitleAndNameOnSameLine)
            nameBlock << salutation + QStringLiteral(" Mustermann");
        else
            nameBlock << salutation << QStringLiteral("Mustermann");
        QStringList lines;
        if (m_addressOrder == 1)
            lines << nameBlock << kSampleCompany;
        else
            lines << kSampleCompany << nameBlock;
        lines << QStringLiteral("Neue Straße 1");
        if (s.AddEmptyLineBeforeCity)
            lines << QString();
        lines << QStringLiteral("12345 Beispielstadt");
        for (int i = 0; i < 9; ++i)
            lblAddressOrder[i]->setText(i < lines.size() ? lines[i] : QString());
    });
}

void FrmMain::optAddressOrder_Click(int index)
{
    m_addressOrder = qint16(index);
    RefreshAddressPreview();
}

void FrmMain::optAddressStyle_Click(int index)
{
    vuTrap(QStringLiteral("optAddressStyle_Click"), [&] {
        m_addressStyle = qint16(index);
        QString text = ResolveFieldText(contactResolver(), QStringLiteral("Briefanrede+Name (ZF)"),
                                        m_g.specialFieldsString);
        if (text.isEmpty()) {
            text = index == 1 ? QStringLiteral("Lieber Herr Mustermann,")
                              : QStringLiteral("Sehr geehrter Herr Mustermann,");
        }
        lblAddressStyle->setText(text);
    });
}

void FrmMain::chkTitleAndNameOnSameLine_Click()
{
    m_g.settings.TitleAndNameOnSameLine = chkTitleAndNameOnSameLine->isChecked();
    RefreshAddressPreview();
}

void FrmMain::chkAddNToHerr_Click()
{
    m_g.settings.AddNToHerr = chkAddNToHerr->isChecked();
    RefreshAddressPreview();
}

void FrmMain::chkAddEmptyLineBeforeCity_Click()
{
    m_g.settings.AddEmptyLineBeforeCity = chkAddEmptyLineBeforeCity->isChecked();
    RefreshAddressPreview();
}
