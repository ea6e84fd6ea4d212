#pragma once

#include "foundation/FXError.h"

#include <QString>

#include <functional>
#include <optional>

inline constexpr char kKeychainUtilsErrorDomain[] = "KeychainUtilsErrorDomain";

// The account password in the Secret Service (gnome-keyring, KWallet) through libsecret.
// Item identity: the attributes "account" and "service"; label: the service name; value: the
// password's UTF-8 bytes. Every call gives up after a few seconds rather than hang or ask the
// user to unlock a collection, and there is never a plaintext fallback.
class KeychainUtils
{
public:
    enum Code : qint64 {
        MissingArgument = -2000,
        NoPasswordData = -1999,
        // The Security framework's statuses, which callers and logs already know.
        ItemNotFound = -25300,
        DuplicateItem = -25299,
        NotAvailable = -25291,
        InteractionNotAllowed = -25308,
        IOError = -36,
    };

    // The password, or nothing. A missing item is nothing without an error.
    static std::optional<QString>
    getPasswordForUsername(const QString &username, const QString &andServiceName,
                           const QString &sharedKeychainAccessGroupName, FXError *error);

    static bool storeUsername(const QString &username, const QString &andPassword,
                              const QString &forServiceName,
                              const QString &sharedKeychainAccessGroupName, bool updateExisting,
                              FXError *error);

    static bool deleteItemForUsername(const QString &username, const QString &andServiceName,
                                      const QString &sharedKeychainAccessGroupName, FXError *error);

    // Asks the Secret Service to unlock the keyring that holds the item; the service shows
    // its own prompt, for as long as the user takes. `done` runs later, from the event loop,
    // with whether the item is unlocked now. Only for a user at a desktop: nothing else here
    // ever prompts.
    static void requestUnlockForUsername(const QString &username, const QString &andServiceName,
                                         std::function<void(bool unlocked)> done);

    // How long one call may take in all before it fails with NotAvailable.
    static void setTimeoutMs(int ms);
};
