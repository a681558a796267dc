#include "util/ErrorRoutine.h"

#include "util/AppInfo.h"
#include "util/UserInterface.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QSaveFile>
#include <QScopeGuard>
#include <QStringDecoder>
#include <QStringEncoder>
#include <QTemporaryFile>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <new>
#include <stdexcept>
#include <system_error>

namespace
{

LogSettings g_log;

const QString kCrLf = QStringLiteral("\r\n");

// The wording Windows programs use for these file failures, so that a box reads as the
// user knows it.
QString fileErrorText(int err)
{
    switch (err) {
    case ENOENT:
    case ENOTDIR:
        return QStringLiteral("Pfad nicht gefunden");
    case EACCES:
    case EPERM:
    case EROFS:
        return QStringLiteral("Zugriff verweigert");
    case ENOSPC:
    case EDQUOT:
        return QStringLiteral("Datenträger voll");
    case EIO:
        return QStringLiteral("Geräte-E/A-Fehler");
    default:
        return QStringLiteral("Fehler beim Zugriff auf Pfad/Datei");
    }
}

// Code page 850 has no "€" and many other characters; ICU would put a control character in
// their place, Windows a "?". A character is kept only when it survives the round trip.
QByteArray toCodePage850(const QString& text)
{
    QStringEncoder encoder("IBM 850");
    QStringDecoder decoder("IBM 850");
    QByteArray out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QString one(text[i]);
        const QByteArray byte = encoder.encode(one);
        if (byte.size() == 1 && QString(decoder.decode(byte)) == one)
            out.append(byte);
        else
            out.append('?');
    }
    return out;
}

QString fromCodePage850(const QString& oemText)
{
    QByteArray bytes;
    bytes.reserve(oemText.size());
    for (const QChar c : oemText)
        bytes.append(c.unicode() < 256 ? char(c.unicode()) : '?');
    QStringDecoder decoder("IBM 850");
    return decoder.decode(bytes);
}

template <class Text> void dropTrailingBlanks(Text& text)
{
    qsizetype n = text.size();
    while (n > 0 && text.at(n - 1) == ' ')
        --n;
    text.truncate(n);
}

// Puts the finished temporary file in place of target. A rename replaces the old log in
// one step; when the temporary folder lies on another file system that is not possible,
// and the content goes through a save file beside the log instead. Either way the old
// log stays untouched until the new one is complete.
bool replaceWith(QTemporaryFile& temp, const QString& target)
{
    if (std::rename(QFile::encodeName(temp.fileName()).constData(),
                    QFile::encodeName(target).constData()) == 0) {
        temp.setAutoRemove(false);
        return true;
    }
    if (!temp.seek(0))
        return false;
    QSaveFile save(target);
    if (!save.open(QIODevice::WriteOnly))
        return false;
    while (!temp.atEnd()) {
        const QByteArray chunk = temp.read(1 << 16);
        if (chunk.isEmpty() || save.write(chunk) != chunk.size()) {
            save.cancelWriting();
            return false;
        }
    }
    return save.commit();
}

// The one body of both VuShowError forms. An error with number 0 counts as none pending.
bool showError(const QString& origin, const ZwError* pending, const QString& module,
               bool* retry) noexcept
{
    if (retry)
        *retry = false;
    try {
        const bool isPending = pending && pending->number() != 0;
        const QString errorText = isPending ? pending->description() + QStringLiteral(" (Nr. ") +
                                                  QString::number(pending->number()) +
                                                  QStringLiteral(", Ursprung: ") +
                                                  pending->source() + QStringLiteral(")")
                                            : QString();
        const QString moduleText =
            module.isNull() ? QString() : QStringLiteral("in Modul ") + module;
        QString message =
            QStringLiteral("Fehler: ") + origin + kCrLf + errorText + kCrLf + moduleText;
        const QString caption = AppInfo::title() + QStringLiteral(" - Fehler");
        if (isPending) {
            message += kCrLf + QStringLiteral("Noch einmal versuchen?");
            const bool yes = msgBox(message, Mb::YesNo + Mb::Question, caption) == Mb::Yes;
            if (retry)
                *retry = yes;
        } else {
            msgBox(message, Mb::OkOnly + Mb::Exclamation, caption);
        }
        VuLog(LogLevel::Error,
              origin + QStringLiteral(" - ") + errorText + QStringLiteral(" ") + moduleText);
    } catch (...) {
        // The error routine must never become a source of errors itself.
    }
    return false;
}

} // namespace

