#include "OoxmlTestPackage.h"
#include "WordXml.h"
#include "document/DocumentErrors.h"
#include "document/OoxmlEngine.h"
#include "tests/support/CaughtError.h"

#include <QCryptographicHash>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>
#include <functional>

using namespace OoxmlTestPackage;
using namespace WordXml;

namespace
{

const std::string bold = "<w:rPr><w:b/></w:rPr>";

QStringList bookmarkNames(EngineDocument& document)
{
    QStringList names;
    for (int i = 1; i <= document.bookmarkCount(); ++i)
        names.append(document.bookmarkName(i));
    return names;
}

QByteArray sha1Of(const QString& path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return QCryptographicHash::hash(file.readAll(), QCryptographicHash::Sha1);
}

} // namespace

class TstOoxmlEngine : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<OoxmlEngine> m_engine;

    QString writeTemplate(const Template& t, const QString& name = QStringLiteral("Vorlage.dotx"))
    {
        const QString path = m_dir->filePath(name);
        if (!writeZip(path, entriesOf(t)))
            qFatal("cannot write test template");
        return path;
    }
    QString outDir() const { return m_dir->filePath(QStringLiteral("out")); }
    std::map<std::string, std::string> saveAndRead(EngineDocument& document,
                                                   QString* path = nullptr)
    {
        const QString saved = document.save();
        if (path)
            *path = saved;
        return readZip(saved);
    }
    static void parse(pugi::xml_document& dom, const std::string& text)
    {
        QVERIFY(dom.load_string(text.c_str(), pugi::parse_default | pugi::parse_ws_pcdata_single |
                                                  pugi::parse_declaration));
    }
    QStringList savedParagraphs(EngineDocument& document)
    {
        pugi::xml_document main;
        parse(main, saveAndRead(document).at("word/document.xml"));
        return paragraphs(main);
    }

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QDir().mkpath(outDir());
        m_engine = std::make_unique<OoxmlEngine>();
        m_engine->setOutputFolder(outDir());
        m_engine->setSyncToDisk(false);
        m_engine->open();
    }
    void cleanup()
    {
        m_engine.reset();
        m_dir.reset();
    }

    void listsBookmarks_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("header");
        QTest::addColumn<QString>("footer");
        QTest::addColumn<QStringList>("expected");
        auto row = [](const char* tag, const std::string& body, const std::string& header,
                      const std::string& footer, const QStringList& expected) {
            QTest::newRow(tag) << QString::fromStdString(body) << QString::fromStdString(header)
                               << QString::fromStdString(footer) << expected;
        };
        row("bookmark inside a table cell",
            "<w:tbl><w:tr><w:tc>" + para(start(1, "Zelle") + run("x") + end(1)) +
                "</w:tc></w:tr></w:tbl><w:p/>",
            "", "", {"Zelle"});
        row("bookmark in a header", para(run("Text")), para(start(1, "Kopf") + end(1)), "",
            {"Kopf"});
        row("bookmark in a footer", para(start(1, "Rumpf") + end(1)), "",
            para(start(2, "Fuss") + end(2)), {"Fuss", "Rumpf"});
        row("bookmark in a text box is listed once",
            textBox(para(start(5, "Kasten") + run("alt") + end(5))), "", "", {"Kasten"});
        row("spanning runs and paragraphs, nested, collapsed",
            para(start(1, "Aussen") + run("a") + start(2, "Innen") + run("b")) +
                para(run("c") + end(2) + end(1) + start(3, "Leer") + end(3)),
            "", "", {"Aussen", "Innen", "Leer"});
        row("hidden bookmarks are left out",
            para(start(1, "_GoBack") + end(1) + start(2, "Sichtbar") + end(2) +
                 start(3, "_Toc123") + end(3)),
            "", "", {"Sichtbar"});
        row("sorted by name regardless of case, umlauts as letters",
            para(start(1, "zeta") + end(1) + start(2, "Beta") + end(2) + start(3, "alpha") +
                 end(3) + start(4, "Ärger") + end(4) + start(5, "Empfänger10") + end(5) +
                 start(6, "Empfänger2") + end(6)),
            "", "", {"alpha", "Ärger", "Beta", "Empfänger10", "Empfänger2", "zeta"});
    }
    void listsBookmarks()
    {
        QFETCH(QString, body);
        QFETCH(QString, header);
        QFETCH(QString, footer);
        QFETCH(QStringList, expected);
        Template t;
        t.body = body.toStdString();
        t.header = header.toStdString();
        t.footer = footer.toStdString();
        auto document = m_engine->addDocument(writeTemplate(t));
        QCOMPARE(bookmarkNames(*document), expected);
        QVERIFY(document->bookmarkExists(expected.first().toUpper()));
    }

    void fillsBookmark_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("bookmark");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("paragraphs");
        QTest::addColumn<QString>("inside");
        auto row = [](const char* tag, const std::string& body, const char* bookmark,
                      const QString& text, const QStringList& paragraphs, const QString& inside) {
            QTest::newRow(tag) << QString::fromStdString(body) << bookmark << text << paragraphs
                               << inside;
        };
        const std::string nested = start(1, "Aussen") + run("a") + start(2, "Innen") + run("b");
        row("collapsed bookmark gets the text inserted",
            para(run("Herrn ") + start(1, "Name") + end(1) + run("!")), "Name", "Müller",
            {"Herrn Müller!"}, "Müller");
        row("content over several runs is replaced",
            para(run("[") + start(1, "Name") + run("Vor") + run("lage") + run("text") + end(1) +
                 run("]")),
            "Name", "neu", {"[neu]"}, "neu");
        row("content over several paragraphs is replaced, paragraphs merge",
            para(run("A ") + start(1, "Text") + run("eins")) + para(run("zwei")) +
                para(run("drei") + end(1) + run(" Z")),
            "Text", "neu", {"A neu Z"}, "neu");
        row("CR LF starts paragraphs", para(start(1, "Adresse") + end(1)), "Adresse",
            "Firma\r\nHerrn\r\nMax", {"Firma", "Herrn", "Max"}, "Firma\rHerrn\rMax");
        row("CR alone and LF alone start paragraphs", para(start(1, "A") + end(1) + run(" Ende")),
            "A", "1\r2\n3", {"1", "2", "3 Ende"}, "1\r2\r3");
        row("tab becomes a tab, spaces stay", para(start(1, "T") + end(1)), "T", "  a\tb  ",
            {"  a\tb  "}, "  a\tb  ");
        row("bookmark in a table cell",
            "<w:tbl><w:tr><w:tc>" + para(start(1, "Zelle") + run("alt") + end(1)) +
                "</w:tc><w:tc>" + para(run("rechts")) + "</w:tc></w:tr></w:tbl><w:p/>",
            "Zelle", "neu", {"neu", "rechts", ""}, "neu");
        row("outer of nested bookmarks takes the inner one away", para(nested + end(2) + end(1)),
            "Aussen", "X", {"X"}, "X");
        row("inner of nested bookmarks leaves the outer around it",
            para(nested + end(2) + run("c") + end(1)), "Innen", "X", {"aXc"}, "X");
        row("overlapping bookmark shrinks to the edge",
            para(start(1, "Erst") + run("a") + start(2, "Zweit") + run("b") + end(1) + run("c") +
                 end(2)),
            "Erst", "X", {"Xc"}, "X");
        row("bookmark around whole paragraphs between them",
            para(run("vor")) + start(1, "Block") + para(run("alt1")) + para(run("alt2")) + end(1) +
                para(run("nach")),
            "Block", "neu", {"vor", "neu", "nach"}, "neu");
        row("new paragraphs copy the split paragraph's properties",
            para(start(1, "P") + end(1), "<w:pPr><w:jc w:val=\"center\"/></w:pPr>"), "P", "a\r\nb",
            {"a", "b"}, "a\rb");
        row("empty text empties the bookmark", para(run("x") + start(1, "B") + run("alt") + end(1)),
            "B", "", {"x"}, "");
        row("control characters XML cannot hold are dropped", para(start(1, "B") + end(1)), "B",
            QStringLiteral("a\x01"
                           "b\x1F"
                           "c"),
            {"abc"}, "abc");
    }
    void fillsBookmark()
    {
        QFETCH(QString, body);
        QFETCH(QString, bookmark);
        QFETCH(QString, text);
        QFETCH(QStringList, paragraphs);
        QFETCH(QString, inside);
        Template t;
        t.body = body.toStdString();
        auto document = m_engine->addDocument(writeTemplate(t));
        document->goToBookmark(bookmark.toLower()); // names are case-insensitive
        document->typeText(text);
        const auto entries = saveAndRead(*document);
        pugi::xml_document main;
        parse(main, entries.at("word/document.xml"));
        QCOMPARE(OoxmlTestPackage::paragraphs(main), paragraphs);
        QCOMPARE(bookmarkText(main, bookmark.toUtf8().constData()), inside);
        // Paragraph properties travel into every new paragraph.
        if (body.contains(QLatin1String("w:jc"))) {
            QCOMPARE(int(main.select_nodes("//w:p/w:pPr/w:jc").size()), paragraphs.size());
        }
    }

    void keepsNestedBookmark()
    {
        Template t;
        t.body =
            para(start(1, "Aussen") + run("a") + start(2, "Innen") + run("b") + end(2) + end(1));
        auto document = m_engine->addDocument(writeTemplate(t));
        document->goToBookmark("Aussen");
        document->typeText("X");
        // Filling the outer one leaves the inner one collapsed at its start, as a marker.
        QCOMPARE(document->bookmarkCount(), 2);
        document->goToBookmark("Innen");
        document->typeText("Y");
        pugi::xml_document main;
        parse(main, saveAndRead(*document).at("word/document.xml"));
        QCOMPARE(paragraphs(main), QStringList{"YX"});
        QCOMPARE(bookmarkText(main, "Aussen"), QStringLiteral("YX"));
    }

    void fillsHeaderFooterAndTextBox_data()
    {
        QTest::addColumn<QString>("part");
        QTest::addColumn<QString>("bookmark");
        QTest::newRow("header") << "word/header1.xml"
                                << "Kopf";
        QTest::newRow("footer") << "word/footer1.xml"
                                << "Fuss";
        QTest::newRow("text box, both copies") << "word/document.xml"
                                               << "Kasten";
    }
    void fillsHeaderFooterAndTextBox()
    {
        QFETCH(QString, part);
        QFETCH(QString, bookmark);
        Template t;
        t.body = textBox(para(start(5, "Kasten") + run("alt") + end(5)));
        t.header = para(run("Seite von ") + start(1, "Kopf") + end(1));
        t.footer = para(start(2, "Fuss") + run("alt") + end(2));
        auto document = m_engine->addDocument(writeTemplate(t));
        document->goToBookmark(bookmark);
        document->typeText("Firma AG");
        const auto entries = saveAndRead(*document);
        const std::string xml = entries.at(part.toStdString());
        pugi::xml_document dom;
        parse(dom, xml);
        QCOMPARE(bookmarkText(dom, bookmark.toUtf8().constData()), QStringLiteral("Firma AG"));
        QVERIFY(xml.find("alt") == std::string::npos);
        const std::size_t first = xml.find("Firma AG");
        QVERIFY(first != std::string::npos);
        if (bookmark == QLatin1String("Kasten"))
            QVERIFY(xml.find("Firma AG", first + 1) != std::string::npos);
    }

    void keepsRunFormatting_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<bool>("bold");
        QTest::newRow("bold content stays bold")
            << QString::fromStdString(para(start(1, "B") + run("alt", bold) + end(1))) << true;
        QTest::newRow("collapsed after a bold run is bold")
            << QString::fromStdString(
                   para(run("fett", bold) + start(1, "B") + end(1) + run("normal")))
            << true;
        QTest::newRow("collapsed at paragraph start takes the following run")
            << QString::fromStdString(para(start(1, "B") + end(1) + run("normal"))) << false;
        QTest::newRow("empty paragraph takes the paragraph mark's formatting")
            << QString::fromStdString(
                   para(start(1, "B") + end(1), "<w:pPr><w:rPr><w:b/></w:rPr></w:pPr>"))
            << true;
    }
    void keepsRunFormatting()
    {
        QFETCH(QString, body);
        QFETCH(bool, bold);
        Template t;
        t.body = body.toStdString();
        auto document = m_engine->addDocument(writeTemplate(t));
        document->goToBookmark("B");
        document->typeText("NEU");
        pugi::xml_document main;
        parse(main, saveAndRead(*document).at("word/document.xml"));
        const pugi::xpath_node run = main.select_node("//w:r[w:t='NEU']");
        QVERIFY(run);
        QCOMPARE(bool(run.node().child("w:rPr").child("w:b")), bold);
    }

    void keepsWhitespaceAndDeclaration()
    {
        Template t;
        t.body = para(run("a") + "<w:r><w:t xml:space=\"preserve\"> </w:t></w:r>" + run("b")) +
                 para(start(1, "B") + end(1));
        auto document = m_engine->addDocument(writeTemplate(t));
        document->goToBookmark("B");
        document->typeText(" x ");
        const std::string xml = saveAndRead(*document).at("word/document.xml");
        QVERIFY(xml.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>", 0) == 0);
        QVERIFY(xml.find("<w:t xml:space=\"preserve\"> </w:t>") != std::string::npos);
        QVERIFY(xml.find("<w:t xml:space=\"preserve\"> x </w:t>") != std::string::npos);
    }

    // Text goes on where the last text ended: at the start without a bookmark, after the
    // bookmark's new content otherwise.
    void typingContinues_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("bookmark");
        QTest::addColumn<QStringList>("texts");
        QTest::addColumn<QStringList>("paragraphs");
        QTest::newRow("at the insertion point") << QString::fromStdString(para(run("Vorlage")))
                                                << "" << QStringList{"Zeile 1\r\n", "Zeile 2\r\n"}
                                                << QStringList{"Zeile 1", "Zeile 2", "Vorlage"};
        QTest::newRow("after a filled bookmark")
            << QString::fromStdString(para(start(1, "B") + end(1) + run(" Ende"))) << "B"
            << QStringList{"eins", " zwei"} << QStringList{"eins zwei Ende"};
    }
    void typingContinues()
    {
        QFETCH(QString, body);
        QFETCH(QString, bookmark);
        QFETCH(QStringList, texts);
        Template t;
        t.body = body.toStdString();
        auto document = m_engine->addDocument(writeTemplate(t));
        if (!bookmark.isEmpty())
            document->goToBookmark(bookmark);
        for (const QString& text : texts)
            document->typeText(text);
        QTEST(savedParagraphs(*document), "paragraphs");
    }

    void blankDocumentTakesThirtyLines()
    {
        auto document = m_engine->addDocument(QString());
        QCOMPARE(document->bookmarkCount(), 0);
        QStringList lines;
        for (int n = 1; n <= 30; ++n) {
            lines.append(QStringLiteral("(%1. Zeile)").arg(n));
            document->typeText(lines.last() + QStringLiteral("\r\n"));
        }
        QString path;
        const auto entries = saveAndRead(*document, &path);
        QCOMPARE(QFileInfo(path).fileName(), QStringLiteral("Dokument.docx"));
        pugi::xml_document main;
        parse(main, entries.at("word/document.xml"));
        lines.append(QString()); // the paragraph the last line break opened
        QCOMPARE(paragraphs(main), lines);
        QVERIFY(entries.at("[Content_Types].xml").find(documentType) != std::string::npos);
        QVERIFY(entries.count("word/styles.xml"));
    }

    void protection_data()
    {
        QTest::addColumn<QString>("settings");
        QTest::addColumn<QString>("body");
        QTest::addColumn<bool>("refused");
        QTest::addColumn<bool>("protectedDocument");
        const QString plain = QString::fromStdString(para(start(1, "B") + end(1)));
        auto row = [](const char* tag, const char* edit, const char* enforcement,
                      const QString& body, bool refused, bool protectedDocument) {
            QTest::newRow(tag) << QStringLiteral("<w:documentProtection w:edit=\"%1\" "
                                                 "w:enforcement=\"%2\"/>")
                                      .arg(edit, enforcement)
                               << body << refused << protectedDocument;
        };
        row("read-only enforced", "readOnly", "1", plain, true, true);
        row("forms enforced with true", "forms", "true", plain, true, true);
        row("protection not enforced", "readOnly", "0", plain, false, false);
        row("tracked changes only", "trackedChanges", "1", plain, false, false);
        row("bookmark inside an editable range", "readOnly", "1",
            QString::fromStdString(para("<w:permStart w:id=\"9\" w:edGrp=\"everyone\"/>" +
                                        start(1, "B") + end(1) + "<w:permEnd w:id=\"9\"/>")),
            false, true);
    }
    void protection()
    {
        QFETCH(QString, settings);
        QFETCH(QString, body);
        QFETCH(bool, refused);
        QFETCH(bool, protectedDocument);
        Template t;
        t.settings = settings.toStdString();
        t.body = body.toStdString();
        auto document = m_engine->addDocument(writeTemplate(t));
        QCOMPARE(document->isProtected(), protectedDocument);
        document->goToBookmark("B");
        if (refused) {
            QCOMPARE(errorOf([&] { document->typeText("x"); }).number(), DocumentError::Protected);
            QVERIFY(!document->isDirty());
            // The caller's way on: unprotect and write once more.
            document->unprotect();
            QVERIFY(!document->isProtected());
        }
        document->typeText("x");
        const auto entries = saveAndRead(*document);
        pugi::xml_document main;
        parse(main, entries.at("word/document.xml"));
        QCOMPARE(bookmarkText(main, "B"), QStringLiteral("x"));
        const bool protectionLeft =
            entries.at("word/settings.xml").find("documentProtection") != std::string::npos;
        QCOMPARE(protectionLeft, !refused && settings.contains(QLatin1String("Protection")));
    }

    void protectedInsertionPointRefused()
    {
        Template t;
        t.settings = "<w:documentProtection w:edit=\"readOnly\" w:enforcement=\"on\"/>";
        t.body = para(run("x"));
        auto document = m_engine->addDocument(writeTemplate(t));
        QVERIFY_THROWS_EXCEPTION(ZwError, document->typeText("y"));
        document->unprotect();
        document->typeText("y");
        QCOMPARE(savedParagraphs(*document), QStringList{"yx"});
    }

    void resultIsDocument_data()
    {
        QTest::addColumn<QString>("mainType");
        QTest::addColumn<bool>("macros");
        QTest::addColumn<QString>("file");
        QTest::newRow(".dotx") << templateType << false << "Vorlage.dotx";
        QTest::newRow(".dotm with macros") << macroTemplateType << true << "Vorlage.dotm";
        QTest::newRow(".docx") << documentType << false << "Vorlage.docx";
    }
    void resultIsDocument()
    {
        QFETCH(QString, mainType);
        QFETCH(bool, macros);
        QFETCH(QString, file);
        Template t;
        const QByteArray type = mainType.toLatin1();
        t.mainType = type.constData();
        t.macros = macros;
        t.body = para(start(1, "B") + end(1));
        t.extra = {{"customXml/item1.xml", "<?xml version=\"1.0\"?><daten>unverändert</daten>"}};
        const QString templatePath = writeTemplate(t, file);
        const QByteArray before = sha1Of(templatePath);
        auto document = m_engine->addDocument(templatePath);
        document->goToBookmark("B");
        document->typeText("x");
        QString path;
        const auto entries = saveAndRead(*document, &path);
        QCOMPARE(QFileInfo(path).fileName(), QStringLiteral("Vorlage.docx"));
        QCOMPARE(sha1Of(templatePath), before);

        pugi::xml_document types;
        parse(types, entries.at("[Content_Types].xml"));
        QCOMPARE(QString::fromUtf8(types.select_node("//Override[@PartName='/word/document.xml']")
                                       .node()
                                       .attribute("ContentType")
                                       .value()),
                 QString::fromLatin1(documentType));
        const std::string all =
            entries.at("[Content_Types].xml") + entries.at("word/_rels/document.xml.rels");
        QVERIFY(all.find("vba") == std::string::npos);
        QVERIFY(all.find("template") == std::string::npos);
        for (const auto& [name, data] : entries)
            QVERIFY2(name.find("vba") == std::string::npos, name.c_str());
        // Untouched entries arrive unchanged.
        QCOMPARE(entries.at("customXml/item1.xml"),
                 std::string("<?xml version=\"1.0\"?><daten>unverändert</daten>"));
        QCOMPARE(int(entries.size()), 6); // the macro parts are gone
    }

    void neverWritesOverAFile()
    {
        Template t;
        t.body = para(run("x"));
        const QString templatePath = writeTemplate(t);
        QFile taken(QDir(outDir()).filePath(QStringLiteral("Vorlage.docx")));
        QVERIFY(taken.open(QIODevice::WriteOnly));
        taken.write("Eigentum des Benutzers");
        taken.close();

        auto first = m_engine->addDocument(templatePath);
        QCOMPARE(QFileInfo(first->save()).fileName(), QStringLiteral("Vorlage (2).docx"));
        auto second = m_engine->addDocument(templatePath);
        QCOMPARE(QFileInfo(second->save()).fileName(), QStringLiteral("Vorlage (3).docx"));
        QVERIFY(taken.open(QIODevice::ReadOnly));
        QCOMPARE(taken.readAll(), QByteArray("Eigentum des Benutzers"));
        // Nothing else lies in the folder: no temporary files.
        QCOMPARE(QDir(outDir()).entryList(QDir::Files | QDir::Hidden).size(), 3);
        QVERIFY(!readZip(QDir(outDir()).filePath(QStringLiteral("Vorlage (3).docx"))).empty());
    }

    void saveFailureLeavesNothing()
    {
        Template t;
        t.body = para(run("x"));
        auto document = m_engine->addDocument(writeTemplate(t));
        const ZwError e =
            errorOf([&] { document->save(m_dir->filePath(QStringLiteral("fehlt/auch"))); });
        QCOMPARE(e.number(), DocumentError::SaveFailed);
        QVERIFY2(e.description().contains(QLatin1String("existiert nicht")),
                 qPrintable(e.description()));
        QVERIFY(document->savedPath().isEmpty());
    }

    void refusesBadTemplates_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("reason");

        QTemporaryDir scratch;
        auto zipBytes = [&scratch](const Entries& entries) {
            const QString path = scratch.filePath(QStringLiteral("tmp.zip"));
            writeZip(path, entries);
            QFile file(path);
            file.open(QIODevice::ReadOnly);
            const QByteArray bytes = file.readAll();
            file.remove();
            return bytes;
        };
        Template good;
        good.body = para(run("x"));
        const Entries valid = entriesOf(good);

        QByteArray ole("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8);
        ole.append(QByteArray(504, '\0'));
        QByteArray encrypted = ole;
        const QString stream = QStringLiteral("EncryptedPackage");
        encrypted.append(reinterpret_cast<const char*>(stream.utf16()), stream.size() * 2);

        Entries noDocument = valid;
        noDocument.erase(noDocument.begin() + 2);
        Entries brokenXml = valid;
        brokenXml[2].second = "<w:document><w:body><w:p></w:body>";
        auto plus = [&](const std::string& name, const std::string& data) {
            Entries entries = valid;
            entries.push_back({name, data});
            return zipBytes(entries);
        };
        Entries many = valid;
        for (int i = 0; i < 40; ++i)
            many.push_back({"word/media/bild" + std::to_string(i) + ".png", "x"});

        QTest::newRow("not a zip")
            << QByteArray("Hallo, ich bin ein Brief.") << "keine Word-Dokumentvorlage";
        QTest::newRow("empty file") << QByteArray() << "keine Word-Dokumentvorlage";
        QTest::newRow("encrypted document") << encrypted << "verschlüsselt";
        QTest::newRow("old binary template") << ole << "älteren Word-Format";
        QTest::newRow("zip without word/document.xml")
            << zipBytes(noDocument) << "word/document.xml";
        QTest::newRow("broken XML") << zipBytes(brokenXml) << "kein gültiges XML";
        QTest::newRow("entry name climbing out")
            << plus("../../ausbruch.xml", "<x/>") << "unzulässigen Namen";
        QTest::newRow("absolute entry name")
            << plus("/etc/ausbruch.xml", "<x/>") << "unzulässigen Namen";
        QTest::newRow("entry inflating past the limit")
            << plus("word/media/gross.bin", std::string(3u << 20, 'a')) << "größer als";
        QTest::newRow("too many entries") << zipBytes(many) << "zu viele Einträge";
        QByteArray truncated = zipBytes(valid);
        truncated.chop(40);
        QTest::newRow("truncated zip") << truncated << "Vorlage-kaputt";

        // A zip whose entry claims to be small but inflates to more: caught while inflating.
        Entries lying = valid;
        lying.push_back({"word/media/luege.bin", std::string(1u << 20, 'b')});
        QByteArray lie = zipBytes(lying);
        const QByteArray name("word/media/luege.bin");
        for (qsizetype at = lie.indexOf(name); at >= 0; at = lie.indexOf(name, at + 1)) {
            // Local header: size at name-4 (offset 22 of 30); central header: at name-22 (24 of
            // 46).
            const bool central = at >= 46 && lie.mid(at - 46, 4) == QByteArray("PK\x01\x02", 4);
            const qsizetype field = central ? at - 46 + 24 : at - 30 + 22;
            lie[field] = 0x10;
            lie[field + 1] = 0;
            lie[field + 2] = 0;
            lie[field + 3] = 0;
        }
        QTest::newRow("entry lying about its size") << lie << "Vorlage-kaputt";
    }
    void refusesBadTemplates()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, reason);
        OoxmlLimits limits;
        limits.maxEntries = 30;
        limits.maxEntryBytes = 2u << 20;
        m_engine->setLimits(limits);
        const QString path = m_dir->filePath(QStringLiteral("Vorlage-kaputt.dotx"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        file.close();
        const QByteArray before = sha1Of(path);
        // A lying entry is only inflated when needed; copying it must not pass it on unseen.
        const ZwError e = errorOf([&] { m_engine->addDocument(path)->save(); });
        QCOMPARE(e.number(), DocumentError::BadTemplate);
        QVERIFY2(e.description().contains(QLatin1String("Vorlage-kaputt.dotx")),
                 qPrintable(e.description()));
        QVERIFY2(e.description().contains(reason), qPrintable(e.description()));
        QCOMPARE(sha1Of(path), before);
        QCOMPARE(QDir(outDir()).entryList(QDir::Files | QDir::Hidden).size(), 0);
    }

    void errorNumbers()
    {
        const ZwError missing = errorOf(
            [&] { m_engine->addDocument(m_dir->filePath(QStringLiteral("gibtsnicht.dotx"))); });
        QCOMPARE(missing.number(), DocumentError::FileNotFound);
        QVERIFY(missing.description().contains(QLatin1String("gibtsnicht.dotx")));
        Template t;
        t.body = para(start(1, "B") + end(1));
        auto document = m_engine->addDocument(writeTemplate(t));
        QCOMPARE(errorOf([&] { document->bookmarkName(2); }).number(), DocumentError::NoSuchItem);
        QCOMPARE(errorOf([&] { document->bookmarkName(0); }).number(), DocumentError::NoSuchItem);
        QCOMPARE(errorOf([&] { document->goToBookmark("Fehlt"); }).number(),
                 DocumentError::BookmarkMissing);
        m_engine->quit(false);
        QVERIFY(document->isClosed());
        QCOMPARE(errorOf([&] { document->typeText("x"); }).number(), DocumentError::ObjectDeleted);
        QCOMPARE(errorOf([&] { m_engine->addDocument(QString()); }).number(),
                 DocumentError::ServerGone);
    }

    void templateChangedOnDiskIsReadAgain()
    {
        Template t;
        t.body = para(start(1, "Alt") + end(1));
        const QString path = writeTemplate(t);
        QCOMPARE(m_engine->addDocument(path)->bookmarkName(1), QStringLiteral("Alt"));
        t.body = para(start(1, "Neu") + end(1) + start(2, "Zwei") + end(2));
        writeTemplate(t);
        auto document = m_engine->addDocument(path);
        QCOMPARE(document->bookmarkCount(), 2);
        QCOMPARE(document->bookmarkName(1), QStringLiteral("Neu"));
    }

    void presentSavesAndOpens()
    {
        Template t;
        t.body = para(run("x"));
        QStringList opened;
        m_engine->setOpener([&opened](const QString& path) { opened.append(path); });
        auto invisible = m_engine->addDocument(writeTemplate(t));
        const QString first = invisible->present();
        QVERIFY(QFileInfo::exists(first));
        QVERIFY(opened.isEmpty());
        m_engine->setVisible(true);
        auto visible = m_engine->addDocument(writeTemplate(t));
        visible->typeText("y");
        const QString second = visible->present();
        QCOMPARE(opened, QStringList{second});
        QCOMPARE(visible->present(), second); // unchanged since: not saved again
    }

    void sampleTemplatesCarryDefaultBookmarks_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QStringList>("bookmarks");
        QTest::newRow("Bsp-Brief.dotx")
            << "Bsp-Brief.dotx"
            << QStringList{"Bearbeiter", "BearbeiterDurchwahl", "Briefanrede", "Empfänger1",
                           "Empfänger2", "Empfänger3",          "Empfänger4",  "Empfänger5",
                           "Empfänger6", "Empfänger7"};
        QTest::newRow("Bsp-FAX.dotx")
            << "Bsp-FAX.dotx"
            << QStringList{"AnAbteilung", "AnFAX",       "AnFirma",   "AnName",       "AnTelefon",
                           "Betreff",     "Briefanrede", "Nachricht", "VonAbteilung", "VonFAX",
                           "VonFirma",    "VonName",     "VonTelefon"};
    }
    void sampleTemplatesCarryDefaultBookmarks()
    {
        QFETCH(QString, file);
        QFETCH(QStringList, bookmarks);
        const QString path = QDir(qEnvironmentVariable("ZW_BIN_DIR")).filePath(file);
        QVERIFY2(QFileInfo::exists(path), qPrintable(path));
        auto document = m_engine->addDocument(path);
        QCOMPARE(bookmarkNames(*document), bookmarks);
        for (const QString& name : bookmarks) {
            document->goToBookmark(name);
            document->typeText(name + QStringLiteral(" ✓"));
        }
        pugi::xml_document main;
        parse(main, readZip(document->save()).at("word/document.xml"));
        for (const QString& name : bookmarks)
            QCOMPARE(bookmarkText(main, name.toUtf8().constData()), name + QStringLiteral(" ✓"));
    }
};

QTEST_GUILESS_MAIN(TstOoxmlEngine)
#include "tst_ooxmlengine.moc"
