#include "contacts/VuAppend.h"

void VuAppend(QString& sText, const QString& sPiece, const QString& sSeparator)
{
    if (sPiece.isEmpty())
        return;
    if (sText.isEmpty()) {
        sText = sPiece;
        return;
    }
    sText += sSeparator.isEmpty() ? QStringLiteral(" ") : sSeparator;
    sText += sPiece;
}
