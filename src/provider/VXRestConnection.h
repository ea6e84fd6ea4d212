#pragma once

#include "provider/VXClient.h"
#include "provider/VXRestConnectionDelegate.h"
#include "provider/VXTransfer.h"

#include <QByteArray>
#include <QNetworkRequest>
#include <QObject>
#include <QUrl>

class WPXMLRPCEncoder;

// The one client of the provider's XML-RPC API. Every call builds one request, starts it and
// returns at once; answers come through the delegate (a non-owning pointer, checked before
// every callback).
//
// Requests go out on the thread's shared network access manager, only over https (plain http
// only to a loopback host), with certificates verified, redirects not followed, a total
// deadline and a bounded answer size (see VXTransfer). A request that never got a complete
// answer reports nothing.
//
// Ownership as for every VXClient: without a parent it deletes itself after its last answer.
//
// Credentials are read afresh for every call ("username" from the settings, the password
// from the credential store), unless the caller has read them once and set them.
class VXRestConnection : public VXClient
{
    Q_OBJECT

public:
    explicit VXRestConnection(QObject *parent = nullptr);
    ~VXRestConnection() override;

    VXRestConnectionDelegate *delegate() const { return m_delegate; }
    void setDelegate(VXRestConnectionDelegate *delegate) { m_delegate = delegate; }

    // https://api.voxaria.net/RPC2, or FAXOLINO_API_URL.
    static QUrl apiURL();
    // "Basic " + base64("<username>:<password>").
    static QByteArray authorizationValue();
    // POST to apiURL, "Content-Type: text/xml", the Authorization header (the stored
    // credentials', unless one is given), caches bypassed, the request deadline; the body is
    // the encoder's document (empty when encoding failed).
    static QNetworkRequest requestWithXMLRPCEncoder(const WPXMLRPCEncoder &encoder,
                                                    QByteArray *body,
                                                    const QByteArray &authorization = {});

    // Credentials to use instead of reading the stored ones for every request.
    void setCredentials(const QString &username, const QString &password);
    // "Basic " + base64("<username>:<password>") of the given credentials.
    static QByteArray authorizationValue(const QString &username, const QString &password);

    // zentari.SessionInitiate with the PDF bytes to the number ("+" removed anywhere).
    void sendFaxFileData(const QByteArray &data, const QString &toRemoteUr);
    // zentari.SessionStatusGet for the session.
    void sessionStatusForID(const QString &sessionID);
    // zentari.OwnUriListGet.
    void ownUriList();
    // zentari.BalanceGet.
    void balance();

    // The total deadline of one request (60 s); tests shorten it.
    static void setRequestTimeoutMs(int ms);
    static int requestTimeoutMs();

private:
    enum class Call { Initiate, Status, OwnUriList, Balance };

    void start(Call call, const WPXMLRPCEncoder &encoder, const QString &sessionID);
    void complete(Call call, const QString &sessionID, const VXTransfer::Result &result);
    void fail(qint64 code);

    VXRestConnectionDelegate *m_delegate = nullptr;
    // Set by setCredentials; empty means "read the stored ones".
    QByteArray m_authorization;
};
