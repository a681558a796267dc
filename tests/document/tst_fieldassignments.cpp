#include "WordTestFixture.h"
#include "document/ClsWord.h"
#include "document/DocumentErrors.h"
#include "document/FieldAssignmentDefaults.h"
#include "document/FieldAssignmentList.h"
#include "document/FieldAssignments.h"
#include "tests/support/ScriptedUserInterface.h"
#include "tests/support/TestEnvironment.h"
#include "util/SystemNames.h"
#include "util/ZwError.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace OoxmlTestPackage;

Q_DECLARE_METATYPE(BookmarkRow)

namespace
{

const QDate fifthOfMarch2001(2001, 3, 5);

const QString defaultSpecial = QStringLiteral(
    "Von-Firma=<Ihre Firma>|Von-Abteilung=<Ihre Abteilung>|Von-Durchwahl=<Ihre Durchwahl>|"
    "Von-FAX=<Ihre FAX-Nummer>|Von-Name=<Ihr Name>|Von-Kurzzeichen=<Ihr Kurzzeichen>|"
    "Von-Unterschrift=i.A. <Ihr Name>");

// A contact whose every field reads "[name/type]"; it throws for the names in `failing`.
struct FakeContact {
    QStringList calls;
    QStringList failing;
    ContactFieldResolver resolver()
    {
        return [this](const QString& name, int type) {
            calls.append(QStringLiteral("%1/%2").arg(name).arg(type));
            if (failing.contains(name))
                throw ZwError(91, QStringLiteral("Objektvariable nicht festgelegt"),
                              QStringLiteral("GetFieldData"));
            return QStringLiteral("[%1/%2]").arg(name).arg(type);
        };
    }
};

DateSource fixedDay()
{
    return [] { return fifthOfMarch2001; };
}

std::string start(int id, const std::string& name)
{
    return "<w:bookmarkStart w:id=\"" + std::to_string(id) + "\" w:name=\"" + name + "\"/>";
}

std::string end(int id)
{
    return "<w:bookmarkEnd w:id=\"" + std::to_string(id) + "\"/>";
}

std::string markedPara(int id, const std::string& name)
{
    return "<w:p>" + start(id, name) + "<w:r><w:t>alt " + name + "</w:t></w:r>" + end(id) +
           "</w:p>";
}

QString textAt(const std::map<std::string, std::string>& entries, const QString& bookmark)
{
    const QByteArray name = bookmark.toUtf8();
    for (const char* part : {"word/document.xml", "word/header1.xml", "word/footer1.xml"}) {
        const auto it = entries.find(part);
        if (it == entries.end())
            continue;
        pugi::xml_document xml;
        xml.load_buffer(it->second.data(), it->second.size(),
                        pugi::parse_default | pugi::parse_ws_pcdata);
        const QString text = OoxmlTestPackage::bookmarkText(xml, name.constData());
        if (text != QLatin1String("<missing>"))
            return text;
    }
    return QStringLiteral("<missing>");
}

QList<BookmarkRow> rowsOf(const QString& entry, const QStringList& values = {})
{
    QList<BookmarkRow> rows;
    const QStringList pairs = entry.split(QLatin1Char('|')).mid(1);
    for (int i = 0; i < pairs.size(); ++i) {
        const QString& pair = pairs[i];
        const qsizetype eq = pair.indexOf(QLatin1Char('='));
        rows.append({pair.left(eq), pair.mid(eq + 1), values.value(i)});
    }
    return rows;
}

} // namespace

class TstFieldAssignments : public WordTestFixture
{
    Q_OBJECT

private:
    // Bookmarks A, B, C, each around "alt <name>".
    QString abcTemplate()
    {
        Template t;
        t.body = markedPara(1, "A") + markedPara(2, "B") + markedPara(3, "C");
        return writeTemplate(t, QStringLiteral("ABC.dotx"));
    }

