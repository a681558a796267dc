#pragma once

#include "contacts/ContactItem.h"
#include "contacts/OlItems.h"

#include <QString>

class ClsOutlookVgContactFolder;
class CliUserInterface;

// Finds the contact of a zettelwerk-cli call: a card of a vCard file, or a hit of a last-name
// search in a folder of the Outlook session, as the wizard's search finds it. Failures throw
// CliFailure with a German message and the exit code of their kind.
class CliContactSource
{
public:
    CliContactSource(ClsOutlookVgContactFolder& folder, CliUserInterface& ui);

    // Card `number` (1-based) of the file; it must be a contact, not a group.
    ContactItem fromFile(const QString& path, int number);

    // Logs on, opens the folder and restricts its items to the last name (every item for an
    // empty name), in the folder's order.
    OlItems search(const QString& folderPath, const QString& lastName);
    // Hit `number` (1-based) of a search.
    ContactItem hit(const OlItems& hits, int number, const QString& folderPath,
                    const QString& lastName);
    // One line of the hit list: number, file-as name, last name, first name, company,
    // separated by tabs.
    static QString hitLine(long number, const OlItem& item);

private:
    ClsOutlookVgContactFolder& m_folder;
    CliUserInterface& m_ui;
};
