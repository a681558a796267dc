// zettelwerk-cli searches the public folders of the settings: a folder tree, or the books of
// a CardDAV server with the password from a file.

#include "tests/cli/CliRunner.h"
#include "tests/contacts/CardDavTestServers.h"
#include "tests/support/TestEnvironment.h"

#include <QTemporaryDir>
#include <QTest>

using namespace CliRunner;

class TstCliPublicFolders : public QObject
{
    Q_OBJECT

    TestEnvironment m_env;
    QTemporaryDir m_dir;
    carddavtest::Radicale m_radicale;
    std::unique_ptr<QTemporaryDir> m_cache;

private slots:
    void initTestCase()
    {
        const QByteArray card = "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:m\r\nFN:Eva Müller\r\nN:Müller;"
                                "Eva;;;\r\nEND:VCARD\r\n";
        QVERIFY(m_radicale.start(m_dir.path() + QStringLiteral("/radicale")));
        writeFile(m_radicale.makeBook("vg", "VG-Kontakte") + "/m.vcf", card);
        writeFile(m_dir.path() + QStringLiteral("/share/VG-Kontakte/m.vcf"), card);
        writeFile(m_dir.path() + QStringLiteral("/richtig"), "geheim\n");
        writeFile(m_dir.path() + QStringLiteral("/falsch"), "falsch\n");
    }

    void search_data()
    {
        QTest::addColumn<QString>("publicFolders");
        QTest::addColumn<QString>("passwordFile");
        QTest::addColumn<bool>("freshCache");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("out");
        QTest::addColumn<QString>("err");
        const QString server = m_radicale.base().replace("://", "://anna@") + u'/';
        const QString share = m_dir.path() + QStringLiteral("/share");
        QTest::newRow("folder tree") << share << "" << true << 0 << "Müller"
                                     << "";
        QTest::newRow("CardDAV, password file") << server << "richtig" << true << 0 << "Müller"
                                                << "";
        // The books synced before are searched; the note says why the data may be old.
        QTest::newRow("CardDAV, wrong password, cached")
            << server << "falsch" << false << 0 << "Müller"
            << "Anmeldung";
        QTest::newRow("CardDAV, no password, cached") << server << "" << false << 0 << "Müller"
                                                      << "veraltet";
        QTest::newRow("CardDAV, wrong password, nothing cached")
            << server << "falsch" << true << 3 << ""
            << "Anmeldung";
        QTest::newRow("CardDAV, unreadable password file") << server << "fehlt" << true << 1 << ""
                                                           << "Kennwortdatei";
    }

    void search()
    {
        QFETCH(QString, publicFolders);
        QFETCH(QString, passwordFile);
        QFETCH(bool, freshCache);
        QFETCH(int, exitCode);
        QFETCH(QString, out);
        QFETCH(QString, err);
        if (freshCache) {
            m_cache = std::make_unique<QTemporaryDir>();
            qputenv("XDG_CACHE_HOME", QFile::encodeName(m_cache->path()));
        }
        writeSettings({{"PublicFoldersPath", publicFolders}});
        QStringList args{"--ordner", "VG-Kontakte", "--nachname", "Müller", "--liste"};
        if (!passwordFile.isEmpty())
            args << "--passwort-datei" << m_dir.path() + u'/' + passwordFile;
        const Result r = run(args);
        QVERIFY(r.finished);
        QCOMPARE(r.exitCode, exitCode);
        QVERIFY2(r.out.contains(out) && r.err.contains(err), qPrintable(r.out + r.err));
        if (err.isEmpty())
            QCOMPARE(r.err, QString());
    }
};

QTEST_GUILESS_MAIN(TstCliPublicFolders)
#include "tst_clipublicfolders.moc"