bool VuShowError(const QString& origin, const QString& module) noexcept
{
    return showError(origin, nullptr, module, nullptr);
}

bool VuShowError(const QString& origin, const ZwError& pending, const QString& module,
                 bool* retry) noexcept
{
    return showError(origin, &pending, module, retry);
}

ZwError vuErrorFromCurrentException() noexcept
{
    try {
        try {
            throw;
        } catch (const ZwError& e) {
            return e;
        } catch (const std::bad_alloc&) {
            return ZwError(7, QStringLiteral("Nicht genügend Speicher"));
        } catch (const std::filesystem::filesystem_error& e) {
            return ZwError(75, QStringLiteral("Fehler beim Zugriff auf Pfad/Datei: ") +
                                   QString::fromStdString(e.path1().string()));
        } catch (const std::out_of_range&) {
            return ZwError(9, QStringLiteral("Index außerhalb des gültigen Bereichs"));
        } catch (const std::overflow_error&) {
            return ZwError(6, QStringLiteral("Überlauf"));
        } catch (const std::range_error&) {
            return ZwError(6, QStringLiteral("Überlauf"));
        } catch (const std::invalid_argument&) {
            return ZwError(5, QStringLiteral("Ungültiger Prozeduraufruf oder ungültiges Argument"));
        } catch (const std::domain_error&) {
            return ZwError(5, QStringLiteral("Ungültiger Prozeduraufruf oder ungültiges Argument"));
        } catch (const std::exception& e) {
            return ZwError(51,
                           QStringLiteral("Interner Fehler: ") + QString::fromLocal8Bit(e.what()));
        } catch (...) {
            return ZwError(51, QStringLiteral("Interner Fehler"));
        }
    } catch (...) {
        // Building the description ran out of memory.
        return ZwError(7, QString());
    }
}

const LogSettings& vuLogSettings()
{
    return g_log;
}

void vuResetLogging()
{
    g_log = LogSettings();
}

void VuSetLogging(bool on, const QString& fileName, int maxKB)
{
    if (fileName.isEmpty()) {
        VuShowError(QStringLiteral("Log-Datei einstellen: Dateiname ist leer"),
                    QStringLiteral("VuSetLogging"));
        return;
    }
    if (maxKB < 1) {
        VuShowError(QStringLiteral("Log-Datei einstellen: max. Dateigröße < 1 (KB)"),
                    QStringLiteral("VuSetLogging"));
        return;
    }
    g_log.on = on;
    g_log.fileName = fileName;
    g_log.maxKB = maxKB;
}

void VuLog(int level, const QString& text)
{
    if (!g_log.on)
        return;
    if (!g_log.warningShown) {
        // Marked before the box, so that a line logged while it is open does not ask again.
        g_log.warningShown = true;
        msgBox(QStringLiteral("Hinweis: es wird die Logdatei '") + g_log.fileName +
                   QStringLiteral("' erzeugt!") + kCrLf + kCrLf +
                   QStringLiteral("Das Erzeugen einer Logdatei kann die ") +
                   QStringLiteral("Ausführungsgeschwindigkeit deutlich verringern!"),
               Mb::OkOnly + Mb::Exclamation, QStringLiteral("Logdatei-Erzeugung"));
    }
    QString line = QLocale::system().toString(QDateTime::currentDateTime(), QLocale::ShortFormat) +
                   QStringLiteral(": ");
    switch (level) {
    case LogLevel::Error:
        line += QStringLiteral("Fehler: ");
        break;
    case LogLevel::Warning:
        line += QStringLiteral("Warnung: ");
        break;
    case LogLevel::Info:
        line += QStringLiteral("Info: ");
        break;
    default:
        break;
    }
    line += text;
    // The settings may change while a box is open; take them as they are now.
    const QString file = g_log.fileName;
    const int maxKB = g_log.maxKB;
    VuAppendToFile(line, file, LogConversion::None);
    VuCutFile(file, maxKB);
}

