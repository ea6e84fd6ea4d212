#pragma once

#include "provider/VXClient.h"
#include "provider/VXJSONConnectionDelegate.h"
#include "provider/VXTransfer.h"

#include <QByteArray>
#include <QJsonObject>
#include <QNetworkRequest>
#include <QObject>
#include <QUrl>

// Obtains a login token from the provider's REST API. The same transport rules apply as for
// VXRestConnection, and the same ownership (VXClient).
class VXJSONConnection : public VXClient
{
    Q_OBJECT

public:
    explicit VXJSONConnection(QObject *parent = nullptr);
    ~VXJSONConnection() override;

    VXJSONConnectionDelegate *delegate() const { return m_delegate; }
    void setDelegate(VXJSONConnectionDelegate *delegate) { m_delegate = delegate; }

    // https://api.voxaria.net/v1/authorization/token, or FAXOLINO_TOKEN_URL.
    static QUrl apiURL();
    // {"username": the stored user name, "password": the stored password}, read afresh.
    // Holds the password: never log it.
    static QJsonObject authorizationValues();
    // POST to apiURL with "Content-Type" and "Accept" "application/json" and no
    // Authorization header; the body is authorizationValues as JSON.
    static QNetworkRequest request(QByteArray *body);

    // Sends the request; the answer arrives through the delegate.
    void login();

private:
    void complete(const VXTransfer::Result &result);

    VXJSONConnectionDelegate *m_delegate = nullptr;
};
