// Measures the LibreOffice engine: the first fill including the office's start (with a new
// profile, and with the profile a previous run left), the median of 50 following fills in one
// running office, beside `soffice --headless --convert-to docx` of the same template per call
// and the built-in engine filling the .dotx twin.
// Usage: bench_libreoffice [fills]   (default 50)
#include "document/ClsWord.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUrl>
#include <algorithm>
#include <cstdio>
#include <vector>

namespace
{

const QList<std::pair<QString, QString>> kTexts{{"Absender", "Zettelwerk GmbH"},
                                                {"Anschrift", "Muster AG\r\nHerr\r\nMax Müller"},
                                                {"Betreff", "Ihr Angebot vom 1. März"},
                                                {"Briefanrede", "Sehr geehrter Herr Müller"},
                                                {"Datum", "23.11.2026"},
                                                {"Durchwahl", "-42"},
                                                {"Telefon", "+49 711 123"},
                                                {"Zeichen", "mm/zw"}};

// Time of the three stages of the fills so far: document made, text written, saved.
std::vector<double> g_stages[3];

// One whole fill as a transfer makes it: document from the template, every bookmark, saved.
double fillMs(ClsWord& word, const QString& templatePath)
{
    QElapsedTimer timer;
    timer.start();
    const WordDocument document = word.CreateDocument(templatePath, false, true);
    const double made = double(timer.nsecsElapsed()) / 1e6;
    if (!document) {
        std::fprintf(stderr, "Kein Dokument: %s\n", qPrintable(word.lastErrorDescription()));
        std::exit(1);
    }
    for (const auto& [bookmark, text] : kTexts)
        word.SetText(document, text, bookmark);
    const double written = double(timer.nsecsElapsed()) / 1e6;
    if (word.presentDocument(document).isEmpty()) {
        std::fprintf(stderr, "Nicht gespeichert: %s\n", qPrintable(word.lastErrorDescription()));
        std::exit(1);
    }
    const double total = double(timer.nsecsElapsed()) / 1e6;
    g_stages[0].push_back(made);
    g_stages[1].push_back(written - made);
    g_stages[2].push_back(total - written);
    return total;
}

struct Figures {
    double median, min, max;
};

Figures figures(std::vector<double> times)
{
    std::sort(times.begin(), times.end());
    return {times[times.size() / 2], times.front(), times.back()};
}

void print(const char* what, const Figures& f, std::size_t n)
{
    std::printf("%-52s median %8.1f ms  (min %.1f, max %.1f, n=%zu)\n", what, f.median, f.min,
                f.max, n);
}

double convertMs(const QString& soffice, const QString& profile, const QString& from,
                 const QString& format, const QString& outdir)
{
    QElapsedTimer timer;
    timer.start();
    QProcess p;
    p.start(soffice, {"-env:UserInstallation=" + QUrl::fromLocalFile(profile).toString(),
                      "--headless", "--convert-to", format, "--outdir", outdir, from});
    p.waitForFinished(180000);
    return double(timer.nsecsElapsed()) / 1e6;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int n = argc > 1 ? std::max(1, atoi(argv[1])) : 50;
    const QString soffice = QStandardPaths::findExecutable(QStringLiteral("soffice"));
    if (soffice.isEmpty()) {
        std::fprintf(stderr, "LibreOffice (soffice) ist nicht installiert.\n");
        return 1;
    }
    qunsetenv("DISPLAY");
    qunsetenv("WAYLAND_DISPLAY");
    QTemporaryDir dir;
    // The engine's profile lies below the data folder: a new one for this run.
    qputenv("XDG_DATA_HOME", dir.filePath("data").toUtf8());
    const QString out = dir.filePath("out");
    QDir().mkpath(out);

    const QString source = QStringLiteral(ZW_TEST_DATA "/Brief-LO.fodt");
    const QString convertProfile = dir.filePath("convert-profile");
    convertMs(soffice, convertProfile, source, "dot", dir.path()); // also makes the profile
    convertMs(soffice, convertProfile, source, "dotx", dir.path());
    const QString dot = dir.filePath("Brief-LO.dot");
    const QString dotx = dir.filePath("Brief-LO.dotx");

    std::vector<double> converts;
    for (int i = 0; i < 5; ++i)
        converts.push_back(convertMs(soffice, convertProfile, dot, "docx", out));

    double firstNewProfile = 0;
    double firstKnownProfile = 0;
    std::vector<double> fills;
    std::vector<double> stages[3];
    {
        ClsWord word;
        word.SetUsedVersion(ClsWord::kVersionLibreOffice);
        word.setOutputFolder(out);
        firstNewProfile = fillMs(word, dot);
        word.CloseWord(false);
    }
    {
        ClsWord word;
        word.SetUsedVersion(ClsWord::kVersionLibreOffice);
        word.setOutputFolder(out);
        firstKnownProfile = fillMs(word, dot);
        for (auto& stage : g_stages)
            stage.clear();
        for (int i = 0; i < n; ++i)
            fills.push_back(fillMs(word, dot));
        for (int i = 0; i < 3; ++i)
            stages[i] = g_stages[i];
        word.CloseWord(false);
    }
    std::vector<double> builtIn;
    {
        ClsWord word;
        word.SetUsedVersion(ClsWord::kVersionOoxml);
        word.setOutputFolder(out);
        fillMs(word, dotx);
        for (int i = 0; i < n; ++i)
            builtIn.push_back(fillMs(word, dotx));
    }

    std::printf("LibreOffice engine, template Brief-LO.dot (8 bookmarks), result .docx\n");
    std::printf("%-52s %8.1f ms\n", "first fill incl. office start, new profile", firstNewProfile);
    std::printf("%-52s %8.1f ms\n", "first fill incl. office start, existing profile",
                firstKnownProfile);
    print("following fills in the running office", figures(fills), fills.size());
    print("  of which: document from the template", figures(stages[0]), stages[0].size());
    print("  of which: 8 bookmarks written", figures(stages[1]), stages[1].size());
    print("  of which: saved as .docx", figures(stages[2]), stages[2].size());
    print("soffice --headless --convert-to docx per call", figures(converts), converts.size());
    print("built-in engine, Brief-LO.dotx", figures(builtIn), builtIn.size());
    return 0;
}
