#include "app/FBApplicationInstance.h"

#include "app/FBFaxService.h"
#include "app/FBHeadlessDocumentTarget.h"
#include "app/FBSpoolWatcher.h"
#include "foundation/FXLogging.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDir>
#include <QFileInfo>
#include <QTextStream>

#include <cstring>

namespace {

constexpr int forwardTimeoutMs = 25000;

const char instanceUsage[] = "Usage: faxolino FILE.pdf [--number NUMBER]\n"
                             "       faxolino --dial NUMBER\n"
                             "       faxolino --new-fax | --reports\n";

// The options that stand alone: no file, no number, nothing else.
struct WindowOption
{
    const char *name;
    FBApplicationInstance::Request::Kind kind;
};
constexpr WindowOption windowOptions[] = {
    {"--new-fax", FBApplicationInstance::Request::NewFax},
    {"--reports", FBApplicationInstance::Request::ShowReports},
};

// "--name VALUE" or "--name=VALUE"; advances index past what it used.
bool takeValue(const QStringList &arguments, qsizetype *index, const QString &name, QString *value,
               QString *error)
{
    const QString &argument = arguments.at(*index);
    const QString prefix = name + QLatin1Char('=');
    if (argument.startsWith(prefix)) {
        *value = argument.mid(prefix.size());
        return true;
    }
    if (*index + 1 >= arguments.size()) {
        *error = QStringLiteral("%1 needs a value").arg(name);
        return false;
    }
    *value = arguments.at(++*index);
    return true;
}

} // namespace

bool FBApplicationInstance::isInstanceRequest(int argc, char *argv[])
{
    if (argc < 2)
        return false;
    const char *first = argv[1];
    for (const WindowOption &option : windowOptions) {
        if (std::strcmp(first, option.name) == 0)
            return true;
    }
    return first[0] != '-' || std::strcmp(first, "--") == 0 || std::strncmp(first, "--dial", 6) == 0
           || std::strncmp(first, "--number", 8) == 0;
}

std::optional<FBApplicationInstance::Request>
FBApplicationInstance::parseArguments(const QStringList &arguments, QString *error)
{
    for (const WindowOption &option : windowOptions) {
        if (!arguments.contains(QLatin1String(option.name)))
            continue;
        if (arguments.size() != 1) {
            *error = QStringLiteral("%1 stands alone").arg(QLatin1String(option.name));
            return std::nullopt;
        }
        return Request{option.kind, {}, {}};
    }
    QString file, number, dial;
    bool hasFile = false, hasNumber = false, hasDial = false, optionsEnded = false;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        if (!optionsEnded && argument == QLatin1String("--")) {
            optionsEnded = true;
        } else if (!optionsEnded
                   && (argument == QLatin1String("--dial")
                       || argument.startsWith(QLatin1String("--dial=")))) {
            if (hasDial) {
                *error = QStringLiteral("--dial is given twice");
                return std::nullopt;
            }
            if (!takeValue(arguments, &i, QStringLiteral("--dial"), &dial, error))
                return std::nullopt;
            hasDial = true;
        } else if (!optionsEnded
                   && (argument == QLatin1String("--number")
                       || argument.startsWith(QLatin1String("--number=")))) {
            if (hasNumber) {
                *error = QStringLiteral("--number is given twice");
                return std::nullopt;
            }
            if (!takeValue(arguments, &i, QStringLiteral("--number"), &number, error))
                return std::nullopt;
            hasNumber = true;
        } else if (!optionsEnded && argument.startsWith(QLatin1Char('-'))
                   && argument != QLatin1String("-")) {
            *error = QStringLiteral("unknown option \"%1\"").arg(argument);
            return std::nullopt;
        } else if (hasFile) {
            *error = QStringLiteral("one file at a time");
            return std::nullopt;
        } else {
            file = argument;
            hasFile = true;
        }
    }

    Request request;
    if (hasDial) {
        if (hasFile || hasNumber) {
            *error = QStringLiteral("--dial takes no file and no --number");
            return std::nullopt;
        }
        request.kind = Request::Dial;
        request.number = dial;
        return request;
    }
    if (!hasFile || file.isEmpty()) {
        *error = hasNumber ? QStringLiteral("--number needs a file") : QStringLiteral("no file");
        return std::nullopt;
    }
    request.kind = hasNumber ? Request::FaxFile : Request::OpenFile;
    request.path = QFileInfo(file).absoluteFilePath();
    request.number = number;
    return request;
}

