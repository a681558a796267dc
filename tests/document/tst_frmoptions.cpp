#include "DialogFixture.h"
#include "document/widgets/FrmOptions.h"

#include <QCheckBox>
#include <QDir>
#include <QLineEdit>
#include <QRadioButton>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <unistd.h>

using namespace DialogTestHelpers;

class TstFrmOptions : public DialogFixture<FrmOptions>
{
    Q_OBJECT

private:
    std::unique_ptr<FakeSofficePath> m_path;

    void open(bool libreOfficeInstalled = false)
    {
        m_path = std::make_unique<FakeSofficePath>(libreOfficeInstalled);
        m_word = std::make_unique<ClsWord>();
        m_dlg = std::make_unique<FrmOptions>(m_values, m_list, m_special, *m_word);
        m_dlg->show();
    }
    QTreeWidget* fields() { return ctl<QTreeWidget>("lvwSpecialFields"); }
    void chooseTab(int tab) { ctl<QTabWidget>("tabMain")->setCurrentIndex(tab); }

private Q_SLOTS:
    void init() { setUp(); }
    void cleanup()
    {
        tearDown();
        m_path.reset();
    }

    void generalOptionsRoundTrip_data() { flagRows("set", "all set", "none set"); }
    void generalOptionsRoundTrip()
    {
        QFETCH(bool, set);
        const char* const boxes[] = {"chkExitAfterFinished", "chkCheckForCurrentContactAtStartup",
                                     "chkAllowResize"};
        m_values.ExitAfterFinished = m_values.CheckForCurrentContactAtStartup =
            m_values.AllowResize = set;
        // Every box toggled; Cancel takes nothing over, OK everything.
        for (const char* button : {"cmdCancel", "cmdOK"}) {
            open();
            for (const char* name : boxes) {
                QCOMPARE(ctl<QCheckBox>(name)->isChecked(), set);
                ctl<QCheckBox>(name)->click();
            }
            ctl<QPushButton>(button)->click();
        }
        QCOMPARE(m_dlg->result(), int(QDialog::Accepted));
        QCOMPARE(m_values.ExitAfterFinished, !set);
        QCOMPARE(m_values.CheckForCurrentContactAtStartup, !set);
        QCOMPARE(m_values.AllowResize, !set);
        QCOMPARE(m_ui->boxes().size(), 0);
    }

