#include "document/UniqueFileWriter.h"

#include "document/DocumentErrors.h"
#include "util/SystemErrorText.h"
#include "util/ZwError.h"

#include <QDir>
#include <QFile>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

QString reasonFor(int error)
{
    switch (error) {
    case ENOENT:
        return QStringLiteral("Der Ordner existiert nicht.");
    case ENOTDIR:
        return QStringLiteral("Der Pfad ist kein Ordner.");
    case EACCES:
    case EPERM:
        return QStringLiteral("Keine Schreibberechtigung.");
    case ENOSPC:
    case EDQUOT:
        return QStringLiteral("Der Datenträger ist voll.");
    case EROFS:
        return QStringLiteral("Der Datenträger ist schreibgeschützt.");
    default:
        return VuSystemErrorText(error) + QLatin1Char('.');
    }
}

[[noreturn]] void fail(const QString& folder, const QString& name, int error)
{
    throw ZwError(DocumentError::SaveFailed,
                  QStringLiteral("Das Dokument \"%1\" kann nicht im Ordner \"%2\" gespeichert "
                                 "werden: %3")
                      .arg(name, QDir::toNativeSeparators(folder), reasonFor(error)),
                  QStringLiteral("Zettelwerk DOCX"));
}

bool writeAll(int fd, const QByteArray& data)
{
    const char* at = data.constData();
    qsizetype left = data.size();
    while (left > 0) {
        const ssize_t written = ::write(fd, at, std::size_t(left));
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        at += written;
        left -= written;
    }
    return true;
}

// Gives the temporary file its name unless the name is taken. 0, EEXIST or another errno.
int placeNoReplace(const QByteArray& from, const QByteArray& to)
{
#ifdef RENAME_NOREPLACE
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS && errno != ENOTSUP)
        return errno;
#endif
    // File systems without renameat2: a hard link is created only when the name is free.
    if (::link(from.constData(), to.constData()) != 0)
        return errno;
    ::unlink(from.constData());
    return 0;
}

} // namespace

QString UniqueFileWriter::safeBaseName(const QString& name)
{
    QString safe;
    safe.reserve(name.size());
    for (const QChar c : name) {
        if (c.unicode() < 0x20 || QStringLiteral("/\\:*?\"<>|").contains(c))
            safe.append(QLatin1Char('_'));
        else
            safe.append(c);
    }
    safe = safe.trimmed();
    while (safe.startsWith(QLatin1Char('.')))
        safe.remove(0, 1);
    return safe.isEmpty() ? QStringLiteral("Dokument") : safe;
}

QString UniqueFileWriter::write(const QString& folder, const QString& baseName,
                                const QString& extension, const QByteArray& data, bool syncToDisk)
{
    const QString base = safeBaseName(baseName);
    const QString dir = QDir(folder).absolutePath();
    QByteArray tempPath = QFile::encodeName(dir + QStringLiteral("/.~zettelwerk-XXXXXX"));
    const int fd = ::mkostemp(tempPath.data(), O_CLOEXEC);
    if (fd < 0)
        fail(dir, base + extension, errno);
    // mkostemp creates the file for its owner only; a document gets the usual permissions.
    const mode_t mask = ::umask(0);
    ::umask(mask);
    ::fchmod(fd, 0666 & ~mask);
    bool ok = writeAll(fd, data) && (!syncToDisk || ::fsync(fd) == 0);
    int error = ok ? 0 : errno;
    if (::close(fd) != 0 && ok) {
        ok = false;
        error = errno;
    }
    if (!ok) {
        ::unlink(tempPath.constData());
        fail(dir, base + extension, error);
    }
    for (int n = 1; n <= 9999; ++n) {
        const QString name =
            n == 1 ? base + extension : QStringLiteral("%1 (%2)%3").arg(base).arg(n).arg(extension);
        const QString path = dir + QLatin1Char('/') + name;
        error = placeNoReplace(tempPath, QFile::encodeName(path));
        if (error == 0)
            return path;
        if (error != EEXIST) {
            ::unlink(tempPath.constData());
            fail(dir, name, error);
        }
    }
    ::unlink(tempPath.constData());
    fail(dir, base + extension, EEXIST);
}
