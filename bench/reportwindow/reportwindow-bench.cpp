// The report window's benchmark over the journal journal_bench built: how soon the window shows
// its first rows and the newest fax's report, and how soon the list is repainted after each
// key typed into the search. The peer is Qt's own QSqlTableModel in a QTableView over the same
// store, with a QPdfView of the same report, filtered by number in SQL.
//   reportwindow-bench CONTACTS_FOLDER
#include "../support/BenchMeasure.h"
#include "../support/BenchPeople.h"
#include "app/FBReportWindow.h"
#include "foundation/FBLocalization.h"
#include "foundation/FBUserDefaults.h"
#include "journal/FXCoreDataController.h"
#include "journal/FXManagedObjectContext.h"
#include "recipients/FXAddressBook.h"
#include "recipients/FXPhoneNumber.h"
#include "recipients/PhoneBook.h"
#include "sending/FXReportRenderer.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPdfDocument>
#include <QPdfView>
#include <QSplitter>
#include <QSqlDatabase>
#include <QSqlTableModel>
#include <QTableView>
#include <QVBoxLayout>

#include <algorithm>
#include <cstdio>

namespace {

using BenchMeasure::median;
using BenchMeasure::PaintCounter;

const char *const typedTexts[] = {"30512", "2023-05-1"};

// Until the widget painted `after` times in all; false after five seconds.
bool waitForPaint(const PaintCounter &counter, int after)
{
    QElapsedTimer timer;
    timer.start();
    while (counter.paints < after) {
        if (timer.elapsed() > 5000)
            return false;
        QCoreApplication::processEvents();
    }
    return true;
}

// Types the texts key by key into the field; each key's time until the list repainted.
QList<double> typeTexts(QLineEdit *field, const PaintCounter &counter)
{
    QList<double> times;
    for (const char *text : typedTexts) {
        field->clear();
        QCoreApplication::processEvents();
        for (const QChar character : QString::fromLatin1(text)) {
            const int before = counter.paints;
            QElapsedTimer timer;
            timer.start();
            QKeyEvent press(QEvent::KeyPress, Qt::Key(character.unicode()), Qt::NoModifier,
                            QString(character));
            QApplication::sendEvent(field, &press);
            if (!waitForPaint(counter, before + 1))
                return {};
            times.append(timer.nsecsElapsed() / 1e6);
        }
    }
    return times;
}

int fail(const char *what)
{
    std::fprintf(stderr, "bench reportwindow: %s\n", what);
    return 1;
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    if (argc < 2)
        return fail("usage: reportwindow-bench CONTACTS_FOLDER");
    const QString contacts = QString::fromLocal8Bit(argv[1]);
    if (!BenchPeople::writePeople(contacts, 10000))
        return fail("cannot write the vCards");
    FBLocalization::installCatalog(QStringLiteral(":/app/translations/app"),
                                   QLocale(QLocale::English));
    FXPhoneNumber::setRegion(QStringLiteral("DE"));
    FXAddressBook::setSystemAddressBookEnabled(false);
    FBUserDefaults::setObject(QStringList{contacts}, kVCardSourcesKey);
    PhoneBook::sharedInstance();

    FXCoreDataController *journal = FXCoreDataController::sharedInstance();
    FXManagedObjectContext *context = journal->managedObjectContext();
    const QList<Fax> newest = context ? context->fetchFaxes(QString(), 1) : QList<Fax>();
    if (newest.isEmpty())
        return fail("no journal");
    const QString report = FBReportWindow::reportFileForFax(newest.first());
    QDir().mkpath(QFileInfo(report).absolutePath());
    QFile reportFile(report);
    const QByteArray reportPdf = FXReportRenderer::pdfForHTML(
        QStringLiteral("<h1>Transmission report</h1><p>Sent successfully.</p>"));
    if (!reportFile.open(QIODevice::WriteOnly) || reportFile.write(reportPdf) != reportPdf.size())
        return fail("cannot write the report");
    reportFile.close();

    // Ours: from nothing to the newest fax's row and report on the screen.
    QElapsedTimer clock;
    clock.start();
    FBReportWindow window;
    PaintCounter ourPaints;
    window.reportTableView->viewport()->installEventFilter(&ourPaints);
    window.resize(1000, 640);
    window.showSendReport();
    if (!waitForPaint(ourPaints, 1) || window.reportDocument->pageCount() != 1)
        return fail("the window shows no rows or no report");
    const double openSeconds = clock.nsecsElapsed() / 1e9;

    // The peer: the same store through Qt's SQL model, and the same report.
    clock.restart();
    QSqlDatabase store =
        QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("peer"));
    store.setDatabaseName(journal->storeFilePath());
    if (!store.open())
        return fail("the peer cannot open the store");
    QWidget peerWindow;
    auto *peerSearch = new QLineEdit;
    auto *peerTable = new QTableView;
    auto *peerPdf = new QPdfView;
    auto *splitter = new QSplitter;
    splitter->addWidget(peerTable);
    splitter->addWidget(peerPdf);
    auto *layout = new QVBoxLayout(&peerWindow);
    layout->addWidget(peerSearch);
    layout->addWidget(splitter);
    QSqlTableModel peerModel(nullptr, store);
    peerModel.setTable(QStringLiteral("Fax"));
    peerModel.setSort(peerModel.fieldIndex(QStringLiteral("date")), Qt::DescendingOrder);
    peerModel.select();
    peerTable->setModel(&peerModel);
    peerTable->selectRow(0);
    QPdfDocument peerDocument;
    peerDocument.load(report);
    peerPdf->setDocument(&peerDocument);
    PaintCounter peerPaints;
    peerTable->viewport()->installEventFilter(&peerPaints);
    QObject::connect(peerSearch, &QLineEdit::textChanged, &peerModel, [&](const QString &text) {
        QString quoted = text;
        quoted.replace(QLatin1Char('\''), QLatin1String("''"));
        peerModel.setFilter(text.isEmpty() ? QString()
                                           : QStringLiteral("instr(number, '%1') > 0").arg(quoted));
    });
    peerWindow.resize(1000, 640);
    peerWindow.show();
    if (!waitForPaint(peerPaints, 1))
        return fail("the peer shows no rows");
    const double peerOpenSeconds = clock.nsecsElapsed() / 1e9;

    const QList<double> ours = typeTexts(window.searchField, ourPaints);
    const QList<double> peer = typeTexts(peerSearch, peerPaints);
    if (ours.isEmpty() || peer.isEmpty())
        return fail("a search never repainted its list");
    const double searchMs = median(ours);
    const double peerSearchMs = median(peer);
    std::printf("BENCH reportwindow open_s=%.3f search_ms=%.1f search_max_ms=%.1f "
                "peer_open_s=%.3f peer_search_ms=%.1f open_ratio=%.2f search_ratio=%.2f\n",
                openSeconds, searchMs, *std::max_element(ours.begin(), ours.end()), peerOpenSeconds,
                peerSearchMs, openSeconds / peerOpenSeconds, searchMs / peerSearchMs);
    return 0;
}
