#include "FieldFillHelpers.h"
#include "WordTestFixture.h"
#include "WordXml.h"
#include "document/DocumentErrors.h"
#include "document/FieldAssignmentDefaults.h"
#include "document/FieldAssignmentList.h"
#include "util/SystemNames.h"

#include <QTest>

using namespace OoxmlTestPackage;

Q_DECLARE_METATYPE(BookmarkRow)

namespace
{

// An address line whose number is no digit: the contact's look-up raises error 13.
const QString failing = QStringLiteral("x. Anschrift-Zeile (ZF)");

DateSource fixedDay()
{
    return [] { return QDate(2001, 3, 5); };
}

QList<BookmarkRow> rowsOf(const QString& entry)
{
    QList<BookmarkRow> rows;
    for (const QString& pair : entry.split(QLatin1Char('|')).mid(1))
        rows.append({pair.section(u'=', 0, 0), pair.section(u'=', 1), QString()});
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
        using namespace WordXml;
        Template t;
        for (int i = 1; i <= 3; ++i) {
            const std::string name(1, char('A' + i - 1));
            t.body += para(start(i, name) + run("alt " + name) + end(i));
        }
        return writeTemplate(t, QStringLiteral("ABC.dotx"));
    }

private Q_SLOTS:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void listKeysIgnoreCaseAndKeepOrder()
    {
        FieldAssignmentList list;
        QVERIFY(list.add(QStringLiteral("/v/Brief.dotx|A=Firma (OF)")));
        QVERIFY(list.add(QStringLiteral("/v/Fax.dotx")));
        QVERIFY(!list.add(QStringLiteral("/V/BRIEF.DOTX|B=-")));
        QVERIFY(list.add(QStringLiteral("c|z=-")));
        QCOMPARE(list.position(QStringLiteral("/V/brief.dotx")), 1);
        QCOMPARE(list.item(QStringLiteral("/v/FAX.dotx")), QStringLiteral("/v/Fax.dotx"));
        QCOMPARE(list.position(QStringLiteral("/v/none.dotx")), 0);
        QCOMPARE(list.item(4), QString());
        QCOMPARE(list.item(0), QString());
        // Replacing an entry moves it to the end.
        QVERIFY(list.remove(QStringLiteral("/v/brief.DOTX")));
        list.add(QStringLiteral("/v/Brief.dotx|A=-"));
        QCOMPARE(list.keys(), (QStringList{"/v/Fax.dotx", "c", "/v/Brief.dotx"}));
        QCOMPARE(list.item(3), QStringLiteral("/v/Brief.dotx|A=-"));
    }

    void defaultsReplaceEverything()
    {
        FieldAssignmentList list;
        list.add(QStringLiteral("/alt/Vorlage.dotx|X=-"));
        QString special = QStringLiteral("Alt=1");
        SetDefaultFieldAssignments(list, special);
        QCOMPARE(special, QStringLiteral("Von-Firma=<Ihre Firma>|Von-Abteilung=<Ihre Abteilung>|"
                                         "Von-Durchwahl=<Ihre Durchwahl>|Von-FAX=<Ihre FAX-Nummer>|"
                                         "Von-Name=<Ihr Name>|Von-Kurzzeichen=<Ihr Kurzzeichen>|"
                                         "Von-Unterschrift=i.A. <Ihr Name>"));
        QCOMPARE(list.keys(), (QStringList{kEmptyDocument, sampleFaxTemplatePath(),
                                           sampleLetterTemplatePath()}));
        QVERIFY(list.key(2).endsWith(QStringLiteral("/Bsp-FAX.dotx")));
        const QStringList empty = list.item(1).split(QLatin1Char('|'));
        QCOMPARE(empty.size(), 31);
        QCOMPARE(empty[1], QStringLiteral("(1. Zeile)=-"));
        QCOMPARE(empty[30], QStringLiteral("(30. Zeile)=-"));
        QCOMPARE(
            list.item(2).section(QLatin1Char('|'), 1),
            QStringLiteral(
                "AnAbteilung=Abteilung (OF)|AnFAX=FAX geschäftlich (OF)|AnFirma=Firma (OF)|"
                "AnName=Anrede+Name (ZF)|AnTelefon=Telefon geschäftlich (OF)|Betreff=-|"
                "Briefanrede=Briefanrede+Name (ZF)|Nachricht=-|VonAbteilung=Von-Abteilung (SF)|"
                "VonFAX=Von-FAX (SF)|VonFirma=Von-Firma (SF)|VonName=Von-Name (SF)|"
                "VonTelefon=Von-Durchwahl (SF)"));
        QCOMPARE(list.item(3).section(QLatin1Char('|'), 1),
                 QStringLiteral(
                     "Bearbeiter=Von-Name (SF)|BearbeiterDurchwahl=Von-Durchwahl (SF)|"
                     "Briefanrede=Briefanrede+Name (ZF)|Empfänger1=1. Anschrift-Zeile (ZF)|"
                     "Empfänger2=2. Anschrift-Zeile (ZF)|Empfänger3=3. Anschrift-Zeile (ZF)|"
                     "Empfänger4=4. Anschrift-Zeile (ZF)|Empfänger5=5. Anschrift-Zeile (ZF)|"
                     "Empfänger6=6. Anschrift-Zeile (ZF)|Empfänger7=7. Anschrift-Zeile (ZF)"));
    }

