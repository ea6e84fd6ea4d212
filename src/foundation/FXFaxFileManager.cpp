#include "foundation/FXFaxFileManager.h"

#include "foundation/FBApplicationHelper.h"
#include "foundation/FBUserDefaults.h"
#include "foundation/FXLogging.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <system_error>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

namespace {

const QString processedFaxFileName = QStringLiteral("_processedFaxFile.pdf");
const QString coverFileName = QStringLiteral("_cover.pdf");
const QString mergeFileName = QStringLiteral("_merge.pdf");
const QString appendFileName = QStringLiteral("_append.pdf");
const QString originaleFileName = QStringLiteral("_orgfile.pdf");
const QString reportFileName = QStringLiteral("_report.pdf");
const QString scannedFileName = QStringLiteral("_scanned.pdf");

QString supportFile(const QString &name)
{
    const QString folder = FBApplicationHelper::applicationSupportFolder();
    return folder.isEmpty() ? QString() : QDir(folder).filePath(name);
}

// The fixed working files live in a folder of this process's own, so that two processes (the
// application and a command, or two commands) never write each other's scratch files.
QString workingFile(const QString &name)
{
    const QString folder = FXFaxFileManager::workingFolder();
    return folder.isEmpty() ? QString() : QDir(folder).filePath(name);
}

bool isRunning(qint64 pid)
{
    return pid > 0 && (::kill(pid_t(pid), 0) == 0 || errno == EPERM);
}

QUrl urlFor(const QString &path)
{
    return path.isEmpty() ? QUrl() : QUrl::fromLocalFile(path);
}

// Written through a temporary file and a rename, so that a reader never sees half a file.
QString writeAtomically(const QString &path, const QByteArray &data)
{
    if (path.isEmpty())
        return path;
    QDir().mkpath(QFileInfo(path).path());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit())
        qCWarning(lcJournal).noquote()
            << QStringLiteral("Could not write %1: %2").arg(path, file.errorString());
    return path;
}

// Names come from the journal and the callers; none may lead out of its folder.
QString plainName(const QString &name)
{
    const QString last = QFileInfo(name).fileName();
    if (last.isEmpty() || last == QLatin1String(".") || last == QLatin1String(".."))
        return QString();
    return last;
}

// Creates a missing folder and logs the outcome the way the folder logic always has: the
// line comes after every attempt, with "(null)" when there was no error.
bool createFolder(const QString &path)
{
    std::error_code error;
    std::filesystem::create_directories(QFile::encodeName(path).toStdString(), error);
    const bool created = !error && QFileInfo(path).isDir();
    QString description = QStringLiteral("(null)");
    if (error)
        description = QString::fromLocal8Bit(error.message());
    else if (!created)
        description =
            QString::fromLocal8Bit(std::make_error_code(std::errc::not_a_directory).message());
    qCInfo(lcJournal).noquote()
        << QStringLiteral("createDirectoryAtURL returned error: %1").arg(description);
    return created;
}

// The folder a report folder's bytes name: its clean path, or the empty string when they do
// not resolve (not an absolute path in valid UTF-8).
QString resolvedReportFolder(const QByteArray &stored)
{
    const QString path = QString::fromUtf8(stored);
    if (stored.isEmpty() || path.toUtf8() != stored || path.contains(QChar(0))
        || !QDir::isAbsolutePath(path))
        return QString();
    return QDir::cleanPath(path);
}

// The chosen report folder, or the empty string when it cannot be used.
QString chosenReportFolder(const std::optional<QByteArray> &stored)
{
    if (!stored)
        return QString();
    qCInfo(lcJournal) << "bookmarkData";
    const QString folder = resolvedReportFolder(*stored);
    if (folder.isEmpty())
        return QString();
    qCInfo(lcJournal) << "bookmarkFileURL";
    const QFileInfo info(folder);
    if (info.isDir())
        return folder;
    if (info.exists() || info.isSymLink() || !createFolder(folder))
        return QString();
    return folder;
}

