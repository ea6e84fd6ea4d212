#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QUrl>

// tools/provider-sim/provider_sim.py as a child of the test: real HTTP on loopback. It dies
// with its parent, and the destructor ends it as well.
class ProviderSimulator
{
public:
    ProviderSimulator() = default;
    ~ProviderSimulator();
    ProviderSimulator(const ProviderSimulator &) = delete;
    ProviderSimulator &operator=(const ProviderSimulator &) = delete;

    // Starts the simulator with these arguments (for example "--account", "demo:secret") and
    // waits for its address. False, with the reason in `error`, when it does not come up.
    bool start(const QStringList &arguments, QString *error = nullptr);
    void stop();

    // "http://127.0.0.1:PORT"
    QUrl baseUrl() const { return m_baseUrl; }
    // The XML-RPC endpoint, baseUrl plus "/RPC2".
    QUrl endpoint() const;

    // Points this process's provider client at the simulator.
    void useInThisProcess() const;
    // The same as environment entries for a child process.
    QStringList environment() const;

    // A control call (GET without a body, POST with one); blocking, without running the event
    // loop, so that no answer of the code under test is handled in the middle of it.
    QJsonValue control(const QString &path, const QJsonValue &postBody = QJsonValue::Undefined);
    QJsonArray requests() { return control(QStringLiteral("requests")).toArray(); }
    QJsonArray sessions() { return control(QStringLiteral("sessions")).toArray(); }
    // The requests of one method, oldest first.
    QJsonArray requestsOf(const QString &method);

private:
    QProcess m_process;
    QUrl m_baseUrl;
};
