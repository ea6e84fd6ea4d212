#include "sending/FXFaxReportStore.h"

#include "document/FXPDFGenerator.h"
#include "foundation/FBUserDefaults.h"
#include "foundation/FXFaxFileManager.h"
#include "journal/Connection.h"
#include "journal/FXCoreDataController.h"
#include "sending/FXReportRenderer.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include <QUrl>
#include <algorithm>

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
    const QString copy = FXFaxFileManager::filePathForTemporarySendFaxFile(forFax.file());
    const bool withPages = FBUserDefaults::boolForKey(kSaveSendDocumentKey);
    const bool hasCopy = !copy.isEmpty() && QFileInfo(copy).size() > 0;
    if (withPages) {
        // The fax's own copy of what was sent: the same pages as the processed fax file while
        // the job runs, and still the right ones when the poller reports after a restart.
        sources.append(hasCopy ? QUrl::fromLocalFile(copy)
                               : FXFaxFileManager::fileURLForProcessedFaxFile());
    }
    const QDateTime before = QFileInfo(target.toLocalFile()).lastModified();
    FXPDFGenerator::combinePDFURLs(sources, target, true);
    FXCoreDataController::sharedInstance()->saveMainContext();

    // Once the fax is closed and its stored report holds the pages, the copy has served: the
    // report is where they are taken from again. Copies would otherwise pile up, one a fax.
    const QFileInfo stored(target.toLocalFile());
    const QList<Connection> connections = forFax.connections();
    const bool closed = std::none_of(connections.cbegin(), connections.cend(),
                                     [](const Connection &c) { return c.isOpen(); });
    if (withPages && hasCopy && closed && stored.exists() && stored.lastModified() != before)
        QFile::remove(copy);
}
