// Measures filling templates in-process: open the template, fill every bookmark, save a .docx.
// Compared with re-zipping the template's entries unchanged (inflate + deflate, and copying
// compressed), and with a generated 200-page template with 500 bookmarks.
// Usage: bench_fill [--keep <folder>] [--out <folder>] [--large-only]
//   --keep leaves one filled letter and fax there; --out writes the measured files there
//   (default: a temporary folder).
#include "document/OoxmlEngine.h"
#include "document/OoxmlZipWriter.h"
#include "document/UniqueFileWriter.h"
#include "util/ZwError.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QTemporaryDir>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <unistd.h>
#include <vector>
#include <zip.h>

namespace
{

using Clock = std::chrono::steady_clock;

double elapsedMs(Clock::time_point since)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - since).count();
}

// Runs `once` (which returns the time it wants counted, in ms) warm-up + n times; the
// median in ms, which other load on a shared machine disturbs less than the mean.
double measure(int warmUp, int n, const std::function<double()>& once)
{
    for (int i = 0; i < warmUp; ++i)
        once();
    std::vector<double> times;
    times.reserve(std::size_t(n));
    for (int i = 0; i < n; ++i)
        times.push_back(once());
    std::nth_element(times.begin(), times.begin() + n / 2, times.end());
    return times[std::size_t(n / 2)];
}

// Runs a and b alternately (warm-up + n pairs) and returns both medians: on a shared machine
// the load changes from second to second, and alternating gives both the same load.
std::pair<double, double> measurePair(int warmUp, int n, const std::function<double()>& a,
                                      const std::function<double()>& b)
{
    for (int i = 0; i < warmUp; ++i) {
        a();
        b();
    }
    std::vector<double> ta, tb;
    for (int i = 0; i < n; ++i) {
        ta.push_back(a());
        tb.push_back(b());
    }
    std::nth_element(ta.begin(), ta.begin() + n / 2, ta.end());
    std::nth_element(tb.begin(), tb.begin() + n / 2, tb.end());
    return {ta[std::size_t(n / 2)], tb[std::size_t(n / 2)]};
}

QString peakMemory()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return QStringLiteral("?");
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return QString::fromLatin1(line.mid(6).trimmed());
    }
    return QStringLiteral("?");
}

QHash<QString, QString> letterValues()
{
    return {
        {"Empfänger1", "Musterfirma Handel AG"},
        {"Empfänger2", "Einkauf"},
        {"Empfänger3", "Herrn Dr. Max Mustermann"},
        {"Empfänger4", "Hauptstraße 12"},
        {"Empfänger5", ""},
        {"Empfänger6", "10115 Berlin"},
        {"Empfänger7", ""},
        {"Briefanrede", "Sehr geehrter Herr Dr. Mustermann"},
        {"Bearbeiter", "Erika Beispiel"},
        {"BearbeiterDurchwahl", "215"},
        {"AnFirma", "Musterfirma Handel AG"},
        {"AnAbteilung", "Einkauf"},
        {"AnName", "Herrn Dr. Max Mustermann"},
        {"AnTelefon", "030 1234567"},
        {"AnFAX", "030 1234568"},
        {"Betreff", "Ihre Anfrage vom 3. Mai"},
        {"Nachricht", "vielen Dank für Ihre Anfrage.\r\nAnbei erhalten Sie unser Angebot."},
        {"VonFirma", "Musterfirma GmbH"},
        {"VonAbteilung", "Vertrieb"},
        {"VonName", "Erika Beispiel"},
        {"VonTelefon", "0123 4567-215"},
        {"VonFAX", "0123 4567-99"},
    };
}

// One fill as the transfer does it; returns the milliseconds of open + fill + save.
double fillOnce(OoxmlEngine& engine, const QString& templatePath, const QString& folder,
                const std::function<QString(const QString&)>& value)
{
    const Clock::time_point start = Clock::now();
    auto document = engine.addDocument(templatePath);
    const int count = document->bookmarkCount();
    QStringList names;
    for (int i = 1; i <= count; ++i)
        names.append(document->bookmarkName(i));
    for (const QString& name : names) {
        const QString text = value(name);
        if (text.trimmed().isEmpty())
            continue;
        document->goToBookmark(name);
        document->typeText(text);
    }
    const QString path = document->save(folder);
    document->close(false);
    const double ms = elapsedMs(start);
    ::unlink(QFile::encodeName(path).constData());
    return ms;
}

