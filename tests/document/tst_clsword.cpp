#include "WordTestFixture.h"
#include "WordXml.h"
#include "document/DocumentErrors.h"
#include "document/FieldAssignmentDefaults.h"

#include <QFile>
#include <unistd.h>

using namespace OoxmlTestPackage;
using namespace WordXml;

namespace
{

// PATH pointing at a folder that holds (or lacks) an executable "soffice".
class FakePath
{
public:
    enum Kind { None, Executable, NotExecutable, WithoutWriter };
    explicit FakePath(Kind kind) : m_old(qgetenv("PATH"))
    {
        if (kind != None) {
            QFile file(m_dir.filePath(QStringLiteral("soffice")));
            file.open(QIODevice::WriteOnly);
            file.write("#!/bin/sh\nexit 0\n");
            file.close();
            file.setPermissions(kind != NotExecutable
                                    ? QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                          QFile::ExeGroup | QFile::ExeOther
                                    : QFile::ReadOwner | QFile::WriteOwner);
            // Writer's module beside the program, as in an installed office.
            if (kind != WithoutWriter)
                QFile(m_dir.filePath(QStringLiteral("libswlo.so"))).open(QIODevice::WriteOnly);
        }
        qputenv("PATH", m_dir.path().toUtf8());
    }
    ~FakePath() { qputenv("PATH", m_old); }
    QString folder() const { return m_dir.path() + QLatin1Char('/'); }

private:
    QTemporaryDir m_dir;
    QByteArray m_old;
};

} // namespace

class TstClsWord : public WordTestFixture
{
    Q_OBJECT

private:
    // A letter with bookmark B around "alt" in its second paragraph.
    QString letterTemplate()
    {
        Template t;
        t.body = para(run("Kopf")) + para(start(1, "B") + run("alt") + end(1));
        return writeTemplate(t);
    }

    std::map<std::string, std::string> savedEntries(const WordDocument& document)
    {
        const QString path = m_word->presentDocument(document);
        return readZip(path);
    }

    static void parse(pugi::xml_document& xml, const std::string& text)
    {
        xml.load_buffer(text.data(), text.size(), pugi::parse_default | pugi::parse_ws_pcdata);
    }

private Q_SLOTS:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void versionTable_data()
    {
        QTest::addColumn<int>("path");
        QTest::addColumn<QStringList>("choices");
        QTest::addColumn<QList<bool>>("choiceResults");
        QTest::addColumn<QString>("version");

        auto row = [](const char* tag, FakePath::Kind path, const QStringList& choices,
                      const QList<bool>& results, const char* version) {
            QTest::newRow(tag) << int(path) << choices << results << version;
        };
        row("without LibreOffice the built-in engine is the newest installed", FakePath::None, {},
            {}, "OOXML");
        row("soffice on PATH: LibreOffice Writer comes first", FakePath::Executable, {}, {}, "LO");
        row("soffice without execute permission is not LibreOffice", FakePath::NotExecutable, {},
            {}, "OOXML");
        row("LibreOffice without its Writer module is not LibreOffice Writer",
            FakePath::WithoutWriter, {}, {}, "OOXML");
        row("the user's choice of the older version holds", FakePath::Executable, {"OOXML"}, {true},
            "OOXML");
        row("a version not installed leaves none, the next use detects again", FakePath::None,
            {"LO"}, {false}, "OOXML");
        row("a Windows version string is unknown and changes nothing", FakePath::Executable,
            {"OOXML", "9.0"}, {true, false}, "OOXML");
        row("version strings compare exactly", FakePath::Executable, {"OOXML", "lo"}, {true, false},
            "OOXML");
        row("choosing again replaces the choice", FakePath::Executable, {"OOXML", "LO"},
            {true, true}, "LO");
    }
    void versionTable()
    {
        QFETCH(int, path);
        QFETCH(QStringList, choices);
        QFETCH(QList<bool>, choiceResults);
        QFETCH(QString, version);
        FakePath fake{FakePath::Kind(path)};
        ClsWord word;
        QCOMPARE(word.IsVersionInstalled(QStringLiteral("LO")), path == FakePath::Executable);
        QVERIFY(word.IsVersionInstalled(QStringLiteral("OOXML")));
        QVERIFY(!word.IsVersionInstalled(QStringLiteral("9.0")));
        for (int i = 0; i < choices.size(); ++i)
            QCOMPARE(word.SetUsedVersion(choices[i]), choiceResults[i]);
        QCOMPARE(word.Version(), version);
        const bool office = version == QLatin1String("LO");
        QCOMPARE(word.ProductName(), office ? "LibreOffice Writer" : "Zettelwerk DOCX");
        QCOMPARE(word.programDirectory(),
                 office ? fake.folder() : QCoreApplication::applicationDirPath() + "/");
        // The texts of the version choice in the options.
        QCOMPARE(ClsWord::productNameOf(QStringLiteral("8.0")), QString());
        QCOMPARE(ClsWord::useVersionCaption(QStringLiteral("LO")),
                 QStringLiteral("LibreOffice Writer verwenden"));
        QCOMPARE(ClsWord::notInstalledText(QStringLiteral("OOXML")),
                 QStringLiteral("Zettelwerk DOCX ist nicht installiert"));
    }

