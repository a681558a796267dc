#include "contacts/CardDavSecretStore.h"

#include "util/ErrorRoutine.h"

#include <QEventLoop>
#include <QHash>
#include <QMutex>
#include <QTimer>

#ifdef ZW_HAVE_QTKEYCHAIN
#include <qt6keychain/keychain.h>
#endif

namespace
{

const QString kService = QStringLiteral("Zettelwerk CardDAV");

// Logins of this session; the fallback when no secret store answers.
QHash<QString, CardDavLogin>& sessionLogins()
{
    static QHash<QString, CardDavLogin> logins;
    return logins;
}
QMutex& sessionMutex()
{
    static QMutex m;
    return m;
}

// The stored text is the user name, a line break and the password.
QString encode(const CardDavLogin& login)
{
    return login.user + QLatin1Char('\n') + login.password;
}
CardDavLogin decode(const QString& text)
{
    const qsizetype nl = text.indexOf(QLatin1Char('\n'));
    return nl < 0 ? CardDavLogin{QString(), text} : CardDavLogin{text.left(nl), text.mid(nl + 1)};
}

#ifdef ZW_HAVE_QTKEYCHAIN
// Runs a keychain job to its end; a secret store that does not answer within a few seconds
// counts as absent.
bool runJob(QKeychain::Job& job)
{
    job.setAutoDelete(false);
    QEventLoop loop;
    QObject::connect(&job, &QKeychain::Job::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(5000, &loop, &QEventLoop::quit);
    job.start();
    loop.exec(QEventLoop::ExcludeUserInputEvents);
    return job.error() == QKeychain::NoError;
}
#endif

} // namespace

bool CardDavSecretStore::keychainBuiltIn()
{
#ifdef ZW_HAVE_QTKEYCHAIN
    return true;
#else
    return false;
#endif
}

std::optional<CardDavLogin> CardDavSecretStore::read(const QString& key) const
{
    {
        QMutexLocker lock(&sessionMutex());
        const auto it = sessionLogins().constFind(key);
        if (it != sessionLogins().cend())
            return *it;
    }
#ifdef ZW_HAVE_QTKEYCHAIN
    if (m_useKeychain) {
        QKeychain::ReadPasswordJob job(kService);
        job.setKey(key);
        if (runJob(job))
            return decode(job.textData());
    }
#endif
    return std::nullopt;
}

void CardDavSecretStore::write(const QString& key, const CardDavLogin& login) const
{
    {
        QMutexLocker lock(&sessionMutex());
        sessionLogins().insert(key, login);
    }
#ifdef ZW_HAVE_QTKEYCHAIN
    if (m_useKeychain) {
        QKeychain::WritePasswordJob job(kService);
        job.setKey(key);
        job.setTextData(encode(login));
        if (!runJob(job)) {
            VuLog(LogLevel::Info, QStringLiteral("Kein Schlüsselbund erreichbar (%1): Das Kennwort "
                                                 "gilt nur für diese Sitzung.")
                                      .arg(job.errorString()));
        }
    }
#endif
}

void CardDavSecretStore::remove(const QString& key) const
{
    {
        QMutexLocker lock(&sessionMutex());
        sessionLogins().remove(key);
    }
#ifdef ZW_HAVE_QTKEYCHAIN
    if (m_useKeychain) {
        QKeychain::DeletePasswordJob job(kService);
        job.setKey(key);
        runJob(job);
    }
#endif
}
