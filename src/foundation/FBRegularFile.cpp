#include "foundation/FBRegularFile.h"

#include <QFile>
#include <QSaveFile>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

bool FBRegularFile::isRegularFile(const QString &path)
{
    struct stat info;
    return !path.isEmpty() && ::stat(QFile::encodeName(path).constData(), &info) == 0
           && S_ISREG(info.st_mode);
}

bool FBRegularFile::openForReading(const QString &path, QFile *file, QString *error)
{
    const auto fail = [error](const QString &reason) {
        if (error)
            *error = reason;
        return false;
    };
    if (path.isEmpty())
        return fail(QStringLiteral("no file name"));
    // Without O_NONBLOCK, opening a FIFO waits for a writer that may never come.
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return fail(QString::fromLocal8Bit(std::strerror(errno)));
    struct stat info;
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        ::close(fd);
        return fail(QStringLiteral("not a regular file"));
    }
    // Regular files ignore O_NONBLOCK; clear it all the same for whoever reads on.
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    if (!file->open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        return fail(file->errorString());
    }
    return true;
}

bool FBRegularFile::copy(QIODevice *source, QIODevice *target, qint64 maxBytes, QString *error)
{
    const auto fail = [error](const QString &reason) {
        if (error)
            *error = reason;
        return false;
    };
    QByteArray chunk(1 << 20, Qt::Uninitialized);
    for (qint64 total = 0;;) {
        const qint64 count = source->read(chunk.data(), chunk.size());
        if (count < 0)
            return fail(source->errorString());
        if (count == 0)
            return true;
        total += count;
        if (total > maxBytes)
            return fail(QStringLiteral("larger than %1 bytes").arg(maxBytes));
        if (target->write(chunk.constData(), count) != count)
            return fail(target->errorString());
    }
}

bool FBRegularFile::copyInto(QIODevice *source, const QString &target, qint64 maxBytes,
                             QString *error)
{
    QSaveFile out(target);
    if (!out.open(QIODevice::WriteOnly)) {
        if (error)
            *error = out.errorString();
        return false;
    }
    if (!copy(source, &out, maxBytes, error))
        return false;
    if (!out.commit()) {
        if (error)
            *error = out.errorString();
        return false;
    }
    return true;
}
