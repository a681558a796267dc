// The LibreOffice engine against a real headless office: templates in every format LibreOffice
// writes, made here from one committed source, filled through ClsWord and the command line and
// read back by LibreOffice, bookmark by bookmark, beside the built-in engine's .dotx result.

#include "LogCapture.h"
#include "document/ClsWord.h"
#include "document/FieldAssignmentDefaults.h"
#include "document/LibreOfficeEngine.h"
#include "tests/cli/CliRunner.h"
#include "tests/support/ScriptedUserInterface.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QHash>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>
#include <csignal>
#include <functional>
#include <memory>

using Marks = QList<std::pair<QString, QString>>;

namespace
{

// One line per bookmark, so that a failing comparison shows what differs. LibreOffice writes a
// collapsed bookmark in a table cell twice into a .dotx; the built-in engine fills both places,
// and LibreOffice reading that back renames the second "<name> Copy 1": one bookmark. (Its RTF
// writer does the same, read back as "<name>_Copy_1".)
const QRegularExpression kCopy(QStringLiteral("[ _]Copy[ _]\\d+$"));

QString lines(const Marks& marks, const QStringList& without = {})
{
    QStringList result;
    for (const auto& [name, text] : marks)
        if (!name.contains(kCopy) && !without.contains(name))
            result << name + " = [" + QString(text).replace("\n", "|") + "]";
    return result.join("\n");
}

const QStringList kFormats{"dot", "doc", "odt", "ott", "rtf", "dotx"};

// What ClsWord writes: a multi-paragraph address, text at collapsed bookmarks in the header,
// footer, a table cell, a frame and a protected section, and over bold text.
const Marks kTexts{{"Absender", "Zettelwerk GmbH"},
                   {"Anschrift", "Muster AG\r\nHerr\r\nMax Müller"},
                   {"Betreff", "Ihr Angebot vom 1. März"},
                   {"Briefanrede", "Sehr geehrter Herr Müller"},
                   {"Datum", "23.11.2026"},
                   {"Durchwahl", "-42"},
                   {"Telefon", "+49 711 123\t(Zentrale)"},
                   {"Zeichen", "mm/zw"}};

} // namespace

