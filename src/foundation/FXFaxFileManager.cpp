#include "foundation/FXFaxFileManager.h"

#include "foundation/FBApplicationHelper.h"
#include "foundation/FBUserDefaults.h"
#include "foundation/FXLogging.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <filesystem>
#include <system_error>

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

// The report folder chosen in the preferences, or the empty string when it cannot be used.
QString chosenReportFolder()
{
    QString folder;
    const FXFaxFileManager::ReportFolder stored = FXFaxFileManager::storedReportFolder(&folder);
    if (stored == FXFaxFileManager::ReportFolder::NotStored)
        return QString();
    qCInfo(lcJournal) << "bookmarkData";
    if (stored == FXFaxFileManager::ReportFolder::Unresolvable)
        return QString();
    qCInfo(lcJournal) << "bookmarkFileURL";
    const QFileInfo info(folder);
    if (info.isDir())
        return folder;
    if (info.exists() || info.isSymLink() || !createFolder(folder))
        return QString();
    return folder;
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
    return supportFile(processedFaxFileName);
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
    return supportFile(coverFileName);
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
    return supportFile(mergeFileName);
}

QUrl FXFaxFileManager::fileURLForFaxMerge()
{
    return urlFor(filePathForFaxMerge());
}

QString FXFaxFileManager::filePathForFaxAppend()
{
    return supportFile(appendFileName);
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
    return supportFile(originaleFileName);
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
    return supportFile(reportFileName);
}

QString FXFaxFileManager::writeReportFileForData(const QByteArray &data)
{
    return writeAtomically(filePathForReport(), data);
}

QString FXFaxFileManager::filePathForScanned()
{
    return supportFile(scannedFileName);
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

FXFaxFileManager::ReportFolder FXFaxFileManager::storedReportFolder(QString *folder)
{
    if (!FBUserDefaults::hasKey(kFaxReportSavePathDataKey))
        return ReportFolder::NotStored;
    const QByteArray stored = FBUserDefaults::dataForKey(kFaxReportSavePathDataKey);
    const QString path = QString::fromUtf8(stored);
    if (stored.isEmpty() || path.toUtf8() != stored || path.contains(QChar(0))
        || !QDir::isAbsolutePath(path))
        return ReportFolder::Unresolvable;
    if (folder)
        *folder = QDir::cleanPath(path);
    return ReportFolder::Resolved;
}

QString FXFaxFileManager::filePathForSendFaxFile(const QString &name)
{
    const QString plain = plainName(name);
    if (plain.isEmpty())
        return QString();
    QString folder = chosenReportFolder();
    if (folder.isEmpty()) {
        const QString support = FBApplicationHelper::applicationSupportFolder();
        if (support.isEmpty())
            return QString();
        folder = QDir(support).filePath(QStringLiteral("Documents"));
        if (!QFileInfo::exists(folder))
            createFolder(folder);
    }
    return QDir(folder).filePath(plain);
}

QUrl FXFaxFileManager::fileURLForSendFaxFile(const QString &name)
{
    return urlFor(filePathForSendFaxFile(name));
}

void FXFaxFileManager::deleteAllTempFiles()
{
    for (const QString &name : {appendFileName, coverFileName, mergeFileName, originaleFileName,
                                processedFaxFileName, reportFileName, scannedFileName})
        deleteIfDeletable(supportFile(name));
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
