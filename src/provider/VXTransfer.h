#pragma once

#include <QByteArray>
#include <QList>
#include <QNetworkRequest>
#include <QObject>
#include <QPair>
#include <QPointer>
#include <QString>
#include <QUrl>

#include <functional>

class QNetworkAccessManager;
class QNetworkReply;
class QTimer;

// One POST to the provider with the rules every call to it shares: only https, or plain http
// to a loopback host; certificates always verified (FAXOLINO_CA_FILE may add an authority);
// redirects never followed, so the Authorization header stays with the host it was meant
// for; an inactivity timeout, and a total deadline that grows with the request's size but
// that a server dribbling bytes cannot stretch; and an answer body bounded in size while it
// is read.
//
// The completion runs exactly once, on the thread that started the transfer, unless the
// transfer is deleted first (then it aborts silently). The transfer deletes itself after its
// completion; give it a parent so that deleting the parent cancels it.
class VXTransfer : public QObject
{
    Q_OBJECT

public:
    // Answers larger than this are broken off while they arrive.
    static constexpr qint64 kMaximumAnswerBytes = 32 * 1024 * 1024;

    struct Result
    {
        // The HTTP status; 0 when no answer arrived.
        int statusCode = 0;
        QList<QPair<QByteArray, QByteArray>> headers;
        // Empty when there was a transport error.
        QByteArray body;
        // No complete answer: the connection failed, broke, timed out, the answer was too
        // large, or the endpoint was refused before connecting.
        bool transportError = false;
        QString errorString;
    };
    using Completion = std::function<void(const Result &)>;

    explicit VXTransfer(QObject *parent = nullptr);
    ~VXTransfer() override;

    // Starts the POST. A refused endpoint completes with a transport error, asynchronously
    // like any other outcome.
    void start(const QNetworkRequest &request, const QByteArray &body, Completion completion);

    // The network access manager of the calling thread, shared by every connection on it.
    static QNetworkAccessManager *sharedNetworkAccessManager();

    // True for https, and for http to 127.0.0.0/8, ::1 or "localhost". Otherwise false with a
    // reason for the log.
    static bool isPermittedEndpoint(const QUrl &url, QString *reason = nullptr);

    // The URL from the variable when it is set and not empty, the fallback otherwise.
    static QUrl endpointFromEnvironment(const char *variable, const char *fallback);

    // The request settings every call shares: no cache, no redirects, the verified TLS
    // configuration (with FAXOLINO_CA_FILE's authorities, read afresh), the deadline.
    static void prepareRequest(QNetworkRequest &request);

    // The inactivity timeout of one transfer (60 s): no byte sent or received for that long
    // ends it.
    static void setTimeoutMs(int ms);
    static int timeoutMs();
    // The total deadline of a transfer with a request body of that size: the inactivity
    // timeout, plus the time the body takes at 64 KiB/s. A large fax over a slow uplink that
    // keeps moving is not cut off; a server that dribbles its answer still is.
    static qint64 totalDeadlineMs(qint64 bodyBytes);

private:
    void onReadyRead();
    void onMetaDataChanged();
    void onFinished();
    void breakOff(const QString &reason);
    void complete(const Result &result);

    QPointer<QNetworkReply> m_reply;
    QTimer *m_deadline = nullptr;
    Completion m_completion;
    QByteArray m_body;
    QString m_breakOffReason;
};