class TestLibreOfficeEngine : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestEnvironment> m_env;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ScriptedUserInterface> m_ui;
    std::unique_ptr<LogCapture> m_log;
    std::unique_ptr<ClsWord> m_word; // one office for the whole executable
    std::unique_ptr<LibreOfficeEngine> m_reader;
    QString m_soffice;
    QHash<QString, QByteArray> m_templateBytes;
    Marks m_expected;

    QString templ(const QString& format) const
    {
        return m_dir->filePath(QStringLiteral("Brief-LO.") + format);
    }
    QString out(const QString& name) const
    {
        const QString folder = m_dir->filePath(QStringLiteral("out/") + name);
        QDir().mkpath(folder);
        return folder;
    }

    // A document from the template with kTexts written through word; its saved path, or a
    // line saying what failed. opened sees the document before anything is written.
    static QString fill(ClsWord& word, const QString& templatePath, const QString& folder,
                        const std::function<void(const WordDocument&)>& opened = {})
    {
        word.setOutputFolder(folder);
        const WordDocument document = word.CreateDocument(templatePath, false, true);
        if (!document)
            return QStringLiteral("kein Dokument: ") + word.lastErrorDescription();
        if (opened)
            opened(document);
        for (const auto& [bookmark, text] : kTexts) {
            if (document->bookmarkExists(bookmark) && !word.SetText(document, text, bookmark))
                return QStringLiteral("SetText: ") + word.lastErrorDescription();
        }
        const QString saved = word.presentDocument(document);
        return saved.isEmpty() ? QStringLiteral("nicht gespeichert: ") + word.lastErrorDescription()
                               : saved;
    }

    static QByteArray bytesOf(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    // The assignments the command line fills, for every template made here.
    void writeCliSettings()
    {
        const QString pairs = QStringLiteral(
            "|Absender=Firma (OF)|Anschrift=Name (OF)|Betreff=Nachname (OF)"
            "|Briefanrede=Briefanrede+Name (ZF)|Datum=Computername (EF)|Durchwahl=Vorname (OF)"
            "|Telefon=Telefon geschäftlich (OF)|Zeichen=Position (OF)");
        QList<std::pair<QString, QString>> values{{"DotCount", QString::number(kFormats.size())}};
        for (int i = 0; i < kFormats.size(); ++i)
            values.append({QStringLiteral("Dot%1").arg(i + 1), templ(kFormats[i]) + pairs});
        CliRunner::writeSettings(values);
        CliRunner::writeFile(m_dir->filePath("max.vcf"),
                             "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Müller;Max;;Herr;\r\n"
                             "FN:Max Müller\r\nORG:Muster AG;Einkauf\r\nTITLE:Einkaufsleiter\r\n"
                             "TEL;TYPE=WORK:+49 711 123\r\nEND:VCARD\r\n");
    }

    QString runCli(const QString& format, const QString& outputFormat, const QString& folder)
    {
        QStringList args{"--kontakt", m_dir->filePath("max.vcf"),
                         "--vorlage", templ(format),
                         "--ausgabe", folder};
        if (!outputFormat.isEmpty())
            args << "--format" << outputFormat;
        const CliRunner::Result r = CliRunner::run(args, 120000);
        if (!r.finished || r.exitCode != 0)
            return QStringLiteral("Exit %1: %2").arg(r.exitCode).arg(r.err);
        return r.out.trimmed();
    }

private slots:
    void initTestCase()
    {
        m_soffice = QStandardPaths::findExecutable(QStringLiteral("soffice"));
        if (m_soffice.isEmpty())
            QSKIP("LibreOffice (soffice) is not installed");
        // Headless in any case: no window may open on a developer's display.
        qunsetenv("DISPLAY");
        qunsetenv("WAYLAND_DISPLAY");
        m_env = std::make_unique<TestEnvironment>();
        m_dir = std::make_unique<QTemporaryDir>();
        m_ui = std::make_unique<ScriptedUserInterface>();
        m_log = std::make_unique<LogCapture>(*m_ui);

        // The templates: one source, written by LibreOffice in each format.
        const QString source = QStringLiteral(ZW_TEST_DATA "/Brief-LO.fodt");
        const QString profile = QUrl::fromLocalFile(m_dir->filePath("convert-profile")).toString();
        for (const QString& format : kFormats) {
            QProcess convert;
            convert.start(m_soffice, {"-env:UserInstallation=" + profile, "--headless",
                                      "--convert-to", format, "--outdir", m_dir->path(), source});
            QVERIFY(convert.waitForFinished(120000));
            QVERIFY2(QFileInfo::exists(templ(format)), qPrintable(format));
        }

        for (const QString& format : kFormats)
            m_templateBytes[format] = bytesOf(templ(format));
        writeCliSettings();

        m_word = std::make_unique<ClsWord>();
        QVERIFY(m_word->SetUsedVersion(ClsWord::kVersionLibreOffice));
        QElapsedTimer start;
        start.start();
        QVERIFY2(m_word->OpenWord(false), qPrintable(m_word->lastErrorDescription()));
        qInfo("office started in %lld ms", start.elapsed());
        m_reader = std::make_unique<LibreOfficeEngine>();
        m_reader->open();

        // The built-in engine's document from the .dotx twin is what every format must match.
        ClsWord builtIn;
        QVERIFY(builtIn.SetUsedVersion(ClsWord::kVersionOoxml));
        const QString reference = fill(builtIn, templ("dotx"), out("eingebaut"));
        QVERIFY2(reference.endsWith(".docx"), qPrintable(reference));
        m_expected = m_reader->readBookmarks(reference);
        Marks written;
        for (auto [bookmark, text] : kTexts)
            written.append({bookmark, text.replace("\r\n", "\n")});
        QCOMPARE(lines(m_expected), lines(written));
    }

    void init()
    {
        if (m_log)
            m_log->clear();
    }

    void cleanupTestCase()
    {
        m_reader.reset();
        if (m_word)
            m_word->CloseWord(false);
        m_word.reset();
        m_log.reset();
        m_ui.reset();
    }

    // LibreOffice 7.4 writes no bookmark of a text frame into RTF, and reads none from a text
    // box of a .dotx (the twin is only for the built-in engine).
    static QStringList lostIn(const QString& format)
    {
        return format == u"rtf" ? QStringList{"Datum"} : QStringList();
    }

    void everyFormat_data()
    {
        QTest::addColumn<QString>("format");
        QTest::addColumn<QString>("extension");
        for (auto [format, extension] : {std::pair{"dot", ".docx"},
                                         {"doc", ".docx"},
                                         {"rtf", ".docx"},
                                         {"odt", ".odt"},
                                         {"ott", ".odt"}})
            QTest::newRow(format) << QString(format) << QString(extension);
    }

    // The same texts into the same template in every format: the same text at every bookmark
    // as the built-in engine writes into the .dotx twin. The template is never written to.
    void everyFormat()
    {
        QFETCH(QString, format);
        QFETCH(QString, extension);
        const QString saved = fill(
            *m_word, templ(format), out(format), [this, &format](const WordDocument& document) {
                // Sorted, hidden ones left out; header, footer, table, frame and section count.
                QStringList names, expected;
                for (qint16 i = 1; i <= m_word->GetBookmarkCount(document); ++i)
                    names << m_word->GetBookmarkName(document, i);
                for (const auto& [bookmark, text] : kTexts) {
                    if (!lostIn(format).contains(bookmark))
                        expected << bookmark;
                }
                names.removeIf([](const QString& n) { return n.contains(kCopy); });
                QCOMPARE(names, expected);
                // "Zeichen" lies in a protected section: the write is refused (4605), ClsWord
                // lifts the protection and writes once more. LibreOffice's RTF writer drops the
                // section's protection.
                QCOMPARE(document->isProtected(), format != u"rtf");
            });
        QVERIFY2(saved.endsWith(extension), qPrintable(saved));
        QCOMPARE(lines(m_reader->readBookmarks(saved)), lines(m_expected, lostIn(format)));
        QCOMPARE(bytesOf(templ(format)), m_templateBytes[format]);
        QVERIFY(m_log->errors().isEmpty());
    }

    void commandLine_data()
    {
        QTest::addColumn<QString>("format");
        QTest::addColumn<QString>("outputFormat");
        QTest::addColumn<QString>("extension");
        const auto row = [](const char* format, const char* output, const char* extension) {
            const QString name =
                QStringLiteral(".%1%2").arg(format, *output ? " as " + QString(output) : "");
            QTest::newRow(qPrintable(name))
                << QString(format) << QString(output) << QString(extension);
        };
        row("dot", "", ".docx");
        row("doc", "", ".docx");
        row("rtf", "", ".docx");
        row("ott", "", ".odt");
        row("odt", "docx", ".docx");
        row("doc", "odt", ".odt");
        row("dot", "pdf", ".pdf");
    }

    // The command line fills each format as it fills the .dotx twin with the built-in engine.
    void commandLine()
    {
        QFETCH(QString, format);
        QFETCH(QString, outputFormat);
        QFETCH(QString, extension);
        static Marks builtIn;
        if (builtIn.isEmpty()) {
            const QString reference = runCli("dotx", "", out("cli-eingebaut"));
            QVERIFY2(reference.endsWith(".docx"), qPrintable(reference));
            builtIn = m_reader->readBookmarks(reference);
            const std::pair<QString, QString> first{"Absender", "Muster AG"};
            QCOMPARE(builtIn.value(0), first);
        }
        const QString folder = out("cli-" + format + outputFormat);
        const QString saved = runCli(format, outputFormat, folder);
        QVERIFY2(saved.endsWith(extension), qPrintable(saved));
        if (extension == ".pdf")
            QVERIFY(bytesOf(saved).startsWith("%PDF-"));
        else
            QCOMPARE(lines(m_reader->readBookmarks(saved)), lines(builtIn, lostIn(format)));
        QCOMPARE(QDir(folder).entryList(QDir::Files | QDir::Hidden).size(), 1);
    }

    // "(leeres Dokument)": a blank Writer document; line placeholders type successive
    // paragraphs at the insertion point, blank-only text is left out.
    void blankDocumentLines()
    {
        m_word->setOutputFolder(out("leer"));
        const WordDocument document = m_word->CreateDocument(kEmptyDocument, false, true);
        QVERIFY2(document, qPrintable(m_word->lastErrorDescription()));
        QCOMPARE(int(m_word->GetBookmarkCount(document)), 0);
        QVERIFY(m_word->SetText(document, "Muster AG", "(1. Zeile)"));
        QVERIFY(m_word->SetText(document, "   ", "(2. Zeile)"));
        QVERIFY(m_word->SetText(document, "Max Müller", "(3. Zeile)"));
        const QString saved = m_word->presentDocument(document);
        QVERIFY2(saved.endsWith("/Dokument.docx"), qPrintable(saved));
        pugi::xml_document xml;
        QVERIFY(CliRunner::loadMainPart(saved, xml));
        QCOMPARE(OoxmlTestPackage::paragraphs(xml), (QStringList{"Muster AG", "Max Müller", ""}));
    }

    void refusals_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("withOffice");
        QTest::addColumn<QString>("reason");
        QTest::newRow("not a template at all")
            << "Kaputt.dot" << QByteArray("\x01\x02\x03\xff\xfe", 5) << true
            << "LibreOffice kann die Dokumentvorlage";
        QTest::newRow("missing template")
            << "Fehlt.doc" << QByteArray() << true << "wurde nicht gefunden";
        QTest::newRow(".dot without LibreOffice")
            << "Brief.dot" << QByteArray("x") << false << "wird LibreOffice Writer benötigt";
    }

    // A template that cannot be used gives no document and a German reason naming the file.
    void refusals()
    {
        QFETCH(QString, file);
        QFETCH(QByteArray, content);
        QFETCH(bool, withOffice);
        QFETCH(QString, reason);
        const QString path = m_dir->filePath("refused/" + file);
        if (!content.isEmpty())
            CliRunner::writeFile(path, content);
        const QByteArray oldPath = qgetenv("PATH");
        if (!withOffice)
            qputenv("PATH", m_dir->filePath("refused").toUtf8());
        ClsWord word;
        const WordDocument document = word.CreateDocument(path, false, true);
        qputenv("PATH", oldPath);
        QVERIFY(!document);
        QVERIFY2(word.lastErrorDescription().contains(reason),
                 qPrintable(word.lastErrorDescription()));
        QVERIFY(word.lastErrorDescription().contains(QDir::toNativeSeparators(path)));
        QCOMPARE(m_log->errors().value(0), "Fehler beim Erzeugen eines Word-Dokuments");
        m_log->clear();
        QCOMPARE(bytesOf(path), content);
    }

    // The office crashed (killed) or hangs in a call (stopped): the hung call ends at the time
    // limit with a clear reason, and the next transfer works with a fresh office.
    void lostOfficeIsStartedAgain_data()
    {
        QTest::addColumn<int>("signal");
        QTest::addColumn<QString>("format");
        QTest::newRow("killed") << int(SIGKILL) << "dot";
        QTest::newRow("hung") << int(SIGSTOP) << "odt";
    }
    void lostOfficeIsStartedAgain()
    {
        QFETCH(int, signal);
        QFETCH(QString, format);
        m_word->setOfficeTimeouts(60000, 2000);
        const WordDocument document = m_word->CreateDocument(templ(format), false, true);
        QVERIFY2(document, qPrintable(m_word->lastErrorDescription()));
        const qint64 pid = m_reader->officeProcessId();
        QVERIFY(pid > 0);
        ::kill(pid_t(pid), signal);
        if (signal == SIGSTOP) {
            QElapsedTimer timer;
            timer.start();
            QVERIFY(!m_word->SetText(document, "Text", "Betreff"));
            QVERIFY(timer.elapsed() < 10000);
            QVERIFY2(m_word->lastErrorDescription().contains("nicht geantwortet"),
                     qPrintable(m_word->lastErrorDescription()));
            m_log->clear();
        }
        QTRY_VERIFY_WITH_TIMEOUT(::kill(pid_t(pid), 0) != 0, 10000);
        m_word->setOfficeTimeouts(60000, 30000);
        const QString saved = fill(*m_word, templ(format), out("danach-" + format));
        QVERIFY2(saved.endsWith(format == u"dot" ? ".docx" : ".odt"), qPrintable(saved));
        QVERIFY(m_log->errors().isEmpty());
        m_reader->open();
        QCOMPARE(lines(m_reader->readBookmarks(saved)), lines(m_expected));
    }
};

QTEST_GUILESS_MAIN(TestLibreOfficeEngine)
#include "tst_libreofficeengine.moc"
