#include "ProviderSimulator.h"

#include "TestEnvironment.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpSocket>

ProviderSimulator::~ProviderSimulator()
{
    stop();
}

bool ProviderSimulator::start(const QStringList &arguments, QString *error)
{
    stop();
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(QStringLiteral("python3"),
                    QStringList{TestEnvironment::sourceDir()
                                + QStringLiteral("/tools/provider-sim/provider_sim.py")}
                        + arguments);
    QByteArray line;
    while (!line.contains('\n') && m_process.waitForReadyRead(30000))
        line += m_process.readLine();
    m_baseUrl = QUrl(QString::fromUtf8(line.trimmed()));
    if (!m_baseUrl.isValid() || m_baseUrl.port() <= 0) {
        if (error) {
            *error = QStringLiteral("the provider simulator did not start: %1")
                         .arg(m_process.errorString());
        }
        stop();
        return false;
    }
    return true;
}

void ProviderSimulator::stop()
{
    if (m_process.state() != QProcess::NotRunning) {
        m_process.terminate();
        if (!m_process.waitForFinished(5000)) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }
    m_baseUrl = QUrl();
}

QUrl ProviderSimulator::endpoint() const
{
    QUrl url = m_baseUrl;
    url.setPath(QStringLiteral("/RPC2"));
    return url;
}

QStringList ProviderSimulator::environment() const
{
    QUrl token = m_baseUrl;
    token.setPath(QStringLiteral("/v1/authorization/token"));
    return {QStringLiteral("FAXOLINO_API_URL=") + endpoint().toString(),
            QStringLiteral("FAXOLINO_TOKEN_URL=") + token.toString()};
}

void ProviderSimulator::useInThisProcess() const
{
    for (const QString &entry : environment()) {
        const qsizetype split = entry.indexOf(QLatin1Char('='));
        qputenv(entry.left(split).toUtf8().constData(), entry.mid(split + 1).toUtf8());
    }
}

QJsonValue ProviderSimulator::control(const QString &path, const QJsonValue &postBody)
{
    QTcpSocket socket;
    socket.connectToHost(m_baseUrl.host(), quint16(m_baseUrl.port()));
    if (!socket.waitForConnected(10000))
        return QJsonValue::Undefined;
    QByteArray body;
    if (!postBody.isUndefined()) {
        body = postBody.isObject() ? QJsonDocument(postBody.toObject()).toJson()
                                   : QJsonDocument(postBody.toArray()).toJson();
    }
    QByteArray request = (postBody.isUndefined() ? "GET" : "POST") + QByteArray(" /_control/")
                         + path.toUtf8() + " HTTP/1.0\r\nHost: 127.0.0.1\r\nContent-Length: "
                         + QByteArray::number(body.size()) + "\r\n\r\n" + body;
    socket.write(request);
    QByteArray answer;
    // HTTP/1.0: the server closes the connection after its answer.
    while (socket.state() == QAbstractSocket::ConnectedState && socket.waitForReadyRead(10000))
        answer += socket.readAll();
    answer += socket.readAll();
    const qsizetype split = answer.indexOf("\r\n\r\n");
    if (split < 0)
        return QJsonValue::Undefined;
    const QJsonDocument document = QJsonDocument::fromJson(answer.mid(split + 4));
    if (document.isArray())
        return document.array();
    return document.object();
}

QJsonArray ProviderSimulator::requestsOf(const QString &method)
{
    QJsonArray result;
    for (const QJsonValue &request : requests()) {
        if (request[QLatin1String("method")].toString() == method)
            result.append(request);
    }
    return result;
}
