#include "app/Settings.h"

#include "document/ClsWord.h"
#include "document/FieldAssignmentDefaults.h"
#include "util/AppInfo.h"
#include "util/ClsRegistry.h"
#include "util/ErrorRoutine.h"
#include "util/SystemNames.h"
#include "util/UserInterface.h"
#include "util/ZwError.h"

namespace
{

// Text to number as the settings store it: decimal digits with an optional sign and
// blanks around. Anything else is a type mismatch, a number out of range an overflow.
qint64 toNumber(const QString& text, qint64 min, qint64 max)
{
    bool ok = false;
    const qint64 value = text.trimmed().toLongLong(&ok);
    if (!ok)
        throw ZwError(13, QStringLiteral("Typen unverträglich"));
    if (value < min || value > max)
        throw ZwError(6, QStringLiteral("Überlauf"));
    return value;
}

} // namespace

AppGlobals::AppGlobals() = default;
AppGlobals::~AppGlobals() = default;

ClsWord& SharedWord(AppGlobals& g)
{
    if (!g.word) {
        g.word = std::make_unique<ClsWord>();
        g.word->setOpener(g.documentOpener);
    }
    // The folder may have been changed in the options since the last transfer.
    g.word->setOutputFolder(g.settings.OutputFolder);
    return *g.word;
}

QString firstStartMessage(const QString& loginName)
{
    return QStringLiteral("Dies ist der erste Start der Anwendung ") + AppInfo::title() +
           QStringLiteral(" für den Benutzer ") + loginName + QStringLiteral("\r\n\r\n") +
           QStringLiteral("Nach dem ersten Starten sind nur die Standardeinstellungen gesetzt.") +
           QStringLiteral("\r\n") +
           QStringLiteral("Benutzen Sie das Menü 'Extras' um eigene Einstellungen vorzunehmen.");
}

QString settingsKey(const ClsRegistry& registry)
{
    return QStringLiteral("Software\\") + registry.Company() + QLatin1Char('\\') + AppInfo::title();
}

void ReadSettings(ClsRegistry& reg, Settings& s, FieldAssignmentList& list,
                  QString& specialFieldsString)
{
    s.StartCount = qint32(toNumber(
        reg.GetOptString(QStringLiteral("StartCount"), QStringLiteral("1")), INT32_MIN, INT32_MAX));
    s.OutlookFolder = reg.GetOptString(QStringLiteral("OutlookFolder"));
    s.CheckForCurrentContactAtStartup =
        reg.GetOptBool(QStringLiteral("CheckForCurrentContactAtStartup"), false);
    s.ExitAfterFinished = reg.GetOptBool(QStringLiteral("ExitAfterFinished"), true);
    s.TitleAndNameOnSameLine = reg.GetOptBool(QStringLiteral("TitleAndNameOnSameLine"), false);
    s.AddEmptyLineBeforeCity = reg.GetOptBool(QStringLiteral("AddEmptyLineBeforeCity"), true);
    s.AddNToHerr = reg.GetOptBool(QStringLiteral("AddNToHerr"), false);
    s.AllowResize = reg.GetOptBool(QStringLiteral("AllowResize"), true);
    s.WordVersion = reg.GetOptString(QStringLiteral("WordVersion"));
    specialFieldsString = reg.GetOptString(QStringLiteral("SpecialFields"));
    const QString dotCount = reg.GetOptString(QStringLiteral("DotCount"));
    s.OutputFolder = reg.GetOptString(QStringLiteral("OutputFolder"));
    s.PublicFoldersPath = reg.GetOptString(QStringLiteral("PublicFoldersPath"));

    list.clear();
    if (!dotCount.isEmpty()) {
        const int n = int(toNumber(dotCount, INT16_MIN, INT16_MAX));
        for (int i = 1; i <= n; ++i) {
            const QString entry = reg.GetOptString(QStringLiteral("Dot%1").arg(i));
            if (!entry.isEmpty())
                list.add(entry);
        }
    } else {
        SetDefaultFieldAssignments(list, specialFieldsString);
    }
}

bool GetSettings(AppGlobals& g)
{
    bool result = false;
    vuTrap(QStringLiteral("GetSettings"), [&] {
        g.registry = std::make_unique<ClsRegistry>();
        ClsRegistry& reg = *g.registry;
        reg.setCompany(QStringLiteral("KVAR"));
        reg.setCompanyDescription(QStringLiteral("Fahlbeck"));

        bool firstRegistration = false;
        reg.RegisterApp(true, firstRegistration, firstStartMessage(VuGetLoginName()));
        reg.setKey(reg.AppKey());
        ReadSettings(reg, g.settings, g.fieldAssignmentList, g.specialFieldsString);
        ui().doEvents();
        result = true;
    });
    return result;
}

void SaveSettings(AppGlobals& g)
{
    if (!g.registry)
        return;
    ClsRegistry& reg = *g.registry;
    const Settings& s = g.settings;
    reg.setKey(reg.AppKey());
    reg.SetString(QStringLiteral("AppPath"), AppInfo::programPath());
    reg.SetString(QStringLiteral("StartCount"), QString::number(qint64(s.StartCount) + 1));
    reg.SetString(QStringLiteral("OutlookFolder"), s.OutlookFolder);
    reg.SetBool(QStringLiteral("CheckForCurrentContactAtStartup"),
                s.CheckForCurrentContactAtStartup);
    reg.SetBool(QStringLiteral("ExitAfterFinished"), s.ExitAfterFinished);
    reg.SetBool(QStringLiteral("TitleAndNameOnSameLine"), s.TitleAndNameOnSameLine);
    reg.SetBool(QStringLiteral("AddEmptyLineBeforeCity"), s.AddEmptyLineBeforeCity);
    reg.SetBool(QStringLiteral("AddNToHerr"), s.AddNToHerr);
    reg.SetBool(QStringLiteral("AllowResize"), s.AllowResize);
    reg.SetString(QStringLiteral("WordVersion"), s.WordVersion);
    reg.SetString(QStringLiteral("OutputFolder"), s.OutputFolder);
    reg.SetString(QStringLiteral("PublicFoldersPath"), s.PublicFoldersPath);

    // A stored count that is no number counts as none: the stale entries it would name
    // cannot be known.
    bool ok = false;
    int oldCount = reg.GetOptString(QStringLiteral("DotCount")).trimmed().toInt(&ok);
    if (!ok)
        oldCount = 0;
    const int n = g.fieldAssignmentList.count();
    reg.SetString(QStringLiteral("DotCount"), QString::number(n));
    for (int i = 1; i <= n; ++i)
        reg.SetString(QStringLiteral("Dot%1").arg(i), g.fieldAssignmentList.item(i));
    for (int i = n + 1; i <= oldCount; ++i)
        reg.DeleteValue(QStringLiteral("Dot%1").arg(i));

    reg.SetString(QStringLiteral("SpecialFields"), g.specialFieldsString);
}
