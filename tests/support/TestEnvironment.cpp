#include "TestEnvironment.h"

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
