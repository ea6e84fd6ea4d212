#include "app/FBSpoolWatcher.h"

#include "app/FBFaxDocumentTarget.h"
#include "backend/FaxolinoSpool.h"
#include "foundation/FXLogging.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int defaultPollInterval = 5000;

} // namespace

QString FBSpoolWatcher::spoolRoot()
{
    return QFile::decodeName(faxolinoSpoolRoot());
}

QString FBSpoolWatcher::userSpoolFolder(uint uid)
{
    return spoolRoot() + QLatin1Char('/') + QString::number(uid);
}

uint FBSpoolWatcher::currentUser()
{
    return ::getuid();
}

FBSpoolWatcher::FBSpoolWatcher(const QString &folder, uint owner, QObject *parent)
    : QObject(parent)
    , m_folder(folder)
    , m_owner(owner)
{
    m_poll.setInterval(defaultPollInterval);
    connect(&m_poll, &QTimer::timeout, this, &FBSpoolWatcher::checkFolder);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, [this] {
        if (folderIsUsable())
            scan();
        else
            checkFolder();
    });
}

void FBSpoolWatcher::start()
{
    checkFolder();
}

// The backend creates the folder for its user; anything else there (a link, a folder of
// someone else) is left alone.
bool FBSpoolWatcher::folderIsUsable() const
{
    struct stat info;
    const QByteArray path = QFile::encodeName(m_folder);
    return ::lstat(path.constData(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == m_owner;
}

void FBSpoolWatcher::checkFolder()
{
    if (!folderIsUsable()) {
        if (isWatching())
            m_watcher.removePath(m_folder);
        if (!m_reportedUnusable && QFileInfo::exists(m_folder)) {
            qCWarning(lcApp, "The spool folder %s does not belong to this user; it is not read",
                      qUtf8Printable(m_folder));
            m_reportedUnusable = true;
        }
        m_poll.start();
        return;
    }
    m_poll.stop();
    m_reportedUnusable = false;
    if (!isWatching() && !m_watcher.addPath(m_folder)) {
        qCWarning(lcApp, "The spool folder %s cannot be watched", qUtf8Printable(m_folder));
        m_poll.start();
    }
    scan();
}

QStringList FBSpoolWatcher::pendingDocuments() const
{
    // Hidden names are documents the backend is still writing.
    const QFileInfoList entries =
        QDir(m_folder).entryInfoList({QStringLiteral("*.pdf")}, QDir::Files);
    QFileInfoList documents;
    for (const QFileInfo &entry : entries) {
        if (!entry.isSymLink() && entry.isFile() && entry.ownerId() == m_owner)
            documents.append(entry);
    }
    std::sort(documents.begin(), documents.end(), [](const QFileInfo &a, const QFileInfo &b) {
        const QDateTime aTime = a.lastModified();
        const QDateTime bTime = b.lastModified();
        return aTime != bTime ? aTime < bTime : a.fileName() < b.fileName();
    });
    QStringList paths;
    for (const QFileInfo &document : documents)
        paths.append(document.absoluteFilePath());
    return paths;
}

void FBSpoolWatcher::scan()
{
    if (!m_target)
        return;
    // The controller may run a nested event loop (an alert) while it takes a document over.
    if (m_scanning) {
        m_rescan = true;
        return;
    }
    m_scanning = true;
    do {
        m_rescan = false;
        const QStringList pending = pendingDocuments();
        // A name that has gone may come back with a new document.
        m_takenOver.intersect(QSet<QString>(pending.cbegin(), pending.cend()));
        for (const QString &path : pending) {
            if (m_takenOver.contains(path))
                continue;
            m_target->newFaxForFile(path, QString());
            Q_EMIT documentTakenOver(path);
            if (!QFile::remove(path)) {
                qCWarning(lcApp, "Error removing file at path: %s", qUtf8Printable(path));
                m_takenOver.insert(path);
            }
        }
    } while (m_rescan);
    m_scanning = false;
}
