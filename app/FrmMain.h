#pragma once

#include "contacts/ContactItem.h"
#include "contacts/OlItems.h"
#include "document/FieldAssignments.h"

#include <QMainWindow>
#include <QSet>
#include <array>
#include <functional>
#include <memory>
#include <optional>

struct AppGlobals;
class ClsOutlookVgContactFolder;
class OlApplication;
class QAction;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QDialog;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QRadioButton;
class QTabWidget;
class QTimer;
class QTreeWidget;
class QTreeWidgetItem;

// The wizard's main window: three steps on a tab control (recipient, template, options),
// the step buttons, the status line, the menu, and the transfer to the word processor.
//
// Every control carries its name as objectName. Control arrays are numbered from 0 in the
// name: optSource0/1, optAddress0..2, lblStreet0..2, lblZIP0..2, lblCity0..2,
// lblCountry0..2, optAddressOrder0/1, optAddressStyle0/1, lblAddressOrder0..8 (preview
// line 1 is lblAddressOrder0).
//
// The contact folder object (moVgContactFolder) is created on the first action that needs
// the contacts and kept until the window goes; the stores come from the settings.
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

    // The contact "open in Outlook": a vCard file handed to the program. Set before
    // Form_Load for a file named on the command line.
    void setActiveInspectorFile(const QString& path);
    // A file handed over while the program runs (dropped onto the window, or passed by a
    // second start): it becomes the open contact and is taken over at once.
    void handOverContactFile(const QString& path);

    // Tests drive the modal dialogs of the menus and the folder button: when set, the hook
    // is called with the dialog instead of exec(), and the dialog's result counts.
    using DialogHook = std::function<void(QDialog& dialog)>;
    static void setDialogHook(DialogHook hook);

    // The window that status texts go to, or nullptr.
    static FrmMain* instance();

    // Sizes of the window in pixels (the design's twips at 15 twips per pixel).
    static constexpr int kDesignWidth = 7785 / 15;
    static constexpr int kMinHeight = 7500 / 15;
    static constexpr int kDesignHeight = 8430 / 15;

protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private Q_SLOTS:
    // Frame
    void cmdNextTab_Click();
    void cmdPrevTab_Click();
    void tabMain_Click();
    void cmdAbort_Click();
    void tmrUnloadTimer_Timer();
    void mnuExtraOptions_Click();
    void mnuExtraFieldAssignments_Click();
    void mnuHelpContent_Click();
    void mnuHelpInfo_Click();
    void mnuHelpInfoWord_Click();
    // Step 1
    void cmdGetCurrentContact_Click();
    void cmdSearch_Click();
    void cmdSelectOutlookFolder_Click();
    void lvwFound_ItemClick(QTreeWidgetItem* item);
    void optAddress_Click(int index);
    // Steps 2 and 3
    void lstDotFiles_Click();
    void chkShowDotFilePath_Click();
    void optAddressOrder_Click(int index);
    void optAddressStyle_Click(int index);
    void chkTitleAndNameOnSameLine_Click();
    void chkAddNToHerr_Click();
    void chkAddEmptyLineBeforeCity_Click();
    // Transfer
    void cmdFinish_Click();

