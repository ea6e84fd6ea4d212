#include "document/FXPDFGenerator.h"

#include "document/FXPageMove.h"
#include "foundation/FXFaxFileManager.h"
#include "foundation/FXLogging.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <qpdf/Buffer.hh>
#include <qpdf/PDFVersion.hh>
#include <qpdf/Pl_Discard.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFAcroFormDocumentHelper.hh>
#include <qpdf/QPDFExc.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFPageObjectHelper.hh>
#include <qpdf/QPDFWriter.hh>

#include <memory>
#include <set>
#include <vector>

namespace {

// A4 rounded down to a tenth of a point: the page reports are collected on.
constexpr double kReportPageWidth = 595.2;
constexpr double kReportPageHeight = 841.8;

// A badly damaged file can produce thousands of repair notes; the first ones tell the story.
constexpr size_t kLoggedWarningsPerFile = 20;

QString localPath(const QUrl &url)
{
    return url.isLocalFile() ? url.toLocalFile() : QString();
}

void logWarnings(QPDF &pdf, const char *context)
{
    const std::vector<QPDFExc> warnings = pdf.getWarnings();
    for (size_t i = 0; i < warnings.size() && i < kLoggedWarningsPerFile; ++i)
        qCWarning(lcDocument, "%s: %s", context, warnings[i].what());
    if (warnings.size() > kLoggedWarningsPerFile)
        qCWarning(lcDocument, "%s: %zu more warnings", context,
                  warnings.size() - kLoggedWarningsPerFile);
}

struct Source
{
    QPDF pdf;
    std::vector<QPDFPageObjectHelper> pages;
    PDFVersion version;
    // Only for files with form fields, whose widgets must stay tied to their fields.
    std::unique_ptr<QPDFAcroFormDocumentHelper> forms;
};

// Collects pages from any number of sources and writes them as one new document. The sources
// stay open until the document is written: qpdf reads their stream data only then.
class Assembly
{
public:
    // nullptr (logged) when the file cannot be read.
    Source *open(const QUrl &url);
    void append(Source *source, size_t index) { m_pages.push_back({source, index}); }

    // Exactly one of filePath and data names the output.
    bool write(const QString &filePath, QByteArray *data, bool forReport);

private:
    QPDFObjectHandle reportPage(QPDF &out, QPDFPageObjectHelper page);

