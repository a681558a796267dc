#include "document/OoxmlZipWriter.h"

#include "document/DocumentErrors.h"
#include "util/ZwError.h"

#include <cstring>
#include <zlib.h>

struct OoxmlZipWriter::Cursor {
    const Compressed* compressed = nullptr;
    zip_uint64_t offset = 0;
    zip_error_t error;
    Cursor() { zip_error_init(&error); }
    ~Cursor() { zip_error_fini(&error); }
};

namespace
{

// One deflate stream for the process, reset per entry (single-threaded use).
class ReusedDeflater
{
public:
    ~ReusedDeflater()
    {
        if (m_ready)
            deflateEnd(&m_stream);
    }
    bool compress(const std::string& input, int level, std::string& output)
    {
        if (!m_ready) {
            std::memset(&m_stream, 0, sizeof m_stream);
            if (deflateInit2(&m_stream, level, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) !=
                Z_OK)
                return false;
            m_ready = true;
            m_level = level;
        } else if (deflateReset(&m_stream) != Z_OK) {
            return false;
        }
        if (level != m_level) {
            if (deflateParams(&m_stream, level, Z_DEFAULT_STRATEGY) != Z_OK)
                return false;
            m_level = level;
        }
        output.resize(deflateBound(&m_stream, uLong(input.size())));
        m_stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(input.data()));
        m_stream.avail_in = uInt(input.size());
        m_stream.next_out = reinterpret_cast<Bytef*>(output.data());
        m_stream.avail_out = uInt(output.size());
        if (deflate(&m_stream, Z_FINISH) != Z_STREAM_END)
            return false;
        output.resize(m_stream.total_out);
        return true;
    }

private:
    z_stream m_stream;
    bool m_ready = false;
    int m_level = 0;
};

// A source of already deflated data; libzip writes it as it is, with the size and CRC given.
zip_int64_t deflatedSource(void* userdata, void* data, zip_uint64_t length,
                           zip_source_cmd_t command)
{
    auto* cursor = static_cast<OoxmlZipWriter::Cursor*>(userdata);
    const OoxmlZipWriter::Compressed& entry = *cursor->compressed;
    switch (command) {
    case ZIP_SOURCE_OPEN:
        cursor->offset = 0;
        return 0;
    case ZIP_SOURCE_READ: {
        const zip_uint64_t left = entry.data.size() - cursor->offset;
        const zip_uint64_t n = length < left ? length : left;
        std::memcpy(data, entry.data.data() + cursor->offset, n);
        cursor->offset += n;
        return zip_int64_t(n);
    }
    case ZIP_SOURCE_CLOSE:
    case ZIP_SOURCE_FREE:
        return 0;
    case ZIP_SOURCE_STAT: {
        auto* st = static_cast<zip_stat_t*>(data);
        zip_stat_init(st);
        st->valid = ZIP_STAT_SIZE | ZIP_STAT_COMP_SIZE | ZIP_STAT_COMP_METHOD | ZIP_STAT_CRC |
                    ZIP_STAT_ENCRYPTION_METHOD;
        st->size = entry.size;
        st->comp_size = entry.data.size();
        st->comp_method = ZIP_CM_DEFLATE;
        st->encryption_method = ZIP_EM_NONE;
        st->crc = entry.crc;
        return sizeof(zip_stat_t);
    }
    case ZIP_SOURCE_ERROR:
        return zip_error_to_data(&cursor->error, data, length);
    case ZIP_SOURCE_SUPPORTS:
        return zip_source_make_command_bitmap(ZIP_SOURCE_OPEN, ZIP_SOURCE_READ, ZIP_SOURCE_CLOSE,
                                              ZIP_SOURCE_STAT, ZIP_SOURCE_ERROR, ZIP_SOURCE_FREE,
                                              -1);
    default:
        zip_error_set(&cursor->error, ZIP_ER_OPNOTSUPP, 0);
        return -1;
    }
}

} // namespace

