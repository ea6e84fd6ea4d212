#include "foundation/FBLocalization.h"

#include "foundation/FXLogging.h"

#include <QCoreApplication>
#include <QHash>
#include <QMutex>
#include <QPointer>
#include <QSet>
#include <QTranslator>

#include <memory>

namespace {

QMutex catalogMutex;
// The application owns the catalogs; these guarded pointers only find them again.
QHash<QString, QPointer<QTranslator>> &installedCatalogs()
{
    static QHash<QString, QPointer<QTranslator>> catalogs;
    return catalogs;
}

QSet<QByteArray> &reportedMissingKeys()
{
    static QSet<QByteArray> keys;
    return keys;
}

} // namespace

QString FBLocalization::languageFor(const QLocale &locale)
{
    return locale.language() == QLocale::German ? QStringLiteral("de") : QStringLiteral("en");
}

bool FBLocalization::installCatalog(const QString &resourcePrefix, const QLocale &locale)
{
    QCoreApplication *application = QCoreApplication::instance();
    if (!application) {
        qCWarning(lcService, "String catalog %s needs a running application",
                  qUtf8Printable(resourcePrefix));
        return false;
    }
    auto translator = std::make_unique<QTranslator>();
    const QString file =
        resourcePrefix + QLatin1Char('_') + languageFor(locale) + QStringLiteral(".qm");
    if (!translator->load(file)) {
        qCWarning(lcService, "String catalog %s could not be loaded", qUtf8Printable(file));
        return false;
    }
    translator->moveToThread(application->thread());
    translator->setParent(application);
    QMutexLocker lock(&catalogMutex);
    QPointer<QTranslator> &slot = installedCatalogs()[resourcePrefix];
    delete slot.data(); // leaves the application's list of translators on its way out
    slot = translator.release();
    QCoreApplication::installTranslator(slot);
    return true;
}

bool FBLocalization::installCoreCatalog(const QLocale &locale)
{
    return installCatalog(QStringLiteral(":/VoxariaCoreBundle/translations/core"), locale);
}

// English sentences serve as keys and translate into themselves: only a key that no catalog
// knows is missing.
bool FBLocalization::hasText(const char *key)
{
    if (qtTrId(key) != QString::fromUtf8(key))
        return true;
    QMutexLocker lock(&catalogMutex);
    for (const QPointer<QTranslator> &catalog : std::as_const(installedCatalogs())) {
        if (catalog && !catalog->translate(nullptr, key).isNull())
            return true;
    }
    return false;
}

QByteArray FBLocalization::statusHelpKey(int code)
{
    return QByteArray("0x" + QByteArray::number(uint(code), 16)).toUpper();
}

QString FBLocalization::text(const char *key)
{
    const QString result = qtTrId(key);
    if (hasText(key))
        return result;
    QMutexLocker lock(&catalogMutex);
    if (!reportedMissingKeys().contains(key)) {
        reportedMissingKeys().insert(key);
        qCWarning(lcService, "Missing localized text for key \"%s\"", key);
    }
    return result;
}
