#include "recipients/FXFolderWatcher.h"

#include "foundation/FXLogging.h"

#include <QFile>
#include <QSet>
#include <QSocketNotifier>

#include <cerrno>
#include <cstring>
#include <sys/inotify.h>
#include <unistd.h>

namespace {

constexpr uint32_t watchMask = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_MODIFY
                               | IN_CLOSE_WRITE | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF
                               | IN_ONLYDIR;

} // namespace

FXFolderWatcher::FXFolderWatcher(QObject *parent)
    : QObject(parent)
{
    m_fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_fd < 0) {
        qCWarning(lcRecipients, "Folders cannot be watched for changes: %s", std::strerror(errno));
        return;
    }
    m_notifier = new QSocketNotifier(m_fd, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &FXFolderWatcher::readEvents);
}

FXFolderWatcher::~FXFolderWatcher()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

void FXFolderWatcher::setFolders(const QStringList &folders)
{
    if (m_fd < 0)
        return;
    const QSet<QString> wanted(folders.begin(), folders.end());
    for (auto it = m_folderByWatch.begin(); it != m_folderByWatch.end();) {
        if (wanted.contains(it.value())) {
            ++it;
        } else {
            inotify_rm_watch(m_fd, it.key());
            it = m_folderByWatch.erase(it);
        }
    }
    const QSet<QString> watched(m_folderByWatch.cbegin(), m_folderByWatch.cend());
    for (const QString &folder : folders) {
        if (watched.contains(folder))
            continue;
        if (m_folderByWatch.size() >= maxFolders) {
            qCWarning(lcRecipients, "More than %d folders to watch; the rest are not followed",
                      maxFolders);
            break;
        }
        const int watch = inotify_add_watch(m_fd, QFile::encodeName(folder).constData(), watchMask);
        if (watch < 0)
            qCDebug(lcRecipients, "Folder %s cannot be watched: %s", qUtf8Printable(folder),
                    std::strerror(errno));
        else
            m_folderByWatch.insert(watch, folder);
    }
}

void FXFolderWatcher::readEvents()
{
    alignas(inotify_event) char buffer[16 * 1024];
    for (;;) {
        const ssize_t length = ::read(m_fd, buffer, sizeof buffer);
        if (length <= 0)
            return;
        for (ssize_t offset = 0; offset < length;) {
            const auto *event = reinterpret_cast<const inotify_event *>(buffer + offset);
            offset += ssize_t(sizeof(inotify_event) + event->len);
            if (event->mask & IN_Q_OVERFLOW) {
                Q_EMIT changed(QString(), QString(), true);
                continue;
            }
            const QString folder = m_folderByWatch.value(event->wd);
            if (folder.isEmpty())
                continue;
            if (event->mask & IN_IGNORED) {
                m_folderByWatch.remove(event->wd);
                Q_EMIT changed(folder, QString(), true);
                continue;
            }
            const QString name = event->len ? QFile::decodeName(event->name) : QString();
            Q_EMIT changed(folder, name, (event->mask & IN_ISDIR) || name.isEmpty());
        }
    }
}
