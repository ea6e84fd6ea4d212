#pragma once

#include <QMutex>
#include <QString>
#include <QStringList>

// Collects every Qt log message while it lives, so that a test can assert that a fixed
// diagnostic was (or was not) written. Messages still reach the previous handler.
class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    QStringList messages() const;
    bool contains(const QString &text) const;
    int count(const QString &text) const;
    void clear();

private:
    friend class LogCaptureSink;
    mutable QMutex m_mutex;
    QStringList m_messages;
};
