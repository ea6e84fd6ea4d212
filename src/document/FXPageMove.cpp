#include "document/FXPageMove.h"

#include <algorithm>
#include <numeric>

QList<qsizetype> FXPageMove::movedOrder(const QList<qsizetype> &indexes, qsizetype toIndex,
                                        qsizetype count)
{
    QList<qsizetype> order(std::max<qsizetype>(count, 0));
    std::iota(order.begin(), order.end(), qsizetype(0));

    QList<qsizetype> dragged;
    for (qsizetype index : indexes) {
        if (index >= 0 && index < order.size())
            dragged.append(index);
    }
    std::sort(dragged.begin(), dragged.end());
    dragged.erase(std::unique(dragged.begin(), dragged.end()), dragged.end());
    if (dragged.isEmpty())
        return order;

    // Signed on purpose: a drop in front of the first dragged page is the only move
    // towards the front; everything else, a straddling selection too, goes to the back.
    const qsizetype target = std::clamp<qsizetype>(toIndex, 0, order.size());
    const bool towardsFront = dragged.first() > target;
    for (qsizetype k = 0; k < dragged.size(); ++k) {
        // Values in order are the original indices, so they identify the page while it moves.
        order.removeAt(order.indexOf(dragged.at(k)));
        const qsizetype at = towardsFront ? target + k : target;
        order.insert(std::min(at, order.size()), dragged.at(k));
    }
    return order;
}
