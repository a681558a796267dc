#include "tests/support/ScriptedUserInterface.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestFiles.h"
#include "util/AppInfo.h"
#include "util/widgets/HelpWindow.h"
#include "util/widgets/ShowHelp.h"

#include <QDir>
#include <QFile>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>
#include <QTextBrowser>

namespace
{

// A page long enough that every anchor sits below the first screen.
QByteArray longPage()
{
    QByteArray html = "<html><body><h1>Inhalt</h1>";
    for (int section = 1001; section <= 1003; ++section) {
        html += "<h2><a name=\"" + QByteArray::number(section) + "\"></a>Abschnitt " +
                QByteArray::number(section) + "</h2>";
        for (int i = 0; i < 60; ++i)
            html += "<p>Zeile " + QByteArray::number(i) + "</p>";
    }
    return html + "</body></html>";
}

QStringList anchorNames(const QTextDocument* doc)
{
    QStringList names;
    for (QTextBlock b = doc->begin(); b.isValid(); b = b.next())
        for (auto it = b.begin(); !it.atEnd(); ++it)
            names << it.fragment().charFormat().anchorNames();
    return names;
}

} // namespace

class TstShowHelp : public QObject
{
    Q_OBJECT
private:
    QStringList m_opened;

private Q_SLOTS:
    void init()
    {
        m_opened.clear();
        vuSetHelpOpener([this](const QString& file) {
            m_opened << file;
            return true;
        });
        vuSetHelpFile(QString());
        if (HelpWindow::existing())
            HelpWindow::existing()->hide();
    }
    void cleanup() { vuSetHelpOpener({}); }

