#include "document/LibreOfficeConnection.h"

#include "document/DocumentErrors.h"
#include "document/LibreOfficeText.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QUrl>
#include <com/sun/star/bridge/BridgeFactory.hpp>
#include <com/sun/star/connection/Connector.hpp>
#include <com/sun/star/connection/NoConnectException.hpp>
#include <com/sun/star/frame/Desktop.hpp>
#include <com/sun/star/frame/XFrames.hpp>
#include <com/sun/star/lang/DisposedException.hpp>
#include <com/sun/star/lang/XComponent.hpp>
#include <cppuhelper/bootstrap.hxx>
#include <csignal>
#include <rtl/bootstrap.hxx>
#include <sys/types.h>
#include <unistd.h>

using namespace com::sun::star;
using css::uno::Reference;
using css::uno::UNO_QUERY;
using rtl::OUString;

namespace
{

QString source()
{
    return QStringLiteral("LibreOffice Writer");
}

// The local side of UNO (type library, connector, bridge factory) is set up once per process
// from the office's own URE. Its types must include the office API (offapi.rdb), or calls
// with office types cannot be marshalled.
Reference<uno::XComponentContext> localContext(const QString& programDir)
{
    static Reference<uno::XComponentContext> context;
    static std::mutex mutex;
    std::lock_guard lock(mutex);
    if (!context.is()) {
        const QString dir = QUrl::fromLocalFile(programDir).toString();
        rtl::Bootstrap::set(OUString("URE_MORE_TYPES"),
                            toOU(dir + QStringLiteral("/types/offapi.rdb")));
        context =
            cppu::defaultBootstrap_InitialComponentContext(toOU(dir + QStringLiteral("/unorc")));
    }
    return context;
}

// soffice is a script and a launcher in front of soffice.bin: the process that really serves
// a pipe is found by its command line, which names the pipe (a name only our profile uses).
QList<qint64> officeProcesses(const QString& pipe)
{
    QList<qint64> pids;
    const QByteArray needle = "pipe,name=" + pipe.toUtf8() + ';';
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString& entry : entries) {
        bool ok = false;
        const qint64 pid = entry.toLongLong(&ok);
        if (!ok)
            continue;
        QFile cmdline(QStringLiteral("/proc/%1/cmdline").arg(pid));
        if (!cmdline.open(QIODevice::ReadOnly))
            continue;
        const QByteArray args = cmdline.readAll();
        if (args.contains(needle) && args.startsWith('/') && args.contains("soffice.bin"))
            pids.append(pid);
    }
    return pids;
}

} // namespace

QList<qint64> LibreOfficeConnection::processesServing(const QString& pipe)
{
    return officeProcesses(pipe);
}

QString LibreOfficeConnection::pipeNameFor(const QString& profileFolder)
{
    const QByteArray key = QFileInfo(profileFolder).absoluteFilePath().toUtf8() + '/' +
                           QByteArray::number(quint64(::getuid()));
    return QStringLiteral("zettelwerk_") +
           QString::fromLatin1(
               QCryptographicHash::hash(key, QCryptographicHash::Sha1).toHex().left(16));
}

LibreOfficeConnection::LibreOfficeConnection(Options options)
    : m_options(std::move(options)), m_pipe(pipeNameFor(m_options.profileFolder))
{
    m_watcher = std::thread([this] { watch(); });
}

