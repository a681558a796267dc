#pragma once

// Switches the log on into a file of its own and reads back what was written, without the
// date and time prefix. The first-use warning box is answered here once, so that every box
// after it is one the code under test showed.

#include "tests/support/ScriptedUserInterface.h"
#include "util/ErrorRoutine.h"

#include <QFile>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>

class LogCapture
{
public:
    explicit LogCapture(ScriptedUserInterface& ui)
    {
        m_file = m_dir.filePath(QStringLiteral("zettelwerk.log"));
        vuResetLogging();
        VuSetLogging(true, m_file, 1000);
        ui.answer(Mb::Ok);
        VuLog(0, QStringLiteral("start"));
        ui.takeBoxes();
        QFile::remove(m_file);
    }
    ~LogCapture() { vuResetLogging(); }

    // Lines in order, each as "Fehler: text", "Info: text" ...
    QStringList lines() const
    {
        QFile file(m_file);
        if (!file.open(QIODevice::ReadOnly))
            return {};
        QStringList result;
        for (const QString& line :
             QString::fromUtf8(file.readAll()).split(QStringLiteral("\r\n"))) {
            if (line.isEmpty())
                continue;
            const qsizetype at = line.indexOf(QStringLiteral(": "));
            result.append(at < 0 ? line : line.mid(at + 2));
        }
        return result;
    }
    // Only the error lines (without "Fehler: ").
    QStringList errors() const
    {
        QStringList result;
        for (const QString& line : lines()) {
            if (line.startsWith(QStringLiteral("Fehler: ")))
                result.append(line.mid(8));
        }
        return result;
    }
    void clear() { QFile::remove(m_file); }

private:
    QTemporaryDir m_dir;
    QString m_file;
};
