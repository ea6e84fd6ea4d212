#pragma once

#include <QDBusContext>
#include <QObject>
#include <QVariantMap>

class FBFaxDocumentTarget;

inline constexpr char kFaxServiceName[] = "org.voxaria.Faxolino";
inline constexpr char kFaxServicePath[] = "/org/voxaria/Faxolino";
inline constexpr char kFaxServiceInterface[] = "org.voxaria.Faxolino";

// The scripting entry on the session bus. Every method becomes a scripting command
// (FBFaxCommand) or an "open file" request on the application controller. A document must be
// an absolute path to a regular file of at most 512 MB with "%PDF" in its first kilobyte;
// anything else (missing files, devices, pipes, folders, huge files) is refused with an error
// reply before it reaches the controller, whose reads would otherwise block or never end.
//
// The slots are named as they appear on the bus.
class FBFaxService : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.voxaria.Faxolino")

public:
    explicit FBFaxService(FBFaxDocumentTarget *target, QObject *parent = nullptr);

    void setTarget(FBFaxDocumentTarget *target) { m_target = target; }

    // Exports the object on the connection and claims the service name. False when the name
    // belongs to another process (a running instance) or there is no bus.
    bool registerOn(const QDBusConnection &connection, QString *error = nullptr);

public Q_SLOTS:
    // Like opening the file from the desktop.
    void OpenFile(const QString &path);
    // "faxd": a new fax of the file, to the number ("" pre-sets none).
    void FaxFile(const QString &path, const QString &number);
    // "dial": a new fax to the number.
    void Dial(const QString &number);
    // Another start of the application: the running one comes to the front.
    void Activate();
    // The desktop entry's actions: an empty fax window, the report window.
    void NewFax();
    void ShowReports();
    // Any command code with its direct parameter and named arguments ("numb").
    void Command(const QString &commandCode, const QString &directParameter,
                 const QVariantMap &arguments);

private:
    bool acceptPath(const QString &path);
    void perform(const QString &code, const QString &name, const QString &directParameter,
                 const QVariantMap &arguments);

    FBFaxDocumentTarget *m_target;
};
