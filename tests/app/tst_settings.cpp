#include "app/Settings.h"
#include "tests/support/ScriptedUserInterface.h"
#include "tests/support/TestEnvironment.h"
#include "util/ClsRegistry.h"
#include "util/SystemNames.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

// A second registry object, as another run of the program would see the store.
struct Store {
    ClsRegistry reg;
    Store()
    {
        reg.setCompany(u"KVAR"_s);
        reg.setKey(u"Software\\KVAR\\Zettelwerk"_s);
    }
    QString get(const QString& name) { return reg.GetOptString(name, u"<fehlt>"_s); }
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
    void firstStartShowsMessageAndSecondReadsBack()
    {
        TestEnvironment env;
        ScriptedUserInterface script;
        script.answer(Mb::Ok);
        {
            AppGlobals g;
            QVERIFY(GetSettings(g));
            QCOMPARE(script.boxes().size(), 1);
            QCOMPARE(script.boxes()[0].icon(), Mb::Information);
            QCOMPARE(script.boxes()[0].text,
                     u"Dies ist der erste Start der Anwendung Zettelwerk für den Benutzer "_s +
                         VuGetLoginName() +
                         u"\r\n\r\nNach dem ersten Starten sind nur die Standardeinstellungen "
                         "gesetzt.\r\nBenutzen Sie das Menü 'Extras' um eigene "
                         "Einstellungen vorzunehmen."_s);
            Settings& s = g.settings;
            QCOMPARE(s.StartCount, 1);
            QVERIFY(s.ExitAfterFinished && s.AddEmptyLineBeforeCity && s.AllowResize);
            QVERIFY(!s.CheckForCurrentContactAtStartup && !s.TitleAndNameOnSameLine &&
                    !s.AddNToHerr);
            QCOMPARE(g.fieldAssignmentList.count(), 3);
            QVERIFY(g.specialFieldsString.startsWith(u"Von-Firma=<Ihre Firma>|"_s));

            s.OutlookFolder = u"Root\\Persönliche Ordner\\Kontakte"_s;
            s.AddNToHerr = true;
            s.ExitAfterFinished = false;
            s.OutputFolder = u"/srv/briefe"_s;
            s.PublicFoldersPath = u"/mnt/öffentlich"_s;
            g.specialFieldsString = u"Von-Name=Erika Muster"_s;
            g.fieldAssignmentList.remove(u"(leeres Dokument)"_s);
            SaveSettings(g);
            Store store;
            QCOMPARE(store.get(u"StartCount"_s), u"2"_s);
            QCOMPARE(store.get(u"DotCount"_s), u"2"_s);
            QCOMPARE(store.get(u"Dot1"_s), g.fieldAssignmentList.item(1));
            QCOMPARE(store.get(u"ExitAfterFinished"_s), u"False"_s);
            QCOMPARE(store.get(u"AddNToHerr"_s), u"True"_s);
            QVERIFY(!store.get(u"AppPath"_s).isEmpty());
            QCOMPARE(store.get(u"CurrentVersion"_s), u"1.0.0"_s);
        }
        AppGlobals g;
        QVERIFY(GetSettings(g));
        QCOMPARE(script.boxes().size(), 1); // no first-start message the second time
        QCOMPARE(g.settings.StartCount, 2);
        QCOMPARE(g.settings.OutlookFolder, u"Root\\Persönliche Ordner\\Kontakte"_s);
        QVERIFY(g.settings.AddNToHerr && !g.settings.ExitAfterFinished);
        QCOMPARE(g.settings.OutputFolder, u"/srv/briefe"_s);
        QCOMPARE(g.settings.PublicFoldersPath, u"/mnt/öffentlich"_s);
        QCOMPARE(g.specialFieldsString, u"Von-Name=Erika Muster"_s);
        QCOMPARE(g.fieldAssignmentList.count(), 2);
        QVERIFY(!g.fieldAssignmentList.contains(u"(leeres Dokument)"_s));
        SaveSettings(g);
        QCOMPARE(Store().get(u"StartCount"_s), u"3"_s);
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
        store.set(u"DotCount"_s, dotCount);
        for (int i = 0; i < stored.size(); ++i)
            if (!stored[i].isEmpty())
                store.set(u"Dot%1"_s.arg(i + 1), stored[i]);
        store.reg.DeleteValue(u"SpecialFields"_s);

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
        store.set(u"DotCount"_s, u"4"_s);
        for (int i = 1; i <= 4; ++i)
            store.set(u"Dot%1"_s.arg(i), u"/t%1.dotx"_s.arg(i));
        g.fieldAssignmentList.clear();
        g.fieldAssignmentList.add(u"/neu1.dotx"_s);
        g.fieldAssignmentList.add(u"/neu2.dotx"_s);
        SaveSettings(g);
        QCOMPARE(store.get(u"DotCount"_s), u"2"_s);
        QCOMPARE(store.get(u"Dot2"_s), u"/neu2.dotx"_s);
        QCOMPARE(store.get(u"Dot3"_s), u"<fehlt>"_s);
        QCOMPARE(store.get(u"Dot4"_s), u"<fehlt>"_s);
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
        QVERIFY2(box.text.startsWith(u"Fehler: GetSettings\r\n"_s) && box.text.contains(reason),
                 qPrintable(box.text));
        QCOMPARE(box.icon(), Mb::Question);
    }
};

QTEST_GUILESS_MAIN(TstSettings)
#include "tst_settings.moc"
