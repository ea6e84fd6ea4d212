#pragma once

#include "journal/Fax.h"

#include <QString>

class FXFaxConnection;

// Receives the progress of a fax job. Every operation is optional: the defaults do nothing.
// Both arrive on the main thread.
class FXFaxConnectionDelegate
{
public:
    virtual ~FXFaxConnectionDelegate() = default;

    // A receiver's transmission changed. toState: 0 queued, 1 transmitting, 2 succeeded,
    // -1 failed. title is a text for the user; on failure errorReason is the provider's status
    // code and errorReasonTitle the text explaining it.
    virtual void changedProgress(double progress, int toState, const QString &title,
                                 const QString &forDestinationNumber, const QString &errorReason,
                                 const QString &errorReasonTitle, const Fax &forFax)
    {
        Q_UNUSED(progress);
        Q_UNUSED(toState);
        Q_UNUSED(title);
        Q_UNUSED(forDestinationNumber);
        Q_UNUSED(errorReason);
        Q_UNUSED(errorReasonTitle);
        Q_UNUSED(forFax);
    }

    // Every receiver has been served; the job is done.
    virtual void sendingAllFaxCompleted(FXFaxConnection *connection) { Q_UNUSED(connection); }
};
