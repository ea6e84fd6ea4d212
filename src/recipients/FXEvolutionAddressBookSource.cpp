#include "recipients/FXEvolutionAddressBookSource.h"

#include "foundation/FXLogging.h"
#include "recipients/FXVCardReader.h"

#include <QAbstractEventDispatcher>
#include <QPointer>

#include <libebook/libebook.h>

namespace {

// Not waiting for a book to be online (-1; 0 would wait forever): its cached contacts are
// there at once, and a book that never goes online (no network, or no network monitor at
// all) would otherwise stay hidden for the whole wait. The view reports what arrives later.
constexpr guint32 connectWaitSeconds = guint32(-1);
constexpr int reopenDelayMs = 2000;

struct Request
{
    QPointer<FXEvolutionAddressBookSource> self;
    QString uid;
};

QString errorText(const GError *error)
{
    return error ? QString::fromUtf8(error->message) : QStringLiteral("unknown error");
}

QString recordID(const QString &bookUid, const char *contactUid)
{
    return QStringLiteral("eds:") + bookUid + u':' + QString::fromUtf8(contactUid);
}

} // namespace

struct FXEvolutionAddressBookSource::Book
{
    FXEvolutionAddressBookSource *owner = nullptr;
    QString uid;
    QString displayName;
    EBookClient *client = nullptr;
    EBookClientView *view = nullptr;
    QStringList order;
    QHash<QString, FXAddressBookPerson> persons;
    bool done = false;

    ~Book()
    {
        if (view) {
            g_signal_handlers_disconnect_by_data(view, this);
            e_book_client_view_stop(view, nullptr);
            g_object_unref(view);
        }
        if (client) {
            g_signal_handlers_disconnect_by_data(client, this);
            g_object_unref(client);
        }
    }

    void store(const GSList *contacts)
    {
        for (const GSList *c = contacts; c; c = c->next) {
            EContact *contact = E_CONTACT(c->data);
            const char *contactUid =
                static_cast<const char *>(e_contact_get_const(contact, E_CONTACT_UID));
            if (!contactUid || e_contact_get(contact, E_CONTACT_IS_LIST))
                continue;
            const QString key = QString::fromUtf8(contactUid);
            if (!persons.contains(key))
                order.append(key);
            persons.insert(key,
                           FXVCardReader::personFromContact(contact, recordID(uid, contactUid)));
        }
    }

    void remove(const GSList *uids)
    {
        for (const GSList *u = uids; u; u = u->next) {
            const QString key = QString::fromUtf8(static_cast<const char *>(u->data));
            if (persons.remove(key))
                order.removeOne(key);
        }
    }
};

FXEvolutionAddressBookSource::FXEvolutionAddressBookSource(QObject *parent)
    : FXAddressBookSource(parent)
{
    // libebook delivers its results in the default GLib main context. Qt's GLib event
    // dispatcher runs it; any other dispatcher (QT_NO_GLIB) needs a pump.
    const QAbstractEventDispatcher *dispatcher = QAbstractEventDispatcher::instance();
    if (!dispatcher || !dispatcher->inherits("QEventDispatcherGlib")) {
        qCDebug(lcRecipients, "No GLib event loop; pumping the GLib main context");
        connect(&m_glibPump, &QTimer::timeout, this, [] {
            for (int i = 0; i < 100 && g_main_context_iteration(nullptr, FALSE); ++i) {
            }
        });
        m_glibPump.start(50);
    }
    m_cancellable = g_cancellable_new();
    e_source_registry_new(m_cancellable, &FXEvolutionAddressBookSource::registryReady,
                          new QPointer<FXEvolutionAddressBookSource>(this));
}

FXEvolutionAddressBookSource::~FXEvolutionAddressBookSource()
{
    g_cancellable_cancel(m_cancellable);
    m_books.clear();
    if (m_registry) {
        g_signal_handlers_disconnect_by_data(m_registry, this);
        g_object_unref(m_registry);
    }
    g_object_unref(m_cancellable);
}