// The same entries zipped again without any change; with recompress, each is inflated and
// deflated again, else copied compressed. Returns the milliseconds including the file write.
double rezipOnce(const QString& templatePath, const QString& folder, bool recompress)
{
    const Clock::time_point start = Clock::now();
    int error = 0;
    zip_t* source = zip_open(QFile::encodeName(templatePath).constData(), ZIP_RDONLY, &error);
    if (!source)
        qFatal("cannot open %s", qPrintable(templatePath));
    QString path;
    {
        OoxmlZipWriter writer;
        const zip_int64_t count = zip_get_num_entries(source, 0);
        for (zip_int64_t i = 0; i < count; ++i) {
            const std::string name = zip_get_name(source, zip_uint64_t(i), 0);
            if (!recompress) {
                writer.addCopy(name, source, zip_uint64_t(i));
                continue;
            }
            zip_stat_t st;
            zip_stat_index(source, zip_uint64_t(i), 0, &st);
            std::string data(st.size, '\0');
            zip_file_t* file = zip_fopen_index(source, zip_uint64_t(i), 0);
            zip_fread(file, data.data(), st.size);
            zip_fclose(file);
            writer.addData(name, std::move(data));
        }
        path = UniqueFileWriter::write(folder, QStringLiteral("rezip"), QStringLiteral(".docx"),
                                       writer.finish(), false);
    }
    zip_close(source);
    const double ms = elapsedMs(start);
    ::unlink(QFile::encodeName(path).constData());
    return ms;
}

// A 200-page template: 4000 paragraphs of three runs each, a bookmark in every eighth.
QString makeLargeTemplate(const QString& folder)
{
    const std::string sentence =
        "Lorem ipsum dolor sit amet, consectetur adipiscing elit, sed do eiusmod tempor "
        "incididunt ut labore et dolore magna aliqua. Ut enim ad minim veniam, quis nostrud "
        "exercitation ullamco laboris nisi ut aliquip ex ea commodo consequat. ";
    std::string body;
    body.reserve(3u << 20);
    int bookmark = 0;
    for (int p = 0; p < 4000; ++p) {
        body += "<w:p><w:pPr><w:jc w:val=\"both\"/></w:pPr>";
        body += "<w:r><w:t xml:space=\"preserve\">" + sentence + "</w:t></w:r>";
        if (p % 8 == 3 && bookmark < 500) {
            ++bookmark;
            const std::string id = std::to_string(bookmark);
            body += "<w:bookmarkStart w:id=\"" + id + "\" w:name=\"Feld" + id +
                    "\"/><w:r><w:rPr><w:b/></w:rPr><w:t>Platzhalter " + id +
                    "</w:t></w:r><w:bookmarkEnd w:id=\"" + id + "\"/>";
        }
        body += "<w:r><w:rPr><w:i/></w:rPr><w:t xml:space=\"preserve\"> " + sentence +
                "</w:t></w:r><w:r><w:t>Ende.</w:t></w:r></w:p>";
        if (p % 20 == 19)
            body += "<w:p><w:r><w:br w:type=\"page\"/></w:r></w:p>";
    }
    const std::string decl = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n";
    OoxmlZipWriter writer;
    writer.addData("[Content_Types].xml",
                   decl +
                       "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/"
                       "content-types\"><Default Extension=\"rels\" ContentType=\"application/"
                       "vnd.openxmlformats-package.relationships+xml\"/><Default Extension=\"xml\" "
                       "ContentType=\"application/xml\"/><Override PartName=\"/word/document.xml\" "
                       "ContentType=\"application/vnd.openxmlformats-officedocument."
                       "wordprocessingml.template.main+xml\"/></Types>");
    writer.addData("_rels/.rels",
                   decl + "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/"
                          "relationships\"><Relationship Id=\"rId1\" Type=\"http://schemas."
                          "openxmlformats.org/officeDocument/2006/relationships/officeDocument\" "
                          "Target=\"word/document.xml\"/></Relationships>");
    writer.addData("word/document.xml",
                   decl +
                       "<w:document xmlns:w=\"http://schemas.openxmlformats.org/wordprocessingml/"
                       "2006/main\"><w:body>" +
                       body + "<w:sectPr/></w:body></w:document>");
    return UniqueFileWriter::write(folder, QStringLiteral("Gross"), QStringLiteral(".dotx"),
                                   writer.finish(), false);
}

