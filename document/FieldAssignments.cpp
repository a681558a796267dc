#include "document/FieldAssignments.h"

#include "contacts/ClsFieldsString.h"
#include "contacts/ContactFieldCatalogue.h"
#include "document/DocumentFailureCollector.h"
#include "document/FailureLog.h"
#include "document/FieldAssignmentList.h"
#include "util/ErrorRoutine.h"
#include "util/SystemNames.h"
#include "util/UserInterface.h"
#include "util/ZwError.h"

#include <optional>

namespace
{

constexpr long kNoSuchEntry = 5;
constexpr qsizetype kSuffixLength = 5;

QString source()
{
    return QStringLiteral("FieldAssignments");
}

// A token "bookmark=field" splits at its first "=" only when that stands after the first
// character; anything else is a bookmark-less, unassigned token.
bool splitPair(const QString& token, QString& name, QString& value)
{
    const qsizetype eq = token.indexOf(QLatin1Char('='));
    if (eq < 1)
        return false;
    name = token.left(eq);
    value = token.mid(eq + 1);
    return true;
}

// The bookmark pairs of an entry: everything after the template path.
QString pairsOf(const QString& entry)
{
    ClsFieldsString fields;
    fields.setSeparator(QStringLiteral("|"));
    fields.SetFieldString(entry);
    return fields.GetFieldByNumber(2, true);
}

std::optional<QString> specialFieldValue(const QString& specialFieldsString, const QString& name)
{
    ClsFieldsString fields;
    fields.setSeparator(QStringLiteral("|"));
    fields.SetFieldString(specialFieldsString);
    QString entryName, value;
    fields.GetNext2Field(true, entryName, value);
    while (!entryName.isEmpty()) {
        if (entryName == name)
            return value;
        fields.GetNext2Field(false, entryName, value);
    }
    return std::nullopt;
}

QString builtInField(const QString& name, const DateSource& today)
{
    const auto date = [&today] { return today ? today() : QDate::currentDate(); };
    if (name == QLatin1String("Datum tt.mm.jjjj"))
        return date().toString(QStringLiteral("dd.MM.yyyy"));
    if (name == QLatin1String("Datum tt.mm.jj"))
        return date().toString(QStringLiteral("dd.MM.yy"));
    if (name == QLatin1String("Computername"))
        return VuGetComputerName();
    if (name == QLatin1String("Benutzer Login-Name"))
        return VuGetLoginName();
    return QString();
}

ZwError noSuchEntry()
{
    return ZwError(kNoSuchEntry,
                   QStringLiteral("Für diese Vorlage sind keine Feldzuordnungen eingetragen."),
                   source());
}

QList<BookmarkRow> bookmarkRows(const std::function<QString()>& entryOf, bool withValues,
                                const ContactFieldResolver& item,
                                const QString& specialFieldsString, const DateSource& today)
{
    QList<BookmarkRow> rows;
    ui().setHourglass(true);
    try {
        ClsFieldsString pairs;
        pairs.setSeparator(QStringLiteral("|"));
        pairs.SetFieldString(pairsOf(entryOf()));
        QString bookmark, field;
        pairs.GetNext2Field(true, bookmark, field);
        while (!bookmark.isEmpty()) {
            rows.append({bookmark, field.isEmpty() ? QStringLiteral("-") : field, QString()});
            if (withValues)
                rows.last().value = ResolveFieldText(item, field, specialFieldsString, today);
            pairs.GetNext2Field(false, bookmark, field);
        }
    } catch (...) {
        logDocumentFailure(QStringLiteral("LoadBookmarkList"), vuErrorFromCurrentException());
    }
    ui().setHourglass(false);
    return rows;
}

} // namespace

