#pragma once

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>
#include <QUrl>

// The provider simulator (tools/provider-sim) as a child process on loopback, for the
// lifetime of this object. Its control endpoint is read with blocking sockets, so asking it
// something never runs the test's event loop.
//
//   ProviderSimulator sim({"--outcome", "486=486"});
//   QVERIFY(sim.isRunning());
//   sim.exportEndpoints();            // FAXOLINO_API_URL, FAXOLINO_TOKEN_URL
//   sim.setFaults({{"zentari.BalanceGet", "http500"}});
//   QJsonArray seen = sim.requests();
class ProviderSimulator
{
public:
    // "--https" makes it serve HTTPS with a certificate of its own (see certificatePath()).
    explicit ProviderSimulator(const QStringList &arguments = {});
    ~ProviderSimulator();
    ProviderSimulator(const ProviderSimulator &) = delete;
    ProviderSimulator &operator=(const ProviderSimulator &) = delete;

    bool isRunning() const;
    QUrl baseUrl() const { return m_baseUrl; }
    QUrl rpcUrl() const;
    QUrl tokenUrl() const;
    // The PEM certificate of an HTTPS simulator; empty otherwise.
    QString certificatePath() const { return m_certificatePath; }

    // Points the clients at this simulator.
    void exportEndpoints() const;

    // A control request; the answer's JSON, or a null document when it failed.
    QJsonDocument control(const QByteArray &verb, const QString &name,
                          const QJsonObject &body = {}) const;
    QJsonArray requests() const;
    QJsonArray redirectRequests() const;
    // The sessions started so far, with their states.
    QJsonArray sessions() const;
    // {"zentari.BalanceGet": "http500", ...}; a null value clears a method's fault.
    bool setFaults(const QJsonObject &faults) const;
    // Forgets requests and sessions and clears every fault.
    bool reset() const;

private:
    QTemporaryDir m_folder;
    QProcess m_process;
    QUrl m_baseUrl;
    QString m_certificatePath;
};
