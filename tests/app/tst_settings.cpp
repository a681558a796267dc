#include "app/Settings.h"
#include "tests/support/ScriptedUserInterface.h"
#include "tests/support/TestEnvironment.h"
#include "util/ClsRegistry.h"
#include "util/SystemNames.h"

#include <QTest>

namespace
{

// A second registry object, as another run of the program would see the store.
struct Store {
    ClsRegistry reg;
    Store()
    {
        reg.setCompany(QStringLiteral("KVAR"));
        reg.setKey(QStringLiteral("Software\\KVAR\\Zettelwerk"));
    }
    QString get(const QString& name)
    {
        QString v;
        return reg.GetString(name, v) ? v : QStringLiteral("<fehlt>");
    }
    void set(const QString& name, const QString& value) { QVERIFY(reg.SetString(name, value)); }
};

// The program's first run in this environment: its message answered, its settings stored.
void firstStart(ScriptedUserInterface& script)
{
    script.answer(Mb::Ok);
    AppGlobals first;
    QVERIFY(GetSettings(first));
}

} // namespace

class TstSettings : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void firstStartShowsMessageAndLoadsDefaults()
    {
        TestEnvironment env;
        ScriptedUserInterface script;
        script.answer(Mb::Ok);
        AppGlobals g;
        QVERIFY(GetSettings(g));

        QCOMPARE(script.boxes().size(), 1);
        const auto box = script.boxes().first();
        QCOMPARE(box.icon(), Mb::Information);
        QCOMPARE(
            box.text,
            QStringLiteral("Dies ist der erste Start der Anwendung Zettelwerk für den Benutzer ") +
                VuGetLoginName() +
                QStringLiteral("\r\n\r\nNach dem ersten Starten sind nur die Standardeinstellungen "
                               "gesetzt.\r\nBenutzen Sie das Menü 'Extras' um eigene "
                               "Einstellungen vorzunehmen."));
        const Settings& s = g.settings;
        QCOMPARE(s.StartCount, 1);
        QVERIFY(s.ExitAfterFinished && s.AddEmptyLineBeforeCity && s.AllowResize);
        QVERIFY(!s.CheckForCurrentContactAtStartup && !s.TitleAndNameOnSameLine && !s.AddNToHerr);
        QCOMPARE(g.fieldAssignmentList.count(), 3);
        QVERIFY(g.specialFieldsString.startsWith(QStringLiteral("Von-Firma=<Ihre Firma>|")));

        SaveSettings(g);
        Store store;
        QCOMPARE(store.get(QStringLiteral("StartCount")), QStringLiteral("2"));
        QCOMPARE(store.get(QStringLiteral("DotCount")), QStringLiteral("3"));
        QCOMPARE(store.get(QStringLiteral("Dot1")), g.fieldAssignmentList.item(1));
        QCOMPARE(store.get(QStringLiteral("ExitAfterFinished")), QStringLiteral("True"));
        QCOMPARE(store.get(QStringLiteral("AddNToHerr")), QStringLiteral("False"));
        QVERIFY(!store.get(QStringLiteral("AppPath")).isEmpty());
        QCOMPARE(store.get(QStringLiteral("CurrentVersion")), QStringLiteral("1.0.0"));
    }

    void secondStartReadsBackWhatTheFirstSaved()
    {
        TestEnvironment env;
        ScriptedUserInterface script;
        script.answer(Mb::Ok);
        {
            AppGlobals g;
            QVERIFY(GetSettings(g));
            g.settings.OutlookFolder = QStringLiteral("Root\\Persönliche Ordner\\Kontakte");
            g.settings.AddNToHerr = true;
            g.settings.ExitAfterFinished = false;
            g.settings.OutputFolder = QStringLiteral("/srv/briefe");
            g.settings.PublicFoldersPath = QStringLiteral("/mnt/öffentlich");
            g.specialFieldsString = QStringLiteral("Von-Name=Erika Muster");
            g.fieldAssignmentList.remove(QStringLiteral("(leeres Dokument)"));
            SaveSettings(g);
        }
        AppGlobals g;
        QVERIFY(GetSettings(g));
        QCOMPARE(script.boxes().size(), 1); // no first-start message the second time
        QCOMPARE(g.settings.StartCount, 2);
        QCOMPARE(g.settings.OutlookFolder, QStringLiteral("Root\\Persönliche Ordner\\Kontakte"));
        QVERIFY(g.settings.AddNToHerr);
        QVERIFY(!g.settings.ExitAfterFinished);
        QCOMPARE(g.settings.OutputFolder, QStringLiteral("/srv/briefe"));
        QCOMPARE(g.settings.PublicFoldersPath, QStringLiteral("/mnt/öffentlich"));
        QCOMPARE(g.specialFieldsString, QStringLiteral("Von-Name=Erika Muster"));
        QCOMPARE(g.fieldAssignmentList.count(), 2);
        QVERIFY(!g.fieldAssignmentList.contains(QStringLiteral("(leeres Dokument)")));
        SaveSettings(g);
        QCOMPARE(Store().get(QStringLiteral("StartCount")), QStringLiteral("3"));
    }

    void storedTemplateEntries_data()
    {
        QTest::addColumn<QString>("dotCount");
        QTest::addColumn<QStringList>("stored"); // Dot1, Dot2, ... ("" = missing)
        QTest::addColumn<QStringList>("loadedKeys");
        QTest::newRow("gap at Dot2 is skipped")
            << "3" << QStringList{"/a.dotx|A=-", "", "/c.dotx|C=-"}
            << QStringList{"/a.dotx", "/c.dotx"};
        QTest::newRow("count smaller than stored entries")
            << "1" << QStringList{"/a.dotx", "/b.dotx"} << QStringList{"/a.dotx"};
        QTest::newRow("count zero loads nothing, no defaults")
            << "0" << QStringList{"/a.dotx"} << QStringList{};
        QTest::newRow("entry key is the first token")
            << "1" << QStringList{"/x y.dotx|B=Firma (OF)|C=-"} << QStringList{"/x y.dotx"};
    }
    void storedTemplateEntries()
    {
        QFETCH(QString, dotCount);
        QFETCH(QStringList, stored);
        QFETCH(QStringList, loadedKeys);
        TestEnvironment env;
        ScriptedUserInterface script;
        firstStart(script);
        Store store;
        store.set(QStringLiteral("DotCount"), dotCount);
        for (int i = 0; i < stored.size(); ++i)
            if (!stored[i].isEmpty())
                store.set(QStringLiteral("Dot%1").arg(i + 1), stored[i]);
        store.reg.DeleteValue(QStringLiteral("SpecialFields"));

        AppGlobals g;
        QVERIFY(GetSettings(g));
        QCOMPARE(g.fieldAssignmentList.keys(), loadedKeys);
        // Special fields stay empty: the defaults only come with a missing count.
        QCOMPARE(g.specialFieldsString, QString());
    }

    void savingFewerEntriesDeletesStaleOnes()
    {
        TestEnvironment env;
        ScriptedUserInterface script;
        script.answer(Mb::Ok);
        Store store;
        AppGlobals g;
        QVERIFY(GetSettings(g));
        store.set(QStringLiteral("DotCount"), QStringLiteral("4"));
        for (int i = 1; i <= 4; ++i)
            store.set(QStringLiteral("Dot%1").arg(i), QStringLiteral("/t%1.dotx").arg(i));
        g.fieldAssignmentList.clear();
        g.fieldAssignmentList.add(QStringLiteral("/neu1.dotx"));
        g.fieldAssignmentList.add(QStringLiteral("/neu2.dotx"));
        SaveSettings(g);
        QCOMPARE(store.get(QStringLiteral("DotCount")), QStringLiteral("2"));
        QCOMPARE(store.get(QStringLiteral("Dot2")), QStringLiteral("/neu2.dotx"));
        QCOMPARE(store.get(QStringLiteral("Dot3")), QStringLiteral("<fehlt>"));
        QCOMPARE(store.get(QStringLiteral("Dot4")), QStringLiteral("<fehlt>"));
    }

    void unreadableNumbersEndTheStart_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("reason");
        QTest::newRow("StartCount not a number") << "StartCount"
                                                 << "viele"
                                                 << "Typen unverträglich (Nr. 13";
        QTest::newRow("DotCount beyond 16 bits") << "DotCount"
                                                 << "40000"
                                                 << "Überlauf (Nr. 6";
    }
    void unreadableNumbersEndTheStart()
    {
        QFETCH(QString, name);
        QFETCH(QString, value);
        QFETCH(QString, reason);
        TestEnvironment env;
        ScriptedUserInterface script;
        firstStart(script);
        Store().set(name, value);
        script.answer(Mb::No);
        AppGlobals g;
        QVERIFY(!GetSettings(g));
        const auto box = script.boxes().last();
        QVERIFY2(box.text.startsWith(QStringLiteral("Fehler: GetSettings\r\n")),
                 qPrintable(box.text));
        QVERIFY2(box.text.contains(reason), qPrintable(box.text));
        QCOMPARE(box.icon(), Mb::Question);
    }
};

QTEST_GUILESS_MAIN(TstSettings)
#include "tst_settings.moc"
