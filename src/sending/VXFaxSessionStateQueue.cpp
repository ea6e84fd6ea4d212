#include "sending/VXFaxSessionStateQueue.h"

#include "journal/Connection.h"
#include "journal/FXCoreDataController.h"
#include "journal/FXManagedObjectContext.h"
#include "provider/VXRestConnection.h"
#include "sending/FXConnectionClaim.h"
#include "sending/FXFaxConnection.h"
#include "sending/FXFaxReport.h"

#include <atomic>

namespace {

std::atomic<int> intervalMs{60 * 1000};
std::atomic<int> giveUpAfterMs{FXFaxConnection::kGiveUpAfterMs};

// "StatusCode" as the journal keeps it: the number's decimal text. A provider that sends the
// code as text is taken at its word.
QString reasonForStatusCode(const XmlRpcValue &code)
{
    if (code.type() == XmlRpcValue::Type::String)
        return code.toString();
    return QString::number(code.toInt());
}

} // namespace

void VXFaxSessionStateQueue::setIntervalMs(int ms)
{
    intervalMs = ms;
}

void VXFaxSessionStateQueue::setGiveUpAfterMs(int ms)
{
    giveUpAfterMs = ms > 0 ? ms : FXFaxConnection::kGiveUpAfterMs;
}

VXFaxSessionStateQueue::VXFaxSessionStateQueue(FXFaxReportDelegate *delegate, QObject *parent)
    : QObject(parent)
    , m_delegate(delegate)
{
    updateOpenSessionStates();
    m_timer.setInterval(intervalMs.load());
    connect(&m_timer, &QTimer::timeout, this, &VXFaxSessionStateQueue::updateOpenSessionStates);
    m_timer.start();
}

VXFaxSessionStateQueue::~VXFaxSessionStateQueue()
{
    // Requests still in flight are cancelled: their answers have nobody to go to, and a
    // process that ends meanwhile must not leave them behind.
    for (const QPointer<VXRestConnection> &pass : std::as_const(m_passes)) {
        if (pass) {
            pass->setDelegate(nullptr);
            disconnect(pass, nullptr, this, nullptr);
            delete pass.data();
        }
    }
}

void VXFaxSessionStateQueue::updateOpenSessionStates()
{
    m_passes.removeAll(nullptr);
    FXManagedObjectContext *context =
        FXCoreDataController::sharedInstance()->managedObjectContext();
    QList<Connection> open;
    const QDateTime now = QDateTime::currentDateTime();
    const QDateTime givenUp = now.addMSecs(-giveUpAfterMs.load());
    bool closedAny = false;
    const QList<Connection> fetched =
        context ? context->fetchOpenConnections() : QList<Connection>();
    for (Connection connection : fetched) {
        // A job is following it; its outcome is the job's to record.
        if (FXConnectionClaim::isClaimed(connection))
            continue;
        if (connection.sessionID().isEmpty()
            && (!connection.beginDate().isValid() || connection.beginDate() < givenUp)) {
            connection.setReason(QStringLiteral("-1"));
            connection.setFinishDate(now);
            FXFaxReport::generateFaxReportForFax(connection.fax(), m_delegate);
            closedAny = true;
            continue;
        }
        open.append(connection);
    }
    if (closedAny)
        FXCoreDataController::sharedInstance()->saveMainContext();
    if (open.isEmpty()) {
        QMetaObject::invokeMethod(this, &VXFaxSessionStateQueue::passFinished,
                                  Qt::QueuedConnection);
        return;
    }
    // One client per pass; it goes away by itself after its last answer, which ends the pass.
    auto *pass = new VXRestConnection;
    pass->setDelegate(this);
    connect(pass, &QObject::destroyed, this, &VXFaxSessionStateQueue::passFinished);
    m_passes.append(pass);
    for (const Connection &connection : open)
        pass->sessionStatusForID(connection.sessionID());
}

void VXFaxSessionStateQueue::didReceiveSessionStatus(const XmlRpcValue &status,
                                                     const QString &forID)
{
    FXManagedObjectContext *context =
        FXCoreDataController::sharedInstance()->managedObjectContext();
    if (!context)
        return;
    // Deliberately, the state is consulted, as the job does: the provider
    // answers "StatusCode" 200 for every session it knows, so taking the code alone closed
    // sent faxes as failed (200) and queued ones before they were sent. A session still
    // "queued" or "sending" stays open and is asked again at the next pass; "sent" closes
    // with "0". An answer without "SessionStatus" is recorded by its code, as it always was.
    const bool hasState = status.contains(QStringLiteral("SessionStatus"));
    const QString state = status["SessionStatus"].toString();
    if (hasState && (state == QLatin1String("queued") || state == QLatin1String("sending")))
        return;
    const bool sent = hasState && state == QLatin1String("sent");
    const bool hasCode = status.contains(QStringLiteral("StatusCode"));
    const QString reason = sent      ? QStringLiteral("0")
                           : hasCode ? reasonForStatusCode(status["StatusCode"])
                                     : QString();
    for (Connection connection : context->fetchConnectionsWithSessionID(forID)) {
        if (FXConnectionClaim::isClaimed(connection))
            continue;
        if (!reason.isNull())
            connection.setReason(reason);
        FXFaxReport::generateFaxReportForFax(connection.fax(), m_delegate);
    }
    FXCoreDataController::sharedInstance()->saveMainContext();
}
