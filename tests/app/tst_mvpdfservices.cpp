// The print queue against a real scheduler: a private cupsd on a loopback port with its own
// configuration, spool and backend folder, started and ended by each test.
#include "RecordingDocumentTarget.h"
#include "TestEnvironment.h"
#include "app/FBSpoolWatcher.h"
#include "app/MVPDFServices.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QPainter>
#include <QPdfWriter>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

#include <cups/cups.h>

#include <pwd.h>
#include <unistd.h>

namespace {

const QString queue = QString::fromLatin1(kPDFServiceQueueName);

// The scheduler lets every local address through host rules, so refusals are by user: the
// user the local socket vouches for is not the one required.
const char deniedPolicy[] = "  <Limit CUPS-Add-Modify-Printer CUPS-Delete-Printer>\n"
                            "    AuthType Default\n"
                            "    Require user faxolino-administrator\n"
                            "    Order deny,allow\n"
                            "  </Limit>\n";
const char passwordPolicy[] = "  <Limit CUPS-Add-Modify-Printer CUPS-Delete-Printer>\n"
                              "    AuthType Basic\n"
                              "    Require user @SYSTEM\n"
                              "    Order deny,allow\n"
                              "  </Limit>\n";

bool writeText(const QString &file, const QString &text)
{
    QFile out(file);
    return out.open(QIODevice::WriteOnly) && out.write(text.toUtf8()) >= 0;
}

QByteArray faxDocument()
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QPdfWriter writer(&buffer);
    QPainter painter(&writer);
    painter.drawText(QPointF(100, 100), QStringLiteral("Order 4711"));
    painter.end();
    return buffer.data();
}

} // namespace

// A scheduler of the test's own. Its backend folder holds the built backend, owned by root
// with mode 0700 as an installation leaves it; documents go to a spool root in the test folder.
class PrivateCupsd
{
public:
    ~PrivateCupsd() { stop(); }

    bool start(const QString &root, const QString &adminPolicy, QString *error)
    {
        m_root = root;
        if (!m_socketDir.isValid()
            || !QFile::setPermissions(m_socketDir.path(), QFile::ReadOwner | QFile::WriteOwner
                                                              | QFile::ExeOwner | QFile::ExeGroup
                                                              | QFile::ExeOther))
            return fail(error, QStringLiteral("no folder for the socket"));
        const QStringList folders{"etc/ppd", "serverbin/backend", "spool/tmp", "cache", "state",
                                  "log",     "faxspool"};
        for (const QString &folder : folders) {
            if (!QDir().mkpath(m_root + QLatin1Char('/') + folder))
                return fail(error, QStringLiteral("cannot create ") + folder);
        }
        const QString backend = m_root + QStringLiteral("/serverbin/backend/faxolino");
        if (!QFile::link(QStringLiteral("/usr/lib/cups/daemon"),
                         m_root + QStringLiteral("/serverbin/daemon"))
            || !QFile::copy(QStringLiteral(FAXOLINO_BACKEND_BINARY), backend)
            || !QFile::setPermissions(backend,
                                      QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner))
            return fail(error, QStringLiteral("cannot install the backend"));

        QTcpServer probe;
        if (!probe.listen(QHostAddress::LocalHost))
            return fail(error, QStringLiteral("no free port"));
        m_port = probe.serverPort();
        probe.close();

        const QString files =
            QStringLiteral("ServerRoot %1/etc\nServerBin %1/serverbin\nDataDir /usr/share/cups\n"
                           "RequestRoot %1/spool\nTempDir %1/spool/tmp\nCacheDir %1/cache\n"
                           "StateDir %1/state\nErrorLog %1/log/error_log\n"
                           "AccessLog %1/log/access_log\nPageLog %1/log/page_log\n"
                           "User lp\nGroup lp\nSystemGroup root\n"
                           "SetEnv FAXOLINO_SPOOL_ROOT %1/faxspool\n")
                .arg(m_root);
        const QString daemon =
            QStringLiteral("LogLevel debug\nListen 127.0.0.1:%1\nListen %2\n"
                           "Browsing Off\nWebInterface No\nDefaultEncryption Never\n"
                           "JobRetryInterval 1\n"
                           "<Location />\n  Order allow,deny\n  Allow localhost\n</Location>\n"
                           "<Policy default>\n%3  <Limit All>\n    Order deny,allow\n  </Limit>\n"
                           "</Policy>\n")
                .arg(m_port)
                .arg(socket(), adminPolicy);
        if (!writeText(m_root + QStringLiteral("/cups-files.conf"), files)
            || !writeText(m_root + QStringLiteral("/cupsd.conf"), daemon))
            return fail(error, QStringLiteral("cannot write the configuration"));

        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start(QStringLiteral("cupsd"),
                        {QStringLiteral("-f"), QStringLiteral("-c"),
                         m_root + QStringLiteral("/cupsd.conf"), QStringLiteral("-s"),
                         m_root + QStringLiteral("/cups-files.conf")});
        const bool up = m_process.waitForStarted()
                        && QTest::qWaitFor(
                            [this] {
                                if (m_process.state() != QProcess::Running)
                                    return true;
                                QTcpSocket probeSocket;
                                probeSocket.connectToHost(QHostAddress::LocalHost, m_port);
                                return probeSocket.waitForConnected(200);
                            },
                            20000);
        if (!up || m_process.state() != QProcess::Running)
            return fail(error, QStringLiteral("cupsd did not start (%1, exit %2): %3\n%4")
                                   .arg(m_process.errorString())
                                   .arg(m_process.exitCode())
                                   .arg(QString::fromLocal8Bit(m_process.readAll()), log()));
        cupsSetServer(qPrintable(server()));
        return true;
    }