LibreOfficeConnection::~LibreOfficeConnection()
{
    {
        std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    m_wake.notify_all();
    m_watcher.join();
    try {
        dropBridge();
    } catch (...) {
        // A bridge to an office that is gone cannot fail more than that.
    }
}

LibreOfficeConnection::Armed::Armed(LibreOfficeConnection& c, int ms) : connection(c)
{
    {
        std::lock_guard lock(c.m_mutex);
        c.m_armed = true;
        c.m_armedMs = ms;
        c.m_deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    }
    c.m_wake.notify_all();
}

LibreOfficeConnection::Armed::~Armed()
{
    std::lock_guard lock(connection.m_mutex);
    connection.m_armed = false;
}

void LibreOfficeConnection::watch()
{
    std::unique_lock lock(m_mutex);
    while (!m_stop) {
        if (!m_armed) {
            m_wake.wait(lock);
            continue;
        }
        if (m_wake.wait_until(lock, m_deadline) == std::cv_status::timeout && m_armed &&
            std::chrono::steady_clock::now() >= m_deadline) {
            m_armed = false;
            m_expired = true;
            lock.unlock();
            expire();
            lock.lock();
        }
    }
}

// Runs on the watcher thread while the caller hangs in a remote call: a hung office is killed
// (it could not be used again), and the bridge is disposed so that the call returns at once.
void LibreOfficeConnection::expire()
{
    for (const qint64 pid : officeProcesses(m_pipe))
        ::kill(pid_t(pid), SIGKILL);
    if (m_pid > 0)
        ::kill(pid_t(m_pid), SIGKILL);
    Reference<bridge::XBridge> bridge;
    {
        std::lock_guard lock(m_mutex);
        bridge = m_bridge;
    }
    try {
        Reference<lang::XComponent> component(bridge, UNO_QUERY);
        if (component.is())
            component->dispose();
    } catch (...) {
        // Disposing a bridge whose office is gone may fail; the call returns all the same.
    }
}

void LibreOfficeConnection::dropBridge()
{
    Reference<bridge::XBridge> bridge;
    {
        std::lock_guard lock(m_mutex);
        bridge = m_bridge;
        m_bridge.clear();
    }
    m_desktop.clear();
    m_remote.clear();
    Reference<lang::XComponent> component(bridge, UNO_QUERY);
    if (component.is())
        component->dispose();
}

void LibreOfficeConnection::throwMapped(const OUString& message, long failNumber,
                                        const QString& what)
{
    // Every call after the time limit passed says so, until the next connect(): the later
    // failures follow from the first.
    bool expired = false;
    {
        std::lock_guard lock(m_mutex);
        expired = m_expired;
    }
    if (expired) {
        try {
            dropBridge();
        } catch (...) {
        }
        throw ZwError(DocumentError::NotResponding,
                      QStringLiteral("LibreOffice hat %1 Sekunden lang nicht geantwortet und "
                                     "wurde beendet. Versuchen Sie es noch einmal.")
                          .arg(m_options.callTimeoutMs / 1000.0, 0, 'g', 3),
                      source());
    }
    bool gone = !m_bridge.is();
    if (!gone) {
        // A broken bridge raises DisposedException or a RuntimeException naming the bridge.
        try {
            if (m_desktop.is())
                m_desktop->getCurrentComponent();
        } catch (const uno::Exception&) {
            gone = true;
        }
    }
    if (gone) {
        try {
            dropBridge();
        } catch (...) {
        }
        throw ZwError(DocumentError::ServerGone,
                      QStringLiteral("Die Verbindung zu LibreOffice ist abgebrochen."), source());
    }
    QString text = what;
    if (!message.isEmpty())
        text += QStringLiteral(" (") + fromOU(message) + QLatin1Char(')');
    throw ZwError(failNumber, text, source());
}

bool LibreOfficeConnection::tryBridge()
{
    const Reference<uno::XComponentContext> local =
        localContext(QFileInfo(QFileInfo(m_options.soffice).canonicalFilePath()).absolutePath());
    Reference<connection::XConnection> link;
    try {
        link = connection::Connector::create(local)->connect(
            toOU(QStringLiteral("pipe,name=") + m_pipe));
    } catch (const connection::NoConnectException&) {
        return false;
    }
    Armed armed(*this, m_options.callTimeoutMs);
    try {
        Reference<bridge::XBridge> bridge = bridge::BridgeFactory::create(local)->createBridge(
            OUString(), OUString("urp"), link, nullptr);
        {
            std::lock_guard lock(m_mutex);
            m_bridge = bridge;
        }
        m_remote.set(bridge->getInstance(OUString("StarOffice.ComponentContext")), UNO_QUERY);
        if (!m_remote.is()) {
            dropBridge();
            return false;
        }
        m_desktop = frame::Desktop::create(m_remote);
        return true;
    } catch (const uno::Exception&) {
        // An office still starting up may take the connection before it can serve it.
        std::lock_guard lock(m_mutex);
        if (m_expired)
            throw;
    }
    try {
        dropBridge();
    } catch (...) {
    }
    return false;
}

bool LibreOfficeConnection::processRunning() const
{
    if (m_pid > 0 && ::kill(pid_t(m_pid), 0) == 0)
        return true;
    return !officeProcesses(m_pipe).isEmpty();
}

// A new profile would greet the user with first-start dialogs (tip of the day, what's new)
// over the first document; the profile is ours, so it starts without them.
static void seedProfile(const QString& folder)
{
    const QString settings = folder + QStringLiteral("/user/registrymodifications.xcu");
    if (QFileInfo::exists(settings))
        return;
    QDir().mkpath(folder + QStringLiteral("/user"));
    QFile file(settings);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        return;
    file.write(R"(<?xml version="1.0" encoding="UTF-8"?>
<oor:items xmlns:oor="http://openoffice.org/2001/registry" xmlns:xs="http://www.w3.org/2001/XMLSchema" xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance">
<item oor:path="/org.openoffice.Office.Common/Misc"><prop oor:name="ShowTipOfTheDay" oor:op="fuse"><value>false</value></prop></item>
<item oor:path="/org.openoffice.Office.Common/Misc"><prop oor:name="FirstRun" oor:op="fuse"><value>false</value></prop></item>
<item oor:path="/org.openoffice.Setup/Product"><prop oor:name="ooSetupLastVersion" oor:op="fuse"><value>99.0</value></prop></item>
</oor:items>
)");
}

void LibreOfficeConnection::startOffice()
{
    seedProfile(m_options.profileFolder);
    QStringList args{
        QStringLiteral("-env:UserInstallation=") +
            QUrl::fromLocalFile(QFileInfo(m_options.profileFolder).absoluteFilePath()).toString(),
        QStringLiteral("--accept=pipe,name=%1;urp;StarOffice.ComponentContext").arg(m_pipe),
        QStringLiteral("--norestore"),
        QStringLiteral("--nologo"),
        QStringLiteral("--nodefault"),
        QStringLiteral("--nolockcheck")};
    if (m_options.headless)
        args << QStringLiteral("--headless") << QStringLiteral("--invisible");
    QProcess process;
    process.setProgram(m_options.soffice);
    process.setArguments(args);
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    // The office outlives the program: documents the user finishes stay open in it.
    if (!process.startDetached(&m_pid))
        throw ZwError(DocumentError::ServerGone,
                      QStringLiteral("LibreOffice (%1) kann nicht gestartet werden.")
                          .arg(QDir::toNativeSeparators(m_options.soffice)),
                      source());
}

void LibreOfficeConnection::connect()
{
    if (m_bridge.is())
        return;
    // The bridge writes to the office's pipe without MSG_NOSIGNAL: an office that died (or
    // was killed as hung) would otherwise take this program down with SIGPIPE on the next
    // write, instead of the write failing and the office being started again.
    static const bool pipeSignalIgnored = [] {
        std::signal(SIGPIPE, SIG_IGN);
        return true;
    }();
    Q_UNUSED(pipeSignalIgnored);
    {
        std::lock_guard lock(m_mutex);
        m_expired = false;
    }
    if (tryBridge())
        return;
    startOffice();
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(m_options.startTimeoutMs);
    int quietChecks = 0;
    while (std::chrono::steady_clock::now() < deadline) {
        if (tryBridge())
            return;
        // The launcher restarts the office once after it made a new profile; only an office
        // that stays gone has failed.
        quietChecks = processRunning() ? 0 : quietChecks + 1;
        if (quietChecks >= 20)
            throw ZwError(DocumentError::ServerGone,
                          QStringLiteral("LibreOffice wurde gleich nach dem Start beendet (Profil "
                                         "\"%1\").")
                              .arg(QDir::toNativeSeparators(m_options.profileFolder)),
                          source());
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    for (const qint64 pid : officeProcesses(m_pipe))
        ::kill(pid_t(pid), SIGKILL);
    throw ZwError(DocumentError::NotResponding,
                  QStringLiteral("LibreOffice hat nach %1 Sekunden noch keine Verbindung "
                                 "angenommen.")
                      .arg(m_options.startTimeoutMs / 1000),
                  source());
}

bool LibreOfficeConnection::isAlive()
{
    if (!m_bridge.is() || !m_desktop.is())
        return false;
    try {
        call([&] { m_desktop->getCurrentComponent(); }, DocumentError::ServerGone, QString());
        return true;
    } catch (const ZwError&) {
        return false;
    }
}

void LibreOfficeConnection::release()
{
    try {
        if (m_pid > 0 && m_desktop.is()) {
            call(
                [&] {
                    if (m_desktop->getFrames()->getCount() == 0)
                        m_desktop->terminate();
                },
                DocumentError::ServerGone, QString());
        }
    } catch (...) {
        // The office may be gone already; there is nothing left to release then.
    }
    try {
        dropBridge();
    } catch (...) {
    }
    m_pid = 0;
}
