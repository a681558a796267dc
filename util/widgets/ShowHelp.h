#pragma once

#include <QString>
#include <functional>

// Opening the help file in the right viewer.
//
// HTML help files (".html", ".htm") open in the program's own help window; a context
// number is the name of an anchor in the page (1001 -> "#1001"). A ".chm" file (any case)
// opens there too, through the HTML page of the same name beside it (Handbuch.chm ->
// Handbuch.html or Handbuch.htm), since a compiled Windows help file cannot be shown here;
// without such a page, and for any other extension, the file goes to the desktop's default
// application, which knows no context numbers.

// Help commands.
namespace HelpCommand
{
inline constexpr int Contents = 0;
inline constexpr int Context = 2;
} // namespace HelpCommand

// Context numbers of the program's help page (anchor names in Zettelwerk.html).
namespace HelpContext
{
inline constexpr long Contents = 1000;
inline constexpr long Recipient = 1001;        // step 1 "Empfänger"
inline constexpr long Template = 1002;         // step 2 "Briefformat"
inline constexpr long Options = 1003;          // step 3 "Weitere Optionen"
inline constexpr long Finish = 1004;           // "Fertigstellen"
inline constexpr long FieldAssignments = 1005; // field assignment dialog
inline constexpr long Settings = 1006;         // options dialog and special fields
} // namespace HelpContext

// Shows the help file: command 2 opens the topic with the context number, any other
// command the contents. An empty path or a file that cannot be read is refused with a box.
void VuShowHelp(int command, const QString& helpFile, long contextId);
// Shows the contents of the program's help file (vuHelpFile()).
void VuShowHelpContents();

// The program's help file. A bare file name is looked up beside the program. Until one is
// set: the product name + ".html" beside the program.
void vuSetHelpFile(const QString& fileName);
QString vuHelpFile();

// Opens a file with the desktop's default application; true when that was started.
using HelpOpener = std::function<bool(const QString& file)>;
// Replaces the opener (tests record instead of opening); an empty one restores the desktop's.
void vuSetHelpOpener(HelpOpener opener);