// The name's last component in the folder, or in the fallback "Documents" of the application
// support folder when the folder is "" (created when `create`). "" without a last component.
QString pathInReportFolder(QString folder, const QString &name, bool create)
{
    const QString plain = plainName(name);
    if (plain.isEmpty())
        return QString();
    if (folder.isEmpty()) {
        const QString support = FBApplicationHelper::applicationSupportFolder();
        if (support.isEmpty())
            return QString();
        folder = QDir(support).filePath(QStringLiteral("Documents"));
        if (create && !QFileInfo::exists(folder))
            createFolder(folder);
    }
    return QDir(folder).filePath(plain);
}

void deleteIfDeletable(const QString &path)
{
    if (path.isEmpty() || !FXFaxFileManager::isDeletableFileAtPath(path))
        return;
    QFile file(path);
    if (!file.remove())
        qCWarning(lcJournal).noquote()
            << QStringLiteral("Error removing file at path: %1").arg(file.errorString());
}

} // namespace

QString FXFaxFileManager::filePathForProcessedFaxFile()
{
    return workingFile(processedFaxFileName);
}

QUrl FXFaxFileManager::fileURLForProcessedFaxFile()
{
    return urlFor(filePathForProcessedFaxFile());
}

QString FXFaxFileManager::writeProcessedFaxFileForData(const QByteArray &data)
{
    return writeAtomically(filePathForProcessedFaxFile(), data);
}

QString FXFaxFileManager::filePathForFaxCover()
{
    return workingFile(coverFileName);
}

QUrl FXFaxFileManager::fileURLForFaxCover()
{
    return urlFor(filePathForFaxCover());
}

QString FXFaxFileManager::writeFaxCoverFileForData(const QByteArray &data)
{
    return writeAtomically(filePathForFaxCover(), data);
}

QString FXFaxFileManager::filePathForFaxMerge()
{
    return workingFile(mergeFileName);
}

QUrl FXFaxFileManager::fileURLForFaxMerge()
{
    return urlFor(filePathForFaxMerge());
}

QString FXFaxFileManager::filePathForFaxAppend()
{
    return workingFile(appendFileName);
}

QUrl FXFaxFileManager::fileURLForFaxAppend()
{
    return urlFor(filePathForFaxAppend());
}

QString FXFaxFileManager::writeFaxAppendFileForData(const QByteArray &data)
{
    return writeAtomically(filePathForFaxAppend(), data);
}

QString FXFaxFileManager::filePathForOriginale()
{
    return workingFile(originaleFileName);
}

QUrl FXFaxFileManager::fileURLForOriginale()
{
    return urlFor(filePathForOriginale());
}

QString FXFaxFileManager::writeOriginaleFileForData(const QByteArray &data)
{
    return writeAtomically(filePathForOriginale(), data);
}

QString FXFaxFileManager::filePathForReport()
{
    return workingFile(reportFileName);
}

QString FXFaxFileManager::writeReportFileForData(const QByteArray &data)
{
    return writeAtomically(filePathForReport(), data);
}

QString FXFaxFileManager::filePathForScanned()
{
    return workingFile(scannedFileName);
}

QUrl FXFaxFileManager::fileURLForScanned()
{
    return urlFor(filePathForScanned());
}

QString FXFaxFileManager::filePathForTemporarySendFaxFile(const QString &name)
{
    const QString plain = plainName(name);
    return plain.isEmpty() ? QString() : supportFile(plain);
}

QString FXFaxFileManager::temporarySendFaxFileNameForDate(const QDateTime &date,
                                                          const QString &number)
{
    return QStringLiteral("%1-%2.pdf")
        .arg(date.toString(QStringLiteral("yyyy-MM-dd_HH-mm-ss")), number);
}

QString FXFaxFileManager::workingFolder()
{
    const QString support = FBApplicationHelper::applicationSupportFolder();
    if (support.isEmpty())
        return QString();
    const QString root = QDir(support).filePath(QStringLiteral("Working"));
    const QString folder = QDir(root).filePath(QString::number(::getpid()));
    // Made again whenever it is missing: the data folder may be replaced (tests do so).
    if (!QFileInfo(folder).isDir()) {
        removeStaleWorkingFolders();
        QDir().mkpath(folder);
        QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner
                                          | QFileDevice::ExeOwner);
    }
    return folder;
}

