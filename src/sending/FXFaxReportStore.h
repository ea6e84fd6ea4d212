#pragma once

#include "sending/FXFaxReport.h"

#include <QByteArray>

// Turns a fax's report HTML into the stored report: a one-page PDF, followed by the
// transmitted pages when "saveSendDocument" is on, placed in the report folder under the
// fax's file name. What the desktop application and the command line both do with a report.
class FXFaxReportStore : public FXFaxReportDelegate
{
public:
    void renderPDFReport(const QString &html, const Fax &forFax) override;

    // Stores the rendered report for the fax and saves the journal. Failures are logged by
    // the file manager and the page assembly; the user is not told.
    void saveFaxReport(const QByteArray &pdfData, const Fax &forFax);

    // Where the stored report of a fax is (or would be): in the report folder kept with the
    // record, not the one chosen now.
    static QString reportPathForFax(const Fax &fax);

    // The process-wide store the sending engine and the poller hand their reports to.
    static FXFaxReportStore *sharedInstance();
};
