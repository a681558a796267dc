#include "document/FieldAssignmentDefaults.h"
#include "document/FieldAssignmentList.h"

#include <QTest>

class TstFieldAssignmentList : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void keysIgnoreCaseAndKeepOrder()
    {
        FieldAssignmentList list;
        QVERIFY(list.add(QStringLiteral("/v/Brief.dotx|A=Firma (OF)")));
        QVERIFY(list.add(QStringLiteral("/v/Fax.dotx")));
        QVERIFY(!list.add(QStringLiteral("/V/BRIEF.DOTX|B=-")));
        QCOMPARE(list.count(), 2);
        QCOMPARE(list.position(QStringLiteral("/V/brief.dotx")), 1);
        QCOMPARE(list.item(QStringLiteral("/v/FAX.dotx")), QStringLiteral("/v/Fax.dotx"));
        QCOMPARE(list.position(QStringLiteral("/v/none.dotx")), 0);
        QCOMPARE(list.item(3), QString());
        QCOMPARE(list.item(0), QString());
    }

    void replacingAnEntryMovesItToTheEnd()
    {
        FieldAssignmentList list;
        list.add(QStringLiteral("a|x=-"));
        list.add(QStringLiteral("b|y=-"));
        list.add(QStringLiteral("c|z=-"));
        QVERIFY(list.remove(QStringLiteral("A")));
        list.add(QStringLiteral("a|x=Firma (OF)"));
        QCOMPARE(list.keys(), (QStringList{"b", "c", "a"}));
        QCOMPARE(list.item(3), QStringLiteral("a|x=Firma (OF)"));
    }

    void defaultsReplaceEverything()
    {
        FieldAssignmentList list;
        list.add(QStringLiteral("/alt/Vorlage.dotx|X=-"));
        QString special = QStringLiteral("Alt=1");
        SetDefaultFieldAssignments(list, special);

        QCOMPARE(
            special,
            QStringLiteral(
                "Von-Firma=<Ihre Firma>|Von-Abteilung=<Ihre Abteilung>|Von-Durchwahl=<Ihre "
                "Durchwahl>|"
                "Von-FAX=<Ihre FAX-Nummer>|Von-Name=<Ihr Name>|Von-Kurzzeichen=<Ihr Kurzzeichen>|"
                "Von-Unterschrift=i.A. <Ihr Name>"));
        QCOMPARE(list.count(), 3);
        QCOMPARE(list.key(1), QStringLiteral("(leeres Dokument)"));
        QCOMPARE(list.key(2), sampleFaxTemplatePath());
        QCOMPARE(list.key(3), sampleLetterTemplatePath());
        QVERIFY(list.key(2).endsWith(QStringLiteral("Bsp-FAX.dotx")));

        const QStringList empty = list.item(1).split(QLatin1Char('|'));
        QCOMPARE(empty.size(), 31);
        QCOMPARE(empty[1], QStringLiteral("(1. Zeile)=-"));
        QCOMPARE(empty[30], QStringLiteral("(30. Zeile)=-"));

        QCOMPARE(
            list.item(2).section(QLatin1Char('|'), 1),
            QStringLiteral(
                "AnAbteilung=Abteilung (OF)|AnFAX=FAX geschäftlich (OF)|AnFirma=Firma (OF)|"
                "AnName=Anrede+Name (ZF)|AnTelefon=Telefon geschäftlich (OF)|Betreff=-|"
                "Briefanrede=Briefanrede+Name (ZF)|Nachricht=-|VonAbteilung=Von-Abteilung (SF)|"
                "VonFAX=Von-FAX (SF)|VonFirma=Von-Firma (SF)|VonName=Von-Name (SF)|"
                "VonTelefon=Von-Durchwahl (SF)"));
        QCOMPARE(list.item(3).section(QLatin1Char('|'), 1),
                 QStringLiteral(
                     "Bearbeiter=Von-Name (SF)|BearbeiterDurchwahl=Von-Durchwahl (SF)|"
                     "Briefanrede=Briefanrede+Name (ZF)|Empfänger1=1. Anschrift-Zeile (ZF)|"
                     "Empfänger2=2. Anschrift-Zeile (ZF)|Empfänger3=3. Anschrift-Zeile (ZF)|"
                     "Empfänger4=4. Anschrift-Zeile (ZF)|Empfänger5=5. Anschrift-Zeile (ZF)|"
                     "Empfänger6=6. Anschrift-Zeile (ZF)|Empfänger7=7. Anschrift-Zeile (ZF)"));
    }
};

QTEST_GUILESS_MAIN(TstFieldAssignmentList)
#include "tst_fieldassignmentlist.moc"
