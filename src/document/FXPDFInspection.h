#pragma once

#include <QString>
#include <QtGlobal>

#include <vector>

class QIODevice;

// Looks at a PDF's structure with qpdf before Qt Pdf renders it. Qt Pdf has no bounds of its
// own: a page tree nested about a thousand levels deep keeps it busy for many minutes, and a
// page whose compressed drawing instructions unpack to hundreds of megabytes takes gigabytes
// of memory. The inspection walks the page tree within a depth and time budget, and adds up
// per page what rendering it would unpack: its drawing instructions (the page's contents,
// forms, patterns and glyph procedures), and everything else it draws from (images as the
// rasters they become, fonts, shadings). Each stream is unpacked once, no further than the
// budget, so the inspection itself stays small and quick.
class FXPDFInspection
{
public:
    struct Limits
    {
        int maxTreeDepth = 256;
        qint64 maxInstructionBytes = qint64(24) << 20; // per page
        qint64 maxDataBytes = qint64(512) << 20;       // per page
        int maxMilliseconds = 10000;
    };

    struct Result
    {
        // False when qpdf cannot read the document, or its page tree is beyond the budget;
        // such a document is unreadable.
        bool readable = false;
        QString problem;
        int pageCount = 0;
        // Pages over the memory budget, counted from 1, in order.
        std::vector<int> pagesOverBudget;
    };

    // Reads a file through its name, a buffer in place, anything else copied into memory. The
    // device's position is kept.
    static Result inspect(QIODevice *input, const Limits &limits);
    static Result inspect(QIODevice *input) { return inspect(input, Limits()); }
};
