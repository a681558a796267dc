#include "document/OoxmlPackage.h"

#include "document/DocumentErrors.h"
#include "util/ZwError.h"

#include <QDir>
#include <cstring>

namespace
{

QString productSource()
{
    return QStringLiteral("Zettelwerk DOCX");
}

// An entry name that could climb out of a folder when extracted: "..", absolute, drive.
bool isUnsafeName(const char* name)
{
    const std::size_t length = std::strlen(name);
    if (length == 0 || name[0] == '/' || name[0] == '\\')
        return true;
    if (length >= 2 && name[1] == ':')
        return true;
    const QByteArray normalized = QByteArray(name, qsizetype(length)).replace('\\', '/');
    for (const QByteArray& segment : normalized.split('/')) {
        if (segment == "..")
            return true;
    }
    return false;
}

bool isOleCompoundFile(const QByteArray& bytes)
{
    static const char signature[] = {'\xD0', '\xCF', '\x11', '\xE0',
                                     '\xA1', '\xB1', '\x1A', '\xE1'};
    return bytes.size() >= 8 && std::memcmp(bytes.constData(), signature, 8) == 0;
}

// An encrypted Office Open XML file is an OLE compound file holding a stream of this name.
bool holdsEncryptedPackage(const QByteArray& bytes)
{
    const QString name = QStringLiteral("EncryptedPackage");
    const QByteArray utf16(reinterpret_cast<const char*>(name.utf16()), name.size() * 2);
    return bytes.contains(utf16);
}

} // namespace

OoxmlPackage::OoxmlPackage(QByteArray bytes, QString displayPath, const OoxmlLimits& limits)
    : m_bytes(std::move(bytes)), m_displayPath(std::move(displayPath)), m_limits(limits)
{
    const QString shown = QDir::toNativeSeparators(m_displayPath);
    if (isOleCompoundFile(m_bytes)) {
        if (holdsEncryptedPackage(m_bytes))
            throw ZwError(
                DocumentError::BadTemplate,
                QStringLiteral("Die Dokumentvorlage \"%1\" ist verschlüsselt (mit Kennwort "
                               "geschützt) und kann nicht geöffnet werden.")
                    .arg(shown),
                productSource());
        throw ZwError(
            DocumentError::BadTemplate,
            QStringLiteral("Die Dokumentvorlage \"%1\" liegt im älteren Word-Format (*.dot, "
                           "*.doc) vor, das nur mit LibreOffice Writer verarbeitet werden "
                           "kann.")
                .arg(shown),
            productSource());
    }

    if (!m_bytes.startsWith("PK"))
        throw ZwError(DocumentError::BadTemplate,
                      QStringLiteral("Die Datei \"%1\" ist keine Word-Dokumentvorlage im "
                                     "Office-Open-XML-Format (*.dotx, *.dotm, *.docx).")
                          .arg(shown),
                      productSource());

    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* source =
        zip_source_buffer_create(m_bytes.constData(), zip_uint64_t(m_bytes.size()), 0, &error);
    if (source)
        m_zip = zip_open_from_source(source, ZIP_RDONLY, &error);
    if (!m_zip) {
        const int code = zip_error_code_zip(&error);
        if (source)
            zip_source_free(source);
        zip_error_fini(&error);
        if (code == ZIP_ER_NOZIP)
            throw ZwError(DocumentError::BadTemplate,
                          QStringLiteral("Die Datei \"%1\" ist keine Word-Dokumentvorlage im "
                                         "Office-Open-XML-Format (*.dotx, *.dotm, *.docx).")
                              .arg(shown),
                          productSource());
        fail(QStringLiteral("Das ZIP-Archiv ist unvollständig oder fehlerhaft."));
    }
    zip_error_fini(&error);

    const zip_int64_t count = zip_get_num_entries(m_zip, 0);
    if (count < 0 || std::uint64_t(count) > m_limits.maxEntries) {
        zip_discard(m_zip);
        m_zip = nullptr;
        throw ZwError(DocumentError::BadTemplate,
                      QStringLiteral("Die Dokumentvorlage \"%1\" enthält zu viele Einträge (%2, "
                                     "höchstens %3).")
                          .arg(shown)
                          .arg(count)
                          .arg(m_limits.maxEntries),
                      productSource());
    }
    try {
        std::uint64_t total = 0;
        m_entries.reserve(std::size_t(count));
        for (zip_int64_t i = 0; i < count; ++i) {
            zip_stat_t st;
            zip_stat_init(&st);
            if (zip_stat_index(m_zip, zip_uint64_t(i), ZIP_FL_ENC_GUESS, &st) != 0 || !st.name)
                fail(QStringLiteral("Das ZIP-Archiv ist unvollständig oder fehlerhaft."));
            if (isUnsafeName(st.name))
                fail(QStringLiteral("Der Eintrag \"%1\" hat einen unzulässigen Namen.")
                         .arg(QString::fromUtf8(st.name)));
            if ((st.valid & ZIP_STAT_ENCRYPTION_METHOD) && st.encryption_method != ZIP_EM_NONE)
                fail(QStringLiteral("Der Eintrag \"%1\" ist verschlüsselt.")
                         .arg(QString::fromUtf8(st.name)));
            if (st.size > m_limits.maxEntryBytes)
                fail(QStringLiteral("Der Eintrag \"%1\" wäre entpackt größer als %2 MB.")
                         .arg(QString::fromUtf8(st.name))
                         .arg(m_limits.maxEntryBytes >> 20));
            total += st.size;
            if (total > m_limits.maxTotalBytes)
                fail(QStringLiteral("Die Einträge wären entpackt zusammen größer als %1 MB.")
                         .arg(m_limits.maxTotalBytes >> 20));
            Entry entry;
            entry.name = st.name;
            entry.index = zip_uint64_t(i);
            entry.size = st.size;
            m_byName.insert(QByteArray::fromStdString(entry.name).toLower(), m_entries.size());
            m_entries.push_back(std::move(entry));
        }
    } catch (...) {
        zip_discard(m_zip);
        m_zip = nullptr;
        throw;
    }
}

