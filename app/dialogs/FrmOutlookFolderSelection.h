#pragma once

#include <QDialog>
#include <memory>

class OlFolder;
class OlNameSpace;
class QLabel;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

// "Outlook-Ordner auswählen": the folders of the Outlook session as a tree, each branch read
// when it is first selected. Shows the selected folder's path and the kind of its items, and
// accepts only a folder whose kind is the one asked for.
//
// Open it modally:
//     FrmOutlookFolderSelection dlg(folderObject.OutlookNameSpace(), currentPath, parent);
//     dlg.setValidMessageClass(QStringLiteral("IPM.Contact"));
//     dlg.exec();
//     if (dlg.OkPressed()) use(dlg.FullPath()); // "Persönliche Ordner\Kontakte"
class FrmOutlookFolderSelection : public QDialog
{
    Q_OBJECT
public:
    // `nameSpace`: the logged-on session whose folders are shown. `currentPath`: the folder
    // chosen so far ("Persönliche Ordner\Kontakte", "Root\" optional); its branch is opened
    // and it is selected when it exists.
    explicit FrmOutlookFolderSelection(std::shared_ptr<OlNameSpace> nameSpace,
                                       const QString& currentPath = QString(),
                                       QWidget* parent = nullptr);
    ~FrmOutlookFolderSelection() override;

    // The message class of acceptable folders ("IPM.Contact"); empty accepts any folder.
    void setValidMessageClass(const QString& messageClass);
    // The path of the chosen folder, without "Root\".
    const QString& FullPath() const { return m_fullPath; }
    // True when the dialog was left with a valid choice through OK.
    bool OkPressed() const { return m_okPressed; }

    // Removes every node of the tree.
    void ClearTree();

    // The German kind of a message class ("IPM.Contact" -> "Kontakte"); any other class is
    // shown as it is.
    static QString messageClassLabel(const QString& messageClass);

private Q_SLOTS:
    void tvTreeView_NodeClick(QTreeWidgetItem* node);
    void cmdOK_Click();

private:
    void Form_Load();
    void addSubFolders(QTreeWidgetItem* node);
    std::shared_ptr<OlFolder> folderByPath(const QString& path) const;
    void selectPath(const QString& path);

    std::shared_ptr<OlNameSpace> m_nameSpace;
    // Stored as its German label, as the folder's kind is compared by label.
    QString m_validMessageClass;
    QString m_fullPath;
    bool m_okPressed = false;
    // The node that just became current, whose following click is no second selection.
    QTreeWidgetItem* m_justSelected = nullptr;

    QTreeWidget* tvTreeView = nullptr;
    QLabel* lblPath = nullptr;
    QLabel* lblMessageClassLabel = nullptr;
    QLabel* lblMessageClass = nullptr;
    QPushButton* cmdOK = nullptr;
    QPushButton* cmdCancel = nullptr;
};
