#pragma once

#include "recipients/PhoneBookEntry.h"

#include <QList>
#include <QWidget>

class QPainter;

// The list inside the recipient field's drop-down: the matching phone book entries, grouped
// by person. Every row is 20 pixels high; a person's block has a row per number and at least
// two rows, so that a person with one number shows name and number beneath the picture.
// The view draws and hit-tests; the selection belongs to the field, which the view asks to
// change it (selectionRequested) and tells of a double click (activated).
class SearchResultView : public QWidget
{
    Q_OBJECT

public:
    static constexpr int rowHeight = 20;

    explicit SearchResultView(QWidget *parent = nullptr);

    void setPhoneEntries(const QList<PhoneBookEntryPtr> &phoneEntries);
    const QList<PhoneBookEntryPtr> &phoneEntries() const { return m_phoneEntries; }
    void setSelectionIndexes(const QList<int> &selectionIndexes);
    const QList<int> &selectionIndexes() const { return m_selectionIndexes; }

    // The row of entry `index`: the view's full width, 20 high.
    QRect rectForIndex(int index) const;
    // The entry whose row holds the point, or -1.
    int indexForPosition(const QPoint &position) const;
    // 20 per entry, and 20 more for each person with a single number.
    int desiredHeight() const;
    // Keeps the width and takes the desired height.
    void resizeToFit();

Q_SIGNALS:
    void selectionRequested(int index);
    void activated();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;

private:
    bool startsPersonBlock(int index) const;
    void drawLabelAndNumber(QPainter &painter, const QRect &area, const PhoneBookEntry &entry,
                            const QColor &labelColor, const QColor &numberColor) const;
    // The y of every entry's row, in entry order.
    void layoutRows();

    QList<PhoneBookEntryPtr> m_phoneEntries;
    QList<int> m_selectionIndexes;
    QList<int> m_rowTops;
};