void FXEvolutionAddressBookSource::registryReady(GObject *, GAsyncResult *result, void *data)
{
    std::unique_ptr<QPointer<FXEvolutionAddressBookSource>> guard(
        static_cast<QPointer<FXEvolutionAddressBookSource> *>(data));
    GError *error = nullptr;
    ESourceRegistry *registry = e_source_registry_new_finish(result, &error);
    FXEvolutionAddressBookSource *self = guard->data();
    if (!self) {
        g_clear_object(&registry);
        g_clear_error(&error);
        return;
    }
    self->m_registryDone = true;
    if (!registry) {
        qCInfo(lcRecipients, "Evolution Data Server address books are not available: %s",
               qUtf8Printable(errorText(error)));
        g_clear_error(&error);
        self->checkLoaded();
        return;
    }
    self->m_registry = registry;
    g_signal_connect(registry, "source-added", G_CALLBACK(&sourceAppeared), self);
    g_signal_connect(registry, "source-enabled", G_CALLBACK(&sourceAppeared), self);
    g_signal_connect(registry, "source-removed", G_CALLBACK(&sourceDisappeared), self);
    g_signal_connect(registry, "source-disabled", G_CALLBACK(&sourceDisappeared), self);

    GList *sources = e_source_registry_list_enabled(registry, E_SOURCE_EXTENSION_ADDRESS_BOOK);
    for (GList *s = sources; s; s = s->next)
        self->openBook(E_SOURCE(s->data));
    g_list_free_full(sources, g_object_unref);
    self->checkLoaded();
}

void FXEvolutionAddressBookSource::sourceAppeared(ESourceRegistry *registry, ESource *source,
                                                  void *data)
{
    auto *self = static_cast<FXEvolutionAddressBookSource *>(data);
    if (e_source_has_extension(source, E_SOURCE_EXTENSION_ADDRESS_BOOK)
        && e_source_registry_check_enabled(registry, source))
        self->openBook(source);
}

void FXEvolutionAddressBookSource::sourceDisappeared(ESourceRegistry *, ESource *source, void *data)
{
    auto *self = static_cast<FXEvolutionAddressBookSource *>(data);
    const QString uid = QString::fromUtf8(e_source_get_uid(source));
    if (self->m_books.count(uid)) {
        self->closeBook(uid);
        Q_EMIT self->changed();
        self->checkLoaded();
    }
}

void FXEvolutionAddressBookSource::openBook(ESource *source)
{
    const QString uid = QString::fromUtf8(e_source_get_uid(source));
    if (m_books.count(uid))
        return;
    auto book = std::make_unique<Book>();
    book->owner = this;
    book->uid = uid;
    book->displayName = QString::fromUtf8(e_source_get_display_name(source));
    m_books.emplace(uid, std::move(book));
    m_bookOrder.append(uid);
    e_book_client_connect(source, connectWaitSeconds, m_cancellable,
                          &FXEvolutionAddressBookSource::clientConnected, new Request{this, uid});
}

void FXEvolutionAddressBookSource::clientConnected(GObject *, GAsyncResult *result, void *data)
{
    std::unique_ptr<Request> request(static_cast<Request *>(data));
    GError *error = nullptr;
    EClient *client = e_book_client_connect_finish(result, &error);
    FXEvolutionAddressBookSource *self = request->self.data();
    const auto found =
        self ? self->m_books.find(request->uid) : decltype(self->m_books)::iterator();
    if (!self || found == self->m_books.end()) {
        g_clear_object(&client);
        g_clear_error(&error);
        return;
    }
    if (!client) {
        self->bookFailed(request->uid, errorText(error));
        g_clear_error(&error);
        return;
    }
    Book *book = found->second.get();
    book->client = E_BOOK_CLIENT(client);
    g_signal_connect(client, "backend-died", G_CALLBACK(+[](EClient *, Book *died) {
                         // Not while the dying client is still emitting: the book owns it.
                         QMetaObject::invokeMethod(
                             died->owner,
                             [owner = died->owner, uid = died->uid] { owner->reopenBook(uid); },
                             Qt::QueuedConnection);
                     }),
                     book);

    EBookQuery *query = e_book_query_vcard_field_exists(EVC_TEL);
    gchar *sexp = e_book_query_to_string(query);
    e_book_query_unref(query);
    e_book_client_get_view(book->client, sexp, self->m_cancellable,
                           &FXEvolutionAddressBookSource::viewReady,
                           new Request{self, request->uid});
    g_free(sexp);
}

