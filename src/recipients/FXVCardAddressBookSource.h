#pragma once

#include "FXAddressBookSource.h"
#include "FXVCardReader.h"

#include <QDateTime>
#include <QFileSystemWatcher>
#include <QHash>
#include <QStringList>

// The persons of the vCard files the user listed in "vCardSources": files, and folders of
// .vcf files as CardDAV synchronisers keep them (subfolders included, two levels deep).
// Watched for changes; only files whose size or times changed are read again.
class FXVCardAddressBookSource : public FXAddressBookSource
{
    Q_OBJECT

public:
    // Beyond this many files in all listed folders the rest are ignored.
    static constexpr int maxFiles = 100000;
    // Single files are watched up to this many (folders always): in-place edits of files in
    // larger collections are noticed when the folder changes.
    static constexpr int maxWatchedFiles = 4000;

    explicit FXVCardAddressBookSource(QObject *parent = nullptr);

    void setPaths(const QStringList &paths);
    QStringList paths() const { return m_paths; }

    QList<FXAddressBookPerson> people() override;
    QString sourceName() const override { return QStringLiteral("vCard files"); }

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

    void markChanged();
    void rescan();
    void collectFolder(const QString &folder, int depth, QStringList *files, QStringList *folders);
    void watch(const QStringList &folders, const QStringList &files);

    QStringList m_paths;
    QFileSystemWatcher m_watcher;
    QHash<QString, CachedFile> m_files;
    QList<FXAddressBookPerson> m_people;
    QSet<QString> m_reportedMissing;
    bool m_dirty = true;
};
