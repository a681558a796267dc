#pragma once

#include "document/ClsWord.h"
#include "util/ZwError.h"

#include <QDate>
#include <QList>
#include <QString>
#include <functional>

class FieldAssignmentList;

// Resolving assigned field names to text, filling a document's bookmarks from a template's
// assignments, and the rows of a bookmark list.
//
// An assigned field name ends in a five-character category suffix, compared exactly:
//   " (OF)" Outlook field, " (ZF)" composite field, " (BF)" user-defined form field (these
//   three come from the contact), " (SF)" special field, " (EF)" built-in field; "-" is
//   unassigned and, like any other ending, resolves to empty text.

// Field types handed to the contact's field look-up.
namespace FieldType
{
inline constexpr int Outlook = 0, Composite = 1, UserProperty = 2;
} // namespace FieldType

// The chosen contact's fields: (name without suffix, field type) -> text. The caller binds it
// to GetFieldData with the contact item and the three address options. An empty function
// means "no contact": those fields resolve to empty text. It may raise ZwError.
using ContactFieldResolver = std::function<QString(const QString& baseName, int fieldType)>;
// Today's date for the date fields; an empty function means the local clock.
using DateSource = std::function<QDate()>;

// One row of a bookmark list: bookmark name, assigned field ("-" when unassigned) and, when
// values were asked for, the resolved text.
struct BookmarkRow {
    QString bookmark;
    QString field;
    QString value;
    bool operator==(const BookmarkRow&) const = default;
};

// The text for one assigned field name. A special field not found in specialFieldsString
// (names compare case-sensitively) is looked up as an Outlook field of that name instead.
// Errors of the contact look-up and the system name look-ups pass to the caller.
QString ResolveFieldText(const ContactFieldResolver& item, const QString& field,
                         const QString& specialFieldsString, const DateSource& today = {});

// A bookmark the fill could not write, and why (German).
struct BookmarkFailure {
    QString bookmark;
    QString field;
    ZwError cause;
};

// Writes the resolved text of every bookmark of the template at templatePosition (1-based;
// 0: nothing) into the document through word.SetText, in the entry's order; the walk ends at
// the first empty pair ("||"). A failing bookmark is logged ("FillWordBookmarks: Textmarke = "
// + name) and skipped; a second failure ends the walk. Text already written stays. At the end
// the document is handed to the user through word.presentDocument (saved, and opened when the
// word processor is visible), also after the walk ended early. Never raises, never shows a box.
// With failures given, every bookmark that was not written (a failed write, a failed look-up,
// or left over when a second failure ended the walk) is added to it.
void FillWordBookmarks(const FieldAssignmentList& list, int templatePosition, ClsWord& word,
                       const WordDocument& document, const ContactFieldResolver& item,
                       const QString& specialFieldsString, const DateSource& today = {},
                       QList<BookmarkFailure>* failures = nullptr);

// The rows of a template's assignments, by key or by 1-based position; with withValues each
// row's value is resolved. An empty key or position 0 gives no rows. An unknown template or a
// failing look-up is logged ("LoadBookmarkList") and ends the list with the rows made so far.
// Never raises, never shows a box.
QList<BookmarkRow> LoadBookmarkList(const FieldAssignmentList& list, const QString& templateKey,
                                    bool withValues, const ContactFieldResolver& item,
                                    const QString& specialFieldsString,
                                    const DateSource& today = {});
QList<BookmarkRow> LoadBookmarkList(const FieldAssignmentList& list, int templatePosition,
                                    bool withValues, const ContactFieldResolver& item,
                                    const QString& specialFieldsString,
                                    const DateSource& today = {});