    std::vector<std::unique_ptr<Source>> m_sources;
    std::vector<std::pair<Source *, size_t>> m_pages;
};

Source *Assembly::open(const QUrl &url)
{
    const QString path = localPath(url);
    // Only regular files: a FIFO or a device would block the read or never end.
    if (path.isEmpty() || !QFileInfo(path).isFile()) {
        qCWarning(lcDocument, "Cannot read %s, it adds no pages: no such file",
                  qUtf8Printable(url.toDisplayString()));
        return nullptr;
    }
    auto source = std::make_unique<Source>();
    try {
        source->pdf.setSuppressWarnings(true);
        // No password: a document locked by one cannot be faxed; one that only restricts
        // changes opens as it does in every viewer.
        source->pdf.processFile(QFile::encodeName(path).constData());
        source->pages = QPDFPageDocumentHelper(source->pdf).getAllPages();
        if (source->pdf.getRoot().getKey("/AcroForm").isDictionary())
            source->forms = std::make_unique<QPDFAcroFormDocumentHelper>(source->pdf);
    } catch (const std::exception &e) {
        qCWarning(lcDocument, "Cannot read %s, it adds no pages: %s", qUtf8Printable(path),
                  e.what());
        return nullptr;
    }
    try {
        source->version = source->pdf.getVersionAsPDFVersion();
    } catch (const std::exception &) {
        // A nonsensical header version must not cost the pages.
        source->version = PDFVersion(1, 7);
    }
    logWarnings(source->pdf, "Repaired while reading");
    m_sources.push_back(std::move(source));
    return m_sources.back().get();
}

// A new report-sized page that shows the source page as a form XObject, scaled down to fit
// if it is larger and centred, keeping its aspect ratio and its own /Rotate.
QPDFObjectHandle Assembly::reportPage(QPDF &out, QPDFPageObjectHelper page)
{
    // The form's content is coalesced while the document is written; decoding it once here
    // keeps a broken content stream from aborting that write half-way.
    Pl_Discard discard;
    page.pipeContents(&discard);

    const QPDFObjectHandle::Rectangle mediaBox = page.getMediaBox().getArrayAsRectangle();
    if (!(mediaBox.urx - mediaBox.llx > 0) || !(mediaBox.ury - mediaBox.lly > 0))
        throw std::runtime_error("page without a usable media box");
    QPDFObjectHandle form = page.getFormXObjectForPage();
    // qpdf bounds the form by the trim box; the page is placed by its media box.
    form.getDict().replaceKey("/BBox", QPDFObjectHandle::newFromRectangle(mediaBox));
    const QPDFObjectHandle placed = out.copyForeignObject(form);

    const QPDFObjectHandle::Rectangle rect(0, 0, kReportPageWidth, kReportPageHeight);
    QPDFObjectHandle xObjects = QPDFObjectHandle::newDictionary();
    xObjects.replaceKey("/Fx0", placed);
    QPDFObjectHandle resources = QPDFObjectHandle::newDictionary();
    resources.replaceKey("/XObject", xObjects);
    QPDFObjectHandle result = out.makeIndirectObject(QPDFObjectHandle::newDictionary());
    result.replaceKey("/Type", QPDFObjectHandle::newName("/Page"));
    result.replaceKey("/MediaBox", QPDFObjectHandle::newFromRectangle(rect));
    result.replaceKey("/Resources", resources);
    const std::string placement = QPDFPageObjectHelper(result).placeFormXObject(
        placed, "/Fx0", rect, /*invert_transformations=*/false, /*allow_shrink=*/true,
        /*allow_expand=*/false);
    result.replaceKey("/Contents", QPDFObjectHandle::newStream(&out, placement));
    return result;
}

bool Assembly::write(const QString &filePath, QByteArray *data, bool forReport)
{
    const QByteArray target = data ? QByteArrayLiteral("document data") : filePath.toUtf8();
    bool written = false;
    try {
        QPDF out;
        out.setSuppressWarnings(true);
        out.emptyPDF();
        QPDFPageDocumentHelper outPages(out);
        std::unique_ptr<QPDFAcroFormDocumentHelper> outForms;
        std::set<Source *> used;
        for (const auto &[source, index] : m_pages) {
            QPDFPageObjectHelper page = source->pages.at(index);
            used.insert(source);
            if (forReport) {
                try {
                    outPages.addPage(reportPage(out, page), false);
                } catch (const std::exception &e) {
                    qCWarning(lcDocument, "Page %zu left out of the report: %s", index + 1,
                              e.what());
                }
                continue;
            }
            outPages.addPage(page, false);
            if (source->forms) {
                if (!outForms)
                    outForms = std::make_unique<QPDFAcroFormDocumentHelper>(out);
                outForms->fixCopiedAnnotations(out.getAllPages().back(), page.getObjectHandle(),
                                               *source->forms);
            }
        }

        QPDFWriter writer(out);
        if (data)
            writer.setOutputMemory();
        else
            writer.setOutputFilename(QFile::encodeName(filePath).constData());
        for (Source *source : used)
            writer.setMinimumPDFVersion(source->version);
        // The ID is a digest of the content, so the same sources give the same bytes.
        writer.setDeterministicID(true);
        writer.write();
        if (data) {
            const std::shared_ptr<Buffer> buffer = writer.getBufferSharedPointer();
            *data = QByteArray(reinterpret_cast<const char *>(buffer->getBuffer()),
                               qsizetype(buffer->getSize()));
        }
        logWarnings(out, "While writing");
        written = true;
    } catch (const std::exception &e) {
        qCWarning(lcDocument, "Could not write %s: %s", target.constData(), e.what());
        if (!data)
            QFile::remove(filePath);
    }
    for (const auto &source : m_sources)
        logWarnings(source->pdf, "Repaired while copying");
    return written;
}

void removeDestination(const QString &path)
{
    const QFileInfo info(path);
    if (path.isEmpty() || !FXFaxFileManager::isDeletableFileAtPath(path))
        return;
    // Files only: a folder in the destination's place is reported, never deleted.
    QFile file(path);
    if (!file.remove()) {
        qCWarning(lcDocument, "Error removing file at path: %s",
                  qUtf8Printable(QStringLiteral("\"%1\" could not be removed: %2")
                                     .arg(info.fileName(), file.errorString())));
    }
}

// QFile::rename refuses to overwrite and falls back to copy-and-remove across file systems.
bool moveItem(const QString &from, const QString &to, QString *error)
{
    QFile file(from);
    if (!to.isEmpty() && file.rename(to))
        return true;
    *error =
        QStringLiteral("\"%1\" could not be moved to \"%2\": %3")
            .arg(from, to, to.isEmpty() ? QStringLiteral("no destination") : file.errorString());
    return false;
}

void placeMergeFile(const QString &merge, const QString &destination)
{
    removeDestination(destination);
    QString error;
    if (!moveItem(merge, destination, &error))
        qCWarning(lcDocument, "Error: %s", qUtf8Printable(error));
}

// Every operation starts without a merge file, so that a leftover from an earlier failed
// placement can never be moved over a destination.
QString freshMergeFile()
{
    const QString merge = FXFaxFileManager::filePathForFaxMerge();
    if (merge.isEmpty()) {
        qCWarning(lcDocument, "No application support folder for the merge file");
        return QString();
    }
    QFile::remove(merge);
    QDir().mkpath(QFileInfo(merge).absolutePath());
    return merge;
}

} // namespace