bool VuAppendToFile(const QString& text, const QString& file, int conversion)
{
    QString reason;
    try {
        QFile out(file);
        errno = 0;
        if (!out.open(QIODevice::WriteOnly | QIODevice::Append)) {
            reason = fileErrorText(errno);
        } else {
            QByteArray bytes;
            bool write = true;
            if (conversion == LogConversion::None) {
                bytes = text.toUtf8();
            } else if (conversion == LogConversion::AnsiToOem) {
                bytes = toCodePage850(text.left(255));
                dropTrailingBlanks(bytes);
            } else if (conversion == LogConversion::OemToAnsi) {
                QString converted = fromCodePage850(text.left(255));
                dropTrailingBlanks(converted);
                bytes = converted.toUtf8();
            } else {
                write = false;
            }
            if (write) {
                bytes += "\r\n";
                errno = 0;
                if (out.write(bytes) != bytes.size() || !out.flush())
                    reason = fileErrorText(errno);
            }
            out.close();
            if (reason.isEmpty() && out.error() != QFileDevice::NoError)
                reason = fileErrorText(errno);
        }
    } catch (...) {
        reason = QStringLiteral("Interner Fehler");
    }
    if (reason.isEmpty())
        return true;
    msgBox(QStringLiteral("Fehler beim Anfügen von Text an ") + file + QStringLiteral(" (") +
               reason + QStringLiteral(")"),
           Mb::OkCancel + Mb::Exclamation, QStringLiteral("Fehler"));
    return false;
}

void VuCutFile(const QString& file, int maxKB)
{
    if (g_log.cutting)
        return;
    g_log.cutting = true;
    const auto clearGuard = qScopeGuard([] { g_log.cutting = false; });

    if (maxKB < 1) {
        VuShowError(QStringLiteral("MaxLength muß größer oder gleich 1 (KB) sein!"),
                    QStringLiteral("VuCutFile"));
        return;
    }
    // Decimal kilobytes on purpose: the limit has always been counted this way.
    const qint64 limit = qint64(maxKB) * 1000;
    try {
        QFileInfo info(file);
        const qint64 length = info.exists() ? info.size() : 0;
        if (length <= limit + 50000)
            return;
        ui().beep();

        // Replace what the name points to, not a symbolic link in its place.
        const QString target = info.isSymLink() ? info.symLinkTarget() : file;
        QFile old(target);
        if (!old.open(QIODevice::ReadOnly))
            return;
        // An unusable TMPDIR gives an empty path, which must not become the root folder.
        const QString tempFolder = QDir::tempPath();
        if (tempFolder.isEmpty())
            return;
        QTemporaryFile temp(tempFolder + QStringLiteral("/zettelwerk-log-XXXXXX.tmp"));
        if (!temp.open())
            return;
        const QByteArray header = QByteArray(80, '=') + "\r\n...";
        if (temp.write(header) != header.size())
            return;
        // The byte just before the kept tail is dropped, the tail copied to the end.
        if (!old.seek(length - limit))
            return;
        while (!old.atEnd()) {
            const QByteArray chunk = old.read(1 << 16);
            if (chunk.isEmpty() || temp.write(chunk) != chunk.size())
                return;
        }
        if (!temp.flush() || old.error() != QFileDevice::NoError)
            return;
        temp.setPermissions(old.permissions());
        old.close();
        replaceWith(temp, target);
    } catch (...) {
        // An unreadable or locked log stays as it was.
    }
}