    std::map<std::string, std::string> onlyOpenedDocument()
    {
        if (m_opened.size() != 1)
            return {};
        return readZip(m_opened.first());
    }

private Q_SLOTS:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void resolve_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("special");
        QTest::addColumn<bool>("withContact");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("calls");
        // `call` is the one contact request expected, if any.
        auto row = [](const char* tag, const char* field, const char* text, const char* call = "",
                      bool withContact = true, const QString& special = defaultSpecial) {
            QTest::newRow(tag) << field << special << withContact << text
                               << (*call ? QStringList{call} : QStringList());
        };
        row("Outlook field", "Firma (OF)", "[Firma/0]", "Firma/0");
        row("composite field", "1. Anschrift-Zeile (ZF)", "[1. Anschrift-Zeile/1]",
            "1. Anschrift-Zeile/1");
        row("user-defined field", "Kenn-Nr (BF)", "[Kenn-Nr/2]", "Kenn-Nr/2");
        row("special field", "Von-Name (SF)", "<Ihr Name>");
        row("special field without a contact", "Von-Unterschrift (SF)", "i.A. <Ihr Name>", "",
            false);
        row("special value keeps its own '='", "Formel (SF)", "a=b", "", true, "Formel=a=b");
        row("special entry without '=' has an empty value", "Leer (SF)", "", "", true, "Leer|X=1");
        row("first of two equal special names wins", "X (SF)", "1", "", true, "X=1|X=2");
        row("deleted special field falls back to the Outlook field", "Firma (SF)", "[Firma/0]",
            "Firma/0", true, "Von-Name=N");
        row("deleted special field of no catalogue name is empty", "Von-Durchwahl (SF)", "", "",
            true, "Von-Name=N");
        row("special names compare case-sensitively", "von-name (SF)", "");
        row("special walk ends at an empty entry", "Von-Name (SF)", "", "", true,
            "A=1||Von-Name=N");
        row("unknown Outlook field stays visible", "Von-Durchwahl (OF)", "[Von-Durchwahl/0]",
            "Von-Durchwahl/0");
        row("deleted special field without a contact", "Von-Kurzzeichen (SF)", "", "", false, "");
        row("no contact: Outlook field is empty", "Firma (OF)", "", "", false);
        row("date dd.MM.yyyy", "Datum tt.mm.jjjj (EF)", "05.03.2001");
        row("date dd.MM.yy", "Datum tt.mm.jj (EF)", "05.03.01");
        row("built-in names compare case-sensitively", "datum tt.mm.jjjj (EF)", "");
        row("unknown built-in field", "Uhrzeit (EF)", "");
        row("unassigned", "-", "");
        row("empty field name", "", "");
        row("' (OF)' alone is a whole name of type 0", " (OF)", "[ (OF)/0]", " (OF)/0");
        row("suffix in lower case is no suffix", "Firma (of)", "");
        row("unknown suffix", "Firma (XF)", "");
        row("suffix inside the name counts only at the end", "A (OF) B (ZF)", "[A (OF) B/1]",
            "A (OF) B/1");
    }
    void resolve()
    {
        QFETCH(QString, field);
        QFETCH(QString, special);
        QFETCH(bool, withContact);
        QFETCH(QString, text);
        QFETCH(QStringList, calls);
        FakeContact contact;
        const ContactFieldResolver item = withContact ? contact.resolver() : ContactFieldResolver();
        QCOMPARE(ResolveFieldText(item, field, special, fixedDay()), text);
        QCOMPARE(contact.calls, calls);
    }

    void systemNames_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("text");
        QTest::newRow("computer name") << "Computername (EF)" << VuGetComputerName();
        QTest::newRow("login name") << "Benutzer Login-Name (EF)" << VuGetLoginName();
    }
    void systemNames()
    {
        QFETCH(QString, field);
        QFETCH(QString, text);
        QVERIFY(!text.isEmpty());
        QCOMPARE(ResolveFieldText({}, field, defaultSpecial), text);
    }

    void contactErrorsReachTheCaller()
    {
        FakeContact contact;
        contact.failing = QStringList{"Firma"};
        QVERIFY_THROWS_EXCEPTION(
            ZwError, ResolveFieldText(contact.resolver(), QStringLiteral("Firma (OF)"), {}));
        QCOMPARE(m_log->lines(), QStringList());
    }

    void fill_data()
    {
        QTest::addColumn<QString>("pairs");
        QTest::addColumn<bool>("withContact");
        QTest::addColumn<QStringList>("texts"); // of A, B, C
        QTest::addColumn<QStringList>("errors");
        auto row = [](const char* tag, const char* pairs, const char* texts, const char* error = "",
                      bool withContact = true) {
            QTest::newRow(tag) << pairs << withContact << QString::fromUtf8(texts).split(u'|')
                               << (*error ? QStringList{error} : QStringList());
        };
        row("every bookmark gets its field", "A=Firma (OF)|B=Von-Name (SF)|C=Datum tt.mm.jj (EF)",
            "[Firma/0]|<Ihr Name>|05.03.01");
        row("unassigned bookmark keeps the template's text", "A=-|B=Firma (OF)|C=-",
            "alt A|[Firma/0]|alt C");
        row("'||' ends the walk", "A=Firma (OF)||B=Von-Name (SF)", "[Firma/0]|alt B|alt C");
        row("a trailing '|' is harmless", "A=Firma (OF)|", "[Firma/0]|alt B|alt C");
        row("token without '=' writes nothing", "A|B=Firma (OF)", "alt A|[Firma/0]|alt C");
        row("token with '=' first writes nothing", "=Firma (OF)|B=Von-FAX (SF)",
            "alt A|<Ihre FAX-Nummer>|alt C");
        row("without a contact only special and built-in fields fill",
            "A=Firma (OF)|B=Von-Name (SF)|C=Datum tt.mm.jjjj (EF)", "alt A|<Ihr Name>|05.03.2001",
            "", false);
        row("a bookmark missing in the template is logged by SetText",
            "Fehlt=Firma (OF)|B=Firma (OF)", "alt A|[Firma/0]|alt C",
            "Fehler beim Schreiben von '[Firma/0]' an Textmarke 'Fehlt'");
        row("bookmark names ignore case", "c=Von-Firma (SF)", "alt A|alt B|<Ihre Firma>");
        row("no pairs at all", "", "alt A|alt B|alt C");
    }
    void fill()
    {
        QFETCH(QString, pairs);
        QFETCH(bool, withContact);
        QFETCH(QStringList, texts);
        QFETCH(QStringList, errors);
        const QString path = abcTemplate();
        FieldAssignmentList list;
        list.add(QStringLiteral("/anderswo/Erste.dotx|A=Firma (OF)"));
        list.add(pairs.isEmpty() ? path : path + QLatin1Char('|') + pairs);
        FakeContact contact;
        WordDocument document = m_word->CreateDocument(path, true, false);
        QList<BookmarkFailure> failures;
        FillWordBookmarks(list, 2, *m_word, document,
                          withContact ? contact.resolver() : ContactFieldResolver(), defaultSpecial,
                          fixedDay(), &failures);
        QVERIFY(!m_ui->hourglass());
        QCOMPARE(m_log->errors(), errors);
        QCOMPARE(failures.size(), errors.size());
        for (const BookmarkFailure& failure : failures)
            QCOMPARE(failure.cause.number(), DocumentError::BookmarkMissing);
        const auto entries = onlyOpenedDocument();
        QCOMPARE(QStringList({textAt(entries, "A"), textAt(entries, "B"), textAt(entries, "C")}),
                 texts);
    }

    void twoErrorRule_data()
    {
        QTest::addColumn<QStringList>("failing");
        QTest::addColumn<QStringList>("texts");
        QTest::addColumn<QStringList>("errors");
        QTest::addColumn<QStringList>("calls");
        QTest::newRow("one failure: the others are written")
            << QStringList{"y"} << QStringList{"[x/0]", "alt B", "[z/0]"}
            << QStringList{"FillWordBookmarks: Textmarke = B"} << QStringList{"x/0", "y/0", "z/0"};
        QTest::newRow("the second failure ends the walk")
            << QStringList{"x", "y"} << QStringList{"alt A", "alt B", "alt C"}
            << QStringList{"FillWordBookmarks: Textmarke = A", "FillWordBookmarks: Textmarke = B"}
            << QStringList{"x/0", "y/0"};
        QTest::newRow("text written before the second failure stays")
            << QStringList{"y", "z"} << QStringList{"[x/0]", "alt B", "alt C"}
            << QStringList{"FillWordBookmarks: Textmarke = B", "FillWordBookmarks: Textmarke = C"}
            << QStringList{"x/0", "y/0", "z/0"};
    }
    void twoErrorRule()
    {
        QFETCH(QStringList, failing);
        QFETCH(QStringList, texts);
        QFETCH(QStringList, errors);
        QFETCH(QStringList, calls);
        const QString path = abcTemplate();
        FieldAssignmentList list;
        list.add(path + QStringLiteral("|A=x (OF)|B=y (OF)|C=z (OF)"));
        FakeContact contact;
        contact.failing = failing;
        WordDocument document = m_word->CreateDocument(path, true, false);
        QList<BookmarkFailure> failures;
        FillWordBookmarks(list, 1, *m_word, document, contact.resolver(), {}, {}, &failures);
        QVERIFY(!m_ui->hourglass());
        QCOMPARE(m_log->errors(), errors);
        // Every bookmark left unwritten is reported, the ones after the second failure too.
        QStringList unwritten, reported;
        for (qsizetype i = 0; i < texts.size(); ++i) {
            if (texts.at(i).startsWith(QLatin1String("alt")))
                unwritten.append(QString(QChar(char16_t(u'A' + i))));
        }
        for (const BookmarkFailure& failure : failures) {
            QVERIFY(!failure.cause.description().isEmpty());
            reported.append(failure.bookmark);
        }
        QCOMPARE(reported, unwritten);
        // Each failure line is followed by its cause.
        const QStringList lines = m_log->lines();
        QCOMPARE(lines.size(), 2 * errors.size());
        QVERIFY(lines.value(1).startsWith(QStringLiteral("Info: Objektvariable nicht festgelegt")));
        QCOMPARE(contact.calls, calls);
        // The document is handed over even when the walk ended early.
        const auto entries = onlyOpenedDocument();
        QCOMPARE(QStringList({textAt(entries, "A"), textAt(entries, "B"), textAt(entries, "C")}),
                 texts);
    }

    void fillNothing_data()
    {
        QTest::addColumn<int>("position");
        QTest::addColumn<QStringList>("errors");
        QTest::addColumn<int>("opened");
        QTest::newRow("position 0 ends at once") << 0 << QStringList() << 0;
        QTest::newRow("position beyond the list is logged")
            << 3 << QStringList{"FillWordBookmarks: Textmarke = "} << 1;
        QTest::newRow("negative position is logged")
            << -1 << QStringList{"FillWordBookmarks: Textmarke = "} << 1;
    }
    void fillNothing()
    {
        QFETCH(int, position);
        QFETCH(QStringList, errors);
        QFETCH(int, opened);
        const QString path = abcTemplate();
        FieldAssignmentList list;
        list.add(path + QStringLiteral("|A=Von-Name (SF)"));
        WordDocument document = m_word->CreateDocument(path, true, false);
        FakeContact contact;
        FillWordBookmarks(list, position, *m_word, document, contact.resolver(), defaultSpecial);
        QCOMPARE(m_log->errors(), errors);
        QCOMPARE(m_opened.size(), opened);
        QVERIFY(!document->isDirty());
        QVERIFY(contact.calls.isEmpty());
    }

    void fillWithoutDocument()
    {
        // CreateDocument failed: SetText touches the document before it looks at the text, so
        // even an unassigned bookmark is logged.
        FieldAssignmentList list;
        list.add(QStringLiteral("/x.dotx|A=Von-Name (SF)|B=-"));
        FillWordBookmarks(list, 1, *m_word, WordDocument(), {}, defaultSpecial);
        QCOMPARE(m_log->errors(),
                 (QStringList{"Fehler beim Schreiben von '<Ihr Name>' an Textmarke 'A'",
                              "Fehler beim Schreiben von '' an Textmarke 'B'"}));
        QVERIFY(m_opened.isEmpty());
    }

    void sampleTemplates_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("bookmarks");
        QTest::newRow("Bsp-Brief.dotx") << sampleLetterTemplatePath() << 10;
        QTest::newRow("Bsp-FAX.dotx") << sampleFaxTemplatePath() << 13;
    }
    void sampleTemplates()
    {
        QFETCH(QString, path);
        QFETCH(int, bookmarks);
        QVERIFY2(QFileInfo::exists(path), qPrintable(path));
        FieldAssignmentList list;
        QString special;
        SetDefaultFieldAssignments(list, special);
        const QString entry = list.item(path);

        // What the template holds before, for the bookmarks left unassigned.
        const auto before = readZip(path);
        FakeContact contact;
        WordDocument document = m_word->CreateDocument(path, true, false);
        QCOMPARE(int(m_word->GetBookmarkCount(document)), bookmarks);
        FillWordBookmarks(list, list.position(path), *m_word, document, contact.resolver(), special,
                          fixedDay());
        QCOMPARE(m_log->lines(), QStringList());
        QCOMPARE(m_opened.size(), 1);
        QVERIFY(m_opened.first().startsWith(outDir() + QLatin1Char('/')));
        QVERIFY(m_opened.first().endsWith(QStringLiteral(".docx")));
        const auto after = readZip(m_opened.first());
        QVERIFY(after.at("[Content_Types].xml").find(documentType) != std::string::npos);

        const QList<BookmarkRow> rows = rowsOf(entry);
        QCOMPARE(rows.size(), bookmarks);
        for (const BookmarkRow& row : rows) {
            const QString expected =
                row.field == QLatin1String("-")
                    ? textAt(before, row.bookmark)
                    : ResolveFieldText(contact.resolver(), row.field, special, fixedDay());
            QVERIFY(expected != QLatin1String("<missing>"));
            QCOMPARE(textAt(after, row.bookmark), expected);
        }
        // Every assigned contact field was asked for with its type.
        QVERIFY(!contact.calls.isEmpty());
    }

    void loadBookmarkList_data()
    {
        QTest::addColumn<QVariant>("which"); // key (QString) or position (int)
        QTest::addColumn<bool>("withValues");
        QTest::addColumn<QStringList>("failing");
        QTest::addColumn<QList<BookmarkRow>>("rows");
        QTest::addColumn<QStringList>("errors");

        QList<BookmarkRow> thirty;
        for (int n = 1; n <= 30; ++n)
            thirty.append({QStringLiteral("(%1. Zeile)").arg(n), QStringLiteral("-"), QString()});
        QTest::newRow("empty document lists thirty lines after a reset")
            << QVariant(kEmptyDocument) << false << QStringList() << thirty << QStringList();
        QTest::newRow("by position, without values") << QVariant(3) << false << QStringList() <<
            [] {
                FieldAssignmentList defaults;
                QString special;
                SetDefaultFieldAssignments(defaults, special);
                return rowsOf(defaults.item(sampleLetterTemplatePath()));
            }() << QStringList();
        QTest::newRow("key compares without case, with values")
            << QVariant(QStringLiteral("/VORLAGEN/test.DOTX")) << true << QStringList()
            << QList<BookmarkRow>{{"A", "Firma (OF)", "[Firma/0]"},
                                  {"B", "-", ""},
                                  {"C", "Von-Name (SF)", "<Ihr Name>"},
                                  {"D", "Datum tt.mm.jjjj (EF)", "05.03.2001"}}
            << QStringList();
        QTest::newRow("'||' lists only the pairs before it")
            << QVariant(QStringLiteral("/vorlagen/cut.dotx")) << false << QStringList()
            << QList<BookmarkRow>{{"A", "Firma (OF)", ""}} << QStringList();
        QTest::newRow("token without '=' is a row without field")
            << QVariant(QStringLiteral("/vorlagen/bare.dotx")) << true << QStringList()
            << QList<BookmarkRow>{{"Nackt", "-", ""}, {"B", "Firma (OF)", "[Firma/0]"}}
            << QStringList();
        QTest::newRow("empty key: nothing, nothing logged")
            << QVariant(QString()) << false << QStringList() << QList<BookmarkRow>()
            << QStringList();
        QTest::newRow("position 0: nothing, nothing logged")
            << QVariant(0) << false << QStringList() << QList<BookmarkRow>() << QStringList();
        QTest::newRow("unknown key is logged")
            << QVariant(QStringLiteral("/gibt/es/nicht.dotx")) << false << QStringList()
            << QList<BookmarkRow>() << QStringList{"LoadBookmarkList"};
        QTest::newRow("position beyond the list is logged")
            << QVariant(9) << false << QStringList() << QList<BookmarkRow>()
            << QStringList{"LoadBookmarkList"};
        QTest::newRow("a failing value keeps the rows made so far")
            << QVariant(QStringLiteral("/vorlagen/test.dotx")) << true << QStringList{"Firma"}
            << QList<BookmarkRow>{{"A", "Firma (OF)", ""}} << QStringList{"LoadBookmarkList"};
        QTest::newRow("values are not resolved when not asked for")
            << QVariant(QStringLiteral("/vorlagen/test.dotx")) << false << QStringList{"Firma"}
            << QList<BookmarkRow>{{"A", "Firma (OF)", ""},
                                  {"B", "-", ""},
                                  {"C", "Von-Name (SF)", ""},
                                  {"D", "Datum tt.mm.jjjj (EF)", ""}}
            << QStringList();
    }
    void loadBookmarkList()
    {
        QFETCH(QVariant, which);
        QFETCH(bool, withValues);
        QFETCH(QStringList, failing);
        QFETCH(QList<BookmarkRow>, rows);
        QFETCH(QStringList, errors);
        FieldAssignmentList list;
        QString special;
        SetDefaultFieldAssignments(list, special);
        list.add(QStringLiteral(
            "/vorlagen/test.dotx|A=Firma (OF)|B=-|C=Von-Name (SF)|D=Datum tt.mm.jjjj (EF)"));
        list.add(QStringLiteral("/vorlagen/cut.dotx|A=Firma (OF)||B=Von-Name (SF)"));
        list.add(QStringLiteral("/vorlagen/bare.dotx|Nackt|B=Firma (OF)"));
        list.add(QStringLiteral("/vorlagen/neu.dotx|"));
        FakeContact contact;
        contact.failing = failing;
        const QList<BookmarkRow> got =
            which.typeId() == QMetaType::Int
                ? LoadBookmarkList(list, which.toInt(), withValues, contact.resolver(), special,
                                   fixedDay())
                : LoadBookmarkList(list, which.toString(), withValues, contact.resolver(), special,
                                   fixedDay());
        QCOMPARE(got.size(), rows.size());
        for (int i = 0; i < rows.size(); ++i) {
            QCOMPARE(got[i].bookmark, rows[i].bookmark);
            QCOMPARE(got[i].field, rows[i].field);
            QCOMPARE(got[i].value, rows[i].value);
        }
        QCOMPARE(m_log->errors(), errors);
        QVERIFY(!m_ui->hourglass());
    }
};

QTEST_GUILESS_MAIN(TstFieldAssignments)
#include "tst_fieldassignments.moc"
