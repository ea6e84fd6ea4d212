#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

// Settings keys. Their names are shared with the other platforms' settings files.
inline constexpr char kUsernameKey[] = "username";
inline constexpr char kLocalUriKey[] = "localUri";
inline constexpr char kLocalSipUriKey[] = "localSipUri";
inline constexpr char kFaxReportSavePathKey[] = "faxReportSavePath";
inline constexpr char kFaxReportSavePathDataKey[] = "faxReportSavePathData";
inline constexpr char kSaveSendDocumentKey[] = "saveSendDocument";
inline constexpr char kShowExtendedToolbarKey[] = "showExtendedToolbar";
inline constexpr char kQuitOnSuccessKey[] = "quitOnSuccess";
inline constexpr char kFaxHeaderKey[] = "faxHeader";
inline constexpr char kFaxIDKey[] = "faxID";
inline constexpr char kCrashOnExceptionsKey[] = "NSApplicationCrashOnExceptions";
inline constexpr char kVCardSourcesKey[] = "vCardSources";

// The user's settings: QSettings of organisation "voxaria", application "Faxolino".
// Every accessor opens the shared store afresh, so the class is safe to use from any thread.
// Registered defaults are answered when a key is absent but are never written to the file.
class FBUserDefaults
{
public:
    // No shared application group exists on this platform.
    static QString appGroupSuiteName() { return QString(); }

    static bool hasKey(const char *key);
    static QVariant objectForKey(const char *key);
    static QString stringForKey(const char *key);
    static QByteArray dataForKey(const char *key);
    static bool boolForKey(const char *key);
    static QStringList stringListForKey(const char *key);

    // Every write and removal reaches the settings file before the call returns, so the keys
    // that must be synchronised at once ("localUri", "localSipUri", "faxReportSavePath",
    // "showExtendedToolbar", "saveSendDocument") are, and another process (the command line
    // beside the application) reads the current value.
    static void setObject(const QVariant &value, const char *key);
    static void removeObjectForKey(const char *key);
    static void synchronize();

    static void registerDefaults(const QVariantMap &defaults);

    // Start-up: "saveSendDocument" is set to true when absent, and
    // "NSApplicationCrashOnExceptions" is registered (not stored) as true.
    static void registerLaunchDefaults();

    // What the preferences show as the report folder when they open: the stored
    // "faxReportSavePath", or, on a first opening, the application support folder, which is
    // then stored (without a bookmark) and flushed.
    static QString reportSavePathForPreferences();

    // Where QSettings keeps the file; for diagnostics and tests.
    static QString fileName();
};
