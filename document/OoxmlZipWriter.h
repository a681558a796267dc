#pragma once

#include <QByteArray>
#include <cstdint>
#include <deque>
#include <string>
#include <zip.h>

// Builds a zip package in memory. Entries copied from another open archive keep their
// compressed bytes (no inflate, no deflate). New entries are deflated here with one reused
// deflate stream and handed to libzip as already compressed: setting up a fresh stream per
// entry, as libzip does, costs more than deflating a letter, and content that is the same
// for every document (a template's content types) is compressed once and added many times.
// Every source archive and borrowed buffer must stay alive until finish().
// Failures raise ZwError(SaveFailed).
class OoxmlZipWriter
{
public:
    // Raw deflate data with what the zip directory needs about it.
    struct Compressed {
        std::string data;
        std::uint64_t size = 0;
        std::uint32_t crc = 0;
    };
    static Compressed compress(const std::string& data, int level);

    OoxmlZipWriter();
    ~OoxmlZipWriter();
    OoxmlZipWriter(const OoxmlZipWriter&) = delete;
    OoxmlZipWriter& operator=(const OoxmlZipWriter&) = delete;

    void addCopy(const std::string& name, zip_t* source, zip_uint64_t index);
    void addData(const std::string& name, const std::string& data, int level = 6);
    // The caller keeps compressed alive until finish().
    void addCompressed(const std::string& name, const Compressed& compressed);
    QByteArray finish();

    struct Cursor;

private:
    void add(const std::string& name, zip_source_t* source);
    [[noreturn]] void fail(const char* detail);

    zip_source_t* m_buffer = nullptr;
    zip_t* m_zip = nullptr;
    std::deque<Compressed> m_keep;
    std::deque<Cursor> m_cursors;
};
