#include "util/TextUtil.h"

#include "util/ErrorRoutine.h"

#include <QFile>

namespace
{

qsizetype lastSeparator(const QString& path)
{
    return std::max(path.lastIndexOf(QLatin1Char('/')), path.lastIndexOf(QLatin1Char('\\')));
}

QString fileNameOf(const QString& path)
{
    return path.mid(lastSeparator(path) + 1);
}

// The file name cut before its last ".".
QString titleOf(const QString& name)
{
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    return dot < 0 ? name : name.left(dot);
}

// The remembered rest of the current token scan.
QString g_tokenRest;

} // namespace

QString VuGetFileName(const QString& path)
{
    QString name;
    vuTrap(QStringLiteral("VuGetFileName"), [&] { name = fileNameOf(path); });
    return name;
}

QString VuGetFileTitle(const QString& path)
{
    QString title;
    vuTrap(QStringLiteral("VuGetFileTitle"), [&] { title = titleOf(fileNameOf(path)); });
    return title;
}

QString VuGetFileExtension(const QString& path)
{
    QString extension;
    vuTrap(QStringLiteral("VuGetFileExtension"), [&] {
        // The end of the name that the title does not cover.
        const QString name = fileNameOf(path);
        extension = name.mid(titleOf(name).size());
    });
    return extension;
}

QString VuEnsureTrailingSeparator(const QString& path)
{
    QString result = path;
    vuTrap(QStringLiteral("VuEnsureTrailingSeparator"), [&] {
        if (path.endsWith(QLatin1Char('/')) || path.endsWith(QLatin1Char('\\')))
            return;
        const qsizetype last = lastSeparator(path);
        const bool backslash = last >= 0 && path.at(last) == QLatin1Char('\\');
        result = path + (backslash ? QLatin1Char('\\') : QLatin1Char('/'));
    });
    return result;
}

bool VuFileExists(const QString& path)
{
    bool exists = false;
    vuTrap(QStringLiteral("VuFileExists"), [&] {
        QFile file(path);
        exists = !path.isEmpty() && file.open(QIODevice::ReadOnly);
    });
    return exists;
}

QString VuGetNextToken(const QString& text, const QString& sep)
{
    QString token;
    vuTrap(QStringLiteral("VuGetNextToken"), [&] {
        // The separator behind the text lets the last part be found like all others.
        if (!text.isEmpty())
            g_tokenRest = text + sep;
        const qsizetype pos = g_tokenRest.indexOf(sep);
        if (pos < 0)
            return;
        token = g_tokenRest.left(pos);
        g_tokenRest = g_tokenRest.mid(pos + sep.size());
    });
    return token;
}

QString VuGetNextKeyValue(const QString& text, const QString& sep, QString& key, QString& value)
{
    QString token;
    vuTrap(QStringLiteral("VuGetNextKeyValue"), [&] {
        token = VuGetNextToken(text, sep);
        const qsizetype equals = token.indexOf(QLatin1Char('='));
        if (equals > 0) {
            key = token.left(equals);
            value = token.mid(equals + 1);
        }
    });
    return token;
}
