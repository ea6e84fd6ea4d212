#include "provider/VXJSONConnection.h"

#include "foundation/FBAccountCredentials.h"
#include "foundation/FBUserDefaults.h"
#include "foundation/FXLogging.h"
#include "provider/VXProvider.h"

#include <QJsonDocument>
#include <QPointer>

namespace {

// The answer is the token itself; a hostile server must not be able to fill the log.
constexpr qsizetype kMaximumLoggedBodyBytes = 16 * 1024;

} // namespace

VXJSONConnection::VXJSONConnection(QObject *parent)
    : VXClient(parent)
{}

VXJSONConnection::~VXJSONConnection() = default;

QUrl VXJSONConnection::apiURL()
{
    return VXTransfer::endpointFromEnvironment(kVXTokenURLVariable, kVXTokenURL);
}

QJsonObject VXJSONConnection::authorizationValues()
{
    FXError ignored;
    const QString password = FBAccountCredentials::password(&ignored).value_or(QString());
    return QJsonObject{{QStringLiteral("username"), FBUserDefaults::stringForKey(kUsernameKey)},
                       {QStringLiteral("password"), password}};
}

QNetworkRequest VXJSONConnection::request(QByteArray *body)
{
    QNetworkRequest request(apiURL());
    VXTransfer::prepareRequest(request);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    request.setRawHeader("Accept", "application/json");
    if (body)
        *body = QJsonDocument(authorizationValues()).toJson(QJsonDocument::Compact);
    return request;
}

void VXJSONConnection::login()
{
    QByteArray body;
    const QNetworkRequest tokenRequest = request(&body);
    startTransfer(tokenRequest, body,
                  [this](const VXTransfer::Result &result) { complete(result); });
}

void VXJSONConnection::complete(const VXTransfer::Result &result)
{
    if (result.transportError)
        return;
    if (result.statusCode != 200) {
        qCWarning(lcService, "Some error occurred. response status code %ld",
                  long(result.statusCode));
        if (m_delegate)
            m_delegate->didFailLoginWithErrorCode(result.statusCode);
        return;
    }
    if (result.body.isEmpty())
        return;

    qCDebug(lcService, "decoder: %s",
            qUtf8Printable(QString::fromUtf8(result.body.left(kMaximumLoggedBodyBytes))));
    const QJsonValue token =
        QJsonDocument::fromJson(result.body).object().value(QLatin1String("token"));
    if (!token.isString()) {
        if (m_delegate)
            m_delegate->didFailLoginWithErrorCode(-1);
        return;
    }
    if (m_delegate)
        m_delegate->didReceiveLoginToken(token.toString());
}
