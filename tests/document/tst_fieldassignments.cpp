#include "WordTestFixture.h"
#include "WordXml.h"
#include "contacts/ContactFields.h"
#include "contacts/ContactItem.h"
#include "document/ClsWord.h"
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
using namespace WordXml;

Q_DECLARE_METATYPE(BookmarkRow)

namespace
{

const QDate fifthOfMarch2001(2001, 3, 5);

const QString defaultSpecial = QStringLiteral(
    "Von-Firma=<Ihre Firma>|Von-Abteilung=<Ihre Abteilung>|Von-Durchwahl=<Ihre Durchwahl>|"
    "Von-FAX=<Ihre FAX-Nummer>|Von-Name=<Ihr Name>|Von-Kurzzeichen=<Ihr Kurzzeichen>|"
    "Von-Unterschrift=i.A. <Ihr Name>");

// The chosen contact as the wizard resolves it: the real field look-up of a contact item
// (business address, separate name lines). Each request is recorded on its way through.
struct Contact {
    ContactItem item;
    ContactFields fields;
    QStringList calls, reported;
    Contact()
    {
        for (auto [p, v] : {std::pair{"Title", "Herr"},
                            {"FirstName", "Hans"},
                            {"LastName", "Berger"},
                            {"CompanyName", "Muster GmbH"},
                            {"BusinessAddressPostalCode", "80331"},
                            {"BusinessAddressCity", "München"}})
            item.setValue(QString::fromUtf8(p), QString::fromUtf8(v));
        item.setUserProperty({QStringLiteral("Kenn-Nr"),
                              ContactUserProperty::Type::Text,
                              QStringLiteral("K-17"),
                              {}});
        // A missing user property is reported here, not in a message box.
        fields.setRaiseErrorEvents(true);
        fields.setErrorEvent([this](long, const QString& m) { reported.append(m); });
    }
    ContactFieldResolver resolver()
    {
        return [this](const QString& name, int type) {
            calls.append(QStringLiteral("%1/%2").arg(name).arg(type));
            return fields.GetFieldData(&item, name, type, 0, 0, 0);
        };
    }
};

// An address line whose number is no digit: the look-up raises error 13.
const char* const failing = "x. Anschrift-Zeile (ZF)";

DateSource fixedDay()
{
    return [] { return fifthOfMarch2001; };
}

std::string markedPara(int id, const std::string& name)
{
    return para(start(id, name) + run("alt " + name) + end(id));
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
        auto row = [](const char* tag, const char* field, const char* text, bool withContact = true,
                      const QString& special = defaultSpecial) {
            QTest::newRow(tag) << field << special << withContact << QString::fromUtf8(text);
        };
        row("Outlook field", "Firma (OF)", "Muster GmbH");
        row("composite field", "PLZ+Ort ausgewählte Adresse (ZF)", "80331 München");
        row("user-defined field", "Kenn-Nr (BF)", "K-17");
        row("special field", "Von-Name (SF)", "<Ihr Name>");
        row("special field without a contact", "Von-Unterschrift (SF)", "i.A. <Ihr Name>", false);
        row("special value keeps its own '='", "Formel (SF)", "a=b", true, "Formel=a=b");
        row("special entry without '=' has an empty value", "Leer (SF)", "", true, "Leer|X=1");
        row("first of two equal special names wins", "X (SF)", "1", true, "X=1|X=2");
        row("special field before the Outlook field of its name", "Firma (SF)", "Sonder", true,
            "Firma=Sonder");
        row("deleted special field falls back to the Outlook field", "Firma (SF)", "Muster GmbH",
            true, "Von-Name=N");
        row("deleted special field unknown to the contact is empty", "Von-Kurzzeichen (SF)", "",
            true, "Von-Name=N");
        row("special names compare case-sensitively", "Firma (SF)", "Muster GmbH", true,
            "firma=Sonder");
        row("special walk ends at an empty entry", "Firma (SF)", "Muster GmbH", true,
            "A=1||Firma=Sonder");
        row("deleted special field without a contact", "Von-Kurzzeichen (SF)", "", false, "");
        row("no contact: Outlook field is empty", "Firma (OF)", "", false);
        row("date dd.MM.yyyy", "Datum tt.mm.jjjj (EF)", "05.03.2001");
        row("date dd.MM.yy", "Datum tt.mm.jj (EF)", "05.03.01");
        row("built-in names compare case-sensitively", "datum tt.mm.jjjj (EF)", "");
        row("unknown built-in field", "Uhrzeit (EF)", "");
        row("unassigned", "-", "");
        row("empty field name", "", "");
        row("' (OF)' alone is a whole name of type 0", " (OF)", "UNKNOWN:  (OF)");
        row("suffix in lower case is no suffix", "Firma (of)", "");
        row("unknown suffix", "Firma (XF)", "");
        row("suffix inside the name counts only at the end", "Firma (ZF) (OF)",
            "UNKNOWN: Firma (ZF)");
    }
    void resolve()
    {
        QFETCH(QString, field);
        QFETCH(QString, special);
        QFETCH(bool, withContact);
        Contact contact;
        const ContactFieldResolver item = withContact ? contact.resolver() : ContactFieldResolver();
        QEXPECT_FAIL("deleted special field unknown to the contact is empty",
                     "the fallback still prints \"UNKNOWN: \" into the letter", Continue);
        QTEST(ResolveFieldText(item, field, special, fixedDay()), "text");
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
        Contact contact;
        QVERIFY_THROWS_EXCEPTION(ZwError, ResolveFieldText(contact.resolver(), failing, {}));
        QCOMPARE(m_log->lines(), QStringList());
    }

