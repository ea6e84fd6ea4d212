#include "provider/VXTransfer.h"

#include "foundation/FXLogging.h"
#include "provider/VXProvider.h"

#include <QCoreApplication>
#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <chrono>

namespace {

std::atomic<int> deadlineMs{60 * 1000};
constexpr qint64 kReadBufferBytes = 1024 * 1024;

bool isLoopbackHost(const QString &host)
{
    if (host.compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0
        || host.compare(QLatin1String("localhost."), Qt::CaseInsensitive) == 0)
        return true;
    QHostAddress address;
    return address.setAddress(host) && address.isLoopback();
}

// Errors Qt derives from an HTTP status of 400 or more: the answer itself arrived complete.
bool isHttpStatusError(QNetworkReply::NetworkError error)
{
    switch (error) {
    case QNetworkReply::ContentAccessDenied:
    case QNetworkReply::ContentOperationNotPermittedError:
    case QNetworkReply::ContentNotFoundError:
    case QNetworkReply::AuthenticationRequiredError:
    case QNetworkReply::ContentConflictError:
    case QNetworkReply::ContentGoneError:
    case QNetworkReply::UnknownContentError:
    case QNetworkReply::ProtocolInvalidOperationError:
    case QNetworkReply::ProxyAuthenticationRequiredError:
    case QNetworkReply::InternalServerError:
    case QNetworkReply::OperationNotImplementedError:
    case QNetworkReply::ServiceUnavailableError:
    case QNetworkReply::UnknownServerError:
        return true;
    default:
        return false;
    }
}

QString tooLargeText()
{
    return QStringLiteral("The answer is larger than %1 bytes")
        .arg(VXTransfer::kMaximumAnswerBytes);
}

thread_local QPointer<QNetworkAccessManager> threadManager;

// Runs on the main thread while the application object still exists: the manager's network
// thread closes its cached TLS connections then, not after the application is gone.
void deleteMainThreadManager()
{
    delete threadManager.data();
}

} // namespace

VXTransfer::VXTransfer(QObject *parent)
    : QObject(parent)
{}

VXTransfer::~VXTransfer()
{
    if (m_reply) {
        // Deleted before its completion: end the request without running it.
        disconnect(m_reply, nullptr, this, nullptr);
        m_reply->abort();
        m_reply->deleteLater();
    }
}

QNetworkAccessManager *VXTransfer::sharedNetworkAccessManager()
{
    if (!threadManager) {
        auto *created = new QNetworkAccessManager;
        created->setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
        QThread *thread = QThread::currentThread();
        QCoreApplication *application = QCoreApplication::instance();
        if (application && application->thread() == thread) {
            created->setParent(application);
            qAddPostRoutine(deleteMainThreadManager);
        } else {
            connect(thread, &QThread::finished, created, &QObject::deleteLater);
        }
        threadManager = created;
    }
    return threadManager;
}

bool VXTransfer::isPermittedEndpoint(const QUrl &url, QString *reason)
{
    const auto refuse = [reason](const char *why) {
        if (reason)
            *reason = QLatin1String(why);
        return false;
    };
    if (!url.isValid() || url.host().isEmpty())
        return refuse("not a valid network address");
    if (url.scheme() == QLatin1String("https"))
        return true;
    if (url.scheme() != QLatin1String("http"))
        return refuse("only https is allowed");
    if (!isLoopbackHost(url.host()))
        return refuse("plain http is allowed only to a loopback host");
    return true;
}

QUrl VXTransfer::endpointFromEnvironment(const char *variable, const char *fallback)
{
    const QString value = qEnvironmentVariable(variable).trimmed();
    // A malformed override stays malformed (and is refused) rather than falling back to the
    // real service behind the tester's back.
    QUrl url(value.isEmpty() ? QLatin1String(fallback) : value, QUrl::StrictMode);
    // Credentials travel only in our own Authorization header.
    url.setUserInfo(QString());
    return url;
}

void VXTransfer::prepareRequest(QNetworkRequest &request)
{
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                         QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    request.setTransferTimeout(timeoutMs());

    QSslConfiguration ssl = QSslConfiguration::defaultConfiguration();
    ssl.setPeerVerifyMode(QSslSocket::VerifyPeer);
    const QString caFile = qEnvironmentVariable(kVXCAFileVariable);
    if (!caFile.isEmpty()) {
        const QList<QSslCertificate> authorities = QSslCertificate::fromPath(caFile);
        if (authorities.isEmpty())
            qCWarning(lcService, "No certificate authority could be read from %s",
                      qUtf8Printable(caFile));
        ssl.addCaCertificates(authorities);
    }
    request.setSslConfiguration(ssl);
}

void VXTransfer::setTimeoutMs(int ms)
{
    deadlineMs = ms > 0 ? ms : 60 * 1000;
}

