#pragma once

#include "foundation/FXError.h"

#include <QString>

#include <functional>
#include <optional>

// The password of the one provider account, in the credential store. There is one account, so
// the item is kept under a fixed account name rather than the user's name; the user name lives
// in the settings ("username").
class FBAccountCredentials
{
public:
    static constexpr char kKeychainServiceName[] = "voxaria Fax";
    static constexpr char kKeychainAccountName[] = "password";

    // The stored password; nothing when none is stored. A store that cannot be read (no Secret
    // Service, a keyring that is locked or does not answer) also gives nothing, with `error`
    // set: that is never a missing or a wrong password, and callers say so.
    static std::optional<QString> password(FXError *error);

    // Asks the Secret Service to unlock the keyring holding the password, which prompts the
    // user; `done` runs later with whether it is unlocked now.
    static void requestUnlock(std::function<void(bool unlocked)> done);

    // Stores the password, replacing an earlier one.
    static bool storePassword(const QString &password, FXError *error);

    // The error's description for a message, or its code when it has none.
    static QString describeError(const FXError &error);
};
