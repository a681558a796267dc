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

    // Where a help request goes: a refusal box, the help window (HTML, or the HTML page
    // beside a .chm), or the desktop's program for any other file.
    void whereHelpGoes_data()
    {
        QTest::addColumn<QString>("file"); // in the test's folder unless absolute
        QTest::addColumn<QString>("page"); // the HTML page the window shows; empty: no window
        QTest::addColumn<int>("command");
        QTest::addColumn<QString>("box"); // the refusal, %1 the file; empty: none
        auto row = [](const char* tag, const char* file, const char* page, int command,
                      const char* box = "") {
            QTest::newRow(tag) << file << page << command << box;
        };
        const int context = HelpCommand::Context;
        const char* missing = "Die Hilfedatei '%1' ist nicht verfügbar!";
        row("no help file", "", "", context, "Keine Hilfe-Datei definiert!");
        row("missing file", "/gibt/es/nicht/Zettelwerk.html", "", context, missing);
        row("a folder is no help file", "/tmp", "", context, missing);
        row(".html with context number jumps to its anchor", "Hilfe.html", "Hilfe.html", context);
        row(".HTM in capitals", "HILFE.HTM", "HILFE.HTM", context);
        row("any other command shows the contents", "Hilfe.html", "Hilfe.html", 0);
        row(".chm shows its HTML page", "Handbuch.chm", "Handbuch.html", context);
        row("HANDBUCH.CHM in capitals too", "HANDBUCH.CHM", "HANDBUCH.html", context);
        row("classic help file", "handbuch.hlp", "", context);
        row("PDF manual", "Handbuch.pdf", "", context);
        row("no extension", "Handbuch", "", context);
        row(".chm without an HTML page", "Nur.chm", "", context);
    }
    void whereHelpGoes()
    {
        QFETCH(QString, file);
        QFETCH(QString, page);
        QFETCH(int, command);
        QFETCH(QString, box);

        TestEnvironment env;
        QString path = file;
        if (!file.isEmpty() && !file.startsWith(u'/'))
            path = writeFile(env.root() + u'/' + file, file == page ? longPage() : "ITSF binary");
        const QString shown = env.root() + u'/' + page;
        if (!page.isEmpty() && page != file)
            writeFile(shown, longPage());
        ScriptedUserInterface script;
        if (!box.isEmpty())
            script.answer(Mb::Ok);

        VuShowHelp(command, path, 1003);
        QCOMPARE(script.boxes().size(), box.isEmpty() ? 0 : 1);
        if (!box.isEmpty()) {
            QCOMPARE(script.boxes()[0].text, box.replace(QStringLiteral("%1"), path));
            QCOMPARE(script.boxes()[0].style, Mb::Critical);
        }
        QCOMPARE(m_opened, page.isEmpty() && box.isEmpty() ? QStringList{path} : QStringList());
        const HelpWindow* window = HelpWindow::existing();
        QCOMPARE(window && window->isVisible(), !page.isEmpty());
        if (page.isEmpty())
            return;
        const QTextBrowser* browser = window->browser();
        const bool toAnchor = command == HelpCommand::Context;
        QCOMPARE(browser->source().toLocalFile(), shown);
        QCOMPARE(browser->source().fragment(), toAnchor ? QStringLiteral("1003") : QString());
        QVERIFY(browser->toPlainText().contains(QStringLiteral("Abschnitt 1003")));
        QCOMPARE(browser->verticalScrollBar()->value() > 0, toAnchor);
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