QString ResolveFieldText(const ContactFieldResolver& item, const QString& field,
                         const QString& specialFieldsString, const DateSource& today)
{
    const QString suffix = field.right(kSuffixLength);
    const QString baseName = field.size() > kSuffixLength ? field.chopped(kSuffixLength) : field;

    int fieldType = 0;
    if (suffix == QLatin1String(" (OF)")) {
        fieldType = FieldType::Outlook;
    } else if (suffix == QLatin1String(" (ZF)")) {
        fieldType = FieldType::Composite;
    } else if (suffix == QLatin1String(" (BF)")) {
        fieldType = FieldType::UserProperty;
    } else if (suffix == QLatin1String(" (SF)")) {
        if (const std::optional<QString> value = specialFieldValue(specialFieldsString, baseName))
            return *value;
        // A special field the user deleted: an Outlook field of that name, if any; otherwise
        // nothing, so that no "UNKNOWN: " line ends up in a letter.
        if (!ContactFieldCatalogue::find(baseName)) {
            VuLog(LogLevel::Info,
                  QStringLiteral("Sonderfeld '%1' ist nicht mehr eingetragen").arg(baseName));
            return QString();
        }
        fieldType = FieldType::Outlook;
    } else if (suffix == QLatin1String(" (EF)")) {
        return builtInField(baseName, today);
    } else {
        return QString();
    }
    return item ? item(baseName, fieldType) : QString();
}

void FillWordBookmarks(const FieldAssignmentList& list, int templatePosition, ClsWord& word,
                       const WordDocument& document, const ContactFieldResolver& item,
                       const QString& specialFieldsString, const DateSource& today,
                       QList<BookmarkFailure>* failures)
{
    if (templatePosition == 0)
        return;
    ui().setHourglass(true);
    int errors = 0;
    QString bookmark;
    // The first failure is logged and the walk goes on with the next bookmark; the second ends
    // it, so that a broken contact does not flood the log with one line per bookmark.
    const auto failed = [&] {
        const ZwError cause = vuErrorFromCurrentException();
        logDocumentFailure(QStringLiteral("FillWordBookmarks: Textmarke = ") + bookmark, cause);
        return ++errors >= 2;
    };

    QString pairs;
    try {
        if (templatePosition < 1 || templatePosition > list.count())
            throw noSuchEntry();
        pairs = pairsOf(list.item(templatePosition));
    } catch (...) {
        failed();
    }

    const QStringList tokens = pairs.split(QLatin1Char('|'));
    for (qsizetype i = 0; i < tokens.size(); ++i) {
        const QString& token = tokens.at(i);
        if (token.isEmpty())
            break;
        bookmark.clear();
        QString field = QStringLiteral("-");
        splitPair(token, bookmark, field);
        DocumentFailureCollector collector;
        bool ended = false;
        try {
            const QString text = ResolveFieldText(item, field, specialFieldsString, today);
            // SetText reports its own failure only to the log, which the collector sees.
            if (!word.SetText(document, text, bookmark) && failures)
                failures->append({bookmark, field,
                                  collector.failures().isEmpty()
                                      ? ZwError(0, QString())
                                      : collector.failures().constLast().cause});
        } catch (...) {
            if (failures)
                failures->append({bookmark, field, vuErrorFromCurrentException()});
            ended = failed();
        }
        if (ended) {
            for (qsizetype rest = i + 1; failures && rest < tokens.size(); ++rest) {
                QString name, restField = QStringLiteral("-");
                if (tokens.at(rest).isEmpty())
                    break;
                if (splitPair(tokens.at(rest), name, restField) && restField != u'-')
                    failures->append(
                        {name, restField,
                         ZwError(0, QStringLiteral("nicht geschrieben, weil die Übertragung nach "
                                                   "dem zweiten Fehler endete"))});
            }
            break;
        }
        ui().doEvents();
    }

    if (document)
        word.presentDocument(document);
    ui().setHourglass(false);
}

QList<BookmarkRow> LoadBookmarkList(const FieldAssignmentList& list, const QString& templateKey,
                                    bool withValues, const ContactFieldResolver& item,
                                    const QString& specialFieldsString, const DateSource& today)
{
    if (templateKey.isEmpty())
        return {};
    return bookmarkRows(
        [&] {
            if (!list.contains(templateKey))
                throw noSuchEntry();
            return list.item(templateKey);
        },
        withValues, item, specialFieldsString, today);
}

QList<BookmarkRow> LoadBookmarkList(const FieldAssignmentList& list, int templatePosition,
                                    bool withValues, const ContactFieldResolver& item,
                                    const QString& specialFieldsString, const DateSource& today)
{
    if (templatePosition == 0)
        return {};
    return bookmarkRows(
        [&] {
            if (templatePosition < 1 || templatePosition > list.count())
                throw noSuchEntry();
            return list.item(templatePosition);
        },
        withValues, item, specialFieldsString, today);
}
