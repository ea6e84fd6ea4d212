#pragma once

#include "provider/VXJSONConnection.h"
#include "provider/VXRestConnection.h"

#include <QCoreApplication>
#include <QSignalSpy>
#include <QStringList>
#include <QThread>

#include <functional>

// Remembers every callback of a connection as "name:argument", with the values, and whether
// each one arrived on the main thread.
class RecordingRestDelegate : public VXRestConnectionDelegate, public VXJSONConnectionDelegate
{
public:
    struct Event
    {
        QString name;
        QString argument;
        XmlRpcValue value;
    };

    QList<Event> events;
    bool allOnMainThread = true;
    // Runs inside each callback, after it was recorded.
    std::function<void(const Event &)> onEvent;

    QStringList summary() const
    {
        QStringList lines;
        for (const Event &event : events)
            lines.append(event.argument.isNull() ? event.name : event.name + u':' + event.argument);
        return lines;
    }

    void didSendFaxFileSucceededWithSessionID(const QString &sessionID) override
    {
        record({QStringLiteral("sent"), sessionID, {}});
    }
    void didReceiveSessionStatus(const XmlRpcValue &status, const QString &forID) override
    {
        record({QStringLiteral("status"), forID, status});
    }
    void didReceiveOwnUriList(const XmlRpcValue &ownUriList) override
    {
        record({QStringLiteral("ownUriList"), QString(), ownUriList});
    }
    void didReceiveBalance(const XmlRpcValue &balance) override
    {
        record({QStringLiteral("balance"), QString(), balance});
    }
    void didFailWithErrorCode(qint64 code) override
    {
        record({QStringLiteral("fail"), QString::number(code), {}});
    }
    void didReceiveLoginToken(const QString &token) override
    {
        record({QStringLiteral("token"), token, {}});
    }
    void didFailLoginWithErrorCode(qint64 code) override
    {
        record({QStringLiteral("loginFail"), QString::number(code), {}});
    }

private:
    void record(const Event &event)
    {
        allOnMainThread =
            allOnMainThread && QThread::currentThread() == QCoreApplication::instance()->thread();
        events.append(event);
        if (onEvent)
            onEvent(event);
    }
};

// Makes calls on a connection of their own, without a parent, and waits until it has deleted
// itself: then every completion has run and whatever was going to arrive has arrived. The
// wait runs a real event loop: QNetworkAccessManager hands an upload over in chunks, each
// through the event loop, which a polling wait would slow down.
template <typename Connection = VXRestConnection, typename Calls>
bool runToCompletion(RecordingRestDelegate &delegate, Calls calls, int timeoutMs = 20000)
{
    auto *connection = new Connection;
    connection->setDelegate(&delegate);
    QSignalSpy destroyed(connection, &QObject::destroyed);
    calls(connection);
    return destroyed.count() == 1 || destroyed.wait(timeoutMs);
}
