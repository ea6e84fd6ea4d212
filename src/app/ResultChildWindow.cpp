#include "app/ResultChildWindow.h"

#include "app/SearchResultView.h"

#include <QEvent>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

namespace {

// A thin line round the list, drawn over it, so that the drop-down stands apart from a white
// page behind it without taking a pixel from the rows.
class Outline : public QWidget
{
public:
    explicit Outline(QWidget *parent)
        : QWidget(parent)
    {
        setAttribute(Qt::WA_TransparentForMouseEvents);
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setPen(palette().color(QPalette::Mid));
        painter.drawRect(rect().adjusted(0, 0, -1, -1));
    }
};

} // namespace

ResultChildWindow::ResultChildWindow(QWidget *controlView)
    : QWidget(controlView, Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus)
    , m_controlView(controlView)
    , m_scrollArea(new QScrollArea(this))
    , m_resultView(new SearchResultView)
{
    setObjectName(QStringLiteral("resultChildWindow"));
    setAttribute(Qt::WA_ShowWithoutActivating);
    setFocusPolicy(Qt::NoFocus);
    setWindowOpacity(0.9);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_scrollArea->setFrameShape(QFrame::NoFrame);
    m_scrollArea->setFocusPolicy(Qt::NoFocus);
    m_scrollArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scrollArea->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    m_scrollArea->verticalScrollBar()->setFocusPolicy(Qt::NoFocus);
    m_scrollArea->setWidgetResizable(false);
    m_scrollArea->setWidget(m_resultView);
    // As low as one row: the list's height decides.
    m_scrollArea->setMinimumSize(1, 1);
    layout->addWidget(m_scrollArea);
    m_outline = new Outline(this);
    resize(width(), SearchResultView::rowHeight);
    // The field's window: the drop-down moves and resizes with it.
    m_parentWindow = controlView->window();
    m_parentWindow->installEventFilter(this);
}

QRect ResultChildWindow::frameForView(const QWidget *view, int height)
{
    const QPoint bottomLeft = view->mapToGlobal(QPoint(0, view->height()));
    return QRect(bottomLeft.x() - 62, bottomLeft.y(), view->width() + 124, height);
}

void ResultChildWindow::adjustFrameAndOrdering()
{
    if (!m_controlView)
        return;
    // The field may have moved to another window since.
    if (QWidget *window = m_controlView->window(); window != m_parentWindow) {
        if (m_parentWindow)
            m_parentWindow->removeEventFilter(this);
        m_parentWindow = window;
        m_parentWindow->installEventFilter(this);
    }
    int height = m_resultView->desiredHeight();
    if (height > maxNaturalHeight)
        height = openHeight;
    if (height > 0 && m_controlView->isVisible()) {
        const QRect frame = frameForView(m_controlView, height);
        setGeometry(frame);
        m_outline->setGeometry(rect());
        m_outline->raise();
        const int scrollBar = m_resultView->desiredHeight() > height
                                  ? m_scrollArea->verticalScrollBar()->sizeHint().width()
                                  : 0;
        m_resultView->resize(frame.width() - scrollBar, m_resultView->desiredHeight());
        if (!isVisible())
            show();
        raise();
    } else if (isVisible()) {
        hide();
    }
}

void ResultChildWindow::scrollToIndex(int index)
{
    const QRect row = m_resultView->rectForIndex(index);
    if (row.isValid())
        m_scrollArea->ensureVisible(0, row.center().y(), 0, row.height() / 2);
}

bool ResultChildWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_parentWindow && isVisible()
        && (event->type() == QEvent::Move || event->type() == QEvent::Resize))
        adjustFrameAndOrdering();
    // Not over other programs' windows: it goes with its window's activation.
    if (watched == m_parentWindow
        && (event->type() == QEvent::Hide || event->type() == QEvent::WindowDeactivate))
        hide();
    if (watched == m_parentWindow && event->type() == QEvent::WindowActivate)
        adjustFrameAndOrdering();
    return QWidget::eventFilter(watched, event);
}
