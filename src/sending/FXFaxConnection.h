#pragma once

#include "document/FXFaxPageGenerator.h"
#include "journal/Connection.h"
#include "journal/Fax.h"
#include "provider/VXRestConnectionDelegate.h"
#include "sending/FXConnectionClaim.h"
#include "sending/FXFaxConnectionDelegate.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantList>

#include <functional>

class FXFaxReportDelegate;
class QTimer;
class VXRestConnection;

// Sends one document to a list of receivers, one after the other. For each receiver it
// prepares the fax pages (on a worker thread), records a Fax and a Connection in the journal,
// keeps a copy of the transmitted pages under the fax's file name, starts the provider session
// and follows it with its own status timer until it is sent or failed, has the transmission
// report made, and goes on with the next receiver. It never sends a fax twice on its own:
// a session the provider accepted but never finished stays open in the journal for the
// poller. A receiver whose session request never reached the provider, or that the provider
// has not accepted within the give-up time, fails with the code -1 and the reason; so does
// one whose document yields no fax pages, or when the credential store cannot be read (then
// nothing is sent at all).
//
// All journal changes, timers and delegate callbacks happen on the main thread. Do not delete
// the job from inside changedProgress(); deleteLater() is fine.
class FXFaxConnection : public QObject, public VXRestConnectionDelegate
{
    Q_OBJECT

public:
    // The default interval of the status timer once a session is accepted.
    static constexpr int kTrafficIntervalMs = 4000;
    // How long a session request may wait for the provider's acceptance, by default.
    static constexpr int kGiveUpAfterMs = 300 * 1000;

    explicit FXFaxConnection(QObject *parent = nullptr);
    ~FXFaxConnection() override;

    // Starts the job. A receiver is a number text, or a map with "unifiedPhoneNumber" (the
    // number) and "uniqueID" (the address book person). Ignored while a job is running.
    void startSendingFaxForPDFData(const QByteArray &data, const QVariantList &toReceiverNumbers);

    FXFaxConnectionDelegate *delegate() const { return _delegate; }
    // Lets the receiver being served finish and starts no further one; the job then ends as
    // usual. Receivers never started are not recorded in the journal.
    void cancelRemainingReceivers();

    void setDelegate(FXFaxConnectionDelegate *delegate) { _delegate = delegate; }

    QString coverSubject() const { return _coverSubject; }
    void setCoverSubject(const QString &coverSubject) { _coverSubject = coverSubject; }
    bool useCoverSheet() const { return _useCoverSheet; }
    void setUseCoverSheet(bool useCoverSheet) { _useCoverSheet = useCoverSheet; }
    // The page conversion: 0 text (threshold), 1 mixed (error diffusion).
    qint64 documentType() const { return _documentType; }
    void setDocumentType(qint64 documentType) { _documentType = documentType; }
    // The threshold level 0 to 4 of the text conversion.
    qint64 documentTypeThreshold() const { return _documentTypeThreshold; }
    void setDocumentTypeThreshold(qint64 threshold) { _documentTypeThreshold = threshold; }

    // How long the provider may take to accept a receiver's session request before the
    // receiver fails (-1); the command line and the windows let the user choose it.
    int giveUpAfterMs() const { return m_giveUpAfterMs; }
    void setGiveUpAfterMs(int ms) { m_giveUpAfterMs = ms > 0 ? ms : kGiveUpAfterMs; }

    // Who is told about the finished reports; FXFaxReportStore::sharedInstance() unless set.
    FXFaxReportDelegate *reportDelegate() const { return m_reportDelegate; }
    void setReportDelegate(FXFaxReportDelegate *delegate) { m_reportDelegate = delegate; }

    // The receiver in progress: its number, and its address book identifier ("" for a typed
    // number).
    QString currentReceiverPhoneNumber() const;
    QString currentReceiverABRecordID() const;

    // Whether a job is running (from start until sendingAllFaxCompleted).
    bool isSending() const { return m_sending; }

    // The journal records of the receiver in progress.
    Fax currentFax() const { return _currentFax; }
    Connection currentConnection() const { return _currentConnection; }

