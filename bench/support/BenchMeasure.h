#pragma once

// What the window benchmarks measure with: paints of a widget, and the median of times.

#include <QElapsedTimer>
#include <QEvent>
#include <QEventLoop>
#include <QList>
#include <QObject>
#include <QTimer>

#include <algorithm>
#include <functional>

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

// Runs the event loop until done() holds or the time is up.
inline bool waitFor(const std::function<bool()> &done, int ms = 120000)
{
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > ms)
            return false;
        QEventLoop loop;
        QTimer::singleShot(2, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return true;
}

} // namespace BenchMeasure
