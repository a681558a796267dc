#pragma once

#include "contacts/CardDavSettings.h"

#include <QString>
#include <optional>

// Where CardDAV logins are kept: the desktop's secret store (qtkeychain) when there is one,
// else only in memory for this session. Never in the settings.
class CardDavSecretStore
{
public:
    explicit CardDavSecretStore(bool useKeychain) : m_useKeychain(useKeychain) {}

    std::optional<CardDavLogin> read(const QString& key) const;
    void write(const QString& key, const CardDavLogin& login) const;
    void remove(const QString& key) const;

    // True when this build can reach a secret store at all.
    static bool keychainBuiltIn();

private:
    bool m_useKeychain;
};
