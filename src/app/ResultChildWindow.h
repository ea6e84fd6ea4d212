#pragma once

#include <QPointer>
#include <QRect>
#include <QWidget>

class QScrollArea;
class SearchResultView;

// The drop-down under the recipient field: a window of its own that never takes the keyboard
// from the field. It is a tool tip window, placed relative to the field, so that Wayland shows
// it as a popup of the field's window without a grab; it follows the window as it moves or
// is resized.
class ResultChildWindow : public QWidget
{
    Q_OBJECT

public:
    // A list taller than this opens at openHeight and scrolls.
    static constexpr int maxNaturalHeight = 200;
    static constexpr int openHeight = 320;

    explicit ResultChildWindow(QWidget *controlView);

    // Where the drop-down goes for a list `height` high: from 62 to the left of the field to
    // 62 beyond its right end, directly below it, in screen coordinates.
    static QRect frameForView(const QWidget *view, int height);

    SearchResultView *searchResultView() const { return m_resultView; }

    // Shows the drop-down at the list's height (or openHeight), or hides it when the list is
    // empty. Run whenever the list changes.
    void adjustFrameAndOrdering();
    // Scrolls the list so that the entry's row is seen.
    void scrollToIndex(int index);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QPointer<QWidget> m_controlView;
    QPointer<QWidget> m_parentWindow;
    QScrollArea *m_scrollArea;
    SearchResultView *m_resultView;
    QWidget *m_outline;
};
