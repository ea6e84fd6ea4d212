#include "sending/FXFaxConnection.h"

#include "document/FXFaxHelper.h"
#include "document/FXPDFGenerator.h"
#include "foundation/FBAccountCredentials.h"
#include "foundation/FBApplicationHelper.h"
#include "foundation/FBLocalization.h"
#include "foundation/FBUserDefaults.h"
#include "foundation/FXFaxFileManager.h"
#include "foundation/FXLogging.h"
#include "journal/FXCoreDataController.h"
#include "provider/VXRestConnection.h"
#include "recipients/FXPhoneNumber.h"
#include "sending/FXFaxReport.h"
#include "sending/FXFaxReportStore.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFutureWatcher>
#include <QSaveFile>
#include <QTemporaryFile>
#include <QTimer>
#include <QtConcurrent>

namespace {

int trafficInterval = FXFaxConnection::kTrafficIntervalMs;

FXFaxConnection::PagePreparer &pagePreparer()
{
    static FXFaxConnection::PagePreparer preparer;
    return preparer;
}

// The provider's status code. An answer without a usable one cannot be taken for a success:
// it counts as the code the service layer uses for an answer that says nothing (-1).
qint64 statusCodeOf(const XmlRpcValue &status)
{
    const XmlRpcValue &code = status["StatusCode"];
    if (code.isInt() || code.isDouble() || code.isString())
        return code.toInt(-1);
    return -1;
}

FXManagedObjectContext *journal()
{
    return FXCoreDataController::sharedInstance()->managedObjectContext();
}

void saveJournal()
{
    FXCoreDataController::sharedInstance()->saveMainContext();
}

} // namespace

FXFaxConnection::FXFaxConnection(QObject *parent)
    : QObject(parent)
    , m_reportDelegate(FXFaxReportStore::sharedInstance())
{}

FXFaxConnection::~FXFaxConnection()
{
    stopTimers();
    // Nobody is left to take the answers: the requests are aborted.
    for (const QPointer<VXRestConnection> &client : std::as_const(m_serviceClients))
        delete client.data();
}

void FXFaxConnection::setPagePreparer(PagePreparer preparer)
{
    pagePreparer() = std::move(preparer);
}

void FXFaxConnection::setTrafficIntervalMs(int ms)
{
    trafficInterval = ms > 0 ? ms : kTrafficIntervalMs;
}

int FXFaxConnection::trafficIntervalMs()
{
    return trafficInterval;
}

QString FXFaxConnection::e164Number(const QString &number, const QString &region)
{
    return FXPhoneNumber::formattedNumber(number, region, FXPhoneNumber::Format::E164);
}

QString FXFaxConnection::currentReceiverPhoneNumber() const
{
    if (_receiverNumbers.isEmpty())
        return QString();
    const QVariant &receiver = _receiverNumbers.first();
    if (receiver.typeId() == QMetaType::QVariantMap)
        return receiver.toMap().value(QStringLiteral("unifiedPhoneNumber")).toString();
    return receiver.toString();
}

QString FXFaxConnection::currentReceiverABRecordID() const
{
    if (_receiverNumbers.isEmpty())
        return QString();
    const QVariant &receiver = _receiverNumbers.first();
    if (receiver.typeId() != QMetaType::QVariantMap)
        return QString();
    return QString::number(receiver.toMap().value(QStringLiteral("uniqueID")).toLongLong());
}

void FXFaxConnection::startSendingFaxForPDFData(const QByteArray &data,
                                                const QVariantList &toReceiverNumbers)
{
    if (m_sending) {
        qCWarning(lcService, "A fax job is already running; the new one is ignored");
        return;
    }
    _pdfData = data;
    _receiverNumbers = toReceiverNumbers;
    m_sending = true;
    m_username = FBUserDefaults::stringForKey(kUsernameKey);
    FXError storeError;
    m_password = FBAccountCredentials::password(&storeError).value_or(QString());
    m_credentialsProblem =
        storeError ? QStringLiteral("The password could not be read from the credential store "
                                    "(%1)")
                         .arg(FBAccountCredentials::describeError(storeError))
                   : QString();
    if (_receiverNumbers.isEmpty()) {
        completeJob();
        return;
    }
    startSendingFax();
}

