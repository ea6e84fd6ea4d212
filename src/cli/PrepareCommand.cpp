#include "cli/PrepareCommand.h"

#include "cli/CommandSupport.h"

#include "document/FXFaxPageGenerator.h"
#include "document/FXPageImagePDFWriter.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QTextStream>

#include <cstdio>
#include <optional>
#include <vector>

namespace {

const char usage[] =
    "Usage: faxolino prepare IN.pdf OUT.pdf [--type text|mixed] [--threshold 0-4]\n"
    "\n"
    "Writes the fax pages that would be sent for IN.pdf to OUT.pdf: every page\n"
    "rendered at 288 dpi onto A4 and converted to black and white. Prints the\n"
    "number of pages written.\n"
    "\n"
    "Options:\n"
    "  --type text|mixed   text: a brightness threshold (default);\n"
    "                      mixed: error diffusion, for pictures\n"
    "  --threshold 0-4     the threshold level for text, lighter to darker\n"
    "                      (default 2)\n"
    "  --preview FILE      also writes the pages prepared so far to FILE while it\n"
    "                      works, printing \"preview N\" each time (N pages)\n"
    "  --visible-page N    prepares page N first, if IN.pdf has it (needs --preview)\n"
    "  --previous OLD.pdf  an earlier OUT.pdf of IN.pdf (needs --visible-page): when\n"
    "                      it has as many pages as IN.pdf, it goes to the preview\n"
    "                      FILE with page N replaced by the new one as soon as that\n"
    "                      page is ready, printing \"preview\" and its page count;\n"
    "                      the previews of the pages so far are then left out\n"
    "  --arguments-on-stdin\n"
    "                      given alone, reads the arguments above from standard\n"
    "                      input instead, one a line, up to an empty line: a\n"
    "                      window starts the command before it knows them\n"
    "\n"
    "Exit codes: 0 the pages were written, 1 OUT.pdf could not be written, 2 a usage\n"
    "error or an input that is no readable PDF (damaged or password-protected);\n"
    "OUT.pdf stays untouched then.\n";

constexpr size_t kMaximumArguments = 32;
constexpr size_t kMaximumArgumentSize = 4096;

// An earlier output is the window's own fax file; anything larger is no such file.
constexpr qint64 kMaximumPreviousBytes = qint64(1) << 30;

int usageError(QTextStream &err, const QString &message)
{
    err << "faxolino prepare: " << message << "\n\n" << usage;
    return 2;
}

} // namespace