private:
    void buildUi();
    QWidget* buildStepRecipient();
    QWidget* buildStepTemplate();
    QWidget* buildStepOptions();
    void InitControls();
    // Returns true when the window may go; false defers the close (a search runs).
    bool Form_Unload();
    void Form_Resize();
    void RefreshFinishButton();
    // The template line the user selected (0-based), or -1. Only a selection counts: the
    // list's current row moves by itself when it takes the focus after a refill.
    int selectedDotFileRow() const;

    // Step 1
    bool ConnectOutlook();
    void GetCurrentContactData(bool bShowMessage);
    void ResetControls(bool bClearName);
    void ShowSelectedItemDetails();
    void searchFolder(const QString& folder, const QString& name);
    void showNewFolderProblems(const QString& folder);
    void moVgContactFolder_CheckForAbort(bool& bMustAbort);
    void moVgContactFolder_ErrorEvent(long lErrorNumber, const QString& sErrorMessage);
    QTreeWidgetItem* makeFoundRow(const ContactItem& contact, long itemIndex) const;
    QTreeWidgetItem* makeFoundRow(const OlItemRow& item, long itemIndex) const;
    // The dialogs of the "Extras" menu and of the folder button.
    void showOptionsDialog();
    void showFieldAssignmentsDialog();
    void chooseFolder();
    int runDialog(QDialog& dialog);

    // Steps 2 and 3
    void InitDotFileList();
    void RefreshAddressPreview();
    // The current contact's fields for the field resolution; empty without a contact.
    ContactFieldResolver contactResolver();

    AppGlobals& m_g;
    bool m_abort = false;
    bool m_unloaded = false;
    bool m_resizing = false;

    std::shared_ptr<OlApplication> m_olApplication;
    QString m_inspectorFile;
    // The sample folder shown while the user has set none (not saved as the user's choice).
    QString m_sampleFolderShown;
    std::unique_ptr<ClsOutlookVgContactFolder> moVgContactFolder;
    std::optional<OlItems> m_items;
    std::optional<ContactItem> m_currentContact;
    // The cards of a handed-over file of several, offered in the hit list.
    QList<ContactItem> m_handedOver;
    QSet<QString> m_shownProblems;
    qint16 m_addressType = 0;
    qint16 m_addressOrder = 0;
    qint16 m_addressStyle = 0;

    // Frame
    QTabWidget* tabMain = nullptr;
    QWidget* picBottomPanel = nullptr;
    QPushButton* cmdPrevTab = nullptr;
    QPushButton* cmdNextTab = nullptr;
    QPushButton* cmdFinish = nullptr;
    QPushButton* cmdCancel = nullptr;
    QLineEdit* txtStatus = nullptr;
    QTimer* tmrUnloadTimer = nullptr;
    QAction* mnuHelpContent = nullptr;

    // Step 1
    std::array<QRadioButton*, 2> optSource{};
    QPushButton* cmdGetCurrentContact = nullptr;
    QLineEdit* txtOutlookFolder = nullptr;
    QPushButton* cmdSelectOutlookFolder = nullptr;
    QComboBox* cboSearchName = nullptr;
    QPushButton* cmdSearch = nullptr;
    QPushButton* cmdAbort = nullptr;
    QTreeWidget* lvwFound = nullptr;
    QGroupBox* fraAddress = nullptr;
    std::array<QRadioButton*, 3> optAddress{};
    QLabel* lblName = nullptr;
    QLabel* lblCompany1 = nullptr;
    QLabel* lblCompany2 = nullptr;
    QLabel* lblCompany3 = nullptr;
    QLabel* lblPosition = nullptr;
    QLabel* lblDepartment = nullptr;
    std::array<QLabel*, 3> lblStreet{};
    std::array<QLabel*, 3> lblZIP{};
    std::array<QLabel*, 3> lblCity{};
    std::array<QLabel*, 3> lblCountry{};

    // Step 2
    QListWidget* lstDotFiles = nullptr;
    QCheckBox* chkShowDotFilePath = nullptr;
    QTreeWidget* lvwBookmarks = nullptr;

    // Step 3
    std::array<QRadioButton*, 2> optAddressOrder{};
    std::array<QRadioButton*, 2> optAddressStyle{};
    QCheckBox* chkAddNToHerr = nullptr;
    QCheckBox* chkAddEmptyLineBeforeCity = nullptr;
    QCheckBox* chkTitleAndNameOnSameLine = nullptr;
    std::array<QLabel*, 9> lblAddressOrder{};
    QLabel* lblAddressStyle = nullptr;
};

// Puts a text into the main window's status line and lets it paint at once.
void SetStatus(const QString& text);
// Switches the busy pointer; switching it on first lets pending paints through.
void SetHourglass(bool on);