void FXFaxFileManager::removeStaleWorkingFolders()
{
    const QString support = FBApplicationHelper::applicationSupportFolder();
    if (support.isEmpty())
        return;
    QDir root(QDir(support).filePath(QStringLiteral("Working")));
    for (const QString &entry : root.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        bool isNumber = false;
        const qint64 pid = entry.toLongLong(&isNumber);
        if (isNumber && !isRunning(pid))
            QDir(root.filePath(entry)).removeRecursively();
    }
}

FXFaxFileManager::ReportFolder FXFaxFileManager::storedReportFolder(QString *folder)
{
    if (!FBUserDefaults::hasKey(kFaxReportSavePathDataKey))
        return ReportFolder::NotStored;
    const QString resolved =
        resolvedReportFolder(FBUserDefaults::dataForKey(kFaxReportSavePathDataKey));
    if (resolved.isEmpty())
        return ReportFolder::Unresolvable;
    if (folder)
        *folder = resolved;
    return ReportFolder::Resolved;
}

QString FXFaxFileManager::claimSendFaxFileName(const QDateTime &date, const QString &number)
{
    // Deliberately more than the fixed "<date>-<number>.pdf": that name has one-second
    // resolution, and two faxes to one number in one second overwrote each other's report.
    const QString first = temporarySendFaxFileNameForDate(date, number);
    if (plainName(first).isEmpty() || supportFile(first).isEmpty())
        return first;
    QDir().mkpath(FBApplicationHelper::applicationSupportFolder());
    const QString stem = first.chopped(4);
    for (int n = 1; n <= 1000; ++n) {
        const QString name = n == 1 ? first : QStringLiteral("%1-%2.pdf").arg(stem).arg(n);
        if (QFileInfo::exists(filePathForSendFaxFile(name)))
            continue;
        const int fd = ::open(QFile::encodeName(supportFile(name)).constData(),
                              O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd >= 0) {
            ::close(fd);
            return name;
        }
        if (errno != EEXIST)
            return name;
    }
    return first;
}

QString FXFaxFileManager::filePathForSendFaxFile(const QString &name)
{
    const std::optional<QByteArray> stored =
        FBUserDefaults::hasKey(kFaxReportSavePathDataKey)
            ? std::optional(FBUserDefaults::dataForKey(kFaxReportSavePathDataKey))
            : std::nullopt;
    return reportFilePath(name, stored);
}

QString FXFaxFileManager::filePathForSendFaxFile(const QString &name,
                                                 const QByteArray &reportFolder)
{
    return reportFilePath(name,
                          reportFolder.isEmpty() ? std::nullopt : std::optional(reportFolder));
}

QString FXFaxFileManager::storedSendFaxFilePath(const QString &name, const QByteArray &reportFolder,
                                                bool *resolved)
{
    QString folder = reportFolder.isEmpty() ? QString() : resolvedReportFolder(reportFolder);
    if (resolved)
        *resolved = !folder.isEmpty();
    if (!folder.isEmpty() && !QFileInfo(folder).isDir())
        folder.clear();
    return pathInReportFolder(folder, name, false);
}

QString FXFaxFileManager::reportFilePath(const QString &name,
                                         const std::optional<QByteArray> &reportFolder)
{
    // Nothing is resolved (or logged) for a name that names no file.
    if (plainName(name).isEmpty())
        return QString();
    return pathInReportFolder(chosenReportFolder(reportFolder), name, true);
}

QUrl FXFaxFileManager::fileURLForSendFaxFile(const QString &name)
{
    return urlFor(filePathForSendFaxFile(name));
}

void FXFaxFileManager::deleteAllTempFiles()
{
    for (const QString &name : {appendFileName, coverFileName, mergeFileName, originaleFileName,
                                processedFaxFileName, reportFileName, scannedFileName})
        deleteIfDeletable(workingFile(name));
}

void FXFaxFileManager::deleteFaxCoverFile()
{
    deleteIfDeletable(filePathForFaxCover());
}

bool FXFaxFileManager::isDeletableFileAtPath(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink())
        return false;
    const QByteArray folder = QFile::encodeName(info.absolutePath());
    if (::access(folder.constData(), W_OK | X_OK) != 0)
        return false;
    // The permission bits, not access(): the superuser may write anything, yet a file marked
    // read-only is meant to stay.
    return info.isSymLink() || (info.permissions() & QFileDevice::WriteOwner);
}