int PrepareCommand::run(int argc, char *argv[])
{
    std::optional<QCoreApplication> app;
    if (!QCoreApplication::instance())
        app.emplace(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);

    // Started ahead of need, with its libraries bound at start, the command waits here for its
    // arguments.
    std::vector<QByteArray> waited;
    std::vector<char *> waitedArguments;
    if (argc == 2 && qstrcmp(argv[1], "--arguments-on-stdin") == 0) {
        waited = {argv[0]};
        // A line longer than an argument may be comes in pieces; what is read stays bounded.
        char line[kMaximumArgumentSize];
        while (waited.size() < kMaximumArguments && std::fgets(line, sizeof line, stdin)) {
            QByteArray argument(line);
            if (argument.endsWith('\n'))
                argument.chop(1);
            if (argument.isEmpty())
                break;
            waited.push_back(argument);
        }
        // The render helper starts as any program does.
        qunsetenv("LD_BIND_NOW");
        for (QByteArray &argument : waited)
            waitedArguments.push_back(argument.data());
        waitedArguments.push_back(nullptr);
    }
    const int count = waited.empty() ? argc : int(waited.size());
    char **values = waited.empty() ? argv : waitedArguments.data();

    QCommandLineParser parser;
    const QCommandLineOption typeOption(QStringLiteral("type"), QString(), QStringLiteral("type"),
                                        QStringLiteral("text"));
    const QCommandLineOption thresholdOption(QStringLiteral("threshold"), QString(),
                                             QStringLiteral("level"), QStringLiteral("2"));
    const QCommandLineOption previewOption(QStringLiteral("preview"), QString(),
                                           QStringLiteral("file"));
    const QCommandLineOption visiblePageOption(QStringLiteral("visible-page"), QString(),
                                               QStringLiteral("page"));
    const QCommandLineOption previousOption(QStringLiteral("previous"), QString(),
                                            QStringLiteral("file"));
    parser.addOptions(
        {typeOption, thresholdOption, previewOption, visiblePageOption, previousOption});
    if (const std::optional<int> exitCode = CommandSupport::parseArguments(
            parser, count, values, usage,
            [&](const QString &message) { return usageError(err, message); }, true))
        return *exitCode;

    const QStringList files = parser.positionalArguments();
    if (files.size() != 2)
        return usageError(err, QStringLiteral("expected an input and an output file"));

    int useType = FXFaxPageGenerator::Text;
    const QString type = parser.value(typeOption);
    if (type == QLatin1String("mixed"))
        useType = FXFaxPageGenerator::Mixed;
    else if (type != QLatin1String("text"))
        return usageError(err, QStringLiteral("unknown type \"%1\"").arg(type));

    bool isNumber = false;
    const int threshold = parser.value(thresholdOption).toInt(&isNumber);
    if (!isNumber || threshold < 0 || threshold > 4) {
        return usageError(err, QStringLiteral("the threshold is a level from 0 to 4, not \"%1\"")
                                   .arg(parser.value(thresholdOption)));
    }

    int visiblePage = 0;
    if (parser.isSet(visiblePageOption)) {
        visiblePage = parser.value(visiblePageOption).toInt(&isNumber);
        if (!isNumber || visiblePage < 1) {
            return usageError(err, QStringLiteral("the visible page is a number from 1, not \"%1\"")
                                       .arg(parser.value(visiblePageOption)));
        }
        if (!parser.isSet(previewOption))
            return usageError(err, QStringLiteral("--visible-page needs --preview"));
    }
    if (parser.isSet(previousOption) && !visiblePage)
        return usageError(err, QStringLiteral("--previous needs --visible-page"));

    FXFaxPageGenerator::keepPageMemory();
    QFile input(files.at(0));
    if (!input.open(QIODevice::ReadOnly)) {
        err << "faxolino prepare: cannot read \"" << files.at(0) << "\": " << input.errorString()
            << '\n';
        return 2;
    }
    // A window shows the first page as soon as it is ready, then the pages so far each time
    // their number has doubled, at most every two seconds: copying the pages again costs at most
    // as much as writing them once.
    const QString previewPath = parser.value(previewOption);
    QElapsedTimer sinceSnapshot;
    int snapshotPages = 0;
    // Once the earlier document with the new page is shown, previews of fewer pages would take
    // pages away from the window.
    bool previousShown = false;
    const auto pageWritten = [&](FXPageImagePDFWriter &writer) {
        if (previousShown)
            return;
        const int pages = writer.pageCount();
        if (snapshotPages > 0 && (pages < 2 * snapshotPages || sinceSnapshot.elapsed() < 2000))
            return;
        QString problem;
        if (!writer.writeSnapshot(previewPath, &problem)) {
            err << "faxolino prepare: cannot write \"" << previewPath << "\": " << problem << '\n';
            return;
        }
        snapshotPages = pages;
        sinceSnapshot.start();
        out << "preview " << pages << Qt::endl;
    };
    // The page the window shows, prepared at the new level, in the document it already shows:
    // an update appended to that document replaces the page's image.
    const QString previousPath = parser.value(previousOption);
    const auto visiblePageReady = [&](const FXFaxPageGenerator::PreparedPage &page,
                                      int sourcePageCount) {
        if (previousPath.isEmpty() || page.outcome != FXFaxPageGenerator::PreparedPage::Written)
            return;
        QFile previous(previousPath);
        if (!QFileInfo(previousPath).isFile() || previous.size() > kMaximumPreviousBytes
            || !previous.open(QIODevice::ReadOnly))
            return;
        int previousPages = 0;
        QString problem;
        const QByteArray replaced = FXPageImagePDFWriter::withPageImage(
            previous.readAll(), visiblePage, page.stream, page.encoding, page.width, page.height,
            &previousPages, &problem);
        if (replaced.isEmpty() || previousPages != sourcePageCount)
            return;
        // Replaced whole, as the window may be reading it.
        QSaveFile preview(previewPath);
        if (!preview.open(QIODevice::WriteOnly) || preview.write(replaced) != replaced.size()
            || !preview.commit()) {
            err << "faxolino prepare: cannot write \"" << previewPath
                << "\": " << preview.errorString() << '\n';
            return;
        }
        previousShown = true;
        out << "preview " << sourcePageCount << Qt::endl;
    };
    // Read as pages need it rather than copied whole into memory first.
    const FXFaxPageGenerator::Result result = FXFaxPageGenerator::generatePDFWithDevice(
        &input, QString(), useType, threshold, files.at(1),
        FXFaxPageGenerator::LeaveOutputUntouched,
        previewPath.isEmpty() ? FXFaxPageGenerator::PageWritten() : pageWritten, visiblePage,
        visiblePage ? FXFaxPageGenerator::FirstPageReady(visiblePageReady)
                    : FXFaxPageGenerator::FirstPageReady());
    if (!result.readable) {
        err << "faxolino prepare: \"" << files.at(0)
            << "\" is not a readable PDF document (it may be damaged or password-protected)\n";
        return 2;
    }
    if (!result.written) {
        err << "faxolino prepare: cannot write \"" << files.at(1) << "\": " << result.errorString
            << '\n';
        return 1;
    }
    out << result.pageCount << '\n';
    return 0;
}