    void stop()
    {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.terminate();
        if (!m_process.waitForFinished(15000)) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }

    QString server() const { return QStringLiteral("127.0.0.1:%1").arg(m_port); }
    // Outside the test's private root, which only root may enter, so that users reach it.
    QString socket() const { return m_socketDir.filePath(QStringLiteral("cups.sock")); }
    QString spoolRoot() const { return m_root + QStringLiteral("/faxspool"); }
    QString log() const
    {
        QFile file(m_root + QStringLiteral("/log/error_log"));
        return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.readAll()) : QString();
    }

    // A client program of the printing system, pointed at this scheduler; for setpriv the
    // client is the program after setpriv's four arguments.
    QString run(const QString &program, const QStringList &arguments, const QByteArray &input = {},
                const QString &server = {}, int *exitCode = nullptr) const
    {
        QProcess client;
        client.setProcessChannelMode(QProcess::MergedChannels);
        QStringList all = arguments;
        const int hostIndex = program == QLatin1String("setpriv") ? 4 : 0;
        all.insert(hostIndex, server.isEmpty() ? this->server() : server);
        all.insert(hostIndex, QStringLiteral("-h"));
        client.start(program, all);
        client.write(input);
        client.closeWriteChannel();
        if (!client.waitForFinished(30000))
            client.kill();
        if (exitCode)
            *exitCode = client.exitStatus() == QProcess::NormalExit ? client.exitCode() : -1;
        return QString::fromLocal8Bit(client.readAll());
    }

private:
    static bool fail(QString *error, const QString &text)
    {
        *error = text;
        return false;
    }

    QProcess m_process;
    QString m_root;
    QTemporaryDir m_socketDir{QDir::tempPath() + QStringLiteral("/faxolino-cups-XXXXXX")};
    quint16 m_port = 0;
};

