#include "DialogFixture.h"
#include "contacts/ContactFieldCatalogue.h"
#include "document/widgets/FrmFieldAssignments.h"
#include "document/widgets/FrmOptions.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QLineEdit>
#include <QTimer>

using namespace DialogTestHelpers;

class TstFrmFieldAssignments : public DialogFixture<FrmFieldAssignments>
{
    Q_OBJECT

private:
    QStringList m_status;
    QString m_chosenFile;

    void open(const QString& userDefined = QString())
    {
        m_dlg = std::make_unique<FrmFieldAssignments>(m_list, m_special, *m_word, m_values);
        m_dlg->setUserDefinedFieldNames(userDefined);
        m_dlg->setStatusSink([this](const QString& text) { m_status << text; });
        m_dlg->setFileChooser([this](QWidget*, const QString& title, const QString& filter) {
            m_status << QStringLiteral("Datei: ") + title + QStringLiteral(" / ") + filter;
            return m_chosenFile;
        });
        m_dlg->show();
    }
    QListWidget* dotFiles() { return ctl<QListWidget>("lstDotFiles"); }
    QTreeWidget* bookmarks() { return ctl<QTreeWidget>("lvwBookmarks"); }
    QListWidget* fields() { return ctl<QListWidget>("lstOutlookFields"); }
    void chooseTemplate(const QString& key) { clickRow(dotFiles(), rowOf(dotFiles(), key)); }
    void chooseBookmark(const QString& name) { clickRow(bookmarks(), rowOf(bookmarks(), name)); }
    void chooseCategory(int category)
    {
        ctl<QComboBox>("cboOutlookFieldCategories")->setFocus();
        ctl<QComboBox>("cboOutlookFieldCategories")->setCurrentIndex(category);
    }
    void close() { click("cmdClose"); }
    void assignField(const QString& bookmark, int category, const QString& field)
    {
        chooseBookmark(bookmark);
        chooseCategory(category);
        clickRow(fields(), rowOf(fields(), field));
        click("cmdAssignOutlookField");
    }
    // The pairs of a template entry after the dialog stored it.
    QString pairsOf(const QString& key) const { return m_list.item(key).mid(key.size() + 1); }

private Q_SLOTS:
    void init()
    {
        setUp();
        m_word->SetUsedVersion(ClsWord::kVersionOoxml);
        m_word->setOpener([this](const QString& path) { m_status << "geöffnet: " + path; });
        m_status.clear();
        m_chosenFile.clear();
    }
    void cleanup() { tearDown(); }

    void opening()
    {
        open();
        QCOMPARE(texts(dotFiles()), m_list.keys());
        // Nothing chosen yet: only adding a template and the fields work.
        for (const char* name : {"cmdRemoveDotFile", "cmdAddBookmark", "cmdRemoveBookmark",
                                 "cmdGetDocBookmarks", "cmdAssignOutlookField",
                                 "cmdUnassignOutlookField", "txtNewBookmark", "chkWordVisible"})
            QVERIFY2(!ctl<QWidget>(name)->isEnabled(), name);
        QVERIFY(ctl<QPushButton>("cmdAddDotFile")->isEnabled());
        QVERIFY(ctl<QPushButton>("cmdEditSpecialFields")->isEnabled());
        QCOMPARE(m_ui->boxes().size(), 0);
    }

