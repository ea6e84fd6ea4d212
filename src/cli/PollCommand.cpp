#include "cli/PollCommand.h"

#include "cli/CommandSupport.h"
#include "cli/JournalCommand.h"
#include "journal/Connection.h"
#include "journal/FXCoreDataController.h"
#include "journal/FXManagedObjectContext.h"
#include "provider/VXRestConnection.h"
#include "sending/FXFaxReportStore.h"
#include "sending/VXFaxSessionStateQueue.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QTextStream>
#include <QTimer>

namespace {

const char usage[] =
    "Usage: faxolino poll [--timeout SECONDS]\n"
    "\n"
    "Asks the provider once about every transmission in the journal whose outcome is\n"
    "not known yet (for example after `faxolino send` was interrupted), records the\n"
    "answers and stores the transmission reports.\n"
    "\n"
    "Options:\n"
    "  --timeout SECONDS   wait at most this long for the answers (default: the\n"
    "                      request deadline of 60 seconds, plus a little)\n"
    "\n"
    "Exit codes: 0 the provider answered, 1 the journal could not be opened or the\n"
    "provider did not answer in time, 2 a usage error.\n";

constexpr int kMaxTimeoutSeconds = 2000000;

int usageError(QTextStream &err, const QString &message)
{
    err << "faxolino poll: " << message << "\n\n" << usage;
    return 2;
}

} // namespace

int PollCommand::run(int argc, char *argv[])
{
    // Reports are laid out and rendered, which needs fonts.
    const std::unique_ptr<QCoreApplication> app = CommandSupport::makeApplication(argc, argv, true);
    QTextStream out(stdout);
    QTextStream err(stderr);

    QCommandLineParser parser;
    const QCommandLineOption timeoutOption(QStringLiteral("timeout"), QString(),
                                           QStringLiteral("seconds"));
    parser.addOptions({timeoutOption});
    if (const std::optional<int> exitCode = CommandSupport::parseArguments(
            parser, argc, argv, usage,
            [&](const QString &message) { return usageError(err, message); }, false))
        return *exitCode;
    int timeoutMs = VXRestConnection::requestTimeoutMs() + 5000;
    if (parser.isSet(timeoutOption)) {
        bool isNumber = false;
        const int seconds = parser.value(timeoutOption).toInt(&isNumber);
        if (!isNumber || seconds < 1 || seconds > kMaxTimeoutSeconds) {
            return usageError(err, QStringLiteral("--timeout takes a number of seconds from 1 to "
                                                  "%1, not \"%2\"")
                                       .arg(kMaxTimeoutSeconds)
                                       .arg(parser.value(timeoutOption)));
        }
        timeoutMs = seconds * 1000;
    }

    FXCoreDataController *controller = FXCoreDataController::sharedInstance();
    FXManagedObjectContext *context = controller->managedObjectContext();
    if (!context) {
        err << "faxolino poll: the journal "
            << QDir::toNativeSeparators(controller->storeFilePath()) << " cannot be opened\n";
        return 1;
    }
    const QList<Connection> open = context->fetchOpenConnections();
    if (open.isEmpty()) {
        out << "No open transmissions.\n";
        return 0;
    }
    out << "Asking the provider about " << open.size()
        << (open.size() == 1 ? " open transmission...\n" : " open transmissions...\n");
    out.flush();

    QTimer deadline;
    deadline.setSingleShot(true);
    bool timedOut = false;
    QObject::connect(&deadline, &QTimer::timeout, [&timedOut] {
        timedOut = true;
        QCoreApplication::exit(1);
    });
    deadline.start(timeoutMs);
    // Made after the deadline, so that the first pass (run at once) is inside it.
    VXFaxSessionStateQueue poller(FXFaxReportStore::sharedInstance());
    QObject::connect(&poller, &VXFaxSessionStateQueue::passFinished,
                     [] { QCoreApplication::exit(0); });
    QCoreApplication::exec();
    controller->saveMainContext();

    qsizetype closed = 0;
    for (const Connection &connection : open) {
        if (connection.isOpen())
            continue;
        ++closed;
        const Fax fax = connection.fax();
        const QString report = FXFaxReportStore::reportPathForFax(fax);
        out << fax.number() << "  " << JournalCommand::stateTextForFax(fax) << "  "
            << (QFileInfo::exists(report) ? QDir::toNativeSeparators(report) : QStringLiteral("-"))
            << '\n';
    }
    out << closed << " closed, " << open.size() - closed << " still open.\n";
    if (timedOut) {
        err << "faxolino poll: the provider did not answer every question within "
            << timeoutMs / 1000 << " seconds\n";
        return 1;
    }
    return 0;
}
