// Filling templates whose markup other programs wrote: overlapping and repeated bookmarks,
// stray markers, comments, content controls, tracked changes, fields, tables, other prefixes
// and encodings. Every row fills, saves (the check before saving passes) and is read back.
#include "OoxmlTestPackage.h"
#include "document/OoxmlEngine.h"

#include <QStringDecoder>
#include <QTemporaryDir>
#include <QTest>
#include <iostream>
#include <map>
#include <set>

using namespace OoxmlTestPackage;

namespace
{

std::string r(const std::string& text, const std::string& rPr = std::string())
{
    return "<w:r>" + rPr + "<w:t xml:space=\"preserve\">" + text + "</w:t></w:r>";
}
std::string bs(int id, const std::string& name)
{
    return "<w:bookmarkStart w:id=\"" + std::to_string(id) + "\" w:name=\"" + name + "\"/>";
}
std::string be(int id)
{
    return "<w:bookmarkEnd w:id=\"" + std::to_string(id) + "\"/>";
}
std::string p(const std::string& content, const std::string& pPr = std::string())
{
    return "<w:p>" + pPr + content + "</w:p>";
}
std::string fld(const char* type)
{
    return std::string("<w:r><w:fldChar w:fldCharType=\"") + type + "\"/></w:r>";
}
std::string cell(const std::string& content)
{
    return "<w:tc><w:tcPr><w:tcW w:w=\"2000\" w:type=\"dxa\"/></w:tcPr>" + content + "</w:tc>";
}
std::string table(const std::string& rows)
{
    return "<w:tbl><w:tblPr/><w:tblGrid><w:gridCol/><w:gridCol/></w:tblGrid>" + rows + "</w:tbl>";
}

// Every bookmark marker of a part: (id, start?) in document order.
std::vector<std::pair<std::string, bool>> markers(pugi::xml_node root)
{
    std::vector<std::pair<std::string, bool>> result;
    for (pugi::xpath_node n : root.select_nodes(
             "//*[self::w:bookmarkStart or self::w:bookmarkEnd][not(ancestor::mc:Fallback)]"))
        result.emplace_back(n.node().attribute("w:id").value(),
                            std::string(n.node().name()) == "w:bookmarkStart");
    return result;
}

// Ids whose one start comes before their one end.
std::set<std::string> pairedIds(pugi::xml_node root)
{
    std::map<std::string, std::pair<int, int>> count; // starts, ends-before-start-or-after
    std::set<std::string> broken;
    for (const auto& [id, isStart] : markers(root)) {
        auto& c = count[id];
        if (!isStart && c.first == 0)
            broken.insert(id);
        (isStart ? c.first : c.second)++;
    }
    std::set<std::string> paired;
    for (const auto& [id, c] : count) {
        if (c.first == 1 && c.second == 1 && !broken.count(id))
            paired.insert(id);
    }
    return paired;
}

} // namespace

class TstOoxmlBookmarks : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    int m_count = 0;

    QString write(const Entries& entries)
    {
        const QString path = m_dir.filePath(QStringLiteral("v%1.dotx").arg(++m_count));
        if (!writeZip(path, entries))
            qFatal("cannot write test template");
        return path;
    }
    static void parse(pugi::xml_document& dom, const std::string& text)
    {
        QVERIFY2(dom.load_string(text.c_str(), pugi::parse_default | pugi::parse_ws_pcdata_single),
                 text.c_str());
    }

