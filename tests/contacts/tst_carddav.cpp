// The address books of real CardDAV servers (Radicale, Xandikos) as public folders: found
// from the address the user gives, synced into the cache, searched there, written to.

#include "contacts/CardDavAccount.h"
#include "contacts/ClsOutlookVgContactFolder.h"
#include "tests/contacts/CardDavTestServers.h"
#include "tests/support/ScriptedUserInterface.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestFiles.h"

#include <QDirIterator>
#include <QTemporaryDir>
#include <QTest>

using namespace carddavtest;

namespace
{

const QString kPublic = QStringLiteral("Öffentliche Ordner\\Alle Öffentlichen Ordner");

QByteArray vcard(const QByteArray& uid, const QByteArray& last)
{
    return "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:" + uid + "\r\nFN:Eva " + last + "\r\nN:" + last +
           ";Eva;;;\r\nEND:VCARD\r\n";
}

} // namespace

class TstCardDav : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestEnvironment> m_env;
    std::unique_ptr<QTemporaryDir> m_dir;
    Radicale m_radicale;
    Xandikos m_xandikos;
    QList<bool> m_asked; // the `failed` flag of each login question
    QString m_password = QStringLiteral("geheim");

    CardDavSettings settings(const QString& cache, bool syncCollection = true)
    {
        CardDavSettings s;
        s.cacheDir = cache;
        s.useKeychain = false;
        s.freshForMs = 0;
        s.retryAfterFailureMs = 0;
        s.answerWithinMs = 20000; // a loaded test machine, not a slow server
        s.useSyncCollection = syncCollection;
        s.askLogin = [this](const CardDavLoginRequest& r) -> std::optional<CardDavLogin> {
            m_asked.append(r.failed);
            if (r.failed)
                return std::nullopt;
            return CardDavLogin{r.user.isEmpty() ? QStringLiteral("anna") : r.user, m_password};
        };
        return s;
    }

    std::unique_ptr<ClsOutlookVgContactFolder> session(const QString& address,
                                                       const CardDavSettings& s)
    {
        OlStoreRoots roots;
        roots.personal = m_dir->path() + QStringLiteral("/pers");
        roots.publicFolders = address;
        roots.cardDav = s;
        auto folder =
            std::make_unique<ClsOutlookVgContactFolder>(std::make_shared<OlApplication>(roots));
        folder->OutlookLogon();
        return folder;
    }

    static long hits(const std::shared_ptr<OlFolder>& folder, const QString& last)
    {
        return folder->Items().Restrict(QStringLiteral("[LastName] = '%1'").arg(last)).Count();
    }

