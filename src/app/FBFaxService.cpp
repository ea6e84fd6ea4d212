#include "app/FBFaxService.h"

#include "app/FBFaxCommand.h"
#include "app/FBFaxDocumentTarget.h"
#include "foundation/FBRegularFile.h"
#include "foundation/FXLogging.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>
#include <QDir>
#include <QFileInfo>

namespace {

const QString invalidArgumentError = QStringLiteral("org.voxaria.Faxolino.Error.InvalidArgument");
constexpr qint64 kHeaderWindow = 1024;

bool isFileCommand(const QString &code)
{
    return code == QLatin1String(kFaxDocumentCommandCode)
           || code == QLatin1String(kFaxDocumentToNumberCommandCode);
}

} // namespace

FBFaxService::FBFaxService(FBFaxDocumentTarget *target, QObject *parent)
    : QObject(parent)
    , m_target(target)
{}

bool FBFaxService::registerOn(const QDBusConnection &connection, QString *error)
{
    auto fail = [error](const QString &text) {
        if (error)
            *error = text;
        return false;
    };
    if (!connection.isConnected())
        return fail(QStringLiteral("no session bus: %1").arg(connection.lastError().message()));
    QDBusConnection bus(connection);
    if (!bus.registerObject(QLatin1String(kFaxServicePath), this,
                            QDBusConnection::ExportAllSlots)) {
        return fail(QStringLiteral("the object path %1 is taken").arg(kFaxServicePath));
    }
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply =
        bus.interface()->registerService(QLatin1String(kFaxServiceName),
                                         QDBusConnectionInterface::DontQueueService,
                                         QDBusConnectionInterface::DontAllowReplacement);
    if (!reply.isValid() || reply.value() != QDBusConnectionInterface::ServiceRegistered) {
        bus.unregisterObject(QLatin1String(kFaxServicePath));
        return fail(reply.isValid()
                        ? QStringLiteral("%1 is owned by another process").arg(kFaxServiceName)
                        : reply.error().message());
    }
    return true;
}

void FBFaxService::OpenFile(const QString &path)
{
    if (acceptPath(path) && m_target)
        m_target->openFile(path);
}

void FBFaxService::FaxFile(const QString &path, const QString &number)
{
    const QVariantMap arguments{{QLatin1String(kNumberArgumentKey), number}};
    perform(QLatin1String(kFaxDocumentToNumberCommandCode), QStringLiteral("FaxFile"), path,
            arguments);
}

void FBFaxService::Dial(const QString &number)
{
    perform(QLatin1String(kDialCommandCode), QStringLiteral("Dial"), number, {});
}

void FBFaxService::Activate()
{
    if (m_target)
        m_target->activate();
}

void FBFaxService::NewFax()
{
    if (m_target)
        m_target->newFax();
}

void FBFaxService::ShowReports()
{
    if (m_target)
        m_target->showReports();
}

void FBFaxService::Command(const QString &commandCode, const QString &directParameter,
                           const QVariantMap &arguments)
{
    perform(commandCode, QStringLiteral("Command"), directParameter, arguments);
}

void FBFaxService::perform(const QString &code, const QString &name, const QString &directParameter,
                           const QVariantMap &arguments)
{
    if (isFileCommand(code) && !acceptPath(directParameter))
        return;
    FBFaxCommand command(code, name, directParameter, arguments);
    command.setTarget(m_target);
    command.performDefaultImplementation();
}

// Anybody on the session bus may call: a document is checked before anything reads or copies
// it, and a refusal is the caller's error reply.
bool FBFaxService::acceptPath(const QString &path)
{
    QString problem;
    QFile file;
    if (path.isEmpty() || !QDir::isAbsolutePath(path)) {
        problem = QStringLiteral("the path must be absolute");
    } else if (!FBRegularFile::openForReading(path, &file, &problem)) {
        // Missing, unreadable, or no regular file: the reason is in `problem`.
    } else if (file.size() > FBFaxDocumentTarget::kMaximumDocumentBytes) {
        problem =
            QStringLiteral("larger than %1 bytes").arg(FBFaxDocumentTarget::kMaximumDocumentBytes);
    } else if (!file.read(kHeaderWindow).contains("%PDF")) {
        // PDF readers accept the header anywhere in the first kilobyte.
        problem = QStringLiteral("not a PDF document");
    }
    if (problem.isEmpty())
        return true;

    qCWarning(lcApp, "Refused document \"%s\": %s", qUtf8Printable(path), qUtf8Printable(problem));
    if (calledFromDBus())
        sendErrorReply(invalidArgumentError, QStringLiteral("%1: %2").arg(path, problem));
    return false;
}
