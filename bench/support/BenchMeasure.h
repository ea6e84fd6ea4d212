#pragma once

// What the window benchmarks measure with: paints of a widget, and the median of times.

#include <QEvent>
#include <QList>
#include <QObject>

#include <algorithm>

namespace BenchMeasure {

// Counts the paint events a widget receives.
class PaintCounter : public QObject
{
public:
    int paints = 0;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            ++paints;
        return QObject::eventFilter(watched, event);
    }
};

inline double median(QList<double> values)
{
    if (values.isEmpty())
        return 0;
    std::sort(values.begin(), values.end());
    const qsizetype middle = values.size() / 2;
    return values.size() % 2 ? values.at(middle) : (values.at(middle - 1) + values.at(middle)) / 2;
}

} // namespace BenchMeasure
