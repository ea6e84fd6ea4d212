#include "sending/FXFaxReportStore.h"

#include "document/FXPDFGenerator.h"
#include "foundation/FBUserDefaults.h"
#include "foundation/FXFaxFileManager.h"
#include "journal/FXCoreDataController.h"
#include "sending/FXReportRenderer.h"

#include <QFileInfo>
#include <QUrl>

FXFaxReportStore *FXFaxReportStore::sharedInstance()
{
    static FXFaxReportStore store;
    return &store;
}

QString FXFaxReportStore::reportPathForFax(const Fax &fax)
{
    return FXFaxFileManager::filePathForSendFaxFile(fax.file(), fax.fileURL());
}

void FXFaxReportStore::renderPDFReport(const QString &html, const Fax &forFax)
{
    saveFaxReport(FXReportRenderer::pdfForHTML(html), forFax);
}

void FXFaxReportStore::saveFaxReport(const QByteArray &pdfData, const Fax &forFax)
{
    const QString report = FXFaxFileManager::writeReportFileForData(pdfData);
    // The target is the fax's file name in the report folder the fax was sent with, which
    // falls back to "Documents" when none was chosen.
    const QUrl target = QUrl::fromLocalFile(reportPathForFax(forFax));
    QList<QUrl> sources{QUrl::fromLocalFile(report)};
    if (FBUserDefaults::boolForKey(kSaveSendDocumentKey)) {
        // The fax's own copy of what was sent: the same pages as the processed fax file while
        // the job runs, and still the right ones when the poller reports after a restart.
        const QString copy = FXFaxFileManager::filePathForTemporarySendFaxFile(forFax.file());
        sources.append(!copy.isEmpty() && QFileInfo::exists(copy)
                           ? QUrl::fromLocalFile(copy)
                           : FXFaxFileManager::fileURLForProcessedFaxFile());
    }
    FXPDFGenerator::combinePDFURLs(sources, target, true);
    FXCoreDataController::sharedInstance()->saveMainContext();
}