    void assign_data()
    {
        QTest::addColumn<int>("category");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("last");
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("stored");
        auto row = [](const char* tag, int category, int count, const char* first, const char* last,
                      const char* field, const char* suffix) {
            QTest::newRow(tag) << category << count << first << last << field
                               << QString::fromUtf8(field) + suffix;
        };
        row("composite", 0, 15, "1. Anschrift-Zeile", "PLZ+Ort ausgewählte Adresse",
            "Briefanrede+Name", " (ZF)");
        row("important Outlook fields", 1, 21, "Speichern unter", "E-Mail", "Firma", " (OF)");
        row("other Outlook fields", 2, 49, "Straße privat", "Büro", "Weiter Vornamen", " (OF)");
        row("user-defined from the contact", 3, 2, "Firma 2", "Kenn-Nr", "Kenn-Nr", " (BF)");
        row("special fields in stored order", 4, 7, "Von-Firma", "Von-Unterschrift", "Von-FAX",
            " (SF)");
        row("built-in", 5, 4, "Datum tt.mm.jjjj", "Benutzer Login-Name", "Computername", " (EF)");
    }
    void assign()
    {
        QFETCH(int, category);
        QFETCH(QString, stored);
        const QString letter = sampleLetterTemplatePath();
        const QString before = pairsOf(letter);
        open(QStringLiteral("Firma 2|Kenn-Nr|"));
        chooseTemplate(letter);
        chooseBookmark(QStringLiteral("Briefanrede"));
        chooseCategory(category);
        QTEST(fields()->count(), "count");
        QTEST(fields()->item(0)->text(), "first");
        QTEST(fields()->item(fields()->count() - 1)->text(), "last");
        QVERIFY(!ctl<QPushButton>("cmdAssignOutlookField")->isEnabled());
        QFETCH(QString, field);
        assignField(QStringLiteral("Briefanrede"), category, field);
        QCOMPARE(bookmarks()->topLevelItem(rowOf(bookmarks(), "Briefanrede"))->text(1), stored);
        QCOMPARE(pairsOf(letter), before); // stored only when leaving the template
        close();
        QCOMPARE(pairsOf(letter), QString(before).replace("Briefanrede=Briefanrede+Name (ZF)",
                                                          "Briefanrede=" + stored));
        QCOMPARE(m_ui->boxes().size(), 0);
    }

    void outlookFieldsAreCatalogueNames()
    {
        // Each Outlook field offered must be one the contact can deliver.
        for (int category : {1, 2})
            for (const QString& name : FrmFieldAssignments::fixedCategoryFields(category))
                QVERIFY2(ContactFieldCatalogue::find(name), qPrintable(name));
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

    void doubleClickAssigns()
    {
        open();
        chooseTemplate(kEmptyDocument);
        chooseBookmark(QStringLiteral("(2. Zeile)"));
        chooseCategory(1);
        clickRow(fields(), rowOf(fields(), "Nachname"), true);
        QCOMPARE(bookmarks()->topLevelItem(1)->text(1), QStringLiteral("Nachname (OF)"));
        // Without a chosen row the assign button is off, and so is the double click.
        bookmarks()->clearSelection();
        clickRow(fields(), rowOf(fields(), "Vorname"), true);
        QCOMPARE(bookmarks()->topLevelItem(1)->text(1), QStringLiteral("Nachname (OF)"));
        close();
        QVERIFY(m_list.item(kEmptyDocument).contains(u"|(2. Zeile)=Nachname (OF)|"_qs));
    }

    // Adding a row by hand sets no flag: leaving the template loses it.
    void editedTemplateMovesToTheEnd_data()
    {
        flagRows("assignAfterAdding", "a row added and assigned is stored",
                 "a row added alone is not stored");
    }
    void editedTemplateMovesToTheEnd()
    {
        QFETCH(bool, assignAfterAdding);
        const QStringList keysBefore = m_list.keys();
        const QString first = keysBefore.first();
        open();
        chooseTemplate(first);
        QTest::keyClicks(ctl<QLineEdit>("txtNewBookmark"), QStringLiteral("Gruss"));
        QTest::keyClick(ctl<QLineEdit>("txtNewBookmark"), Qt::Key_Return);
        QCOMPARE(bookmarks()->topLevelItemCount(), 31);
        QVERIFY(ctl<QLineEdit>("txtNewBookmark")->text().isEmpty());
        if (assignAfterAdding)
            assignField(QStringLiteral("(1. Zeile)"), 5, QStringLiteral("Computername"));
        chooseTemplate(keysBefore[1]);
        QCOMPARE(m_list.keys().last() == first, assignAfterAdding);
        QCOMPARE(m_list.item(first).endsWith(u"|Gruss=-"_qs), assignAfterAdding);
        // The list on screen keeps its order until the dialog opens again.
        QCOMPARE(texts(dotFiles()), keysBefore);
        chooseTemplate(first);
        QCOMPARE(bookmarks()->topLevelItemCount(), assignAfterAdding ? 31 : 30);
    }

    void addTemplate_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<bool>("added");
        QTest::addColumn<QString>("chosen");  // the template chosen afterwards
        QTest::addColumn<QString>("message"); // how the refusal starts
        const QString onlyTemplates = QStringLiteral(
            "Nur Word-Dokumentvorlagen (*.dot, *.dotx, *.dotm) können ausgewählt werden!");
        auto row = [](const char* tag, const QString& file, bool added, const QString& message = {},
                      const QString& chosen = {}) {
            QTest::newRow(tag) << file << added << chosen << message;
        };
        row("dotx", "/vorlagen/Angebot.dotx", true);
        row("DOT in capitals", "/vorlagen/ALT.DOT", true);
        row("dotm mixed case", "/vorlagen/Makro.DotM", true);
        row("a document is refused", "/vorlagen/Brief.docx", false, onlyTemplates);
        row("no extension is refused", "/vorlagen/Vorlage", false, onlyTemplates);
        row("dot only in the folder name", "/vorlagen.dot/Brief.doc", false, onlyTemplates);
        // "|" separates the stored entry's parts: such a path would break its entry.
        row("a path with the separator is refused", "/tmp/Briefe|alt/Brief.dotx", false,
            "Der Pfad der Vorlagendatei '/tmp/Briefe|alt/Brief.dotx' enthält das Zeichen '|'");
        row("a cancelled file dialog adds nothing", "", false);
        const QString letter = sampleLetterTemplatePath();
        row("a listed template, in other case, is chosen instead",
            letter.toUpper().replace(u".DOTX"_qs, u".dotx"_qs), false, {}, letter);
    }
    void addTemplate()
    {
        QFETCH(QString, file);
        QFETCH(bool, added);
        QFETCH(QString, chosen);
        QFETCH(QString, message);
        const int before = m_list.count();
        open();
        m_chosenFile = file;
        if (!message.isEmpty())
            m_ui->answer(Mb::Ok);
        click("cmdAddDotFile");
        QCOMPARE(m_status.first(), QStringLiteral("Datei: Dokumentvorlage auswählen / "
                                                  "Dokumentvorlagen (*.dot *.dotx *.dotm);;"
                                                  "Alle Dateien (*.*)"));
        QCOMPARE(m_list.count(), before + (added ? 1 : 0));
        QCOMPARE(dotFiles()->count(), m_list.count());
        QCOMPARE(m_ui->boxes().size(), message.isEmpty() ? 0 : 1);
        if (!message.isEmpty()) {
            QVERIFY2(m_ui->boxes()[0].text.startsWith(message), qPrintable(m_ui->boxes()[0].text));
            QCOMPARE(m_ui->boxes()[0].icon(), Mb::Exclamation);
        }
        if (added) {
            QCOMPARE(m_list.item(file), file + QLatin1Char('|'));
            QCOMPARE(dotFiles()->item(before)->text(), file);
        }
        QCOMPARE(dotFiles()->currentItem() ? dotFiles()->currentItem()->text() : QString(), chosen);
        QCOMPARE(bookmarks()->topLevelItemCount(), chosen.isEmpty() ? 0 : 10);
    }

