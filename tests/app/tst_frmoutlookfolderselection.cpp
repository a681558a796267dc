#include "app/dialogs/FrmOutlookFolderSelection.h"
#include "contacts/OlNameSpace.h"
#include "tests/document/DialogTestHelpers.h"
#include "tests/support/ScriptedUserInterface.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestFiles.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>
#include <unistd.h>

using namespace DialogTestHelpers;
using namespace Qt::StringLiterals;

namespace
{

const QString kPersonal = u"Persönliche Ordner"_s;
const QString kWrongKind = u"Dieser Ordner enthält keine zulässigen Elemente!\r\n"
                           "Wählen Sie einen Ordner, der %1-Elemente beinhaltet!"_s;

} // namespace

class TstFrmOutlookFolderSelection : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TestEnvironment> m_env;
    std::unique_ptr<ScriptedUserInterface> m_ui;
    std::shared_ptr<OlNameSpace> m_ns;
    std::unique_ptr<FrmOutlookFolderSelection> m_dlg;

    QString personal(const QString& rest = QString()) const
    {
        return m_env->root() + u"/personal/"_s + rest;
    }
    void open(const QString& currentPath = QString(), const QString& validClass = u"IPM.Contact"_s)
    {
        m_dlg = std::make_unique<FrmOutlookFolderSelection>(m_ns, currentPath);
        m_dlg->setValidMessageClass(validClass);
        m_dlg->show();
    }
    QTreeWidget* tree() const { return child<QTreeWidget>(m_dlg.get(), "tvTreeView"); }
    QString label(const char* name) const { return child<QLabel>(m_dlg.get(), name)->text(); }
    QPushButton* okButton() const { return child<QPushButton>(m_dlg.get(), "cmdOK"); }

    // The node at "Root\a\b", found among the nodes loaded so far.
    QTreeWidgetItem* node(const QString& path) const
    {
        QTreeWidgetItem* at = tree()->topLevelItem(0);
        const QStringList parts = path.split(u'\\');
        for (qsizetype i = 1; at && i < parts.size(); ++i) {
            QTreeWidgetItem* next = nullptr;
            for (int c = 0; c < at->childCount() && !next; ++c)
                if (at->child(c)->text(0) == parts[i])
                    next = at->child(c);
            at = next;
        }
        return at;
    }
    // Clicks the nodes along a path one after the other, as a user opens the branches.
    void select(const QString& path)
    {
        const QStringList parts = path.split(u'\\');
        for (qsizetype i = 1; i <= parts.size(); ++i) {
            const QString upTo = parts.mid(0, i).join(u'\\');
            QTreeWidgetItem* n = node(upTo);
            if (!n)
                QFAIL(qPrintable("no node " + upTo));
            tree()->scrollToItem(n);
            QTest::mouseClick(tree()->viewport(), Qt::LeftButton, {},
                              tree()->visualItemRect(n).center());
        }
    }
    QStringList childTexts(const QString& path) const
    {
        QStringList texts;
        QTreeWidgetItem* n = node(path);
        for (int i = 0; n && i < n->childCount(); ++i)
            texts << n->child(i)->text(0);
        return texts;
    }

