#include "app/FBHeadlessDocumentTarget.h"

#include "foundation/FBApplicationHelper.h"
#include "foundation/FXLogging.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

QString FBHeadlessDocumentTarget::receivedFolder()
{
    return QDir(FBApplicationHelper::applicationSupportFolder())
        .filePath(QStringLiteral("Received"));
}

QString FBHeadlessDocumentTarget::keep(const QString &path)
{
    const QDir folder(receivedFolder());
    if (!QDir().mkpath(folder.path())) {
        qCWarning(lcApp, "Cannot create the folder %s", qUtf8Printable(folder.path()));
        return QString();
    }
    const QString stamp =
        QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd_HH-mm-ss"));
    const QString base = QFileInfo(path).completeBaseName();
    for (int n = 0; n < 1000; ++n) {
        const QString name = n == 0 ? QStringLiteral("%1-%2.pdf").arg(stamp, base)
                                    : QStringLiteral("%1-%2-%3.pdf").arg(stamp, base).arg(n);
        const QString target = folder.filePath(name);
        if (QFileInfo::exists(target))
            continue;
        if (QFile::copy(path, target))
            return target;
        break;
    }
    qCWarning(lcApp, "Cannot keep the document %s", qUtf8Printable(path));
    return QString();
}

void FBHeadlessDocumentTarget::newFaxForFile(const QString &path, const QString &toNumber)
{
    const QString kept = keep(path);
    qCInfo(lcApp, "New fax for file %s to number \"%s\", kept as %s", qUtf8Printable(path),
           qUtf8Printable(toNumber), qUtf8Printable(kept));
}

void FBHeadlessDocumentTarget::newFaxToNumber(const QString &number)
{
    if (!number.isEmpty())
        qCInfo(lcApp, "New fax to number \"%s\"", qUtf8Printable(number));
}

bool FBHeadlessDocumentTarget::openFile(const QString &path)
{
    const QString kept = keep(path);
    qCInfo(lcApp, "Open file %s, kept as %s", qUtf8Printable(path), qUtf8Printable(kept));
    return !kept.isEmpty();
}
