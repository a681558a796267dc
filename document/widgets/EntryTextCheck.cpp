#include "document/widgets/EntryTextCheck.h"

#include "util/UserInterface.h"

#include <QLineEdit>
#include <QPalette>

namespace EntryTextCheck
{

bool isValid(QLineEdit* box, const QString& forbidden, const QString& reason,
             const QString& fieldName)
{
    const QString text = box->text();
    bool clean = true;
    for (const QChar c : forbidden)
        clean = clean && !text.contains(c);
    if (clean)
        return true;

    // The same warning as any other invalid input: the box red while the message shows.
    const bool ownPalette = box->testAttribute(Qt::WA_SetPalette);
    const QPalette saved = box->palette();
    QPalette red = saved;
    red.setColor(QPalette::Base, QColor(255, 0, 0));
    box->setPalette(red);
    ui().beep();
    const QString prefix = fieldName.isEmpty() ? QString() : fieldName + QStringLiteral("\r\n");
    msgBox(prefix + QStringLiteral("Ungültiger Wert: '") + text + QStringLiteral("'\r\n") + reason,
           Mb::OkOnly + Mb::Exclamation, QStringLiteral("Ungültige Eingabe"));
    box->setPalette(ownPalette ? saved : QPalette());
    box->setFocus();
    box->selectAll();
    return false;
}

} // namespace EntryTextCheck
