#pragma once

#include <QByteArray>
#include <QString>

// Writes a new file and never writes over an existing one. The data goes to a temporary file
// in the target folder first and is then given its name in one step that fails instead of
// replacing (renameat2 RENAME_NOREPLACE, or link + unlink): a name taken meanwhile, even by
// a racing process, gets " (2)", " (3)", ... before the extension. On failure nothing is left.
class UniqueFileWriter
{
public:
    // Returns the path written. Raises ZwError(SaveFailed) with a German reason.
    static QString write(const QString& folder, const QString& baseName, const QString& extension,
                         const QByteArray& data, bool syncToDisk);
    // A base name made safe for any file system: no separators, reserved or control characters.
    static QString safeBaseName(const QString& name);
};
