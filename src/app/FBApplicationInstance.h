#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <optional>

class FBFaxDocumentTarget;
class FBFaxService;
class FBSpoolWatcher;

// One Faxolino per user. The first one owns the scripting service on the session bus and the
// spool watcher; `faxolino FILE.pdf [--number NUMBER]`, `faxolino --dial NUMBER`, `faxolino
// --new-fax` and `faxolino --reports` hand their request to it through the bus, or become that
// instance when none runs.
class FBApplicationInstance : public QObject
{
    Q_OBJECT

public:
    struct Request
    {
        // Activate: a start without a document, which brings the running window forward.
        // NewFax and ShowReports: the desktop entry's actions.
        enum Kind { OpenFile, FaxFile, Dial, Activate, NewFax, ShowReports };
        Kind kind = OpenFile;
        QString path; // absolute
        QString number;

        bool namesFile() const { return kind == OpenFile || kind == FaxFile; }
        bool needsWindow() const { return kind == NewFax || kind == ShowReports; }
    };

    // True when the arguments are such a request rather than an option of main.
    static bool isInstanceRequest(int argc, char *argv[]);
    // Relative paths are resolved against the working folder, which the running instance does
    // not share.
    static std::optional<Request> parseArguments(const QStringList &arguments, QString *error);
    // Hands the request to the running instance. False with an empty error when none runs.
    static bool forward(const Request &request, QString *error);
    // The program for instance requests: forwards, or becomes the instance and runs until
    // it is ended.
    static int run(int argc, char *argv[]);

    // The target is not owned.
    explicit FBApplicationInstance(FBFaxDocumentTarget *target, QObject *parent = nullptr);

    // Claims the service name; false when another instance owns it or there is no bus.
    bool registerService(QString *error = nullptr);
    // Claims the service name, or hands the request to an instance that claimed it since we
    // looked: true when it was handed over. Without the name, this one runs on all the same.
    bool registerOrForward(const Request &request);
    void startSpoolWatcher();
    // Carries a request out here, as the service would for a forwarded one.
    void perform(const Request &request);

    FBFaxService *service() const { return m_service; }
    FBSpoolWatcher *spoolWatcher() const { return m_watcher; }

private:
    FBFaxService *m_service;
    FBSpoolWatcher *m_watcher;
};
