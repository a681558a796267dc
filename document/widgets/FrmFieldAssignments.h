#pragma once

#include "document/widgets/OptionsValues.h"

#include <QDialog>
#include <QStringList>
#include <functional>

class ClsWord;
class FieldAssignmentList;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QPushButton;
class QTreeWidget;

// The field assignment dialog ("Feldzuordnung"): the templates of the assignment list, the
// bookmarks of each, and the field assigned to each bookmark. Bookmarks are typed in or read
// from the template through `word`, which the dialog quits when it closes.
//
// A template's rows are stored back into `list` when another template is chosen and when the
// dialog closes, but only after an assignment, an unassignment or a read from the template
// (rows added or removed by hand alone are not stored). Storing moves the template's entry
// to the end of the list. "Bearbeiten" opens the options dialog on its special fields tab
// with `options`, `list`, `specialFieldsString` and `word`; its OK writes `options`.
//
// Open it modally:
//     FrmFieldAssignments dlg(list, specialFieldsString, word, options, parent);
//     dlg.setUserDefinedFieldNames(namesOfTheLastContactRead); // "Firma 2|Kenn-Nr|..."
//     dlg.setStatusSink(SetStatus);
//     dlg.exec();
class FrmFieldAssignments : public QDialog
{
    Q_OBJECT
public:
    // Asks the user for a template file; empty when cancelled.
    using FileChooser =
        std::function<QString(QWidget* parent, const QString& title, const QString& filter)>;
    using StatusSink = std::function<void(const QString& text)>;

    FrmFieldAssignments(FieldAssignmentList& list, QString& specialFieldsString, ClsWord& word,
                        OptionsValues& options, QWidget* parent = nullptr);
    ~FrmFieldAssignments() override;

    // The names of the user-defined fields of the contact form read last, "|"-separated.
    void setUserDefinedFieldNames(const QString& names);
    // Where the progress texts go (the main window's status line); none by default.
    void setStatusSink(StatusSink sink);
    // Replaces the file dialog of "Hinzufügen" (tests answer without a dialog).
    void setFileChooser(FileChooser chooser);

    // The field category texts, in list order; an assignment gets the last five characters.
    static QStringList fieldCategories();
    // The fields listed under a fixed category (0, 1, 2, 5); empty for 3 and 4, which depend
    // on the contact and the special fields.
    static QStringList fixedCategoryFields(int category);

    // Closing stores the shown rows and quits the word processor.
    void done(int result) override;

private Q_SLOTS:
    void lstDotFiles_Click();
    void cboOutlookFieldCategories_Click();
    void cmdAddDotFile_Click();
    void cmdRemoveDotFile_Click();
    void cmdAddBookmark_Click();
    void cmdRemoveBookmark_Click();
    void cmdGetDocBookmarks_Click();
    void chkWordVisible_Click(bool checked);
    void cmdAssignOutlookField_Click();
    void cmdUnassignOutlookField_Click();
    void lstOutlookFields_DblClick();
    void cmdEditSpecialFields_Click();
    void cmdHelp_Click();
    void updateEnabledStates();

private:
    void buildUi();
    void Form_Load();
    void fillDotFiles();
    void storeShownRows();
    void loadRows(const QString& key);
    void setStatus(const QString& text);
    void assignField(const QString& field);

    FieldAssignmentList& m_list;
    QString& m_specialFieldsString;
    ClsWord& m_word;
    OptionsValues& m_options;
    QString m_userDefinedFieldNames;
    StatusSink m_status;
    FileChooser m_fileChooser;

    // The template whose rows are shown (its key), and whether they changed since.
    QString m_currentDotFile;
    bool m_changed = false;
    bool m_unloaded = false;

    QListWidget* lstDotFiles = nullptr;
    QPushButton* cmdAddDotFile = nullptr;
    QPushButton* cmdRemoveDotFile = nullptr;
    QTreeWidget* lvwBookmarks = nullptr;
    QLineEdit* txtNewBookmark = nullptr;
    QPushButton* cmdAddBookmark = nullptr;
    QPushButton* cmdRemoveBookmark = nullptr;
    QPushButton* cmdGetDocBookmarks = nullptr;
    QCheckBox* chkWordVisible = nullptr;
    QComboBox* cboOutlookFieldCategories = nullptr;
    QListWidget* lstOutlookFields = nullptr;
    QPushButton* cmdAssignOutlookField = nullptr;
    QPushButton* cmdUnassignOutlookField = nullptr;
    QPushButton* cmdEditSpecialFields = nullptr;
    QPushButton* cmdHelp = nullptr;
    QPushButton* cmdClose = nullptr;
};
