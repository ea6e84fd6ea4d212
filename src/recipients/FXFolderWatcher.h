#pragma once

#include <QHash>
#include <QObject>
#include <QStringList>

class QSocketNotifier;

// Reports changes inside folders through inotify: files created, deleted, renamed and also
// rewritten in place, which a folder watch of QFileSystemWatcher does not see. One watch per
// folder, however many files it holds.
class FXFolderWatcher : public QObject
{
    Q_OBJECT

public:
    static constexpr int maxFolders = 2000;

    explicit FXFolderWatcher(QObject *parent = nullptr);
    ~FXFolderWatcher() override;

    // Watches exactly these folders from now on.
    void setFolders(const QStringList &folders);
    QStringList folders() const { return m_folderByWatch.values(); }
    bool isWatching() const { return m_fd >= 0; }

Q_SIGNALS:
    // `name` is the entry inside `folder` that changed; empty when the folder itself went
    // away or when events were lost (then `folder` is empty too) and everything may differ.
    void changed(const QString &folder, const QString &name, bool isFolder);

private:
    void readEvents();

    int m_fd = -1;
    QSocketNotifier *m_notifier = nullptr;
    QHash<int, QString> m_folderByWatch;
};
