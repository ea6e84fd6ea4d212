#pragma once

#include "document/FXFaxPageGenerator.h"

#include <QByteArray>
#include <QList>
#include <QUrl>

// Puts the document that is faxed together from other PDFs. Pages are copied as they stand
// (text stays text, vector art stays sharp, each page keeps its media box) into the shared
// merge file "_merge.pdf", which then replaces the destination. Output is deterministic: the
// same sources give the same bytes, document ID included.
//
// Nothing is reported to the caller; failures are logged. A source that cannot be read
// (missing, damaged beyond repair, locked by a password) contributes no pages; a damaged file
// that can be repaired contributes its pages and its repairs are logged.
//
// The merge file is a single scratch file: callers run one operation at a time.
class FXPDFGenerator
{
public:
    // The fax pages of a document (see FXFaxPageGenerator) written to the processed fax file,
    // which is created or replaced; an unreadable document gives a file without pages. The
    // result tells the page count. Synchronous and slow: callers run it off the main thread.
    // Work that may run beside other page preparation in this process (every fax job) names a
    // file of its own in toPath instead.
    static FXFaxPageGenerator::Result generatePDFWithData(const QByteArray &data,
                                                          const QString &withHeader, int useType,
                                                          int threshold,
                                                          const QString &toPath = QString());

    // Destination = every page of every source, in list order. forReport: each page is instead
    // scaled to fit (never enlarged) and centred on a 595.2 x 841.8 page.
    // The destination is replaced only when no report folder is stored in the settings or the
    // stored one is a usable folder; otherwise the result stays in the merge file.
    static void combinePDFURLs(const QList<QUrl> &pdfURLs, const QUrl &writeToURL, bool forReport);

    // Destination = page 1 of the cover sheet, then the document's pages from page 2 when it
    // already starts with a cover sheet (which is replaced), else from page 1.
    static void combineCoverSheet(const QUrl &coverSheet, const QUrl &withPDFURL,
                                  const QUrl &writeToURL, bool hasExistingCoverSheet);

    // Destination = the source without page `page` (counted from 1); a number outside the
    // document removes nothing. A source of fewer than two pages writes nothing, and the
    // destination is removed all the same: callers never ask to delete the last page. A source
    // that cannot be read leaves everything as it is.
    static void removePage(uint page, const QUrl &fromPDFURL, const QUrl &writeToURL);

    // The document's page count; -1 when it cannot be read.
    static int pageCount(const QUrl &inPDFDocument);

    // The document's pages from page `firstPage` (counted from 1) to its end, as they stand.
    // Empty when the document cannot be read or has no such page.
    static QByteArray pagesFrom(uint firstPage, const QUrl &inPDFDocument);

    // The document with the dragged pages (indices from 0) moved to toIndex by the same rule
    // the thumbnail grid follows (FXPageMove). Empty when the document cannot be read.
    static QByteArray movePagesAtIndexes(const QList<qsizetype> &indexes, qsizetype toIndex,
                                         const QUrl &inPDFDocument);
};
