#include "DialogTestHelpers.h"
#include "OoxmlTestPackage.h"
#include "contacts/ContactFieldCatalogue.h"
#include "contacts/ContactFields.h"
#include "contacts/ContactItem.h"
#include "document/ClsWord.h"
#include "document/FieldAssignmentDefaults.h"
#include "document/FieldAssignmentList.h"
#include "document/FieldAssignments.h"
#include "document/widgets/FrmFieldAssignments.h"
#include "document/widgets/FrmOptions.h"
#include "tests/support/ScriptedUserInterface.h"
#include "tests/support/TestEnvironment.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTimer>

using namespace DialogTestHelpers;

class TstFrmFieldAssignments : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TestEnvironment> m_env;
    std::unique_ptr<ScriptedUserInterface> m_ui;
    FieldAssignmentList m_list;
    QString m_special;
    OptionsValues m_options;
    std::unique_ptr<ClsWord> m_word;
    std::unique_ptr<FrmFieldAssignments> m_dlg;
    QStringList m_status;
    QString m_chosenFile;

    FrmFieldAssignments& open(const QString& userDefined = QString())
    {
        m_dlg = std::make_unique<FrmFieldAssignments>(m_list, m_special, *m_word, m_options);
        m_dlg->setUserDefinedFieldNames(userDefined);
        m_dlg->setStatusSink([this](const QString& text) { m_status << text; });
        m_dlg->setFileChooser([this](QWidget*, const QString& title, const QString& filter) {
            m_status << QStringLiteral("Datei: ") + title + QStringLiteral(" / ") + filter;
            return m_chosenFile;
        });
        m_dlg->show();
        return *m_dlg;
    }
    template <class T> T* ctl(const char* name) { return child<T>(m_dlg.get(), name); }
    QListWidget* dotFiles() { return ctl<QListWidget>("lstDotFiles"); }
    QTreeWidget* bookmarks() { return ctl<QTreeWidget>("lvwBookmarks"); }
    QListWidget* fields() { return ctl<QListWidget>("lstOutlookFields"); }
    QComboBox* categories() { return ctl<QComboBox>("cboOutlookFieldCategories"); }
    void chooseTemplate(const QString& key) { clickRow(dotFiles(), rowOf(dotFiles(), key)); }
    void chooseBookmark(const QString& name) { clickRow(bookmarks(), rowOf(bookmarks(), name)); }
    void chooseCategory(int category)
    {
        categories()->setFocus();
        categories()->setCurrentIndex(category);
    }
    void close() { ctl<QPushButton>("cmdClose")->click(); }
    // The pairs of a template entry after the dialog stored it.
    QString pairsOf(const QString& key) const { return m_list.item(key).mid(key.size() + 1); }