    void openWord_data()
    {
        QTest::addColumn<QString>("folder"); // relative to the test folder; "<default>"
        QTest::addColumn<bool>("opens");
        QTest::addColumn<QString>("cause");
        QTest::newRow("writable folder") << "out" << true << QString();
        QTest::newRow("documents folder by default") << "<default>" << true << QString();
        QTest::newRow("missing documents folder is created")
            << "<missing default>" << true << QString();
        QTest::newRow("missing chosen folder fails")
            << "nicht-da" << false << "Der Ausgabeordner \"%1\" existiert nicht.";
        QTest::newRow("a file instead of a folder fails")
            << "datei.txt" << false << "Der Ausgabeordner \"%1\" existiert nicht.";
        if (geteuid() != 0)
            QTest::newRow("read-only folder fails")
                << "readonly" << false << "Der Ausgabeordner \"%1\" ist nicht";
    }
    void openWord()
    {
        QFETCH(QString, folder);
        QFETCH(bool, opens);
        QFETCH(QString, cause);
        QFile(m_dir->filePath(QStringLiteral("datei.txt"))).open(QIODevice::WriteOnly);
        QDir(m_dir->path()).mkpath(QStringLiteral("readonly"));
        QFile::setPermissions(m_dir->filePath(QStringLiteral("readonly")),
                              QFile::ReadOwner | QFile::ExeOwner);
        const QString documents = m_env->root() + QStringLiteral("/home/Documents");
        if (folder == QLatin1String("<missing default>"))
            QDir(documents).removeRecursively();
        const bool isDefault = folder.startsWith(QLatin1Char('<'));
        const QString path = isDefault ? QString() : m_dir->filePath(folder);
        m_word->setOutputFolder(path);

        QCOMPARE(m_word->OpenWord(true), opens);
        QVERIFY(!m_ui->hourglass());
        QCOMPARE(m_word->engine() != nullptr, opens);
        if (opens) {
            QCOMPARE(m_log->lines(), QStringList());
            QCOMPARE(m_word->engine()->outputFolder(), isDefault ? documents : path);
            QVERIFY(QFileInfo(m_word->engine()->outputFolder()).isDir());
            // The probe file is gone again.
            QCOMPARE(QDir(m_word->engine()->outputFolder())
                         .entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot),
                     QStringList());
        } else {
            const QStringList lines = m_log->lines();
            QCOMPARE(lines.size(), 2);
            QCOMPARE(lines[0], QStringLiteral("Fehler: Fehler beim Öffnen von Word"));
            QVERIFY2(lines[1].startsWith(QStringLiteral("Info: ") + cause.arg(path)),
                     qPrintable(lines[1]));
            QVERIFY(!QFileInfo::exists(m_dir->filePath(QStringLiteral("nicht-da"))));
        }
    }

    void openWordReplacesAProcessorThatWentAway()
    {
        QVERIFY(m_word->OpenWord(false));
        DocumentEngine* first = m_word->engine();
        QVERIFY(m_word->OpenWord(false));
        QCOMPARE(m_word->engine(), first);
        first->quit(false);
        QVERIFY(m_word->OpenWord(false));
        QVERIFY(m_word->engine()->isOpen());
        QCOMPARE(m_log->lines(), QStringList());
        // The fresh engine shows documents through the same opener.
        m_word->engine()->setVisible(true);
        const QString path =
            m_word->presentDocument(m_word->CreateDocument(kEmptyDocument, true, false));
        QCOMPARE(m_opened, QStringList{path});
    }

    void createDocument_data()
    {
        QTest::addColumn<QString>("dotFile");
        QTest::addColumn<bool>("created");
        QTest::addColumn<int>("bookmarks");
        QTest::newRow("template") << "Brief.dotx" << true << 1;
        QTest::newRow("(leeres Dokument) is a blank document, not a file of that name")
            << "(leeres Dokument)" << true << 0;
        QTest::newRow("missing template") << "Fehlt.dotx" << false << 0;
        QTest::newRow("damaged .dot is refused (by LibreOffice, or for want of it)")
            << "Alt.dot" << false << 0;
        QTest::newRow("empty path is a blank document") << "" << true << 0;
    }
    void createDocument()
    {
        QFETCH(QString, dotFile);
        QFETCH(bool, created);
        QFETCH(int, bookmarks);
        letterTemplate();
        // A real template under the blank document's name in the working folder.
        QFile::copy(m_dir->filePath(QStringLiteral("Brief.dotx")),
                    m_dir->filePath(QStringLiteral("(leeres Dokument)")));
        QFile old(m_dir->filePath(QStringLiteral("Alt.dot")));
        old.open(QIODevice::WriteOnly);
        old.write(QByteArray("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8) + QByteArray(504, '\0'));
        old.close();
        const QString previous = QDir::currentPath();
        QDir::setCurrent(m_dir->path());
        const QString path =
            dotFile.isEmpty() || dotFile == kEmptyDocument ? dotFile : m_dir->filePath(dotFile);
        WordDocument document = m_word->CreateDocument(path, false, false);
        QDir::setCurrent(previous);

        QCOMPARE(bool(document), created);
        QVERIFY(!m_ui->hourglass());
        if (created) {
            QCOMPARE(document->templatePath(), path == kEmptyDocument ? QString() : path);
            QCOMPARE(int(m_word->GetBookmarkCount(document)), bookmarks);
            QCOMPARE(m_word->currentDocument(), document);
            QCOMPARE(m_log->lines(), QStringList());
        } else {
            const QStringList lines = m_log->lines();
            QCOMPARE(lines.size(), 2);
            QCOMPARE(lines[0], QStringLiteral("Fehler: Fehler beim Erzeugen eines Word-Dokuments"));
            QVERIFY2(lines[1].contains(QDir::toNativeSeparators(path)), qPrintable(lines[1]));
            QCOMPARE(m_word->currentDocument(), WordDocument());
        }
    }

    void closeOldDocument_data()
    {
        QTest::addColumn<bool>("closeOld");
        QTest::newRow("old document closed") << true;
        QTest::newRow("old document stays open") << false;
    }
    void closeOldDocument()
    {
        QFETCH(bool, closeOld);
        const QString path = letterTemplate();
        WordDocument first = m_word->CreateDocument(path, true, false);
        QVERIFY(m_word->SetText(first, QStringLiteral("eins"), QStringLiteral("B")));
        WordDocument second = m_word->CreateDocument(path, true, closeOld);
        QVERIFY(second);
        QCOMPARE(first->isClosed(), closeOld);
        QCOMPARE(m_word->engine()->documents().size(), closeOld ? 1 : 2);
        QCOMPARE(m_word->currentDocument(), second);
        // A closed document was not saved behind the user's back.
        QCOMPARE(QDir(outDir()).entryList(QDir::Files), QStringList());
    }

    void setText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("bookmark");
        QTest::addColumn<bool>("result");
        QTest::addColumn<QString>("bookmarkText");
        QTest::addColumn<QStringList>("paragraphs");
        QTest::addColumn<QStringList>("errors");
        auto row = [](const char* tag, const char* text, const char* bookmark, bool result,
                      const char* inside, const QStringList& paragraphs, const char* error = "") {
            QTest::newRow(tag) << text << bookmark << result << inside << paragraphs
                               << (*error ? QStringList{error} : QStringList());
        };
        const QStringList untouched{"Kopf", "alt"};
        const QStringList line{"Zeile", "Kopf", "alt"};
        row("text replaces the bookmark's content", "Neu", "B", true, "Neu", {"Kopf", "Neu"});
        row("bookmark names ignore case", "Neu", "b", true, "Neu", {"Kopf", "Neu"});
        row("blanks only write nothing", "   ", "B", true, "alt", untouched);
        row("a tab is text, not a blank", "\t", "B", true, "\t", {"Kopf", "\t"});
        row("surrounding blanks are typed as they are", " x ", "B", true, " x ", {"Kopf", " x "});
        row("line placeholder types a line at the insertion point", "Zeile", "(1. Zeile)", true,
            "alt", line);
        row("any bookmark beginning with '(' is a placeholder", "Zeile", "(B)", true, "alt", line);
        row("no bookmark types a line at the insertion point", "Zeile", "", true, "alt", line);
        row("unknown bookmark is logged with text and bookmark", "x", "Fehlt", false, "alt",
            untouched, "Fehler beim Schreiben von 'x' an Textmarke 'Fehlt'");
        row("unknown bookmark with blanks only is not even looked for", "  ", "Fehlt", true, "alt",
            untouched);
    }
    void setText()
    {
        QFETCH(QString, text);
        QFETCH(QString, bookmark);
        QFETCH(bool, result);
        QFETCH(QString, bookmarkText);
        QFETCH(QStringList, paragraphs);
        QFETCH(QStringList, errors);
        WordDocument document = m_word->CreateDocument(letterTemplate(), true, false);
        QCOMPARE(m_word->SetText(document, text, bookmark), result);
        QCOMPARE(m_log->errors(), errors);
        QCOMPARE(document->isDirty(), paragraphs != QStringList({"Kopf", "alt"}));
        pugi::xml_document main;
        parse(main, savedEntries(document).at("word/document.xml"));
        QCOMPARE(OoxmlTestPackage::bookmarkText(main, "B"), bookmarkText);
        QCOMPARE(OoxmlTestPackage::paragraphs(main), paragraphs);
    }

    void setTextFailures_data()
    {
        QTest::addColumn<int>("documentState"); // 0 none, 1 closed
        QTest::addColumn<QString>("bookmark");
        QTest::addColumn<QString>("logged");
        const QString logged = QStringLiteral("Fehler beim Schreiben von 'Text'");
        QTest::newRow("no document, with bookmark") << 0 << "B" << logged + " an Textmarke 'B'";
        QTest::newRow("no document, without bookmark") << 0 << "" << logged;
        QTest::newRow("closed document, placeholder named")
            << 1 << "(2. Zeile)" << logged + " an Textmarke '(2. Zeile)'";
    }
    void setTextFailures()
    {
        QFETCH(int, documentState);
        QFETCH(QString, bookmark);
        QFETCH(QString, logged);
        WordDocument document;
        if (documentState == 1) {
            document = m_word->CreateDocument(kEmptyDocument, false, false);
            m_word->CloseWord(false);
        }
        QVERIFY(!m_word->SetText(document, QStringLiteral("Text"), bookmark));
        QCOMPARE(m_log->errors(), QStringList{logged});
    }

    // The write into a protected template is refused; ClsWord lifts the protection and writes
    // once more, without a trace of the refused write.
    void protectedDocument_data()
    {
        QTest::addColumn<QString>("protection"); // w:edit, w:enforcement
        QTest::addColumn<QString>("bookmark");
        QTest::addColumn<bool>("editableRange");
        QTest::addColumn<bool>("enforced");
        QTest::addColumn<bool>("lifted");
        QTest::addColumn<QStringList>("paragraphs");
        const QStringList atB{"Kopf", "Neu"};
        auto row = [](const char* tag, const char* protection, const char* bookmark,
                      bool editableRange, bool enforced, bool lifted,
                      const QStringList& paragraphs) {
            QTest::newRow(tag) << protection << bookmark << editableRange << enforced << lifted
                               << paragraphs;
        };
        row("bookmark in a read-only template", "readOnly 1", "B", false, true, true, atB);
        row("insertion point in a read-only template", "readOnly on", "(1. Zeile)", false, true,
            true, {"Neu", "Kopf", "alt"});
        row("forms enforced with true", "forms true", "B", false, true, true, atB);
        row("protection not enforced", "readOnly 0", "B", false, false, false, atB);
        row("tracked changes only", "trackedChanges 1", "B", false, false, false, atB);
        row("bookmark in an editable range keeps the protection", "readOnly 1", "B", true, true,
            false, atB);
    }
    void protectedDocument()
    {
        QFETCH(QString, protection);
        QFETCH(QString, bookmark);
        QFETCH(bool, editableRange);
        QFETCH(bool, enforced);
        QFETCH(bool, lifted);
        QFETCH(QStringList, paragraphs);
        Template t;
        t.settings = QStringLiteral("<w:documentProtection w:edit=\"%1\" w:enforcement=\"%2\"/>")
                         .arg(protection.section(u' ', 0, 0), protection.section(u' ', 1))
                         .toStdString();
        const std::string marked = start(1, "B") + run("alt") + end(1);
        t.body = para(run("Kopf")) + para(editableRange
                                              ? "<w:permStart w:id=\"7\" w:edGrp=\"everyone\"/>" +
                                                    marked + "<w:permEnd w:id=\"7\"/>"
                                              : marked);
        WordDocument document = m_word->CreateDocument(writeTemplate(t), true, false);
        QCOMPARE(document->isProtected(), enforced);
        QVERIFY(m_word->SetText(document, QStringLiteral("Neu"), bookmark));
        QCOMPARE(m_log->lines(), QStringList());
        QCOMPARE(document->isProtected(), enforced && !lifted);
        const auto entries = savedEntries(document);
        pugi::xml_document main;
        parse(main, entries.at("word/document.xml"));
        QCOMPARE(OoxmlTestPackage::paragraphs(main), paragraphs);
        QCOMPARE(entries.at("word/settings.xml").find("documentProtection") != std::string::npos,
                 !lifted);
    }

    void blankDocumentLines_data()
    {
        QTest::addColumn<QStringList>("texts"); // text of (n. Zeile), n = 1..30
        QTest::addColumn<QStringList>("paragraphs");
        QStringList all, lines;
        for (int n = 1; n <= 30; ++n)
            all.append(QStringLiteral("Zeile %1").arg(n));
        QTest::newRow("thirty lines in order") << all << (QStringList(all) << QString());
        QStringList gaps = all;
        gaps[1] = QString();
        gaps[4] = QStringLiteral("  ");
        gaps[29] = QString();
        QStringList kept = all;
        kept.removeAt(29);
        kept.removeAt(4);
        kept.removeAt(1);
        QTest::newRow("blank lines leave no gap") << gaps << (kept << QString());
        QTest::newRow("nothing assigned gives an empty page")
            << QStringList(30, QString()) << QStringList{QString()};
    }
    void blankDocumentLines()
    {
        QFETCH(QStringList, texts);
        QFETCH(QStringList, paragraphs);
        WordDocument document = m_word->CreateDocument(kEmptyDocument, true, false);
        QCOMPARE(int(m_word->GetBookmarkCount(document)), 0);
        for (int n = 1; n <= 30; ++n)
            QVERIFY(m_word->SetText(document, texts[n - 1], QStringLiteral("(%1. Zeile)").arg(n)));
        const QString path = m_word->presentDocument(document);
        QCOMPARE(QFileInfo(path).fileName(), QStringLiteral("Dokument.docx"));
        const auto entries = readZip(path);
        pugi::xml_document main;
        parse(main, entries.at("word/document.xml"));
        QCOMPARE(OoxmlTestPackage::paragraphs(main), paragraphs);
        QVERIFY(entries.at("[Content_Types].xml").find(documentType) != std::string::npos);
        QVERIFY(entries.count("word/styles.xml"));
        QCOMPARE(m_log->lines(), QStringList());
    }

    void bookmarks_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QStringList>("errors");
        QTest::newRow("first by name, case ignored") << 1 << "alpha" << QStringList();
        QTest::newRow("last") << 2 << "Zeta" << QStringList();
        for (auto [tag, index] : {std::pair{"index 0", 0},
                                  {"beyond the count, hidden one not reachable", 3},
                                  {"negative", -1}})
            QTest::newRow(tag) << index << "" << QStringList{"GetBookmarkName"};
    }
    void bookmarks()
    {
        QFETCH(int, index);
        QFETCH(QString, name);
        QFETCH(QStringList, errors);
        Template t;
        t.body = para(start(1, "Zeta") + end(1) + start(2, "_Toc12") + end(2) + start(4, "alpha") +
                      end(4));
        WordDocument document = m_word->CreateDocument(writeTemplate(t), false, false);
        QCOMPARE(int(m_word->GetBookmarkCount(document)), 2);
        QCOMPARE(m_word->GetBookmarkName(document, qint16(index)), name);
        QCOMPARE(m_log->errors(), errors);
    }

    void bookmarksOfNoDocument()
    {
        QCOMPARE(int(m_word->GetBookmarkCount(WordDocument())), 0);
        QCOMPARE(m_word->GetBookmarkName(WordDocument(), 1), QString());
        QCOMPARE(m_log->errors(), (QStringList{"GetBookmarkCount", "GetBookmarkName"}));
    }

    void closeWord_data()
    {
        QTest::addColumn<bool>("saveChanges");
        QTest::addColumn<bool>("changed");
        QTest::addColumn<int>("files");
        QTest::newRow("quit without saving") << false << true << 0;
        QTest::newRow("quit saving a changed document") << true << true << 1;
        QTest::newRow("an unchanged document is not saved") << true << false << 0;
    }
    void closeWord()
    {
        QFETCH(bool, saveChanges);
        QFETCH(bool, changed);
        QFETCH(int, files);
        WordDocument document = m_word->CreateDocument(letterTemplate(), false, false);
        if (changed)
            m_word->SetText(document, QStringLiteral("x"), QStringLiteral("B"));
        m_word->CloseWord(saveChanges);
        QVERIFY(document->isClosed());
        QCOMPARE(m_word->engine(), nullptr);
        QCOMPARE(m_word->currentDocument(), WordDocument());
        QCOMPARE(QDir(outDir()).entryList(QDir::Files).size(), files);
        QVERIFY(m_opened.isEmpty());
        // Word can be used again afterwards.
        QVERIFY(m_word->CreateDocument(kEmptyDocument, false, false));
        QCOMPARE(m_log->lines(), QStringList());
    }

    void present_data()
    {
        QTest::addColumn<bool>("visible");
        QTest::newRow("visible: saved and opened") << true;
        QTest::newRow("invisible: saved only") << false;
    }
    void present()
    {
        QFETCH(bool, visible);
        WordDocument document = m_word->CreateDocument(letterTemplate(), visible, false);
        m_word->SetText(document, QStringLiteral("x"), QStringLiteral("B"));
        const QString path = m_word->presentDocument(document);
        QCOMPARE(path, outDir() + QStringLiteral("/Brief.docx"));
        QVERIFY(QFileInfo::exists(path));
        QCOMPARE(m_opened, visible ? QStringList{path} : QStringList());
        // Shown again unchanged: the same file, no second copy.
        QCOMPARE(m_word->presentDocument(document), path);
        QCOMPARE(QDir(outDir()).entryList(QDir::Files).size(), 1);
    }

    void presentFailureIsLogged()
    {
        WordDocument document = m_word->CreateDocument(letterTemplate(), true, false);
        m_word->SetText(document, QStringLiteral("x"), QStringLiteral("B"));
        QDir(outDir()).removeRecursively();
        QCOMPARE(m_word->presentDocument(document), QString());
        QCOMPARE(m_log->errors(), QStringList{"Fehler beim Speichern des Word-Dokuments"});
        QCOMPARE(m_word->lastErrorNumber(), DocumentError::SaveFailed);
        QVERIFY2(m_word->lastErrorDescription().contains(QLatin1String("existiert nicht")),
                 qPrintable(m_word->lastErrorDescription()));
        QVERIFY(document->savedPath().isEmpty());
        QVERIFY(m_opened.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TstClsWord)
#include "tst_clsword.moc"
