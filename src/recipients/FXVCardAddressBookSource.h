#pragma once

#include "recipients/FXAddressBookSource.h"
#include "recipients/FXFolderWatcher.h"
#include "recipients/FXVCardReader.h"

#include <QDateTime>
#include <QHash>
#include <QSet>
#include <QStringList>
#include <QTimer>

// The persons of the vCard files the user listed in "vCardSources": files, and folders of
// .vcf files as CardDAV synchronisers keep them (subfolders included, two levels deep).
// Watched for changes; only files whose size or times changed are read again, and changed()
// is emitted only when a vCard really changed, not for other activity in the folders.
class FXVCardAddressBookSource : public FXAddressBookSource
{
    Q_OBJECT

public:
    // Beyond this many files in all listed folders the rest are ignored.
    static constexpr int maxFiles = 100000;
    // All listed files together are read up to this many bytes; the files beyond it are
    // ignored, in the order they are listed. A vCard takes several times its size in memory.
    static constexpr qint64 defaultTotalBytes = 64 * 1024 * 1024;
    // Tests make the budget small; 0 or less restores the default.
    static void setTotalBytes(qint64 bytes);
    // Quiet time after the last event in a folder before it is looked at again: a writer
    // replacing a file produces several events.
    static constexpr int rescanDelayMs = 50;

    explicit FXVCardAddressBookSource(QObject *parent = nullptr);

    void setPaths(const QStringList &paths);
    QStringList paths() const { return m_paths; }

    QList<FXAddressBookPerson> people() override;
    QString sourceName() const override { return QStringLiteral("vCard files"); }

    const FXFolderWatcher &folderWatcher() const { return m_watcher; }
    // A relevant change was seen and is about to be looked at.
    bool isRescanPending() const { return m_rescanTimer.isActive(); }

    // "~/x" and "$HOME"-less relative paths resolved against the home folder.
    static QString expandedPath(const QString &path);

private:
    struct CachedFile
    {
        qint64 size = -1;
        QDateTime modified;
        QDateTime metadataChanged;
        bool readable = false;
        FXVCardReader::Contents contents;
    };

    void folderChanged(const QString &folder, const QString &name, bool isFolder);
    void rescanAfterEvents();
    // True when any file was added, removed or changed since the last scan.
    bool rescan();
    void collectFolder(const QString &folder, int depth, QStringList *files, QStringList *folders);

    QStringList m_paths;
    QSet<QString> m_listedPaths;
    FXFolderWatcher m_watcher;
    QTimer m_rescanTimer;
    QHash<QString, CachedFile> m_files;
    QList<FXAddressBookPerson> m_people;
    QSet<QString> m_reportedMissing;
    bool m_reportedBudget = false;
    bool m_dirty = true;
};
