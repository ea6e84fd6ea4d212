#include "app/FBPopover.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QVBoxLayout>

namespace {

constexpr int arrowHeight = 10;
constexpr int arrowHalfWidth = 10;
constexpr int radius = 8;

} // namespace

FBPopover::FBPopover(const QString &text, QWidget *parent, bool takesInput)
    : QWidget(parent, (takesInput ? Qt::Popup : Qt::ToolTip) | Qt::FramelessWindowHint)
{
    setAttribute(Qt::WA_DeleteOnClose);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 12 + arrowHeight, 16, 12);
    m_text = new QLabel(text);
    m_text->setWordWrap(true);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_text->setMaximumWidth(360);
    m_text->setAccessibleName(text);
    layout->addWidget(m_text);
    m_buttons = new QHBoxLayout;
    m_buttons->addStretch();
    layout->addLayout(m_buttons);
}

void FBPopover::showAt(QWidget *window, const QPoint &point)
{
    adjustSize();
    const QPoint tip = window->mapToGlobal(point);
    QPoint origin(tip.x() - width() / 2, tip.y());
    // Within the window where it fits, so that a bubble by the window's edge stays over it;
    // on the screen in any case.
    QRect area(window->mapToGlobal(QPoint(0, 0)), window->size());
    if (const QScreen *screen = window->screen()) {
        const QRect available = screen->availableGeometry();
        area = area.width() >= width() ? area.intersected(available) : available;
    }
    origin.setX(std::clamp(origin.x(), area.left(), std::max(area.left(), area.right() - width())));
    m_arrowX = std::clamp(tip.x() - origin.x(), radius + arrowHalfWidth,
                          width() - radius - arrowHalfWidth);
    move(origin);
    // The rounded body and the arrow are the window's shape, with or without a compositor.
    setMask(QRegion(shape().toFillPolygon().toPolygon()));
    show();
}

QPainterPath FBPopover::shape() const
{
    const QRectF body = QRectF(rect()).adjusted(0.5, arrowHeight + 0.5, -0.5, -0.5);
    QPainterPath path;
    path.addRoundedRect(body, radius, radius);
    QPainterPath arrow;
    arrow.moveTo(m_arrowX - arrowHalfWidth, body.top() + 1);
    arrow.lineTo(m_arrowX, 0.5);
    arrow.lineTo(m_arrowX + arrowHalfWidth, body.top() + 1);
    arrow.closeSubpath();
    return path.united(arrow);
}

void FBPopover::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), palette().color(QPalette::Window));
    painter.setPen(QPen(palette().color(QPalette::Mid), 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(shape());
}
