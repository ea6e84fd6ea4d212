#pragma once

#include <QPainterPath>
#include <QWidget>

class QLabel;
class QHBoxLayout;

// A small bubble attached to a point of a window, with an arrow pointing at it: the help,
// success and failure messages of the main window. It closes on a click elsewhere or Escape.
class FBPopover : public QWidget
{
    Q_OBJECT

public:
    // A bubble that takes input closes on a click elsewhere or Escape; one that does not
    // (the help shown when the window opens) leaves typing to the window.
    FBPopover(const QString &text, QWidget *parent, bool takesInput = true);

    QLabel *textLabel() const { return m_text; }
    // Room for buttons beside the text.
    QHBoxLayout *buttons() const { return m_buttons; }
    // Shows the bubble below `point` (in the coordinates of `window`), the arrow pointing up
    // at it, kept on the window's screen.
    void showAt(QWidget *window, const QPoint &point);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QPainterPath shape() const;

    QLabel *m_text;
    QHBoxLayout *m_buttons;
    int m_arrowX = 0;
};
