#pragma once

#include "contacts/ClsFilterString.h"
#include "contacts/ContactFields.h"
#include "contacts/ContactItem.h"
#include "contacts/ContactItemData.h"
#include "contacts/ContactUserProperty.h"
#include "contacts/OlApplication.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <functional>
#include <memory>
#include <utility>

// The system's one door to Outlook: the session, the open contact folder and its items, the
// active inspector, the search criteria and the events to the owner.
//
// Behind it sits the session model (OlApplication, OlNameSpace, OlFolder, OlItems, OlItem):
// on Linux the stores are folder trees of vCard files (OlStoreRoots).
//
// Events are std::function handlers (no QObject, so the class stays a plain value in Qt Core
// code and its events can pass a bool by reference). An unset handler does nothing.
//
// Errors: GetFolderByPath and OpenFolder trap their errors and report them through the error
// routine; ItemCount and GetItemByIndex pass ZwError to the caller; AddItem reports through
// the error routine (origin "AddItem") and returns false.
class ClsOutlookVgContactFolder
{
public:
    // `application`: the one the program made (store roots, inspector file). Without one a
    // default application is made on first need.
    explicit ClsOutlookVgContactFolder(std::shared_ptr<OlApplication> application = nullptr);
    // The field values call back into this object.
    ClsOutlookVgContactFolder(const ClsOutlookVgContactFolder&) = delete;
    ClsOutlookVgContactFolder& operator=(const ClsOutlookVgContactFolder&) = delete;

    // ---- Session -------------------------------------------------------------------------
    // The namespace (nullptr after OutlookLogoff).
    std::shared_ptr<OlNameSpace> OutlookNameSpace() const { return m_namespace; }
    // Creates the application when none is held and logs on. False on any error (nothing
    // is shown).
    bool OutlookLogon();
    // Logs off and drops namespace and application (the application handed in at
    // construction is taken again on the next logon).
    void OutlookLogoff();
    // The open item, or nullptr. The caller checks that its item is an "IPM.Contact".
    std::shared_ptr<OlItemWindow> GetActiveInspector();

    // ---- Folders and items ---------------------------------------------------------------
    // "Root\" is optional; an empty component ends the walk. nullptr when the path cannot be
    // walked (reported with origin "GetFolderByPath").
    std::shared_ptr<OlFolder> GetFolderByPath(const QString& sFolderPath);
    // Opens a contact folder by path, or one of the public folder names "VG-Kontakte",
    // "G-Privat", "Mitarbeiter", "Ruheständler" (exact case) below "Öffentliche
    // Ordner\Alle Öffentlichen Ordner". nullptr on failure; the previously open folder stays.
    std::shared_ptr<OlFolder> OpenFolder(const QString& sFolder);
    std::shared_ptr<OlFolder> openFolder() const { return m_folder; }
    // Items.Count of the open folder. Throws ZwError 91 without an open folder.
    long ItemCount();
    // Items(lIndex) of the open folder (1-based) as a contact. Throws ZwError 91 without an
    // open folder, 9 for an index out of range, 13 when the item is not a contact.
    ContactItem GetItemByIndex(long lIndex);
    // Problems met while reading the open folder's files (see OlFolder::problems), for the
    // wizard to show after a search; empty without an open folder.
    QStringList FolderProblems() const;

    // Creates a contact in the open folder: a new vCard 3.0 file (never over an existing
    // file) with the given Outlook properties (name, value) and user properties. False when
    // it failed (reported with origin "AddItem": no open folder, read-only folder, unknown
    // property name, write error). `entryId` receives the new item's EntryID.
    bool AddItem(const QList<std::pair<QString, QVariant>>& fieldValues,
                 const QList<ContactUserProperty>& userProperties = {}, QString* entryId = nullptr);
    bool AddItem(const ContactItem& item, QString* entryId = nullptr);

    // ---- Flags ---------------------------------------------------------------------------
    void setRaiseErrorEvents(bool on) { m_fields.setRaiseErrorEvents(on); }
    void setTitleAndNameOnSameLine(bool on) { m_fields.setTitleAndNameOnSameLine(on); }
    void setAddEmptyLineBeforeCity(bool on) { m_fields.setAddEmptyLineBeforeCity(on); }
    void setAddNToHerr(bool on) { m_fields.setAddNToHerr(on); }
    bool RaiseErrorEvents() const { return m_fields.raiseErrorEvents(); }
    bool TitleAndNameOnSameLine() const { return m_fields.titleAndNameOnSameLine(); }
    bool AddEmptyLineBeforeCity() const { return m_fields.addEmptyLineBeforeCity(); }
    bool AddNToHerr() const { return m_fields.addNToHerr(); }

