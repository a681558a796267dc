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
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>
#include <unistd.h>

using namespace DialogTestHelpers;

namespace
{

const QString kPersonal = QStringLiteral("Persönliche Ordner");

} // namespace

class TstFrmOutlookFolderSelection : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TestEnvironment> m_env;
    std::unique_ptr<ScriptedUserInterface> m_ui;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::shared_ptr<OlNameSpace> m_ns;
    std::unique_ptr<FrmOutlookFolderSelection> m_dlg;

    QString personal(const QString& rest = QString()) const
    {
        return m_dir->filePath(QStringLiteral("personal/") + rest);
    }
    FrmOutlookFolderSelection& open(const QString& currentPath = QString(),
                                    const QString& validClass = QStringLiteral("IPM.Contact"))
    {
        m_dlg = std::make_unique<FrmOutlookFolderSelection>(m_ns, currentPath);
        m_dlg->setValidMessageClass(validClass);
        m_dlg->show();
        return *m_dlg;
    }
    QTreeWidget* tree() { return child<QTreeWidget>(m_dlg.get(), "tvTreeView"); }
    QString label(const char* name) { return child<QLabel>(m_dlg.get(), name)->text(); }
    QPushButton* okButton() { return child<QPushButton>(m_dlg.get(), "cmdOK"); }

    // The node at "Root\a\b", found among the nodes loaded so far.
    QTreeWidgetItem* node(const QString& path)
    {
        QTreeWidgetItem* at = tree()->topLevelItem(0);
        const QStringList parts = path.split(QLatin1Char('\\'));
        for (qsizetype i = 1; at && i < parts.size(); ++i) {
            QTreeWidgetItem* next = nullptr;
            for (int c = 0; c < at->childCount() && !next; ++c)
                if (at->child(c)->text(0) == parts[i])
                    next = at->child(c);
            at = next;
        }
        return at;
    }
    // Selects the nodes along a path one after the other, as a user opens the branches.
    void select(const QString& path)
    {
        const QStringList parts = path.split(QLatin1Char('\\'));
        for (qsizetype i = 1; i <= parts.size(); ++i) {
            QTreeWidgetItem* n = node(parts.mid(0, i).join(QLatin1Char('\\')));
            if (!n)
                QFAIL(qPrintable("no node " + parts.mid(0, i).join(QLatin1Char('\\'))));
            tree()->scrollToItem(n);
            QTest::mouseClick(tree()->viewport(), Qt::LeftButton, {},
                              tree()->visualItemRect(n).center());
        }
    }
    QStringList childTexts(QTreeWidgetItem* n)
    {
        QStringList texts;
        for (int i = 0; n && i < n->childCount(); ++i)
            texts << n->child(i)->text(0);
        return texts;
    }

