// The main window's benchmark: how soon the pages of a document opened in the window are shown,
// against `faxolino prepare` on the same document, and the window's peak memory once the
// document has been scrolled through. Runs inside an isolated session (an account in a
// private keyring).
//   window-bench FAXOLINO DOCUMENT.pdf
#include "../support/BenchMeasure.h"
#include "app/AppDelegate.h"
#include "app/FBMainWindow.h"
#include "app/FBPageThumbnailModel.h"
#include "foundation/FBAccountCredentials.h"
#include "foundation/FBLocalization.h"
#include "foundation/FBUserDefaults.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QListView>
#include <QPdfDocument>
#include <QPdfPageRenderer>
#include <QPdfView>
#include <QProcess>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTimer>

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <functional>

namespace {

using BenchMeasure::median;
using BenchMeasure::waitFor;

constexpr int kRuns = 3;

double peakMiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024.0;
    }
    return 0;
}

double cpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec
           + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

bool fail(const char *what)
{
    std::fprintf(stderr, "bench window: %s\n", what);
    return false;
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    if (argc < 3)
        return fail("usage: window-bench FAXOLINO DOCUMENT.pdf"), 2;
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
    int rendered = 0; // pages the preview has drawn
    QObject::connect(renderer, &QPdfPageRenderer::pageRendered, [&] { ++rendered; });
    int prepared = -1;

    QObject::connect(&delegate, &AppDelegate::documentPrepared,
                     [&](int pages) { prepared = pages; });

    QTemporaryDir scratch;
    QList<double> firstPage, allPages, peer;
    for (int run = 0; run <= kRuns; ++run) {
        // The window, from the request to open to the first page drawn and to all pages shown.
        rendered = 0;
        prepared = -1;
        QElapsedTimer timer;
        timer.start();
        const double cpuBefore = cpuSeconds();
        delegate.openFile(document);
        if (!waitFor([&] { return rendered > 0; }))
            return fail("no page was shown"), 1;
        const double first = timer.elapsed() / 1000.0;
        if (!waitFor([&] { return prepared >= 0; }))
            return fail("the document was not prepared"), 1;
        if (prepared != 60)
            return fail("the window did not show 60 pages"), 1;
        const double preparedAt = timer.elapsed() / 1000.0;
        const int before = rendered;
        if (!waitFor([&] { return rendered > before; }))
            return fail("the prepared pages were not drawn"), 1;
        const double all = timer.elapsed() / 1000.0;
        const double windowCpu = cpuSeconds() - cpuBefore;

        // The peer, one after the other so that neither takes processors from the other.
        QProcess prepare;
        timer.start();
        prepare.start(faxolino, {QStringLiteral("prepare"), document,
                                 scratch.filePath(QStringLiteral("peer.pdf")),
                                 QStringLiteral("--type"), QStringLiteral("text")});
        if (!prepare.waitForFinished(600000) || prepare.exitCode() != 0)
            return fail("faxolino prepare failed"), 1;
        const double peerSeconds = timer.elapsed() / 1000.0;
        if (run == 0)
            continue; // warms the file cache and the fonts
        firstPage.append(first);
        allPages.append(all);
        peer.append(peerSeconds);
        std::fprintf(stderr,
                     "window run %d: first page %.3f s, all pages shown %.3f s (prepared %.3f s), "
                     "window CPU %.3f s; peer %.3f s\n",
                     run, first, all, preparedAt, windowCpu, peerSeconds);
    }

    // Through the grid and the preview, page by page.
    const int pages = window->thumbnails->rowCount();
    for (int page = 0; page < pages; ++page) {
        window->collectionView->scrollTo(window->thumbnails->index(page));
        QScrollBar *preview = window->pdfView->verticalScrollBar();
        preview->setValue(preview->maximum() * page / std::max(1, pages - 1));
        waitFor([] { return false; }, 40);
    }
    waitFor([] { return false; }, 1000);

    const double prepareSeconds = median(allPages);
    std::printf("BENCH window first_page_s=%.3f prepared_s=%.3f peer_s=%.3f ratio=%.2f "
                "peak_mib=%.0f\n",
                median(firstPage), prepareSeconds, median(peer), prepareSeconds / median(peer),
                peakMiB());
    return 0;
}
