// Qt's own texts in German: the standard buttons of every message box and the file dialog.

#include "util/widgets/QtTranslations.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLabel>
#include <QPushButton>
#include <QTest>

class TstQtTranslations : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QVERIFY(installGermanQtTranslations(*qApp)); }

    void standardButtonsAreGerman_data()
    {
        QTest::addColumn<int>("button");
        QTest::addColumn<QString>("text");
        QTest::newRow("Cancel") << int(QDialogButtonBox::Cancel) << "Abbrechen";
        QTest::newRow("Yes") << int(QDialogButtonBox::Yes) << "&Ja";
        QTest::newRow("No") << int(QDialogButtonBox::No) << "&Nein";
        QTest::newRow("Retry") << int(QDialogButtonBox::Retry) << "Wiederholen";
    }
    void standardButtonsAreGerman()
    {
        QFETCH(int, button);
        QFETCH(QString, text);
        const auto which = QDialogButtonBox::StandardButton(button);
        QDialogButtonBox box{QDialogButtonBox::StandardButtons(which)};
        QCOMPARE(box.button(which)->text(), text);
    }

    void fileDialogIsGerman()
    {
        QFileDialog dialog(nullptr, QStringLiteral("Dokumentvorlage auswählen"));
        dialog.setOption(QFileDialog::DontUseNativeDialog);
        QStringList labels;
        for (QLabel* l : dialog.findChildren<QLabel*>())
            labels << l->text();
        QVERIFY2(labels.contains(QStringLiteral("Suchen in:")), qPrintable(labels.join('|')));
        QVERIFY2(labels.contains(QStringLiteral("Datei&name:")), qPrintable(labels.join('|')));
    }
};

QTEST_MAIN(TstQtTranslations)
#include "tst_qttranslations.moc"
