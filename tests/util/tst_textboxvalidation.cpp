#include "tests/support/ScriptedUserInterface.h"
#include "util/ValueRecognition.h"
#include "util/widgets/TextBoxValidation.h"

#include <QApplication>
#include <QLineEdit>
#include <QTest>
#include <QVBoxLayout>
#include <QWidget>

namespace
{
const QColor kRed(255, 0, 0);
} // namespace

class TstTextBoxValidation : public QObject
{
    Q_OBJECT
private:
    QWidget* m_form = nullptr;
    QLineEdit* m_box = nullptr;
    QLineEdit* m_other = nullptr;

private Q_SLOTS:
    void initTestCase()
    {
        m_form = new QWidget;
        m_form->setObjectName(QStringLiteral("frmOptions"));
        auto* layout = new QVBoxLayout(m_form);
        m_box = new QLineEdit(m_form);
        m_box->setObjectName(QStringLiteral("txtFieldvalue"));
        m_other = new QLineEdit(m_form);
        layout->addWidget(m_box);
        layout->addWidget(m_other);
        m_form->show();
        QApplication::setActiveWindow(m_form);
        QVERIFY(QTest::qWaitForWindowActive(m_form));
    }
    void cleanupTestCase() { delete m_form; }
    void init()
    {
        m_box->setPalette(QPalette());
        m_other->setFocus();
    }

