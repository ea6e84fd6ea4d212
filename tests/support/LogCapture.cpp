#include "LogCapture.h"

namespace {

// One capture at a time; the handler reaches it through these, guarded by handlerMutex.
QMutex handlerMutex;
LogCapture *activeCapture = nullptr;
QtMessageHandler previousHandler = nullptr;

} // namespace

class LogCaptureSink
{
public:
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &message)
    {
        QtMessageHandler next = nullptr;
        {
            QMutexLocker lock(&handlerMutex);
            if (activeCapture) {
                QMutexLocker listLock(&activeCapture->m_mutex);
                activeCapture->m_messages.append(message);
            }
            next = previousHandler;
        }
        if (next)
            next(type, context, message);
    }
};

LogCapture::LogCapture()
{
    QMutexLocker lock(&handlerMutex);
    Q_ASSERT(!activeCapture);
    activeCapture = this;
    previousHandler = qInstallMessageHandler(&LogCaptureSink::handle);
}

LogCapture::~LogCapture()
{
    QMutexLocker lock(&handlerMutex);
    qInstallMessageHandler(previousHandler);
    previousHandler = nullptr;
    activeCapture = nullptr;
}

QStringList LogCapture::messages() const
{
    QMutexLocker lock(&m_mutex);
    return m_messages;
}

bool LogCapture::contains(const QString &text) const
{
    return count(text) > 0;
}

int LogCapture::count(const QString &text) const
{
    QMutexLocker lock(&m_mutex);
    int n = 0;
    for (const QString &m : m_messages)
        n += m.contains(text) ? 1 : 0;
    return n;
}

void LogCapture::clear()
{
    QMutexLocker lock(&m_mutex);
    m_messages.clear();
}
