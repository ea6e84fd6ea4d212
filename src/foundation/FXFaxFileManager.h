#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QUrl>

#include <optional>

// Names every working file of the send workflow and keeps the working folder clean. The
// working files have fixed names beginning with an underscore, so at most one of each kind
// exists at a time in a process. Deliberately, they lie in a working folder of the process's
// own below the application support folder, not in that folder itself: the application, the
// poller of a command and a second command each wrote the others' merge and report files,
// losing and mixing up reports. The support folder keeps the journal and the per-fax copies.
// Callers use it from the main thread (the processed fax file and the merge file are the
// process's shared scratch files).
class FXFaxFileManager
{
public:
    // "Working/<pid>" in the application support folder, made (mode 0700) when missing; the
    // folders of processes that have ended are removed then.
    static QString workingFolder();
    static void removeStaleWorkingFolders();

    // The document as it will be transmitted: "_processedFaxFile.pdf".
    static QString filePathForProcessedFaxFile();
    static QUrl fileURLForProcessedFaxFile();
    static QString writeProcessedFaxFileForData(const QByteArray &data);

    // The composed cover sheet page: "_cover.pdf".
    static QString filePathForFaxCover();
    static QUrl fileURLForFaxCover();
    static QString writeFaxCoverFileForData(const QByteArray &data);

    // The output of combining documents, adding the cover sheet and removing pages:
    // "_merge.pdf". Written by the PDF assembly itself.
    static QString filePathForFaxMerge();
    static QUrl fileURLForFaxMerge();

    // A document the user adds to the current one: "_append.pdf".
    static QString filePathForFaxAppend();
    static QUrl fileURLForFaxAppend();
    static QString writeFaxAppendFileForData(const QByteArray &data);

    // The user's document as opened or printed, after page moves: "_orgfile.pdf".
    static QString filePathForOriginale();
    static QUrl fileURLForOriginale();
    static QString writeOriginaleFileForData(const QByteArray &data);

    // The rendered transmission report before it is copied out: "_report.pdf".
    static QString filePathForReport();
    static QString writeReportFileForData(const QByteArray &data);

    // A scanned document: "_scanned.pdf".
    static QString filePathForScanned();
    static QUrl fileURLForScanned();

    // The copy of a transmitted document, kept in the application support folder under the
    // name stored in Fax::file(); the clean-up leaves these alone. Only the name's last path
    // component is used; a name without one ("", ".", "..") gives the empty string.
    static QString filePathForTemporarySendFaxFile(const QString &name);

    // The name of that copy: the date as "yyyy-MM-dd_HH-mm-ss", "-", the number, ".pdf"; for
    // example "2024-03-01_14-05-09-+49301234567.pdf".
    static QString temporarySendFaxFileNameForDate(const QDateTime &date, const QString &number);

    // A name for a new fax's copy and report that no other fax has: the name above, or with
    // "-2", "-3" ... before ".pdf" when a copy or a report of that name exists already (two
    // faxes to one number in one second). The copy is created empty at once, so that another
    // process choosing in the same second takes the next name.
    static QString claimSendFaxFileName(const QDateTime &date, const QString &number);

    // What "faxReportSavePathData" holds. The folder is kept as its path in UTF-8 bytes; a
    // value that is not an absolute path in valid UTF-8 (an empty one too) cannot be
    // resolved, the way a stale bookmark cannot. Deliberately, a folder deleted since still
    // resolves, for the page assembly too: the report path below creates it again.
    enum class ReportFolder { NotStored, Unresolvable, Resolved };
    // For Resolved, `folder` receives the folder's clean path; it may no longer exist.
    static ReportFolder storedReportFolder(QString *folder = nullptr);

    // A file in the user's report folder: the folder stored in "faxReportSavePathData",
    // created again when it was removed. Without a usable value (none,
    // not an absolute path, a file in the folder's place, a folder that cannot be created)
    // the folder "Documents" in the application support folder serves instead. Logs
    // "bookmarkData", "bookmarkFileURL" and "createDirectoryAtURL returned error: %1" along
    // the way. The name is reduced to its last path component as above.
    static QString filePathForSendFaxFile(const QString &name);
    static QUrl fileURLForSendFaxFile(const QString &name);
    // The same for the report folder a fax record keeps (Fax::fileURL(), the setting's bytes
    // when it was sent), so that changing the setting leaves older reports where they are.
    static QString filePathForSendFaxFile(const QString &name, const QByteArray &reportFolder);
    // Where the line above put a report: looked up without creating a folder or logging, for
    // readers of stored reports. "" for a name without a last path component. `resolved`
    // tells whether the folder is the kept one rather than the fallback.
    static QString storedSendFaxFilePath(const QString &name, const QByteArray &reportFolder,
                                         bool *resolved = nullptr);

    // Removes the fixed working files in the order "_append.pdf", "_cover.pdf", "_merge.pdf",
    // "_orgfile.pdf", "_processedFaxFile.pdf", "_report.pdf", "_scanned.pdf". A file that is
    // not deletable (see isDeletableFileAtPath) stays silently; a removal that fails is logged
    // as "Error removing file at path: <reason>" and the next file follows.
    static void deleteAllTempFiles();
    // The same for "_cover.pdf" alone.
    static void deleteFaxCoverFile();

    // Whether the clean-up may remove the file: something is there, its folder is writable,
    // and the file is not marked read-only (a file the user locked that way stays, also for
    // the superuser).
    static bool isDeletableFileAtPath(const QString &path);

private:
    static QString reportFilePath(const QString &name,
                                  const std::optional<QByteArray> &reportFolder);
};
