#pragma once

#include "journal/FXManagedObjectContext.h"
#include "journal/FXManagedObjectModel.h"

#include <QObject>
#include <QSqlDatabase>
#include <QUrl>

// Owner of the fax journal: the SQLite store "Faxon.sqlite" in the application support folder,
// opened through Qt Sql with write-ahead logging and synchronous FULL, so that a committed
// change survives a crash or a power cut.
//
// The process has one instance (sharedInstance()), which lives until the process ends; when
// the application object is destroyed, pending changes are saved and the store is closed. It
// builds its stack lazily: model (the schema), coordinator (the open store, created or
// migrated as needed) and context (the records). When the store cannot be opened (a file where
// the folder belongs, a damaged or foreign file, a store of a newer program) there is simply
// no context: callers get nullptr and carry on, nothing is shown to the user, the file is left
// as it is, and the next request tries again.
//
// Every change of the context is saved at the end of the event-loop turn in which it was made
// (see FXManagedObjectContext); saveMainContext() saves at once.
//
// Threads: the instance belongs to the application's main thread (the thread that created
// QCoreApplication; without one, the thread of the first call). sharedInstance() may be called
// from any thread, also concurrently, and creates exactly one instance; everything else is for
// the main thread only, and from other threads the store stays closed to the caller.
class FXCoreDataController : public QObject
{
    Q_OBJECT

public:
    static constexpr char kStoreFileName[] = "Faxon.sqlite";
    // The domain of the errors the stack builds when it cannot come up.
    static constexpr char kErrorDomain[] = "YOUR_ERROR_DOMAIN";

    static FXCoreDataController *sharedInstance();

    // The application support folder (FBApplicationHelper) as a file URL.
    QUrl applicationFilesDirectory() const;
    // The store's path: the application support folder plus "Faxon.sqlite".
    QString storeFilePath() const;

    // The schema; from the core bundle unless replaced.
    FXManagedObjectModel managedObjectModel();

    // The open store, creating the folder, the file and the schema, or migrating an older
    // store, when needed; an invalid QSqlDatabase when that is not possible.
    QSqlDatabase persistentStoreCoordinator();

    // The application's one context; nullptr when the store cannot be opened.
    FXManagedObjectContext *managedObjectContext();

    // Replacing parts of the stack. The application never does; tests use them to start over.
    // The next request builds whatever is missing. Replacing the coordinator drops the context
    // built on it; replacing the context saves the old one's pending changes first.
    void setManagedObjectModel(const FXManagedObjectModel &model);
    void setPersistentStoreCoordinator(const QSqlDatabase &coordinator);
    void setManagedObjectContext(FXManagedObjectContext *context);

    // Saves the context's pending changes now. A failure is logged ("Could not save background
    // context due to ...") and the changes stay pending for the next save.
    void saveMainContext();

public Q_SLOTS:
    // The context announced changes: save them.
    void handleManagedObjectContextChange();

private:
    FXCoreDataController();

    bool onOwnThread() const;
    bool openStore(QSqlDatabase &store, const FXManagedObjectModel &model, QString *problem);
    void noteProblem(const QString &problem);

    FXManagedObjectModel m_model;
    bool m_modelReplaced = false;
    QSqlDatabase m_coordinator;
    FXManagedObjectContext *m_context = nullptr;
    int m_connectionSerial = 0;
    QString m_lastProblem;
};
