#pragma once

#include "contacts/ContactItem.h"
#include "contacts/OlItem.h"

#include <QString>

// The server behind a folder whose files are a local copy (a CardDAV address book). The
// folder stays an ordinary folder of vCard files; this brings those files up to date and
// takes new contacts to the server first.
class OlFolderRemote
{
public:
    virtual ~OlFolderRemote() = default;

    // Brings the folder's files up to date when the server answers in time; otherwise
    // leaves them as they are and says so in staleNote(). Never throws.
    virtual void refresh() = 0;
    // Empty, or a German sentence saying that the folder's data may be old, and why.
    virtual QString staleNote() const = 0;
    // Stores a new contact on the server (never over an existing card) and then in the
    // folder; returns it as read back from the folder. Throws ZwError with a German text when
    // the server refuses; the contact is then kept locally and the text says where.
    virtual OlItem addContact(ContactItem contact, const QString& folderPath) = 0;
};
