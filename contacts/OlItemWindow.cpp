#include "contacts/OlItemWindow.h"

#include "contacts/VCardReader.h"
#include "util/ErrorRoutine.h"

#include <QFileInfo>

OlItemWindow::OlItemWindow(QString filePath) : m_filePath(std::move(filePath)) {}

OlItem OlItemWindow::CurrentItem() const
{
    const QString subject = QFileInfo(m_filePath).fileName();
    // A device, a pipe or a huge file handed over is refused before reading, not read whole.
    QByteArray bytes;
    QString problem;
    if (!VCardReader::loadFile(m_filePath, bytes, problem)) {
        VuLog(LogLevel::Warning,
              QStringLiteral("Die geöffnete Datei kann nicht gelesen werden: ") + problem);
        return OlItem::other(QStringLiteral("IPM.Note"), m_filePath, subject);
    }
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
