#pragma once

#include <QString>

// Receives the answer of a VXJSONConnection's login. Both operations are optional and arrive
// on the thread that owns the connection (the main thread).
class VXJSONConnectionDelegate
{
public:
    virtual ~VXJSONConnectionDelegate() = default;

    // The answer's "token".
    virtual void didReceiveLoginToken(const QString &token) { Q_UNUSED(token); }
    // An HTTP status other than 200, or -1 for a 200 answer without a token. A request that
    // never reached the service reports nothing.
    virtual void didFailLoginWithErrorCode(qint64 code) { Q_UNUSED(code); }
};