bool FBApplicationInstance::forward(const Request &request, QString *error)
{
    error->clear();
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return false;

    QString method;
    QVariantList arguments;
    switch (request.kind) {
    case Request::OpenFile:
        method = QStringLiteral("OpenFile");
        arguments = {request.path};
        break;
    case Request::FaxFile:
        method = QStringLiteral("FaxFile");
        arguments = {request.path, request.number};
        break;
    case Request::Dial:
        method = QStringLiteral("Dial");
        arguments = {request.number};
        break;
    case Request::Activate:
        method = QStringLiteral("Activate");
        break;
    case Request::NewFax:
        method = QStringLiteral("NewFax");
        break;
    case Request::ShowReports:
        method = QStringLiteral("ShowReports");
        break;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(QLatin1String(kFaxServiceName),
                                                       QLatin1String(kFaxServicePath),
                                                       QLatin1String(kFaxServiceInterface), method);
    call.setArguments(arguments);
    call.setAutoStartService(false);
    const QDBusMessage reply = bus.call(call, QDBus::Block, forwardTimeoutMs);
    if (reply.type() == QDBusMessage::ReplyMessage)
        return true;
    // Without automatic start the bus answers NameHasNoOwner for a name nobody holds.
    const QString name = reply.errorName();
    if (name != QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown")
        && name != QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner"))
        *error = reply.errorMessage();
    return false;
}

int FBApplicationInstance::run(int argc, char *argv[])
{
    // Without windows yet, the instance needs no display; forwarding never does.
    QCoreApplication app(argc, argv);
    QTextStream err(stderr);
    QString error;
    const std::optional<Request> request = parseArguments(app.arguments().mid(1), &error);
    if (!request) {
        err << "faxolino: " << error << "\n\n" << instanceUsage;
        return 2;
    }
    if (request->namesFile()) {
        const QFileInfo file(request->path);
        if (!file.isFile() || !file.isReadable()) {
            err << "faxolino: cannot read \"" << request->path << "\"\n";
            return 1;
        }
    }
    if (forward(*request, &error))
        return 0;
    if (!error.isEmpty()) {
        err << "faxolino: the running Faxolino did not answer: " << error << "\n";
        return 1;
    }
    if (request->needsWindow()) {
        err << "faxolino: no Faxolino window is open and there is no display to open one\n";
        return 1;
    }

    FBHeadlessDocumentTarget target;
    FBApplicationInstance instance(&target);
    if (instance.registerOrForward(*request))
        return 0;
    instance.perform(*request);
    instance.startSpoolWatcher();
    const int status = app.exec();
    FBHeadlessDocumentTarget::waitForCopies();
    return status;
}

FBApplicationInstance::FBApplicationInstance(FBFaxDocumentTarget *target, QObject *parent)
    : QObject(parent)
    , m_service(new FBFaxService(target, this))
    , m_watcher(new FBSpoolWatcher(FBSpoolWatcher::userSpoolFolder(FBSpoolWatcher::currentUser()),
                                   FBSpoolWatcher::currentUser(), this))
{
    m_watcher->setTarget(target);
}

bool FBApplicationInstance::registerService(QString *error)
{
    return m_service->registerOn(QDBusConnection::sessionBus(), error);
}

bool FBApplicationInstance::registerOrForward(const Request &request)
{
    QString error;
    if (registerService(&error))
        return false;
    QString forwardError;
    if (forward(request, &forwardError))
        return true;
    qCWarning(lcApp, "Running without the scripting service: %s", qUtf8Printable(error));
    return false;
}

void FBApplicationInstance::startSpoolWatcher()
{
    m_watcher->start();
}

void FBApplicationInstance::perform(const Request &request)
{
    switch (request.kind) {
    case Request::OpenFile:
        m_service->OpenFile(request.path);
        break;
    case Request::FaxFile:
        m_service->FaxFile(request.path, request.number);
        break;
    case Request::Dial:
        m_service->Dial(request.number);
        break;
    case Request::Activate:
        m_service->Activate();
        break;
    case Request::NewFax:
        m_service->NewFax();
        break;
    case Request::ShowReports:
        m_service->ShowReports();
        break;
    }
}
