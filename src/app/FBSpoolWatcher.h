#pragma once

#include <QFileSystemWatcher>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QTimer>

class FBFaxDocumentTarget;

// Watches the user's folder of the print queue's spool and hands every document the backend
// puts there to the application controller as a new fax without a number, oldest first, and
// removes it once taken over. Documents that arrived while the application was not running are
// taken over at start. Until the folder exists (the backend creates it with the first job)
// it is looked for periodically.
class FBSpoolWatcher : public QObject
{
    Q_OBJECT

public:
    // FAXOLINO_SPOOL_ROOT when set, else the system's spool root (/var/spool/faxolino).
    static QString spoolRoot();
    // The folder of a user below the spool root: "<root>/<uid>".
    static QString userSpoolFolder(uint uid);
    static uint currentUser();

    // Watches folder, which must belong to owner.
    explicit FBSpoolWatcher(const QString &folder = userSpoolFolder(currentUser()),
                            uint owner = currentUser(), QObject *parent = nullptr);

    QString folder() const { return m_folder; }
    // Not owned. Without a target documents stay in the spool.
    void setTarget(FBFaxDocumentTarget *target) { m_target = target; }
    // How often a missing folder is looked for (5 s).
    void setPollInterval(int milliseconds) { m_poll.setInterval(milliseconds); }
    bool isWatching() const { return m_watcher.directories().contains(m_folder); }

    void start();

    // The documents waiting in the folder, oldest first.
    QStringList pendingDocuments() const;

public Q_SLOTS:
    void scan();

Q_SIGNALS:
    void documentTakenOver(const QString &path);

private:
    bool folderIsUsable() const;
    void checkFolder();

    QString m_folder;
    uint m_owner;
    FBFaxDocumentTarget *m_target = nullptr;
    QFileSystemWatcher m_watcher;
    QTimer m_poll;
    // Documents that were taken over but could not be removed, so as not to open them twice.
    QSet<QString> m_takenOver;
    bool m_scanning = false;
    bool m_rescan = false;
    bool m_reportedUnusable = false;
};
