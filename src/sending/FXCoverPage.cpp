#include "sending/FXCoverPage.h"

#include "document/FXPDFGenerator.h"
#include "foundation/FBUserDefaults.h"

#include <QBuffer>
#include <QDate>
#include <QFile>
#include <QPageLayout>
#include <QPainter>
#include <QPdfWriter>
#include <QTemporaryDir>
#include <QTextDocument>
#include <QUrl>

QByteArray FXCoverPage::pdfWithSubject(const QString &subject, int documentPages)
{
    const QString line = FBUserDefaults::stringForKey(kLocalUriKey);
    const QString from = line.isEmpty() ? QString() : QStringLiteral("+") + line;
    const QString html = QStringLiteral("<h1 style='font-size:28pt'>Fax</h1><table cellpadding='6'>"
                                        "<tr><td><b>From</b></td><td>%1</td></tr>"
                                        "<tr><td><b>Subject</b></td><td>%2</td></tr>"
                                        "<tr><td><b>Date</b></td><td>%3</td></tr>"
                                        "<tr><td><b>Pages</b></td><td>%4</td></tr></table>")
                             .arg(from.toHtmlEscaped(), subject.toHtmlEscaped(),
                                  QDate::currentDate().toString(QStringLiteral("dd.MM.yyyy")))
                             .arg(documentPages + 1);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    {
        QPdfWriter writer(&buffer);
        writer.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait,
                                         QMarginsF(20, 20, 20, 20), QPageLayout::Millimeter));
        writer.setResolution(300);
        writer.setCreator(QStringLiteral("Faxolino"));
        QPainter painter(&writer);
        QTextDocument document;
        document.setDefaultFont(QFont(QStringLiteral("Sans Serif"), 14));
        document.setHtml(html);
        const QRect page = writer.pageLayout().paintRectPixels(writer.resolution());
        // Lay the text out at 72 dpi and scale it up to the writer's resolution.
        const double scale = writer.resolution() / 72.0;
        document.setTextWidth(page.width() / scale);
        painter.scale(scale, scale);
        document.drawContents(&painter);
    }
    return bytes;
}

QByteArray FXCoverPage::prependedTo(const QByteArray &document, const QString &subject,
                                    int documentPages, QString *error)
{
    QTemporaryDir scratch;
    const QString cover = scratch.filePath(QStringLiteral("cover.pdf"));
    const QString source = scratch.filePath(QStringLiteral("document.pdf"));
    const QString combined = scratch.filePath(QStringLiteral("combined.pdf"));
    QFile coverFile(cover);
    QFile sourceFile(source);
    if (!scratch.isValid() || !coverFile.open(QIODevice::WriteOnly)
        || coverFile.write(pdfWithSubject(subject, documentPages)) < 0
        || !sourceFile.open(QIODevice::WriteOnly) || sourceFile.write(document) < 0) {
        *error = QStringLiteral("the cover sheet could not be made");
        return QByteArray();
    }
    coverFile.close();
    sourceFile.close();
    FXPDFGenerator::combineCoverSheet(QUrl::fromLocalFile(cover), QUrl::fromLocalFile(source),
                                      QUrl::fromLocalFile(combined), false);
    QFile combinedFile(combined);
    if (!combinedFile.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("the cover sheet could not be put in front of the document");
        return QByteArray();
    }
    return combinedFile.readAll();
}
