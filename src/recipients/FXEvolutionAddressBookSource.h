#pragma once

#include "recipients/FXAddressBookSource.h"

#include <QHash>
#include <QStringList>
#include <QTimer>

#include <map>
#include <memory>

typedef struct _GObject GObject;
typedef struct _GAsyncResult GAsyncResult;
typedef struct _GCancellable GCancellable;
typedef struct _ESourceRegistry ESourceRegistry;
typedef struct _ESource ESource;

// The desktop's address books: every enabled address book of Evolution Data Server (the ones
// GNOME Contacts and Evolution show, online accounts included), read through libebook. Each
// book is followed through a live view, whose change signals drive changed().
//
// Everything runs asynchronously on the main thread's GLib main context, which Qt's event
// loop dispatches on Linux; without a GLib-based event loop the context is pumped by a timer.
class FXEvolutionAddressBookSource : public FXAddressBookSource
{
    Q_OBJECT

public:
    explicit FXEvolutionAddressBookSource(QObject *parent = nullptr);
    ~FXEvolutionAddressBookSource() override;

    QList<FXAddressBookPerson> people() override;
    QString sourceName() const override { return QStringLiteral("Evolution Data Server"); }

    // True once the registry answered (or could not be reached) and every book it listed
    // has been opened and loaded, or has failed.
    bool isLoaded() const;

Q_SIGNALS:
    // Emitted once, when isLoaded() becomes true.
    void loaded();

private:
    struct Book;

    static void registryReady(GObject *object, GAsyncResult *result, void *data);
    static void clientConnected(GObject *object, GAsyncResult *result, void *data);
    static void viewReady(GObject *object, GAsyncResult *result, void *data);
    static void sourceAppeared(ESourceRegistry *registry, ESource *source, void *data);
    static void sourceDisappeared(ESourceRegistry *registry, ESource *source, void *data);

    void openBook(ESource *source);
    void closeBook(const QString &uid);
    void reopenBook(const QString &uid);
    void bookFailed(const QString &uid, const QString &message);
    void checkLoaded();

    GCancellable *m_cancellable = nullptr;
    ESourceRegistry *m_registry = nullptr;
    bool m_registryDone = false;
    bool m_loadedAnnounced = false;
    std::map<QString, std::unique_ptr<Book>> m_books;
    QStringList m_bookOrder;
    QTimer m_glibPump;
};
