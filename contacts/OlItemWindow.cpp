#include "contacts/OlItemWindow.h"

#include "contacts/VCardReader.h"
#include "util/ErrorRoutine.h"

#include <QFile>
#include <QFileInfo>

OlItemWindow::OlItemWindow(QString filePath) : m_filePath(std::move(filePath)) {}

OlItem OlItemWindow::CurrentItem() const
{
    const QString subject = QFileInfo(m_filePath).fileName();
    QFile file(m_filePath);
    if (!file.open(QIODevice::ReadOnly)) {
        VuLog(LogLevel::Warning, QStringLiteral("Die geöffnete Datei '%1' kann nicht gelesen "
                                                "werden: %2")
                                     .arg(m_filePath, file.errorString()));
        return OlItem::other(QStringLiteral("IPM.Note"), m_filePath, subject);
    }
    const QByteArray bytes = file.readAll();
    const VCardReader::Result r = VCardReader::read(bytes);
    for (const VCardReader::Issue& issue : r.issues)
        VuLog(LogLevel::Warning, QStringLiteral("Datei '%1': %2").arg(m_filePath, issue.message));
    if (!r.cards.isEmpty())
        return OlItem(ContactItem(r.cards.first(), m_filePath, 0), m_filePath);
    const QByteArray head = bytes.left(4096).trimmed();
    const bool calendar = head.startsWith("\xEF\xBB\xBF")
                              ? head.mid(3).toUpper().startsWith("BEGIN:VCALENDAR")
                              : head.toUpper().startsWith("BEGIN:VCALENDAR");
    return OlItem::other(calendar ? QStringLiteral("IPM.Appointment") : QStringLiteral("IPM.Note"),
                         m_filePath, subject);
}
