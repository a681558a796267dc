#include "contacts/OlFolder.h"

#include "contacts/VCardReader.h"
#include "contacts/VCardWriter.h"
#include "util/SystemErrorText.h"
#include "util/ZwError.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QTemporaryFile>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

bool statTime(const QString& dir, timespec* t)
{
    struct stat st {
    };
    if (::stat(QFile::encodeName(dir).constData(), &st) != 0)
        return false;
    *t = st.st_mtim;
    return true;
}

ZwError notFound(const QString& name, const QString& parentPath)
{
    return ZwError(
        -2147221233,
        parentPath.isEmpty()
            ? QStringLiteral("Der Ordner '%1' wurde nicht gefunden.").arg(name)
            : QStringLiteral("Der Ordner '%1' wurde in '%2' nicht gefunden.").arg(name, parentPath),
        QStringLiteral("Folders"));
}

// A file name for a new contact: its FileAs without characters a file name cannot hold.
QString baseNameFor(const ContactItem& contact)
{
    QString base = contact.value(u"FileAs").toString();
    for (QChar& c : base) {
        if (c == u'/' || c == u'\\' || c.unicode() < 0x20 || c == u':' || c == u'*' || c == u'?' ||
            c == u'"' || c == u'<' || c == u'>' || c == u'|')
            c = u'_';
    }
    base = base.trimmed();
    while (base.startsWith(u'.'))
        base.remove(0, 1);
    if (base.size() > 100)
        base.truncate(100);
    return base.isEmpty() ? QStringLiteral("Kontakt") : base;
}

// Gives the finished temporary file its final name unless that name exists.
// Returns 0, EEXIST or another errno.
int linkNoReplace(const QByteArray& from, const QByteArray& to)
{
#ifdef RENAME_NOREPLACE
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno == EEXIST)
        return EEXIST;
#endif
    // File systems without renameat2: a hard link never replaces either.
    if (::link(from.constData(), to.constData()) == 0) {
        ::unlink(from.constData());
        return 0;
    }
    return errno;
}

} // namespace

std::shared_ptr<OlFolder> OlFolder::onDisk(QString name, QString path, QString dir,
                                           bool isStoreRoot, bool readOnly)
{
    std::shared_ptr<OlFolder> f(new OlFolder);
    f->m_name = std::move(name);
    f->m_path = std::move(path);
    f->m_dir = QDir::cleanPath(dir);
    f->m_isStoreRoot = isStoreRoot;
    f->m_readOnly = readOnly;
    return f;
}

std::shared_ptr<OlFolder> OlFolder::grouping(QString name, QString path,
                                             QList<std::shared_ptr<OlFolder>> children)
{
    std::shared_ptr<OlFolder> f(new OlFolder);
    f->m_name = std::move(name);
    f->m_path = std::move(path);
    f->m_grouping = true;
    f->m_readOnly = true;
    f->m_childrenListed = true;
    f->m_children = std::move(children);
    return f;
}

bool OlFolder::isReadable() const
{
    if (m_grouping)
        return true;
    DIR* d = ::opendir(QFile::encodeName(m_dir).constData());
    if (!d)
        return false;
    errno = 0;
    ::readdir(d);
    const bool ok = errno == 0;
    ::closedir(d);
    return ok;
}

QString OlFolder::DefaultMessageClass() const
{
    static const QString note = QStringLiteral("IPM.Note");
    static const QString contact = QStringLiteral("IPM.Contact");
    if (m_grouping)
        return note;
    QFile meta(m_dir + QLatin1Char('/') + metadataFileName());
    if (meta.open(QIODevice::ReadOnly)) {
        while (!meta.atEnd()) {
            const QString line = QString::fromUtf8(meta.readLine());
            const qsizetype eq = line.indexOf(QLatin1Char('='));
            if (eq > 0 &&
                line.left(eq).trimmed().compare(u"MessageClass", Qt::CaseInsensitive) == 0) {
                const QString cls = line.mid(eq + 1).trimmed();
                if (!cls.isEmpty())
                    return cls;
            }
        }
    }
    DIR* d = ::opendir(QFile::encodeName(m_dir).constData());
    if (!d)
        return note; // an unreadable folder shows as what it cannot be shown to hold
    bool calendar = false, other = false;
    QString result;
    while (const dirent* e = ::readdir(d)) {
        const QByteArrayView name(e->d_name);
        if (name.startsWith('.') || e->d_type == DT_DIR)
            continue;
        if (VCardFolderIndex::isVCardFileName(name)) {
            result = contact;
            break;
        }
        if (name.size() > 4 &&
            name.sliced(name.size() - 4).compare(".ics", Qt::CaseInsensitive) == 0)
            calendar = true;
        else if (e->d_type != DT_DIR) {
            struct stat st {
            };
            if (e->d_type == DT_REG ||
                (fstatat(dirfd(d), e->d_name, &st, 0) == 0 && !S_ISDIR(st.st_mode)))
                other = true;
        }
    }
    ::closedir(d);
    if (!result.isEmpty())
        return result;
    if (calendar)
        return QStringLiteral("IPM.Appointment");
    if (other || m_isStoreRoot)
        return note;
    return contact;
}

