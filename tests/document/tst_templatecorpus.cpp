// Templates made by other programs (tests/data/corpus: LibreOffice, python-docx, pandoc, and
// by hand in Word's habits) filled by the engine: the text of every bookmark, its formatting,
// every marker of the template kept, and LibreOffice reading each result back line by line.
#include "OoxmlTestPackage.h"
#include "document/OoxmlEngine.h"

#include <QDirIterator>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

using namespace OoxmlTestPackage;

class TstTemplateCorpus : public QObject
{
    Q_OBJECT

    QString m_soffice;
    QString m_corpus;
    QTemporaryDir m_dir;

    // Runs LibreOffice headless with a private profile; false when it fails or hangs.
    bool convert(const QString& filter, const QString& file, const QString& outDir)
    {
        QTemporaryDir profile(QDir::tempPath() + QStringLiteral("/zw-lo-profile-XXXXXX"));
        QProcess lo;
        lo.setStandardInputFile(QProcess::nullDevice());
        lo.start(m_soffice, {QStringLiteral("-env:UserInstallation=") +
                                 QUrl::fromLocalFile(profile.path()).toString(),
                             QStringLiteral("--headless"), QStringLiteral("--convert-to"), filter,
                             QStringLiteral("--outdir"), outDir, file});
        if (!lo.waitForFinished(120000)) {
            lo.kill();
            lo.waitForFinished();
            return false;
        }
        return lo.exitStatus() == QProcess::NormalExit && lo.exitCode() == 0;
    }