private slots:
    // Bookmark, text; each row fills them in order and checks the paragraphs, what the first
    // bookmark holds afterwards, and an XPath count on the result.
    void fills_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<QStringList>("fills"); // name=text, in order
        QTest::addColumn<QStringList>("paragraphs");
        QTest::addColumn<QString>("firstHolds");
        QTest::addColumn<QString>("xpath");
        QTest::addColumn<int>("xpathCount");
        auto row = [](const char* tag, const std::string& body, const QStringList& fills,
                      const QStringList& paragraphs, const QString& firstHolds,
                      const char* xpath = "/", int count = 1) {
            QTest::newRow(tag) << QString::fromStdString(body) << fills << paragraphs << firstHolds
                               << QString::fromLatin1(xpath) << count;
        };
        // LibreOffice 7.4 writes [PLZ][Ort] like this.
        const std::string adjacent = p(r("Ort: ") + bs(0, "PLZ") + r("12345 ") + bs(1, "Ort") +
                                       be(0) + r("Berlin") + be(1) + r(" Ende"));
        row("adjacent bookmarks as LibreOffice writes them, first then second", adjacent,
            {"PLZ=10115", "Ort= Berlin"}, {"Ort: 10115 Berlin Ende"}, "10115");
        row("adjacent bookmarks, second then first", adjacent, {"Ort=Köln", "PLZ=50667 "},
            {"Ort: 50667 Köln Ende"}, "Köln");
        row("a bookmark over paragraphs split by LibreOffice is filled once",
            p(r("Datum: ") + bs(2, "Datum") + r("eins")) + p(bs(3, "Datum") + r("zwei") + be(3)),
            {"Datum=22.11.2026"}, {"Datum: eins", "22.11.2026"}, "22.11.2026");
        row("a name repeated: the first pair is the bookmark",
            p(bs(2, "Leer") + bs(3, "Leer") + be(3)) + p(bs(4, "Leer") + be(4) + r("b")),
            {"Leer=X"}, {"X", "b"}, "X");
        row("an end before its start is no bookmark, the later pair is",
            p(be(7) + r("a") + bs(7, "B") + r("b")) + p(bs(8, "B") + r("c") + be(8)), {"B=X"},
            {"ab", "X"}, "X");
        // Found by fuzzing: a start in the text and an end of the same id in a text box.
        row("a text box is a story of its own: no pair reaches into it",
            p(bs(0, "A") + r("a")) +
                p("<w:r><w:pict><v:shape><v:textbox><w:txbxContent>" + p(r("k") + be(0)) +
                  "</w:txbxContent></v:textbox></v:shape></w:pict></w:r>") +
                p(bs(6, "A") + r("c") + be(6)),
            {"A=X"}, {"a", "k", "k", "X"}, QString()); // the helper would pair into the box
        // Found by fuzzing: the text box went with the range, and its bookmark with it.
        const std::string box = p(bs(5, "K") + r("k") + be(5));
        row("a text box inside a filled range: its bookmark is kept",
            p(bs(1, "A") + r("a") +
              "<w:r><mc:AlternateContent><mc:Choice Requires=\"wps\"><w:drawing><wps:wsp>"
              "<wps:txbx><w:txbxContent>" +
              box +
              "</w:txbxContent></wps:txbx></wps:wsp></w:drawing></mc:Choice><mc:Fallback>"
              "<w:pict><v:shape><v:textbox><w:txbxContent>" +
              box +
              "</w:txbxContent></v:textbox></v:shape></w:pict></mc:Fallback>"
              "</mc:AlternateContent></w:r>" +
              be(1)),
            {"A=X", "K=Y"}, {"YX"}, "YX");
        row("nested: filling the outer one keeps the inner one's markers",
            p(bs(1, "Aussen") + r("a") + bs(2, "Innen") + r("b") + be(2) + be(1)),
            {"Aussen=X", "Innen=Y"}, {"YX"}, "YX");
        row("comment range inside a filled range stays, with its reference",
            p(bs(1, "B") + "<w:commentRangeStart w:id=\"0\"/>" + r("alt") +
              "<w:commentRangeEnd w:id=\"0\"/><w:r><w:commentReference w:id=\"0\"/></w:r>" + be(1)),
            {"B=neu"}, {"neu"}, "neu",
            "//w:commentRangeStart/following::w:commentRangeEnd/following::w:commentReference", 1);
        row("comment range reaching out of the range shrinks to the edge",
            p(r("a") + bs(1, "B") + r("b") + "<w:commentRangeStart w:id=\"0\"/>" + r("c") + be(1) +
              r("d") + "<w:commentRangeEnd w:id=\"0\"/>"),
            {"B=X"}, {"aXd"}, "X", "//w:bookmarkEnd/following-sibling::w:commentRangeStart", 1);
        row("text is not typed into a tracked deletion",
            p(r("a") + "<w:del w:id=\"9\" w:author=\"A\"><w:r><w:delText>x</w:delText></w:r>" +
              bs(1, "B") + "<w:r><w:delText>alt</w:delText></w:r>" + be(1) + "</w:del>"),
            {"B=neu"}, {"aneu"}, "neu", "//w:del//w:t", 0);
        row("a placeholder control takes the text, loses its placeholder look",
            p("<w:sdt><w:sdtPr><w:id w:val=\"5\"/><w:showingPlcHdr/></w:sdtPr><w:sdtContent>" +
              bs(1, "Name") +
              r("Klicken Sie hier.", "<w:rPr><w:rStyle w:val=\"PlaceholderText\"/><w:b/></w:rPr>") +
              be(1) + "</w:sdtContent></w:sdt>"),
            {"Name=Müller"}, {"Müller"}, "Müller",
            "//w:showingPlcHdr | //w:rStyle | //w:r[w:t='Müller'][not(w:rPr/w:b)]", 0);
        row("a two-line value keeps control and revision ids unique",
            p("<w:sdt><w:sdtPr><w:id w:val=\"5\"/></w:sdtPr><w:sdtContent>" + bs(1, "A") + be(1) +
                  "</w:sdtContent></w:sdt>",
              "<w:pPr><w:pPrChange w:id=\"6\" w:author=\"A\"><w:pPr/></w:pPrChange></w:pPr>"),
            {"A=eins\r\nzwei"}, {"eins", "zwei"}, "eins\rzwei",
            "//w:sdtPr/w:id[@w:val='5'] | //w:pPrChange[@w:id='6']", 2);
        row("a range into a field result keeps the field whole",
            p(r("a") + bs(1, "B") + r("b") + fld("begin") +
              "<w:r><w:instrText> DATE </w:instrText></w:r>" + fld("separate") + r("1.1.") + be(1) +
              r("2000") + fld("end") + r("z")),
            {"B=X"}, {"aX2000z"}, "X",
            "//w:fldChar[@w:fldCharType='begin']/following::w:fldChar[@w:fldCharType='end']", 1);
        row("a range out of a field result keeps the field whole",
            p(r("a") + fld("begin") + "<w:r><w:instrText> PAGE </w:instrText></w:r>" +
              fld("separate") + r("1") + bs(1, "B") + r("2") + fld("end") + r("c") + be(1) +
              r("z")),
            {"B=X"}, {"a1Xz"}, "X", "//w:fldChar", 3);
        row("a whole field inside goes with the range",
            p(bs(1, "B") + fld("begin") + "<w:r><w:instrText> PAGE </w:instrText></w:r>" +
              fld("separate") + r("7") + fld("end") + be(1)),
            {"B=X"}, {"X"}, "X", "//w:fldChar | //w:instrText", 0);
        row("a range around a whole table removes the table, not single cells",
            p(r("vor")) + bs(1, "T") +
                table("<w:tr>" + cell(p(r("a"))) + cell(p(r("b"))) + "</w:tr>") + be(1) +
                p(r("nach")),
            {"T=neu"}, {"vor", "neu", "nach"}, "neu", "//w:tbl", 0);
        row("a range from a cell out of the table empties cells, keeps the grid",
            table("<w:tr>" + cell(p(r("a") + bs(1, "T") + r("b"))) + cell(p(r("c"))) + "</w:tr>") +
                p(r("d") + be(1) + r("e")),
            {"T=X"}, {"aX", "", "e"}, "X\r", "//w:tr[count(w:tc)=2]", 1);
    }
    void fills()
    {
        QFETCH(QString, body);
        QFETCH(QStringList, fills);
        QFETCH(QStringList, paragraphs);
        QFETCH(QString, firstHolds);
        QFETCH(QString, xpath);
        QFETCH(int, xpathCount);
        Template t;
        t.body = body.toStdString();
        pugi::xml_document before;
        parse(before, documentXml(t.body));

        OoxmlEngine engine;
        engine.setOutputFolder(m_dir.path());
        engine.setSyncToDisk(false);
        engine.open();
        auto document = engine.addDocument(write(entriesOf(t)));
        QString first;
        for (const QString& fill : fills) {
            const QString name = fill.section(QLatin1Char('='), 0, 0);
            if (first.isEmpty())
                first = name;
            document->goToBookmark(name);
            document->typeText(fill.section(QLatin1Char('='), 1));
        }
        pugi::xml_document main;
        parse(main, readZip(document->save()).at("word/document.xml"));
        if (qEnvironmentVariableIsSet("ZW_SHOW_XML"))
            main.save(std::cout);
        QCOMPARE(OoxmlTestPackage::paragraphs(main), paragraphs);
        if (!firstHolds.isNull())
            QCOMPARE(bookmarkText(main, first.toUtf8().constData()), firstHolds);
        QCOMPARE(int(main.select_nodes(xpath.toUtf8().constData()).size()), xpathCount);
        // Every marker of the template is still there, and every pair still pairs.
        QCOMPARE(markers(main).size(), markers(before).size());
        const std::set<std::string> was = pairedIds(before), now = pairedIds(main);
        QVERIFY(std::includes(now.begin(), now.end(), was.begin(), was.end()));
        std::set<std::string> ids;
        for (pugi::xpath_node n :
             main.select_nodes("//w:sdtPr/w:id/@w:val | //w:pPrChange/@w:id | //w:del/@w:id"))
            QVERIFY2(ids.insert(n.attribute().value()).second, n.attribute().value());
    }

    // Packages whose parts use other prefixes, encodings or a document type declaration.
    void readsAnyWellFormedPart_data()
    {
        QTest::addColumn<QByteArray>("documentPart");
        QTest::addColumn<QByteArray>("typesPart");
        const std::string body = p(r("Herrn ") + bs(1, "Name") + r("alt") + be(1));
        const QByteArray plain = QByteArray::fromStdString(documentXml(body));
        const QByteArray types = QByteArray::fromStdString(entriesOf(Template{}).front().second);
        auto utf16 = [](const QByteArray& utf8, bool bigEndian, bool bom) {
            QByteArray text = utf8;
            text.replace("encoding=\"UTF-8\"", "encoding=\"UTF-16\"");
            QStringEncoder encoder(bigEndian ? QStringConverter::Utf16BE
                                             : QStringConverter::Utf16LE);
            return QByteArray(bom ? (bigEndian ? "\xFE\xFF" : "\xFF\xFE") : "", bom ? 2 : 0) +
                   QByteArray(encoder(QString::fromUtf8(text)));
        };
        QByteArray ns0 = plain;
        ns0.replace("<w:", "<ns0:").replace("</w:", "</ns0:").replace(" w:", " ns0:");
        ns0.replace("xmlns:w=", "xmlns:ns0=");
        QByteArray defaultNs = plain;
        defaultNs.replace("<w:", "<").replace("</w:", "</").replace("xmlns:w=", "xmlns=");
        defaultNs.replace(" w:id", " xmlns:w=\"http://schemas.openxmlformats.org/"
                                   "wordprocessingml/2006/main\" w:id");
        QByteArray latin1 = plain;
        latin1.replace("encoding=\"UTF-8\"", "encoding=\"windows-1252\"")
            .replace("Herrn", "H\xE9rrn");
        QByteArray doctype = plain;
        doctype.replace("?>\r\n", "?>\r\n<!DOCTYPE w:document [<!ENTITY a \"aaaa\">]>");
        QTest::newRow("UTF-8") << plain << types;
        QTest::newRow("UTF-16 LE with byte order mark") << utf16(plain, false, true) << types;
        QTest::newRow("UTF-16 BE without byte order mark") << utf16(plain, true, false) << types;
        QTest::newRow("UTF-16 content types") << plain << utf16(types, false, true);
        QTest::newRow("windows-1252") << latin1 << types;
        QTest::newRow("prefix ns0 as ElementTree writes it") << ns0 << types;
        QTest::newRow("WordprocessingML as the default namespace") << defaultNs << types;
        QTest::newRow("document type declaration is dropped") << doctype << types;
    }
    void readsAnyWellFormedPart()
    {
        QFETCH(QByteArray, documentPart);
        QFETCH(QByteArray, typesPart);
        Entries entries = entriesOf(Template{});
        entries[0].second = typesPart.toStdString();
        entries[2].second = documentPart.toStdString();
        entries.push_back({"word/styles.xml", "<?xml version=\"1.0\"?><!DOCTYPE x SYSTEM "
                                              "\"http://example.invalid/x.dtd\"><w:styles " +
                                                  std::string(wNs) + "/>"});
        OoxmlEngine engine;
        engine.setOutputFolder(m_dir.path());
        engine.setSyncToDisk(false);
        engine.open();
        auto document = engine.addDocument(write(entries));
        QCOMPARE(document->bookmarkCount(), 1);
        document->goToBookmark(QStringLiteral("Name"));
        document->typeText(QStringLiteral("Müller"));
        const auto saved = readZip(document->save());
        for (const auto& [name, text] : saved) {
            QVERIFY2(text.find("<!DOCTYPE") == std::string::npos, name.c_str());
            if (name.size() > 4 && name.compare(name.size() - 4, 4, ".xml") == 0 &&
                text.find("encoding=\"UTF-16\"") == std::string::npos) {
                // Any part written anew is UTF-8 and says so.
                QVERIFY2(text.find("encoding=") == std::string::npos ||
                             text.find("encoding=\"UTF-8\"") != std::string::npos,
                         name.c_str());
            }
        }
        pugi::xml_document main;
        parse(main, saved.at("word/document.xml"));
        QCOMPARE(OoxmlTestPackage::paragraphs(main).value(0).right(6), QStringLiteral("Müller"));
        pugi::xml_document types;
        QVERIFY(types.load_string(saved.at("[Content_Types].xml").c_str()));
        QVERIFY(types.select_node("//*[@ContentType='application/vnd.openxmlformats-"
                                  "officedocument.wordprocessingml.document.main+xml']"));
    }
};

QTEST_GUILESS_MAIN(TstOoxmlBookmarks)
#include "tst_ooxmlbookmarks.moc"
