#include "DialogTestHelpers.h"
#include "document/ClsWord.h"
#include "document/FieldAssignmentDefaults.h"
#include "document/FieldAssignmentList.h"
#include "document/widgets/FrmOptions.h"
#include "tests/support/ScriptedUserInterface.h"
#include "tests/support/TestEnvironment.h"

#include <QCheckBox>
#include <QDir>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <unistd.h>

using namespace DialogTestHelpers;

namespace
{

const QString kDefaultSpecial = QStringLiteral(
    "Von-Firma=<Ihre Firma>|Von-Abteilung=<Ihre Abteilung>|Von-Durchwahl=<Ihre Durchwahl>|"
    "Von-FAX=<Ihre FAX-Nummer>|Von-Name=<Ihr Name>|Von-Kurzzeichen=<Ihr Kurzzeichen>|"
    "Von-Unterschrift=i.A. <Ihr Name>");

} // namespace

class TstFrmOptions : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TestEnvironment> m_env;
    std::unique_ptr<ScriptedUserInterface> m_ui;
    std::unique_ptr<FakeSofficePath> m_path;
    OptionsValues m_values;
    FieldAssignmentList m_list;
    QString m_special;
    std::unique_ptr<ClsWord> m_word;
    std::unique_ptr<FrmOptions> m_dlg;

    FrmOptions& open(bool libreOfficeInstalled = false)
    {
        m_path = std::make_unique<FakeSofficePath>(libreOfficeInstalled);
        m_word = std::make_unique<ClsWord>();
        m_dlg = std::make_unique<FrmOptions>(m_values, m_list, m_special, *m_word);
        m_dlg->show();
        return *m_dlg;
    }
    template <class T> T* ctl(const char* name) { return child<T>(m_dlg.get(), name); }
    QTreeWidget* fields() { return ctl<QTreeWidget>("lvwSpecialFields"); }
    void chooseTab(int tab) { ctl<QTabWidget>("tabMain")->setCurrentIndex(tab); }