private Q_SLOTS:
    void init()
    {
        m_env = std::make_unique<TestEnvironment>();
        m_ui = std::make_unique<ScriptedUserInterface>();
        m_list.clear();
        SetDefaultFieldAssignments(m_list, m_special);
        m_options = OptionsValues();
        m_word = std::make_unique<ClsWord>();
        m_word->SetUsedVersion(ClsWord::kVersionOoxml);
        m_word->setOpener([this](const QString& path) { m_status << "geöffnet: " + path; });
        m_status.clear();
        m_chosenFile.clear();
    }
    void cleanup()
    {
        m_dlg.reset();
        m_word.reset();
        QCOMPARE(m_ui->pendingAnswers(), 0);
        m_ui.reset();
        m_env.reset();
    }

    void opening()
    {
        FrmFieldAssignments& dlg = open();
        QCOMPARE(dlg.windowTitle(), QStringLiteral("Feldzuordnung"));
        QCOMPARE(texts(dotFiles()), m_list.keys());
        QCOMPARE(bookmarks()->headerItem()->text(0), QStringLiteral("Textmarke"));
        QCOMPARE(bookmarks()->headerItem()->text(1), QStringLiteral("Outlook-Feld"));
        QCOMPARE(categories()->count(), 6);
        QCOMPARE(categories()->currentIndex(), 0);
        QCOMPARE(fields()->item(0)->text(), QStringLiteral("1. Anschrift-Zeile"));
        QCOMPARE(ctl<QPushButton>("cmdGetDocBookmarks")->toolTip(),
                 QStringLiteral("Word starten und die Textmarken aus der Vorlagendatei auslesen"));
        // Nothing chosen yet: only adding a template and the fields work.
        for (const char* name :
             {"cmdRemoveDotFile", "cmdAddBookmark", "cmdRemoveBookmark", "cmdGetDocBookmarks",
              "cmdAssignOutlookField", "cmdUnassignOutlookField"})
            QVERIFY2(!ctl<QWidget>(name)->isEnabled(), name);
        QVERIFY(!ctl<QLineEdit>("txtNewBookmark")->isEnabled());
        QVERIFY(!ctl<QCheckBox>("chkWordVisible")->isEnabled());
        QVERIFY(ctl<QPushButton>("cmdAddDotFile")->isEnabled());
        QVERIFY(ctl<QPushButton>("cmdEditSpecialFields")->isEnabled());
        QCOMPARE(m_ui->boxes().size(), 0);
    }

    void categoryLists_data()
    {
        QTest::addColumn<int>("category");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("last");
        QTest::newRow("composite")
            << 0 << "Zusammengesetzte Felder (ZF)" << 15 << "1. Anschrift-Zeile"
            << "PLZ+Ort ausgewählte Adresse";
        QTest::newRow("important Outlook fields")
            << 1 << "Wichtige Outlook-Felder (OF)" << 21 << "Speichern unter"
            << "E-Mail";
        QTest::newRow("other Outlook fields")
            << 2 << "Sonstige Outlook-Felder (OF)" << 49 << "Straße privat"
            << "Büro";
        QTest::newRow("user-defined from the contact")
            << 3 << "Benutzerdefinierte Felder (BF)" << 2 << "Firma 2"
            << "Kenn-Nr";
        QTest::newRow("special fields in stored order")
            << 4 << "Spezialfelder (SF)" << 7 << "Von-Firma"
            << "Von-Unterschrift";
        QTest::newRow("built-in") << 5 << "Eingebaute Felder (EF)" << 4 << "Datum tt.mm.jjjj"
                                  << "Benutzer Login-Name";
    }
    void categoryLists()
    {
        QFETCH(int, category);
        QFETCH(QString, text);
        QFETCH(int, count);
        QFETCH(QString, first);
        QFETCH(QString, last);
        open(QStringLiteral("Firma 2|Kenn-Nr|"));
        chooseCategory(category);
        QCOMPARE(categories()->currentText(), text);
        QCOMPARE(fields()->count(), count);
        QCOMPARE(fields()->item(0)->text(), first);
        QCOMPARE(fields()->item(count - 1)->text(), last);
        QCOMPARE(m_ui->boxes().size(), 0);
    }

    void outlookFieldsAreCatalogueNames()
    {
        // Each Outlook field offered must be one the contact can deliver.
        for (int category : {1, 2})
            for (const QString& name : FrmFieldAssignments::fixedCategoryFields(category))
                QVERIFY2(ContactFieldCatalogue::find(name), qPrintable(name));
        QVERIFY(FrmFieldAssignments::fixedCategoryFields(2).contains(u"Weiter Vornamen"_qs));
    }

    void userDefinedWithoutContact()
    {
        open();
        m_ui->answer(Mb::Ok);
        chooseCategory(3);
        QCOMPARE(m_ui->boxes().size(), 1);
        QCOMPARE(m_ui->boxes()[0].text,
                 QStringLiteral("Benutzerdefinierte Felder werden direkt aus dem \r\n"
                                "Outlook-Kontakt-Formular ausgelesen.\r\n\r\n"
                                "Es ist kein Outlook-Kontakt selektiert oder\r\n"
                                "das selektierte Kontaktformular hat keine \r\n"
                                "benutzerdefinierten Felder!"));
        QCOMPARE(m_ui->boxes()[0].icon(), Mb::Information);
        QCOMPARE(fields()->count(), 0);
    }

    void assign_data()
    {
        QTest::addColumn<int>("category");
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("stored");
        QTest::newRow("composite") << 0 << "Briefanrede+Name"
                                   << "Briefanrede+Name (ZF)";
        QTest::newRow("important Outlook field") << 1 << "Firma"
                                                 << "Firma (OF)";
        QTest::newRow("other Outlook field") << 2 << "Weiter Vornamen"
                                             << "Weiter Vornamen (OF)";
        QTest::newRow("user-defined") << 3 << "Kenn-Nr"
                                      << "Kenn-Nr (BF)";
        QTest::newRow("special") << 4 << "Von-FAX"
                                 << "Von-FAX (SF)";
        QTest::newRow("built-in") << 5 << "Computername"
                                  << "Computername (EF)";
    }
    void assign()
    {
        QFETCH(int, category);
        QFETCH(QString, field);
        QFETCH(QString, stored);
        const QString letter = sampleLetterTemplatePath();
        const QString before = pairsOf(letter);
        open(QStringLiteral("Firma 2|Kenn-Nr"));
        chooseTemplate(letter);
        chooseBookmark(QStringLiteral("Briefanrede"));
        chooseCategory(category);
        QVERIFY(!ctl<QPushButton>("cmdAssignOutlookField")->isEnabled());
        clickRow(fields(), rowOf(fields(), field));
        ctl<QPushButton>("cmdAssignOutlookField")->click();
        QCOMPARE(bookmarks()->topLevelItem(rowOf(bookmarks(), "Briefanrede"))->text(1), stored);
        QCOMPARE(pairsOf(letter), before); // stored only when leaving the template
        close();
        QCOMPARE(pairsOf(letter), QString(before).replace("Briefanrede=Briefanrede+Name (ZF)",
                                                          "Briefanrede=" + stored));
    }

    void doubleClickAssigns()
    {
        open();
        chooseTemplate(kEmptyDocument);
        chooseBookmark(QStringLiteral("(2. Zeile)"));
        chooseCategory(1);
        doubleClickRow(fields(), rowOf(fields(), "Nachname"));
        QCOMPARE(bookmarks()->topLevelItem(1)->text(1), QStringLiteral("Nachname (OF)"));
        // Without a chosen row the assign button is off, and so is the double click.
        bookmarks()->clearSelection();
        doubleClickRow(fields(), rowOf(fields(), "Vorname"));
        QCOMPARE(bookmarks()->topLevelItem(1)->text(1), QStringLiteral("Nachname (OF)"));
        close();
        QVERIFY(m_list.item(kEmptyDocument).contains(u"|(2. Zeile)=Nachname (OF)|"_qs));
    }

    void unassign()
    {
        const QString letter = sampleLetterTemplatePath();
        open();
        chooseTemplate(letter);
        chooseBookmark(QStringLiteral("Bearbeiter"));
        ctl<QPushButton>("cmdUnassignOutlookField")->click();
        QCOMPARE(bookmarks()->topLevelItem(0)->text(1), QStringLiteral("-"));
        close();
        QVERIFY(pairsOf(letter).startsWith(u"Bearbeiter=-|BearbeiterDurchwahl="_qs));
    }

    void editedTemplateMovesToTheEnd_data()
    {
        QTest::addColumn<bool>("assignAfterAdding");
        QTest::addColumn<bool>("stored");
        QTest::newRow("a row added and assigned is stored") << true << true;
        // Adding a row by hand sets no flag: leaving the template loses it.
        QTest::newRow("a row added alone is not stored") << false << false;
    }
    void editedTemplateMovesToTheEnd()
    {
        QFETCH(bool, assignAfterAdding);
        QFETCH(bool, stored);
        const QStringList keysBefore = m_list.keys();
        const QString first = keysBefore.first();
        open();
        chooseTemplate(first);
        QTest::keyClicks(ctl<QLineEdit>("txtNewBookmark"), QStringLiteral("Gruss"));
        QTest::keyClick(ctl<QLineEdit>("txtNewBookmark"), Qt::Key_Return);
        QCOMPARE(bookmarks()->topLevelItemCount(), 31);
        QVERIFY(ctl<QLineEdit>("txtNewBookmark")->text().isEmpty());
        if (assignAfterAdding) {
            chooseBookmark(QStringLiteral("(1. Zeile)"));
            chooseCategory(5);
            clickRow(fields(), 0);
            ctl<QPushButton>("cmdAssignOutlookField")->click();
        }
        chooseTemplate(keysBefore[1]);
        QCOMPARE(m_list.keys().last() == first, stored);
        QCOMPARE(m_list.item(first).endsWith(u"|Gruss=-"_qs), stored);
        // The list on screen keeps its order until the dialog opens again.
        QCOMPARE(texts(dotFiles()), keysBefore);
        chooseTemplate(first);
        QCOMPARE(bookmarks()->topLevelItemCount(), stored ? 31 : 30);
    }

    void addTemplate_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<bool>("accepted");
        QTest::newRow("dotx") << "/vorlagen/Angebot.dotx" << true;
        QTest::newRow("DOT in capitals") << "/vorlagen/ALT.DOT" << true;
        QTest::newRow("dotm mixed case") << "/vorlagen/Makro.DotM" << true;
        QTest::newRow("a document is refused") << "/vorlagen/Brief.docx" << false;
        QTest::newRow("no extension is refused") << "/vorlagen/Vorlage" << false;
        QTest::newRow("dot only in the folder name") << "/vorlagen.dot/Brief.doc" << false;
    }
    void addTemplate()
    {
        QFETCH(QString, file);
        QFETCH(bool, accepted);
        const int before = m_list.count();
        open();
        m_chosenFile = file;
        if (!accepted)
            m_ui->answer(Mb::Ok);
        ctl<QPushButton>("cmdAddDotFile")->click();
        QCOMPARE(m_status.first(), QStringLiteral("Datei: Dokumentvorlage auswählen / "
                                                  "Dokumentvorlagen (*.dot *.dotx *.dotm);;"
                                                  "Alle Dateien (*.*)"));
        QCOMPARE(m_list.count(), before + (accepted ? 1 : 0));
        QCOMPARE(dotFiles()->count(), m_list.count());
        if (accepted) {
            QCOMPARE(m_list.item(file), file + QLatin1Char('|'));
            QCOMPARE(dotFiles()->item(before)->text(), file);
            QCOMPARE(m_ui->boxes().size(), 0);
        } else {
            QCOMPARE(m_ui->boxes().size(), 1);
            QCOMPARE(m_ui->boxes()[0].text,
                     QStringLiteral("Nur Word-Dokumentvorlagen (*.dot, *.dotx, *.dotm) können "
                                    "ausgewählt werden!"));
            QCOMPARE(m_ui->boxes()[0].icon(), Mb::Exclamation);
        }
    }

    void addTemplateTwiceChoosesIt()
    {
        open();
        m_chosenFile = sampleLetterTemplatePath().toUpper().replace(u".DOTX"_qs, u".dotx"_qs);
        ctl<QPushButton>("cmdAddDotFile")->click();
        QCOMPARE(m_list.count(), 3);
        QCOMPARE(dotFiles()->count(), 3);
        QCOMPARE(dotFiles()->currentItem()->text(), sampleLetterTemplatePath());
        QCOMPARE(bookmarks()->topLevelItemCount(), 10);
        // Cancelling the file dialog adds nothing.
        m_chosenFile.clear();
        ctl<QPushButton>("cmdAddDotFile")->click();
        QCOMPARE(m_list.count(), 3);
    }

    void removeTemplate_data()
    {
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("removed");
        QTest::newRow("OK removes") << int(Mb::Ok) << true;
        QTest::newRow("Cancel keeps") << int(Mb::Cancel) << false;
    }
    void removeTemplate()
    {
        QFETCH(int, answer);
        QFETCH(bool, removed);
        const QString fax = sampleFaxTemplatePath();
        open();
        chooseTemplate(kEmptyDocument);
        QVERIFY(!ctl<QPushButton>("cmdRemoveDotFile")->isEnabled());
        chooseTemplate(fax);
        QVERIFY(ctl<QPushButton>("cmdRemoveDotFile")->isEnabled());
        // A changed row of the template must not bring it back after removal.
        chooseBookmark(QStringLiteral("Betreff"));
        ctl<QPushButton>("cmdUnassignOutlookField")->click();
        m_ui->answer(answer);
        ctl<QPushButton>("cmdRemoveDotFile")->click();
        QCOMPARE(m_ui->boxes()[0].text,
                 "Wollen Sie die Vorlagendatei '" + fax +
                     "' tatsächlich aus der Liste entfernen?\r\n"
                     "Evtl. eingetragene Feldzuordnungen gehen damit verloren!");
        QCOMPARE(m_ui->boxes()[0].style, Mb::OkCancel + Mb::Question);
        QCOMPARE(m_list.contains(fax), !removed);
        QCOMPARE(rowOf(dotFiles(), fax) >= 0, !removed);
        QCOMPARE(bookmarks()->topLevelItemCount(), removed ? 0 : 13);
        close();
        QCOMPARE(m_list.contains(fax), !removed);
        QCOMPARE(m_list.count(), removed ? 2 : 3);
    }

    void addBookmark_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("message");
        QTest::newRow("new name") << "Datum" << QString();
        QTest::newRow("present name")
            << "Briefanrede"
            << "Eine Textmarke mit dem Namen 'Briefanrede' ist bereits eingetragen";
        QTest::newRow("present name in other case")
            << "BRIEFANREDE"
            << "Eine Textmarke mit dem Namen 'BRIEFANREDE' ist bereits eingetragen";
        QTest::newRow("empty") << ""
                               << "Geben Sie den Namen der hinzuzufügenden Textmarke ein\r\n"
                                  "Ungültiger Wert: ''\r\nKein Wert eingegeben";
        QTest::newRow("'=' would split the entry")
            << "A=B"
            << "Geben Sie den Namen der hinzuzufügenden Textmarke ein\r\n"
               "Ungültiger Wert: 'A=B'\r\n"
               "Ein Textmarkenname darf die Zeichen '=' und '|' nicht enthalten";
    }
    void addBookmark()
    {
        QFETCH(QString, name);
        QFETCH(QString, message);
        open();
        chooseTemplate(sampleLetterTemplatePath());
        QTest::keyClicks(ctl<QLineEdit>("txtNewBookmark"), name);
        if (!message.isEmpty())
            m_ui->answer(Mb::Ok);
        ctl<QPushButton>("cmdAddBookmark")->click();
        if (message.isEmpty()) {
            QCOMPARE(bookmarks()->topLevelItemCount(), 11);
            QCOMPARE(bookmarks()->topLevelItem(10)->text(0), name);
            QCOMPARE(bookmarks()->topLevelItem(10)->text(1), QStringLiteral("-"));
            QVERIFY(!bookmarks()->topLevelItem(10)->icon(0).isNull());
        } else {
            QCOMPARE(m_ui->boxes().size(), 1);
            QCOMPARE(m_ui->boxes()[0].text, message);
            QCOMPARE(bookmarks()->topLevelItemCount(), 10);
        }
    }

    void removeBookmark_data()
    {
        QTest::addColumn<int>("answer");
        QTest::addColumn<int>("rows");
        QTest::newRow("OK removes") << int(Mb::Ok) << 9;
        QTest::newRow("Cancel keeps") << int(Mb::Cancel) << 10;
    }
    void removeBookmark()
    {
        QFETCH(int, answer);
        QFETCH(int, rows);
        open();
        chooseTemplate(sampleLetterTemplatePath());
        chooseBookmark(QStringLiteral("Empfänger3"));
        m_ui->answer(answer);
        ctl<QPushButton>("cmdRemoveBookmark")->click();
        QCOMPARE(m_ui->boxes()[0].text,
                 QStringLiteral("Wollen Sie die Textmarke 'Empfänger3' wirklich aus der Liste "
                                "entfernen?"));
        QCOMPARE(bookmarks()->topLevelItemCount(), rows);
        QCOMPARE(rowOf(bookmarks(), "Empfänger3") < 0, answer == Mb::Ok);
    }

    void readBookmarksFromTemplate()
    {
        const QString letter = sampleLetterTemplatePath();
        QVERIFY2(QFileInfo::exists(letter), qPrintable(letter));
        const QString documents = QDir::homePath() + QStringLiteral("/Documents");
        open();
        chooseTemplate(letter);
        m_status.clear();
        m_ui->answer(Mb::Ok);
        ctl<QPushButton>("cmdGetDocBookmarks")->click();
        QCOMPARE(m_ui->boxes().size(), 1);
        QCOMPARE(m_ui->boxes()[0].text,
                 QStringLiteral("Beim Auslesen der Textmarken aus der Word-Vorlage\r\n"
                                "gehen evtl. bereits eingetragene Zuordnungen zu Outlook-\r\n"
                                "Feldern verloren.\r\n\r\nWollen Sie trotzdem fortfahren?"));
        QCOMPARE(m_ui->boxes()[0].style, Mb::OkCancel + Mb::Question);
        // The template's bookmarks, sorted by name, all unassigned.
        QCOMPARE(column(bookmarks(), 0),
                 (QStringList{"Bearbeiter", "BearbeiterDurchwahl", "Briefanrede", "Empfänger1",
                              "Empfänger2", "Empfänger3", "Empfänger4", "Empfänger5", "Empfänger6",
                              "Empfänger7"}));
        QCOMPARE(column(bookmarks(), 1), QStringList(10, QStringLiteral("-")));
        QCOMPARE(m_status, (QStringList{"Verbindung zu Word herstellen...",
                                        "Textmarken auslesen...", "Bereit"}));
        m_status.clear();
        close();
        QCOMPARE(m_status, (QStringList{"Word schließen...", "Bereit"}));
        QVERIFY(!m_word->engine());
        QVERIFY(!m_ui->hourglass());
        // Reading stored the rows (the flag was set) and saved no document anywhere.
        QCOMPARE(m_list.keys().last(), letter);
        QVERIFY(pairsOf(letter).startsWith(u"Bearbeiter=-|BearbeiterDurchwahl=-|"_qs));
        QCOMPARE(QDir(documents).entryList(QDir::Files | QDir::Hidden).size(), 0);
    }

    void readBookmarksRefused_data()
    {
        QTest::addColumn<QString>("which");
        QTest::addColumn<int>("answer");
        QTest::addColumn<QString>("refusal");
        QTest::addColumn<QString>("reason"); // empty: the refusal is the whole text
        const QString cannot = QStringLiteral("Die Textmarken der Vorlage '%1' können nicht "
                                              "ausgelesen werden:\r\n");
        QTest::newRow("question cancelled")
            << "letter" << int(Mb::Cancel) << QString() << QString();
        QTest::newRow("empty document has none")
            << "empty" << int(Mb::Ok)
            << "Ein leeres Dokument hat keine Textmarken, die ausgelesen werden könnten!"
            << QString();
        QTest::newRow("template file missing")
            << "missing" << int(Mb::Ok) << cannot << "Fehlt.dotx";
        // The 16-bit count overflows: the rows must survive the user's OK.
        QTest::newRow("32768 bookmarks overflow the count")
            << "huge" << int(Mb::Ok) << cannot << "32768 Textmarken";
    }
    void readBookmarksRefused()
    {
        QFETCH(QString, which);
        QFETCH(int, answer);
        QFETCH(QString, refusal);
        QFETCH(QString, reason);
        QTemporaryDir dir;
        QString key = which == u"empty" ? kEmptyDocument : sampleLetterTemplatePath();
        if (which == u"missing" || which == u"huge") {
            key = dir.filePath(which == u"huge" ? QStringLiteral("Riesig.dotx")
                                                : QStringLiteral("Fehlt.dotx"));
            m_list.add(key + QStringLiteral("|A=Firma (OF)"));
        }
        if (which == u"huge") {
            std::string body = "<w:p>";
            for (int i = 0; i < 32768; ++i)
                body += "<w:bookmarkStart w:id=\"" + std::to_string(i) + "\" w:name=\"M" +
                        std::to_string(i) + "\"/><w:bookmarkEnd w:id=\"" + std::to_string(i) +
                        "\"/>";
            body += "</w:p>";
            OoxmlTestPackage::Template t;
            t.body = body;
            QVERIFY(OoxmlTestPackage::writeZip(key, OoxmlTestPackage::entriesOf(t)));
        }
        if (!reason.isEmpty())
            refusal = refusal.arg(key);
        const QString before = m_list.item(key);
        open();
        chooseTemplate(key);
        const QStringList rows = column(bookmarks(), 1);
        m_ui->answer(answer);
        if (!refusal.isEmpty())
            m_ui->answer(Mb::Ok);
        ctl<QPushButton>("cmdGetDocBookmarks")->click();
        QCOMPARE(m_ui->boxes().size(), refusal.isEmpty() ? 1 : 2);
        if (!refusal.isEmpty() && reason.isEmpty()) {
            QCOMPARE(m_ui->boxes()[1].text, refusal);
            QCOMPARE(m_ui->boxes()[1].icon(), Mb::Exclamation);
        } else if (!refusal.isEmpty()) {
            const QString text = m_ui->boxes()[1].text;
            QVERIFY2(text.startsWith(refusal) && text.contains(reason) &&
                         text.endsWith("\r\n\r\nDie bisherigen Zuordnungen bleiben erhalten."),
                     qPrintable(text));
            QCOMPARE(m_ui->boxes()[1].icon(), Mb::Critical);
        }
        QCOMPARE(column(bookmarks(), 1), rows);
        close();
        QCOMPARE(m_list.item(key), before);
    }

    void readBookmarksOfTemplateWithoutRows()
    {
        // A template just added has no rows, so nothing is asked.
        QTemporaryDir dir;
        const QString copy = dir.filePath(QStringLiteral("Kopie.dotx"));
        QVERIFY(QFile::copy(sampleFaxTemplatePath(), copy));
        open();
        m_chosenFile = copy;
        ctl<QPushButton>("cmdAddDotFile")->click();
        chooseTemplate(copy);
        ctl<QPushButton>("cmdGetDocBookmarks")->click();
        QCOMPARE(m_ui->boxes().size(), 0);
        QCOMPARE(bookmarks()->topLevelItemCount(), 13);
        QCOMPARE(bookmarks()->topLevelItem(0)->text(0), QStringLiteral("AnAbteilung"));
    }

    void pathWithSeparatorIsRefused()
    {
        // "|" separates the stored entry's parts: such a path would break its entry.
        const int before = m_list.count();
        open();
        m_chosenFile = QStringLiteral("/tmp/Briefe|alt/Brief.dotx");
        m_ui->answer(Mb::Ok);
        ctl<QPushButton>("cmdAddDotFile")->click();
        QCOMPARE(m_list.count(), before);
        QCOMPARE(dotFiles()->count(), before);
        QCOMPARE(m_ui->boxes().size(), 1);
        QVERIFY(m_ui->boxes()[0].text.startsWith(
            QStringLiteral("Der Pfad der Vorlagendatei '/tmp/Briefe|alt/Brief.dotx' enthält das "
                           "Zeichen '|'")));
        QCOMPARE(m_ui->boxes()[0].icon(), Mb::Exclamation);
    }

    void damagedTemplateIsNamedByReadBookmarks()
    {
        QTemporaryDir dir;
        const QString broken = dir.filePath(QStringLiteral("Kaputt.dotx"));
        QFile f(broken);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("PK\x03\x04 kein Zip");
        f.close();
        open();
        m_chosenFile = broken;
        ctl<QPushButton>("cmdAddDotFile")->click();
        chooseTemplate(broken);
        m_ui->answer(Mb::Ok);
        ctl<QPushButton>("cmdGetDocBookmarks")->click();
        QCOMPARE(m_ui->boxes().size(), 1);
        QVERIFY2(m_ui->boxes()[0].text.startsWith(QStringLiteral("Die Vorlagendatei '") + broken +
                                                  QStringLiteral("' ist beschädigt")),
                 qPrintable(m_ui->boxes()[0].text));
        QCOMPARE(m_ui->boxes()[0].icon(), Mb::Critical);
        QCOMPARE(bookmarks()->topLevelItemCount(), 0);
    }

    void wordVisibleWarning_data()
    {
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("checked");
        QTest::newRow("OK: invisible") << int(Mb::Ok) << false;
        QTest::newRow("Cancel: visible again") << int(Mb::Cancel) << true;
    }
    void wordVisibleWarning()
    {
        QFETCH(int, answer);
        QFETCH(bool, checked);
        open();
        chooseTemplate(kEmptyDocument);
        auto* box = ctl<QCheckBox>("chkWordVisible");
        QVERIFY(box->isChecked());
        m_ui->answer(answer);
        box->click();
        QCOMPARE(m_ui->boxes()[0].text,
                 QStringLiteral(
                     "Achtung: wenn die Vorlagendatei Macros mit Benutzereingaben enthält,\r\n"
                     "kann das unsichtbare Starten von Word zu einer Blockade führen!\r\n"
                     "In diesem Fall müssen Sie WINWORD.EXE im Taskmanager gewaltsam beenden!\r\n"
                     "Wollen Sie Word trotzdem unsichtbar starten?"));
        QCOMPARE(m_ui->boxes()[0].style, Mb::OkCancel + Mb::Question);
        QCOMPARE(box->isChecked(), checked);
        // Ticking it again asks nothing.
        if (!checked)
            box->click();
        QCOMPARE(m_ui->boxes().size(), 1);
    }

    void editSpecialFieldsOpensOptions()
    {
        open();
        chooseCategory(4);
        int shownTab = -1;
        QTimer::singleShot(0, this, [&] {
            auto* options = qobject_cast<FrmOptions*>(QApplication::activeModalWidget());
            QVERIFY(options);
            shownTab = options->CurrentTab();
            QTest::keyClicks(child<QLineEdit>(options, "txtFieldname"), QStringLiteral("Von-Ort"));
            child<QLineEdit>(options, "txtFieldvalue")->setText(QStringLiteral("Fürth"));
            child<QPushButton>(options, "cmdSetField")->click();
            child<QPushButton>(options, "cmdOK")->click();
        });
        ctl<QPushButton>("cmdEditSpecialFields")->click();
        QCOMPARE(shownTab, 1);
        QVERIFY(m_special.endsWith(u"|Von-Ort=Fürth"_qs));
        QCOMPARE(fields()->count(), 8);
        QCOMPARE(fields()->item(7)->text(), QStringLiteral("Von-Ort"));
    }

    void resetInOptionsRefreshesTemplates()
    {
        const QString own = QStringLiteral("/vorlagen/Eigene.dotx");
        m_list.add(own + QStringLiteral("|A=Firma (OF)"));
        open();
        chooseTemplate(own);
        chooseBookmark(QStringLiteral("A"));
        ctl<QPushButton>("cmdUnassignOutlookField")->click();
        QTimer::singleShot(0, this, [&] {
            QWidget* options = QApplication::activeModalWidget();
            QVERIFY(options);
            m_ui->answer(Mb::Yes);
            child<QPushButton>(options, "cmdResetFieldAssignments")->click();
            child<QPushButton>(options, "cmdCancel")->click();
        });
        ctl<QPushButton>("cmdEditSpecialFields")->click();
        QCOMPARE(texts(dotFiles()), m_list.keys());
        QCOMPARE(bookmarks()->topLevelItemCount(), 0);
        close();
        // The template the reset removed does not come back with the changed rows.
        QVERIFY(!m_list.contains(own));
        QCOMPARE(m_list.count(), 3);
    }

    void assignmentsFillTheDocument()
    {
        // What the dialog stores is what the transfer writes.
        const QString letter = sampleLetterTemplatePath();
        open();
        chooseTemplate(letter);
        chooseBookmark(QStringLiteral("Bearbeiter"));
        chooseCategory(4);
        clickRow(fields(), rowOf(fields(), "Von-Firma"));
        ctl<QPushButton>("cmdAssignOutlookField")->click();
        chooseBookmark(QStringLiteral("Briefanrede"));
        chooseCategory(1);
        clickRow(fields(), rowOf(fields(), "Firma"));
        ctl<QPushButton>("cmdAssignOutlookField")->click();
        chooseBookmark(QStringLiteral("BearbeiterDurchwahl"));
        ctl<QPushButton>("cmdUnassignOutlookField")->click();
        close();

        // The chosen contact, looked up as the wizard does.
        ContactItem item;
        item.setValue(u"LastName", QStringLiteral("Berger"));
        item.setValue(u"CompanyName", QStringLiteral("Muster GmbH"));
        ContactFields fields;
        QStringList reported; // the company lines the contact lacks, as the wizard gets them
        fields.setRaiseErrorEvents(true);
        fields.setErrorEvent([&](long, const QString& message) { reported << message; });
        const ContactFieldResolver contact = [&](const QString& name, int type) {
            return fields.GetFieldData(&item, name, type, 0, 0, 0);
        };
        const WordDocument document = m_word->CreateDocument(letter, true, true);
        QVERIFY(document);
        FillWordBookmarks(m_list, m_list.position(letter), *m_word, document, contact, m_special);
        QCOMPARE(m_status.size(), 3); // ... "Bereit", then the opened document
        const QString saved = m_status.last().mid(QStringLiteral("geöffnet: ").size());
        const auto entries = OoxmlTestPackage::readZip(saved);
        pugi::xml_document xml;
        const std::string& body = entries.at("word/document.xml");
        QVERIFY(
            xml.load_buffer(body.data(), body.size(), pugi::parse_default | pugi::parse_ws_pcdata));
        QCOMPARE(OoxmlTestPackage::bookmarkText(xml, "Bearbeiter"), QStringLiteral("<Ihre Firma>"));
        QCOMPARE(OoxmlTestPackage::bookmarkText(xml, "Briefanrede"), QStringLiteral("Muster GmbH"));
        QCOMPARE(OoxmlTestPackage::bookmarkText(xml, "BearbeiterDurchwahl"), QString());
        QCOMPARE(OoxmlTestPackage::bookmarkText(xml, "Empfänger1"), QStringLiteral("Muster GmbH"));
        QCOMPARE(OoxmlTestPackage::bookmarkText(xml, "Empfänger2"), QStringLiteral("Berger"));
        QCOMPARE(reported.size(), 2);
    }
};

QTEST_MAIN(TstFrmFieldAssignments)
#include "tst_frmfieldassignments.moc"
