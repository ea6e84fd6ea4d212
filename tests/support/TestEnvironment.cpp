#include "TestEnvironment.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDir>
#include <QFile>
#include <QStandardPaths>

namespace TestEnvironment {

QString sourceDir()
{
    return QStringLiteral(FAXOLINO_SOURCE_DIR);
}

QString dataDir()
{
    return QStringLiteral(FAXOLINO_TEST_DATA_DIR);
}

QString binDir()
{
    return QStringLiteral(FAXOLINO_BIN_DIR);
}

QString root()
{
    return qEnvironmentVariable("FAXOLINO_TEST_ROOT");
}

bool isIsolated()
{
    const QString r = root();
    return !r.isEmpty() && QDir::homePath().startsWith(r)
           && QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation).startsWith(r);
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace TestEnvironment

bool TestEnvironment::lockKeyring()
{
    auto bus = QDBusConnection::sessionBus();
    const QString secrets = QStringLiteral("org.freedesktop.secrets");
    const QString path = QStringLiteral("/org/freedesktop/secrets");
    QDBusMessage alias = QDBusMessage::createMethodCall(
        secrets, path, QStringLiteral("org.freedesktop.Secret.Service"),
        QStringLiteral("ReadAlias"));
    alias << QStringLiteral("default");
    const QDBusMessage reply = bus.call(alias);
    if (reply.type() != QDBusMessage::ReplyMessage)
        return false;
    const auto collection = reply.arguments().value(0).value<QDBusObjectPath>();
    QDBusMessage lock = QDBusMessage::createMethodCall(
        secrets, path, QStringLiteral("org.freedesktop.Secret.Service"), QStringLiteral("Lock"));
    lock << QVariant::fromValue(QList<QDBusObjectPath>{collection});
    return bus.call(lock).type() == QDBusMessage::ReplyMessage;
}
