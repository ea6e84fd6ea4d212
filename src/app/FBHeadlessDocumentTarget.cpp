#include "app/FBHeadlessDocumentTarget.h"

#include "foundation/FBApplicationHelper.h"
#include "foundation/FBRegularFile.h"
#include "foundation/FXLogging.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThreadPool>

#include <memory>

QString FBHeadlessDocumentTarget::receivedFolder()
{
    return QDir(FBApplicationHelper::applicationSupportFolder())
        .filePath(QStringLiteral("Received"));
}

namespace {

QThreadPool &copyThread()
{
    static QThreadPool *pool = [] {
        auto *threads = new QThreadPool;
        threads->setMaxThreadCount(1);
        return threads;
    }();
    return *pool;
}

// Copies from an open source into the claimed target, which is removed again when the copy
// fails.
void copyInto(const std::shared_ptr<QFile> &source, const QString &target)
{
    QString problem;
    if (!FBRegularFile::copyInto(source.get(), target, FBFaxDocumentTarget::kMaximumDocumentBytes,
                                 &problem)) {
        QFile::remove(target);
        qCWarning(lcApp, "Cannot keep the document %s: %s", qUtf8Printable(source->fileName()),
                  qUtf8Printable(problem));
        return;
    }
    qCInfo(lcApp, "Kept the document %s as %s", qUtf8Printable(source->fileName()),
           qUtf8Printable(target));
}

} // namespace

void FBHeadlessDocumentTarget::waitForCopies()
{
    copyThread().waitForDone();
}

QString FBHeadlessDocumentTarget::keep(const QString &path)
{
    auto source = std::make_shared<QFile>();
    QString problem;
    if (!FBRegularFile::openForReading(path, source.get(), &problem)) {
        qCWarning(lcApp, "Cannot keep the document %s: %s", qUtf8Printable(path),
                  qUtf8Printable(problem));
        return QString();
    }
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
        // The name is claimed here; the copy fills it later.
        QFile claim(target);
        if (!claim.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
            if (claim.error() == QFileDevice::OpenError && QFileInfo::exists(target))
                continue;
            break;
        }
        claim.close();
        copyThread().start([source, target] { copyInto(source, target); });
        return target;
    }
    qCWarning(lcApp, "Cannot keep the document %s", qUtf8Printable(path));
    return QString();
}

void FBHeadlessDocumentTarget::newFaxForFile(const QString &path, const QString &toNumber)
{
    const QString kept = keep(path);
    qCInfo(lcApp, "New fax for file %s to number \"%s\", to be kept as %s", qUtf8Printable(path),
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
    qCInfo(lcApp, "Open file %s, to be kept as %s", qUtf8Printable(path), qUtf8Printable(kept));
    return !kept.isEmpty();
}