    void removeTemplate_data() { answerRows("OK removes", "Cancel keeps"); }
    void removeTemplate()
    {
        QFETCH(int, answer);
        const bool removed = answer == Mb::Ok;
        const QString fax = sampleFaxTemplatePath();
        open();
        chooseTemplate(kEmptyDocument);
        QVERIFY(!ctl<QPushButton>("cmdRemoveDotFile")->isEnabled());
        chooseTemplate(fax);
        QVERIFY(ctl<QPushButton>("cmdRemoveDotFile")->isEnabled());
        // A changed row of the template must not bring it back after removal.
        chooseBookmark(QStringLiteral("Betreff"));
        click("cmdUnassignOutlookField");
        QCOMPARE(bookmarks()->topLevelItem(rowOf(bookmarks(), "Betreff"))->text(1), u"-"_qs);
        m_ui->answer(answer);
        click("cmdRemoveDotFile");
        QCOMPARE(m_ui->boxes()[0].text,
                 "Wollen Sie die Vorlagendatei '" + fax +
                     "' tatsächlich aus der Liste entfernen?\r\n"
                     "Evtl. eingetragene Feldzuordnungen gehen damit verloren!");
        QCOMPARE(m_ui->boxes()[0].style, Mb::OkCancel + Mb::Question);
        QCOMPARE(rowOf(dotFiles(), fax) >= 0, !removed);
        QCOMPARE(bookmarks()->topLevelItemCount(), removed ? 0 : 13);
        close();
        QCOMPARE(m_list.contains(fax), !removed);
        QCOMPARE(m_list.count(), removed ? 2 : 3);
        // Kept, the unassigned row is stored.
        QCOMPARE(m_list.item(fax).contains(u"|Betreff=-|"_qs), !removed);
    }