private Q_SLOTS:
    void init()
    {
        m_env = std::make_unique<TestEnvironment>();
        m_ui = std::make_unique<ScriptedUserInterface>();
        writeFile(
            personal("Kontakte/mueller.vcf"),
            "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Müller;Max;;;\r\nFN:Max Müller\r\nEND:VCARD\r\n");
        QVERIFY(QDir().mkpath(personal("Kontakte/Kunden")));
        writeFile(personal("Kalender/termin.ics"),
                  "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nEND:VCALENDAR\r\n");
        writeFile(personal("Post/brief.eml"), "Subject: Hallo\r\n\r\nText\r\n");
        writeFile(personal("Notizen/.zettelwerk-folder"), "MessageClass=IPM.StickyNote\n");
        writeFile(personal("Formular/.zettelwerk-folder"), "MessageClass=IPM.Contact.Kunde\n");
        writeFile(m_env->root() + u"/public/VG-Kontakte/a.vcf"_s,
                  "BEGIN:VCARD\r\nVERSION:3.0\r\nN:A;B;;;\r\nFN:B A\r\nEND:VCARD\r\n");
        OlStoreRoots roots;
        roots.personal = personal();
        roots.publicFolders = m_env->root() + u"/public"_s;
        m_ns = std::make_shared<OlNameSpace>(roots);
        m_ns->Logon();
    }
    void cleanup()
    {
        m_dlg.reset();
        m_ns.reset();
        QCOMPARE(m_ui->pendingAnswers(), 0);
        m_ui.reset();
        m_env.reset();
    }

    void branchesAreReadWhenOpened()
    {
        open();
        QCOMPARE(tree()->topLevelItemCount(), 1);
        QCOMPARE(tree()->topLevelItem(0)->text(0), u"Root"_s);
        QCOMPARE(childTexts(u"Root"_s), (QStringList{kPersonal, u"Öffentliche Ordner"_s}));
        // The stores' own folders are read only when a store is opened or selected.
        QTreeWidgetItem* store = node("Root\\" + kPersonal);
        QCOMPARE(store->childCount(), 0);
        QCOMPARE(store->childIndicatorPolicy(), QTreeWidgetItem::ShowIndicator);
        QVERIFY(QDir().mkpath(personal("Archiv")));
        store->setExpanded(true);
        const QStringList loaded{"Archiv", "Formular", "Kalender", "Kontakte", "Notizen", "Post"};
        QCOMPARE(childTexts("Root\\" + kPersonal), loaded);
        // Opening reads, but chooses nothing.
        QVERIFY(!okButton()->isEnabled());
        QVERIFY(!m_dlg->OkPressed());
        // Selecting or opening again reads nothing twice.
        select("Root\\" + kPersonal);
        select(u"Root"_s);
        store->setExpanded(false);
        store->setExpanded(true);
        select("Root\\" + kPersonal);
        QCOMPARE(childTexts("Root\\" + kPersonal), loaded);
        QCOMPARE(childTexts(u"Root"_s).size(), 2);
        // A folder without sub-folders shows no arrow once it has been read.
        select("Root\\" + kPersonal + "\\Post");
        QCOMPARE(node("Root\\" + kPersonal + "\\Post")->childIndicatorPolicy(),
                 QTreeWidgetItem::DontShowIndicatorWhenChildless);
        // A selected branch is read and opened; the grouping store holds the public folders.
        const QString group = u"Root\\Öffentliche Ordner\\Alle Öffentlichen Ordner"_s;
        select(group);
        QVERIFY(node(group)->isExpanded());
        QCOMPARE(childTexts(group), QStringList{"VG-Kontakte"});
        // Back at the root nothing can be chosen.
        select(u"Root"_s);
        QVERIFY(!okButton()->isEnabled());
        QCOMPARE(label("lblPath"), QString());
    }

    void choice_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("validClass"); // the kind asked for
        QTest::addColumn<QString>("kind");       // the kind shown
        QTest::addColumn<QString>("refusal");    // the box on OK; empty: taken
        auto row = [](const char* name, const QString& path, const QString& validClass,
                      const QString& kind, const QString& refusal = {}) {
            QTest::newRow(name) << path << validClass << kind << refusal;
        };
        const QString k = kPersonal + "\\";
        const QString noContacts = kWrongKind.arg(u"Kontakte");
        row("vCards: contacts", k + "Kontakte", "IPM.Contact", "Kontakte");
        row("empty sub-folder: a new contact folder", k + "Kontakte\\Kunden", "IPM.Contact",
            "Kontakte");
        row("calendar files are no contacts", k + "Kalender", "IPM.Contact", "Kalender",
            noContacts);
        row("other files are messages, refused naming the kind asked for", k + "Post",
            "IPM.Appointment", "Nachrichten", kWrongKind.arg(u"Kalender"));
        row("stated class, no class asked for", k + "Notizen", "", "Notizen");
        row("a custom contact form is no contact folder", k + "Formular", "IPM.Contact",
            "IPM.Contact.Kunde", noContacts);
        row("a store's top folder", kPersonal, "", "Nachrichten");
        row("public contacts", "Öffentliche Ordner\\Alle Öffentlichen Ordner\\VG-Kontakte",
            "IPM.Contact", "Kontakte");
        // The path is still shown, but the folder has no kind any more.
        row("folder gone meanwhile", k + "Weg", "IPM.Contact", "", noContacts);
    }
    void choice()
    {
        QFETCH(QString, path);
        QFETCH(QString, validClass);
        QFETCH(QString, kind);
        QFETCH(QString, refusal);
        QVERIFY(QDir().mkpath(personal("Weg")));
        open(QString(), validClass);
        select("Root\\" + kPersonal);
        QVERIFY(QDir(personal("Weg")).removeRecursively());
        select("Root\\" + path);
        QCOMPARE(label("lblPath"), path);
        QCOMPARE(label("lblMessageClass"), kind);
        QVERIFY(okButton()->isEnabled());
        if (!refusal.isEmpty()) {
            m_ui->answer(Mb::Ok);
            okButton()->click();
            QCOMPARE(m_ui->boxes().size(), 1);
            QCOMPARE(m_ui->boxes()[0].text, refusal);
            QCOMPARE(m_ui->boxes()[0].style, Mb::OkOnly + Mb::Exclamation);
            QVERIFY(m_dlg->isVisible());
            QVERIFY(!m_dlg->OkPressed());
            // A fitting folder then goes through.
            path =
                kPersonal + (validClass == u"IPM.Appointment" ? u"\\Kalender"_s : u"\\Kontakte"_s);
            select("Root\\" + path);
        }
        okButton()->click();
        QVERIFY(m_dlg->OkPressed());
        QCOMPARE(m_dlg->result(), int(QDialog::Accepted));
        QCOMPARE(m_dlg->FullPath(), path);
    }

    void currentPathPreselected_data()
    {
        QTest::addColumn<QString>("current");
        QTest::addColumn<QString>("selected");
        QTest::addColumn<bool>("ok"); // else cancelled
        auto row = [](const char* name, const QString& current, const QString& selected, bool ok) {
            QTest::newRow(name) << current << selected << ok;
        };
        const QString k = kPersonal + "\\";
        row("deep path", k + "Kontakte\\Kunden", k + "Kontakte\\Kunden", true);
        row("with Root and other case", "Root\\persönliche ordner\\KONTAKTE", k + "Kontakte", true);
        row("missing tail stops at the last folder found, then cancelled",
            k + "Kontakte\\Weg\\Auch weg", k + "Kontakte", false);
        row("unknown store selects nothing", "Gibt es nicht\\Kontakte", "", false);
    }
    void currentPathPreselected()
    {
        QFETCH(QString, current);
        QFETCH(QString, selected);
        QFETCH(bool, ok);
        open(current);
        QCOMPARE(m_dlg->FullPath(), selected);
        QCOMPARE(okButton()->isEnabled(), !selected.isEmpty());
        if (!selected.isEmpty())
            QCOMPARE(tree()->currentItem(), node("Root\\" + selected));
        child<QPushButton>(m_dlg.get(), ok ? "cmdOK" : "cmdCancel")->click();
        QCOMPARE(m_dlg->OkPressed(), ok);
        QCOMPARE(m_dlg->result(), ok ? int(QDialog::Accepted) : int(QDialog::Rejected));
    }

    void unreadableFolderIsReported()
    {
        if (geteuid() == 0)
            QSKIP("root may list any folder");
        QVERIFY(QDir().mkpath(personal("Gesperrt/Innen")));
        QFile::setPermissions(personal("Gesperrt"), QFile::WriteOwner);
        open();
        select("Root\\" + kPersonal);
        m_ui->answer(Mb::No);
        select("Root\\" + kPersonal + "\\Gesperrt");
        QFile::setPermissions(personal("Gesperrt"),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QCOMPARE(m_ui->boxes().size(), 1);
        QVERIFY2(m_ui->boxes()[0].text.contains(u"tvTreeView_NodeClick"),
                 qPrintable(m_ui->boxes()[0].text));
        // The tree keeps what it has.
        QCOMPARE(childTexts("Root\\" + kPersonal).size(), 6);
    }

    void resizes()
    {
        open();
        m_dlg->resize(700, 600);
        QTest::qWait(1);
        const int treeHeight = tree()->height();
        m_dlg->resize(700, 400);
        QTest::qWait(1);
        QCOMPARE(tree()->height(), treeHeight - 200);
        // The buttons stay at the right-hand edge.
        QVERIFY(okButton()->geometry().right() > m_dlg->width() - 30);
        QVERIFY(child<QLabel>(m_dlg.get(), "lblPath")->geometry().top() >
                tree()->geometry().bottom());
    }
};

QTEST_MAIN(TstFrmOutlookFolderSelection)
#include "tst_frmoutlookfolderselection.moc"
