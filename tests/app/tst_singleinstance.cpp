// The hand-over from a second start to the running program.

#include "app/SingleInstance.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLocalServer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>
#include <atomic>
#include <thread>

namespace
{

QString freshKey()
{
    return QStringLiteral("zw-test-") + QUuid::createUuid().toString(QUuid::Id128).left(12);
}

// A second start runs in its own process; here its blocking hand-over runs on a thread so
// that the running side can answer on this one.
bool handOverFromAnotherStart(const QString& key, const QString& file)
{
    std::atomic<int> result{-1};
    std::thread t([&] {
        SingleInstance second(key);
        result = second.handOverToRunning(file, 3000) ? 1 : 0;
    });
    const bool answered = QTest::qWaitFor([&] { return result != -1; }, 5000);
    Q_UNUSED(answered); // a hung hand-over is joined below and reported as false
    t.join();
    return result == 1;
}

} // namespace

class TstSingleInstance : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void handOver_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("a vCard with blanks and umlauts in its path") << "Kontakte/Jürgen Weiß .vcf";
        QTest::newRow("no file: the running program only comes to the front") << "";
    }
    void handOver()
    {
        QFETCH(QString, file);
        const QString key = freshKey();
        SingleInstance first(key);
        QVERIFY(first.listen());
        QSignalSpy spy(&first, &SingleInstance::fileHandedOver);
        QVERIFY(handOverFromAnotherStart(key, file));
        QTRY_COMPARE(spy.size(), 1);
        // A relative path is made absolute on the sending side, which knows its folder.
        QCOMPARE(spy.first().first().toString(),
                 file.isEmpty() ? QString() : QDir::current().absoluteFilePath(file));
    }

    void nobodyRunningNotEvenAfterACrash()
    {
        const QString key = freshKey();
        // Nobody listens: the start goes on as the first without waiting out the time allowed.
        QElapsedTimer t;
        t.start();
        QVERIFY(!SingleInstance(key).handOverToRunning(QStringLiteral("/tmp/x.vcf"), 3000));
        QVERIFY(t.elapsed() < 2000);
        {
            // A server that vanished without cleaning up leaves its socket file behind.
            QLocalServer crashed;
            crashed.setSocketOptions(QLocalServer::UserAccessOption);
            QVERIFY(crashed.listen(key));
            const QString path = crashed.fullServerName();
            crashed.close();
            QFile f(path);
            QVERIFY(f.open(QIODevice::WriteOnly));
        }
        SingleInstance next(key);
        QVERIFY(!next.handOverToRunning(QString(), 1000));
        QVERIFY(next.listen());
        QSignalSpy spy(&next, &SingleInstance::fileHandedOver);
        QVERIFY(handOverFromAnotherStart(key, QStringLiteral("/tmp/a.vcf")));
        QTRY_COMPARE(spy.size(), 1);
    }
};

QTEST_MAIN(TstSingleInstance)
#include "tst_singleinstance.moc"
