#pragma once

#include "document/OoxmlLimits.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <memory>
#include <string>
#include <vector>
#include <zip.h>

// A zip package read from memory, checked on opening: it must be a zip archive within the
// limits, with entry names that stay inside the package. Entries are inflated on request
// with the size limit enforced while inflating. The archive stays open for the lifetime of
// the object, so that a writer can copy entries from it without recompressing them.
// Failures are raised as ZwError(DocumentError::BadTemplate) naming the file.
class OoxmlPackage
{
public:
    struct Entry {
        std::string name;
        zip_uint64_t index = 0;
        std::uint64_t size = 0;
    };

    OoxmlPackage(QByteArray bytes, QString displayPath, const OoxmlLimits& limits);
    ~OoxmlPackage();
    OoxmlPackage(const OoxmlPackage&) = delete;
    OoxmlPackage& operator=(const OoxmlPackage&) = delete;

    const std::vector<Entry>& entries() const { return m_entries; }
    // Part names compare without regard to ASCII case, as packages demand.
    const Entry* find(const std::string& name) const;
    std::string read(const Entry& entry) const;
    // Inflates without keeping the data: proves size and checksum of an entry copied as is.
    void verify(const Entry& entry) const;
    zip_t* archive() const { return m_zip; }
    const QString& displayPath() const { return m_displayPath; }

    // Message texts shared with the template reader.
    [[noreturn]] void fail(const QString& reason) const;

private:
    void inflate(const Entry& entry, char* target) const;

    QByteArray m_bytes;
    QString m_displayPath;
    OoxmlLimits m_limits;
    zip_t* m_zip = nullptr;
    std::vector<Entry> m_entries;
    QHash<QByteArray, std::size_t> m_byName;
};
