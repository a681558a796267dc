#pragma once

#include <QByteArray>
#include <deque>
#include <string>
#include <zip.h>

// Builds a zip package in memory. Entries copied from another open archive keep their
// compressed bytes (no inflate, no deflate); new entries are deflated. Every source archive
// and borrowed buffer must stay alive until finish(). Failures raise ZwError(SaveFailed).
class OoxmlZipWriter
{
public:
    explicit OoxmlZipWriter(int compressionLevel = 6);
    ~OoxmlZipWriter();
    OoxmlZipWriter(const OoxmlZipWriter&) = delete;
    OoxmlZipWriter& operator=(const OoxmlZipWriter&) = delete;

    void addCopy(const std::string& name, zip_t* source, zip_uint64_t index);
    // Takes the data over.
    void addData(const std::string& name, std::string data);
    // The caller keeps data alive until finish().
    void addBorrowed(const std::string& name, const std::string& data);
    QByteArray finish();

private:
    void add(const std::string& name, zip_source_t* source, bool compress);
    [[noreturn]] void fail(const char* detail);

    zip_source_t* m_buffer = nullptr;
    zip_t* m_zip = nullptr;
    std::deque<std::string> m_keep;
    int m_level;
};
