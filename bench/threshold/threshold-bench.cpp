// The threshold's benchmark: with page 30 of the 60-page benchmark document in view, how soon
// a new threshold level shows on that page, and how soon all pages are prepared at it, against
// `faxolino prepare` at that level on the same document in the same run. Runs inside an
// isolated session (an account in a private keyring).
//   threshold-bench FAXOLINO DOCUMENT.pdf
#include "../support/BenchMeasure.h"
#include "app/AppDelegate.h"
#include "app/FBMainWindow.h"
#include "foundation/FBAccountCredentials.h"
#include "foundation/FBLocalization.h"
#include "foundation/FBUserDefaults.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPdfDocument>
#include <QPdfPageNavigator>
#include <QPdfPageRenderer>
#include <QPdfView>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>

namespace {

using BenchMeasure::median;
using BenchMeasure::waitFor;

constexpr int kRuns = 4;
constexpr int kVisiblePage = 29; // page 30, counted from 0

bool fail(const char *what)
{
    std::fprintf(stderr, "bench threshold: %s\n", what);
    return false;
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    if (argc < 3)
        return fail("usage: threshold-bench FAXOLINO DOCUMENT.pdf"), 2;
    const QString faxolino = QString::fromLocal8Bit(argv[1]);
    const QString document = QString::fromLocal8Bit(argv[2]);
    FXError error;
    if (!FBAccountCredentials::storePassword(QStringLiteral("bench"), &error))
        return fail("cannot store the account's password"), 1;
    FBUserDefaults::setObject(QStringLiteral("bench"), kUsernameKey);
    FBLocalization::installCatalog(QStringLiteral(":/app/translations/app"),
                                   QLocale(QLocale::English));
    AppDelegate::setPrepareProgram(faxolino);

    AppDelegate delegate;
    FBMainWindow *window = delegate.mainWindow();
    window->resize(1100, 760);
    delegate.applicationDidFinishLaunching();
    auto *renderer = window->pdfView->findChild<QPdfPageRenderer *>();
    if (!renderer)
        return fail("the preview has no page renderer to follow"), 1;
    // Page 30 drawn after the document shown last was loaded.
    bool loaded = false;
    int visibleDrawn = 0;
    QObject::connect(window->document, &QPdfDocument::statusChanged,
                     [&](QPdfDocument::Status status) {
                         if (status == QPdfDocument::Status::Ready)
                             loaded = true;
                     });
    QObject::connect(renderer, &QPdfPageRenderer::pageRendered, [&](int page) {
        if (loaded && page == kVisiblePage)
            ++visibleDrawn;
    });
    int prepared = -1;
    QList<int> shown;
    QObject::connect(&delegate, &AppDelegate::documentPrepared,
                     [&](int pages) { prepared = pages; });
    QObject::connect(&delegate, &AppDelegate::pagesShown, [&](int pages) { shown.append(pages); });

    delegate.openFile(document);
    if (!waitFor([&] { return prepared >= 0; }) || prepared != 60)
        return fail("the window did not show 60 pages"), 1;
    window->pdfView->pageNavigator()->jump(kVisiblePage, QPointF());
    waitFor([] { return false; }, 1000);
    if (window->pdfView->pageNavigator()->currentPage() != kVisiblePage)
        return fail("page 30 is not in view"), 1;

    QTemporaryDir scratch;
    QList<double> visible, all, peer;
    for (int run = 0; run <= kRuns; ++run) {
        const int level = run % 2 ? 3 : 1;
        loaded = false;
        visibleDrawn = 0;
        prepared = -1;
        shown.clear();
        QElapsedTimer timer;
        timer.start();
        delegate.changeThreshold(level);
        if (!waitFor([&] { return visibleDrawn > 0; }))
            return fail("page 30 was not drawn again"), 1;
        const double visibleSeconds = timer.elapsed() / 1000.0;
        if (shown.value(0) != 60)
            return fail("the page in view was not shown among the others"), 1;
        if (!waitFor([&] { return prepared >= 0; }) || prepared != 60)
            return fail("the document was not prepared again"), 1;
        const double allSeconds = timer.elapsed() / 1000.0;
        if (window->pdfView->pageNavigator()->currentPage() != kVisiblePage)
            return fail("page 30 left the view"), 1;

        // The peer, after the window is done, so that neither takes processors from the other.
        QProcess prepare;
        timer.start();
        prepare.start(faxolino, {QStringLiteral("prepare"), document,
                                 scratch.filePath(QStringLiteral("peer.pdf")),
                                 QStringLiteral("--type"), QStringLiteral("text"),
                                 QStringLiteral("--threshold"), QString::number(level)});
        if (!prepare.waitForFinished(600000) || prepare.exitCode() != 0)
            return fail("faxolino prepare failed"), 1;
        const double peerSeconds = timer.elapsed() / 1000.0;
        waitFor([] { return false; }, 300);
        if (run == 0)
            continue; // warms the file cache and the fonts
        visible.append(visibleSeconds);
        all.append(allSeconds);
        peer.append(peerSeconds);
        std::fprintf(stderr, "threshold run %d: page 30 %.3f s, all pages %.3f s; peer %.3f s\n",
                     run, visibleSeconds, allSeconds, peerSeconds);
    }
    std::printf("BENCH threshold visible_page_s=%.3f all_pages_s=%.3f peer_s=%.3f ratio=%.2f\n",
                median(visible), median(all), median(peer), median(all) / median(peer));
    return 0;
}
