#include "app/SingleInstance.h"

#include "util/SystemNames.h"

#include <QCryptographicHash>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <unistd.h>

SingleInstance::SingleInstance(QString key, QObject* parent)
    : QObject(parent), m_key(std::move(key))
{
}

SingleInstance::~SingleInstance() = default;

QString SingleInstance::defaultKey()
{
    // The user id keeps two users of one machine apart; the login name alone may repeat
    // across containers sharing /tmp.
    const QByteArray who =
        QByteArray::number(qulonglong(::getuid())) + '-' + VuGetLoginName().toUtf8();
    return QStringLiteral("Zettelwerk-") +
           QString::fromLatin1(
               QCryptographicHash::hash(who, QCryptographicHash::Sha1).toHex().left(16));
}

bool SingleInstance::handOverToRunning(const QString& filePath, int timeoutMs)
{
    QLocalSocket socket;
    socket.connectToServer(m_key);
    if (!socket.waitForConnected(timeoutMs))
        return false;
    const QString absolute =
        filePath.isEmpty() ? QString() : QFileInfo(filePath).absoluteFilePath();
    socket.write(absolute.toUtf8() + '\n');
    if (!socket.waitForBytesWritten(timeoutMs))
        return false;
    // The running program confirms; without an answer it is hung, and this start runs itself.
    while (!socket.canReadLine()) {
        if (!socket.waitForReadyRead(timeoutMs))
            return false;
    }
    return socket.readLine().trimmed() == "OK";
}

bool SingleInstance::listen()
{
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(m_key)) {
        // Nobody answered on it (handOverToRunning failed first), so it is left over.
        QLocalServer::removeServer(m_key);
        if (!m_server->listen(m_key))
            return false;
    }
    connect(m_server, &QLocalServer::newConnection, this, &SingleInstance::readConnection);
    return true;
}

void SingleInstance::readConnection()
{
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            if (!socket->canReadLine())
                return;
            QByteArray line = socket->readLine();
            if (line.endsWith('\n'))
                line.chop(1);
            const QString path = QString::fromUtf8(line);
            socket->write("OK\n");
            socket->flush();
            socket->disconnectFromServer();
            Q_EMIT fileHandedOver(path);
        });
    }
}