void FXFaxConnection::cancelRemainingReceivers()
{
    if (m_sending && _receiverNumbers.size() > 1)
        _receiverNumbers = {_receiverNumbers.first()};
}

void FXFaxConnection::completeJob()
{
    m_sending = false;
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (_delegate)
                _delegate->sendingAllFaxCompleted(this);
        },
        Qt::QueuedConnection);
}

void FXFaxConnection::startSendingFax()
{
    _destinationNumber = currentReceiverPhoneNumber();
    _sessionID.clear();
    const quint64 serial = ++m_receiverSerial;

    // Rendering takes seconds per page; the main thread stays free meanwhile. The processed
    // fax file is read back on the worker as well, so that the main thread never waits for
    // the disk.
    const QByteArray data = _pdfData;
    const QString header = FXFaxHelper::pageHeader();
    // The processed fax file is written into the working folder, which a fresh account has
    // not got yet.
    QDir().mkpath(FBApplicationHelper::applicationSupportFolder());
    const int type = int(_documentType);
    const int threshold = int(_documentTypeThreshold);
    auto *watcher = new QFutureWatcher<PreparedFax>(this);
    connect(watcher, &QFutureWatcher<PreparedFax>::finished, this, [this, watcher, serial] {
        watcher->deleteLater();
        if (serial != m_receiverSerial || !m_sending)
            return;
        sendPreparedFax(watcher->result());
    });
    const PagePreparer prepare = pagePreparer() ? pagePreparer() : PagePreparer([](auto &&...args) {
        return FXPDFGenerator::generatePDFWithData(args...);
    });
    watcher->setFuture(QtConcurrent::run([data, header, type, threshold, prepare] {
        PreparedFax prepared;
        // Jobs of one process (and the main window's preview) prepare pages at the same time:
        // each job's worker writes a file of its own beside the processed fax file and hands
        // its bytes over.
        const QFileInfo shared(FXFaxFileManager::filePathForProcessedFaxFile());
        QTemporaryFile processed(
            shared.dir().filePath(shared.completeBaseName() + QStringLiteral("-XXXXXX.pdf")));
        if (!processed.open()) {
            prepared.problem = processed.errorString();
            return prepared;
        }
        const FXFaxPageGenerator::Result result =
            prepare(data, header, type, threshold, processed.fileName());
        prepared.pageCount = result.written ? result.pageCount : 0;
        prepared.problem = result.errorString;
        // The generator replaced the file: read it afresh by its name.
        QFile written(processed.fileName());
        if (prepared.pageCount > 0 && written.open(QIODevice::ReadOnly))
            prepared.data = written.readAll();
        if (prepared.data.isEmpty())
            prepared.pageCount = 0;
        return prepared;
    }));
}