private Q_SLOTS:
    void init()
    {
        m_env = std::make_unique<TestEnvironment>();
        m_ui = std::make_unique<ScriptedUserInterface>();
        m_values = OptionsValues();
        m_list.clear();
        m_special = kDefaultSpecial;
        SetDefaultFieldAssignments(m_list, m_special);
    }
    void cleanup()
    {
        m_dlg.reset();
        m_word.reset();
        m_path.reset();
        QCOMPARE(m_ui->pendingAnswers(), 0);
        m_ui.reset();
        m_env.reset();
    }

    void captionsAndControls()
    {
        FrmOptions& dlg = open();
        QCOMPARE(dlg.windowTitle(), QStringLiteral("Optionen"));
        auto* tab = ctl<QTabWidget>("tabMain");
        QCOMPARE(tab->tabText(0), QStringLiteral("&Allgemein "));
        QCOMPARE(tab->tabText(1), QStringLiteral("&Spezialfelder "));
        QCOMPARE(dlg.CurrentTab(), qint16(0));
        QCOMPARE(ctl<QCheckBox>("chkExitAfterFinished")->text(),
                 QStringLiteral("Programm &beenden nach dem Erstellen des Word-Dokuments"));
        QCOMPARE(ctl<QCheckBox>("chkCheckForCurrentContactAtStartup")->text(),
                 QStringLiteral("Beim Starten automatisch aktuellen Outlook-Kontakt übernehmen"));
        QCOMPARE(ctl<QCheckBox>("chkAllowResize")->text(),
                 QStringLiteral("Größenveränderung des Haupformulars zulassen"));
        QCOMPARE(ctl<QGroupBox>("fraWordVersion")->title(), QStringLiteral("Word"));
        QCOMPARE(ctl<QRadioButton>("optWordVersionLO")->text(),
                 QStringLiteral("LibreOffice Writer verwenden"));
        QCOMPARE(ctl<QRadioButton>("optWordVersionOOXML")->text(),
                 QStringLiteral("Zettelwerk DOCX verwenden"));
        QCOMPARE(ctl<QPushButton>("cmdResetFieldAssignments")->text(),
                 QStringLiteral("Zurücksetzen"));
        QCOMPARE(fields()->headerItem()->text(0), QStringLiteral("Feldname"));
        QCOMPARE(fields()->headerItem()->text(1), QStringLiteral("Wert"));
        QCOMPARE(ctl<QPushButton>("cmdNewField")->text(), QStringLiteral("&Neu"));
        QCOMPARE(ctl<QPushButton>("cmdSetField")->text(), QStringLiteral("S&etzen"));
        QCOMPARE(ctl<QPushButton>("cmdDeleteField")->text(), QStringLiteral("Löschen"));
        QCOMPARE(ctl<QPushButton>("cmdCancel")->text(), QStringLiteral("Abbrechen"));
        QCOMPARE(ctl<QPushButton>("cmdHelp")->text(), QStringLiteral("Hilfe"));

        dlg.setCurrentTab(FrmOptions::TabSpecialFields);
        QCOMPARE(tab->currentIndex(), 1);
        QCOMPARE(dlg.CurrentTab(), qint16(1));
    }

    void generalOptionsRoundTrip_data()
    {
        QTest::addColumn<bool>("exitAfter");
        QTest::addColumn<bool>("checkContact");
        QTest::addColumn<bool>("allowResize");
        QTest::newRow("all set") << true << true << true;
        QTest::newRow("mixed") << false << true << false;
    }
    void generalOptionsRoundTrip()
    {
        QFETCH(bool, exitAfter);
        QFETCH(bool, checkContact);
        QFETCH(bool, allowResize);
        m_values.ExitAfterFinished = exitAfter;
        m_values.CheckForCurrentContactAtStartup = checkContact;
        m_values.AllowResize = allowResize;
        open();
        QCOMPARE(ctl<QCheckBox>("chkExitAfterFinished")->isChecked(), exitAfter);
        QCOMPARE(ctl<QCheckBox>("chkCheckForCurrentContactAtStartup")->isChecked(), checkContact);
        QCOMPARE(ctl<QCheckBox>("chkAllowResize")->isChecked(), allowResize);

        // Every box toggled; Cancel takes nothing over, OK everything.
        for (const char* name :
             {"chkExitAfterFinished", "chkCheckForCurrentContactAtStartup", "chkAllowResize"})
            ctl<QCheckBox>(name)->click();
        ctl<QPushButton>("cmdCancel")->click();
        QCOMPARE(m_values.ExitAfterFinished, exitAfter);
        QCOMPARE(m_values.CheckForCurrentContactAtStartup, checkContact);

        open();
        for (const char* name :
             {"chkExitAfterFinished", "chkCheckForCurrentContactAtStartup", "chkAllowResize"})
            ctl<QCheckBox>(name)->click();
        ctl<QPushButton>("cmdOK")->click();
        QCOMPARE(m_dlg->result(), int(QDialog::Accepted));
        QCOMPARE(m_values.ExitAfterFinished, !exitAfter);
        QCOMPARE(m_values.CheckForCurrentContactAtStartup, !checkContact);
        QCOMPARE(m_values.AllowResize, !allowResize);
        QCOMPARE(m_ui->boxes().size(), 0);
    }

    void versionChoiceHint_data()
    {
        QTest::addColumn<bool>("libreOffice");
        QTest::addColumn<QString>("clicked");
        QTest::addColumn<bool>("hint");
        QTest::newRow("older chosen while the newer is there: hint") << true << "OOXML" << true;
        QTest::newRow("newer chosen: no hint") << true << "LO" << false;
        QTest::newRow("only version there: no hint") << false << "OOXML" << false;
    }
    void versionChoiceHint()
    {
        QFETCH(bool, libreOffice);
        QFETCH(QString, clicked);
        QFETCH(bool, hint);
        open(libreOffice);
        // With LibreOffice installed both are offered, the newer in use; else the built-in one.
        auto* lo = ctl<QRadioButton>("optWordVersionLO");
        QCOMPARE(lo->isEnabled(), libreOffice);
        QVERIFY(ctl<QRadioButton>("optWordVersionOOXML")->isEnabled());
        QCOMPARE(lo->isChecked(), libreOffice);
        QCOMPARE(ctl<QRadioButton>("optWordVersionOOXML")->isChecked(), !libreOffice);
        if (!libreOffice)
            QCOMPARE(lo->toolTip(), QStringLiteral("LibreOffice Writer ist nicht installiert"));
        if (hint)
            m_ui->answer(Mb::Ok);
        auto* button = m_dlg->findChild<QRadioButton*>(QStringLiteral("optWordVersion") + clicked);
        QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(8, button->height() / 2));
        QVERIFY(button->isChecked());
        QCOMPARE(m_ui->boxes().size(), hint ? 1 : 0);
        if (hint) {
            QCOMPARE(
                m_ui->boxes()[0].text,
                QStringLiteral("Hinweis: diese Einstellung wird nicht permanent gespeichert!"));
            QCOMPARE(m_ui->boxes()[0].icon(), Mb::Exclamation);
        }
        ctl<QPushButton>("cmdOK")->click();
        QCOMPARE(m_word->Version(), clicked);
    }

    void versionGoneBeforeOk()
    {
        open(true);
        ctl<QRadioButton>("optWordVersionLO")->click();
        m_path->setInstalled(false);
        m_ui->answer(Mb::Ok);
        ctl<QPushButton>("cmdOK")->click();
        QCOMPARE(m_ui->boxes().size(), 1);
        QCOMPARE(m_ui->boxes()[0].text, QStringLiteral("LibreOffice Writer ist nicht installiert"));
        QCOMPARE(m_ui->boxes()[0].icon(), Mb::Exclamation);
        // No version is left in use, so the next use takes the newest installed one.
        QCOMPARE(m_word->Version(), ClsWord::kVersionOoxml);
    }

    void specialFieldsListed()
    {
        open();
        QCOMPARE(column(fields(), 0),
                 (QStringList{"Von-Firma", "Von-Abteilung", "Von-Durchwahl", "Von-FAX", "Von-Name",
                              "Von-Kurzzeichen", "Von-Unterschrift"}));
        QCOMPARE(fields()->topLevelItem(6)->text(1), QStringLiteral("i.A. <Ihr Name>"));
        QVERIFY(!fields()->topLevelItem(0)->icon(0).isNull());
    }

    void editingState()
    {
        open();
        chooseTab(1);
        auto* name = ctl<QLineEdit>("txtFieldname");
        auto* value = ctl<QLineEdit>("txtFieldvalue");
        auto* set = ctl<QPushButton>("cmdSetField");
        auto* del = ctl<QPushButton>("cmdDeleteField");
        QVERIFY(name->isEnabled());
        QVERIFY(!set->isEnabled());
        QVERIFY(!del->isEnabled());

        clickRow(fields(), 4);
        QCOMPARE(name->text(), QStringLiteral("Von-Name"));
        QCOMPARE(value->text(), QStringLiteral("<Ihr Name>"));
        QVERIFY(!name->isEnabled());
        QVERIFY(set->isEnabled());
        QVERIFY(del->isEnabled());

        ctl<QPushButton>("cmdNewField")->click();
        QVERIFY(name->text().isEmpty());
        QVERIFY(value->text().isEmpty());
        QVERIFY(name->isEnabled());
        QVERIFY(!set->isEnabled());
        QVERIFY(!del->isEnabled());
        QTest::keyClicks(name, QStringLiteral("X"));
        QVERIFY(set->isEnabled());
        QTest::keyClick(name, Qt::Key_Backspace);
        QVERIFY(!set->isEnabled());
    }

    void setField_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("stored");  // after OK
        QTest::addColumn<QString>("refusal"); // the box text; empty: taken
        auto row = [](const char* tag, const char* name, const char* value, const QString& stored,
                      const QString& refusal = {}) {
            QTest::newRow(tag) << name << value << stored << refusal;
        };
        row("new name is appended", "Von-Mail", "a@b.de", kDefaultSpecial + "|Von-Mail=a@b.de");
        row("existing name replaces the value in place", "Von-Name", "Erika Muster",
            QString(kDefaultSpecial).replace("Von-Name=<Ihr Name>", "Von-Name=Erika Muster"));
        row("names differing in case are two fields", "von-name", "klein",
            kDefaultSpecial + "|von-name=klein");
        row("a value may hold '='", "Formel", "a=b", kDefaultSpecial + "|Formel=a=b");
        row("an empty value is kept", "Leer", "", kDefaultSpecial + "|Leer=");
        const QString badName =
            QStringLiteral("'\r\nEin Feldname darf die Zeichen '=' und '|' nicht enthalten");
        row("'=' in the name", "Von=Name", "x", kDefaultSpecial,
            "Ungültiger Wert: 'Von=Name" + badName);
        row("'|' in the name", "Von|Name", "x", kDefaultSpecial,
            "Ungültiger Wert: 'Von|Name" + badName);
        row("'|' in the value", "Von-Ort", "a|b", kDefaultSpecial,
            "Ungültiger Wert: 'a|b'\r\nEin Wert darf das Zeichen '|' nicht enthalten");
    }
    void setField()
    {
        QFETCH(QString, name);
        QFETCH(QString, value);
        QFETCH(QString, stored);
        QFETCH(QString, refusal);
        open();
        chooseTab(1);
        QTest::keyClicks(ctl<QLineEdit>("txtFieldname"), name);
        QTest::keyClicks(ctl<QLineEdit>("txtFieldvalue"), value);
        if (!refusal.isEmpty())
            m_ui->answer(Mb::Ok);
        ctl<QPushButton>("cmdSetField")->click();
        if (!refusal.isEmpty()) {
            QCOMPARE(m_ui->boxes().size(), 1);
            QCOMPARE(m_ui->boxes()[0].text, refusal);
            QCOMPARE(m_ui->boxes()[0].title, QStringLiteral("Ungültige Eingabe"));
            QCOMPARE(fields()->topLevelItemCount(), 7);
        }
        QCOMPARE(m_special, kDefaultSpecial); // nothing before OK
        ctl<QPushButton>("cmdOK")->click();
        QCOMPARE(m_special, stored);
    }

    void returnSetsTheField()
    {
        open();
        chooseTab(1);
        QTest::keyClicks(ctl<QLineEdit>("txtFieldname"), QStringLiteral("Von-Ort"));
        QTest::keyClicks(ctl<QLineEdit>("txtFieldvalue"), QStringLiteral("Erlangen"));
        QTest::keyClick(ctl<QLineEdit>("txtFieldvalue"), Qt::Key_Return);
        QVERIFY(m_dlg->isVisible());
        QCOMPARE(fields()->topLevelItemCount(), 8);
        QCOMPARE(fields()->topLevelItem(7)->text(1), QStringLiteral("Erlangen"));
    }

    void deleteField_data()
    {
        QTest::addColumn<int>("answer");
        QTest::addColumn<int>("rowsLeft");
        QTest::newRow("OK deletes") << int(Mb::Ok) << 6;
        QTest::newRow("Cancel keeps") << int(Mb::Cancel) << 7;
    }
    void deleteField()
    {
        QFETCH(int, answer);
        QFETCH(int, rowsLeft);
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
        QCOMPARE(fields()->topLevelItemCount(), rowsLeft);
        QCOMPARE(ctl<QPushButton>("cmdDeleteField")->isEnabled(), answer != Mb::Ok);
        QCOMPARE(ctl<QPushButton>("cmdSetField")->isEnabled(), answer != Mb::Ok);
    }

    void deletingEveryFieldStoresEmptyString()
    {
        open();
        chooseTab(1);
        while (fields()->topLevelItemCount() > 0) {
            clickRow(fields(), 0);
            m_ui->answer(Mb::Ok);
            ctl<QPushButton>("cmdDeleteField")->click();
        }
        ctl<QPushButton>("cmdOK")->click();
        QCOMPARE(m_special, QString());
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
        QCOMPARE(m_special == kDefaultSpecial, defaults);
        QCOMPARE(fields()->topLevelItemCount(), defaults ? 7 : 1);
        ctl<QPushButton>(okAfterwards ? "cmdOK" : "cmdCancel")->click();

        FieldAssignmentList expected;
        QString expectedSpecial;
        SetDefaultFieldAssignments(expected, expectedSpecial);
        QCOMPARE(m_special == expectedSpecial, defaults);
        QCOMPARE(m_list.entries() == expected.entries(), defaults);
        if (!defaults)
            QCOMPARE(m_special, QStringLiteral("Eigenes=1"));
    }

    void outputFolderChosen()
    {
        QTemporaryDir out;
        open();
        QString offered;
        m_dlg->setFolderChooser([&](QWidget*, const QString& current) {
            offered = current;
            return out.path();
        });
        ctl<QPushButton>("cmdChooseOutputFolder")->click();
        // Empty means the documents folder, so the dialog starts there.
        QCOMPARE(offered, QDir::homePath() + QStringLiteral("/Documents"));
        QCOMPARE(ctl<QLineEdit>("txtOutputFolder")->text(), QDir::toNativeSeparators(out.path()));

        // A cancelled dialog changes nothing.
        m_dlg->setFolderChooser([&](QWidget*, const QString& current) {
            offered = current;
            return QString();
        });
        ctl<QPushButton>("cmdChooseOutputFolder")->click();
        QCOMPARE(offered, QDir::toNativeSeparators(out.path()));
        QCOMPARE(ctl<QLineEdit>("txtOutputFolder")->text(), QDir::toNativeSeparators(out.path()));

        ctl<QPushButton>("cmdOK")->click();
        QCOMPARE(m_values.OutputFolder, QDir::toNativeSeparators(out.path()));
        QCOMPARE(m_word->outputFolder(), out.path());
    }

    void outputFolderRefused_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("start");
        QTest::newRow("missing folder") << "missing"
                                        << "Der Ausgabeordner '";
        QTest::newRow("a file, not a folder") << "file"
                                              << "'";
        QTest::newRow("not writable") << "readonly"
                                      << "In den Ausgabeordner '";
        QTest::newRow("relative path") << "relative"
                                       << "Geben Sie den Ausgabeordner";
        // Takes no files whoever asks, root included.
        QTest::newRow("system folder without files") << "proc"
                                                     << "In den Ausgabeordner '";
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
        ctl<QPushButton>("cmdOK")->click();
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
        ctl<QPushButton>("cmdOK")->click();
        QVERIFY(!m_dlg->isVisible());
        QCOMPARE(m_values.OutputFolder, QString());
        QVERIFY(!m_values.ExitAfterFinished);
    }
};

QTEST_MAIN(TstFrmOptions)
#include "tst_frmoptions.moc"
