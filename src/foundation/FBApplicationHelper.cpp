#include "foundation/FBApplicationHelper.h"

#include <QDir>
#include <QStandardPaths>

QString FBApplicationHelper::applicationBundleName()
{
    return QStringLiteral("Faxolino");
}

QString FBApplicationHelper::applicationSupportFolder()
{
    // GenericDataLocation is $XDG_DATA_HOME (or ~/.local/share); its first entry is the
    // user's own, writable one.
    const QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (base.isEmpty())
        return QString();
    return QDir(base).filePath(applicationBundleName());
}
