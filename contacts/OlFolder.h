#pragma once

#include "contacts/ContactItem.h"
#include "contacts/ContactUserProperty.h"
#include "contacts/OlFolderRemote.h"
#include "contacts/OlItems.h"
#include "contacts/VCardFolderIndex.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <ctime>
#include <functional>
#include <memory>

// One folder of the Outlook session (Outlook's MAPIFolder): a folder on disk whose
// sub-folders are Outlook folders and whose vCard files are its items; or a folder that
// only groups others ("Öffentliche Ordner").
//
// DefaultMessageClass:
//  - the MessageClass= line of a ".zettelwerk-folder" file in the folder, when there is one;
//  - else "IPM.Contact" when the folder holds a vCard file, "IPM.Appointment" when it holds
//    calendar files (.ics), "IPM.Note" when it holds other files;
//  - an empty folder is a new contact folder ("IPM.Contact"), except a store's top folder,
//    which is "IPM.Note" as in Outlook.
//
// Sub-folders are listed when first asked for, sorted by name, and listed again only when
// the directory changed; a folder object stays the same for the same name. Names compare as
// Outlook does: exactly first, else without regard to case.
//
// Folder objects are shared (std::shared_ptr); an item collection keeps what it needs alive.
class OlFolder : public std::enable_shared_from_this<OlFolder>
{
public:
    // A folder on disk. `path` is its logical path without "Root\" ("Persönliche
    // Ordner\Kontakte").
    static std::shared_ptr<OlFolder> onDisk(QString name, QString path, QString dir,
                                            bool isStoreRoot, bool readOnly);
    // A folder without items that holds the given folders.
    static std::shared_ptr<OlFolder> grouping(QString name, QString path,
                                              QList<std::shared_ptr<OlFolder>> children);
    // A folder without items whose folders are asked for each time they are listed (the
    // address books of a server). The lister throws ZwError when it has none to give.
    using Lister = std::function<QList<std::shared_ptr<OlFolder>>()>;
    static std::shared_ptr<OlFolder> grouping(QString name, QString path, Lister lister);

    // A folder on disk that is the local copy of a server's folder: Items() first lets the
    // remote bring the files up to date, and addContact() goes to the server.
    void setRemote(std::shared_ptr<OlFolderRemote> remote) { m_remote = std::move(remote); }
    const std::shared_ptr<OlFolderRemote>& remote() const { return m_remote; }
    // Empty, or the German note that the data shown may be old (see OlFolderRemote).
    QString staleNote() const { return m_remote ? m_remote->staleNote() : QString(); }

    const QString& Name() const { return m_name; }
    // Outlook's form: "\\Persönliche Ordner\Kontakte".
    QString FolderPath() const { return QStringLiteral("\\\\") + m_path; }
    // The system's form: "Persönliche Ordner\Kontakte".
    const QString& path() const { return m_path; }
    QString DefaultMessageClass() const;

    // The sub-folders. Throws ZwError 75 when the folder cannot be listed.
    QList<std::shared_ptr<OlFolder>> Folders();
    // Folders.Item(name). Throws ZwError (-2147221233, "... wurde nicht gefunden") when there
    // is no such folder.
    std::shared_ptr<OlFolder> folder(const QString& name);

    // The items (a fresh listing when the directory changed since the last call). Throws
    // ZwError 75 when the folder cannot be read.
    OlItems Items();

    // The folder on disk ("" for a grouping folder).
    const QString& diskPath() const { return m_dir; }
    bool isReadOnly() const { return m_readOnly; }
    // True when the folder can be listed (a grouping folder always can).
    bool isReadable() const;

    // Problems met while reading this folder's files: one German sentence per unreadable
    // file or malformed card ("Datei 'x.vcf' im Ordner 'Persönliche Ordner\Kontakte': Der
    // Kontakt ab Zeile 12 endet nicht mit END:VCARD ..."). Each is also logged once. The
    // wizard can show them after a search; the cards concerned are not items.
    QStringList problems() const { return m_problems->texts; }

    // Writes the contact as a new vCard file into this folder and returns it as read back.
    // The file is written to a hidden temporary name and then given its final name, which
    // must not exist yet: an existing file is never replaced ("Name (2).vcf" is taken then).
    // The card gets a UID first, so its EntryID is stable. Throws ZwError (70 read-only store,
    // 75 write failure).
    OlItem addContact(ContactItem contact);

    // Name of the metadata file that states a folder's class.
    static QString metadataFileName() { return QStringLiteral(".zettelwerk-folder"); }

private:
    OlFolder() = default;
    QList<std::shared_ptr<OlFolder>> listChildren();

    QString m_name;
    QString m_path;
    QString m_dir;
    bool m_isStoreRoot = false;
    bool m_readOnly = false;
    bool m_grouping = false;
    bool m_childrenListed = false;
    timespec m_childrenTime{};
    QList<std::shared_ptr<OlFolder>> m_children;
    std::shared_ptr<VCardFolderIndex> m_index;
    Lister m_lister;
    std::shared_ptr<OlFolderRemote> m_remote;
    std::shared_ptr<VCardFolderIndex::Problems> m_problems =
        std::make_shared<VCardFolderIndex::Problems>();
};
