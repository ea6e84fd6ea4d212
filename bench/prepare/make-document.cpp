// Writes the benchmark's input: a document of A4 pages that alternate between a page of
// running text and a page of text around a photograph, as a word processor would print them.
// The photograph is synthetic (smooth gradients with fine grain) so that the document is
// reproducible and needs no image files.
//   prepare-make-document OUT.pdf [PAGES]

#include <QFont>
#include <QGuiApplication>
#include <QImage>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QRandomGenerator>
#include <QTextStream>

#include <cmath>

namespace {

QImage photograph(int width, int height, quint32 seed)
{
    QImage image(width, height, QImage::Format_RGB32);
    QRandomGenerator grain(seed);
    for (int y = 0; y < height; ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const double u = double(x) / width;
            const double v = double(y) / height;
            const double sky = 0.5 + 0.5 * std::sin(6.0 * u + 2.0 * v + seed);
            const double hill = 0.5 + 0.5 * std::cos(9.0 * v - 4.0 * u * u);
            const int noise = int(grain.bounded(24)) - 12;
            const int r = qBound(0, int(255 * (0.2 + 0.6 * sky * hill)) + noise, 255);
            const int g = qBound(0, int(255 * (0.3 + 0.5 * hill)) + noise, 255);
            const int b = qBound(0, int(255 * (0.4 + 0.6 * sky * (1 - v))) + noise, 255);
            line[x] = qRgb(r, g, b);
        }
    }
    return image;
}

const char *const words[] = {"fax",     "document", "transmission", "page",     "receiver",
                             "invoice", "contract", "signature",    "delivery", "account",
                             "the",     "of",       "and",          "a",        "with",
                             "for",     "is",       "on",           "number",   "date"};

QString sentence(QRandomGenerator &random, int length)
{
    QStringList list;
    for (int i = 0; i < length; ++i)
        list << QString::fromLatin1(words[random.bounded(int(std::size(words)))]);
    QString text = list.join(QLatin1Char(' '));
    text[0] = text[0].toUpper();
    return text + QLatin1Char('.');
}

void drawText(QPainter &painter, const QRect &area, QRandomGenerator &random)
{
    QString text;
    while (text.size() < area.width() * area.height() / 1150)
        text += sentence(random, 6 + random.bounded(10)) + QLatin1Char(' ');
    painter.drawText(area, Qt::TextWordWrap | Qt::AlignJustify, text);
}

} // namespace

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() < 2) {
        QTextStream(stderr) << "usage: prepare-make-document OUT.pdf [PAGES]\n";
        return 2;
    }
    const int pages = args.size() > 2 ? args.at(2).toInt() : 10;

    QPdfWriter writer(args.at(1));
    writer.setPageSize(QPageSize(QPageSize::A4));
    writer.setPageMargins(QMarginsF(0, 0, 0, 0));
    writer.setResolution(300);
    writer.setCreator(QStringLiteral("prepare-make-document"));
    QPainter painter(&writer);
    QFont body(QStringLiteral("DejaVu Serif"));
    body.setPointSizeF(10.5);
    QFont heading(QStringLiteral("DejaVu Sans"));
    heading.setPointSizeF(16);
    heading.setBold(true);

    QRandomGenerator random(4711);
    const QRect page(0, 0, 2480, 3508); // A4 at 300 dpi
    const QRect content = page.adjusted(250, 250, -250, -250);
    for (int p = 0; p < pages; ++p) {
        if (p > 0)
            writer.newPage();
        painter.setFont(heading);
        painter.drawText(content.topLeft() + QPoint(0, 60),
                         QStringLiteral("Section %1: %2").arg(p + 1).arg(sentence(random, 4)));
        painter.setFont(body);
        const QRect text = content.adjusted(0, 150, 0, 0);
        if (p % 2 == 0) {
            drawText(painter, text, random);
        } else {
            const QRect photo(text.left(), text.top(), text.width(), text.width() * 3 / 4);
            painter.drawImage(photo, photograph(1200, 900, quint32(p)));
            drawText(painter, text.adjusted(0, photo.height() + 60, 0, 0), random);
        }
        painter.drawText(page.adjusted(0, 0, 0, -120), Qt::AlignHCenter | Qt::AlignBottom,
                         QString::number(p + 1));
    }
    return painter.end() ? 0 : 1;
}