OoxmlZipWriter::Compressed OoxmlZipWriter::compress(const std::string& data, int level)
{
    static ReusedDeflater deflater;
    Compressed result;
    result.size = data.size();
    result.crc = std::uint32_t(
        crc32_z(crc32_z(0, nullptr, 0), reinterpret_cast<const Bytef*>(data.data()), data.size()));
    if (!deflater.compress(data, level, result.data))
        throw ZwError(DocumentError::SaveFailed,
                      QStringLiteral("Das Dokument kann nicht komprimiert werden."),
                      QStringLiteral("Zettelwerk DOCX"));
    return result;
}

OoxmlZipWriter::OoxmlZipWriter()
{
    zip_error_t error;
    zip_error_init(&error);
    m_buffer = zip_source_buffer_create(nullptr, 0, 0, &error);
    if (m_buffer) {
        zip_source_keep(m_buffer);
        m_zip = zip_open_from_source(m_buffer, ZIP_TRUNCATE, &error);
    }
    const QString detail = QString::fromUtf8(zip_error_strerror(&error));
    zip_error_fini(&error);
    if (!m_zip) {
        if (m_buffer)
            zip_source_free(m_buffer);
        m_buffer = nullptr;
        throw ZwError(
            DocumentError::SaveFailed,
            QStringLiteral("Das Dokument kann nicht zusammengestellt werden (%1).").arg(detail),
            QStringLiteral("Zettelwerk DOCX"));
    }
}

OoxmlZipWriter::~OoxmlZipWriter()
{
    if (m_zip)
        zip_discard(m_zip);
    if (m_buffer)
        zip_source_free(m_buffer);
}

void OoxmlZipWriter::fail(const char* detail)
{
    const QString reason = QString::fromUtf8(m_zip ? zip_strerror(m_zip) : detail);
    throw ZwError(DocumentError::SaveFailed,
                  QStringLiteral("Das Dokument kann nicht zusammengestellt werden (%1: %2).")
                      .arg(QString::fromUtf8(detail), reason),
                  QStringLiteral("Zettelwerk DOCX"));
}

void OoxmlZipWriter::add(const std::string& name, zip_source_t* source)
{
    if (!source)
        fail(name.c_str());
    const zip_int64_t index = zip_file_add(m_zip, name.c_str(), source, ZIP_FL_ENC_UTF_8);
    if (index < 0) {
        zip_source_free(source);
        fail(name.c_str());
    }
}

void OoxmlZipWriter::addCopy(const std::string& name, zip_t* source, zip_uint64_t index)
{
    add(name, zip_source_zip(m_zip, source, index, ZIP_FL_COMPRESSED, 0, -1));
}

void OoxmlZipWriter::addData(const std::string& name, const std::string& data, int level)
{
    m_keep.push_back(compress(data, level));
    addCompressed(name, m_keep.back());
}

void OoxmlZipWriter::addCompressed(const std::string& name, const Compressed& compressed)
{
    Cursor& cursor = m_cursors.emplace_back();
    cursor.compressed = &compressed;
    add(name, zip_source_function(m_zip, deflatedSource, &cursor));
}

QByteArray OoxmlZipWriter::finish()
{
    if (zip_close(m_zip) != 0)
        fail("zip_close");
    m_zip = nullptr;
    QByteArray bytes;
    zip_stat_t st;
    zip_stat_init(&st);
    if (zip_source_stat(m_buffer, &st) != 0 || !(st.valid & ZIP_STAT_SIZE) ||
        zip_source_open(m_buffer) != 0)
        fail("buffer");
    bytes.resize(qsizetype(st.size));
    const zip_int64_t got = zip_source_read(m_buffer, bytes.data(), st.size);
    zip_source_close(m_buffer);
    if (got != zip_int64_t(st.size))
        fail("buffer");
    zip_source_free(m_buffer);
    m_buffer = nullptr;
    return bytes;
}
