#pragma once

#include "provider/xmlrpc/XmlRpcValue.h"

#include <QString>

// Receives the answers of a VXRestConnection. Every operation is optional: the defaults do
// nothing. All of them arrive on the thread that owns the connection (the main thread).
class VXRestConnectionDelegate
{
public:
    virtual ~VXRestConnectionDelegate() = default;

    // zentari.SessionInitiate was accepted; a first status request for the session is already
    // on its way to the same delegate.
    virtual void didSendFaxFileSucceededWithSessionID(const QString &sessionID)
    {
        Q_UNUSED(sessionID);
    }
    // The whole decoded answer of zentari.SessionStatusGet and the identifier asked for.
    virtual void didReceiveSessionStatus(const XmlRpcValue &status, const QString &forID)
    {
        Q_UNUSED(status);
        Q_UNUSED(forID);
    }
    // The whole decoded answer of zentari.OwnUriListGet (a struct holding "OwnUriList").
    virtual void didReceiveOwnUriList(const XmlRpcValue &ownUriList) { Q_UNUSED(ownUriList); }
    // The whole decoded answer of zentari.BalanceGet (a struct holding "CurrentBalance").
    virtual void didReceiveBalance(const XmlRpcValue &balance) { Q_UNUSED(balance); }
    // An HTTP status other than 200, an XML-RPC fault code, or -1 for a 200 answer that
    // decodes to nothing. A request that never reached the service reports nothing here.
    virtual void didFailWithErrorCode(qint64 code) { Q_UNUSED(code); }
    // A request got no complete answer: the connection failed or broke, the deadline passed,
    // the answer was too large, or the endpoint was refused. Deliberately told, so that a job
    // waiting for its session request need not wait in vain.
    virtual void didFailWithTransportError(const QString &errorString) { Q_UNUSED(errorString); }
};
