#include "contacts/OlNameSpace.h"

#include "contacts/CardDavAccount.h"
#include "util/ErrorRoutine.h"
#include "util/ZwError.h"

#include <QDir>
#include <QFileInfo>

OlNameSpace::OlNameSpace(OlStoreRoots roots) : m_roots(std::move(roots)) {}

void OlNameSpace::Logon()
{
    m_stores.clear();
    if (!m_roots.personal.isEmpty()) {
        const QString contacts = m_roots.personal + QLatin1Char('/') + OlStoreNames::contacts();
        if (!QFileInfo::exists(m_roots.personal) && !QDir().mkpath(contacts)) {
            VuLog(LogLevel::Warning,
                  QStringLiteral("Der Ordner '%1' kann nicht angelegt werden.").arg(contacts));
        }
        m_stores.append(OlFolder::onDisk(OlStoreNames::personal(), OlStoreNames::personal(),
                                         m_roots.personal, true, false));
    }
    QList<std::shared_ptr<OlFolder>> publicChildren;
    const QString publicPath =
        OlStoreNames::publicStore() + QLatin1Char('\\') + OlStoreNames::allPublicFolders();
    if (CardDavAccount::isServerAddress(m_roots.publicFolders)) {
        // The server is asked only when its books are first listed, not at logon.
        auto account = std::make_shared<CardDavAccount>(m_roots.publicFolders, m_roots.cardDav);
        publicChildren.append(
            OlFolder::grouping(OlStoreNames::allPublicFolders(), publicPath,
                               [account, publicPath] { return account->folders(publicPath); }));
    } else if (!m_roots.publicFolders.isEmpty()) {
        const QString& path = publicPath;
        publicChildren.append(OlFolder::onDisk(OlStoreNames::allPublicFolders(), path,
                                               m_roots.publicFolders, true, false));
    }
    m_stores.append(OlFolder::grouping(OlStoreNames::publicStore(), OlStoreNames::publicStore(),
                                       publicChildren));
    if (!m_roots.samples.isEmpty() && QFileInfo(m_roots.samples).isDir()) {
        m_stores.append(OlFolder::onDisk(OlStoreNames::samples(), OlStoreNames::samples(),
                                         m_roots.samples, true, true));
    }
    m_loggedOn = true;
}

void OlNameSpace::Logoff()
{
    m_stores.clear();
    m_loggedOn = false;
}

QList<std::shared_ptr<OlFolder>> OlNameSpace::Folders() const
{
    if (!m_loggedOn) {
        throw ZwError(91, QStringLiteral("Keine Sitzung: Die Anmeldung an Outlook fehlt."),
                      QStringLiteral("NameSpace"));
    }
    return m_stores;
}

std::shared_ptr<OlFolder> OlNameSpace::folder(const QString& name) const
{
    const QList<std::shared_ptr<OlFolder>> stores = Folders();
    for (const auto& s : stores) {
        if (s->Name() == name)
            return s;
    }
    for (const auto& s : stores) {
        if (s->Name().compare(name, Qt::CaseInsensitive) == 0)
            return s;
    }
    throw ZwError(-2147221233, QStringLiteral("Der Ordner '%1' wurde nicht gefunden.").arg(name),
                  QStringLiteral("Folders"));
}