void FXEvolutionAddressBookSource::viewReady(GObject *object, GAsyncResult *result, void *data)
{
    std::unique_ptr<Request> request(static_cast<Request *>(data));
    GError *error = nullptr;
    EBookClientView *view = nullptr;
    const bool ok = e_book_client_get_view_finish(E_BOOK_CLIENT(object), result, &view, &error);
    FXEvolutionAddressBookSource *self = request->self.data();
    const auto found =
        self ? self->m_books.find(request->uid) : decltype(self->m_books)::iterator();
    if (!self || found == self->m_books.end()) {
        g_clear_object(&view);
        g_clear_error(&error);
        return;
    }
    if (!ok || !view) {
        g_clear_object(&view);
        self->bookFailed(request->uid, errorText(error));
        g_clear_error(&error);
        return;
    }
    Book *book = found->second.get();
    book->view = view;
    g_signal_connect(view, "objects-added",
                     G_CALLBACK(+[](EBookClientView *, const GSList *contacts, Book *target) {
                         target->store(contacts);
                         Q_EMIT target->owner->changed();
                     }),
                     book);
    g_signal_connect(view, "objects-modified",
                     G_CALLBACK(+[](EBookClientView *, const GSList *contacts, Book *target) {
                         target->store(contacts);
                         Q_EMIT target->owner->changed();
                     }),
                     book);
    g_signal_connect(view, "objects-removed",
                     G_CALLBACK(+[](EBookClientView *, const GSList *uids, Book *target) {
                         target->remove(uids);
                         Q_EMIT target->owner->changed();
                     }),
                     book);
    g_signal_connect(
        view, "complete", G_CALLBACK(+[](EBookClientView *, const GError *failure, Book *target) {
            if (failure)
                qCWarning(lcRecipients, "Address book %s loaded partly: %s",
                          qUtf8Printable(target->displayName), qUtf8Printable(errorText(failure)));
            target->done = true;
            target->owner->checkLoaded();
        }),
        book);
    e_book_client_view_start(view, &error);
    if (error) {
        self->bookFailed(request->uid, errorText(error));
        g_clear_error(&error);
    }
}

void FXEvolutionAddressBookSource::bookFailed(const QString &uid, const QString &message)
{
    const auto found = m_books.find(uid);
    if (found == m_books.end())
        return;
    qCWarning(lcRecipients, "Address book %s could not be opened: %s",
              qUtf8Printable(found->second->displayName), qUtf8Printable(message));
    found->second->done = true;
    checkLoaded();
}

void FXEvolutionAddressBookSource::reopenBook(const QString &uid)
{
    const auto found = m_books.find(uid);
    if (found == m_books.end())
        return;
    qCWarning(lcRecipients, "Address book %s stopped; reopening it",
              qUtf8Printable(found->second->displayName));
    closeBook(uid);
    Q_EMIT changed();
    QTimer::singleShot(reopenDelayMs, this, [this, uid] {
        if (!m_registry || m_books.count(uid))
            return;
        if (ESource *source = e_source_registry_ref_source(m_registry, uid.toUtf8().constData())) {
            if (e_source_registry_check_enabled(m_registry, source))
                openBook(source);
            g_object_unref(source);
        }
    });
}

void FXEvolutionAddressBookSource::closeBook(const QString &uid)
{
    m_books.erase(uid);
    m_bookOrder.removeOne(uid);
}

void FXEvolutionAddressBookSource::checkLoaded()
{
    if (m_loadedAnnounced || !isLoaded())
        return;
    m_loadedAnnounced = true;
    Q_EMIT loaded();
}

bool FXEvolutionAddressBookSource::isLoaded() const
{
    if (!m_registryDone)
        return false;
    for (const auto &[uid, book] : m_books) {
        if (!book->done)
            return false;
    }
    return true;
}

QList<FXAddressBookPerson> FXEvolutionAddressBookSource::people()
{
    QList<FXAddressBookPerson> all;
    for (const QString &uid : std::as_const(m_bookOrder)) {
        const Book &book = *m_books.at(uid);
        for (const QString &contact : book.order)
            all.append(book.persons.value(contact));
    }
    return all;
}