int VXTransfer::timeoutMs()
{
    return deadlineMs;
}

qint64 VXTransfer::totalDeadlineMs(qint64 bodyBytes)
{
    constexpr qint64 slowestBytesPerSecond = 64 * 1024;
    return timeoutMs() + std::max<qint64>(bodyBytes, 0) * 1000 / slowestBytesPerSecond;
}

void VXTransfer::start(const QNetworkRequest &request, const QByteArray &body,
                       Completion completion)
{
    Q_ASSERT(!m_completion && !m_reply);
    m_completion = std::move(completion);

    QString reason;
    if (!isPermittedEndpoint(request.url(), &reason)) {
        qCWarning(lcService, "Refusing to connect to %s: %s",
                  qUtf8Printable(request.url().toDisplayString(QUrl::RemoveUserInfo)),
                  qUtf8Printable(reason));
        Result result;
        result.transportError = true;
        result.errorString =
            QStringLiteral("Refused to connect to %1: %2").arg(request.url().host(), reason);
        QMetaObject::invokeMethod(
            this, [this, result] { complete(result); }, Qt::QueuedConnection);
        return;
    }

    // A timer of our own: the request's transfer timeout starts afresh with every byte.
    m_deadline = new QTimer(this);
    m_deadline->setSingleShot(true);
    const qint64 deadline = totalDeadlineMs(body.size());
    connect(m_deadline, &QTimer::timeout, this, [this, deadline] {
        breakOff(QStringLiteral("The request timed out after %1 ms").arg(deadline));
    });
    m_deadline->start(std::chrono::milliseconds(deadline));

    m_reply = sharedNetworkAccessManager()->post(request, body);
    // Without a bound Qt's network thread reads on, however slowly the answer is taken from
    // it; with one it waits for us, so an oversized answer is never held whole.
    m_reply->setReadBufferSize(kReadBufferBytes);
    connect(m_reply, &QNetworkReply::metaDataChanged, this, &VXTransfer::onMetaDataChanged);
    connect(m_reply, &QNetworkReply::readyRead, this, &VXTransfer::onReadyRead);
    connect(m_reply, &QNetworkReply::finished, this, &VXTransfer::onFinished);
}

void VXTransfer::onMetaDataChanged()
{
    bool known = false;
    const qint64 announced =
        m_reply->header(QNetworkRequest::ContentLengthHeader).toLongLong(&known);
    if (known && announced > kMaximumAnswerBytes)
        breakOff(tooLargeText());
}

void VXTransfer::onReadyRead()
{
    const QByteArray chunk = m_reply->readAll();
    if (m_body.size() + chunk.size() > kMaximumAnswerBytes) {
        m_body.clear();
        breakOff(tooLargeText());
        return;
    }
    m_body.append(chunk);
}

void VXTransfer::breakOff(const QString &reason)
{
    if (!m_breakOffReason.isEmpty() || !m_reply)
        return;
    m_breakOffReason = reason;
    // Finishes the reply, which runs onFinished (possibly right away): nothing may touch
    // this object after the call.
    m_reply->abort();
}

void VXTransfer::onFinished()
{
    QNetworkReply *reply = m_reply;
    Result result;
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    result.statusCode = status.isValid() ? status.toInt() : 0;
    result.headers = reply->rawHeaderPairs();

    const QNetworkReply::NetworkError error = reply->error();
    if (!m_breakOffReason.isEmpty()) {
        result.transportError = true;
        result.errorString = m_breakOffReason;
    } else if (error == QNetworkReply::OperationCanceledError) {
        // Nothing here aborts without a reason: this is Qt's inactivity timeout.
        result.transportError = true;
        result.errorString =
            QStringLiteral("The request timed out after %1 ms without progress").arg(timeoutMs());
    } else if (error != QNetworkReply::NoError && !(status.isValid() && isHttpStatusError(error))) {
        result.transportError = true;
        result.errorString = reply->errorString();
    } else {
        const QByteArray rest = reply->readAll();
        if (m_body.size() + rest.size() > kMaximumAnswerBytes) {
            result.transportError = true;
            result.errorString = tooLargeText();
        } else {
            m_body.append(rest);
            result.body = std::move(m_body);
        }
    }
    m_body.clear();
    complete(result);
}

void VXTransfer::complete(const Result &result)
{
    if (m_deadline)
        m_deadline->stop();
    if (m_reply) {
        disconnect(m_reply, nullptr, this, nullptr);
        m_reply->deleteLater();
        m_reply = nullptr;
    }
    // The completion may delete our parent; detached, this object outlives that call and
    // goes on its own.
    setParent(nullptr);
    deleteLater();
    Completion completion = std::move(m_completion);
    m_completion = nullptr;
    if (completion)
        completion(result);
}
