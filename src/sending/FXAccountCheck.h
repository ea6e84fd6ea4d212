#pragma once

#include "provider/VXRestConnectionDelegate.h"
#include "provider/xmlrpc/XmlRpcValue.h"

#include <QObject>
#include <QString>

// Checks the stored account with the provider: its balance and its own numbers, asked for at
// once. It also owns the rules for the account's fax lines and the sending line, which the
// command line and the preferences window share.
class FXAccountCheck : public QObject, public VXRestConnectionDelegate
{
    Q_OBJECT

public:
    explicit FXAccountCheck(QObject *parent = nullptr);

    // Asks for both answers; finished() follows when both arrived, or at the first failure.
    void start();

    bool hasBalance() const { return m_hasBalance; }
    bool hasOwnUriList() const { return m_hasOwnUriList; }
    const XmlRpcValue &balance() const { return m_balance; }
    const XmlRpcValue &ownUriList() const { return m_ownUriList; }
    // The provider's error code (401: wrong credentials; -1: an answer that could not be
    // read); 0 while none arrived.
    qint64 errorCode() const { return m_errorCode; }
    // Why a request got no complete answer (refused, broken off, too large); empty otherwise.
    QString transportError() const { return m_transportError; }

    // The records of an "OwnUriList" answer that are fax lines: "TOS" holds "fax", and there
    // is a number ("E164Out") to send from.
    static XmlRpcList faxLines(const XmlRpcValue &ownUriList);
    // The line a choice starts at: the last one whose "E164Out" is the stored "localUri",
    // else the first.
    static qsizetype preselectedLine(const XmlRpcList &faxLines, const QString &localUri);
    // Makes a line the sending line ("localUri", "localSipUri"), saved at once.
    static void chooseLine(const XmlRpcValue &line);
    // Leaves the choice to the provider again.
    static void forgetLine();
    // "<current balance>: 12.34 EUR", the amount as a single-precision number.
    static QString balanceText(const XmlRpcValue &balance);

Q_SIGNALS:
    void finished();

private:
    void didReceiveBalance(const XmlRpcValue &value) override;
    void didReceiveOwnUriList(const XmlRpcValue &value) override;
    void didFailWithErrorCode(qint64 code) override;
    void didFailWithTransportError(const QString &errorString) override;
    void finishWhenComplete();
    // Emits finished() once, whatever comes after.
    void finish();

    XmlRpcValue m_balance;
    XmlRpcValue m_ownUriList;
    bool m_hasBalance = false;
    bool m_hasOwnUriList = false;
    bool m_finished = false;
    qint64 m_errorCode = 0;
    QString m_transportError;
};
