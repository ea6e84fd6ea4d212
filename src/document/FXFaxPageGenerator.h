#pragma once

#include "document/FXPageImagePDFWriter.h"
#include "document/FXRaster.h"

#include <QByteArray>
#include <QImage>
#include <QString>

#include <functional>

class QIODevice;
class QPdfDocument;

// Turns a PDF into fax pages: each page is rendered onto a 2380 x 3368 white canvas
// (288 dpi on A4), converted to black and white, and written as one image filling an A4 page.
class FXFaxPageGenerator
{
public:
    static constexpr int canvasWidth = 2380;
    static constexpr int canvasHeight = 3368;

    enum DocumentType : int {
        Text = 0,  // brightness threshold
        Mixed = 1, // error diffusion; every value other than 0 means this
    };

    enum UnreadableInput {
        WriteEmptyDocument,   // an input that is no readable PDF gives a document of no pages
        LeaveOutputUntouched, // ... or leaves the output file as it was
    };

    struct Result
    {
        bool readable = false; // the input opened as a PDF (a password-protected one does not)
        bool written = false;  // the output file was written
        int sourcePageCount = 0;
        int pageCount = 0;       // pages written; pages that could not be rendered are left out
        int helperPageCount = 0; // of those, pages prepared by the helper process
        QString errorString;
    };

    // One page ready for the writer: its image coded as the writer takes it, or why there is
    // none.
    struct PreparedPage
    {
        enum Outcome : qint32 {
            Written = 0,
            NotRendered = 1, // the page could not be rendered or coded
            OutOfMemory = 2, // a raster could not be allocated
        };
        Outcome outcome = NotRendered;
        FXPageImagePDFWriter::Encoding encoding = FXPageImagePDFWriter::Group4;
        int width = 0;
        int height = 0;
        QByteArray stream;
    };

    // Prepares every page of the PDF in data and writes the fax document to toPath, replacing
    // it. Qt Pdf renders one page at a time per process, so where there are two processors
    // the pages are shared with a helper process (FXPageWorker); each process prepares one
    // page at a time, so at most two pages are in memory. The header text is not stamped onto
    // the pages. Synchronous; run it off the main thread.
    static Result generatePDFWithData(const QByteArray &data, const QString &withHeader,
                                      int useType, int threshold, const QString &toPath,
                                      UnreadableInput unreadable = WriteEmptyDocument);
    // Called after each page is written, in page order, with the writer (which can write a
    // snapshot of the pages so far).
    using PageWritten = std::function<void(FXPageImagePDFWriter &writer)>;
    // Called once with the page prepared out of turn and the input's page count.
    using FirstPageReady = std::function<void(const PreparedPage &page, int sourcePageCount)>;
    // The same, reading the PDF from an open, random-access device as pages need it, so that
    // a large file need not be in memory. With firstPageReady, page firstPage (counted from 1;
    // a number outside the document is ignored) is prepared first, while the helper works on
    // the others, and handed to firstPageReady before any page is written; the document comes
    // out the same.
    static Result generatePDFWithDevice(QIODevice *input, const QString &withHeader, int useType,
                                        int threshold, const QString &toPath,
                                        UnreadableInput unreadable = WriteEmptyDocument,
                                        const PageWritten &pageWritten = {}, int firstPage = 0,
                                        const FirstPageReady &firstPageReady = {});

    // Renders, converts and codes page `page` (counted from 1).
    static PreparedPage preparePage(QPdfDocument &document, int page, int useType, int threshold);

    // For processes that do little but prepare pages: keeps the page rasters' memory on the
    // heap between pages. glibc would otherwise map each 32 MB raster afresh and unmap it
    // after, paying about 8000 page faults a page.
    static void keepPageMemory();

    // The brightness fraction of a threshold level (0 to 4); any other level gives 0.84.
    static float thresholdForLevel(int level);
    // "03/12": page number and page count, at least two digits each.
    static QString pageLabel(int page, int pageCount);

    // The page rendered at its scaled size (holding Qt Pdf's lock): drawn as a viewer shows
    // its crop box, scaled to touch the canvas on one axis. Null when it cannot be rendered.
    static QImage renderScaledPage(QPdfDocument &document, int page);

    // What is written for a page rendered at its scaled size, centred on the white canvas and
    // converted in one pass: for text (useType 0) the 1-bit raster of the level's brightness
    // threshold; otherwise the error-diffused 8-bit grey raster.
    static FXRaster convertScaledPage(const QImage &scaledPage, int useType, int threshold);

private:
    static Result preparePages(QIODevice *input, int useType, int threshold, const QString &toPath,
                               UnreadableInput unreadable, const PageWritten &pageWritten,
                               int firstPage = 0, const FirstPageReady &firstPageReady = {});
};
