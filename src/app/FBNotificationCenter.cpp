#include "app/FBNotificationCenter.h"

#include "foundation/FBLocalization.h"
#include "foundation/FXLogging.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");

} // namespace

FBNotificationCenter::FBNotificationCenter(QObject *parent)
    : QObject(parent)
{
    QDBusConnection::sessionBus().connect(service, path, service, QStringLiteral("ActionInvoked"),
                                          this, SLOT(actionInvoked(uint, QString)));
}

void FBNotificationCenter::showNotificationWithTitle(const QString &title, const QString &andText)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    QDBusMessage notify =
        QDBusMessage::createMethodCall(service, path, service, QStringLiteral("Notify"));
    notify.setAutoStartService(false);
    const QVariantMap hints{
        {QStringLiteral("desktop-entry"), QStringLiteral("org.voxaria.Faxolino")}};
    notify.setArguments({QStringLiteral("Faxolino"), uint(0),
                         QStringLiteral("org.voxaria.Faxolino"), title, andText,
                         QStringList{QStringLiteral("default"), FXText("notification_open")}, hints,
                         int(-1)});
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(notify), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *w) {
        w->deleteLater();
        const QDBusPendingReply<uint> reply = *w;
        if (reply.isValid())
            m_lastId = reply.value();
        else
            qCDebug(lcApp, "No notification: %s", qUtf8Printable(reply.error().message()));
    });
}

void FBNotificationCenter::actionInvoked(uint id, const QString &action)
{
    if (id != 0 && id == m_lastId && action == QLatin1String("default"))
        Q_EMIT activated();
}
