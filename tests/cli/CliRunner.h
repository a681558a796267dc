#pragma once

// Runs the built zettelwerk-cli as a user would, and small helpers around it: settings
// written the way the program stores them, and the text of a filled document.

#include "tests/document/OoxmlTestPackage.h"
#include "tests/support/TestFiles.h"
#include "util/ClsRegistry.h"

#include <QCoreApplication>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTest>

namespace CliRunner
{

// Files are written as every other test writes them.
using ::writeFile;

struct Result {
    bool finished = false;
    int exitCode = -1;
    QString out;
    QString err;
};

// Where ctest says the programs are; run by hand, beside the test itself.
inline QString binDir()
{
    const QString fromCtest = qEnvironmentVariable("ZW_BIN_DIR");
    return fromCtest.isEmpty() ? QCoreApplication::applicationDirPath() : fromCtest;
}

inline QString program()
{
    return binDir() + QStringLiteral("/zettelwerk-cli");
}

// The environment of the test process (TestEnvironment has pointed HOME and XDG there) goes
// with it. Standard input stays an open pipe that never delivers anything, so a program that
// waited for input would run into the time limit and fail the test.
inline Result run(const QStringList& arguments, int timeoutMs = 30000)
{
    QProcess process;
    process.start(program(), arguments);
    Result r;
    r.finished = process.waitForFinished(timeoutMs);
    if (!r.finished)
        process.kill();
    r.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    r.out = QString::fromUtf8(process.readAllStandardOutput());
    r.err = QString::fromUtf8(process.readAllStandardError());
    return r;
}

// Writes settings values under the program's key, as the program itself stores them.
inline void writeSettings(const QList<std::pair<QString, QString>>& values)
{
    ClsRegistry reg;
    reg.setKey(QStringLiteral("Software"));
    reg.CreateSubKey(QStringLiteral("KVAR\\Zettelwerk"));
    reg.setKey(QStringLiteral("Software\\KVAR\\Zettelwerk"));
    for (const auto& [name, value] : values)
        QVERIFY2(reg.SetString(name, value), qPrintable(reg.ErrorDescription()));
}

// The main part of a .docx; false when it cannot be read.
inline bool loadMainPart(const QString& docx, pugi::xml_document& xml)
{
    const auto parts = OoxmlTestPackage::readZip(docx);
    const auto it = parts.find("word/document.xml");
    return it != parts.end() && xml.load_buffer(it->second.data(), it->second.size(),
                                                pugi::parse_default | pugi::parse_ws_pcdata);
}

} // namespace CliRunner
