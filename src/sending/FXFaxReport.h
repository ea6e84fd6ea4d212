#pragma once

#include "journal/Fax.h"

#include <QString>

// Receives the finished report HTML of a fax. Every operation is optional.
class FXFaxReportDelegate
{
public:
    virtual ~FXFaxReportDelegate() = default;
    virtual void renderPDFReport(const QString &html, const Fax &forFax)
    {
        Q_UNUSED(html);
        Q_UNUSED(forFax);
    }
};

// Builds the transmission report of a fax from the templates "report.html" (the page) and
// "reporttemplate.html" (one section per transmission attempt) in the core bundle, and hands
// the HTML to its delegate on the calling thread.
class FXFaxReport
{
public:
    static void generateFaxReportForFax(const Fax &fax, FXFaxReportDelegate *delegate);

    // The report HTML itself.
    static QString reportHTMLForFax(const Fax &fax);

    // "%ld:%02ld" of the minutes and seconds from begin to finish; minutes run past 59.
    static QString durationText(const QDateTime &begin, const QDateTime &finish);

    // A number formatted internationally ("+49 30 1234567"); the text as it is when it does
    // not parse.
    static QString internationalFormat(const QString &number);
};