void report(const char* what, double fillMs, double rezipMs, double copyMs)
{
    std::printf("%s\n", what);
    std::printf("  fill (open, fill all bookmarks, save): %9.3f ms\n", fillMs);
    std::printf("  re-zip unchanged, inflate + deflate:   %9.3f ms   ratio %.2f\n", rezipMs,
                fillMs / rezipMs);
    std::printf("  re-zip unchanged, copy compressed:     %9.3f ms   ratio %.2f\n", copyMs,
                fillMs / copyMs);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QString bin = QCoreApplication::applicationDirPath();
    const QString letter = QDir(bin).filePath(QStringLiteral("Bsp-Brief.dotx"));
    const QString fax = QDir(bin).filePath(QStringLiteral("Bsp-FAX.dotx"));
    if (!QFile::exists(letter)) {
        std::fprintf(stderr, "%s fehlt\n", qPrintable(letter));
        return 1;
    }
    QTemporaryDir scratch;
    const QStringList args = app.arguments();
    const qsizetype outAt = args.indexOf(QStringLiteral("--out"));
    const QString out = outAt > 0 && outAt + 1 < args.size() ? args.at(outAt + 1) : scratch.path();
    const QHash<QString, QString> values = letterValues();
    const auto value = [&values](const QString& name) { return values.value(name); };

    try {
        OoxmlEngine engine;
        engine.setSyncToDisk(false);
        engine.open();

        const qsizetype keep = args.indexOf(QStringLiteral("--keep"));
        if (keep > 0 && keep + 1 < args.size()) {
            for (const QString& path : {letter, fax}) {
                auto document = engine.addDocument(path);
                for (int i = 1; i <= document->bookmarkCount(); ++i) {
                    const QString name = document->bookmarkName(i);
                    if (!value(name).isEmpty()) {
                        document->goToBookmark(name);
                        document->typeText(value(name));
                    }
                }
                std::printf("kept %s\n", qPrintable(document->save(args.at(keep + 1))));
            }
        }

        // --large-only skips the letter (for profiling the large template alone).
        const bool largeOnly = args.contains(QStringLiteral("--large-only"));
        const int n = largeOnly ? 1 : 1000;
        const double fillMs = measure(100, n, [&] { return fillOnce(engine, letter, out, value); });
        const double rezipMs = measure(100, n, [&] { return rezipOnce(letter, out, true); });
        const double copyMs = measure(100, n, [&] { return rezipOnce(letter, out, false); });
        report("Bsp-Brief.dotx, 10 bookmarks, median of 1000 after 100 warm-up:", fillMs, rezipMs,
               copyMs);

        engine.setSyncToDisk(true);
        const double syncedMs =
            measure(5, 50, [&] { return fillOnce(engine, letter, out, value); });
        engine.setSyncToDisk(false);
        std::printf("  fill with fsync before naming (default): %7.3f ms\n", syncedMs);

        const QString large = makeLargeTemplate(out);
        std::printf("generated %s: %lld bytes\n", qPrintable(QFileInfo(large).fileName()),
                    QFileInfo(large).size());
        const auto largeValue = [](const QString& name) { return QStringLiteral("Wert ") + name; };
        const auto [largeFill, largeRezip] = measurePair(
            2, largeOnly ? 60 : 20, [&] { return fillOnce(engine, large, out, largeValue); },
            [&] { return rezipOnce(large, out, true); });
        const double largeCopy = measure(2, 20, [&] { return rezipOnce(large, out, false); });
        report("200 pages, 500 bookmarks, fill and re-zip alternating, median of 20 (--large-only: "
               "60) after 2 warm-up:",
               largeFill, largeRezip, largeCopy);
        QFile::remove(large);
    } catch (const ZwError& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
    std::printf("peak memory (VmHWM): %s\n", qPrintable(peakMemory()));
    return 0;
}