void FXFaxConnection::sendPreparedFax(const PreparedFax &prepared)
{
    QString number = e164Number(_destinationNumber, FXPhoneNumber::region());
    if (number.isEmpty()) {
        qCWarning(lcService,
                  "The number %s cannot be read as a phone number; it is recorded as typed",
                  qPrintable(_destinationNumber));
        number = _destinationNumber;
    }
    const QString localUri = FBUserDefaults::stringForKey(kLocalUriKey);

    FXManagedObjectContext *context = journal();
    Fax fax = context ? context->insertNewFax() : Fax();
    const QDateTime now = QDateTime::currentDateTime();
    fax.setContact(currentReceiverABRecordID());
    fax.setNumber(number);
    fax.setLine(localUri);
    fax.setDate(now);
    fax.setSubject(_coverSubject);
    fax.setCoverSheet(_useCoverSheet);
    fax.setAlgorithm(_documentType);
    fax.setPages(prepared.pageCount);
    const QString name = FXFaxFileManager::claimSendFaxFileName(now, number);
    // The fax's own copy of what it transmits: the report is made from it, also after a
    // restart, when the shared processed file holds another document.
    QSaveFile copy(FXFaxFileManager::filePathForTemporarySendFaxFile(name));
    if (!prepared.data.isEmpty()
        && (!copy.open(QIODevice::WriteOnly) || copy.write(prepared.data) != prepared.data.size()
            || !copy.commit())) {
        qCWarning(lcService, "Could not write the copy of the fax %s: %s", qPrintable(name),
                  qPrintable(copy.errorString()));
    }
    fax.setFile(name);
    fax.setFileURL(FBUserDefaults::dataForKey(kFaxReportSavePathDataKey));
    _currentFax = fax;
    saveJournal();

    _currentStartPageForSending = 0;
    _currentFaxProccess = 1;
    _numberOfFaxProccesses = 1.0;
    _currentProgress = 0.0;
    _cntError = 0;
    _lastErrorReason = QString();
    _lastState = QString();

    Connection connection = context ? context->insertNewConnectionForFax(fax) : Connection();
    connection.setBeginDate(QDateTime::currentDateTime());
    connection.setPageRange(Connection::pageRangeForPages(prepared.pageCount));
    connection.setPages(prepared.pageCount);
    saveJournal();
    _currentConnection = connection;
    m_claim.claim(connection);

    m_inSession = true;
    if (!m_credentialsProblem.isEmpty()) {
        qCWarning(lcService, "%s", qPrintable(m_credentialsProblem));
        handleSentAndFailedStatus(XmlRpcMap{{QStringLiteral("SessionStatus"), "failed"},
                                            {QStringLiteral("StatusCode"), -1}},
                                  m_credentialsProblem);
        return;
    }
    if (prepared.pageCount <= 0) {
        // Nothing the provider could transmit; asking it would only cost a session.
        qCWarning(lcService, "The fax pages could not be prepared: %s",
                  qPrintable(prepared.problem.isEmpty()
                                 ? QStringLiteral("the document has no pages")
                                 : prepared.problem));
        handleSentAndFailedStatus(XmlRpcMap{{QStringLiteral("SessionStatus"), "failed"},
                                            {QStringLiteral("StatusCode"), -1}});
        return;
    }
    newServiceClient()->sendFaxFileData(prepared.data, _destinationNumber);
    delete m_giveUpTimer;
    m_giveUpTimer = new QTimer(this);
    m_giveUpTimer->setSingleShot(true);
    connect(m_giveUpTimer, &QTimer::timeout, this, [this] {
        failUnacceptedReceiver(QStringLiteral("The provider did not accept the fax within %1 s")
                                   .arg(m_giveUpAfterMs / 1000.0));
    });
    m_giveUpTimer->start(m_giveUpAfterMs);
    Q_EMIT sessionRequested(_destinationNumber);
}

void FXFaxConnection::didSendFaxFileSucceededWithSessionID(const QString &sessionID)
{
    if (!m_inSession || _statusAfterSending)
        return;
    _currentConnection.setSessionID(sessionID);
    saveJournal();
    _sessionID = sessionID;
    _statusAfterSending = true;
    _currentConnection.setBeginDate(QDateTime::currentDateTime());
    stopTimers();
    trafficTimer = new QTimer(this);
    trafficTimer->setInterval(trafficInterval);
    connect(trafficTimer, &QTimer::timeout, this, &FXFaxConnection::loadTrafficData);
    trafficTimer->start();
    Q_EMIT sessionAccepted(sessionID);
}

void FXFaxConnection::loadTrafficData()
{
    threadLoadTrafficData();
}

void FXFaxConnection::threadLoadTrafficData()
{
    if (_sessionID.isEmpty())
        return;
    newServiceClient()->sessionStatusForID(_sessionID);
}

void FXFaxConnection::didReceiveSessionStatus(const XmlRpcValue &status, const QString &forID)
{
    if (!_statusAfterSending || forID != _sessionID)
        return;
    const QString state = status["SessionStatus"].toString();
    if (state == QLatin1String("sent") || state == QLatin1String("failed"))
        stopTimers();
    changeProgressToState(status);
}

void FXFaxConnection::didFailWithTransportError(const QString &errorString)
{
    // Only the session request matters here; a status question that fails is asked again.
    if (m_inSession && !_statusAfterSending)
        failUnacceptedReceiver(errorString);
}

void FXFaxConnection::failUnacceptedReceiver(const QString &errorText)
{
    if (!m_inSession || _statusAfterSending)
        return;
    qCWarning(lcService, "The fax to %s was not accepted: %s", qPrintable(_destinationNumber),
              qPrintable(errorText));
    // A late acceptance must not revive the receiver: its request is given up.
    releaseServiceClients();
    for (const QPointer<VXRestConnection> &client : std::as_const(m_serviceClients)) {
        if (client)
            client->deleteLater();
    }
    handleSentAndFailedStatus(
        XmlRpcMap{{QStringLiteral("SessionStatus"), "failed"}, {QStringLiteral("StatusCode"), -1}},
        errorText);
}

