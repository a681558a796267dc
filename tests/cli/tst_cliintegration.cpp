// The sample templates filled through zettelwerk-cli and read back by LibreOffice: what a user
// sees in the word processor, line by line. Runs only where LibreOffice is installed.
#include "tests/cli/CliRunner.h"
#include "tests/support/TestEnvironment.h"

#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace CliRunner;

class TstCliIntegration : public QObject
{
    Q_OBJECT

    QString m_soffice;

    // The document as plain text, one paragraph (or table cell) a line; empty on failure.
    QStringList asText(const QString& docx, const QString& outDir)
    {
        // A private profile, so that parallel runs and a desktop session do not meet.
        QTemporaryDir profile(QDir::tempPath() + QStringLiteral("/zw-lo-profile-XXXXXX"));
        QProcess lo;
        lo.setStandardInputFile(QProcess::nullDevice());
        lo.start(m_soffice, {"-env:UserInstallation=" + QUrl::fromLocalFile(profile.path()).url(),
                             "--headless", "--convert-to", "txt:Text (encoded):UTF8", "--outdir",
                             outDir, docx});
        if (!lo.waitForFinished(120000)) {
            lo.kill();
            lo.waitForFinished();
            qWarning("LibreOffice did not finish within 120 s");
            return {};
        }
        QFile txt(outDir + u'/' + QFileInfo(docx).completeBaseName() + QStringLiteral(".txt"));
        if (!txt.open(QIODevice::ReadOnly)) {
            qWarning("no text written: %s", lo.readAllStandardError().constData());
            return {};
        }
        QString text = QString::fromUtf8(txt.readAll());
        if (text.startsWith(QChar(0xFEFF)))
            text.remove(0, 1);
        return text.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).split(u'\n');
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_soffice = QStandardPaths::findExecutable(QStringLiteral("soffice"));
        if (m_soffice.isEmpty())
            QSKIP("LibreOffice (soffice) is not installed");
        QVERIFY2(QFileInfo(program()).isExecutable(), qPrintable(program()));
    }

    void sampleTemplateReadsRight_data()
    {
        QTest::addColumn<QString>("templateName");
        QTest::addColumn<QString>("inOrder"); // whole lines, in this order, split at '|'

        // Max Müller of the sample store: person first, "Herrn" on the name line and no blank
        // line, so that the whole block, city included, fits its seven lines.
        QTest::newRow("letter") << "Bsp-Brief"
                                << "Herrn Max Müller|Muster AG|Einkauf|Hauptstraße 1|10115 Berlin|"
                                   "Name:\t<Ihr Name>|Telefon:\t0123 4567-<Ihre Durchwahl>|"
                                   "Sehr geehrter Herr Müller,|Mit freundlichen Grüßen";
        QTest::newRow("fax") << "Bsp-FAX"
                             << "TELEFAX|Muster AG|<Ihre Firma>|Einkauf|<Ihre Abteilung>|Herrn "
                                "Max Müller|<Ihr Name>|+49 30 1234567|<Ihre Durchwahl>|+49 30 "
                                "1234568|<Ihre FAX-Nummer>|Sehr geehrter Herr Müller,|Mit "
                                "freundlichen Grüßen";
    }

    void sampleTemplateReadsRight()
    {
        QFETCH(QString, templateName);
        QFETCH(QString, inOrder);

        TestEnvironment env;
        const QString out = env.root() + QStringLiteral("/out");
        QDir().mkpath(out);
        const Result r = run({"--ordner", "Root\\Beispielkontakte", "--nachname", "Müller",
                              "--vorlage", binDir() + u'/' + templateName + ".dotx",
                              "--reihenfolge", "1", "--anrede-name-eine-zeile", "ja", "--herrn",
                              "ja", "--leerzeile-vor-ort", "nein", "--ausgabe", out});
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.err, QString());

        const QStringList lines = asText(r.out.trimmed(), env.root() + QStringLiteral("/text"));
        QVERIFY(!lines.isEmpty());
        qsizetype at = 0;
        for (const QString& expected : inOrder.split(u'|')) {
            const qsizetype found = lines.indexOf(expected, at);
            QVERIFY2(found >= 0, qPrintable(expected + " not in order in:\n" + lines.join(u'\n')));
            at = found + 1;
        }
        // No doubled comma, e.g. the salutation's own beside one in the template.
        QVERIFY2(!lines.join(u'\n').contains(QStringLiteral(",,")), qPrintable(lines.join(u'\n')));
    }
};

QTEST_GUILESS_MAIN(TstCliIntegration)
#include "tst_cliintegration.moc"
