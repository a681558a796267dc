#include "contacts/ClsOutlookVgContactFolder.h"

#include "util/ErrorRoutine.h"
#include "util/UserInterface.h"
#include "util/ZwError.h"

namespace
{

const QString kPublicPath = QStringLiteral("Öffentliche Ordner\\Alle Öffentlichen Ordner");

// The append rule: a piece joins the text with the separator only when both are non-empty.
void appendPiece(QString& text, const QString& piece, const QString& separator)
{
    if (piece.isEmpty())
        return;
    text = text.isEmpty() ? piece
                          : text + (separator.isEmpty() ? QStringLiteral(" ") : separator) + piece;
}

QString yesNoFilterText(const QString& filter)
{
    if (filter == QLatin1String("Ja"))
        return QStringLiteral("Wahr");
    if (filter == QLatin1String("Nein"))
        return QStringLiteral("Falsch");
    return filter;
}

} // namespace

ClsOutlookVgContactFolder::ClsOutlookVgContactFolder(std::shared_ptr<OlApplication> application)
    : m_provided(std::move(application))
{
    m_fields.setFolderOpenCheck([this] { return m_folder != nullptr; });
    m_fields.setErrorEvent(
        [this](long number, const QString& message) { raiseErrorEvent(number, message); });
}

std::shared_ptr<OlApplication> ClsOutlookVgContactFolder::application()
{
    if (!m_application)
        m_application = m_provided ? m_provided : std::make_shared<OlApplication>();
    return m_application;
}

// ---- Session ---------------------------------------------------------------------------------

bool ClsOutlookVgContactFolder::OutlookLogon()
{
    try {
        m_namespace = application()->GetNamespace(QStringLiteral("MAPI"));
        m_namespace->Logon();
        return true;
    } catch (...) {
        VuLog(LogLevel::Error,
              QStringLiteral("OutlookLogon: ") + vuErrorFromCurrentException().description());
        return false;
    }
}

void ClsOutlookVgContactFolder::OutlookLogoff()
{
    try {
        if (m_namespace)
            m_namespace->Logoff();
    } catch (...) {
        // Errors are ignored here: the session is being given up anyway.
    }
    m_namespace.reset();
    m_application.reset();
    m_folder.reset();
}

std::shared_ptr<OlItemWindow> ClsOutlookVgContactFolder::GetActiveInspector()
{
    return application()->ActiveInspector();
}

// ---- Folders and items -----------------------------------------------------------------------

std::shared_ptr<OlFolder> ClsOutlookVgContactFolder::GetFolderByPath(const QString& sFolderPath)
{
    std::shared_ptr<OlFolder> result;
    vuTrap(QStringLiteral("GetFolderByPath"), [&] {
        result.reset();
        QString path = sFolderPath;
        if (path.startsWith(QLatin1String("Root\\")))
            path = path.mid(5);
        const QStringList parts = path.split(QLatin1Char('\\'));
        if (!m_namespace) {
            throw ZwError(91,
                          QStringLiteral("Objektvariable oder With-Blockvariable nicht "
                                         "festgelegt (keine Outlook-Sitzung)"),
                          QStringLiteral("GetFolderByPath"));
        }
        std::shared_ptr<OlFolder> folder = m_namespace->folder(parts.first());
        for (qsizetype i = 1; i < parts.size(); ++i) {
            if (parts[i].isEmpty())
                break;
            folder = folder->folder(parts[i]);
        }
        result = folder;
    });
    return result;
}

std::shared_ptr<OlFolder> ClsOutlookVgContactFolder::OpenFolder(const QString& sFolder)
{
    static const QStringList publicNames = {
        QStringLiteral("VG-Kontakte"), QStringLiteral("G-Privat"), QStringLiteral("Mitarbeiter"),
        QStringLiteral("Ruheständler")};
    const QString path =
        publicNames.contains(sFolder) ? kPublicPath + QLatin1Char('\\') + sFolder : sFolder;
    std::shared_ptr<OlFolder> opened;
    vuTrap(QStringLiteral("Öffnen des Ordners '") + path + QStringLiteral("'"), [&] {
        opened.reset();
        const std::shared_ptr<OlFolder> folder = GetFolderByPath(path);
        // A folder that cannot be read cannot be opened either.
        if (!folder || !folder->isReadable()) {
            if (folder)
                VuLog(LogLevel::Error, QStringLiteral("Der Ordner '%1' (%2) kann nicht gelesen "
                                                      "werden.")
                                           .arg(path, folder->diskPath()));
            ui().beep();
            msgBox(QStringLiteral("Öffnen des Ordners '") + path +
                       QStringLiteral("' nicht möglich!"),
                   Mb::OkOnly + Mb::Critical);
            return;
        }
        if (folder->DefaultMessageClass() != QLatin1String("IPM.Contact")) {
            ui().beep();
            msgBox(QStringLiteral("Der Ordner '") + path +
                       QStringLiteral("' beinhaltet keine Kontakte!"),
                   Mb::OkOnly + Mb::Exclamation);
            return;
        }
        m_folder = folder;
        opened = folder;
    });
    return opened;
}

long ClsOutlookVgContactFolder::ItemCount()
{
    if (!m_folder) {
        throw ZwError(91,
                      QStringLiteral("Objektvariable oder With-Blockvariable nicht festgelegt "
                                     "(kein Ordner geöffnet)"),
                      QStringLiteral("ItemCount"));
    }
    return m_folder->Items().Count();
}