    void fill_data()
    {
        QTest::addColumn<QString>("pairs");
        QTest::addColumn<bool>("withContact");
        QTest::addColumn<QStringList>("texts"); // of A, B, C
        QTest::addColumn<QStringList>("errors");
        auto row = [](const char* tag, const QString& pairs, const char* texts,
                      const char* errors = "", bool withContact = true) {
            QTest::newRow(tag) << pairs << withContact << QString::fromUtf8(texts).split(u'|')
                               << QString::fromUtf8(errors).split(u'|', Qt::SkipEmptyParts);
        };
        row("every bookmark gets its field", "A=Firma (OF)|B=Von-Name (SF)|C=Datum tt.mm.jj (EF)",
            "Muster GmbH|<Ihr Name>|05.03.01");
        row("unassigned bookmark keeps the template's text", "A=-|B=Firma (OF)|C=-",
            "alt A|Muster GmbH|alt C");
        row("'||' ends the walk", "A=Firma (OF)||B=Von-Name (SF)", "Muster GmbH|alt B|alt C");
        row("a trailing '|' is harmless", "A=Firma (OF)|", "Muster GmbH|alt B|alt C");
        row("token without '=' writes nothing", "A|B=Firma (OF)", "alt A|Muster GmbH|alt C");
        row("token with '=' first writes nothing", "=Firma (OF)|B=Von-FAX (SF)",
            "alt A|<Ihre FAX-Nummer>|alt C");
        row("without a contact only special and built-in fields fill",
            "A=Firma (OF)|B=Von-Name (SF)|C=Datum tt.mm.jjjj (EF)", "alt A|<Ihr Name>|05.03.2001",
            "", false);
        row("a bookmark missing in the template is logged by SetText",
            "Fehlt=Firma (OF)|B=Firma (OF)", "alt A|Muster GmbH|alt C",
            "Fehler beim Schreiben von 'Muster GmbH' an Textmarke 'Fehlt'");
        row("bookmark names ignore case", "c=Von-Firma (SF)", "alt A|alt B|<Ihre Firma>");
        row("no pairs at all", "", "alt A|alt B|alt C");
        // Two failures end the walk; the document is handed over all the same.
        const QString f = QString::fromUtf8(failing);
        row("one failure: the others are written", "A=Firma (OF)|B=" + f + "|C=Nachname (OF)",
            "Muster GmbH|alt B|Berger", "FillWordBookmarks: Textmarke = B");
        row("the second failure ends the walk", "A=" + f + "|B=" + f + "|C=Nachname (OF)",
            "alt A|alt B|alt C",
            "FillWordBookmarks: Textmarke = A|FillWordBookmarks: Textmarke = B");
        row("text written before the second failure stays", "A=Firma (OF)|B=" + f + "|C=" + f,
            "Muster GmbH|alt B|alt C",
            "FillWordBookmarks: Textmarke = B|FillWordBookmarks: Textmarke = C");
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
        Contact contact;
        WordDocument document = m_word->CreateDocument(path, true, false);
        FillWordBookmarks(list, 2, *m_word, document,
                          withContact ? contact.resolver() : ContactFieldResolver(), defaultSpecial,
                          fixedDay());
        QVERIFY(!m_ui->hourglass());
        QCOMPARE(m_log->errors(), errors);
        // Each failing bookmark is followed by its cause.
        if (errors.value(0).startsWith(u"FillWordBookmarks")) {
            QCOMPARE(m_log->lines().size(), 2 * errors.size());
            QVERIFY(m_log->lines().value(1).startsWith(u"Info: Typen unverträglich"));
        }
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
        Contact contact;
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
        Contact contact;
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
            QVERIFY2(!expected.startsWith(u"UNKNOWN:"), qPrintable(row.field));
            QCOMPARE(textAt(after, row.bookmark), expected);
        }
        QVERIFY(!contact.calls.isEmpty());
    }

    void loadBookmarkList_data()
    {
        QTest::addColumn<QVariant>("which"); // key (QString) or position (int)
        QTest::addColumn<bool>("withValues");
        QTest::addColumn<QList<BookmarkRow>>("rows");
        QTest::addColumn<bool>("logged");
        auto row = [](const char* tag, const QVariant& which, bool withValues,
                      const QList<BookmarkRow>& rows, bool logged = false) {
            QTest::newRow(tag) << which << withValues << rows << logged;
        };
        const QString test = QStringLiteral("/vorlagen/test.dotx");
        QList<BookmarkRow> thirty;
        for (int n = 1; n <= 30; ++n)
            thirty.append({QStringLiteral("(%1. Zeile)").arg(n), QStringLiteral("-"), QString()});
        row("empty document lists thirty lines after a reset", kEmptyDocument, false, thirty);
        FieldAssignmentList defaults;
        QString special;
        SetDefaultFieldAssignments(defaults, special);
        row("by position, without values", 3, false,
            rowsOf(defaults.item(sampleLetterTemplatePath())));
        row("key compares without case, with values", QStringLiteral("/VORLAGEN/test.DOTX"), true,
            {{"A", "Firma (OF)", "Muster GmbH"},
             {"B", "-", ""},
             {"C", "Von-Name (SF)", "<Ihr Name>"},
             {"D", "Datum tt.mm.jjjj (EF)", "05.03.2001"}});
        row("'||' lists only the pairs before it", QStringLiteral("/vorlagen/cut.dotx"), false,
            {{"A", "Firma (OF)", ""}});
        row("token without '=' is a row without field", QStringLiteral("/vorlagen/bare.dotx"), true,
            {{"Nackt", "-", ""}, {"B", "Firma (OF)", "Muster GmbH"}});
        row("empty key: nothing, nothing logged", QString(), false, {});
        row("position 0: nothing, nothing logged", 0, false, {});
        row("unknown key is logged", QStringLiteral("/gibt/es/nicht.dotx"), false, {}, true);
        row("position beyond the list is logged", 9, false, {}, true);
        row("a failing value keeps the rows made so far", QStringLiteral("/vorlagen/bad.dotx"),
            true, {{"A", "Firma (OF)", "Muster GmbH"}, {"B", failing, ""}}, true);
        row("values are not resolved when not asked for", QStringLiteral("/vorlagen/bad.dotx"),
            false, {{"A", "Firma (OF)", ""}, {"B", failing, ""}, {"C", "Von-Name (SF)", ""}});
    }
    void loadBookmarkList()
    {
        QFETCH(QVariant, which);
        QFETCH(bool, withValues);
        QFETCH(bool, logged);
        FieldAssignmentList list;
        QString special;
        SetDefaultFieldAssignments(list, special);
        list.add(QStringLiteral(
            "/vorlagen/test.dotx|A=Firma (OF)|B=-|C=Von-Name (SF)|D=Datum tt.mm.jjjj (EF)"));
        list.add(QStringLiteral("/vorlagen/cut.dotx|A=Firma (OF)||B=Von-Name (SF)"));
        list.add(QStringLiteral("/vorlagen/bare.dotx|Nackt|B=Firma (OF)"));
        list.add(QStringLiteral("/vorlagen/bad.dotx|A=Firma (OF)|B=") + failing +
                 QStringLiteral("|C=Von-Name (SF)"));
        Contact contact;
        const QList<BookmarkRow> got =
            which.typeId() == QMetaType::Int
                ? LoadBookmarkList(list, which.toInt(), withValues, contact.resolver(), special,
                                   fixedDay())
                : LoadBookmarkList(list, which.toString(), withValues, contact.resolver(), special,
                                   fixedDay());
        QTEST(got, "rows");
        QCOMPARE(m_log->errors(), logged ? QStringList{"LoadBookmarkList"} : QStringList());
        QVERIFY(!m_ui->hourglass());
    }
};

QTEST_GUILESS_MAIN(TstFieldAssignments)
#include "tst_fieldassignments.moc"
