#pragma once

#include "provider/VXTransfer.h"

#include <QObject>

// What the provider's clients share about their lifetime. Create a client with new: without a
// QObject parent it deletes itself once the completion of its last request in flight has run
// (so fire-and-forget use is safe); with a parent, the parent owns it. Deleting a client
// aborts its requests without any callback.
class VXClient : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

protected:
    // Starts one request. The completion runs once, unless the client is deleted first; it may
    // delete the client itself.
    void startTransfer(const QNetworkRequest &request, const QByteArray &body,
                       VXTransfer::Completion completion);

private:
    int m_requestsInFlight = 0;
};