ContactItem ClsOutlookVgContactFolder::GetItemByIndex(long lIndex)
{
    if (!m_folder) {
        throw ZwError(91,
                      QStringLiteral("Objektvariable oder With-Blockvariable nicht festgelegt "
                                     "(kein Ordner geöffnet)"),
                      QStringLiteral("GetItemByIndex"));
    }
    const OlItem item = m_folder->Items().Item(lIndex);
    if (!item.isContact()) {
        throw ZwError(13,
                      QStringLiteral("Typen unverträglich: Element %1 ist kein Kontakt (%2)")
                          .arg(lIndex)
                          .arg(item.MessageClass()),
                      QStringLiteral("GetItemByIndex"));
    }
    return *item.contact();
}

QStringList ClsOutlookVgContactFolder::FolderProblems() const
{
    return m_folder ? m_folder->problems() : QStringList();
}

bool ClsOutlookVgContactFolder::AddItem(const QList<std::pair<QString, QVariant>>& fieldValues,
                                        const QList<ContactUserProperty>& userProperties,
                                        QString* entryId)
{
    return vuTrap(QStringLiteral("AddItem"), [&] {
        ContactItem item;
        for (const auto& [name, value] : fieldValues) {
            if (!item.setValue(name, value)) {
                throw ZwError(438,
                              QStringLiteral("Objekt unterstützt diese Eigenschaft oder Methode "
                                             "nicht: %1")
                                  .arg(name),
                              QStringLiteral("AddItem"));
            }
        }
        for (const ContactUserProperty& p : userProperties)
            item.setUserProperty(p);
        if (!m_folder) {
            throw ZwError(91,
                          QStringLiteral("Objektvariable oder With-Blockvariable nicht "
                                         "festgelegt (kein Ordner geöffnet)"),
                          QStringLiteral("AddItem"));
        }
        const OlItem added = m_folder->addContact(item);
        if (entryId)
            *entryId = added.EntryID();
    });
}

bool ClsOutlookVgContactFolder::AddItem(const ContactItem& item, QString* entryId)
{
    return vuTrap(QStringLiteral("AddItem"), [&] {
        if (!m_folder) {
            throw ZwError(91,
                          QStringLiteral("Objektvariable oder With-Blockvariable nicht "
                                         "festgelegt (kein Ordner geöffnet)"),
                          QStringLiteral("AddItem"));
        }
        const OlItem added = m_folder->addContact(item);
        if (entryId)
            *entryId = added.EntryID();
    });
}

// ---- Search criteria -------------------------------------------------------------------------

void ClsOutlookVgContactFolder::composeCriteria()
{
    QString criteria;
    const QString andText = QStringLiteral(" and ");
    if (!m_lastName.isEmpty())
        appendPiece(criteria, QStringLiteral("[Lastname] = '") + m_lastName + QStringLiteral("'"),
                    andText);
    if (!m_company.isEmpty() && !m_searchInAllCompanyFields)
        appendPiece(criteria, QStringLiteral("[CompanyName] = '") + m_company + QStringLiteral("'"),
                    andText);
    // The created-by criterion has no Outlook property behind it.
    if (!m_createdBy.isEmpty())
        appendPiece(criteria, QStringLiteral("[?????] = '") + m_createdBy + QStringLiteral("'"),
                    andText);
    m_criteria = criteria;
}

bool ClsOutlookVgContactFolder::SetLastnameFilter(const QString& sFilter)
{
    m_lastName = sFilter.trimmed();
    composeCriteria();
    return false;
}

void ClsOutlookVgContactFolder::SetCompanyFilter(const QString& sFilter,
                                                 bool bSearchInAllCompanyFields)
{
    m_company = sFilter.trimmed();
    m_searchInAllCompanyFields = bSearchInAllCompanyFields;
    composeCriteria();
}

void ClsOutlookVgContactFolder::SetCreatedByFilter(const QString& sFilter)
{
    msgBox(QStringLiteral("SetCreatedByFilter() not supported!"), Mb::OkOnly + Mb::Critical);
    m_createdBy = sFilter.trimmed();
    composeCriteria();
}

void ClsOutlookVgContactFolder::SetIdCodeFilter(const QString& sFilter)
{
    if (!m_idCode) {
        m_idCode = std::make_unique<ClsFilterString>();
        m_idCode->setSeparator(QStringLiteral(";"));
    }
    m_idCode->SetFilterString(sFilter);
}

void ClsOutlookVgContactFolder::SetVgDepartmentsFilter(const QString& sFilter)
{
    const QString value = sFilter.trimmed();
    m_vgDepartments = value.isEmpty() ? QString() : QStringLiteral(";") + value;
}

void ClsOutlookVgContactFolder::SetFairInvocationFilter(const QString& sFilter)
{
    m_fairInvocation = yesNoFilterText(sFilter);
}

void ClsOutlookVgContactFolder::SetMailingFilter(const QString& sFilter)
{
    m_mailing = yesNoFilterText(sFilter);
}

// ---- Events ----------------------------------------------------------------------------------

bool ClsOutlookVgContactFolder::raiseCheckForAbort()
{
    bool abort = false;
    if (m_checkForAbort)
        m_checkForAbort(abort);
    return abort;
}

void ClsOutlookVgContactFolder::raiseFilterMatching(const ContactItem& item,
                                                    const QString& sItemData)
{
    if (m_filterMatching)
        m_filterMatching(item, sItemData);
}

void ClsOutlookVgContactFolder::raiseErrorEvent(long lErrorNumber, const QString& sErrorMessage)
{
    if (m_errorEvent)
        m_errorEvent(lErrorNumber, sErrorMessage);
}
