#include "sending/FXConnectionClaim.h"

#include "foundation/FBApplicationHelper.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

QString claimFile(const Connection &connection)
{
    const QString support = FBApplicationHelper::applicationSupportFolder();
    if (support.isEmpty() || connection.isNull() || connection.objectID() == 0)
        return QString();
    return QDir(support).filePath(
        QStringLiteral("Claims/connection-%1.lock").arg(connection.objectID()));
}

int openClaimFile(const QString &path)
{
    QDir().mkpath(QFileInfo(path).path());
    return ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
}

} // namespace

bool FXConnectionClaim::claim(const Connection &connection)
{
    release();
    const QString path = claimFile(connection);
    if (path.isEmpty())
        return false;
    const int fd = openClaimFile(path);
    if (fd < 0)
        return false;
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd);
        return false;
    }
    m_fd = fd;
    m_path = path;
    return true;
}

void FXConnectionClaim::release()
{
    if (m_fd >= 0) {
        // Removed while still locked, so that nobody locks a file that is about to go.
        QFile::remove(m_path);
        ::close(m_fd);
        m_fd = -1;
    }
}

bool FXConnectionClaim::isClaimed(const Connection &connection)
{
    const QString path = claimFile(connection);
    if (path.isEmpty() || !QFileInfo::exists(path))
        return false;
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    // Locks of one process through another open file conflict as well: a job's claim holds
    // against the poller of its own process too.
    const bool claimed = ::flock(fd, LOCK_SH | LOCK_NB) != 0;
    ::close(fd);
    return claimed;
}
