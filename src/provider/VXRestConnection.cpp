#include "provider/VXRestConnection.h"

#include "foundation/FBAccountCredentials.h"
#include "foundation/FBUserDefaults.h"
#include "foundation/FXLogging.h"
#include "provider/VXProvider.h"
#include "provider/VXTransfer.h"
#include "provider/xmlrpc/WPXMLRPCDecoder.h"
#include "provider/xmlrpc/WPXMLRPCEncoder.h"

#include <QBuffer>
#include <QPointer>

namespace {

// A hostile server must not be able to fill the log with one answer.
constexpr qsizetype kMaximumLoggedBodyBytes = 16 * 1024;

QByteArray headerText(const QList<QPair<QByteArray, QByteArray>> &headers)
{
    QByteArray text = "{";
    for (const auto &[name, value] : headers) {
        if (text.size() > 1)
            text += ", ";
        text += name + ": " + value;
    }
    return text + '}';
}

QString bodyText(const QByteArray &body)
{
    if (body.size() <= kMaximumLoggedBodyBytes)
        return QString::fromUtf8(body);
    return QString::fromUtf8(body.left(kMaximumLoggedBodyBytes))
           + QStringLiteral("... (%1 bytes)").arg(body.size());
}

} // namespace

VXRestConnection::VXRestConnection(QObject *parent)
    : VXClient(parent)
{}

VXRestConnection::~VXRestConnection() = default;

QUrl VXRestConnection::apiURL()
{
    return VXTransfer::endpointFromEnvironment(kVXApiURLVariable, kVXApiURL);
}

QByteArray VXRestConnection::authorizationValue()
{
    const QString username = FBUserDefaults::stringForKey(kUsernameKey);
    FXError ignored;
    const QString password = FBAccountCredentials::password(&ignored).value_or(QString());
    return authorizationValue(username, password);
}

QByteArray VXRestConnection::authorizationValue(const QString &username, const QString &password)
{
    return "Basic " + QStringLiteral("%1:%2").arg(username, password).toUtf8().toBase64();
}

void VXRestConnection::setCredentials(const QString &username, const QString &password)
{
    m_authorization = authorizationValue(username, password);
}

QNetworkRequest VXRestConnection::requestWithXMLRPCEncoder(const WPXMLRPCEncoder &encoder,
                                                           QByteArray *body,
                                                           const QByteArray &authorization)
{
    QNetworkRequest request(apiURL());
    VXTransfer::prepareRequest(request);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("text/xml"));
    if (body) {
        body->clear();
        QBuffer buffer(body);
        buffer.open(QIODevice::WriteOnly);
        if (!encoder.encodeToDevice(&buffer))
            body->clear();
    }
    request.setRawHeader("Authorization",
                         authorization.isEmpty() ? authorizationValue() : authorization);
    return request;
}

void VXRestConnection::sendFaxFileData(const QByteArray &data, const QString &toRemoteUr)
{
    QString number = toRemoteUr;
    number.remove(QLatin1Char('+'));
    const QString remoteUri = QStringLiteral("sip:%1@%2").arg(number, QLatin1String(kVXSipDomain));
    const QString localUri = FBUserDefaults::stringForKey(kLocalSipUriKey);

    // The provider reads the members in this order.
    XmlRpcMap session;
    if (!localUri.isEmpty())
        session.insert(QStringLiteral("LocalUri"), localUri);
    session.insert(QStringLiteral("RemoteUri"), remoteUri);
    session.insert(QStringLiteral("TOS"), QStringLiteral("fax"));
    // A string of base-64 text, not an XML-RPC base64 value; kept as UTF-8 so a large
    // document is never widened.
    session.insert(QStringLiteral("Content"), XmlRpcValue::fromUtf8(data.toBase64()));

    start(Call::Initiate,
          WPXMLRPCEncoder::initWithMethod(QStringLiteral("zentari.SessionInitiate"),
                                          {XmlRpcValue(session)}),
          QString());
}