    void values_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("emptyAllowed");
        QTest::addColumn<QVariant>("minimum");
        QTest::addColumn<QVariant>("maximum");
        QTest::addColumn<QString>("afterwards");
        QTest::addColumn<QString>("reason"); // of the refusal; empty: valid
        {
            // afterwards null: the text stays as typed.
            auto row = [](const char* tag, int type, const char* text, const QVariant& minimum = {},
                          const QVariant& maximum = {}, const char* afterwards = nullptr,
                          bool emptyAllowed = false) {
                QTest::newRow(tag)
                    << type << QString::fromUtf8(text) << emptyAllowed << minimum << maximum
                    << QString::fromUtf8(afterwards ? afterwards : text) << QString();
            };
            row("2 whole number", 2, "123");
            row("2 lowest 16-bit value", 2, "-32768");
            row("2 highest 16-bit value", 2, "32767");
            row("2 blanks around the number", 2, " 12 ");
            row("3 beyond 16 bits", 3, "40000");
            row("3 highest 32-bit value", 3, "2147483647");
            row("5 decimal comma", 5, "3,5");
            row("5 thousands separator", 5, "1.000,5");
            row("5 negative", 5, "-0,25");
            row("5 whole number", 5, "7");
            row("7 dd.MM.yyyy", 7, "01.02.2024");
            row("7 d.M.yy on a leap day", 7, "29.2.24");
            row("7 month name", 7, "1. Februar 2024");
            row("8 any text", 8, "Einkauf & Verkauf");
            row("8 blanks only", 8, "   ");
            row("8 ignores bounds", 8, "0", 1, 10);
            row("1001 7:5 becomes 07:05", 1001, "7:5", {}, {}, "07:05");
            row("1001 0:0 becomes 00:00", 1001, "0:0", {}, {}, "00:00");
            row("1001 23:59", 1001, "23:59");
            row("empty allowed", 2, "", 1, {}, "", true);
            row("empty allowed, unknown type", 99, "", {}, {}, "", true);
            row("minimum itself", 2, "1", 1, 10);
            row("maximum itself", 2, "10", 1, 10);
            row("5 bounds as German texts", 5, "2,5", "2,5", "2,75");
            row("3 bound beyond 16 bits", 3, "100000", 99999);
        }
        const char* integer = "Keine ganze Zahl";
        const char* time = "Keine Zeit-Angabe! Gültiges Format: 'HH:MM'";
        const char* invalidType = "VuTextBoxIsValid: invalid type";
        auto row = [](const char* tag, int type, const char* text, const char* reason,
                      const QVariant& minimum = {}, const QVariant& maximum = {}) {
            QTest::newRow(tag) << type << QString::fromUtf8(text) << false << minimum << maximum
                               << QString::fromUtf8(text) << QString::fromUtf8(reason);
        };
        row("2 3,5", 2, "3,5", integer);
        row("2 3.0", 2, "3.0", integer);
        row("2 thousands separator", 2, "1.000", integer);
        row("2 16-bit overflow 32768", 2, "32768", integer);
        row("2 16-bit underflow -32769", 2, "-32769", integer);
        row("2 letters", 2, "zwölf", integer);
        row("2 blanks only", 2, "  ", integer);
        row("3 32-bit overflow", 3, "2147483648", "Keine Long Zahl");
        row("3 1,0", 3, "1,0", "Keine Long Zahl");
        row("5 3.5 is no German number", 5, "3.5", "Keine Gleitkomma Zahl");
        row("5 letters", 5, "drei", "Keine Gleitkomma Zahl");
        row("7 31 February", 7, "31.02.2024", "Kein Datum");
        row("7 29 February of a common year", 7, "29.2.23", "Kein Datum");
        row("7 a number", 7, "3,5", "Kein Datum");
        row("7 month 13", 7, "1.13.2024", "Kein Datum");
        row("1001 24:00", 1001, "24:00", time);
        row("1001 12:60", 1001, "12:60", time);
        row("1001 1200 without colon", 1001, "1200", time);
        row("1001 seconds", 1001, "7:05:30", time);
        row("1001 no hour", 1001, ":30", time);
        row("1001 negative minute", 1001, "7:-5", time);
        row("unknown type", 99, "x", invalidType);
        row("type 0 is unknown too", 0, "1", invalidType);
        row("empty not allowed", 8, "", "Kein Wert eingegeben");
        row("below the minimum", 2, "0", "Kleiner als zulässiger Minimalwert: 1", QVariant(1),
            QVariant(10));
        row("above the maximum", 2, "11", "Größer als zulässiger Maximalwert: 10", QVariant(1),
            QVariant(10));
        row("5 below a fractional minimum", 5, "1,4", "Kleiner als zulässiger Minimalwert: 1,5",
            QVariant(1.5));
        row("5 above a maximum given as text", 5, "2,8", "Größer als zulässiger Maximalwert: 2,75",
            {}, QVariant("2,75"));
        row("5 large bound without separators", 5, "1.000.001",
            "Größer als zulässiger Maximalwert: 1000000", {}, QVariant(1000000.0));
        row("3 minimum beyond 16 bits", 3, "-40000", "Kleiner als zulässiger Minimalwert: -32768",
            QVariant(-32768));
    }

    void values()
    {
        QFETCH(int, type);
        QFETCH(QString, text);
        QFETCH(bool, emptyAllowed);
        QFETCH(QVariant, minimum);
        QFETCH(QVariant, maximum);
        QFETCH(QString, afterwards);
        QFETCH(QString, reason);

        ScriptedUserInterface script;
        if (!reason.isEmpty())
            script.answer(Mb::Ok);
        m_box->setText(text);
        QCOMPARE(VuTextBoxIsValid(m_box, type, emptyAllowed, QString(), minimum, maximum),
                 reason.isEmpty());
        QCOMPARE(m_box->text(), afterwards);
        QCOMPARE(script.beeps(), reason.isEmpty() ? 0 : 1);
        QCOMPARE(script.boxes().size(), reason.isEmpty() ? 0 : 1);
        if (!reason.isEmpty()) {
            QCOMPARE(script.boxes()[0].text, "Ungültiger Wert: '" + text + "'\r\n" + reason);
            QCOMPARE(script.boxes()[0].style, Mb::Exclamation);
            QCOMPARE(script.boxes()[0].title, QStringLiteral("Ungültige Eingabe"));
        }
    }

    // While the box is open the field is red; afterwards it has its own colour again and, in
    // the active form, the focus with its whole text selected.
    void refusalMarksTheField_data()
    {
        QTest::addColumn<bool>("ownPalette");
        QTest::addColumn<bool>("formActive");
        QTest::newRow("form's palette") << false << true;
        QTest::newRow("a palette of its own") << true << true;
        QTest::newRow("form not active: focus and selection stay") << false << false;
    }
    void refusalMarksTheField()
    {
        QFETCH(bool, ownPalette);
        QFETCH(bool, formActive);
        if (ownPalette) {
            QPalette yellow = m_box->palette();
            yellow.setColor(QPalette::Base, Qt::yellow);
            m_box->setPalette(yellow);
        }
        QTRY_VERIFY(m_other->hasFocus());
        QWidget otherForm;
        if (!formActive) {
            otherForm.show();
            QApplication::setActiveWindow(&otherForm);
            QVERIFY(QTest::qWaitForWindowActive(&otherForm));
        }
        const QColor normal = m_box->palette().color(QPalette::Base);
        QVERIFY(normal != kRed);
        QColor during;
        ScriptedUserInterface script;
        script.answer(Mb::Ok, [&] { during = m_box->palette().color(QPalette::Base); });
        m_box->setText(QStringLiteral("12:60"));
        m_box->setCursorPosition(2);
        QVERIFY(!VuTextBoxIsValid(m_box, ValueType::Time, false, QStringLiteral("Durchwahl")));
        QCOMPARE(during, kRed);
        QCOMPARE(m_box->palette().color(QPalette::Base), normal);
        // Without a palette of its own the box follows its form's again instead of keeping a copy.
        QCOMPARE(m_box->testAttribute(Qt::WA_SetPalette), ownPalette);
        QCOMPARE(script.boxes()[0].text,
                 QStringLiteral("Durchwahl\r\nUngültiger Wert: '12:60'\r\n"
                                "Keine Zeit-Angabe! Gültiges Format: 'HH:MM'"));
        QCOMPARE(m_box->hasFocus(), formActive);
        QCOMPARE(m_box->selectedText(), formActive ? QStringLiteral("12:60") : QString());
        if (!formActive) {
            otherForm.hide();
            QApplication::setActiveWindow(m_form);
            QVERIFY(QTest::qWaitForWindowActive(m_form));
        }
    }

    void missingBoxIsReported()
    {
        ScriptedUserInterface script;
        script.answer(Mb::No);
        QVERIFY(!VuTextBoxIsValid(nullptr, ValueType::Text, true));
        QCOMPARE(script.boxes().size(), 1);
        QVERIFY(script.boxes()[0].text.startsWith(QStringLiteral("Fehler: VuTextBoxIsValid\r\n")));
    }
};

QTEST_MAIN(TstTextBoxValidation)
#include "tst_textboxvalidation.moc"
