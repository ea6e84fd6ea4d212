#pragma once

#include "service/VXJSONConnectionDelegate.h"
#include "service/VXRestConnectionDelegate.h"

#include <QCoreApplication>
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
