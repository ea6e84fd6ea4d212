#include "app/SearchResultView.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

namespace {

constexpr int pictureSize = 32;
constexpr int margin = 6;

QString personName(const PhoneBookEntry &entry)
{
    QStringList parts;
    for (const QString &part : {entry.firstName(), entry.middleName(), entry.lastName()}) {
        if (!part.isEmpty())
            parts.append(part);
    }
    if (!parts.isEmpty())
        return parts.join(QLatin1Char(' '));
    return entry.companyName().isEmpty() ? entry.phoneNumber() : entry.companyName();
}

} // namespace

SearchResultView::SearchResultView(QWidget *parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::NoFocus);
}

void SearchResultView::setPhoneEntries(const QList<PhoneBookEntryPtr> &phoneEntries)
{
    m_phoneEntries = phoneEntries;
    layoutRows();
    update();
}

void SearchResultView::setSelectionIndexes(const QList<int> &selectionIndexes)
{
    m_selectionIndexes = selectionIndexes;
    update();
}

bool SearchResultView::startsPersonBlock(int index) const
{
    return index == 0
           || m_phoneEntries.at(index)->sortPersonID()
                  != m_phoneEntries.at(index - 1)->sortPersonID();
}

// A block starts where the previous one's rows end: max(n, 2) rows for its n entries.
void SearchResultView::layoutRows()
{
    m_rowTops.clear();
    m_rowTops.reserve(m_phoneEntries.size());
    int blockStart = -2 * rowHeight;
    int counted = 0; // entries of the current block before this one
    for (int index = 0; index < m_phoneEntries.size(); ++index) {
        if (startsPersonBlock(index)) {
            blockStart += (std::max(counted, 1) + 1) * rowHeight;
            counted = 0;
        } else {
            ++counted;
        }
        m_rowTops.append(blockStart + counted * rowHeight);
    }
}

QRect SearchResultView::rectForIndex(int index) const
{
    if (index < 0 || index >= m_rowTops.size())
        return QRect();
    return QRect(0, m_rowTops.at(index), width(), rowHeight);
}

int SearchResultView::indexForPosition(const QPoint &position) const
{
    // Rows go down in entry order: the last row starting at or above the point.
    const auto after = std::upper_bound(m_rowTops.cbegin(), m_rowTops.cend(), position.y());
    if (after == m_rowTops.cbegin() || position.x() < 0 || position.x() >= width())
        return -1;
    const int index = int(after - m_rowTops.cbegin()) - 1;
    return position.y() < m_rowTops.at(index) + rowHeight ? index : -1;
}

int SearchResultView::desiredHeight() const
{
    int height = 0;
    for (int index = 0; index < m_phoneEntries.size(); ++index) {
        height += rowHeight;
        const bool single = startsPersonBlock(index)
                            && (index + 1 == m_phoneEntries.size() || startsPersonBlock(index + 1));
        if (single)
            height += rowHeight;
    }
    return height;
}

void SearchResultView::resizeToFit()
{
    resize(width(), desiredHeight());
}

void SearchResultView::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    painter.fillRect(event->rect(), palette().color(QPalette::Base));
    const int textLeft = margin * 2 + pictureSize;
    // From the first row that reaches into the exposed part: a block's picture and its
    // one-number second row hang two rows below the block's first row.
    const int first = int(std::lower_bound(m_rowTops.cbegin(), m_rowTops.cend(),
                                           event->rect().top() - 2 * rowHeight + 1)
                          - m_rowTops.cbegin());
    for (int index = first; index < m_phoneEntries.size(); ++index) {
        const QRect row = rectForIndex(index);
        if (row.top() > event->rect().bottom())
            break;
        const PhoneBookEntry &entry = *m_phoneEntries.at(index);
        const bool selected = m_selectionIndexes.contains(index);
        const bool single = startsPersonBlock(index)
                            && (index + 1 == m_phoneEntries.size() || startsPersonBlock(index + 1));
        // A one-number person's entry is both rows of the block, under the picture.
        if (selected)
            painter.fillRect(single ? row.adjusted(0, 0, 0, rowHeight) : row,
                             palette().color(QPalette::Highlight));
        const QColor text = palette().color(selected ? QPalette::HighlightedText : QPalette::Text);
        const QColor quiet = selected ? text : palette().color(QPalette::Disabled, QPalette::Text);
        if (startsPersonBlock(index)) {
            const QImage picture = entry.valueForKey(QStringLiteral("personImage")).value<QImage>();
            const QRect frame(margin, row.top() + (2 * rowHeight - pictureSize) / 2, pictureSize,
                              pictureSize);
            if (!picture.isNull())
                painter.drawImage(frame, picture);
            QFont bold = font();
            bold.setBold(true);
            painter.setFont(bold);
            painter.setPen(text);
            // The name heads the block, to the right of the picture.
            painter.drawText(row.adjusted(textLeft, 0, -width() / 2, 0),
                             Qt::AlignLeft | Qt::AlignVCenter,
                             QFontMetrics(bold).elidedText(personName(entry), Qt::ElideRight,
                                                           width() / 2 - textLeft));
            painter.setFont(font());
            if (single) {
                // The number goes on the block's second row.
                drawLabelAndNumber(painter,
                                   row.translated(0, rowHeight).adjusted(textLeft, 0, -margin, 0),
                                   entry, quiet, text);
                continue;
            }
        }
        drawLabelAndNumber(painter, row.adjusted(width() / 2, 0, -margin, 0), entry, quiet, text);
    }
}

// The number at the right end, whole; the label before it, cut short where they would meet.
void SearchResultView::drawLabelAndNumber(QPainter &painter, const QRect &area,
                                          const PhoneBookEntry &entry, const QColor &labelColor,
                                          const QColor &numberColor) const
{
    const QFontMetrics metrics = fontMetrics();
    const int labelWidth = area.width() - metrics.horizontalAdvance(entry.phoneNumber()) - margin;
    painter.setPen(labelColor);
    painter.drawText(
        area, Qt::AlignLeft | Qt::AlignVCenter,
        metrics.elidedText(entry.phoneLabel(), Qt::ElideRight, std::max(labelWidth, 0)));
    painter.setPen(numberColor);
    painter.drawText(area, Qt::AlignRight | Qt::AlignVCenter, entry.phoneNumber());
}

void SearchResultView::mousePressEvent(QMouseEvent *event)
{
    const int index = indexForPosition(event->position().toPoint());
    if (index >= 0)
        Q_EMIT selectionRequested(index);
    QWidget::mousePressEvent(event);
}

void SearchResultView::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (indexForPosition(event->position().toPoint()) >= 0)
        Q_EMIT activated();
    QWidget::mouseDoubleClickEvent(event);
}