    // The number in E.164 form ("+49301234567"), a national number read as one of `region`;
    // the empty string when libphonenumber cannot read it.
    static QString e164Number(const QString &number, const QString &region);

    // What prepares a job's fax pages (see FXPDFGenerator::generatePDFWithData): the data, the
    // header, the document type and threshold, and the file to write. It runs on a worker
    // thread. By default the pages are prepared in this process; an application whose window
    // must never wait for Qt Pdf, nor die with it, prepares them in a process of its own.
    using PagePreparer =
        std::function<FXFaxPageGenerator::Result(const QByteArray &data, const QString &header,
                                                 int type, int threshold, const QString &toPath)>;
    static void setPagePreparer(PagePreparer preparer);

    // Tests shorten the status timer; 0 or less restores the default.
    static void setTrafficIntervalMs(int ms);
    static int trafficIntervalMs();

    // VXRestConnectionDelegate
    void didSendFaxFileSucceededWithSessionID(const QString &sessionID) override;
    void didReceiveSessionStatus(const XmlRpcValue &status, const QString &forID) override;
    void didFailWithErrorCode(qint64 code) override;
    void didFailWithTransportError(const QString &errorString) override;

Q_SIGNALS:
    // The session request for the current receiver is on its way to the provider.
    void sessionRequested(const QString &destinationNumber);
    // The provider accepted the current receiver's session.
    void sessionAccepted(const QString &sessionID);

private:
    struct PreparedFax
    {
        int pageCount = 0;
        QByteArray data; // the processed fax file as it was written
        QString problem; // why there are no pages
    };

    void startSendingFax();
    // No receiver is left: the delegate hears so once, from the event loop.
    void completeJob();
    void sendPreparedFax(const PreparedFax &prepared);
    void loadTrafficData();
    void threadLoadTrafficData();
    void changeProgressToState(const XmlRpcValue &status);
    // errorText replaces the code's own text for the user, where there is a better one.
    void handleSentAndFailedStatus(const XmlRpcValue &status, const QString &errorText = {});
    // The current receiver's session request came to nothing: it fails with -1 and the text.
    void failUnacceptedReceiver(const QString &errorText);
    // Stops the status timer and the give-up timer.
    void stopTimers();
    VXRestConnection *newServiceClient();
    // Answers still on their way for a finished receiver must not reach the next one. The
    // clients stay listed until they go away by themselves, so that the job can abort them.
    void releaseServiceClients();
    void reportProgress(double progress, int state, const QString &title,
                        const QString &errorReason, const QString &errorReasonTitle);

    QTimer *trafficTimer = nullptr;
    QTimer *m_giveUpTimer = nullptr;
    int m_giveUpAfterMs = kGiveUpAfterMs;
    bool _statusAfterSending = false;
    qint64 _currentStartPageForSending = 0;
    qint64 _currentFaxProccess = 1;
    double _numberOfFaxProccesses = 1.0;
    double _currentProgress = 0.0;
    quint64 _cntError = 0;
    QString _lastErrorReason;
    bool _useCoverSheet = false;
    QString _coverSubject;
    qint64 _documentType = 0;
    qint64 _documentTypeThreshold = 2;
    FXFaxConnectionDelegate *_delegate = nullptr;
    Fax _currentFax;
    Connection _currentConnection;
    // Keeps the poller away from the connection while this job follows it.
    FXConnectionClaim m_claim;
    QByteArray _pdfData;
    QString _destinationNumber;
    QString _sessionID;
    QString _lastState;
    QVariantList _receiverNumbers;

    FXFaxReportDelegate *m_reportDelegate = nullptr;
    // The account, read once per job: the keyring is not asked every few seconds, and a store
    // that cannot be read fails the receivers with its own reason, never as wrong credentials.
    QString m_username;
    QString m_password;
    QString m_credentialsProblem;
    QList<QPointer<VXRestConnection>> m_serviceClients;
    bool m_sending = false;
    // From the session request until the receiver's outcome is handled: service answers are
    // taken only meanwhile.
    bool m_inSession = false;
    // Bumped per receiver, so that a preparation finishing late for an abandoned job is
    // dropped.
    quint64 m_receiverSerial = 0;
};
