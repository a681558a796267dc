#include "util/widgets/SmartComboBox.h"

#include "util/ClsRegistry.h"
#include "util/ErrorRoutine.h"

#include <QComboBox>

namespace
{

QString valueNameFor(const QComboBox* box, const QString& valueName)
{
    return valueName.isEmpty() ? box->objectName() : valueName;
}

} // namespace

void LoadComboHistory(QComboBox* box, ClsRegistry* registry, const QString& valueName)
{
    if (!registry || !box)
        return;
    registry->setKey(registry->AppKey());
    QString text = registry->GetOptString(valueNameFor(box, valueName));
    while (!text.isEmpty()) {
        const qsizetype bar = text.indexOf(QLatin1Char('|'));
        if (bar < 0) {
            box->addItem(text);
            break;
        }
        box->addItem(text.left(bar));
        text = text.mid(bar + 1);
    }
}

void SaveComboHistory(QComboBox* box, ClsRegistry* registry, const QString& valueName,
                      int maxEntries)
{
    if (!registry || !box)
        return;
    const QString name = valueNameFor(box, valueName);
    const int n = qMin(box->count(), qMax(0, maxEntries));
    QStringList parts;
    for (int i = 0; i < n; ++i)
        parts.append(box->itemText(i));
    registry->setKey(registry->AppKey());
    if (!registry->SetString(name, parts.join(QLatin1Char('|'))))
        VuShowError(registry->ErrorDescription(), QStringLiteral("SaveComboHistory"));
}

void AddComboText(QComboBox* box)
{
    const QString text = box->currentText().trimmed();
    if (text.isEmpty())
        return;
    for (int i = 0; i < box->count(); ++i)
        if (box->itemText(i) == text)
            return;
    box->insertItem(0, text);
    // Inserting may change the edit text of a box without a current entry; keep it.
    box->setEditText(text);
}
