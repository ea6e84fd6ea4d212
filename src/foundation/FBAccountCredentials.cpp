#include "foundation/FBAccountCredentials.h"

#include "foundation/KeychainUtils.h"

std::optional<QString> FBAccountCredentials::password(FXError *error)
{
    FXError local;
    std::optional<QString> stored = KeychainUtils::getPasswordForUsername(
        QLatin1String(kKeychainAccountName), QLatin1String(kKeychainServiceName), QString(),
        &local);
    if (error)
        *error = local;
    if (local)
        return std::nullopt;
    return stored;
}

void FBAccountCredentials::requestUnlock(std::function<void(bool unlocked)> done)
{
    KeychainUtils::requestUnlockForUsername(QLatin1String(kKeychainAccountName),
                                            QLatin1String(kKeychainServiceName), std::move(done));
}

bool FBAccountCredentials::storePassword(const QString &password, FXError *error)
{
    return KeychainUtils::storeUsername(QLatin1String(kKeychainAccountName), password,
                                        QLatin1String(kKeychainServiceName), QString(), true,
                                        error);
}

QString FBAccountCredentials::describeError(const FXError &error)
{
    return error.description.isEmpty() ? QString::number(error.code) : error.description;
}
