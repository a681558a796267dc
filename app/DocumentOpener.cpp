#include "app/DocumentOpener.h"

#include "util/ErrorRoutine.h"
#include "util/UserInterface.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

DocumentOpener::DocumentOpener(QString launcher, int waitMs)
    : m_launcher(std::move(launcher)), m_waitMs(waitMs)
{
}

QString DocumentOpener::notOpenedText(const QString& path)
{
    return QStringLiteral("Das Dokument wurde gespeichert unter:\r\n") +
           QDir::toNativeSeparators(path) +
           QStringLiteral("\r\n\r\nEs konnte nicht geöffnet werden, weil kein Programm für "
                          "Word-Dokumente (*.docx) eingerichtet ist.");
}

bool DocumentOpener::operator()(const QString& path) const
{
    if (launch(path))
        return true;
    ui().beep();
    msgBox(notOpenedText(path), Mb::OkOnly + Mb::Exclamation);
    return false;
}

bool DocumentOpener::launch(const QString& path) const
{
    const QString launcher = QStandardPaths::findExecutable(m_launcher);
    if (launcher.isEmpty()) {
        VuLog(LogLevel::Warning, QStringLiteral("'%1' nicht gefunden").arg(m_launcher));
        return false;
    }
    // The detached shell leaves the launcher's exit code in a folder that exists only while
    // this call waits; after that nobody asks, and the shell writes nothing.
    QTemporaryDir status;
    if (!status.isValid())
        return QProcess::startDetached(launcher, {path});
    const QString script = QStringLiteral("\"$0\" \"$1\" >/dev/null 2>&1; s=$?; "
                                          "[ -d \"$2\" ] && echo $s > \"$2/rc.part\" && "
                                          "mv \"$2/rc.part\" \"$2/rc\"");
    if (!QProcess::startDetached(QStringLiteral("/bin/sh"),
                                 {QStringLiteral("-c"), script, launcher, path, status.path()}))
        return false;
    QElapsedTimer waited;
    waited.start();
    QFile rc(status.filePath(QStringLiteral("rc")));
    while (waited.elapsed() < m_waitMs) {
        if (rc.exists()) {
            if (!rc.open(QIODevice::ReadOnly))
                return false;
            const int code = rc.readAll().trimmed().toInt();
            if (code != 0)
                VuLog(LogLevel::Warning, QStringLiteral("'%1' endete mit %2 für '%3'")
                                             .arg(m_launcher)
                                             .arg(code)
                                             .arg(path));
            return code == 0;
        }
        ui().doEvents();
        QThread::msleep(20);
    }
    return true;
}
