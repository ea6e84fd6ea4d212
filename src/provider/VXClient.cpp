#include "provider/VXClient.h"

#include <QPointer>

void VXClient::startTransfer(const QNetworkRequest &request, const QByteArray &body,
                             VXTransfer::Completion completion)
{
    ++m_requestsInFlight;
    auto *transfer = new VXTransfer(this);
    transfer->start(request, body,
                    [this, completion = std::move(completion)](const VXTransfer::Result &result) {
                        const QPointer<VXClient> alive(this);
                        completion(result);
                        if (!alive)
                            return;
                        if (--m_requestsInFlight == 0 && !parent())
                            deleteLater();
                    });
}
