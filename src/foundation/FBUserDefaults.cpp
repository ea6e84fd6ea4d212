#include "foundation/FBUserDefaults.h"

#include "foundation/FBApplicationHelper.h"
#include "foundation/FBRegularFile.h"
#include "foundation/FXLogging.h"

#include <QFileInfo>
#include <QMutex>
#include <QSettings>
#include <QStandardPaths>

#include <mutex>

namespace {

QMutex registeredMutex;
QVariantMap &registeredDefaults()
{
    static QVariantMap defaults;
    return defaults;
}

// Where QSettings keeps the user's settings of organisation "voxaria", application
// "Faxolino". Worked out without opening a QSettings, which would read the file.
QString userStorePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
           + QStringLiteral("/voxaria/Faxolino.conf");
}

bool readNothing(QIODevice &, QSettings::SettingsMap &)
{
    return true;
}

bool writeNothing(QIODevice &, const QSettings::SettingsMap &)
{
    return false;
}

// The settings file, unless something else stands in its place: a FIFO or a device would
// block every read. Then the settings are empty and nothing is written, and the user is told
// once.
QSettings openStore()
{
    const QString path = userStorePath();
    if (!QFileInfo::exists(path) || FBRegularFile::isRegularFile(path))
        return QSettings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("voxaria"),
                         QStringLiteral("Faxolino"));
    static const QSettings::Format refused = QSettings::registerFormat(
        QStringLiteral("refused"), readNothing, writeNothing, Qt::CaseSensitive);
    static std::once_flag warned;
    std::call_once(warned, [&path] {
        qCWarning(lcService, "The settings file %s is not a regular file; settings are not read",
                  qUtf8Printable(path));
    });
    return QSettings(QStringLiteral("/nonexistent/faxolino-refused-settings"), refused);
}

} // namespace

bool FBUserDefaults::hasKey(const char *key)
{
    return openStore().contains(QLatin1String(key));
}

QVariant FBUserDefaults::objectForKey(const char *key)
{
    const QString name = QLatin1String(key);
    QSettings store = openStore();
    if (store.contains(name))
        return store.value(name);
    QMutexLocker lock(&registeredMutex);
    return registeredDefaults().value(name);
}

QString FBUserDefaults::stringForKey(const char *key)
{
    const QVariant value = objectForKey(key);
    // A hand-edited file may hold a list or a number here; only text counts as text.
    if (value.typeId() == QMetaType::QString)
        return value.toString();
    if (value.typeId() == QMetaType::QByteArray)
        return QString::fromUtf8(value.toByteArray());
    return value.canConvert<QString>() && value.typeId() != QMetaType::QStringList
               ? value.toString()
               : QString();
}

QByteArray FBUserDefaults::dataForKey(const char *key)
{
    const QVariant value = objectForKey(key);
    if (value.typeId() == QMetaType::QByteArray)
        return value.toByteArray();
    if (value.typeId() == QMetaType::QString)
        return value.toString().toUtf8();
    return QByteArray();
}

bool FBUserDefaults::boolForKey(const char *key)
{
    const QVariant value = objectForKey(key);
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    // The INI file gives back text: "true", "false", "1", "0".
    const QString text = value.toString().trimmed().toLower();
    return text == QLatin1String("true") || text == QLatin1String("yes")
           || (text.toLongLong() != 0);
}

QStringList FBUserDefaults::stringListForKey(const char *key)
{
    const QVariant value = objectForKey(key);
    if (value.typeId() == QMetaType::QStringList)
        return value.toStringList();
    if (value.typeId() == QMetaType::QVariantList) {
        QStringList out;
        for (const QVariant &v : value.toList()) {
            if (v.typeId() == QMetaType::QString)
                out.append(v.toString());
        }
        return out;
    }
    if (value.typeId() == QMetaType::QString && !value.toString().isEmpty())
        return {value.toString()};
    return {};
}

void FBUserDefaults::setObject(const QVariant &value, const char *key)
{
    QSettings store = openStore();
    store.setValue(QLatin1String(key), value);
    store.sync();
}

void FBUserDefaults::removeObjectForKey(const char *key)
{
    QSettings store = openStore();
    store.remove(QLatin1String(key));
    store.sync();
}

void FBUserDefaults::synchronize()
{
    openStore().sync();
}

void FBUserDefaults::registerDefaults(const QVariantMap &defaults)
{
    QMutexLocker lock(&registeredMutex);
    for (auto it = defaults.begin(); it != defaults.end(); ++it)
        registeredDefaults().insert(it.key(), it.value());
}

void FBUserDefaults::registerLaunchDefaults()
{
    registerDefaults({{QLatin1String(kCrashOnExceptionsKey), true}});
    if (!hasKey(kSaveSendDocumentKey))
        setObject(true, kSaveSendDocumentKey);
}

QString FBUserDefaults::reportSavePathForPreferences()
{
    if (hasKey(kFaxReportSavePathKey))
        return stringForKey(kFaxReportSavePathKey);
    const QString folder = FBApplicationHelper::applicationSupportFolder();
    setObject(folder, kFaxReportSavePathKey);
    return folder;
}

QString FBUserDefaults::fileName()
{
    return userStorePath();
}