private Q_SLOTS:
    void init()
    {
        m_env = std::make_unique<TestEnvironment>();
        m_ui = std::make_unique<ScriptedUserInterface>();
        m_dir = std::make_unique<QTemporaryDir>();
        writeFile(
            personal("Kontakte/mueller.vcf"),
            "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Müller;Max;;;\r\nFN:Max Müller\r\nEND:VCARD\r\n");
        QVERIFY(QDir().mkpath(personal("Kontakte/Kunden")));
        writeFile(personal("Kalender/termin.ics"),
                  "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nEND:VCALENDAR\r\n");
        writeFile(personal("Post/brief.eml"), "Subject: Hallo\r\n\r\nText\r\n");
        writeFile(personal("Notizen/.zettelwerk-folder"), "MessageClass=IPM.StickyNote\n");
        writeFile(personal("Formular/.zettelwerk-folder"), "MessageClass=IPM.Contact.Kunde\n");
        writeFile(m_dir->filePath(QStringLiteral("public/VG-Kontakte/a.vcf")),
                  "BEGIN:VCARD\r\nVERSION:3.0\r\nN:A;B;;;\r\nFN:B A\r\nEND:VCARD\r\n");
        OlStoreRoots roots;
        roots.personal = personal();
        roots.publicFolders = m_dir->filePath(QStringLiteral("public"));
        m_ns = std::make_shared<OlNameSpace>(roots);
        m_ns->Logon();
    }
    void cleanup()
    {
        m_dlg.reset();
        m_ns.reset();
        QCOMPARE(m_ui->pendingAnswers(), 0);
        m_ui.reset();
        m_dir.reset();
        m_env.reset();
    }

    void opensWithStoresOnly()
    {
        FrmOutlookFolderSelection& dlg = open();
        QCOMPARE(dlg.windowTitle(), QStringLiteral("Outlook-Ordner auswählen"));
        QCOMPARE(child<QPushButton>(&dlg, "cmdCancel")->text(), QStringLiteral("Abbrechen"));
        QCOMPARE(tree()->topLevelItemCount(), 1);
        QCOMPARE(tree()->topLevelItem(0)->text(0), QStringLiteral("Root"));
        QCOMPARE(childTexts(node("Root")),
                 (QStringList{kPersonal, QStringLiteral("Öffentliche Ordner")}));
        // The stores' own folders are read only when a store is selected.
        QCOMPARE(node("Root\\" + kPersonal)->childCount(), 0);
        QVERIFY(!okButton()->isEnabled());
        QVERIFY(!dlg.OkPressed());
    }

    void branchesLoadWhenSelected()
    {
        open();
        // A folder made after opening is there: the branch is read when selected, not before.
        QVERIFY(QDir().mkpath(personal("Archiv")));
        select("Root\\" + kPersonal);
        const QStringList loaded = childTexts(node("Root\\" + kPersonal));
        QCOMPARE(loaded,
                 (QStringList{"Archiv", "Formular", "Kalender", "Kontakte", "Notizen", "Post"}));
        QVERIFY(node("Root\\" + kPersonal)->isExpanded());
        // Selecting again loads nothing twice.
        select("Root\\" + kPersonal);
        select("Root");
        select("Root\\" + kPersonal);
        QCOMPARE(childTexts(node("Root\\" + kPersonal)), loaded);
        QCOMPARE(childTexts(node("Root")).size(), 2);
        // The grouping store and its child.
        select("Root\\Öffentliche Ordner\\Alle Öffentlichen Ordner");
        QCOMPARE(childTexts(node("Root\\Öffentliche Ordner\\Alle Öffentlichen Ordner")),
                 QStringList{"VG-Kontakte"});
    }

    void openingByArrowLoadsTheBranch()
    {
        open();
        QTreeWidgetItem* store = node("Root\\" + kPersonal);
        QCOMPARE(store->childIndicatorPolicy(), QTreeWidgetItem::ShowIndicator);
        store->setExpanded(true);
        QCOMPARE(childTexts(store),
                 (QStringList{"Formular", "Kalender", "Kontakte", "Notizen", "Post"}));
        // Opening reads, but chooses nothing.
        QVERIFY(!okButton()->isEnabled());
        // A folder without sub-folders shows no arrow once it has been read.
        select("Root\\" + kPersonal + "\\Post");
        QCOMPARE(node("Root\\" + kPersonal + "\\Post")->childIndicatorPolicy(),
                 QTreeWidgetItem::DontShowIndicatorWhenChildless);
        store->setExpanded(false);
        store->setExpanded(true);
        QCOMPARE(childTexts(store).size(), 5);
    }

    void labels_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("kind");
        QTest::newRow("vCards: contacts") << kPersonal + "\\Kontakte"
                                          << "Kontakte";
        QTest::newRow("empty sub-folder: a new contact folder") << kPersonal + "\\Kontakte\\Kunden"
                                                                << "Kontakte";
        QTest::newRow("calendar files") << kPersonal + "\\Kalender"
                                        << "Kalender";
        QTest::newRow("other files: messages") << kPersonal + "\\Post"
                                               << "Nachrichten";
        QTest::newRow("stated class") << kPersonal + "\\Notizen"
                                      << "Notizen";
        QTest::newRow("unknown class shown as it is") << kPersonal + "\\Formular"
                                                      << "IPM.Contact.Kunde";
        QTest::newRow("a store's top folder") << kPersonal << "Nachrichten";
        QTest::newRow("public contacts")
            << "Öffentliche Ordner\\Alle Öffentlichen Ordner\\VG-Kontakte"
            << "Kontakte";
    }
    void labels()
    {
        QFETCH(QString, path);
        QFETCH(QString, kind);
        open();
        select("Root\\" + path);
        QCOMPARE(label("lblPath"), path);
        QCOMPARE(label("lblMessageClass"), kind);
        QVERIFY(okButton()->isEnabled());
        QCOMPARE(m_dlg->FullPath(), path);
        // Back at the root nothing can be chosen.
        select("Root");
        QVERIFY(!okButton()->isEnabled());
        QCOMPARE(label("lblPath"), QString());
    }

    void choice_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("validClass");
        QTest::addColumn<QString>("refusal");
        QTest::addColumn<QString>("fitting");
        const QString contacts = kPersonal + "\\Kontakte";
        QTest::newRow("contacts accepted") << contacts << "IPM.Contact"
                                           << ""
                                           << "";
        QTest::newRow("calendar refused")
            << kPersonal + "\\Kalender"
            << "IPM.Contact"
            << "Dieser Ordner enthält keine zulässigen Elemente!\r\n"
               "Wählen Sie einen Ordner, der Kontakte-Elemente beinhaltet!"
            << contacts;
        QTest::newRow("messages refused naming the kind asked for")
            << kPersonal + "\\Post"
            << "IPM.Appointment"
            << "Dieser Ordner enthält keine zulässigen Elemente!\r\n"
               "Wählen Sie einen Ordner, der Kalender-Elemente beinhaltet!"
            << kPersonal + "\\Kalender";
        QTest::newRow("custom contact form is no contact folder")
            << kPersonal + "\\Formular"
            << "IPM.Contact"
            << "Dieser Ordner enthält keine zulässigen Elemente!\r\n"
               "Wählen Sie einen Ordner, der Kontakte-Elemente beinhaltet!"
            << contacts;
        QTest::newRow("no class asked for: calendar accepted") << kPersonal + "\\Kalender"
                                                               << ""
                                                               << ""
                                                               << "";
    }
    void choice()
    {
        QFETCH(QString, path);
        QFETCH(QString, validClass);
        QFETCH(QString, refusal);
        QFETCH(QString, fitting);
        open(QString(), validClass);
        select("Root\\" + path);
        if (!refusal.isEmpty())
            m_ui->answer(Mb::Ok);
        okButton()->click();
        if (refusal.isEmpty()) {
            QVERIFY(m_dlg->OkPressed());
            QCOMPARE(m_dlg->result(), int(QDialog::Accepted));
            QCOMPARE(m_dlg->FullPath(), path);
            QCOMPARE(m_ui->boxes().size(), 0);
        } else {
            QCOMPARE(m_ui->boxes().size(), 1);
            QCOMPARE(m_ui->boxes()[0].text, refusal);
            QCOMPARE(m_ui->boxes()[0].style, Mb::OkOnly + Mb::Exclamation);
            QVERIFY(m_dlg->isVisible());
            QVERIFY(!m_dlg->OkPressed());
            // A fitting folder then goes through.
            select("Root\\" + fitting);
            okButton()->click();
            QVERIFY(m_dlg->OkPressed());
            QCOMPARE(m_dlg->FullPath(), fitting);
        }
    }

    void folderGoneMeanwhile()
    {
        open();
        select("Root\\" + kPersonal);
        QVERIFY(QDir(personal("Kalender")).removeRecursively());
        select("Root\\" + kPersonal + "\\Kalender");
        // The path is shown, but the folder has no kind any more: no contact folder.
        QCOMPARE(label("lblPath"), kPersonal + "\\Kalender");
        QCOMPARE(label("lblMessageClass"), QString());
        m_ui->answer(Mb::Ok);
        okButton()->click();
        QCOMPARE(m_ui->boxes().size(), 1);
        QVERIFY(!m_dlg->OkPressed());
    }

    void cancel()
    {
        open();
        select("Root\\" + kPersonal + "\\Kontakte");
        child<QPushButton>(m_dlg.get(), "cmdCancel")->click();
        QVERIFY(!m_dlg->OkPressed());
        QCOMPARE(m_dlg->result(), int(QDialog::Rejected));
    }

    void currentPathPreselected_data()
    {
        QTest::addColumn<QString>("current");
        QTest::addColumn<QString>("selected");
        QTest::newRow("deep path")
            << kPersonal + "\\Kontakte\\Kunden" << kPersonal + "\\Kontakte\\Kunden";
        QTest::newRow("with Root and other case")
            << "Root\\persönliche ordner\\KONTAKTE" << kPersonal + "\\Kontakte";
        QTest::newRow("missing tail stops at the last folder found")
            << kPersonal + "\\Kontakte\\Weg\\Auch weg" << kPersonal + "\\Kontakte";
        QTest::newRow("unknown store selects nothing") << "Gibt es nicht\\Kontakte"
                                                       << "";
    }
    void currentPathPreselected()
    {
        QFETCH(QString, current);
        QFETCH(QString, selected);
        open(current);
        QCOMPARE(m_dlg->FullPath(), selected);
        QCOMPARE(okButton()->isEnabled(), !selected.isEmpty());
        if (!selected.isEmpty()) {
            QCOMPARE(tree()->currentItem(), node("Root\\" + selected));
            okButton()->click();
            QVERIFY(m_dlg->OkPressed());
        }
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
        QVERIFY2(m_ui->boxes()[0].text.contains(u"tvTreeView_NodeClick"_qs),
                 qPrintable(m_ui->boxes()[0].text));
        // The tree keeps what it has.
        QCOMPARE(childTexts(node("Root\\" + kPersonal)).size(), 6);
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
