#pragma once

#include "provider/VXRestConnectionDelegate.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QTimer>

class FXFaxReportDelegate;
class VXRestConnection;

// Follows the journal's open transmissions to their end, also those of a job that ended or of
// an earlier run of the program: one pass at creation, then one every minute. A pass asks the
// provider for the state of every connection without a reason (at most 500, earliest first);
// an answer that says the session was sent or failed closes every connection of that session,
// and every such answer has the fax's report made again. A connection that has had no session
// for longer than the give-up time (its request never reached the provider, or the program
// died before the provider accepted it) is closed as failed (-1) instead of being asked about.
// A connection that a running job claims (FXConnectionClaim) is left to that job.
//
// Lives on the main thread, like the journal.
class VXFaxSessionStateQueue : public QObject, public VXRestConnectionDelegate
{
    Q_OBJECT

public:
    explicit VXFaxSessionStateQueue(FXFaxReportDelegate *delegate, QObject *parent = nullptr);
    ~VXFaxSessionStateQueue() override;

    FXFaxReportDelegate *delegate() const { return m_delegate; }
    void setDelegate(FXFaxReportDelegate *delegate) { m_delegate = delegate; }

    // One polling pass. Passes do not wait for each other.
    void updateOpenSessionStates();

    void didReceiveSessionStatus(const XmlRpcValue &status, const QString &forID) override;

    // The time between passes (60 s); tests shorten it. Takes effect for pollers made later.
    static void setIntervalMs(int ms);
    // How long a connection may wait for its session (the job's give-up time, 300 s).
    static void setGiveUpAfterMs(int ms);

Q_SIGNALS:
    // Every request of a pass has been answered, has failed or has run out of time. A pass
    // that found no open connection finishes at once.
    void passFinished();

private:
    FXFaxReportDelegate *m_delegate = nullptr;
    QTimer m_timer;
    QList<QPointer<VXRestConnection>> m_passes;
};
