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
        // Entries beyond the new count, left by an earlier start, are deleted.
        Store store;
        store.set(u"DotCount"_s, u"4"_s);
        for (int i = 1; i <= 4; ++i)
            store.set(u"Dot%1"_s.arg(i), u"/t%1.dotx"_s.arg(i));
        SaveSettings(g);
        QCOMPARE(store.get(u"StartCount"_s), u"3"_s);
        QCOMPARE(store.get(u"DotCount"_s), u"2"_s);
        QCOMPARE(store.get(u"Dot2"_s), g.fieldAssignmentList.item(2));
        QCOMPARE(store.get(u"Dot3"_s), u"<fehlt>"_s);
        QCOMPARE(store.get(u"Dot4"_s), u"<fehlt>"_s);
    }

    void storedValuesOfAnEarlierStart_data()
    {
        QTest::addColumn<QStringList>("stored"); // name=value
        QTest::addColumn<QStringList>("loadedKeys");
        QTest::addColumn<QString>("reason"); // why the start ends; empty: it goes on
        auto row = [](const char* name, const QStringList& stored, const QStringList& keys,
                      const QString& reason = {}) {
            QTest::newRow(name) << stored << keys << reason;
        };
        row("gap at Dot2 is skipped", {"DotCount=3", "Dot1=/a.dotx|A=-", "Dot3=/c.dotx|C=-"},
            {"/a.dotx", "/c.dotx"});
        row("count smaller than stored entries", {"DotCount=1", "Dot1=/a.dotx", "Dot2=/b.dotx"},
            {"/a.dotx"});
        row("count zero loads nothing, no defaults", {"DotCount=0", "Dot1=/a.dotx"}, {});
        row("entry key is the first token", {"DotCount=1", "Dot1=/x y.dotx|B=Firma (OF)|C=-"},
            {"/x y.dotx"});
        row("StartCount not a number", {"StartCount=viele"}, {}, "Typen unverträglich (Nr. 13");
        row("DotCount beyond 16 bits", {"DotCount=40000"}, {}, "Überlauf (Nr. 6");
    }
    void storedValuesOfAnEarlierStart()
    {
        QFETCH(QStringList, stored);
        QFETCH(QStringList, loadedKeys);
        QFETCH(QString, reason);
        TestEnvironment env;
        ScriptedUserInterface script;
        firstStart(script);
        Store store;
        for (const QString& entry : stored)
            store.set(entry.section(u'=', 0, 0), entry.section(u'=', 1));
        store.reg.DeleteValue(u"SpecialFields"_s);

        AppGlobals g;
        if (!reason.isEmpty()) {
            script.answer(Mb::No);
            QVERIFY(!GetSettings(g));
            const auto box = script.boxes().last();
            QVERIFY2(box.text.startsWith(u"Fehler: GetSettings\r\n"_s) && box.text.contains(reason),
                     qPrintable(box.text));
            QCOMPARE(box.icon(), Mb::Question);
            return;
        }
        QVERIFY(GetSettings(g));
        QCOMPARE(g.fieldAssignmentList.keys(), loadedKeys);
        // Special fields stay empty: the defaults only come with a missing count.
        QCOMPARE(g.specialFieldsString, QString());
    }
};

QTEST_GUILESS_MAIN(TstSettings)
#include "tst_settings.moc"
