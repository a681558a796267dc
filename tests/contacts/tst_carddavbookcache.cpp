// File names of a book's cached cards come from the server's hrefs: every href gets its own
// file, which any file system can hold, and keeps it.

#include "contacts/CardDavBookCache.h"

#include <QSet>
#include <QTemporaryDir>
#include <QTest>

class TstCardDavBookCache : public QObject
{
    Q_OBJECT

private slots:
    void fileNames_data()
    {
        QTest::addColumn<QStringList>("hrefs");
        QTest::newRow("plain names") << QStringList{"/b/anna.vcf", "/b/bert.vcf"};
        QTest::newRow("names that differ only in case") << QStringList{"/b/A.vcf", "/b/a.vcf"};
        QTest::newRow("percent-encoded and non-ASCII")
            << QStringList{"/b/%C3%BCber%20uns.vcf", "/b/über uns.vcf", "/b/ber_uns.vcf"};
        QTest::newRow("characters a file name cannot hold")
            << QStringList{"/b/a%2Fb.vcf", "/b/a%5Cb.vcf", "/b/a%3Ab.vcf", "/b/..vcf"};
        QTest::newRow("no .vcf, trailing slash, long")
            << QStringList{"/b/1234", "/b/card/", QStringLiteral("/b/") + QString(300, u'x')};
    }
    void fileNames()
    {
        QFETCH(QStringList, hrefs);
        QTemporaryDir dir;
        CardDavBookCache cache(dir.path());
        QSet<QString> names;
        for (const QString& href : hrefs) {
            const QString path = cache.put(href, "BEGIN:VCARD\r\nEND:VCARD\r\n", "\"1\"");
            QVERIFY2(!path.isEmpty(), qPrintable(href));
            const QString name = cache.cards().value(href).file;
            QVERIFY2(name.endsWith(QLatin1String(".vcf")) && !name.startsWith(u'.') &&
                         name.size() <= 64 && !name.contains(u'/') && !name.contains(u'\\'),
                     qPrintable(name));
            names.insert(name.toLower());
        }
        QCOMPARE(names.size(), hrefs.size());
        // Written again, a card keeps its file; the metadata brings the names back.
        cache.put(hrefs.first(), "BEGIN:VCARD\r\nEND:VCARD\r\n", "\"2\"");
        QVERIFY(cache.save());
        CardDavBookCache again(dir.path());
        again.load();
        QCOMPARE(again.cards().size(), hrefs.size());
        QCOMPARE(again.cards().value(hrefs.first()).etag, QByteArray("\"2\""));
        QCOMPARE(again.cards().value(hrefs.first()).file, cache.cards().value(hrefs.first()).file);
    }
};

QTEST_GUILESS_MAIN(TstCardDavBookCache)
#include "tst_carddavbookcache.moc"