    // The template of a corpus entry, made ready: converted, zipped, or as it is.
    QString templateOf(const QString& source)
    {
        const QString path = m_corpus + u'/' + source;
        if (source.endsWith(QLatin1String(".fodt"))) {
            if (!convert(QStringLiteral("dotx"), path, m_dir.path()))
                return QString();
            return m_dir.filePath(QFileInfo(source).completeBaseName() + QStringLiteral(".dotx"));
        }
        if (QFileInfo(path).isDir()) {
            Entries entries;
            QDirIterator it(path, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
            while (it.hasNext()) {
                const QString file = it.next();
                QFile f(file);
                f.open(QIODevice::ReadOnly);
                entries.push_back(
                    {QDir(path).relativeFilePath(file).toStdString(), f.readAll().toStdString()});
            }
            const QString zip = m_dir.filePath(source + QStringLiteral(".dotx"));
            return writeZip(zip, entries) ? zip : QString();
        }
        return path;
    }

    // Bookmark markers of every part, whatever its prefix and encoding.
    static int markerCount(const std::map<std::string, std::string>& entries)
    {
        int count = 0;
        for (const auto& [name, text] : entries) {
            pugi::xml_document dom;
            if (name.rfind("word/", 0) == 0 && dom.load_buffer(text.data(), text.size()))
                count += int(dom.select_nodes("//*[local-name()='bookmarkStart' or "
                                              "local-name()='bookmarkEnd']")
                                 .size());
        }
        return count;
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_soffice = QStandardPaths::findExecutable(QStringLiteral("soffice"));
        if (m_soffice.isEmpty())
            QSKIP("LibreOffice (soffice) is not installed");
        m_corpus = qEnvironmentVariable("ZW_SOURCE_DIR") + QStringLiteral("/tests/data/corpus");
        QVERIFY2(QFileInfo(m_corpus).isDir(), qPrintable(m_corpus));
    }

    void fillsAndReadsBack_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QStringList>("fills");  // bookmark=text
        QTest::addColumn<QStringList>("lines");  // whole lines LibreOffice shows, in this order
        QTest::addColumn<QStringList>("bold");   // bookmarks whose text must be bold
        QTest::addColumn<QStringList>("absent"); // text that must be nowhere in the result

        // LibreOffice reads back what Word sees: of a bookmark it wrote over two paragraphs
        // only the pair in the last one, of a repeated name only the first pair.
        QTest::newRow("LibreOffice 7.4")
            << QStringLiteral("libreoffice-brief.fodt")
            << QStringList{"Name=Max Müller",     "PLZ=10115 ",
                           "Ort=Berlin",          "Betreff=Ihre Anfrage",
                           "Datum=23.11.2026",    "Anrede=Sehr geehrter Herr Müller",
                           "Telefon=030 1234567", "VonFirma=Muster AG"}
            << QStringList{"Max Müller",
                           "Ort: 10115 Berlin (Deutschland)",
                           "Betreff Zeile eins",
                           "Ihre Anfrage",
                           "23.11.2026",
                           "Text nach dem Datum",
                           "Anrede: Sehr geehrter Herr Müller,",
                           "Telefon",
                           "030 1234567",
                           "Mit freundlichen Grüßen"}
            << QStringList{"Anrede"}
            << QStringList{"Musterstadt", "23.11.202623.11.2026", "Ihre AnfrageIhre Anfrage"};
        QTest::newRow("python-docx")
            << QStringLiteral("python-docx-brief.docx")
            << QStringList{"Firma=Muster AG", "Kunde=Herr Müller", "Preis=99,00 EUR"}
            << QStringList{"Angebot", "An: Muster AG", "Herr Müller, wir danken für Ihre Anfrage.",
                           "Preis",   "99,00 EUR",     "Gruß"}
            << QStringList{"Kunde"} << QStringList{"0,00 EUR"};
        QTest::newRow("pandoc") << QStringLiteral("pandoc-brief.docx")
                                << QStringList{"Kunde=Max Müller", "Strasse=Hauptstraße 1",
                                               "Ort=10115 Berlin", "Betrag=12,50"}
                                << QStringList{"Rechnung", "Kunde: Max Müller",
                                               "Hauptstraße 1, 10115 Berlin", "Betrag: 12,50 EUR"}
                                << QStringList{"Betrag"} << QStringList{"Kundenname", "PLZ Ort"};
        QTest::newRow("Python ElementTree: prefix ns0, UTF-16")
            << QStringLiteral("elementtree-utf16.docx")
            << QStringList{"Kunde=Max Müller", "Betrag=12,50"}
            << QStringList{"Rechnung", "Kunde: Max Müller", "Betrag: 12,50 EUR"}
            << QStringList{"Betrag"} << QStringList{"Kundenname"};
        QTest::newRow("hand-written in Word's habits")
            << QStringLiteral("word-habits")
            << QStringList{"Empfaenger=Max Müller",  "Text1=Formularwert",
                           "Kommentiert=neuer Text", "Stand=23.11.2026",
                           "Kasten=Text im Kasten",  "Kopf=Muster AG"}
            << QStringList{"An: Max Müller", "Feld: Formularwert Ende", "Notiz: neuer Text",
                           "Schlusssatz"}
            << QStringList{"Empfaenger"}
            << QStringList{"Klicken Sie hier", "Kasteninhalt",  "alter Text",
                           "FORMTEXT",         "showingPlcHdr", "w:val=\"Platzhaltertext\""};
    }
    void fillsAndReadsBack()
    {
        QFETCH(QString, source);
        QFETCH(QStringList, fills);
        QFETCH(QStringList, lines);
        QFETCH(QStringList, bold);
        QFETCH(QStringList, absent);
        const QString templatePath = templateOf(source);
        QVERIFY2(!templatePath.isEmpty(), qPrintable(source));
        const int markersBefore = markerCount(readZip(templatePath));

        OoxmlEngine engine;
        const QString out = m_dir.filePath(QFileInfo(source).completeBaseName());
        QDir().mkpath(out);
        engine.setOutputFolder(out);
        engine.open();
        auto document = engine.addDocument(templatePath);
        for (const QString& fill : fills) {
            document->goToBookmark(fill.section(u'=', 0, 0));
            document->typeText(fill.section(u'=', 1));
        }
        const QString saved = document->save();
        const auto entries = readZip(saved);
        QCOMPARE(markerCount(entries), markersBefore);

        // Each bookmark holds its text, in whichever part it lies.
        for (const QString& fill : fills)
            QCOMPARE(bookmarkTextInAnyPart(entries, fill.section(u'=', 0, 0).toUtf8().constData()),
                     fill.section(u'=', 1));
        pugi::xml_document main;
        main.load_string(entries.at("word/document.xml").c_str(), pugi::parse_default);
        for (const QString& name : bold) {
            const QString text = QStringList(fills.filter(name + u'=')).first().section(u'=', 1);
            const std::string query = "//w:r[w:t='" + text.toStdString() + "']/w:rPr/w:b";
            QVERIFY2(main.select_node(query.c_str()), qPrintable(name));
        }
        for (const auto& [part, text] : entries) {
            for (const QString& gone : absent)
                QVERIFY2(text.find(gone.toStdString()) == std::string::npos,
                         qPrintable(QString::fromStdString(part) + u':' + gone));
        }

        // LibreOffice opens the result; its text shows every line where it belongs.
        QVERIFY(convert(QStringLiteral("txt:Text (encoded):UTF8"), saved, out));
        QFile txt(out + u'/' + QFileInfo(saved).completeBaseName() + QStringLiteral(".txt"));
        QVERIFY(txt.open(QIODevice::ReadOnly));
        QString text = QString::fromUtf8(txt.readAll());
        text.remove(QChar(0xFEFF));
        const QStringList shown = text.split(QRegularExpression(QStringLiteral("\r?\n")));
        qsizetype at = 0;
        for (const QString& line : lines) {
            at = shown.indexOf(line, at);
            QVERIFY2(at >= 0, qPrintable(line + QStringLiteral("\n--- LibreOffice shows:\n") +
                                         shown.join(u'\n')));
        }
        for (const QString& gone : absent)
            QVERIFY2(!text.contains(gone), qPrintable(gone));
    }
};

QTEST_GUILESS_MAIN(TstTemplateCorpus)
#include "tst_templatecorpus.moc"
