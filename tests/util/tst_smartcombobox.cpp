#include "tests/support/ScriptedUserInterface.h"
#include "tests/util/RegistryTestFiles.h"
#include "util/ClsRegistry.h"
#include "util/widgets/SmartComboBox.h"

#include <QComboBox>
#include <QTest>

namespace
{

// The store as the program leaves it after its first start: the application key exists.
void registerApp(ClsRegistry& reg)
{
    bool first = false;
    QVERIFY(reg.RegisterApp(false, first, QString()));
}

QStringList itemsOf(const QComboBox& box)
{
    QStringList items;
    for (int i = 0; i < box.count(); ++i)
        items.append(box.itemText(i));
    return items;
}

} // namespace

class TstSmartComboBox : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void addText_data()
    {
        QTest::addColumn<QStringList>("before");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QStringList>("after");
        QTest::newRow("new name goes to the top")
            << QStringList{"Meier"} << "Müller" << QStringList{"Müller", "Meier"};
        QTest::newRow("a listed name keeps its place")
            << QStringList{"Meier", "Müller"} << "Müller" << QStringList{"Meier", "Müller"};
        QTest::newRow("blanks around are trimmed")
            << QStringList{"Müller"} << "  Müller " << QStringList{"Müller"};
        QTest::newRow("blanks only add nothing")
            << QStringList{"Meier"} << "   " << QStringList{"Meier"};
        QTest::newRow("comparison is case-sensitive")
            << QStringList{"müller"} << "Müller" << QStringList{"Müller", "müller"};
    }
    void addText()
    {
        QFETCH(QStringList, before);
        QFETCH(QString, typed);
        QFETCH(QStringList, after);
        QComboBox box;
        box.setEditable(true);
        box.addItems(before);
        box.setEditText(typed);
        AddComboText(&box);
        QCOMPARE(itemsOf(box), after);
    }

    void storedHistory_data()
    {
        QTest::addColumn<QStringList>("items");
        QTest::addColumn<QString>("valueName"); // empty: the box's own name
        QTest::addColumn<QString>("storedText");
        QTest::addColumn<QStringList>("reloaded");
        QStringList twelve;
        for (int i = 1; i <= 12; ++i)
            twelve.append(QStringLiteral("N%1").arg(i));
        QTest::newRow("only the first ten of twelve are kept")
            << twelve << ""
            << "N1|N2|N3|N4|N5|N6|N7|N8|N9|N10" << twelve.mid(0, 10);
        QTest::newRow("empty history is stored as the empty marker") << QStringList{} << ""
                                                                     << "#NULL#" << QStringList{};
        QTest::newRow("single entry has no separator") << QStringList{"Ä"} << ""
                                                       << "Ä" << QStringList{"Ä"};
        QTest::newRow("a value name of its own") << QStringList{"x", "y"} << "Verlauf"
                                                 << "x|y" << QStringList{"x", "y"};
    }
    void storedHistory()
    {
        QFETCH(QStringList, items);
        QFETCH(QString, valueName);
        QFETCH(QString, storedText);
        QFETCH(QStringList, reloaded);
        RegistryFolders dirs;
        ScriptedUserInterface script;
        ClsRegistry reg;
        registerApp(reg);
        QComboBox box;
        box.setObjectName(QStringLiteral("cboSearchName"));
        box.addItems(items);
        SaveComboHistory(&box, &reg, valueName, 10);
        SaveComboHistory(&box, nullptr, valueName, 10); // nothing to store into: no error

        // Raw stored text, read past the empty marker translation.
        const QString raw = QString::fromUtf8(readAll(dirs.userFile()));
        const QString name = valueName.isEmpty() ? box.objectName() : valueName;
        QVERIFY2(raw.contains(QStringLiteral("\"%1\"=\"%2\"").arg(name, storedText)),
                 qPrintable(raw));

        QComboBox again, byObjectName;
        again.setObjectName(valueName.isEmpty() ? box.objectName() : QString());
        LoadComboHistory(&again, &reg, valueName);
        QCOMPARE(itemsOf(again), reloaded);
        // Under its own name the box finds only what was stored there.
        byObjectName.setObjectName(box.objectName());
        LoadComboHistory(&byObjectName, &reg, QString());
        QCOMPARE(itemsOf(byObjectName), valueName.isEmpty() ? reloaded : QStringList());
        QVERIFY(script.boxes().isEmpty());
    }
};

QTEST_MAIN(TstSmartComboBox)
#include "tst_smartcombobox.moc"