OoxmlPackage::~OoxmlPackage()
{
    if (m_zip)
        zip_discard(m_zip);
}

const OoxmlPackage::Entry* OoxmlPackage::find(const std::string& name) const
{
    const auto it = m_byName.constFind(QByteArray::fromStdString(name).toLower());
    return it == m_byName.constEnd() ? nullptr : &m_entries[*it];
}

std::string OoxmlPackage::read(const Entry& entry) const
{
    std::string data;
    data.resize(std::size_t(entry.size));
    inflate(entry, data.data());
    return data;
}

void OoxmlPackage::verify(const Entry& entry) const
{
    inflate(entry, nullptr);
}

void OoxmlPackage::inflate(const Entry& entry, char* target) const
{
    const QString name = QString::fromStdString(entry.name);
    zip_file_t* file = zip_fopen_index(m_zip, entry.index, 0);
    if (!file)
        fail(QStringLiteral("Der Eintrag \"%1\" lässt sich nicht entpacken.").arg(name));
    std::uint64_t filled = 0;
    char scratch[16384];
    // Never trust the declared size: stop as soon as the data outgrows it. Reading checks the
    // CRC at the end as well.
    for (;;) {
        const bool keep = target && filled < entry.size;
        char* at = keep ? target + filled : scratch;
        const zip_uint64_t room = keep ? entry.size - filled : sizeof scratch;
        const zip_int64_t got = zip_fread(file, at, room);
        if (got < 0) {
            zip_fclose(file);
            fail(QStringLiteral("Der Eintrag \"%1\" lässt sich nicht entpacken.").arg(name));
        }
        if (got == 0)
            break;
        filled += std::uint64_t(got);
        if (filled > entry.size || filled > m_limits.maxEntryBytes) {
            zip_fclose(file);
            fail(QStringLiteral("Der Eintrag \"%1\" ist entpackt größer als angegeben.").arg(name));
        }
    }
    zip_fclose(file);
    if (filled != entry.size)
        fail(QStringLiteral("Der Eintrag \"%1\" ist unvollständig.").arg(name));
}

void OoxmlPackage::fail(const QString& reason) const
{
    throw ZwError(DocumentError::BadTemplate,
                  QStringLiteral("Die Dokumentvorlage \"%1\" ist beschädigt oder unzulässig: %2")
                      .arg(QDir::toNativeSeparators(m_displayPath), reason),
                  productSource());
}