void FXFaxConnection::didFailWithErrorCode(qint64 code)
{
    if (!m_inSession)
        return;
    stopTimers();
    XmlRpcMap status{{QStringLiteral("SessionStatus"), QStringLiteral("failed")},
                     {QStringLiteral("StatusCode"), code}};
    changeProgressToState(status);
}

void FXFaxConnection::changeProgressToState(const XmlRpcValue &status)
{
    const QString state = status["SessionStatus"].toString();
    if (statusCodeOf(status) != 200) {
        handleSentAndFailedStatus(status);
    } else if (state == QLatin1String("queued")) {
        _currentProgress = _numberOfFaxProccesses;
        reportProgress(_currentProgress, 0, FXText("fax_trasmit_queued"),
                       status["reason"].toString(), QString());
    } else if (state == QLatin1String("sending")) {
        if (_lastState == QLatin1String("queued") || _lastState.isEmpty())
            _currentConnection.setBeginDate(QDateTime::currentDateTime());
        _currentProgress = _numberOfFaxProccesses / double(_currentFaxProccess);
        reportProgress(_currentProgress, 1, FXText("fax_trasmit_data"), status["reason"].toString(),
                       QString());
    } else if (state == QLatin1String("sent") || state == QLatin1String("failed")) {
        handleSentAndFailedStatus(status);
    }
    // After a finished receiver the next one starts with its own, empty last state.
    if (_statusAfterSending)
        _lastState = state;
}

void FXFaxConnection::handleSentAndFailedStatus(const XmlRpcValue &status, const QString &errorText)
{
    const bool sent = status["SessionStatus"].toString() == QLatin1String("sent");
    const qint64 code = statusCodeOf(status);
    m_inSession = false;
    stopTimers();
    releaseServiceClients();

    _currentConnection.setReason(sent ? QStringLiteral("0") : QString::number(code));
    _currentConnection.setFinishDate(QDateTime::currentDateTime());
    saveJournal();
    m_claim.release();
    if (!_currentFax.isNull() && m_reportDelegate)
        FXFaxReport::generateFaxReportForFax(_currentFax, m_reportDelegate);

    if (!_receiverNumbers.isEmpty())
        _receiverNumbers.removeFirst();
    _currentConnection = Connection();

    if (sent) {
        reportProgress(status["progress"].toDouble(), 2, FXText("fax_succeeded"),
                       status["reason"].toString(), QString());
    } else {
        const QString text = !errorText.isEmpty() ? errorText
                             : code == 401        ? FXText("error_auth")
                                                  : QStringLiteral("Error Code: %1").arg(code);
        reportProgress(0.0, -1, FXText("fax_failed"), QString::number(code), text);
    }

    _statusAfterSending = false;
    _sessionID.clear();
    if (_receiverNumbers.isEmpty())
        completeJob();
    else
        startSendingFax();
}

void FXFaxConnection::reportProgress(double progress, int state, const QString &title,
                                     const QString &errorReason, const QString &errorReasonTitle)
{
    if (_delegate) {
        _delegate->changedProgress(progress, state, title, _destinationNumber, errorReason,
                                   errorReasonTitle, _currentFax);
    }
}

void FXFaxConnection::stopTimers()
{
    if (m_giveUpTimer) {
        m_giveUpTimer->stop();
        m_giveUpTimer->deleteLater();
        m_giveUpTimer = nullptr;
    }
    if (trafficTimer) {
        trafficTimer->stop();
        trafficTimer->deleteLater();
        trafficTimer = nullptr;
    }
}

VXRestConnection *FXFaxConnection::newServiceClient()
{
    m_serviceClients.removeAll(QPointer<VXRestConnection>());
    auto *client = new VXRestConnection();
    client->setDelegate(this);
    client->setCredentials(m_username, m_password);
    m_serviceClients.append(client);
    return client;
}

void FXFaxConnection::releaseServiceClients()
{
    for (const QPointer<VXRestConnection> &client : std::as_const(m_serviceClients)) {
        if (client)
            client->setDelegate(nullptr);
    }
}