    void refusals_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("text");
        const QString missing = QStringLiteral("Die Hilfedatei '%1' ist nicht verfügbar!");
        QTest::newRow("no help file") << ""
                                      << "Keine Hilfe-Datei definiert!";
        QTest::newRow("missing file")
            << "/gibt/es/nicht/Zettelwerk.html" << missing.arg("/gibt/es/nicht/Zettelwerk.html");
        QTest::newRow("a folder is no help file") << "/tmp" << missing.arg("/tmp");
    }
    void refusals()
    {
        QFETCH(QString, path);
        QFETCH(QString, text);
        ScriptedUserInterface script;
        script.answer(Mb::Ok);
        VuShowHelp(HelpCommand::Context, path, HelpContext::Recipient);
        QCOMPARE(script.boxes().size(), 1);
        QCOMPARE(script.boxes()[0].text, text);
        QCOMPARE(script.boxes()[0].style, Mb::Critical);
        QVERIFY(m_opened.isEmpty());
        QVERIFY(!HelpWindow::existing() || !HelpWindow::existing()->isVisible());
    }

    void htmlOpensInTheHelpWindow_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<QString>("shownName");
        QTest::addColumn<int>("command");
        QTest::addColumn<QString>("fragment");
        auto row = [](const char* tag, const char* file, const char* shown, int command,
                      const char* fragment) {
            QTest::newRow(tag) << file << shown << command << fragment;
        };
        row(".html with context number jumps to its anchor", "Hilfe.html", "Hilfe.html", 2, "1003");
        row(".HTM in capitals", "HILFE.HTM", "HILFE.HTM", 2, "1002");
        row("any other command shows the contents", "Hilfe.html", "Hilfe.html", 0, "");
        row(".chm shows its HTML page", "Handbuch.chm", "Handbuch.html", 2, "1003");
        row("HANDBUCH.CHM in capitals too", "HANDBUCH.CHM", "HANDBUCH.html", 2, "1001");
    }
    void htmlOpensInTheHelpWindow()
    {
        QFETCH(QString, fileName);
        QFETCH(QString, shownName);
        QFETCH(int, command);
        QFETCH(QString, fragment);

        TestEnvironment env;
        const QString file = env.root() + QLatin1Char('/') + fileName;
        const QString shown = env.root() + QLatin1Char('/') + shownName;
        writeFile(file, file == shown ? longPage() : QByteArray("ITSF binary"));
        writeFile(shown, longPage());
        ScriptedUserInterface script;

        VuShowHelp(command, file, fragment.isEmpty() ? 0 : fragment.toLong());
        HelpWindow* window = HelpWindow::existing();
        QVERIFY(window);
        QVERIFY(window->isVisible());
        const QTextBrowser* browser = window->browser();
        QCOMPARE(browser->source().toLocalFile(), shown);
        QCOMPARE(browser->source().fragment(), fragment);
        QVERIFY(browser->toPlainText().contains(QStringLiteral("Abschnitt 1003")));
        if (fragment.isEmpty())
            QCOMPARE(browser->verticalScrollBar()->value(), 0);
        else
            QVERIFY(browser->verticalScrollBar()->value() > 0);
        QVERIFY(m_opened.isEmpty());
    }

    // One window follows the latest topic; the contents show the page from its top.
    void oneWindowFollowsTheLatestTopic()
    {
        TestEnvironment env;
        const QString file = writeFile(env.root() + QStringLiteral("/Hilfe.html"), longPage());
        ScriptedUserInterface script;
        VuShowHelp(HelpCommand::Context, file, 1001);
        HelpWindow* first = HelpWindow::existing();
        QTextBrowser* browser = first->browser();
        const int at1001 = browser->verticalScrollBar()->value();
        VuShowHelp(HelpCommand::Context, file, 1003);
        QCOMPARE(HelpWindow::existing(), first);
        QVERIFY(browser->verticalScrollBar()->value() > at1001);
        vuSetHelpFile(file);
        VuShowHelpContents();
        QCOMPARE(browser->source().toLocalFile(), file);
        QCOMPARE(browser->verticalScrollBar()->value(), 0);
        QCOMPARE(browser->source().fragment(), QString());
    }

    void otherFilesGoToTheDesktop_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::newRow("classic help file") << "handbuch.hlp";
        QTest::newRow("PDF manual") << "Handbuch.pdf";
        QTest::newRow("no extension") << "Handbuch";
        QTest::newRow(".chm without an HTML page") << "Nur.chm";
    }
    void otherFilesGoToTheDesktop()
    {
        QFETCH(QString, fileName);
        TestEnvironment env;
        const QString file = env.root() + QLatin1Char('/') + fileName;
        writeFile(file, "x");
        ScriptedUserInterface script;
        VuShowHelp(HelpCommand::Context, file, 1001);
        QCOMPARE(m_opened, QStringList{file});
        QVERIFY(!HelpWindow::existing() || !HelpWindow::existing()->isVisible());
    }

    void openerFailureOffersRetry()
    {
        TestEnvironment env;
        const QString file = env.root() + QStringLiteral("/handbuch.hlp");
        writeFile(file, "x");
        int calls = 0;
        vuSetHelpOpener([&](const QString&) { return ++calls == 2; });
        ScriptedUserInterface script;
        script.answer(Mb::Yes);
        VuShowHelp(HelpCommand::Contents, file, 0);
        QCOMPARE(calls, 2);
        QCOMPARE(script.boxes().size(), 1);
        QCOMPARE(script.boxes()[0].style, Mb::YesNo + Mb::Question);
        QCOMPARE(script.boxes()[0].text, "Fehler: VuShowHelp\r\nDie Hilfedatei '" + file +
                                             "' konnte nicht mit dem zugehörigen Programm geöffnet "
                                             "werden (Nr. 75, Ursprung: Zettelwerk)"
                                             "\r\n\r\nNoch einmal versuchen?");
    }

    // A help file named without a folder lies beside the program.
    void helpFileBesideTheProgram()
    {
        QCOMPARE(vuHelpFile(), AppInfo::programFolder() + QStringLiteral("/Zettelwerk.html"));
        vuSetHelpFile(QStringLiteral("Anders.html"));
        QCOMPARE(vuHelpFile(), AppInfo::programFolder() + QStringLiteral("/Anders.html"));
        vuSetHelpFile(QStringLiteral(""));
        ScriptedUserInterface script;
        script.answer(Mb::Ok);
        VuShowHelpContents();
        QCOMPARE(script.boxes().size(), 1);
        QCOMPARE(script.boxes()[0].text, QStringLiteral("Keine Hilfe-Datei definiert!"));
    }

    // The page shipped beside the program holds every context number the program uses.
    void shippedPageHasEveryTopic()
    {
        const QString page = vuHelpFile();
        if (!QFile::exists(page))
            QSKIP("the help page is not beside the test program");
        ScriptedUserInterface script;
        VuShowHelpContents();
        const QTextBrowser* browser = HelpWindow::existing()->browser();
        QVERIFY(browser->toPlainText().contains(QStringLiteral("Schritt 1: Empfänger")));
        const QStringList anchors = anchorNames(browser->document());
        for (long context : {HelpContext::Contents, HelpContext::Recipient, HelpContext::Template,
                             HelpContext::Options, HelpContext::Finish,
                             HelpContext::FieldAssignments, HelpContext::Settings})
            QVERIFY2(anchors.contains(QString::number(context)),
                     qPrintable(QString::number(context)));
    }
};

QTEST_MAIN(TstShowHelp)
#include "tst_showhelp.moc"
