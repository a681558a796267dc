#pragma once

#include "contacts/OlFolder.h"
#include "contacts/OlStoreRoots.h"

#include <QList>
#include <memory>

// Outlook's "MAPI" namespace: the session's top-level folders (stores), available between
// Logon and Logoff.
//
// Stores, in this order:
//  - "Persönliche Ordner": roots.personal; Logon creates it and its folder "Kontakte" when
//    they are missing (a failure is logged; the store then reports it when it is walked);
//  - "Öffentliche Ordner": groups "Alle Öffentlichen Ordner" = roots.publicFolders, or
//    nothing when that is empty;
//  - "Beispielkontakte": roots.samples, read-only, listed only when the folder exists.
class OlNameSpace
{
public:
    explicit OlNameSpace(OlStoreRoots roots);

    // Logon(Profile, Password, ShowDialog, NewSession): there is no profile to choose here.
    void Logon();
    void Logoff();
    bool isLoggedOn() const { return m_loggedOn; }

    // The stores. Throws ZwError 91 when not logged on.
    QList<std::shared_ptr<OlFolder>> Folders() const;
    // Folders.Item(name), exactly first, else without regard to case. Throws ZwError when
    // there is no such store or when not logged on.
    std::shared_ptr<OlFolder> folder(const QString& name) const;

    const OlStoreRoots& roots() const { return m_roots; }

private:
    OlStoreRoots m_roots;
    bool m_loggedOn = false;
    QList<std::shared_ptr<OlFolder>> m_stores;
};
