#pragma once

#include <QObject>
#include <QString>

class QLocalServer;

// One running program per user: a second start hands its file (a vCard named on its command
// line, or nothing) to the running one through a local socket and ends.
//
// Protocol: one line of UTF-8, the absolute path of the file (empty: just come to the
// front), answered by "OK\n".
class SingleInstance : public QObject
{
    Q_OBJECT
public:
    // `key` names the socket; defaultKey() is one per user.
    explicit SingleInstance(QString key = defaultKey(), QObject* parent = nullptr);
    ~SingleInstance() override;

    static QString defaultKey();

    // True when a running program took the file (this start should end now).
    bool handOverToRunning(const QString& filePath, int timeoutMs = 3000);
    // Starts answering later starts. A socket left behind by a crashed run is replaced.
    // False when the socket cannot be made (the program then runs without the hand-over).
    bool listen();

Q_SIGNALS:
    // A later start handed over this file ("" when it named none).
    void fileHandedOver(const QString& filePath);

private:
    void readConnection();

    QString m_key;
    QLocalServer* m_server = nullptr;
};
