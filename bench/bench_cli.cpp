// Measures whole zettelwerk-cli processes, start to exit, as a script calling it sees them:
// "--version" (process and Qt start, argument parsing), "--felder" (plus settings, contact
// and every field), a fill of Bsp-Brief.dotx from a vCard file, and the same fill from the
// sample store by last name. Each runs in a private HOME/XDG folder without stored settings.
// Then a last-name search with --liste in a folder of 20,000 contact files, without and with
// the folder index, and --liste of an export of 100,000 cards in one file.
// Usage: bench_cli [runs]   (default 50)
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <vector>

extern char** environ;

namespace
{

using Clock = std::chrono::steady_clock;

// One run: spawn, wait, milliseconds; negative when it failed. `cpuMs` receives the
// processor time the program used (user and system), which a loaded machine does not inflate.
double runOnce(const QByteArray& program, const QList<QByteArray>& args, double* cpuMs = nullptr)
{
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.constData()));
    for (const QByteArray& a : args)
        argv.push_back(const_cast<char*>(a.constData()));
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);

    const auto start = Clock::now();
    pid_t pid = 0;
    const int rc = posix_spawn(&pid, program.constData(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (rc != 0)
        return -1;
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    if (cpuMs) {
        *cpuMs = (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1000.0 +
                 (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1000.0;
    }
    const double ms = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? ms : -1;
}

void measure(const char* label, int runs, const QByteArray& program, const QList<QByteArray>& args)
{
    runOnce(program, args); // warm the page cache
    std::vector<double> times, cpu;
    for (int i = 0; i < runs; ++i) {
        double cpuMs = 0;
        const double ms = runOnce(program, args, &cpuMs);
        cpu.push_back(cpuMs);
        if (ms < 0) {
            std::printf("%-44s FEHLER (Exit-Code nicht 0)\n", label);
            return;
        }
        times.push_back(ms);
    }
    std::sort(times.begin(), times.end());
    std::sort(cpu.begin(), cpu.end());
    std::printf("%-44s Median %7.2f ms   Min %7.2f ms   Max %7.2f ms   CPU-Median %7.2f ms   "
                "(%d Läufe)\n",
                label, times[times.size() / 2], times.front(), times.back(), cpu[cpu.size() / 2],
                runs);
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    const int runs = argc > 1 ? std::max(1, atoi(argv[1])) : 50;
    const QString bin = QCoreApplication::applicationDirPath();
    const QByteArray program = QFile::encodeName(bin + QStringLiteral("/zettelwerk-cli"));
    if (!QFile::exists(QString::fromLocal8Bit(program))) {
        std::fprintf(stderr, "zettelwerk-cli fehlt: %s\n", program.constData());
        return 1;
    }

    QTemporaryDir home;
    QDir(home.path()).mkpath(QStringLiteral("config"));
    QDir(home.path()).mkpath(QStringLiteral("data"));
    QDir(home.path()).mkpath(QStringLiteral("out"));
    qputenv("HOME", home.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", (home.path() + QStringLiteral("/config")).toUtf8());
    qputenv("XDG_DATA_HOME", (home.path() + QStringLiteral("/data")).toUtf8());
    const QByteArray out = (home.path() + QStringLiteral("/out")).toUtf8();
    const QByteArray letter = QFile::encodeName(bin + QStringLiteral("/Bsp-Brief.dotx"));
    const QByteArray vcf =
        QFile::encodeName(bin + QStringLiteral("/Beispielkontakte/01-mueller-max.vcf"));

    measure("--version", runs, program, {"--version"});
    measure("--kontakt <vcf> --felder", runs, program, {"--kontakt", vcf, "--felder"});
    measure("--kontakt <vcf> --vorlage Bsp-Brief.dotx", runs, program,
            {"--kontakt", vcf, "--vorlage", letter, "--ausgabe", out});
    measure("--ordner Beispielkontakte --nachname Müller", runs, program,
            {"--ordner", "Root\\Beispielkontakte", "--nachname", "Müller", "--vorlage", letter,
             "--ausgabe", out});

    // Large folders in the private data folder's personal store.
    const QString store = home.path() + QStringLiteral("/data/Zettelwerk/Persönliche Ordner");
    QDir().mkpath(store + QStringLiteral("/Kontakte"));
    QDir().mkpath(store + QStringLiteral("/Export"));
    auto cardOf = [](int i) {
        static const char* const last[] = {"Müller", "Schmidt", "Schneider", "Fischer", "Weber"};
        return "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:" + QByteArray::number(i) +
               "-bench\r\nN:" + QByteArray(last[i % 5]) + QByteArray::number(i / 5 % 100) +
               ";Vorname" + QByteArray::number(i) + ";;;\r\nORG:Firma " +
               QByteArray::number(i % 977) + "\r\nADR;TYPE=WORK:;;Weg " + QByteArray::number(i) +
               ";Stadt;;10115;Deutschland\r\nEND:VCARD\r\n";
    };
    for (int i = 0; i < 20000; ++i) {
        QFile f(store + QStringLiteral("/Kontakte/k%1.vcf").arg(i, 6, 10, QLatin1Char('0')));
        if (!f.open(QIODevice::WriteOnly) || f.write(cardOf(i)) <= 0)
            return 1;
    }
    QFile all(store + QStringLiteral("/Export/alle.vcf"));
    if (!all.open(QIODevice::WriteOnly))
        return 1;
    for (int i = 0; i < 100000; ++i)
        all.write(cardOf(i));
    all.close();
    qputenv("XDG_CACHE_HOME", (home.path() + QStringLiteral("/cache")).toUtf8());
    const QList<QByteArray> search = {"--ordner", "Root\\Persönliche Ordner\\Kontakte",
                                      "--nachname", "Müller7", "--liste"};
    qputenv("ZETTELWERK_ORDNERINDEX", "0");
    measure("20.000 Dateien, --nachname --liste, ohne Index", std::max(1, runs / 5), program,
            search);
    qunsetenv("ZETTELWERK_ORDNERINDEX");
    // Files written less than two seconds before a search are read again by every search
    // (a coarse file system clock could hide a change): the index is measured on a folder
    // that has rested, as a user's has.
    std::this_thread::sleep_for(std::chrono::milliseconds(2100));
    std::printf("%-44s %7.2f ms\n", "20.000 Dateien, erster Lauf (baut den Index)",
                runOnce(program, search));
    measure("20.000 Dateien, --nachname --liste, mit Index", runs, program, search);
    measure("100.000 Karten in einer Datei, --liste", 1, program,
            {"--ordner", "Root\\Persönliche Ordner\\Export", "--liste"});
    return 0;
}
