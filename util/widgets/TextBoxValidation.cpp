#include "util/widgets/TextBoxValidation.h"

#include "util/ErrorRoutine.h"
#include "util/UserInterface.h"
#include "util/ValueRecognition.h"

#include <QApplication>
#include <QLineEdit>
#include <QLocale>
#include <QPalette>

namespace
{

bool isPassed(const QVariant& bound)
{
    return bound.isValid() && !bound.isNull();
}

std::optional<double> boundValue(const QVariant& bound)
{
    if (bound.typeId() == QMetaType::QString)
        return ValueRecognition::toDouble(bound.toString());
    bool ok = false;
    const double value = bound.toDouble(&ok);
    return ok ? std::optional<double>(value) : std::nullopt;
}

// A bound as the message shows it: a text as given, a number in German writing
// without thousands separators ("2,5", "1000").
QString boundText(const QVariant& bound)
{
    if (bound.typeId() == QMetaType::Double || bound.typeId() == QMetaType::Float) {
        QLocale german(QLocale::German);
        german.setNumberOptions(QLocale::OmitGroupSeparator);
        return german.toString(bound.toDouble(), 'f', QLocale::FloatingPointShortest);
    }
    return bound.toString();
}

// Shows the warning with the box painted red and puts everything back afterwards.
void complain(QLineEdit* box, const QString& message)
{
    const bool ownPalette = box->testAttribute(Qt::WA_SetPalette);
    const QPalette saved = box->palette();
    QPalette red = saved;
    red.setColor(QPalette::Base, QColor(255, 0, 0));
    box->setPalette(red);

    ui().beep();
    msgBox(message, Mb::OkOnly + Mb::Exclamation, QStringLiteral("Ungültige Eingabe"));

    // A palette the box did not have of its own must not stay set: it would stop the box
    // from following its parent's palette.
    box->setPalette(ownPalette ? saved : QPalette());
    if (box->window() == QApplication::activeWindow()) {
        box->setFocus();
        box->setSelection(0, int(box->text().size()));
    }
}

} // namespace

bool VuTextBoxIsValid(QLineEdit* box, int type, bool emptyAllowed, const QString& fieldName,
                      const QVariant& minimum, const QVariant& maximum)
{
    if (!box)
        return VuShowError(
            QStringLiteral("VuTextBoxIsValid"),
            ZwError(91, QStringLiteral("Objektvariable oder With-Blockvariable nicht festgelegt")));

    const QString prefix = fieldName.isNull() ? QString() : fieldName + QStringLiteral("\r\n");
    const QString text = box->text();
    QString reason;

    if (text.isEmpty()) {
        if (emptyAllowed)
            return true;
        reason = QStringLiteral("Kein Wert eingegeben");
    } else {
        std::optional<double> number;
        switch (type) {
        case ValueType::Integer:
            if (const auto v = ValueRecognition::toInt16(text))
                number = *v;
            else
                reason = QStringLiteral("Keine ganze Zahl");
            break;
        case ValueType::Long:
            if (const auto v = ValueRecognition::toInt32(text))
                number = *v;
            else
                reason = QStringLiteral("Keine Long Zahl");
            break;
        case ValueType::Double:
            number = ValueRecognition::toDouble(text);
            if (!number)
                reason = QStringLiteral("Keine Gleitkomma Zahl");
            break;
        case ValueType::Date:
            if (!ValueRecognition::toDate(text))
                reason = QStringLiteral("Kein Datum");
            break;
        case ValueType::Time:
            if (const auto time = ValueRecognition::toTimeOfDay(text))
                box->setText(time->toString(QStringLiteral("HH:mm")));
            else
                reason = QStringLiteral("Keine Zeit-Angabe! Gültiges Format: 'HH:MM'");
            break;
        case ValueType::Text:
            break;
        default:
            reason = QStringLiteral("VuTextBoxIsValid: invalid type");
        }

        if (number && isPassed(minimum)) {
            const auto lower = boundValue(minimum);
            if (lower && *lower > *number)
                reason =
                    QStringLiteral("Kleiner als zulässiger Minimalwert: ") + boundText(minimum);
        }
        if (number && reason.isEmpty() && isPassed(maximum)) {
            const auto upper = boundValue(maximum);
            if (upper && *upper < *number)
                reason = QStringLiteral("Größer als zulässiger Maximalwert: ") + boundText(maximum);
        }
    }

    if (reason.isEmpty())
        return true;
    complain(box, prefix + QStringLiteral("Ungültiger Wert: '") + text + QStringLiteral("'\r\n") +
                      reason);
    return false;
}
