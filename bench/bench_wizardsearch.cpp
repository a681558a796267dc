// Searches a folder of 100,000 contacts through the real main window (offscreen) and prints
// how long the hit list takes, the peak memory, and how long the user interface went
// without a yield (which is how long an abort click can wait).
//
// The searches run first without the folder index (every file read each time), then with it
// (the first search builds it). ZW_BENCH_INDEXED_ONLY=1 runs only the latter.
//
//   bench_wizardsearch [contacts]     default 100000

#include "app/FrmMain.h"
#include "app/Main.h"
#include "app/Settings.h"
#include "contacts/FolderIndexStore.h"
#include "util/UserInterface.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTreeWidget>
#include <cstdio>
#include <functional>

namespace
{

// Answers every box with OK and measures the gaps between two yields.
class MeasuringUserInterface final : public UserInterface
{
public:
    int msgBox(const QString&, int, const QString&) override { return Mb::Ok; }
    void beep() override {}
    void setHourglass(bool) override {}
    void doEvents() override
    {
        if (m_clock.isValid()) {
            const qint64 now = m_clock.nsecsElapsed();
            m_longestGapNs = qMax(m_longestGapNs, now - m_last);
            m_last = now;
        }
        ++m_calls;
        QCoreApplication::processEvents();
        if (m_hook)
            m_hook();
    }
    void startMeasuring()
    {
        m_clock.start();
        m_last = 0;
        m_longestGapNs = 0;
        m_calls = 0;
    }
    double longestGapMs() const { return m_longestGapNs / 1e6; }
    long calls() const { return m_calls; }
    void onDoEvents(std::function<void()> hook) { m_hook = std::move(hook); }

private:
    QElapsedTimer m_clock;
    qint64 m_last = 0;
    qint64 m_longestGapNs = 0;
    long m_calls = 0;
    std::function<void()> m_hook;
};

long peakResidentKb()
{
    QFile f(QStringLiteral("/proc/self/status"));
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : f.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toLong();
    return -1;
}

void writeContacts(const QString& dir, int n)
{
    QDir().mkpath(dir);
    static const char* lastNames[] = {"Müller", "Schmidt", "Schneider", "Fischer", "Weber",
                                      "Meyer",  "Wagner",  "Becker",    "Schulz",  "Hoffmann"};
    for (int i = 0; i < n; ++i) {
        const QString last = QString::fromUtf8(lastNames[i % 10]) + QString::number(i / 10);
        const QByteArray card = QStringLiteral("BEGIN:VCARD\r\nVERSION:3.0\r\nN:%1;Vorname%2;;"
                                               "Herr;\r\nFN:Vorname%2 %1\r\nORG:Firma %3 GmbH;"
                                               "Vertrieb\r\nADR;TYPE=WORK:;;Weg %2;Stadt;;%4;"
                                               "Deutschland\r\nTEL;TYPE=WORK:+49 30 %2\r\n"
                                               "END:VCARD\r\n")
                                    .arg(last)
                                    .arg(i)
                                    .arg(i % 977)
                                    .arg(10000 + i % 89999)
                                    .toUtf8();
        QFile f(dir + QStringLiteral("/k%1.vcf").arg(i, 6, 10, QLatin1Char('0')));
        if (!f.open(QIODevice::WriteOnly) || f.write(card) != card.size())
            qFatal("cannot write %s", qPrintable(f.fileName()));
    }
}

struct Run {
    double ms = 0;
    int rows = 0;
    double gapMs = 0;
    long yields = 0;
};

Run search(FrmMain* w, MeasuringUserInterface& ui, const QString& name)
{
    w->findChild<QLineEdit*>(QStringLiteral("txtOutlookFolder"))
        ->setText(QStringLiteral("Root\\Persönliche Ordner\\Kontakte"));
    w->findChild<QComboBox*>(QStringLiteral("cboSearchName"))->setEditText(name);
    QElapsedTimer t;
    ui.startMeasuring();
    t.start();
    w->findChild<QPushButton*>(QStringLiteral("cmdSearch"))->click();
    Run r;
    r.ms = t.nsecsElapsed() / 1e6;
    r.rows = w->findChild<QTreeWidget*>(QStringLiteral("lvwFound"))->topLevelItemCount();
    r.gapMs = ui.longestGapMs();
    r.yields = ui.calls();
    return r;
}

void print(const char* what, const Run& r)
{
    std::printf("%-44s %8.0f ms  %7d rows  longest gap %6.1f ms  %8ld yields\n", what, r.ms, r.rows,
                r.gapMs, r.yields);
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", (home.path() + QStringLiteral("/config")).toUtf8());
    qputenv("XDG_DATA_HOME", (home.path() + QStringLiteral("/data")).toUtf8());
    qputenv("HOME", home.path().toUtf8());
    QApplication app(argc, argv);
    const int n = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 100000;

    QElapsedTimer t;
    t.start();
    writeContacts(home.path() + QStringLiteral("/data/Zettelwerk/Persönliche Ordner/Kontakte"), n);
    std::printf("%d contacts written in %.1f s\n", n, t.elapsed() / 1000.0);

    MeasuringUserInterface ui;
    setUserInterface(&ui);
    AppGlobals g;
    MainResult started = Main(g, 0);
    FrmMain* w = started.mainWindow.get();

    qputenv("XDG_CACHE_HOME", (home.path() + QStringLiteral("/cache")).toUtf8());
    // ZW_BENCH_INDEXED_ONLY=1: only with the index (its own peak memory).
    const bool indexedOnly = !qEnvironmentVariableIsEmpty("ZW_BENCH_INDEXED_ONLY");
    for (const bool indexed : {false, true}) {
        if (indexedOnly && !indexed)
            continue;
        FolderIndexStore::setEnabled(indexed);
        std::printf("%s\n", indexed ? "with the folder index:" : "without index (today):");
        print(indexed ? "empty name, every contact (builds index)"
                      : "empty name, every contact (first read)",
              search(w, ui, QString()));
        print("empty name, every contact (again)", search(w, ui, QString()));
        print("name \"Weber4999\" (one hit)", search(w, ui, QStringLiteral("Weber4999")));
        print("name \"Müller\" (no exact hit)", search(w, ui, QStringLiteral("Müller")));
        std::printf("peak resident memory so far (VmHWM): %.1f MB\n", peakResidentKb() / 1024.0);
    }

    // An abort click 300 ms into the search: how soon does the search stop?
    QElapsedTimer sinceStart;
    qint64 clickedAt = -1;
    auto* abort = w->findChild<QPushButton*>(QStringLiteral("cmdAbort"));
    ui.onDoEvents([&] {
        if (!sinceStart.isValid() && abort->isEnabled())
            sinceStart.start();
        if (clickedAt < 0 && sinceStart.isValid() && sinceStart.elapsed() >= 300) {
            clickedAt = sinceStart.elapsed();
            abort->click();
        }
    });
    const Run aborted = search(w, ui, QString());
    ui.onDoEvents({});
    print("empty name, aborted after 300 ms", aborted);
    std::printf("abort click to idle: %.0f ms\n",
                sinceStart.isValid() ? sinceStart.elapsed() - clickedAt : -1.0);
    std::printf("peak resident memory (VmHWM): %.1f MB\n", peakResidentKb() / 1024.0);
    w->close();
    setUserInterface(nullptr);
    return 0;
}