QList<std::shared_ptr<OlFolder>> OlFolder::listChildren()
{
    if (m_grouping)
        return m_children;
    timespec now{};
    if (m_childrenListed && statTime(m_dir, &now) && now.tv_sec == m_childrenTime.tv_sec &&
        now.tv_nsec == m_childrenTime.tv_nsec)
        return m_children;

    DIR* d = ::opendir(QFile::encodeName(m_dir).constData());
    if (!d) {
        throw ZwError(75,
                      QStringLiteral("Der Ordner '%1' kann nicht gelesen werden (%2).")
                          .arg(m_path, VuSystemErrorText(errno)),
                      QStringLiteral("Folders"));
    }
    struct stat dst {
    };
    if (fstat(dirfd(d), &dst) == 0)
        m_childrenTime = dst.st_mtim;
    QStringList names;
    while (const dirent* e = ::readdir(d)) {
        if (e->d_name[0] == '.')
            continue;
        bool isDir = e->d_type == DT_DIR;
        if (e->d_type == DT_LNK || e->d_type == DT_UNKNOWN) {
            struct stat st {
            };
            isDir = fstatat(dirfd(d), e->d_name, &st, 0) == 0 && S_ISDIR(st.st_mode);
        }
        if (isDir)
            names.append(QFile::decodeName(e->d_name));
    }
    ::closedir(d);
    std::sort(names.begin(), names.end(), [](const QString& a, const QString& b) {
        const int c = a.compare(b, Qt::CaseInsensitive);
        return c != 0 ? c < 0 : a < b;
    });
    QList<std::shared_ptr<OlFolder>> children;
    for (const QString& name : names) {
        auto same = std::find_if(m_children.cbegin(), m_children.cend(),
                                 [&](const auto& c) { return c->m_name == name; });
        children.append(same != m_children.cend()
                            ? *same
                            : onDisk(name, m_path + QLatin1Char('\\') + name,
                                     m_dir + QLatin1Char('/') + name, false, m_readOnly));
    }
    m_children = children;
    m_childrenListed = true;
    return m_children;
}

QList<std::shared_ptr<OlFolder>> OlFolder::Folders()
{
    return listChildren();
}

std::shared_ptr<OlFolder> OlFolder::folder(const QString& name)
{
    const QList<std::shared_ptr<OlFolder>> children = listChildren();
    for (const auto& c : children) {
        if (c->m_name == name)
            return c;
    }
    for (const auto& c : children) {
        if (c->m_name.compare(name, Qt::CaseInsensitive) == 0)
            return c;
    }
    throw notFound(name, m_path);
}

OlItems OlFolder::Items()
{
    if (m_grouping)
        return OlItems();
    if (!m_index || !m_index->isCurrent())
        m_index = std::make_shared<VCardFolderIndex>(m_dir, m_path, m_problems);
    return OlItems(m_index);
}

OlItem OlFolder::addContact(ContactItem contact)
{
    if (m_readOnly || m_grouping) {
        throw ZwError(
            70,
            QStringLiteral("Zugriff verweigert: Der Ordner '%1' ist schreibgeschützt.").arg(m_path),
            QStringLiteral("AddItem"));
    }
    contact.ensureUid();
    const QByteArray bytes = VCardWriter::write(contact.card());

    auto failure = [&](const QString& reason) {
        return ZwError(
            75,
            QStringLiteral("Der Kontakt kann nicht im Ordner '%1' gespeichert werden: %2")
                .arg(m_path, reason),
            QStringLiteral("AddItem"));
    };
    QTemporaryFile temp(m_dir + QStringLiteral("/.zettelwerk-neu-XXXXXX.tmp"));
    if (!temp.open())
        throw failure(VuFileErrorText(temp));
    if (temp.write(bytes) != bytes.size() || !temp.flush() || ::fsync(temp.handle()) != 0)
        throw failure(VuFileErrorText(temp));
    temp.close();

    const QString base = baseNameFor(contact);
    for (int n = 1; n < 10000; ++n) {
        const QString name =
            n == 1 ? base + QStringLiteral(".vcf") : QStringLiteral("%1 (%2).vcf").arg(base).arg(n);
        const QString target = m_dir + QLatin1Char('/') + name;
        const int err =
            linkNoReplace(QFile::encodeName(temp.fileName()), QFile::encodeName(target));
        if (err == EEXIST)
            continue;
        if (err != 0)
            throw failure(VuSystemErrorText(err));
        temp.setAutoRemove(false);
        // The folder's listing changed; the next Items() lists it again.
        m_index.reset();
        const VCardReader::Result back = VCardReader::readFile(target);
        if (back.cards.isEmpty())
            throw failure(QStringLiteral("die geschriebene Datei ist nicht lesbar"));
        return OlItem(ContactItem(back.cards.first(), m_path + QLatin1Char('\\') + name, 0),
                      target);
    }
    throw failure(QStringLiteral("kein freier Dateiname"));
}
