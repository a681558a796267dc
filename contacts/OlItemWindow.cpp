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
    // Only the first card is the open item: the others are not parsed at all.
    const QByteArray data = VCardReader::normalizeEncoding(bytes);
    QList<VCardReader::Issue> issues;
    const QList<VCardReader::Chunk> chunks = VCardReader::split(data, &issues);
    for (const VCardReader::Issue& issue : std::as_const(issues))
        VuLog(LogLevel::Warning, QStringLiteral("Datei '%1': %2").arg(m_filePath, issue.message));
    if (!chunks.isEmpty()) {
        const VCardReader::Chunk& first = chunks.first();
        const VCard card =
            VCardReader::parse(QByteArrayView(data).sliced(first.offset, first.size), first.line);
        return OlItem(ContactItem(card, m_filePath, 0), m_filePath);
    }
    const QByteArray head = bytes.left(4096).trimmed();
    const bool calendar = head.startsWith("\xEF\xBB\xBF")
                              ? head.mid(3).toUpper().startsWith("BEGIN:VCALENDAR")
                              : head.toUpper().startsWith("BEGIN:VCALENDAR");
    return OlItem::other(calendar ? QStringLiteral("IPM.Appointment") : QStringLiteral("IPM.Note"),
                         m_filePath, subject);
}
