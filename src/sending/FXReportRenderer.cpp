#include "sending/FXReportRenderer.h"

#include <QAbstractTextDocumentLayout>
#include <QBuffer>
#include <QPageLayout>
#include <QPainter>
#include <QPdfWriter>
#include <QTextDocument>

#include <cmath>

namespace {

// Layout resolution: fine enough that text metrics are not rounded to whole points.
constexpr int dotsPerInch = 288;
constexpr double marginPoints = 42.0;
constexpr double pointsPerDot = 72.0 / dotsPerInch;

} // namespace

QByteArray FXReportRenderer::pdfForHTML(const QString &html)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);

    QPdfWriter writer(&buffer);
    writer.setResolution(dotsPerInch);
    writer.setCreator(QStringLiteral("Faxolino"));
    writer.setTitle(QStringLiteral("Transmission Report"));

    QTextDocument document;
    document.documentLayout()->setPaintDevice(&writer);
    document.setDocumentMargin(marginPoints / pointsPerDot);
    document.setHtml(html);
    document.setTextWidth(pageWidthPoints / pointsPerDot);
    const double heightPoints = std::ceil(document.size().height() * pointsPerDot);

    writer.setPageLayout(QPageLayout(QPageSize(QSizeF(pageWidthPoints, std::max(heightPoints, 1.0)),
                                               QPageSize::Point, QString(), QPageSize::ExactMatch),
                                     QPageLayout::Portrait, QMarginsF()));
    QPainter painter;
    if (!painter.begin(&writer))
        return QByteArray();
    document.drawContents(&painter);
    painter.end();
    return bytes;
}