    void addBookmark_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("message");
        const QString present =
            QStringLiteral("Eine Textmarke mit dem Namen '%1' ist bereits eingetragen");
        const QString invalid = QStringLiteral(
            "Geben Sie den Namen der hinzuzufügenden Textmarke ein\r\nUngültiger Wert: '%1'\r\n");
        QTest::newRow("new name") << "Datum" << QString();
        QTest::newRow("present name") << "Briefanrede" << present.arg("Briefanrede");
        QTest::newRow("present name in other case") << "BRIEFANREDE" << present.arg("BRIEFANREDE");
        QTest::newRow("empty") << "" << invalid.arg("") + "Kein Wert eingegeben";
        QTest::newRow("'=' would split the entry")
            << "A=B"
            << invalid.arg("A=B") +
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
        click("cmdAddBookmark");
        QCOMPARE(m_ui->boxes().size(), message.isEmpty() ? 0 : 1);
        QCOMPARE(bookmarks()->topLevelItemCount(), message.isEmpty() ? 11 : 10);
        if (message.isEmpty()) {
            QCOMPARE(bookmarks()->topLevelItem(10)->text(0), name);
            QCOMPARE(bookmarks()->topLevelItem(10)->text(1), QStringLiteral("-"));
        } else {
            QCOMPARE(m_ui->boxes()[0].text, message);
        }
    }

    void removeBookmark_data() { answerRows("OK removes", "Cancel keeps"); }
    void removeBookmark()
    {
        QFETCH(int, answer);
        open();
        chooseTemplate(sampleLetterTemplatePath());
        chooseBookmark(QStringLiteral("Empfänger3"));
        m_ui->answer(answer);
        click("cmdRemoveBookmark");
        QCOMPARE(m_ui->boxes()[0].text,
                 QStringLiteral("Wollen Sie die Textmarke 'Empfänger3' wirklich aus der Liste "
                                "entfernen?"));
        QCOMPARE(bookmarks()->topLevelItemCount(), answer == Mb::Ok ? 9 : 10);
        QCOMPARE(rowOf(bookmarks(), "Empfänger3") < 0, answer == Mb::Ok);
    }

    void readBookmarks_data()
    {
        QTest::addColumn<QString>("which");
        QTest::addColumn<int>("answer");      // to the question before the rows go; 0: none asked
        QTest::addColumn<QString>("refusal"); // how it starts; "%1" is the template
        QTest::addColumn<QString>("reason");
        QTest::addColumn<int>("icon");
        auto row = [](const char* tag, const char* which, int answer, const QString& refusal = {},
                      const char* reason = "", int icon = 0) {
            QTest::newRow(tag) << which << answer << refusal << reason << icon;
        };
        const QString cannot = QStringLiteral("Die Textmarken der Vorlage '%1' können nicht "
                                              "ausgelesen werden:\r\n");
        row("template with rows: asked first", "letter", Mb::Ok);
        row("template just added, without rows: nothing asked", "new", 0);
        row("question cancelled", "letter", Mb::Cancel);
        row("empty document has none", "empty", Mb::Ok,
            "Ein leeres Dokument hat keine Textmarken, die ausgelesen werden könnten!", "",
            Mb::Exclamation);
        row("template file missing", "Fehlt.dotx", Mb::Ok, cannot, "Fehlt.dotx", Mb::Critical);
        // The 16-bit count overflows: the rows must survive the user's OK.
        row("32768 bookmarks overflow the count", "Riesig.dotx", Mb::Ok, cannot, "32768 Textmarken",
            Mb::Critical);
        row("a damaged template is named so", "Kaputt.dotx", Mb::Ok,
            "Die Vorlagendatei '%1' ist beschädigt und kann nicht verwendet werden!", "",
            Mb::Critical);
    }
    void readBookmarks()
    {
        QFETCH(QString, which);
        QFETCH(int, answer);
        QFETCH(QString, refusal);
        QFETCH(QString, reason);
        QTemporaryDir dir;
        QString key = which == u"empty" ? kEmptyDocument : sampleLetterTemplatePath();
        if (which.endsWith(u".dotx")) {
            key = dir.filePath(which);
            m_list.add(key + QStringLiteral("|A=Firma (OF)"));
        }
        if (which == u"Riesig.dotx") {
            std::string body = "<w:p>";
            for (int i = 0; i < 32768; ++i)
                body += "<w:bookmarkStart w:id=\"" + std::to_string(i) + "\" w:name=\"M" +
                        std::to_string(i) + "\"/><w:bookmarkEnd w:id=\"" + std::to_string(i) +
                        "\"/>";
            OoxmlTestPackage::Template t;
            t.body = body + "</w:p>";
            QVERIFY(OoxmlTestPackage::writeZip(key, OoxmlTestPackage::entriesOf(t)));
        } else if (which == u"Kaputt.dotx") {
            QFile f(key);
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write("PK\x03\x04 kein Zip");
        }
        open();
        if (which == u"new") {
            key = m_chosenFile = dir.filePath(QStringLiteral("Kopie.dotx"));
            QVERIFY(QFile::copy(sampleFaxTemplatePath(), key));
            click("cmdAddDotFile");
        }
        const QString before = m_list.item(key);
        chooseTemplate(key);
        const QStringList rows = column(bookmarks(), 1);
        m_status.clear();
        if (answer)
            m_ui->answer(answer);
        if (!refusal.isEmpty())
            m_ui->answer(Mb::Ok);
        click("cmdGetDocBookmarks");
        QCOMPARE(m_ui->boxes().size(), (answer ? 1 : 0) + (refusal.isEmpty() ? 0 : 1));
        if (answer) {
            QCOMPARE(m_ui->boxes()[0].text,
                     QStringLiteral("Beim Auslesen der Textmarken aus der Word-Vorlage\r\n"
                                    "gehen evtl. bereits eingetragene Zuordnungen zu Outlook-\r\n"
                                    "Feldern verloren.\r\n\r\nWollen Sie trotzdem fortfahren?"));
            QCOMPARE(m_ui->boxes()[0].style, Mb::OkCancel + Mb::Question);
        }
        if (!refusal.isEmpty()) {
            const QString text = m_ui->boxes().last().text;
            QVERIFY2(text.startsWith(refusal.replace(u"%1"_qs, key)) && text.contains(reason),
                     qPrintable(text));
            QVERIFY2(!refusal.startsWith(u"Die Textmarken") ||
                         text.endsWith("\r\n\r\nDie bisherigen Zuordnungen bleiben erhalten."),
                     qPrintable(text));
            QTEST(int(m_ui->boxes().last().icon()), "icon");
        }
        if (!refusal.isEmpty() || answer == Mb::Cancel) {
            QCOMPARE(column(bookmarks(), 1), rows);
            close();
            QCOMPARE(m_list.item(key), before);
            return;
        }
        // The template's bookmarks are the ones its default rows name; read, they are sorted.
        QStringList names;
        for (const QString& pair : DefaultAssignments()
                                       .list.item(which == u"new" ? sampleFaxTemplatePath() : key)
                                       .split(u'|')
                                       .mid(1))
            names.append(pair.section(u'=', 0, 0));
        names.sort();
        QCOMPARE(column(bookmarks(), 0), names);
        QCOMPARE(column(bookmarks(), 1), QStringList(names.size(), QStringLiteral("-")));
        QCOMPARE(m_status, (QStringList{"Verbindung zu Word herstellen...",
                                        "Textmarken auslesen...", "Bereit"}));
        m_status.clear();
        close();
        QCOMPARE(m_status, (QStringList{"Word schließen...", "Bereit"}));
        QVERIFY(!m_word->engine());
        QVERIFY(!m_ui->hourglass());
        // Reading stored the rows (the flag was set) and saved no document anywhere.
        QCOMPARE(m_list.keys().last(), key);
        QVERIFY(pairsOf(key).startsWith(names[0] + "=-|" + names[1] + "=-|"));
        QCOMPARE(QDir(QDir::homePath() + QStringLiteral("/Documents"))
                     .entryList(QDir::Files | QDir::Hidden)
                     .size(),
                 0);
    }

    void wordVisibleWarning_data() { answerRows("OK: invisible", "Cancel: visible again"); }
    void wordVisibleWarning()
    {
        QFETCH(int, answer);
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
        QCOMPARE(box->isChecked(), answer != Mb::Ok);
        // Ticking it again asks nothing.
        if (answer == Mb::Ok)
            box->click();
        QCOMPARE(m_ui->boxes().size(), 1);
    }

    void resetInOptionsRefreshesTemplates()
    {
        const QString own = QStringLiteral("/vorlagen/Eigene.dotx");
        m_list.add(own + QStringLiteral("|A=Firma (OF)"));
        open();
        chooseTemplate(own);
        chooseBookmark(QStringLiteral("A"));
        click("cmdUnassignOutlookField");
        QTimer::singleShot(0, this, [&] {
            QWidget* options = QApplication::activeModalWidget();
            QVERIFY(options);
            m_ui->answer(Mb::Yes);
            child<QPushButton>(options, "cmdResetFieldAssignments")->click();
            child<QPushButton>(options, "cmdCancel")->click();
        });
        click("cmdEditSpecialFields");
        QCOMPARE(texts(dotFiles()), m_list.keys());
        QCOMPARE(bookmarks()->topLevelItemCount(), 0);
        close();
        // The template the reset removed does not come back with the changed rows.
        QVERIFY(!m_list.contains(own));
        QCOMPARE(m_list.count(), 3);
    }

    void optionsAndAssignmentsFillTheDocument()
    {
        // What the options and this dialog store is what the transfer writes, with the
        // contact looked up as the wizard does.
        const QString letter = sampleLetterTemplatePath();
        open();
        chooseTemplate(letter);
        chooseCategory(4);
        int shownTab = -1;
        QTimer::singleShot(0, this, [&] {
            auto* options = qobject_cast<FrmOptions*>(QApplication::activeModalWidget());
            QVERIFY(options);
            shownTab = options->CurrentTab();
            // Von-Durchwahl is deleted while "BearbeiterDurchwahl" keeps it assigned.
            auto* specials = child<QTreeWidget>(options, "lvwSpecialFields");
            clickRow(specials, rowOf(specials, QStringLiteral("Von-Durchwahl")));
            m_ui->answer(Mb::Ok);
            child<QPushButton>(options, "cmdDeleteField")->click();
            child<QPushButton>(options, "cmdNewField")->click();
            QTest::keyClicks(child<QLineEdit>(options, "txtFieldname"), QStringLiteral("Von-Ort"));
            child<QLineEdit>(options, "txtFieldvalue")->setText(QStringLiteral("Fürth"));
            child<QPushButton>(options, "cmdSetField")->click();
            child<QPushButton>(options, "cmdOK")->click();
        });
        click("cmdEditSpecialFields");
        QCOMPARE(shownTab, 1);
        QCOMPARE(fields()->count(), 7);
        QCOMPARE(texts(fields()).last(), QStringLiteral("Von-Ort"));
        assignField(QStringLiteral("Bearbeiter"), 4, QStringLiteral("Von-Ort"));
        assignField(QStringLiteral("Briefanrede"), 1, QStringLiteral("Firma"));
        chooseBookmark(QStringLiteral("Empfänger7"));
        click("cmdUnassignOutlookField");
        close();
        QVERIFY(m_list.item(letter).contains(u"|BearbeiterDurchwahl=Von-Durchwahl (SF)|"_qs));
        QVERIFY(m_list.item(letter).endsWith(u"|Empfänger7=-"_qs));

        SampleContact contact;
        const WordDocument document = m_word->CreateDocument(letter, true, true);
        QVERIFY(document);
        FillWordBookmarks(m_list, m_list.position(letter), *m_word, document, contact.resolver(),
                          m_special);
        QVERIFY(m_status.last().startsWith(u"geöffnet: "));
        const auto entries = OoxmlTestPackage::readZip(m_status.last().section(u": "_qs, 1));
        QStringList written;
        for (const QString& name : m_list.item(letter).split(u'|').mid(1, 8))
            written.append(textAt(entries, name.section(u'=', 0, 0)));
        // The deleted special field gave "UNKNOWN: Von-Durchwahl" here.
        QCOMPARE(written, (QStringList{"Fürth", "", "Muster AG", "Muster AG", "Herr", "Max Müller",
                                       "Einkauf", "Hauptstraße 1"}));
        // The company lines the contact lacks reach the error event, as in the wizard.
        QCOMPARE(contact.reported.size(), 2);
    }
};

QTEST_MAIN(TstFrmFieldAssignments)
#include "tst_frmfieldassignments.moc"
