#include "foundation/KeychainUtils.h"

#include "foundation/FXLogging.h"

#include <QTimer>

#include <libsecret/secret.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace {

std::atomic<int> timeoutMs{4000};

const SecretSchema *passwordSchema()
{
    // DONT_MATCH_NAME: items written by other tools with the same attributes still match.
    static const SecretSchema schema = {"net.voxaria.Faxolino.Password",
                                        SECRET_SCHEMA_DONT_MATCH_NAME,
                                        {
                                            {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                            {"service", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                            {"accessGroup", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                            {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING},
                                        },
                                        0,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr};
    return &schema;
}

// Cancels its GCancellable when the deadline passes, so that no D-Bus call can hang: a
// Secret Service that never answers, or one that wants to show an unlock prompt.
class Deadline
{
public:
    Deadline()
        : m_cancellable(g_cancellable_new())
        , m_thread([this] {
            std::unique_lock lock(m_mutex);
            if (!m_cv.wait_for(lock, std::chrono::milliseconds(timeoutMs.load()),
                               [this] { return m_done; }))
                g_cancellable_cancel(m_cancellable);
        })
    {}
    ~Deadline()
    {
        {
            std::lock_guard lock(m_mutex);
            m_done = true;
        }
        m_cv.notify_one();
        m_thread.join();
        g_object_unref(m_cancellable);
    }
    GCancellable *cancellable() const { return m_cancellable; }

private:
    GCancellable *m_cancellable;
    std::mutex m_mutex;
    std::condition_variable m_cv;
    bool m_done = false;
    std::thread m_thread;
};

void setError(FXError *error, qint64 code, const QString &description)
{
    if (error)
        *error = FXError{QLatin1String(kKeychainUtilsErrorDomain), code, description};
}

// Maps a libsecret or D-Bus failure onto the status codes the callers know.
qint64 statusForGError(const GError *gerror)
{
    if (!gerror)
        return KeychainUtils::IOError;
    // No bus, no service on it, a bus that never answers (cancelled by the deadline).
    if (gerror->domain == G_IO_ERROR || gerror->domain == G_DBUS_ERROR)
        return KeychainUtils::NotAvailable;
    if (g_error_matches(gerror, SECRET_ERROR, SECRET_ERROR_IS_LOCKED))
        return KeychainUtils::InteractionNotAllowed;
    if (g_error_matches(gerror, SECRET_ERROR, SECRET_ERROR_NO_SUCH_OBJECT))
        return KeychainUtils::ItemNotFound;
    return KeychainUtils::IOError;
}

struct GErrorHolder
{
    GError *error = nullptr;
    ~GErrorHolder() { g_clear_error(&error); }
    QString message() const
    {
        return error ? QString::fromUtf8(error->message) : QStringLiteral("unknown error");
    }
};

GHashTable *attributesFor(const QString &account, const QString &service, const QString &group)
{
    GHashTable *attributes = g_hash_table_new_full(g_str_hash, g_str_equal, g_free, g_free);
    g_hash_table_insert(attributes, g_strdup("account"), g_strdup(account.toUtf8().constData()));
    g_hash_table_insert(attributes, g_strdup("service"), g_strdup(service.toUtf8().constData()));
    if (!group.isEmpty())
        g_hash_table_insert(attributes, g_strdup("accessGroup"),
                            g_strdup(group.toUtf8().constData()));
    return attributes;
}

// The connection to the Secret Service. Not cached: a service that went away or came back
// is found afresh, and libsecret keeps its own shared instance underneath.
SecretService *connectService(GCancellable *cancellable, FXError *error)
{
    GErrorHolder gerror;
    SecretService *service =
        secret_service_get_sync(SECRET_SERVICE_OPEN_SESSION, cancellable, &gerror.error);
    if (!service)
        setError(error, statusForGError(gerror.error),
                 QStringLiteral("Secret Service unavailable: %1").arg(gerror.message()));
    return service;
}

struct Lookup
{
    qint64 status = 0; // 0: found
    QString description;
    SecretItem *item = nullptr; // owned
    ~Lookup()
    {
        if (item)
            g_object_unref(item);
    }
};

// Finds the item without unlocking anything: a locked item is reported, never prompted for.
void findItem(SecretService *service, GHashTable *attributes, GCancellable *cancellable,
              Lookup *out)
{
    GErrorHolder gerror;
    GList *items = secret_service_search_sync(service, passwordSchema(), attributes,
                                              SECRET_SEARCH_NONE, cancellable, &gerror.error);
    if (gerror.error) {
        out->status = statusForGError(gerror.error);
        out->description = gerror.message();
        g_list_free_full(items, g_object_unref);
        return;
    }
    if (!items) {
        out->status = KeychainUtils::ItemNotFound;
        return;
    }
    out->item = SECRET_ITEM(g_object_ref(items->data));
    g_list_free_full(items, g_object_unref);
}

// Reads the password with a connection already made; the algorithm of getPassword.
std::optional<QString> readPassword(SecretService *service, GHashTable *attributes,
                                    GCancellable *cancellable, const QString &account,
                                    const QString &serviceName, const QString &group,
                                    FXError *error)
{
    Lookup first;
    findItem(service, attributes, cancellable, &first);
    if (first.status != 0) {
        qCDebug(lcService, "no existing found %d", int(first.status));
        qCDebug(lcService, "getPassword: %s %s %s", qUtf8Printable(account),
                qUtf8Printable(serviceName), qUtf8Printable(group));
        if (first.status != KeychainUtils::ItemNotFound)
            setError(error, first.status, first.description);
        return std::nullopt;
    }

    if (secret_item_get_locked(first.item)) {
        setError(error, KeychainUtils::InteractionNotAllowed,
                 QStringLiteral("The keyring holding the password is locked"));
        return std::nullopt;
    }

    GErrorHolder gerror;
    if (!secret_item_load_secret_sync(first.item, cancellable, &gerror.error)) {
        const qint64 status = statusForGError(gerror.error);
        if (status == KeychainUtils::ItemNotFound) {
            qCDebug(lcService, "errSecItemNotFound");
            setError(error, KeychainUtils::NoPasswordData, gerror.message());
        } else {
            setError(error, status, gerror.message());
        }
        return std::nullopt;
    }
    SecretValue *value = secret_item_get_secret(first.item);
    if (!value) {
        setError(error, KeychainUtils::NoPasswordData,
                 QStringLiteral("The item holds no password"));
        return std::nullopt;
    }
    gsize length = 0;
    const gchar *bytes = secret_value_get(value, &length);
    QString password = QString::fromUtf8(bytes, qsizetype(length));
    secret_value_unref(value);
    return password;
}

SecretCollection *unlockedDefaultCollection(SecretService *service, GCancellable *cancellable,
                                            FXError *error)
{
    GErrorHolder gerror;
    SecretCollection *collection = secret_collection_for_alias_sync(
        service, SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, cancellable, &gerror.error);
    if (!collection) {
        setError(error, gerror.error ? statusForGError(gerror.error) : KeychainUtils::NotAvailable,
                 gerror.error ? gerror.message()
                              : QStringLiteral("The Secret Service has no default keyring"));
        return nullptr;
    }
    if (secret_collection_get_locked(collection)) {
        g_object_unref(collection);
        setError(error, KeychainUtils::InteractionNotAllowed,
                 QStringLiteral("The default keyring is locked"));
        return nullptr;
    }
    return collection;
}

} // namespace

void KeychainUtils::setTimeoutMs(int ms)
{
    timeoutMs = ms;
}

std::optional<QString>
KeychainUtils::getPasswordForUsername(const QString &username, const QString &andServiceName,
                                      const QString &sharedKeychainAccessGroupName, FXError *error)
{
    if (error)
        *error = FXError();
    if (username.isEmpty() || andServiceName.isEmpty()) {
        setError(error, MissingArgument, QStringLiteral("Account and service are required"));
        return std::nullopt;
    }
    Deadline deadline;
    SecretService *service = connectService(deadline.cancellable(), error);
    if (!service)
        return std::nullopt;
    GHashTable *attributes = attributesFor(username, andServiceName, sharedKeychainAccessGroupName);
    std::optional<QString> result =
        readPassword(service, attributes, deadline.cancellable(), username, andServiceName,
                     sharedKeychainAccessGroupName, error);
    g_hash_table_unref(attributes);
    g_object_unref(service);
    return result;
}

namespace {

struct UnlockRequest
{
    std::function<void(bool)> done;
};

void unlockFinished(GObject *source, GAsyncResult *result, gpointer data)
{
    std::unique_ptr<UnlockRequest> request(static_cast<UnlockRequest *>(data));
    GErrorHolder gerror;
    GList *unlocked = nullptr;
    const gint count =
        secret_service_unlock_finish(SECRET_SERVICE(source), result, &unlocked, &gerror.error);
    g_list_free_full(unlocked, g_object_unref);
    if (gerror.error)
        qCWarning(lcService, "The keyring was not unlocked: %s", qUtf8Printable(gerror.message()));
    request->done(count > 0);
}

} // namespace

void KeychainUtils::requestUnlockForUsername(const QString &username, const QString &andServiceName,
                                             std::function<void(bool unlocked)> done)
{
    Lookup found;
    SecretService *service = nullptr;
    {
        // Finding the item is bounded as every call is; the prompt that follows is not.
        Deadline deadline;
        FXError error;
        service = connectService(deadline.cancellable(), &error);
        if (service) {
            GHashTable *attributes = attributesFor(username, andServiceName, QString());
            findItem(service, attributes, deadline.cancellable(), &found);
            g_hash_table_unref(attributes);
        }
    }
    if (!service || !found.item || !secret_item_get_locked(found.item)) {
        const bool unlocked = found.item && !secret_item_get_locked(found.item);
        if (service)
            g_object_unref(service);
        QTimer::singleShot(0, [done = std::move(done), unlocked] { done(unlocked); });
        return;
    }
    GList *objects = g_list_append(nullptr, found.item);
    secret_service_unlock(service, objects, nullptr, unlockFinished,
                          new UnlockRequest{std::move(done)});
    g_list_free(objects);
    g_object_unref(service);
}

bool KeychainUtils::storeUsername(const QString &username, const QString &andPassword,
                                  const QString &forServiceName,
                                  const QString &sharedKeychainAccessGroupName, bool updateExisting,
                                  FXError *error)
{
    if (error)
        *error = FXError();
    if (username.isEmpty() || andPassword.isEmpty() || forServiceName.isEmpty()) {
        setError(error, MissingArgument,
                 QStringLiteral("Account, password and service are required"));
        return false;
    }
    Deadline deadline;
    SecretService *service = connectService(deadline.cancellable(), error);
    if (!service)
        return false;
    GHashTable *attributes = attributesFor(username, forServiceName, sharedKeychainAccessGroupName);
    auto cleanup = qScopeGuard([&] {
        g_hash_table_unref(attributes);
        g_object_unref(service);
    });

    FXError readError;
    const std::optional<QString> existing =
        readPassword(service, attributes, deadline.cancellable(), username, forServiceName,
                     sharedKeychainAccessGroupName, &readError);
    if (readError && readError.code != NoPasswordData) {
        if (error)
            *error = readError;
        return false;
    }
    if (existing) {
        if (!updateExisting) {
            setError(error, DuplicateItem, QStringLiteral("A password is stored already"));
            return false;
        }
        if (*existing == andPassword)
            return true;
    }

    SecretCollection *collection =
        unlockedDefaultCollection(service, deadline.cancellable(), error);
    if (!collection)
        return false;
    const QByteArray bytes = andPassword.toUtf8();
    SecretValue *value = secret_value_new(bytes.constData(), bytes.size(), "text/plain");
    GErrorHolder gerror;
    // REPLACE updates the item with the same attributes in place.
    SecretItem *item = secret_item_create_sync(
        collection, passwordSchema(), attributes, forServiceName.toUtf8().constData(), value,
        SECRET_ITEM_CREATE_REPLACE, deadline.cancellable(), &gerror.error);
    secret_value_unref(value);
    g_object_unref(collection);
    if (!item) {
        setError(error, statusForGError(gerror.error), gerror.message());
        return false;
    }
    g_object_unref(item);
    return true;
}

bool KeychainUtils::deleteItemForUsername(const QString &username, const QString &andServiceName,
                                          const QString &sharedKeychainAccessGroupName,
                                          FXError *error)
{
    if (error)
        *error = FXError();
    if (username.isEmpty() || andServiceName.isEmpty()) {
        setError(error, MissingArgument, QStringLiteral("Account and service are required"));
        return false;
    }
    Deadline deadline;
    SecretService *service = connectService(deadline.cancellable(), error);
    if (!service)
        return false;
    GHashTable *attributes = attributesFor(username, andServiceName, sharedKeychainAccessGroupName);
    Lookup found;
    findItem(service, attributes, deadline.cancellable(), &found);
    g_hash_table_unref(attributes);
    g_object_unref(service);
    if (found.status != 0) {
        setError(error, found.status,
                 found.description.isEmpty() ? QStringLiteral("No such password")
                                             : found.description);
        return false;
    }
    GErrorHolder gerror;
    if (!secret_item_delete_sync(found.item, deadline.cancellable(), &gerror.error)) {
        setError(error, statusForGError(gerror.error), gerror.message());
        return false;
    }
    return true;
}
