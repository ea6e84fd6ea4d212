#include "foundation/FBBundle.h"

#include <QDir>
#include <QFileInfo>

QString FBBundle::bundleWithName(const QString &name)
{
    if (name.isEmpty() || name.contains(QLatin1Char('/')))
        return QString();
    const QString root = QStringLiteral(":/") + name;
    return QFileInfo(root).isDir() ? root : QString();
}

QString FBBundle::pathForResource(const QString &bundleName, const QString &relativePath)
{
    const QString root = bundleWithName(bundleName);
    if (root.isEmpty())
        return QString();
    const QString path = QDir::cleanPath(root + QLatin1Char('/') + relativePath);
    if (!path.startsWith(root + QLatin1Char('/')))
        return QString();
    return QFileInfo::exists(path) ? path : QString();
}