    void resolve_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("special");
        QTest::addColumn<QString>("contact"); // the sample, "edited", "private" or "none"
        QTest::addColumn<QString>("text");
        auto row = [](const char* tag, const char* field, const QString& text,
                      const char* contact = "sample",
                      const QString& special = DefaultAssignments().special) {
            QTest::newRow(tag) << field << special << contact << text;
        };
        row("Outlook field", "Firma (OF)", "Muster AG");
        row("composite field", "PLZ+Ort ausgewählte Adresse (ZF)", "10115 Berlin");
        row("user-defined field", "Kenn-Nr (BF)", "A-1001");
        row("without a title the salutation has none", "Briefanrede+Name (ZF)",
            "Sehr geehrte Müller,", "edited");
        row("without a full name it is composed", "Name (OF)", "Max Müller", "edited");
        row("the home country is left out", "Land ausgewählte Adresse (ZF)", "");
        row("another country is written", "Land ausgewählte Adresse (ZF)", "Österreich", "edited");
        row("special field", "Von-Name (SF)", "<Ihr Name>");
        row("special field without a contact", "Von-Unterschrift (SF)", "i.A. <Ihr Name>", "none");
        row("special value keeps its own '='", "Formel (SF)", "a=b", "sample", "Formel=a=b");
        row("special entry without '=' has an empty value", "Leer (SF)", "", "sample", "Leer|X=1");
        row("first of two equal special names wins", "X (SF)", "1", "sample", "X=1|X=2");
        row("special field before the Outlook field of its name", "Firma (SF)", "Sonder", "sample",
            "Firma=Sonder");
        row("deleted special field falls back to the Outlook field", "Firma (SF)", "Muster AG",
            "sample", "Von-Name=N");
        // It printed "UNKNOWN: Von-Durchwahl" into the letter.
        row("deleted special field of no Outlook name is empty", "Von-Durchwahl (SF)", "", "sample",
            "Von-Name=N");
        // A wrong Outlook name shows in the letter instead of a silent gap.
        row("unknown Outlook field stays visible", "Von-Durchwahl (OF)", "UNKNOWN: Von-Durchwahl");
        row("special names compare case-sensitively", "Firma (SF)", "Muster AG", "sample",
            "firma=Sonder");
        row("special walk ends at an empty entry", "Firma (SF)", "Muster AG", "sample",
            "A=1||Firma=Sonder");
        row("no contact: Outlook field is empty", "Firma (OF)", "", "none");
        row("a private contact has no company", "Firma (OF)", "", "private");
        row("date dd.MM.yyyy", "Datum tt.mm.jjjj (EF)", "05.03.2001");
        row("date dd.MM.yy", "Datum tt.mm.jj (EF)", "05.03.01");
        row("computer name", "Computername (EF)", VuGetComputerName(), "none");
        row("login name", "Benutzer Login-Name (EF)", VuGetLoginName(), "none");
        row("built-in names compare case-sensitively", "datum tt.mm.jjjj (EF)", "");
        row("unknown built-in field", "Uhrzeit (EF)", "");
        row("unassigned", "-", "");
        row("' (OF)' alone is a whole name of type 0", " (OF)", "UNKNOWN:  (OF)");
        row("suffix in lower case is no suffix", "Firma (of)", "");
        row("suffix inside the name counts only at the end", "Firma (ZF) (OF)",
            "UNKNOWN: Firma (ZF)");
    }
    void resolve()
    {
        QFETCH(QString, field);
        QFETCH(QString, special);
        QFETCH(QString, contact);
        QFETCH(QString, text);
        SampleContact sample(contact == u"private" ? "04-oeztuerk-sevgi.vcf"
                                                   : "01-mueller-max.vcf");
        // Edited in the program: title and full name removed, the business address abroad.
        if (contact == u"edited") {
            QVERIFY(sample.item.setValue(u"Title", QString()));
            QVERIFY(sample.item.setValue(u"FullName", QString()));
            QVERIFY(sample.item.setValue(u"BusinessAddressCountry", QStringLiteral("Österreich")));
        }
        const ContactFieldResolver item =
            contact == u"none" ? ContactFieldResolver() : sample.resolver();
        QCOMPARE(ResolveFieldText(item, field, special, fixedDay()), text);
    }

    void fill_data()
    {
        QTest::addColumn<QString>("pairs");
        QTest::addColumn<bool>("withContact");
        QTest::addColumn<QStringList>("texts"); // of A, B, C
        QTest::addColumn<QStringList>("errors");
        QTest::addColumn<QStringList>("unwritten"); // the bookmarks reported as failures
        auto row = [](const char* tag, const QString& pairs, const char* texts,
                      const QString& errors = {}, const char* unwritten = "",
                      bool withContact = true) {
            QTest::newRow(tag) << pairs << withContact << QString::fromUtf8(texts).split(u'|')
                               << errors.split(u'|', Qt::SkipEmptyParts)
                               << QString::fromUtf8(unwritten).split(u'|', Qt::SkipEmptyParts);
        };
        row("every bookmark gets its field", "A=Firma (OF)|B=Von-Name (SF)|C=Datum tt.mm.jj (EF)",
            "Muster AG|<Ihr Name>|05.03.01");
        row("unassigned bookmark keeps the template's text", "A=-|B=Firma (OF)|C=-",
            "alt A|Muster AG|alt C");
        row("'||' ends the walk", "A=Firma (OF)||B=Von-Name (SF)", "Muster AG|alt B|alt C");
        row("token without '=' writes nothing", "A|B=Firma (OF)", "alt A|Muster AG|alt C");
        row("token with '=' first writes nothing", "=Firma (OF)|B=Von-FAX (SF)",
            "alt A|<Ihre FAX-Nummer>|alt C");
        row("without a contact only special and built-in fields fill",
            "A=Firma (OF)|B=Von-Name (SF)|C=Datum tt.mm.jjjj (EF)", "alt A|<Ihr Name>|05.03.2001",
            "", "", false);
        row("a bookmark missing in the template is logged by SetText",
            "Fehlt=Firma (OF)|B=Firma (OF)", "alt A|Muster AG|alt C",
            "Fehler beim Schreiben von 'Muster AG' an Textmarke 'Fehlt'", "Fehlt");
        row("bookmark names ignore case", "c=Von-Firma (SF)", "alt A|alt B|<Ihre Firma>");
        row("no pairs at all", "", "alt A|alt B|alt C");
        // A failing look-up is logged and skipped; the second ends the walk, and the document
        // is handed over all the same.
        row("one failure: the others are written", "A=Firma (OF)|B=" + failing + "|C=Nachname (OF)",
            "Muster AG|alt B|Müller", "FillWordBookmarks: Textmarke = B", "B");
        // Assigned bookmarks left after the end are reported too, up to the first "||".
        row("the second failure ends the walk",
            "A=" + failing + "|B=" + failing + "|C=Firma (OF)|D=-||E=Firma (OF)",
            "alt A|alt B|alt C",
            "FillWordBookmarks: Textmarke = A|FillWordBookmarks: Textmarke = B", "A|B|C");
        row("text written before the second failure stays",
            "A=Firma (OF)|B=" + failing + "|C=" + failing, "Muster AG|alt B|alt C",
            "FillWordBookmarks: Textmarke = B|FillWordBookmarks: Textmarke = C", "B|C");
    }
    void fill()
    {
        QFETCH(QString, pairs);
        QFETCH(bool, withContact);
        QFETCH(QStringList, texts);
        QFETCH(QStringList, errors);
        QFETCH(QStringList, unwritten);
        const QString path = abcTemplate();
        FieldAssignmentList list;
        list.add(QStringLiteral("/anderswo/Erste.dotx|A=Firma (OF)"));
        list.add(pairs.isEmpty() ? path : path + QLatin1Char('|') + pairs);
        SampleContact contact;
        WordDocument document = m_word->CreateDocument(path, true, false);
        QList<BookmarkFailure> failures;
        FillWordBookmarks(list, 2, *m_word, document,
                          withContact ? contact.resolver() : ContactFieldResolver(),
                          DefaultAssignments().special, fixedDay(), &failures);
        QVERIFY(!m_ui->hourglass());
        QCOMPARE(m_log->errors(), errors);
        QStringList reported;
        for (const BookmarkFailure& failure : failures) {
            QVERIFY(!failure.cause.description().isEmpty());
            reported.append(failure.bookmark);
        }
        QCOMPARE(reported, unwritten);
        if (errors.value(0).startsWith(u"Fehler beim Schreiben"))
            QCOMPARE(failures.first().cause.number(), DocumentError::BookmarkMissing);
        // Each failing look-up is followed by its cause.
        if (errors.value(0).startsWith(u"FillWordBookmarks")) {
            QCOMPARE(m_log->lines().size(), 2 * errors.size());
            QVERIFY(m_log->lines().value(1).startsWith(u"Info: Typen unverträglich"));
        }
        QCOMPARE(m_opened.size(), 1);
        const auto entries = readZip(m_opened.first());
        QCOMPARE(QStringList({textAt(entries, "A"), textAt(entries, "B"), textAt(entries, "C")}),
                 texts);
    }

    void fillNothing_data()
    {
        QTest::addColumn<int>("position");
        QTest::addColumn<bool>("withDocument");
        QTest::addColumn<QStringList>("errors");
        const QStringList noEntry{"FillWordBookmarks: Textmarke = "};
        QTest::newRow("position 0 ends at once") << 0 << true << QStringList();
        QTest::newRow("position beyond the list is logged") << 3 << true << noEntry;
        QTest::newRow("negative position is logged") << -1 << true << noEntry;
        // CreateDocument failed: SetText touches the document before it looks at the text, so
        // even an unassigned bookmark is logged.
        QTest::newRow("no document: every bookmark is logged")
            << 1 << false
            << QStringList{"Fehler beim Schreiben von '<Ihr Name>' an Textmarke 'A'",
                           "Fehler beim Schreiben von '' an Textmarke 'B'"};
    }
    void fillNothing()
    {
        QFETCH(int, position);
        QFETCH(bool, withDocument);
        const QString path = abcTemplate();
        FieldAssignmentList list;
        list.add(path + QStringLiteral("|A=Von-Name (SF)|B=-"));
        const WordDocument document =
            withDocument ? m_word->CreateDocument(path, true, false) : WordDocument();
        SampleContact contact;
        FillWordBookmarks(list, position, *m_word, document, contact.resolver(),
                          DefaultAssignments().special);
        QTEST(m_log->errors(), "errors");
        // The document is handed over unchanged, unless there is none.
        QCOMPARE(m_opened.size(), withDocument && position != 0 ? 1 : 0);
        QVERIFY(!document || !document->isDirty());
        QVERIFY(contact.calls.isEmpty());
    }

    void sampleTemplates_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("bookmarks");
        QTest::addColumn<QString>("deleted"); // a special field deleted in the options
        QTest::addColumn<QString>("bookmark");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("log");
        QTest::newRow("Bsp-Brief.dotx")
            << sampleLetterTemplatePath() << 10 << QString() << "Briefanrede"
            << "Sehr geehrter Herr Müller," << QStringList();
        QTest::newRow("Bsp-FAX.dotx") << sampleFaxTemplatePath() << 13 << QString() << "AnFirma"
                                      << "Muster AG" << QStringList();
        QTest::newRow("Bsp-Brief.dotx, Von-Durchwahl deleted but still assigned")
            << sampleLetterTemplatePath() << 10 << "Von-Durchwahl"
            << "BearbeiterDurchwahl" << QString()
            << QStringList{"Info: Sonderfeld 'Von-Durchwahl' ist nicht mehr eingetragen"};
    }
    void sampleTemplates()
    {
        QFETCH(QString, path);
        QFETCH(int, bookmarks);
        QFETCH(QString, deleted);
        QFETCH(QString, bookmark);
        QVERIFY2(QFileInfo::exists(path), qPrintable(path));
        auto [list, special] = DefaultAssignments();
        QStringList specials = special.split(u'|');
        specials.removeIf([&](const QString& e) { return e.startsWith(deleted + u'='); });
        special = specials.join(u'|');

        // What the template holds before, for the bookmarks left unassigned.
        const auto before = readZip(path);
        SampleContact contact;
        WordDocument document = m_word->CreateDocument(path, true, false);
        QCOMPARE(int(m_word->GetBookmarkCount(document)), bookmarks);
        FillWordBookmarks(list, list.position(path), *m_word, document, contact.resolver(), special,
                          fixedDay());
        QTEST(m_log->lines(), "log");
        QCOMPARE(m_opened.size(), 1);
        QVERIFY(m_opened.first().startsWith(outDir() + QLatin1Char('/')));
        QVERIFY(m_opened.first().endsWith(QStringLiteral(".docx")));
        const auto after = readZip(m_opened.first());
        QVERIFY(after.at("[Content_Types].xml").find(documentType) != std::string::npos);
        QTEST(textAt(after, bookmark), "text");

        const QList<BookmarkRow> rows = rowsOf(list.item(path));
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
        QList<BookmarkRow> thirty;
        for (int n = 1; n <= 30; ++n)
            thirty.append({QStringLiteral("(%1. Zeile)").arg(n), QStringLiteral("-"), QString()});
        row("empty document lists thirty lines after a reset", kEmptyDocument, false, thirty);
        row("by position, without values", 3, false,
            rowsOf(DefaultAssignments().list.item(sampleLetterTemplatePath())));
        row("key compares without case, with values", QStringLiteral("/VORLAGEN/test.DOTX"), true,
            {{"A", "Firma (OF)", "Muster AG"},
             {"B", "-", ""},
             {"C", "Von-Name (SF)", "<Ihr Name>"},
             {"D", "Datum tt.mm.jjjj (EF)", "05.03.2001"}});
        row("'||' lists only the pairs before it", QStringLiteral("/vorlagen/cut.dotx"), false,
            {{"A", "Firma (OF)", ""}});
        row("token without '=' is a row without field", QStringLiteral("/vorlagen/bare.dotx"), true,
            {{"Nackt", "-", ""}, {"B", "Firma (OF)", "Muster AG"}});
        row("empty key: nothing, nothing logged", QString(), false, {});
        row("position 0: nothing, nothing logged", 0, false, {});
        row("unknown key is logged", QStringLiteral("/gibt/es/nicht.dotx"), false, {}, true);
        row("position beyond the list is logged", 9, false, {}, true);
        row("a failing value keeps the rows made so far", QStringLiteral("/vorlagen/bad.dotx"),
            true, {{"A", "Firma (OF)", "Muster AG"}, {"B", failing, ""}}, true);
        row("values are not resolved when not asked for", QStringLiteral("/vorlagen/bad.dotx"),
            false, {{"A", "Firma (OF)", ""}, {"B", failing, ""}, {"C", "Von-Name (SF)", ""}});
    }
    void loadBookmarkList()
    {
        QFETCH(QVariant, which);
        QFETCH(bool, withValues);
        QFETCH(bool, logged);
        auto [list, special] = DefaultAssignments();
        list.add(QStringLiteral(
            "/vorlagen/test.dotx|A=Firma (OF)|B=-|C=Von-Name (SF)|D=Datum tt.mm.jjjj (EF)"));
        list.add(QStringLiteral("/vorlagen/cut.dotx|A=Firma (OF)||B=Von-Name (SF)"));
        list.add(QStringLiteral("/vorlagen/bare.dotx|Nackt|B=Firma (OF)"));
        list.add("/vorlagen/bad.dotx|A=Firma (OF)|B=" + failing + "|C=Von-Name (SF)");
        SampleContact contact;
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