    void versionChoice_data()
    {
        QTest::addColumn<bool>("libreOffice");
        QTest::addColumn<QString>("clicked");
        QTest::addColumn<bool>("goneBeforeOk");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("used");
        const QString hint =
            QStringLiteral("Hinweis: diese Einstellung wird nicht permanent gespeichert!");
        QTest::newRow("older chosen while the newer is there: hint")
            << true << "OOXML" << false << hint << "OOXML";
        QTest::newRow("newer chosen: no hint") << true << "LO" << false << QString() << "LO";
        QTest::newRow("only version there: no hint")
            << false << "OOXML" << false << QString() << "OOXML";
        // No version is left in use, so the next use takes the newest installed one.
        QTest::newRow("newer chosen, uninstalled before OK")
            << true << "LO" << true << "LibreOffice Writer ist nicht installiert"
            << "OOXML";
    }
    void versionChoice()
    {
        QFETCH(bool, libreOffice);
        QFETCH(QString, clicked);
        QFETCH(QString, message);
        open(libreOffice);
        // The newest installed version is in use; one not installed cannot be chosen.
        auto* lo = ctl<QRadioButton>("optWordVersionLO");
        QCOMPARE(lo->isEnabled(), libreOffice);
        QCOMPARE(lo->isChecked(), libreOffice);
        QCOMPARE(ctl<QRadioButton>("optWordVersionOOXML")->isChecked(), !libreOffice);
        if (!libreOffice)
            QCOMPARE(lo->toolTip(), QStringLiteral("LibreOffice Writer ist nicht installiert"));
        if (!message.isEmpty())
            m_ui->answer(Mb::Ok);
        auto* button = m_dlg->findChild<QRadioButton*>(QStringLiteral("optWordVersion") + clicked);
        QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(8, button->height() / 2));
        QVERIFY(button->isChecked());
        QFETCH(bool, goneBeforeOk);
        if (goneBeforeOk)
            m_path->setInstalled(false);
        click("cmdOK");
        QCOMPARE(m_ui->boxes().size(), message.isEmpty() ? 0 : 1);
        if (!message.isEmpty()) {
            QCOMPARE(m_ui->boxes()[0].text, message);
            QCOMPARE(m_ui->boxes()[0].icon(), Mb::Exclamation);
        }
        QTEST(m_word->Version(), "used");
    }

    void editingState()
    {
        open();
        chooseTab(1);
        // Listed in the stored order.
        QCOMPARE(column(fields(), 0),
                 (QStringList{"Von-Firma", "Von-Abteilung", "Von-Durchwahl", "Von-FAX", "Von-Name",
                              "Von-Kurzzeichen", "Von-Unterschrift"}));
        auto* name = ctl<QLineEdit>("txtFieldname");
        auto* value = ctl<QLineEdit>("txtFieldvalue");
        auto* set = ctl<QPushButton>("cmdSetField");
        auto* del = ctl<QPushButton>("cmdDeleteField");
        const auto state = [&](bool nameEditable, bool rowChosen) {
            QCOMPARE(name->isEnabled(), nameEditable);
            QCOMPARE(set->isEnabled(), rowChosen);
            QCOMPARE(del->isEnabled(), rowChosen);
        };
        state(true, false);
        clickRow(fields(), 4);
        QCOMPARE(name->text(), QStringLiteral("Von-Name"));
        QCOMPARE(value->text(), QStringLiteral("<Ihr Name>"));
        state(false, true);
        ctl<QPushButton>("cmdNewField")->click();
        QVERIFY(name->text().isEmpty());
        QVERIFY(value->text().isEmpty());
        state(true, false);
        QTest::keyClicks(name, QStringLiteral("X"));
        QVERIFY(set->isEnabled());
        QTest::keyClick(name, Qt::Key_Backspace);
        QVERIFY(!set->isEnabled());
    }

    void setField_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("value");
        QTest::addColumn<bool>("pressReturn"); // in the value box, instead of "Setzen"
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("stored");
        const QString d = DefaultAssignments().special;
        auto row = [](const char* tag, const char* name, const char* value, const QString& stored,
                      const char* message = "", bool pressReturn = false) {
            QTest::newRow(tag) << name << value << pressReturn << message << stored;
        };
        row("new name is appended", "Von-Mail", "a@b.de", d + "|Von-Mail=a@b.de");
        row("existing name replaces the value in place", "Von-Name", "Erika Muster",
            QString(d).replace("Von-Name=<Ihr Name>", "Von-Name=Erika Muster"));
        row("names differing in case are two fields", "von-name", "klein", d + "|von-name=klein");
        row("a value may hold '='", "Formel", "a=b", d + "|Formel=a=b");
        row("an empty value is kept", "Leer", "", d + "|Leer=");
        row("Return sets the field and does not close", "Von-Ort", "Erlangen",
            d + "|Von-Ort=Erlangen", "", true);
        row("'=' in the name", "Von=Name", "x", d,
            "Ungültiger Wert: 'Von=Name'\r\nEin Feldname darf die Zeichen '=' und '|' nicht "
            "enthalten");
        row("'|' in the name", "Von|Name", "x", d,
            "Ungültiger Wert: 'Von|Name'\r\nEin Feldname darf die Zeichen '=' und '|' nicht "
            "enthalten");
        row("'|' in the value", "Von-Ort", "a|b", d,
            "Ungültiger Wert: 'a|b'\r\nEin Wert darf das Zeichen '|' nicht enthalten");
    }
    void setField()
    {
        QFETCH(QString, name);
        QFETCH(QString, value);
        QFETCH(bool, pressReturn);
        QFETCH(QString, message);
        open();
        chooseTab(1);
        QTest::keyClicks(ctl<QLineEdit>("txtFieldname"), name);
        QTest::keyClicks(ctl<QLineEdit>("txtFieldvalue"), value);
        if (!message.isEmpty())
            m_ui->answer(Mb::Ok);
        if (pressReturn)
            QTest::keyClick(ctl<QLineEdit>("txtFieldvalue"), Qt::Key_Return);
        else
            ctl<QPushButton>("cmdSetField")->click();
        QVERIFY(m_dlg->isVisible());
        QCOMPARE(m_ui->boxes().size(), message.isEmpty() ? 0 : 1);
        if (!message.isEmpty()) {
            QCOMPARE(m_ui->boxes()[0].text, message);
            QCOMPARE(m_ui->boxes()[0].title, QStringLiteral("Ungültige Eingabe"));
        }
        QCOMPARE(m_special, DefaultAssignments().special); // nothing before OK
        click("cmdOK");
        QTEST(m_special, "stored");
    }

    void deleteField_data()
    {
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("every");
        QTest::addColumn<QString>("stored");
        QTest::newRow("OK deletes") << int(Mb::Ok) << false
                                    << DefaultAssignments().special.remove(
                                           QStringLiteral("|Von-Abteilung=<Ihre Abteilung>"));
        QTest::newRow("Cancel keeps") << int(Mb::Cancel) << false << DefaultAssignments().special;
        QTest::newRow("deleting every field stores an empty string")
            << int(Mb::Ok) << true << QString();
    }
    void deleteField()
    {
        QFETCH(int, answer);
        QFETCH(bool, every);
        open();
        chooseTab(1);
        clickRow(fields(), 1);
        m_ui->answer(answer);
        ctl<QPushButton>("cmdDeleteField")->click();
        QCOMPARE(m_ui->boxes()[0].text,
                 QStringLiteral("Wollen Sie das Feld 'Von-Abteilung' wirklich löschen?\r\n"
                                "Wenn das Feld bereits Word-Textmarken zugeordnet ist,\r\n"
                                "können diese nicht mehr verwendet werden!"));
        QCOMPARE(m_ui->boxes()[0].style, Mb::OkCancel + Mb::Question);
        QCOMPARE(fields()->topLevelItemCount(), answer == Mb::Ok ? 6 : 7);
        // Nothing is chosen after a deletion.
        QCOMPARE(ctl<QPushButton>("cmdDeleteField")->isEnabled(), answer != Mb::Ok);
        QCOMPARE(ctl<QPushButton>("cmdSetField")->isEnabled(), answer != Mb::Ok);
        while (every && fields()->topLevelItemCount() > 0) {
            clickRow(fields(), 0);
            m_ui->answer(Mb::Ok);
            ctl<QPushButton>("cmdDeleteField")->click();
        }
        click("cmdOK");
        QTEST(m_special, "stored");
    }

    void reset_data()
    {
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("okAfterwards");
        QTest::addColumn<bool>("defaults");
        QTest::newRow("Yes, then Cancel: defaults stay") << int(Mb::Yes) << false << true;
        QTest::newRow("Yes, then OK") << int(Mb::Yes) << true << true;
        QTest::newRow("No changes nothing") << int(Mb::No) << true << false;
    }
    void reset()
    {
        QFETCH(int, answer);
        QFETCH(bool, okAfterwards);
        QFETCH(bool, defaults);
        m_list.clear();
        m_list.add(QStringLiteral("/vorlagen/Eigene.dotx|A=Firma (OF)"));
        m_special = QStringLiteral("Eigenes=1");
        open();
        m_ui->answer(answer);
        ctl<QPushButton>("cmdResetFieldAssignments")->click();
        QCOMPARE(m_ui->boxes()[0].text,
                 QStringLiteral("ACHTUNG: hiermit setzen Sie alle Spezialfelder und "
                                "Feldzuordnungen\r\nauf die voreingestellten Werte zurück.\r\n"
                                "Ihre Einstellungen gehen verloren!\r\nMöchten Sie fortfahren?"));
        QCOMPARE(m_ui->boxes()[0].style, Mb::YesNo + Mb::Question);
        // Takes effect at once, before OK or Cancel.
        QCOMPARE(fields()->topLevelItemCount(), defaults ? 7 : 1);
        ctl<QPushButton>(okAfterwards ? "cmdOK" : "cmdCancel")->click();
        QCOMPARE(m_special, defaults ? DefaultAssignments().special : QStringLiteral("Eigenes=1"));
        QCOMPARE(m_list.entries() == DefaultAssignments().list.entries(), defaults);
    }

    void outputFolderChosen()
    {
        QTemporaryDir out;
        const QString chosen = QDir::toNativeSeparators(out.path());
        QString offered, answer = out.path();
        open();
        m_dlg->setFolderChooser([&](QWidget*, const QString& current) {
            offered = current;
            return answer;
        });
        click("cmdChooseOutputFolder");
        // Empty means the documents folder, so the dialog starts there.
        QCOMPARE(offered, QDir::homePath() + QStringLiteral("/Documents"));
        // A cancelled dialog changes nothing.
        answer.clear();
        click("cmdChooseOutputFolder");
        QCOMPARE(offered, chosen);
        QCOMPARE(ctl<QLineEdit>("txtOutputFolder")->text(), chosen);
        click("cmdOK");
        QCOMPARE(m_values.OutputFolder, chosen);
        QCOMPARE(m_word->outputFolder(), out.path());
    }

    void outputFolderRefused_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("start");
        auto row = [](const char* tag, const char* kind, const char* start) {
            QTest::newRow(tag) << kind << start;
        };
        row("missing folder", "missing", "Der Ausgabeordner '");
        row("a file, not a folder", "file", "'");
        row("not writable", "readonly", "In den Ausgabeordner '");
        row("relative path", "relative", "Geben Sie den Ausgabeordner");
        // Takes no files whoever asks, root included.
        row("system folder without files", "proc", "In den Ausgabeordner '");
    }
    void outputFolderRefused()
    {
        QFETCH(QString, kind);
        QFETCH(QString, start);
        QTemporaryDir base;
        QString folder;
        if (kind == u"missing") {
            folder = base.filePath(QStringLiteral("fehlt"));
        } else if (kind == u"file") {
            folder = base.filePath(QStringLiteral("datei.txt"));
            QFile f(folder);
            QVERIFY(f.open(QIODevice::WriteOnly));
        } else if (kind == u"readonly") {
            if (geteuid() == 0)
                QSKIP("root may write into any folder");
            folder = base.filePath(QStringLiteral("nurlesen"));
            QVERIFY(QDir().mkpath(folder));
            QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner);
        } else if (kind == u"proc") {
            folder = QStringLiteral("/proc");
        } else {
            folder = QStringLiteral("Briefe/Ausgang");
        }
        m_values.OutputFolder = QStringLiteral("/vorher");
        m_values.ExitAfterFinished = true;
        open();
        auto* box = ctl<QLineEdit>("txtOutputFolder");
        box->setText(folder);
        ctl<QCheckBox>("chkExitAfterFinished")->click();
        chooseTab(1);
        m_ui->answer(Mb::Ok);
        click("cmdOK");
        if (kind == u"readonly")
            QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);

        QCOMPARE(m_ui->boxes().size(), 1);
        const QString text = m_ui->boxes()[0].text;
        QVERIFY2(text.startsWith(start), qPrintable(text));
        QVERIFY2(text.contains(QDir::toNativeSeparators(folder)), qPrintable(text));
        QVERIFY(text.endsWith(QStringLiteral("lassen Sie das Feld leer, um den Ordner "
                                             "'Dokumente' zu verwenden.")));
        QCOMPARE(m_ui->boxes()[0].icon(), Mb::Exclamation);
        // The dialog stays open on the general tab; nothing is taken over.
        QVERIFY(m_dlg->isVisible());
        QCOMPARE(m_dlg->CurrentTab(), qint16(0));
        QCOMPARE(m_values.OutputFolder, QStringLiteral("/vorher"));
        QVERIFY(m_values.ExitAfterFinished);

        // Emptied, the documents folder is used and OK goes through.
        box->clear();
        click("cmdOK");
        QVERIFY(!m_dlg->isVisible());
        QCOMPARE(m_values.OutputFolder, QString());
        QVERIFY(!m_values.ExitAfterFinished);
    }
};

QTEST_MAIN(TstFrmOptions)
#include "tst_frmoptions.moc"
