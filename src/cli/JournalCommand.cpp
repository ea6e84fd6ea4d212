#include "cli/JournalCommand.h"

#include "cli/CommandSupport.h"
#include "journal/Connection.h"
#include "journal/FXCoreDataController.h"
#include "journal/FXManagedObjectContext.h"
#include "sending/FXFaxReportStore.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QTextStream>

namespace {

const char usage[] = "Usage: faxolino journal [--search TEXT]\n"
                     "\n"
                     "Lists the sent faxes, newest first: date and time, number, pages, state\n"
                     "(sent, failed with the provider's code, open while the outcome is not\n"
                     "known yet) and the transmission report.\n"
                     "\n"
                     "Options:\n"
                     "  --search TEXT   only faxes whose number or date contains TEXT\n"
                     "\n"
                     "Exit codes: 0 the journal was read (also when it is empty), 1 the journal\n"
                     "could not be opened, 2 a usage error.\n";

int usageError(QTextStream &err, const QString &message)
{
    err << "faxolino journal: " << message << "\n\n" << usage;
    return 2;
}

} // namespace

QString JournalCommand::stateTextForFax(const Fax &fax)
{
    QString failedReason;
    for (const Connection &connection : fax.connections()) {
        if (connection.isOpen())
            return QStringLiteral("open");
        if (connection.reason() != QLatin1String("0"))
            failedReason = connection.reason();
    }
    if (!failedReason.isNull())
        return QStringLiteral("failed (%1)").arg(failedReason);
    return fax.connections().isEmpty() ? QStringLiteral("open") : QStringLiteral("sent");
}

int JournalCommand::run(int argc, char *argv[])
{
    const std::unique_ptr<QCoreApplication> app =
        CommandSupport::makeApplication(argc, argv, false);
    QTextStream out(stdout);
    QTextStream err(stderr);

    QCommandLineParser parser;
    const QCommandLineOption searchOption(QStringLiteral("search"), QString(),
                                          QStringLiteral("text"));
    parser.addOptions({searchOption});
    if (const std::optional<int> exitCode = CommandSupport::parseArguments(
            parser, argc, argv, usage,
            [&](const QString &message) { return usageError(err, message); }, false))
        return *exitCode;

    FXCoreDataController *controller = FXCoreDataController::sharedInstance();
    FXManagedObjectContext *context = controller->managedObjectContext();
    if (!context) {
        err << "faxolino journal: the journal "
            << QDir::toNativeSeparators(controller->storeFilePath()) << " cannot be opened\n";
        return 1;
    }

    struct Row
    {
        QString date, number, pages, state, report;
    };
    QList<Row> rows;
    qsizetype numberWidth = 0;
    qsizetype pagesWidth = 0;
    qsizetype stateWidth = 0;
    for (const Fax &fax : context->fetchFaxes(parser.value(searchOption))) {
        const QString report = FXFaxReportStore::reportPathForFax(fax);
        Row row{fax.date().toLocalTime().toString(QStringLiteral("dd.MM.yyyy HH:mm:ss")),
                fax.number().isEmpty() ? QStringLiteral("-") : fax.number(),
                fax.pages() == 1 ? QStringLiteral("1 page")
                                 : QStringLiteral("%1 pages").arg(fax.pages()),
                stateTextForFax(fax),
                !fax.file().isEmpty() && QFileInfo::exists(report)
                    ? QDir::toNativeSeparators(report)
                    : QStringLiteral("-")};
        numberWidth = qMax(numberWidth, row.number.size());
        pagesWidth = qMax(pagesWidth, row.pages.size());
        stateWidth = qMax(stateWidth, row.state.size());
        rows << row;
    }
    if (rows.isEmpty()) {
        err << (parser.isSet(searchOption) ? "No fax in the journal matches.\n"
                                           : "The journal is empty.\n");
        return 0;
    }
    for (const Row &row : std::as_const(rows)) {
        out << row.date << "  " << row.number.leftJustified(numberWidth) << "  "
            << row.pages.leftJustified(pagesWidth) << "  " << row.state.leftJustified(stateWidth)
            << "  " << row.report << '\n';
    }
    return 0;
}
