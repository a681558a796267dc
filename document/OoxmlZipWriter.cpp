#include "document/OoxmlZipWriter.h"

#include "document/DocumentErrors.h"
#include "util/ZwError.h"

OoxmlZipWriter::OoxmlZipWriter(int compressionLevel) : m_level(compressionLevel)
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

void OoxmlZipWriter::add(const std::string& name, zip_source_t* source, bool compress)
{
    if (!source)
        fail(name.c_str());
    const zip_int64_t index = zip_file_add(m_zip, name.c_str(), source, ZIP_FL_ENC_UTF_8);
    if (index < 0) {
        zip_source_free(source);
        fail(name.c_str());
    }
    if (compress && zip_set_file_compression(m_zip, zip_uint64_t(index), ZIP_CM_DEFLATE,
                                             zip_uint32_t(m_level)) != 0)
        fail(name.c_str());
}

void OoxmlZipWriter::addCopy(const std::string& name, zip_t* source, zip_uint64_t index)
{
    add(name, zip_source_zip(m_zip, source, index, ZIP_FL_COMPRESSED, 0, -1), false);
}

void OoxmlZipWriter::addData(const std::string& name, std::string data)
{
    m_keep.push_back(std::move(data));
    addBorrowed(name, m_keep.back());
}

void OoxmlZipWriter::addBorrowed(const std::string& name, const std::string& data)
{
    add(name, zip_source_buffer(m_zip, data.data(), data.size(), 0), true);
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
