#include "sending/FXAccountCheck.h"

#include "foundation/FBLocalization.h"
#include "foundation/FBUserDefaults.h"
#include "provider/VXRestConnection.h"

#include <algorithm>

FXAccountCheck::FXAccountCheck(QObject *parent)
    : QObject(parent)
{}

void FXAccountCheck::start()
{
    // Owned here: deleting the check aborts whatever is still in flight.
    auto *client = new VXRestConnection(this);
    client->setDelegate(this);
    client->balance();
    client->ownUriList();
}

void FXAccountCheck::didReceiveBalance(const XmlRpcValue &value)
{
    m_balance = value;
    m_hasBalance = true;
    finishWhenComplete();
}

void FXAccountCheck::didReceiveOwnUriList(const XmlRpcValue &value)
{
    m_ownUriList = value;
    m_hasOwnUriList = true;
    finishWhenComplete();
}

void FXAccountCheck::didFailWithErrorCode(qint64 code)
{
    if (m_errorCode == 0)
        m_errorCode = code;
    finish();
}

void FXAccountCheck::didFailWithTransportError(const QString &errorString)
{
    if (m_transportError.isEmpty())
        m_transportError = errorString;
    finish();
}

void FXAccountCheck::finishWhenComplete()
{
    if (m_hasBalance && m_hasOwnUriList)
        finish();
}

void FXAccountCheck::finish()
{
    if (!m_finished) {
        m_finished = true;
        Q_EMIT finished();
    }
}

XmlRpcList FXAccountCheck::faxLines(const XmlRpcValue &ownUriList)
{
    XmlRpcList lines;
    const XmlRpcList all = ownUriList["OwnUriList"].toList();
    for (const XmlRpcValue &record : all) {
        const XmlRpcList services = record["TOS"].toList();
        const bool isFax = std::any_of(services.cbegin(), services.cend(),
                                       [](const XmlRpcValue &service) {
                                           return service.toString() == QLatin1String("fax");
                                       })
                           || record["TOS"].toString() == QLatin1String("fax");
        if (isFax && !record["E164Out"].toString().isEmpty())
            lines.append(record);
    }
    return lines;
}

qsizetype FXAccountCheck::preselectedLine(const XmlRpcList &faxLines, const QString &localUri)
{
    qsizetype selected = 0;
    if (localUri.isEmpty())
        return selected;
    for (qsizetype i = 0; i < faxLines.size(); ++i) {
        if (faxLines.at(i)["E164Out"].toString() == localUri)
            selected = i;
    }
    return selected;
}

void FXAccountCheck::chooseLine(const XmlRpcValue &line)
{
    FBUserDefaults::setObject(line["E164Out"].toString(), kLocalUriKey);
    FBUserDefaults::setObject(line["SipUri"].toString(), kLocalSipUriKey);
    FBUserDefaults::synchronize();
}

void FXAccountCheck::forgetLine()
{
    FBUserDefaults::removeObjectForKey(kLocalUriKey);
    FBUserDefaults::removeObjectForKey(kLocalSipUriKey);
    FBUserDefaults::synchronize();
}

QString FXAccountCheck::balanceText(const XmlRpcValue &balance)
{
    const XmlRpcValue &current = balance["CurrentBalance"];
    return QString::asprintf("%s: %.02f %s", qPrintable(FXText("current_balance")),
                             double(float(current["TotalIncludingVat"].toDouble())),
                             qPrintable(current["Currency"].toString()));
}