FXFaxPageGenerator::Result FXPDFGenerator::generatePDFWithData(const QByteArray &data,
                                                               const QString &withHeader,
                                                               int useType, int threshold,
                                                               const QString &toPath)
{
    return FXFaxPageGenerator::generatePDFWithData(
        data, withHeader, useType, threshold,
        toPath.isEmpty() ? FXFaxFileManager::filePathForProcessedFaxFile() : toPath);
}

void FXPDFGenerator::combinePDFURLs(const QList<QUrl> &pdfURLs, const QUrl &writeToURL,
                                    bool forReport)
{
    const QString merge = freshMergeFile();
    if (merge.isEmpty())
        return;
    {
        Assembly assembly;
        for (const QUrl &url : pdfURLs) {
            if (Source *source = assembly.open(url)) {
                for (size_t i = 0; i < source->pages.size(); ++i)
                    assembly.append(source, i);
            }
        }
        if (!assembly.write(merge, nullptr, forReport))
            return;
        // The sources are closed here: a page append replaces one of them.
    }

    const QString destination = localPath(writeToURL);
    switch (FXFaxFileManager::storedReportFolder()) {
    case FXFaxFileManager::ReportFolder::NotStored:
        placeMergeFile(merge, destination);
        break;
    case FXFaxFileManager::ReportFolder::Unresolvable:
        qCDebug(lcDocument, "Report folder unusable; the joined document stays in %s",
                qUtf8Printable(merge));
        break;
    case FXFaxFileManager::ReportFolder::Resolved: {
        removeDestination(destination);
        QString error;
        if (!moveItem(merge, destination, &error))
            qCWarning(lcDocument, "Error Move File: %s", qUtf8Printable(error));
        break;
    }
    }
}

void FXPDFGenerator::combineCoverSheet(const QUrl &coverSheet, const QUrl &withPDFURL,
                                       const QUrl &writeToURL, bool hasExistingCoverSheet)
{
    const QString merge = freshMergeFile();
    if (merge.isEmpty())
        return;
    {
        Assembly assembly;
        if (Source *cover = assembly.open(coverSheet); cover && !cover->pages.empty())
            assembly.append(cover, 0);
        if (Source *document = assembly.open(withPDFURL)) {
            for (size_t i = hasExistingCoverSheet ? 1 : 0; i < document->pages.size(); ++i)
                assembly.append(document, i);
        }
        if (!assembly.write(merge, nullptr, false))
            return;
    }
    placeMergeFile(merge, localPath(writeToURL));
}

void FXPDFGenerator::removePage(uint page, const QUrl &fromPDFURL, const QUrl &writeToURL)
{
    const QString merge = freshMergeFile();
    if (merge.isEmpty())
        return;
    {
        Assembly assembly;
        Source *source = assembly.open(fromPDFURL);
        // A file the viewer showed but qpdf cannot read must not cost the user's document.
        if (!source)
            return;
        if (source->pages.size() >= 2) {
            for (size_t i = 0; i < source->pages.size(); ++i) {
                if (i + 1 != page)
                    assembly.append(source, i);
            }
            if (!assembly.write(merge, nullptr, false))
                return;
        }
        // The source is closed here, before it may be replaced in place.
    }
    placeMergeFile(merge, localPath(writeToURL));
}

QByteArray FXPDFGenerator::movePagesAtIndexes(const QList<qsizetype> &indexes, qsizetype toIndex,
                                              const QUrl &inPDFDocument)
{
    Assembly assembly;
    Source *source = assembly.open(inPDFDocument);
    if (!source)
        return QByteArray();
    const qsizetype count = qsizetype(source->pages.size());
    for (qsizetype from : FXPageMove::movedOrder(indexes, toIndex, count))
        assembly.append(source, size_t(from));
    QByteArray data;
    return assembly.write(QString(), &data, false) ? data : QByteArray();
}

int FXPDFGenerator::pageCount(const QUrl &inPDFDocument)
{
    Assembly assembly;
    const Source *source = assembly.open(inPDFDocument);
    return source ? int(source->pages.size()) : -1;
}

QByteArray FXPDFGenerator::pagesFrom(uint firstPage, const QUrl &inPDFDocument)
{
    Assembly assembly;
    Source *source = assembly.open(inPDFDocument);
    if (!source || firstPage == 0 || firstPage > source->pages.size())
        return QByteArray();
    for (size_t i = firstPage - 1; i < source->pages.size(); ++i)
        assembly.append(source, i);
    QByteArray data;
    return assembly.write(QString(), &data, false) ? data : QByteArray();
}