    // ---- Search criteria -----------------------------------------------------------------
    const QString& StandardFieldsFilterCriteria() const { return m_criteria; }
    void setStandardFieldsFilterCriteria(const QString& criteria)
    {
        m_criteria = criteria.trimmed();
    }
    // Stores the trimmed value and composes the criteria; always returns false.
    bool SetLastnameFilter(const QString& sFilter);
    void SetCompanyFilter(const QString& sFilter, bool bSearchInAllCompanyFields);
    // Says "SetCreatedByFilter() not supported!" (critical), then stores and composes.
    void SetCreatedByFilter(const QString& sFilter);
    void SetIdCodeFilter(const QString& sFilter);
    void SetVgDepartmentsFilter(const QString& sFilter);
    void SetFairInvocationFilter(const QString& sFilter);
    void SetMailingFilter(const QString& sFilter);
    // The stored criteria, for the export.
    const QString& LastnameFilter() const { return m_lastName; }
    const QString& CompanyFilter() const { return m_company; }
    bool SearchInAllCompanyFields() const { return m_searchInAllCompanyFields; }
    const QString& CreatedByFilter() const { return m_createdBy; }
    // nullptr until SetIdCodeFilter was called.
    const ClsFilterString* IdCodeFilter() const { return m_idCode.get(); }
    const QString& VgDepartmentsFilter() const { return m_vgDepartments; }
    const QString& FairInvocationFilter() const { return m_fairInvocation; }
    const QString& MailingFilter() const { return m_mailing; }

    // ---- Events --------------------------------------------------------------------------
    using CheckForAbortHandler = std::function<void(bool& bMustAbort)>;
    // One item being written by the export: the item and the line written for it.
    using FilterMatchingHandler =
        std::function<void(const ContactItem& item, const QString& sItemData)>;
    using ErrorEventHandler = std::function<void(long lErrorNumber, const QString& sErrorMessage)>;
    void onCheckForAbort(CheckForAbortHandler handler) { m_checkForAbort = std::move(handler); }
    void onFilterMatching(FilterMatchingHandler handler) { m_filterMatching = std::move(handler); }
    void onErrorEvent(ErrorEventHandler handler) { m_errorEvent = std::move(handler); }
    // Raising, for the members of this class (and those added beside it): true when the
    // owner asks to abort.
    bool raiseCheckForAbort();
    void raiseFilterMatching(const ContactItem& item, const QString& sItemData);
    void raiseErrorEvent(long lErrorNumber, const QString& sErrorMessage);

    // ---- Field values --------------------------------------------------------------------
    // Field values and composite fields (see ContactFields); they use the layout flags above,
    // and a missing user property raises ErrorEvent while RaiseErrorEvents is set.
    QString GetFieldData(const ContactItem* itmItem, const QString& sFieldName, int eFieldType,
                         int nAddressType, int nAddressOrder, int nAddressStyle)
    {
        return m_fields.GetFieldData(itmItem, sFieldName, eFieldType, nAddressType, nAddressOrder,
                                     nAddressStyle);
    }
    bool GetItemData(const ContactItem* itmItem, ContactItemData& data)
    {
        return m_fields.GetItemData(itmItem, data);
    }
    QVariant GetUserProperty(const ContactItem* itmItem, const QString& sPropertyName)
    {
        return m_fields.GetUserProperty(itmItem, sPropertyName);
    }
    QString GetKeywordsUserProperty(const ContactItem* itmItem, const QString& sPropertyName) const
    {
        return m_fields.GetKeywordsUserProperty(itmItem, sPropertyName);
    }
    QStringList GetUserPropertyNames(const ContactItem* itmItem) const
    {
        return m_fields.GetUserPropertyNames(itmItem);
    }

private:
    std::shared_ptr<OlApplication> application();
    void composeCriteria();

    std::shared_ptr<OlApplication> m_provided;
    std::shared_ptr<OlApplication> m_application;
    std::shared_ptr<OlNameSpace> m_namespace;
    std::shared_ptr<OlFolder> m_folder;

    ContactFields m_fields;

    QString m_criteria;
    QString m_lastName;
    QString m_company;
    bool m_searchInAllCompanyFields = false;
    QString m_createdBy;
    std::unique_ptr<ClsFilterString> m_idCode;
    QString m_vgDepartments;
    QString m_fairInvocation;
    QString m_mailing;

    CheckForAbortHandler m_checkForAbort;
    FilterMatchingHandler m_filterMatching;
    ErrorEventHandler m_errorEvent;
};
