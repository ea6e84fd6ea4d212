// The journal with 100,000 faxes of two connections each.
//   journal_bench build     fills the store in $XDG_DATA_HOME/Faxolino
//   journal_bench measure   opens it and times what the windows and the poller ask
// `measure` prints "open=<s> search=<s> open_connections=<s>": opening the store and reading
// the newest 100 faxes, filtering all faxes by a number fragment, and the poller's question.

#include "journal/FXCoreDataController.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QRandomGenerator>

#include <cstdio>

namespace {

constexpr int faxCount = 100000;
// The filter the user types to find a number; a handful of the numbers contain it.
const QString searchFragment = QStringLiteral("30512");

int build()
{
    FXCoreDataController *controller = FXCoreDataController::sharedInstance();
    FXManagedObjectContext *context = controller->managedObjectContext();
    if (!context || !context->fetchFaxes(QString(), 1).isEmpty()) {
        std::fprintf(stderr, "journal_bench: no empty store\n");
        return 1;
    }
    QRandomGenerator random(20250305);
    const QDateTime first = QDateTime(QDate(2022, 1, 1), QTime(8, 0));
    for (int i = 0; i < faxCount; ++i) {
        // Three years of faxes, oldest first, as a journal grows.
        const QDateTime date = first.addSecs(qint64(i) * 946 + random.bounded(600));
        Fax fax = context->insertNewFax();
        fax.setDate(date);
        fax.setNumber(QStringLiteral("+49%1").arg(random.bounded(200000000, 999999999)));
        fax.setFile(QStringLiteral("%1-%2.pdf")
                        .arg(date.toString(QStringLiteral("yyyy-MM-dd_HH-mm-ss")), fax.number()));
        fax.setFileURL(QByteArrayLiteral("/home/user/Faxberichte"));
        fax.setLine(QStringLiteral("4930999888"));
        fax.setPages(1 + int(random.bounded(6)));
        fax.setAlgorithm(random.bounded(2));
        for (int attempt = 0; attempt < 2; ++attempt) {
            Connection connection = context->insertNewConnectionForFax(fax);
            connection.setBeginDate(date.addSecs(attempt * 120));
            connection.setPages(fax.pages());
            connection.setPageRange(Connection::pageRangeForPages(fax.pages()));
            connection.setSessionID(QStringLiteral("%1-%2").arg(i).arg(attempt));
            // One connection in a hundred is still open.
            if (random.bounded(100) != 0) {
                connection.setFinishDate(date.addSecs(attempt * 120 + 65));
                connection.setReason(attempt ? QStringLiteral("0") : QStringLiteral("486"));
            }
        }
        if (i % 10000 == 9999)
            controller->saveMainContext();
    }
    controller->saveMainContext();
    return context->hasChanges() ? 1 : 0;
}

int measure()
{
    QElapsedTimer clock;
    clock.start();
    FXManagedObjectContext *context =
        FXCoreDataController::sharedInstance()->managedObjectContext();
    const QList<Fax> newest = context ? context->fetchFaxes(QString(), 100) : QList<Fax>();
    const double open = clock.nsecsElapsed() / 1e9;
    if (newest.size() != 100)
        return 1;

    clock.restart();
    const QList<Fax> found = context->fetchFaxes(searchFragment);
    const double search = clock.nsecsElapsed() / 1e9;

    clock.restart();
    const QList<Connection> openConnections = context->fetchOpenConnections();
    const double poll = clock.nsecsElapsed() / 1e9;

    if (found.isEmpty()
        || openConnections.size() != FXManagedObjectContext::kOpenConnectionsFetchLimit)
        return 1;
    std::printf("open=%.4f search=%.4f open_connections=%.4f\n", open, search, poll);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QString mode = application.arguments().value(1);
    if (mode == QLatin1String("build"))
        return build();
    if (mode == QLatin1String("measure"))
        return measure();
    std::fprintf(stderr, "usage: journal_bench build|measure\n");
    return 64;
}
