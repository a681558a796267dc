#pragma once

#include "document/widgets/OptionsValues.h"

#include <QDialog>
#include <QList>
#include <functional>

class ClsWord;
class FieldAssignmentList;
class QCheckBox;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QTabWidget;
class QTreeWidget;
class QTreeWidgetItem;

// The options dialog ("Optionen"): the general options, the word processor used in this
// run, the special fields, and the reset of all special fields and field assignments.
//
// Works on the values handed in: `values` and `specialFieldsString` are written only by OK;
// the version is set on `word` by OK (for this run only, never stored); the reset writes
// `list` and `specialFieldsString` at once, so Cancel does not undo it.
//
// Open it modally:
//     FrmOptions dlg(values, list, specialFieldsString, word, parent);
//     dlg.setCurrentTab(FrmOptions::TabSpecialFields); // optional
//     dlg.exec();  // QDialog::Accepted after OK
class FrmOptions : public QDialog
{
    Q_OBJECT
public:
    static constexpr qint16 TabGeneral = 0, TabSpecialFields = 1;

    // Asks the user for a folder, starting at `current`; empty when cancelled.
    using FolderChooser = std::function<QString(QWidget* parent, const QString& current)>;

    FrmOptions(OptionsValues& values, FieldAssignmentList& list, QString& specialFieldsString,
               ClsWord& word, QWidget* parent = nullptr);
    ~FrmOptions() override;

    // The tab shown (0-based).
    qint16 CurrentTab() const;
    void setCurrentTab(qint16 tab);

    // Replaces the folder dialog of the output folder (tests answer without a dialog).
    void setFolderChooser(FolderChooser chooser);

    // Why a folder cannot take the finished documents, as a German sentence; empty when it
    // can. An empty path means the user's documents folder, which is made when missing.
    static QString outputFolderProblem(const QString& folder);

protected:
    // Return in the name or value box sets the field instead of closing the dialog.
    bool eventFilter(QObject* watched, QEvent* event) override;

private Q_SLOTS:
    void optWordVersion_Click(int index);
    void lvwSpecialFields_ItemClick(QTreeWidgetItem* item);
    void txtFieldname_Change();
    void cmdNewField_Click();
    void cmdSetField_Click();
    void cmdDeleteField_Click();
    void cmdResetFieldAssignments_Click();
    void cmdChooseOutputFolder_Click();
    void cmdOK_Click();
    void cmdHelp_Click();

private:
    QWidget* buildGeneralTab();
    QWidget* buildSpecialFieldsTab();
    void Form_Load();
    void fillSpecialFields();
    void setEditState(bool nameEditable, bool rowChosen);
    // The version button of a version-table row; index 0 is the oldest version.
    QRadioButton* versionButton(int index) const;

    OptionsValues& m_values;
    FieldAssignmentList& m_list;
    QString& m_specialFieldsString;
    ClsWord& m_word;
    FolderChooser m_folderChooser;

    QTabWidget* tabMain = nullptr;
    QCheckBox* chkExitAfterFinished = nullptr;
    QCheckBox* chkCheckForCurrentContactAtStartup = nullptr;
    QCheckBox* chkAllowResize = nullptr;
    // One per row of the version table, newest first as the table lists them.
    QList<QRadioButton*> m_versionButtons;
    QStringList m_versions;
    QLineEdit* txtOutputFolder = nullptr;
    QPushButton* cmdChooseOutputFolder = nullptr;
    QPushButton* cmdResetFieldAssignments = nullptr;
    QTreeWidget* lvwSpecialFields = nullptr;
    QLineEdit* txtFieldname = nullptr;
    QLineEdit* txtFieldvalue = nullptr;
    QPushButton* cmdNewField = nullptr;
    QPushButton* cmdSetField = nullptr;
    QPushButton* cmdDeleteField = nullptr;
    QPushButton* cmdOK = nullptr;
    QPushButton* cmdCancel = nullptr;
    QPushButton* cmdHelp = nullptr;
};
