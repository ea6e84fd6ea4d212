#include "app/FBDesktopApplication.h"

#include "app/AppDelegate.h"
#include "app/FBApplicationInstance.h"
#include "foundation/FBLocalization.h"
#include "foundation/FXFaxFileManager.h"
#include "foundation/FXLogging.h"
#include "sending/FXFaxReportStore.h"
#include "sending/VXFaxSessionStateQueue.h"

#include <QApplication>
#include <QDirIterator>
#include <QFileInfo>
#include <QIcon>
#include <QTextStream>

bool FBDesktopApplication::hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")
           || !qEnvironmentVariableIsEmpty("DISPLAY")
           || !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

int FBDesktopApplication::run(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QApplication::setDesktopFileName(QStringLiteral("org.voxaria.Faxolino"));
    // The theme's icon where one is installed; the bundled renderings in a build tree.
    QIcon bundledIcon;
    QDirIterator renderings(QStringLiteral(":/app/icons/hicolor"), {QStringLiteral("*.png")},
                            QDir::Files, QDirIterator::Subdirectories);
    while (renderings.hasNext())
        bundledIcon.addFile(renderings.next());
    QApplication::setWindowIcon(
        QIcon::fromTheme(QStringLiteral("org.voxaria.Faxolino"), bundledIcon));
    FBLocalization::installCoreCatalog();
    FBLocalization::installCatalog(QStringLiteral(":/app/translations/app"));
    QTextStream err(stderr);

    using Request = FBApplicationInstance::Request;
    const QStringList arguments = app.arguments().mid(1);
    std::optional<Request> request;
    QString error;
    if (!arguments.isEmpty()) {
        request = FBApplicationInstance::parseArguments(arguments, &error);
        if (!request) {
            err << "faxolino: " << error << '\n';
            return 2;
        }
        if (request->namesFile() && !QFileInfo(request->path).isReadable()) {
            err << "faxolino: cannot read \"" << request->path << "\"\n";
            return 1;
        }
    }
    const Request forwarded = request.value_or(Request{Request::Activate, {}, {}});
    if (FBApplicationInstance::forward(forwarded, &error))
        return 0;
    if (!error.isEmpty())
        qCWarning(lcApp, "The running Faxolino did not answer: %s", qUtf8Printable(error));

    FXFaxFileManager::removeStaleWorkingFolders();
    AppDelegate delegate;
    FBApplicationInstance instance(&delegate);
    if (instance.registerOrForward(forwarded))
        return 0;
    delegate.applicationDidFinishLaunching();
    // The transmissions of earlier runs and other processes are followed from launch on.
    VXFaxSessionStateQueue poller(FXFaxReportStore::sharedInstance());
    instance.startSpoolWatcher();
    if (request)
        instance.perform(*request);
    return app.exec();
}
