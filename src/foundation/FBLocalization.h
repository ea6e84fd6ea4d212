#pragma once

#include <QLocale>
#include <QString>

// Texts shown to the user are looked up by key (qtTrId) in string catalogs compiled from
// resources/**/<catalog>_<lang>.ts. The core has one catalog, the application another.
class FBLocalization
{
public:
    // Loads the catalog ":/<prefix>_<lang>.qm" for German locales, English otherwise, into
    // the running application. Calling it again for the same prefix replaces that catalog.
    static bool installCatalog(const QString &resourcePrefix, const QLocale &locale = QLocale());

    // The core's catalog (":/VoxariaCoreBundle/translations/core").
    static bool installCoreCatalog(const QLocale &locale = QLocale());

    // The text for a key. A key missing from every catalog yields the key itself and is
    // logged once.
    static QString text(const char *key);
    // Whether a catalog knows the key; asks without logging a missing one.
    static bool hasText(const char *key);

    // The key of the help title of a provider status code: the code as "0x%x", upper-cased
    // (500 gives "0X1F4"); its explanation is the key followed by "_detail".
    static QByteArray statusHelpKey(int code);

    // The language code chosen for a locale: "de" or "en".
    static QString languageFor(const QLocale &locale);
};

// Short form used throughout: FXText("error_auth").
inline QString FXText(const char *key)
{
    return FBLocalization::text(key);
}
