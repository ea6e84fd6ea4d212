#pragma once

#include "document/FXRaster.h"

#include <QByteArray>
#include <QImage>
#include <QString>

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
        int pageCount = 0; // pages written; pages that could not be rendered are left out
        QString errorString;
    };

    // Prepares every page of the PDF in data and writes the fax document to toPath, replacing
    // it. Pages are rendered on the calling thread while the previous page is converted and
    // written on a second one, so at most two pages are in memory. The header text is not
    // stamped onto the pages. Synchronous; run it off the main thread.
    static Result generatePDFWithData(const QByteArray &data, const QString &withHeader,
                                      int useType, int threshold, const QString &toPath,
                                      UnreadableInput unreadable = WriteEmptyDocument);
    // The same, reading the PDF from an open, random-access device as pages need it, so that
    // a large file need not be in memory.
    static Result generatePDFWithDevice(QIODevice *input, const QString &withHeader, int useType,
                                        int threshold, const QString &toPath,
                                        UnreadableInput unreadable = WriteEmptyDocument);

    // The brightness fraction of a threshold level (0 to 4); any other level gives 0.84.
    static float thresholdForLevel(int level);
    // "03/12": page number and page count, at least two digits each.
    static QString pageLabel(int page, int pageCount);

    // Page `page` (counted from 1) drawn as a viewer shows its crop box, scaled to touch the
    // canvas on one axis and centred on opaque white: an RGBA raster of the canvas size, or
    // null when the page cannot be rendered.
    static FXRaster renderPageImage(QPdfDocument &document, int page);
    // The page converted for sending: text (useType 0) by the threshold of the level, anything
    // else by error diffusion. RGBA for text, 8-bit grey for mixed.
    static FXRaster convertPage(FXRaster canvas, int useType, int threshold);

    // The two halves of renderPageImage: the page rendered at its scaled size (holding Qt
    // Pdf's lock), and that image composited onto the white canvas (free of it).
    static QImage renderScaledPage(QPdfDocument &document, int page);
    static FXRaster placeOnCanvas(QImage scaledPage);

    // What is written for a page rendered at its scaled size, in one pass instead of a canvas
    // and three conversions: for text, binaryRepresentation of convertPage; otherwise the
    // diffused grey raster of convertPage.
    static FXRaster convertScaledPage(const QImage &scaledPage, int useType, int threshold);

private:
    static Result preparePages(QIODevice *input, int useType, int threshold, const QString &toPath,
                               UnreadableInput unreadable);
};
