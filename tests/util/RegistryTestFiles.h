#pragma once

// Registry files in a test's private home, as the store, a person or another program leaves
// them, and the real file store reading them.
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestFiles.h"
#include "util/FileRegistryBackend.h"

#include <memory>

inline const QString kAppKey = QStringLiteral("Software\\KVAR\\Zettelwerk");
// The application key's section: the head of most hand-written stores.
inline const QByteArray kAppSection = "REGEDIT4\n[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk]\n";

struct RegistryFolders {
    TestEnvironment env;

    QString folder() const { return env.configHome() + QStringLiteral("/KVAR/registry"); }
    QString userFile() const { return folder() + QStringLiteral("/HKEY_CURRENT_USER.reg"); }
    QString machineFolder() const { return env.root() + QStringLiteral("/machine"); }
    QString machineFile() const
    {
        return machineFolder() + QStringLiteral("/HKEY_LOCAL_MACHINE.reg");
    }
    // A store on these folders (or another user folder) handing its reports to `reporter`.
    std::shared_ptr<FileRegistryBackend> backend(RegistryReporter reporter,
                                                 const QString& userFolder = {}) const
    {
        auto b = std::make_shared<FileRegistryBackend>(userFolder.isEmpty() ? folder() : userFolder,
                                                       machineFolder());
        b->setReporter(std::move(reporter));
        return b;
    }
};
