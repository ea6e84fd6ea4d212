#include "sending/FXCoverPage.h"

#include "document/FXPDFGenerator.h"
#include "foundation/FBLocalization.h"
#include "foundation/FBUserDefaults.h"
#include "recipients/FXPhoneNumber.h"

#include <QBuffer>
#include <QDate>
#include <QFile>
#include <QPageLayout>
#include <QPainter>
#include <QPdfWriter>
#include <QTemporaryDir>
#include <QTextDocument>
#include <QUrl>

#include <algorithm>

namespace {

constexpr double kMargin = 56;       // about 20 mm
constexpr double kCaptionWidth = 92; // the captions' column
constexpr double kRowGap = 10;

QFont font(double points, QFont::Weight weight = QFont::Normal)
{
    QFont result(QStringLiteral("Sans Serif"));
    result.setPointSizeF(points);
    result.setWeight(weight);
    return result;
}

QString limitedLines(const QString &text)
{
    return text.split(QLatin1Char('\n'))
        .mid(0, FXCoverPage::kMaximumFieldLines)
        .join(QLatin1Char('\n'));
}

} // namespace

QString FXCoverPage::dateText(const QDate &date)
{
    // A fixed pattern, and no locale's month names: digits read the same everywhere.
    return date.isValid() ? QStringLiteral("%1.%2.%3")
                                .arg(date.day(), 2, 10, QLatin1Char('0'))
                                .arg(date.month(), 2, 10, QLatin1Char('0'))
                                .arg(date.year(), 4, 10, QLatin1Char('0'))
                          : QString();
}

void FXCoverPage::paint(QPainter *painter, const Fields &fields)
{
    const QSizeF page = pageSize();
    const double width = page.width() - 2 * kMargin;
    const QColor ink(0x1a, 0x1a, 0x1a);
    const QColor muted(0x5f, 0x63, 0x68);
    painter->save();
    painter->fillRect(QRectF(QPointF(0, 0), page), Qt::white);
    painter->setRenderHint(QPainter::Antialiasing);

    double y = kMargin;
    painter->setPen(ink);
    painter->setFont(font(40, QFont::Bold));
    const QRectF title(kMargin, y, width, 52);
    painter->drawText(title, Qt::AlignLeft | Qt::AlignBottom, FXText("cover_title"));
    y = title.bottom() + 10;
    painter->fillRect(QRectF(kMargin, y, width, 2.5), ink);
    y += 26;

    // Caption and value side by side; an empty value takes neither, unless its caption is
    // asked for.
    const auto row = [&](const char *captionKey, const QString &value, bool strong,
                         bool captionWhenEmpty = false) {
        if (value.trimmed().isEmpty() && !captionWhenEmpty)
            return;
        painter->setFont(font(12, strong ? QFont::DemiBold : QFont::Normal));
        painter->setPen(ink);
        const QRectF valueArea(kMargin + kCaptionWidth, y, width - kCaptionWidth, page.height());
        QRectF used = painter->boundingRect(valueArea, Qt::TextWordWrap, value);
        used.setHeight(std::max(used.height(), painter->fontMetrics().height() * 1.0));
        painter->drawText(valueArea, Qt::TextWordWrap, value);
        painter->setFont(font(9, QFont::DemiBold));
        painter->setPen(muted);
        painter->drawText(QRectF(kMargin, y + 2, kCaptionWidth - 8, used.height()),
                          Qt::AlignLeft | Qt::AlignTop, FXText(captionKey));
        y += used.height() + kRowGap;
    };
    row("cover_to", limitedLines(fields.to), true, fields.toCaption);
    row("cover_from", limitedLines(fields.from), false, fields.fromCaption);
    if (!fields.faxLine.isEmpty()) {
        const QString line = QStringLiteral("+") + fields.faxLine;
        const QString formatted =
            FXPhoneNumber::formattedNumber(line, QString(), FXPhoneNumber::Format::International);
        row("cover_fax_line", formatted.isEmpty() ? line : formatted, false);
    }
    row("cover_subject", fields.subject, true);
    row("cover_date", dateText(fields.date), false);
    if (fields.pages > 0)
        row("cover_pages", QString::number(fields.pages), false);

    y += 8;
    painter->fillRect(QRectF(kMargin, y, width, 0.75), QColor(0xc4, 0xc7, 0xcc));
    y += 22;
    if (!fields.bodyHtml.isEmpty()) {
        QTextDocument body;
        body.setDocumentMargin(0);
        body.setDefaultFont(font(11));
        body.setHtml(fields.bodyHtml);
        body.setTextWidth(width);
        painter->translate(kMargin, y);
        body.drawContents(painter, QRectF(0, 0, width, page.height() - y - kMargin));
    }
    painter->restore();
}

QByteArray FXCoverPage::pdfForFields(const Fields &fields)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    {
        QPdfWriter writer(&buffer);
        writer.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait,
                                         QMarginsF(0, 0, 0, 0), QPageLayout::Point));
        // One unit a point, as paint() draws.
        writer.setResolution(72);
        writer.setCreator(QStringLiteral("Faxolino"));
        writer.setTitle(FXText("cover_title"));
        QPainter painter(&writer);
        paint(&painter, fields);
    }
    return bytes;
}

QByteArray FXCoverPage::pdfWithSubject(const QString &subject, int documentPages)
{
    Fields fields;
    fields.subject = subject;
    fields.date = QDate::currentDate();
    fields.faxLine = FBUserDefaults::stringForKey(kLocalUriKey);
    fields.pages = documentPages + 1;
    return pdfForFields(fields);
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
