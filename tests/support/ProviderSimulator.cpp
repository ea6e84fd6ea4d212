#include "ProviderSimulator.h"

#include "TestEnvironment.h"

#include <QDeadlineTimer>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QStandardPaths>

#include <memory>

namespace {

constexpr int kStartTimeoutMs = 20000;
constexpr int kControlTimeoutMs = 10000;

} // namespace

ProviderSimulator::ProviderSimulator(const QStringList &arguments)
{
    QStringList command{TestEnvironment::sourceDir()
                        + QStringLiteral("/tools/provider-sim/provider_sim.py")};
    command += arguments;
    if (arguments.contains(QStringLiteral("--https"))) {
        m_certificatePath = m_folder.filePath(QStringLiteral("simulator.pem"));
        command << QStringLiteral("--cert-out") << m_certificatePath;
    }
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(QStandardPaths::findExecutable(QStringLiteral("python3")), command);
    if (!m_process.waitForStarted(kStartTimeoutMs))
        return;
    const QDeadlineTimer deadline(kStartTimeoutMs);
    while (!m_process.canReadLine() && !deadline.hasExpired()
           && m_process.state() == QProcess::Running)
        m_process.waitForReadyRead(int(qMax<qint64>(1, deadline.remainingTime())));
    if (m_process.canReadLine())
        m_baseUrl = QUrl(QString::fromUtf8(m_process.readLine()).trimmed());
}

ProviderSimulator::~ProviderSimulator()
{
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished(kControlTimeoutMs);
    }
}

bool ProviderSimulator::isRunning() const
{
    return m_process.state() == QProcess::Running && m_baseUrl.isValid();
}

QUrl ProviderSimulator::rpcUrl() const
{
    return m_baseUrl.resolved(QUrl(QStringLiteral("/RPC2")));
}

QUrl ProviderSimulator::tokenUrl() const
{
    return m_baseUrl.resolved(QUrl(QStringLiteral("/v1/authorization/token")));
}

void ProviderSimulator::exportEndpoints() const
{
    qputenv("FAXOLINO_API_URL", rpcUrl().toEncoded());
    qputenv("FAXOLINO_TOKEN_URL", tokenUrl().toEncoded());
}

QJsonDocument ProviderSimulator::control(const QByteArray &verb, const QString &name,
                                         const QJsonObject &body) const
{
    if (!isRunning())
        return {};
    const QByteArray payload =
        verb == "POST" ? QJsonDocument(body).toJson(QJsonDocument::Compact) : QByteArray();

    // HTTP/1.0: the simulator closes the connection after the answer, which ends the read.
    std::unique_ptr<QTcpSocket> socket;
    if (m_baseUrl.scheme() == QLatin1String("https")) {
        auto ssl = std::make_unique<QSslSocket>();
        QSslConfiguration configuration = ssl->sslConfiguration();
        configuration.setCaCertificates(QSslCertificate::fromPath(m_certificatePath));
        ssl->setSslConfiguration(configuration);
        ssl->connectToHostEncrypted(m_baseUrl.host(), quint16(m_baseUrl.port()));
        if (!ssl->waitForEncrypted(kControlTimeoutMs))
            return {};
        socket = std::move(ssl);
    } else {
        socket = std::make_unique<QTcpSocket>();
        socket->connectToHost(m_baseUrl.host(), quint16(m_baseUrl.port()));
        if (!socket->waitForConnected(kControlTimeoutMs))
            return {};
    }
    socket->write(verb + " /_control/" + name.toUtf8() + " HTTP/1.0\r\nHost: "
                  + m_baseUrl.authority().toUtf8() + "\r\nContent-Type: application/json\r\n"
                  + "Content-Length: " + QByteArray::number(payload.size()) + "\r\n\r\n" + payload);
    QByteArray answer;
    const QDeadlineTimer deadline(kControlTimeoutMs);
    while (socket->state() == QAbstractSocket::ConnectedState && !deadline.hasExpired()) {
        socket->waitForReadyRead(int(qMax<qint64>(1, deadline.remainingTime())));
        answer += socket->readAll();
    }
    answer += socket->readAll();
    const qsizetype split = answer.indexOf("\r\n\r\n");
    if (!answer.startsWith("HTTP/") || split < 0 || answer.split(' ').value(1) != "200")
        return {};
    return QJsonDocument::fromJson(answer.mid(split + 4));
}

QJsonArray ProviderSimulator::requests() const
{
    return control("GET", QStringLiteral("requests")).array();
}

QJsonArray ProviderSimulator::redirectRequests() const
{
    return control("GET", QStringLiteral("redirect-requests")).array();
}

QJsonArray ProviderSimulator::sessions() const
{
    return control("GET", QStringLiteral("sessions")).array();
}

bool ProviderSimulator::setFaults(const QJsonObject &faults) const
{
    return !control("POST", QStringLiteral("faults"), faults).isNull();
}

bool ProviderSimulator::reset() const
{
    return !control("POST", QStringLiteral("reset")).isNull();
}