class TestMVPDFServices : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<PrivateCupsd> m_cupsd;
    QTranslator m_catalog;

    bool startCupsd(const QString &adminPolicy = {})
    {
        m_dir = std::make_unique<QTemporaryDir>(TestEnvironment::root()
                                                + QStringLiteral("/cups-XXXXXX"));
        m_cupsd = std::make_unique<PrivateCupsd>();
        QString error;
        if (m_dir->isValid() && m_cupsd->start(m_dir->path(), adminPolicy, &error))
            return true;
        qWarning("%s", qPrintable(error));
        return false;
    }

    QString queueOptions() const
    {
        return m_cupsd->run(QStringLiteral("lpoptions"), {QStringLiteral("-p"), queue});
    }

    QString pendingJobs() const
    {
        return m_cupsd->run(QStringLiteral("lpstat"), {QStringLiteral("-o"), queue});
    }

    int lpadmin(const QStringList &arguments) const
    {
        int exitCode = -1;
        m_cupsd->run(QStringLiteral("lpadmin"), arguments, {}, {}, &exitCode);
        return exitCode;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        if (::geteuid() != 0)
            QSKIP("The scheduler runs the backend as root only when it runs as root itself");
        if (QStandardPaths::findExecutable(QStringLiteral("cupsd"), {QStringLiteral("/usr/sbin")})
                .isEmpty())
            QSKIP("cupsd is not installed");
        QVERIFY(m_catalog.load(QStringLiteral(":/app/translations/app_en.qm")));
        QCoreApplication::installTranslator(&m_catalog);
    }

    void cleanup()
    {
        if (m_cupsd && QTest::currentTestFailed())
            qWarning("cupsd log:\n%s", qPrintable(m_cupsd->log().right(6000)));
        m_cupsd.reset();
        m_dir.reset();
    }

    // A queue of the same name, from an earlier installation or another program, is replaced.
    void installSetsUpTheQueue_data()
    {
        QTest::addColumn<bool>("existing");
        QTest::newRow("new") << false;
        QTest::newRow("replacing an existing queue") << true;
    }
    void installSetsUpTheQueue()
    {
        QFETCH(bool, existing);
        QVERIFY(startCupsd());
        if (existing) {
            QCOMPARE(lpadmin({QStringLiteral("-p"), queue, QStringLiteral("-v"),
                              QStringLiteral("file:/dev/null"), QStringLiteral("-D"),
                              QStringLiteral("Old fax"), QStringLiteral("-L"),
                              QStringLiteral("Basement")}),
                     0);
            QVERIFY(queueOptions().contains(QLatin1String("Old fax")));
        }
        QCOMPARE(MVPDFServices::isPDFServiceInstalled(), existing);

        QString error;
        QVERIFY2(MVPDFServices::installPDFService(QString(), &error), qPrintable(error));

        QVERIFY(MVPDFServices::isPDFServiceInstalled());
        const QString options = queueOptions();
        for (const char *option : {"printer-info='voxaria Faxolino'", "device-uri=faxolino:/",
                                   "printer-make-and-model='voxaria Faxolino, PDF to fax'",
                                   "printer-is-shared=false", "printer-is-accepting-jobs=true"})
            QVERIFY2(options.contains(QLatin1String(option)), qPrintable(option + (' ' + options)));
        QVERIFY(!options.contains(QLatin1String("Basement")));
    }

    void uninstallRemovesOnlyTheQueue()
    {
        QVERIFY(startCupsd());
        QCOMPARE(lpadmin({QStringLiteral("-p"), QStringLiteral("office"), QStringLiteral("-v"),
                          QStringLiteral("file:/dev/null")}),
                 0);
        QVERIFY(MVPDFServices::installPDFService(QString()));

        QVERIFY(MVPDFServices::uninstallPDFService());
        QVERIFY(!MVPDFServices::isPDFServiceInstalled());
        QVERIFY(!MVPDFServices::uninstallPDFService());

        const QString printers = m_cupsd->run(QStringLiteral("lpstat"), {QStringLiteral("-p")});
        QVERIFY2(printers.contains(QLatin1String("printer office")), qPrintable(printers));
        QVERIFY(!printers.contains(queue));
    }

    void userWithoutAdministratorRights_data()
    {
        QTest::addColumn<QString>("policy");
        QTest::addColumn<bool>("overSocket");
        QTest::newRow("refused") << QString::fromLatin1(deniedPolicy) << true;
        QTest::newRow("password required") << QString::fromLatin1(passwordPolicy) << false;
    }
    void userWithoutAdministratorRights()
    {
        QFETCH(QString, policy);
        QFETCH(bool, overSocket);
        QVERIFY(startCupsd(policy));
        if (overSocket)
            cupsSetServer(qPrintable(m_cupsd->socket()));

        QString error;
        QVERIFY(!MVPDFServices::installPDFService(QString(), &error));

        QVERIFY2(error.contains(MVPDFServices::manualInstallCommand()), qPrintable(error));
        QVERIFY(error.contains(QLatin1String("administrator")));
        QVERIFY(!MVPDFServices::isPDFServiceInstalled());
    }

    // From lp to a new fax in the running application, through the scheduler, the backend's
    // drop to the submitting user, the spool and the watcher.
    void printedDocumentBecomesANewFax_data()
    {
        QTest::addColumn<bool>("overSocket");
        QTest::newRow("loopback port") << false;
        QTest::newRow("local socket") << true;
    }
    void printedDocumentBecomesANewFax()
    {
        QFETCH(bool, overSocket);
        if (QStandardPaths::findExecutable(QStringLiteral("setpriv")).isEmpty())
            QSKIP("setpriv is needed to print as another user");
        const struct passwd *nobody = ::getpwnam("nobody");
        QVERIFY(nobody);
        QVERIFY(startCupsd());
        QVERIFY(MVPDFServices::installPDFService(QString()));

        RecordingDocumentTarget target;
        FBSpoolWatcher watcher(m_cupsd->spoolRoot() + QStringLiteral("/%1").arg(nobody->pw_uid),
                               nobody->pw_uid);
        watcher.setPollInterval(50);
        watcher.setTarget(&target);
        watcher.start();

        const QByteArray pdf = faxDocument();
        int exitCode = -1;
        const QString output = m_cupsd->run(
            QStringLiteral("setpriv"),
            {QStringLiteral("--reuid=%1").arg(nobody->pw_uid),
             QStringLiteral("--regid=%1").arg(nobody->pw_gid), QStringLiteral("--clear-groups"),
             QStringLiteral("lp"), QStringLiteral("-d"), queue, QStringLiteral("-t"),
             QStringLiteral("../../.bashrc")},
            pdf, overSocket ? m_cupsd->socket() : QString(), &exitCode);
        QVERIFY2(exitCode == 0, qPrintable(output));

        QTRY_COMPARE_WITH_TIMEOUT(target.calls.size(), 1, 30000);
        QCOMPARE(target.calls.first().operation, QStringLiteral("newFaxForFile"));
        QCOMPARE(target.calls.first().number, QString());
        QCOMPARE(target.calls.first().bytes, pdf);
        QTRY_VERIFY(pendingJobs().isEmpty());
    }

    // Deliberately the password database's home, not $HOME (which the test runner moved).
    void realHomeDirectoryIgnoresHome()
    {
        QCOMPARE(MVPDFServices::realHomeDirectory(),
                 QString::fromUtf8(::getpwuid(::getuid())->pw_dir));
        QVERIFY(MVPDFServices::realHomeDirectory() != QDir::homePath());
    }

    void helpPageNamesTheRealPaths()
    {
        const QUrl url = MVPDFServices::faxonPluginURL();
        QVERIFY(url.isLocalFile());
        QFile page(url.toLocalFile());
        QVERIFY(page.open(QIODevice::ReadOnly));
        const QByteArray html = page.readAll();
        const QString description = MVPDFServices::manualInstallCommand()
                                        .section(QLatin1String(" -P "), 1)
                                        .section(QLatin1Char(' '), 0, 0);
        QVERIFY(description.endsWith(QLatin1String("/faxolino.ppd")));
        QVERIFY(html.contains("-P " + description.toUtf8()));
        QVERIFY(!html.contains("@FAXOLINO_"));
    }
};

QTEST_MAIN(TestMVPDFServices)
#include "tst_mvpdfservices.moc"
