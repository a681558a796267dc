#include "contacts/FolderChangeWatch.h"

#include <atomic>

namespace
{
std::atomic<bool> g_disabled{false};
} // namespace

void FolderChangeWatch::disable()
{
    g_disabled = true;
}

#ifdef __linux__

#include <QHash>
#include <cerrno>
#include <mutex>
#include <sys/inotify.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace
{

// File systems whose changes made elsewhere the kernel does not see.
bool isRemote(const QByteArray& dir)
{
    struct statfs fs {
    };
    if (::statfs(dir.constData(), &fs) != 0)
        return true;
    switch (quint32(fs.f_type)) {
    case 0x6969:     // NFS
    case 0x517B:     // SMB
    case 0xFF534D42: // CIFS
    case 0xFE534D42: // SMB2
    case 0x65735546: // FUSE (sshfs, gvfs, ...)
    case 0x564C:     // NCP
    case 0x73757245: // Coda
    case 0x01021997: // 9P
    case 0x47504653: // GPFS
    case 0x00C36400: // Ceph
        return true;
    default:
        return false;
    }
}

class Watch
{
public:
    std::optional<quint64> generation(const QByteArray& dir)
    {
        const std::lock_guard lock(m_mutex);
        if (m_fd == -1) {
            m_fd = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
            if (m_fd < 0)
                m_fd = -2; // none to be had: never asked again
        }
        if (m_fd < 0)
            return std::nullopt;
        drain();
        auto known = m_wdOf.constFind(dir);
        if (known != m_wdOf.cend())
            return m_generation.value(*known);
        if (isRemote(dir))
            return std::nullopt;
        constexpr quint32 kMask = IN_MODIFY | IN_ATTRIB | IN_CLOSE_WRITE | IN_CREATE | IN_DELETE |
                                  IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF |
                                  IN_ONLYDIR;
        const int wd = ::inotify_add_watch(m_fd, dir.constData(), kMask);
        if (wd < 0)
            return std::nullopt;
        // Two paths of the same folder share one watch: both follow its changes.
        m_wdOf.insert(dir, wd);
        if (!m_generation.contains(wd))
            m_generation.insert(wd, ++m_counter);
        return m_generation.value(wd);
    }

private:
    void forget(int wd)
    {
        m_generation.remove(wd);
        for (auto it = m_wdOf.begin(); it != m_wdOf.end();) {
            if (*it == wd)
                it = m_wdOf.erase(it);
            else
                ++it;
        }
    }

    void drain()
    {
        alignas(inotify_event) char buffer[16384];
        for (;;) {
            const ssize_t n = ::read(m_fd, buffer, sizeof buffer);
            if (n <= 0) {
                if (n < 0 && errno == EINTR)
                    continue;
                return; // EAGAIN: nothing more
            }
            for (ssize_t at = 0; at < n;) {
                const auto* e = reinterpret_cast<const inotify_event*>(buffer + at);
                at += ssize_t(sizeof(inotify_event) + e->len);
                if (e->mask & IN_Q_OVERFLOW) {
                    // Events were lost: every folder counts as changed.
                    ++m_counter;
                    for (quint64& g : m_generation)
                        g = m_counter;
                } else if (e->mask & (IN_IGNORED | IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT)) {
                    // The folder itself is gone or elsewhere: watched afresh when asked again.
                    if (!(e->mask & IN_IGNORED))
                        ::inotify_rm_watch(m_fd, e->wd);
                    forget(e->wd);
                } else if (m_generation.contains(e->wd)) {
                    m_generation[e->wd] = ++m_counter;
                }
            }
        }
    }

    std::mutex m_mutex;
    int m_fd = -1;
    quint64 m_counter = 0;
    QHash<QByteArray, int> m_wdOf;
    QHash<int, quint64> m_generation;
};

} // namespace

std::optional<quint64> FolderChangeWatch::generation(const QByteArray& dir)
{
    if (g_disabled)
        return std::nullopt;
    static Watch watch;
    return watch.generation(dir);
}

#else

std::optional<quint64> FolderChangeWatch::generation(const QByteArray&)
{
    return std::nullopt;
}

#endif