private slots:
    void initTestCase()
    {
        m_env = std::make_unique<TestEnvironment>();
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY2(m_radicale.start(m_dir->path() + QStringLiteral("/radicale")),
                 qPrintable(m_radicale.log()));
        QVERIFY2(m_xandikos.start(m_dir->path() + QStringLiteral("/xandikos")),
                 qPrintable(m_xandikos.log()));
        m_radicale.makeBook(QStringLiteral("kanzlei"), QStringLiteral("VG-Kontakte"));
        m_radicale.makeBook(QStringLiteral("privat"), QStringLiteral("G-Privat"));
        m_radicale.makeBook(QStringLiteral("mitarbeiter"));
        QVERIFY(m_radicale.put(m_radicale.bookUrl(QStringLiteral("kanzlei")), "m.vcf",
                               vcard("m", "Müller")));
    }

    void discovery_data()
    {
        QTest::addColumn<bool>("radicale");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QStringList>("books");
        auto row = [](const char* tag, bool radicale, const char* path, const QStringList& books) {
            QTest::newRow(tag) << radicale << QString::fromLatin1(path) << books;
        };
        // Radicale names a book without a display name by its path itself.
        const QStringList all = {"anna/mitarbeiter", "G-Privat", "VG-Kontakte"};
        row("Radicale from the root (well-known)", true, "/", all);
        row("Radicale from the principal", true, "/anna/", all);
        row("Radicale from one book", true, "/anna/kanzlei/", {"VG-Kontakte"});
        row("Xandikos from the root", false, "/", {"addressbook"});
        row("Xandikos from the principal", false, "/user/", {"addressbook"});
        row("Xandikos from the home", false, "/user/contacts/", {"addressbook"});
    }
    void discovery()
    {
        QFETCH(bool, radicale);
        QFETCH(QString, path);
        QFETCH(QStringList, books);
        ScriptedUserInterface ui;
        QTemporaryDir cache;
        // The user name in the address: "http://anna@127.0.0.1:port/".
        QString address = radicale ? m_radicale.base() : m_xandikos.base();
        if (radicale)
            address.replace(QStringLiteral("://"), QStringLiteral("://anna@"));
        auto folder = session(address + path, settings(cache.path()));
        const auto parent = folder->GetFolderByPath(kPublic);
        QVERIFY(parent);
        QStringList found;
        for (const auto& f : parent->Folders())
            found.append(f->Name());
        found.sort(Qt::CaseInsensitive);
        QCOMPARE(found, books);
        // The folders are contact folders of the session.
        const auto opened = folder->OpenFolder(kPublic + QLatin1Char('\\') + books.last());
        QVERIFY(opened);
        QCOMPARE(opened->DefaultMessageClass(), QStringLiteral("IPM.Contact"));
        QVERIFY(ui.boxes().isEmpty());
    }

    // A card changed, added and deleted on the server is seen by the next search.
    void sync_data()
    {
        QTest::addColumn<bool>("radicale");
        QTest::addColumn<bool>("syncCollection");
        QTest::newRow("Radicale, sync-collection") << true << true;
        QTest::newRow("Radicale, ETags") << true << false;
        QTest::newRow("Xandikos, sync-collection") << false << true;
        QTest::newRow("Xandikos, ETags") << false << false;
    }
    void sync()
    {
        QFETCH(bool, radicale);
        QFETCH(bool, syncCollection);
        ScriptedUserInterface ui;
        QTemporaryDir cache;
        Server& host = radicale ? static_cast<Server&>(m_radicale) : m_xandikos;
        // Cards and names of their own for each row, in the one book the rows share.
        const QString row = QString::fromLatin1(QTest::currentDataTag()).left(3) +
                            (syncCollection ? QStringLiteral("S") : QStringLiteral("E"));
        const QUrl book =
            radicale ? m_radicale.bookUrl(QStringLiteral("privat")) : m_xandikos.bookUrl();
        auto put = [&](const char* name, const QString& last) {
            return host.put(book, row + name + QStringLiteral(".vcf"),
                            vcard((row + name).toUtf8(), (last + row).toUtf8()));
        };
        const auto found = [&](const std::shared_ptr<OlFolder>& folder) {
            QStringList out;
            for (const char* last : {"Adam", "Abel", "Berg", "Cornelius", "Dorn"})
                out.append(QStringLiteral("%1 %2").arg(last).arg(hits(folder, last + row)));
            return out.join(u' ');
        };
        QVERIFY(put("a", "Adam") && put("b", "Berg") && put("c", "Cornelius"));

        const QString address = radicale ? m_radicale.base() + QStringLiteral("/anna/")
                                         : m_xandikos.base() + QStringLiteral("/user/");
        auto folder = session(address, settings(cache.path(), syncCollection));
        const auto opened = folder->OpenFolder(
            kPublic + (radicale ? QStringLiteral("\\G-Privat") : QStringLiteral("\\addressbook")));
        QVERIFY(opened);
        QCOMPARE(found(opened), "Adam 1 Abel 0 Berg 1 Cornelius 1 Dorn 0");

        // Changed, added and deleted on the server.
        QVERIFY(put("a", "Abel") && put("d", "Dorn"));
        QVERIFY(host.remove(book.resolved(QUrl(row + QStringLiteral("c.vcf")))));
        const auto remote = std::dynamic_pointer_cast<CardDavBook>(opened->remote());
        QVERIFY(remote);
        QVERIFY(remote->sync());
        QCOMPARE(remote->lastStats().usedSyncCollection, syncCollection);
        QCOMPARE(remote->lastStats().fetched, 2);
        QCOMPARE(remote->lastStats().deleted, 1);
        QCOMPARE(found(opened), "Adam 0 Abel 1 Berg 1 Cornelius 0 Dorn 1");
        QCOMPARE(opened->staleNote(), QString());
        // Nothing changed since: one question to the server and no card fetched.
        QVERIFY(remote->lastStats().unchanged);
        QVERIFY(ui.boxes().isEmpty());
    }

    // Once the book's last-modified time has stood for two seconds, it alone tells
    // "unchanged" (Radicale reads every card for a ctag); a later change still moves it.
    void unchangedByLastModified()
    {
        QTemporaryDir cache;
        m_radicale.makeBook(QStringLiteral("lm"), QStringLiteral("Mitarbeiter"));
        const QUrl book = m_radicale.bookUrl(QStringLiteral("lm"));
        QVERIFY(m_radicale.put(book, "a.vcf", vcard("lm-a", "Albers")));
        CardDavAccount account(m_radicale.base() + QStringLiteral("/anna/lm/"),
                               settings(cache.path()));
        account.folders(kPublic);
        QCOMPARE(account.books().size(), 1);
        const auto remote = account.books().first();
        QVERIFY(remote->sync());
        QTest::qWait(2200);
        QVERIFY(remote->sync()); // unchanged by ctag; the time is now trusted
        QVERIFY(remote->lastStats().unchanged && !remote->lastStats().byLastModified);
        QVERIFY(remote->sync());
        QVERIFY(remote->lastStats().byLastModified);
        QVERIFY(m_radicale.put(book, "b.vcf", vcard("lm-b", "Brandt")));
        QVERIFY(remote->sync());
        QVERIFY(!remote->lastStats().unchanged);
        QCOMPARE(remote->lastStats().fetched, 1);
    }

    // With the server gone, the search runs on the cache and the note says why.
    void offlineSearchFromCache()
    {
        ScriptedUserInterface ui;
        QTemporaryDir cache, serverDir;
        Radicale server;
        QVERIFY(server.start(serverDir.path()));
        server.makeBook(QStringLiteral("vg"), QStringLiteral("VG-Kontakte"));
        QVERIFY(server.put(server.bookUrl(QStringLiteral("vg")), "w.vcf", vcard("w", "Weber")));
        const QString address = server.base() + QStringLiteral("/");
        {
            auto folder = session(address, settings(cache.path()));
            const auto opened = folder->OpenFolder("VG-Kontakte");
            QVERIFY(opened);
            QCOMPARE(hits(opened, "Weber"), 1);
            server.stop();
            QCOMPARE(hits(opened, "Weber"), 1);
            QVERIFY2(opened->staleNote().contains(QStringLiteral("veraltet")),
                     qPrintable(opened->staleNote()));
            QVERIFY(opened->staleNote().contains(QStringLiteral("nicht erreichbar")));
        }
        // A new session finds the books in the cache.
        auto folder = session(address, settings(cache.path()));
        const auto opened = folder->OpenFolder("VG-Kontakte");
        QVERIFY(opened);
        QCOMPARE(hits(opened, "Weber"), 1);
        QVERIFY(!opened->staleNote().isEmpty());
        QVERIFY(ui.boxes().isEmpty());
    }

    // Faults before anything is cached: a German message naming the server, no folders.
    void faults_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("message");
        auto row = [](const char* tag, const char* fault, const char* message) {
            QTest::newRow(tag) << QString::fromLatin1(fault) << QString::fromUtf8(message);
        };
        row("wrong password", "password", "Anmeldung am Server");
        row("server unreachable", "unreachable", "nicht erreichbar");
        row("server silent", "silent", "antwortet nicht");
        row("untrusted certificate", "tls", "Zertifikat des Servers '127.0.0.1:");
        row("response too large", "large", "zu groß");
    }
    void faults()
    {
        QFETCH(QString, fault);
        QFETCH(QString, message);
        ScriptedUserInterface ui;
        ui.setLenient(true);
        QTemporaryDir cache, serverDir;
        CardDavSettings s = settings(cache.path());
        QString address = m_radicale.base() + QStringLiteral("/");
        QTcpServer silent;
        Radicale tls;
        m_asked.clear();
        if (fault == QLatin1String("password")) {
            // A user whose login this session has not seen yet.
            m_password = QStringLiteral("falsch");
            address.replace(QStringLiteral("://"), QStringLiteral("://bert@"));
        } else if (fault == QLatin1String("unreachable")) {
            address = QStringLiteral("http://127.0.0.1:%1/").arg(freePort());
        } else if (fault == QLatin1String("silent")) {
            QVERIFY(silent.listen(QHostAddress::LocalHost, 0));
            address = QStringLiteral("http://127.0.0.1:%1/").arg(silent.serverPort());
            s.answerWithinMs = 300;
        } else if (fault == QLatin1String("tls")) {
            const QString cert = serverDir.path() + QStringLiteral("/cert.pem");
            const QString key = serverDir.path() + QStringLiteral("/key.pem");
            QProcess openssl; // its progress dots stay out of the test's output
            openssl.start(QStringLiteral("openssl"),
                          {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "1", "-subj",
                           "/CN=127.0.0.1", "-keyout", key, "-out", cert});
            QVERIFY(openssl.waitForFinished(60000) && openssl.exitCode() == 0);
            QVERIFY(tls.start(serverDir.path(), cert, key));
            address = tls.base() + QStringLiteral("/");
        } else if (fault == QLatin1String("large")) {
            s.maxResponseBytes = 100;
        }
        auto folder = session(address, s);
        QVERIFY(!folder->GetFolderByPath(kPublic + QStringLiteral("\\VG-Kontakte")));
        m_password = QStringLiteral("geheim");
        QVERIFY(!ui.boxes().isEmpty());
        QVERIFY2(ui.boxes().last().text.contains(message), qPrintable(ui.boxes().last().text));
        if (fault == QLatin1String("password"))
            QCOMPARE(m_asked, (QList<bool>{false, true}));
        // Nothing was cached that a later search could mistake for the books.
        QDirIterator files(cache.path(), {QStringLiteral("*.vcf")}, QDir::Files,
                           QDirIterator::Subdirectories);
        QVERIFY(!files.hasNext());
    }

    // Faults after a first sync: the cache is still searched, and the note says why.
    void syncFaults_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("note");
        QTest::newRow("book removed on the server") << QStringLiteral("vanished") << "nicht mehr";
        QTest::newRow("server error (a card Radicale cannot load)")
            << QStringLiteral("500") << "(500)";
        QTest::newRow("password changed on the server")
            << QStringLiteral("password") << "Anmeldung";
    }
    void syncFaults()
    {
        QFETCH(QString, fault);
        QFETCH(QString, note);
        ScriptedUserInterface ui;
        QTemporaryDir cache;
        const QString book = QStringLiteral("f") + QString::number(QTest::currentDataTag()[0]);
        const QString dir = m_radicale.makeBook(book, QStringLiteral("Ruheständler"));
        QVERIFY(m_radicale.put(m_radicale.bookUrl(book), "r.vcf", vcard("r", "Rentner")));
        auto folder = session(m_radicale.base() + QStringLiteral("/anna/"), settings(cache.path()));
        const auto opened = folder->OpenFolder("Ruheständler");
        QVERIFY(opened);
        QCOMPARE(hits(opened, "Rentner"), 1);
        if (fault == QLatin1String("vanished"))
            QVERIFY(m_radicale.remove(m_radicale.bookUrl(book)));
        else if (fault == QLatin1String("500"))
            writeFile(dir + QStringLiteral("/kaputt.vcf"),
                      "BEGIN:VCARD\r\nVERSION:3.0\r\nN:K;;;;\r\n");
        else
            m_radicale.setUsers("anna:neu\nbert:geheim2\n");
        const long found = hits(opened, "Rentner");
        // The server as it was, for the tests after this one.
        QFile::remove(dir + QStringLiteral("/kaputt.vcf"));
        m_radicale.setUsers();
        QCOMPARE(found, 1);
        QVERIFY2(opened->staleNote().contains(QStringLiteral("veraltet")) &&
                     opened->staleNote().contains(note),
                 qPrintable(opened->staleNote()));
        QVERIFY(ui.boxes().isEmpty());
    }

    // AddItem puts a new card on the server and never overwrites one there.
    void addItem()
    {
        ScriptedUserInterface ui;
        QTemporaryDir cache;
        auto folder = session(m_radicale.base() + QStringLiteral("/anna/"), settings(cache.path()));
        QVERIFY(folder->OpenFolder("VG-Kontakte"));
        QString entryId;
        QVERIFY(folder->AddItem({{"LastName", "Neumann"}, {"FirstName", "Nina"}}, {}, &entryId));
        QVERIFY(!entryId.isEmpty());
        QCOMPARE(hits(folder->openFolder(), "Neumann"), 1);
        // A session with a cache of its own finds it on the server.
        {
            QTemporaryDir otherCache;
            auto other =
                session(m_radicale.base() + QStringLiteral("/anna/"), settings(otherCache.path()));
            const auto opened = other->OpenFolder("VG-Kontakte");
            QVERIFY(opened);
            QCOMPARE(hits(opened, "Neumann"), 1);
        }

        // The same UID again: the server refuses, nothing is overwritten, the card is kept.
        ui.setLenient(true);
        const OlItems mueller = folder->openFolder()->Items().Restrict("[LastName] = 'Müller'");
        ContactItem again = *mueller.Item(1).contact();
        again.setValue(QStringLiteral("LastName"), QStringLiteral("Überschrieben"));
        QVERIFY(!folder->AddItem(again));
        QCOMPARE(ui.boxes().size(), 1);
        QVERIFY2(ui.boxes().first().text.contains(QStringLiteral("nicht überschrieben")),
                 qPrintable(ui.boxes().first().text));
        QVERIFY(ui.boxes().first().text.contains(QStringLiteral("gesichert")));
        QCOMPARE(hits(folder->openFolder(), "Überschrieben"), 0);
        QCOMPARE(hits(folder->openFolder(), "Müller"), 1);
    }

    void cleanupTestCase()
    {
        m_radicale.stop();
        m_xandikos.stop();
    }
};

QTEST_GUILESS_MAIN(TstCardDav)
#include "tst_carddav.moc"