void VXRestConnection::sessionStatusForID(const QString &sessionID)
{
    XmlRpcMap query;
    query.insert(QStringLiteral("SessionID"), sessionID);
    start(Call::Status,
          WPXMLRPCEncoder::initWithMethod(QStringLiteral("zentari.SessionStatusGet"),
                                          {XmlRpcValue(query)}),
          sessionID);
}

void VXRestConnection::ownUriList()
{
    start(Call::OwnUriList,
          WPXMLRPCEncoder::initWithMethod(QStringLiteral("zentari.OwnUriListGet"), {}), QString());
}

void VXRestConnection::balance()
{
    start(Call::Balance, WPXMLRPCEncoder::initWithMethod(QStringLiteral("zentari.BalanceGet"), {}),
          QString());
}

void VXRestConnection::setRequestTimeoutMs(int ms)
{
    VXTransfer::setTimeoutMs(ms);
}

int VXRestConnection::requestTimeoutMs()
{
    return VXTransfer::timeoutMs();
}

void VXRestConnection::start(Call call, const WPXMLRPCEncoder &encoder, const QString &sessionID)
{
    QByteArray body;
    const QNetworkRequest request = requestWithXMLRPCEncoder(encoder, &body, m_authorization);
    startTransfer(request, body, [this, call, sessionID](const VXTransfer::Result &result) {
        complete(call, sessionID, result);
    });
}

void VXRestConnection::complete(Call call, const QString &sessionID,
                                const VXTransfer::Result &result)
{
    const long status = result.statusCode;
    if (call == Call::OwnUriList || call == Call::Balance)
        qCDebug(lcService, "%ld, %s", status, headerText(result.headers).constData());

    if (status != 200) {
        if (!result.transportError) {
            if (call == Call::Initiate || call == Call::Balance)
                qCWarning(lcService, "Some error occurred. response status code %ld", status);
            fail(status);
        } else {
            if (call == Call::Initiate)
                qCWarning(lcService, "Error: %s", qUtf8Printable(result.errorString));
            if (m_delegate)
                m_delegate->didFailWithTransportError(result.errorString);
        }
        return;
    }

    if (result.body.isEmpty()) {
        if (result.transportError) {
            if (call == Call::Initiate)
                qCWarning(lcService, "Error: %s", qUtf8Printable(result.errorString));
            if (m_delegate)
                m_delegate->didFailWithTransportError(result.errorString);
        } else if (call == Call::Initiate) {
            qCWarning(lcService, "Some error occurred");
        }
        return;
    }

    const WPXMLRPCDecoder decoder(result.body);
    if (call == Call::Balance)
        qCDebug(lcService, "decoder: %s", qUtf8Printable(bodyText(result.body)));
    if (decoder.isFault()) {
        qCWarning(lcService, "XML-RPC error: %s", qUtf8Printable(decoder.faultString()));
        fail(decoder.faultCode());
        return;
    }
    const XmlRpcValue &value = decoder.object();
    if (value.isNull()) {
        qCWarning(lcService, "Some error occurred");
        fail(-1);
        return;
    }
    qCDebug(lcService, "[decoder object]: %s", qUtf8Printable(value.description()));

    switch (call) {
    case Call::Initiate: {
        const QString newSessionID = value["SessionID"].toString();
        if (newSessionID.isEmpty()) {
            // Without an identifier the session can be neither followed nor recorded.
            qCWarning(lcService, "Some error occurred");
            fail(-1);
            return;
        }
        sessionStatusForID(newSessionID);
        if (m_delegate)
            m_delegate->didSendFaxFileSucceededWithSessionID(newSessionID);
        break;
    }
    case Call::Status:
        if (m_delegate)
            m_delegate->didReceiveSessionStatus(value, sessionID);
        break;
    case Call::OwnUriList:
        if (m_delegate)
            m_delegate->didReceiveOwnUriList(value);
        break;
    case Call::Balance:
        if (m_delegate)
            m_delegate->didReceiveBalance(value);
        break;
    }
}

void VXRestConnection::fail(qint64 code)
{
    if (m_delegate)
        m_delegate->didFailWithErrorCode(code);
}
