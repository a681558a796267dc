#include "util/SystemErrorText.h"

#include <QFileDevice>
#include <cerrno>

namespace
{

struct ErrorText {
    int error;
    const char* text;
};

// The codes a file, folder or network access meets in practice.
constexpr ErrorText kTexts[] = {
    {EACCES, "Zugriff verweigert"},
    {EPERM, "Zugriff verweigert"},
    {ENOENT, "Datei oder Ordner nicht gefunden"},
    {ENOTDIR, "Ein Teil des Pfades ist kein Ordner"},
    {EISDIR, "Der Pfad ist ein Ordner"},
    {EEXIST, "Die Datei existiert bereits"},
    {ENOSPC, "Kein Speicherplatz mehr auf dem Datenträger"},
    {EDQUOT, "Das Speicherkontingent ist erschöpft"},
    {EROFS, "Der Datenträger ist schreibgeschützt"},
    {EIO, "Ein-/Ausgabefehler"},
    {ENAMETOOLONG, "Der Dateiname ist zu lang"},
    {EMFILE, "Zu viele geöffnete Dateien"},
    {ENFILE, "Zu viele geöffnete Dateien"},
    {ELOOP, "Zu viele symbolische Verknüpfungen"},
    {EBUSY, "Die Datei ist in Gebrauch"},
    {ETXTBSY, "Die Datei ist in Gebrauch"},
    {EFBIG, "Die Datei ist zu groß"},
    {ENOMEM, "Nicht genügend Arbeitsspeicher"},
    {EINVAL, "Ungültiges Argument"},
    {ENXIO, "Gerät nicht verfügbar"},
    {ENODEV, "Gerät nicht verfügbar"},
    {ESTALE, "Die Netzwerkverbindung zur Datei ist nicht mehr gültig"},
    {ETIMEDOUT, "Zeitüberschreitung"},
    {ECONNREFUSED, "Verbindung abgelehnt"},
    {EHOSTUNREACH, "Rechner nicht erreichbar"},
    {ENETUNREACH, "Netzwerk nicht erreichbar"},
};

} // namespace

QString VuSystemErrorText(int error)
{
    for (const ErrorText& t : kTexts)
        if (t.error == error)
            return QString::fromUtf8(t.text);
    return QStringLiteral("Systemfehler %1").arg(error);
}

QString VuFileErrorText(const QFileDevice& file)
{
    const int error = errno;
    for (const ErrorText& t : kTexts)
        if (t.error == error && error != 0)
            return QString::fromUtf8(t.text);
    switch (file.error()) {
    case QFileDevice::ReadError:
        return QStringLiteral("Die Datei kann nicht gelesen werden");
    case QFileDevice::WriteError:
        return QStringLiteral("Die Datei kann nicht geschrieben werden");
    case QFileDevice::ResourceError:
        return QStringLiteral("Nicht genügend Speicherplatz oder Systemressourcen");
    case QFileDevice::PermissionsError:
        return QStringLiteral("Zugriff verweigert");
    case QFileDevice::RenameError:
        return QStringLiteral("Die Datei kann nicht umbenannt werden");
    case QFileDevice::RemoveError:
        return QStringLiteral("Die Datei kann nicht gelöscht werden");
    case QFileDevice::CopyError:
        return QStringLiteral("Die Datei kann nicht kopiert werden");
    case QFileDevice::PositionError:
    case QFileDevice::ResizeError:
    case QFileDevice::AbortError:
    case QFileDevice::TimeOutError:
    case QFileDevice::UnspecifiedError:
    case QFileDevice::FatalError:
        return QStringLiteral("Zugriffsfehler");
    case QFileDevice::OpenError:
        return QStringLiteral("Die Datei kann nicht geöffnet werden");
    case QFileDevice::NoError:
        break;
    }
    return QStringLiteral("Zugriffsfehler");
}
