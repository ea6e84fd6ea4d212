#pragma once

#include <QList>

// Where pages end up when the thumbnail grid drops a selection at an index. The grid's own
// items and the document's pages are both reordered through this one rule, so that the two
// can never disagree.
//
// The dragged pages are taken in ascending order; the first (smallest) dragged index F decides
// the direction. Towards the front (F > T) the k-th dragged page is reinserted at T + k,
// otherwise every one is reinserted at T, each after being removed from where it stands at
// that moment. With p0 p1 p2 p3 p4, moving 0 and 1 to 3 gives p2 p3 p0 p1 p4, and moving 3 and
// 4 to 1 gives p0 p3 p4 p1 p2. A selection that straddles T counts as a move towards the back.
class FXPageMove
{
public:
    // The order after the move, as indices before it: element i names the item that ends up
    // at position i. Dragged indices outside 0 .. count - 1 and repeats are ignored; the drop
    // index is clamped to 0 .. count.
    static QList<qsizetype> movedOrder(const QList<qsizetype> &indexes, qsizetype toIndex,
                                       qsizetype count);

    // The same move applied to a list. Items are told apart by position, not by value.
    template <typename T>
    static QList<T> movePagesAtIndexes(const QList<qsizetype> &indexes, qsizetype toIndex,
                                       const QList<T> &items)
    {
        QList<T> moved;
        moved.reserve(items.size());
        for (qsizetype from : movedOrder(indexes, toIndex, items.size()))
            moved.append(items.at(from));
        return moved;
    }
};
