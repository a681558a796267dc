#pragma once

// What the tests of the Word wrapper share: a test environment, scripted message boxes, the
// captured log, a temporary folder with "out" for the results, and a ClsWord that records the
// documents it would show instead of opening them.

#include "LogCapture.h"
#include "OoxmlTestPackage.h"
#include "document/ClsWord.h"
#include "tests/support/ScriptedUserInterface.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QObject>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

class WordTestFixture : public QObject
{
protected:
    std::unique_ptr<TestEnvironment> m_env;
    std::unique_ptr<ScriptedUserInterface> m_ui;
    std::unique_ptr<LogCapture> m_log;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ClsWord> m_word;
    QStringList m_opened;

    QString outDir() const { return m_dir->filePath(QStringLiteral("out")); }

    QString writeTemplate(const OoxmlTestPackage::Template& t,
                          const QString& name = QStringLiteral("Brief.dotx"))
    {
        const QString path = m_dir->filePath(name);
        if (!OoxmlTestPackage::writeZip(path, OoxmlTestPackage::entriesOf(t)))
            qFatal("cannot write test template");
        return path;
    }

    void setUp()
    {
        m_env = std::make_unique<TestEnvironment>();
        m_ui = std::make_unique<ScriptedUserInterface>();
        m_log = std::make_unique<LogCapture>(*m_ui);
        m_dir = std::make_unique<QTemporaryDir>();
        QDir(m_dir->path()).mkpath(QStringLiteral("out"));
        m_opened.clear();
        m_word = std::make_unique<ClsWord>();
        // These tests are about the built-in engine (LibreOffice's has tst_libreofficeengine).
        m_word->SetUsedVersion(ClsWord::kVersionOoxml);
        m_word->setOutputFolder(outDir());
        m_word->setOpener([this](const QString& path) { m_opened.append(path); });
    }

    // Every message box must have been expected by the test.
    void tearDown()
    {
        m_word.reset();
        m_log.reset();
        QVERIFY2(m_ui->boxes().isEmpty(), qPrintable(m_ui->boxes().value(0).text));
        m_ui.reset();
        m_env.reset();
    }
};
