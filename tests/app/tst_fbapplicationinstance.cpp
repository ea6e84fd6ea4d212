// The faxolino program as users and scripts run it: the first one becomes the instance, the
// next ones hand their document or number to it over the session bus.
#include "TestEnvironment.h"
#include "app/FBFaxService.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

class TestFBApplicationInstance : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QProcess m_instance;
    QByteArray m_instanceOutput;

    QString program() const { return TestEnvironment::binDir() + QStringLiteral("/faxolino"); }
    QString userSpool() const
    {
        return m_dir->filePath(QStringLiteral("spool/%1").arg(::getuid()));
    }

    QProcessEnvironment environment() const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("FAXOLINO_SPOOL_ROOT"),
                           m_dir->filePath(QStringLiteral("spool")));
        environment.insert(QStringLiteral("QT_FORCE_STDERR_LOGGING"), QStringLiteral("1"));
        environment.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("faxolino.*=true"));
        // The instance without windows: no display.
        for (const char *display : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
            environment.remove(QLatin1String(display));
        return environment;
    }

    static bool instanceRuns()
    {
        return QDBusConnection::sessionBus().interface()->isServiceRegistered(
            QLatin1String(kFaxServiceName));
    }

    int runFaxolino(const QStringList &arguments, QByteArray *output = nullptr)
    {
        QProcess process;
        process.setProcessEnvironment(environment());
        process.setWorkingDirectory(m_dir->path());
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(program(), arguments);
        if (!process.waitForFinished(30000)) {
            process.kill();
            process.waitForFinished();
            return -1;
        }
        if (output)
            *output = process.readAll();
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    const QByteArray &instanceOutput()
    {
        m_instanceOutput += m_instance.readAll();
        return m_instanceOutput;
    }

    bool writeSpoolDocument(const QString &name, const QDateTime &time)
    {
        // As the backend does: written under a hidden name, then renamed.
        const QString hidden = userSpool() + QStringLiteral("/.") + name + QStringLiteral(".part");
        QFile file(hidden);
        return file.open(QIODevice::WriteOnly) && file.write("%PDF-1.4\n%%EOF\n") > 0
               && file.flush() && file.setFileTime(time, QFileDevice::FileModificationTime)
               && file.rename(userSpool() + QLatin1Char('/') + name);
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(TestEnvironment::isIsolated()); }

    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>(TestEnvironment::root()
                                                + QStringLiteral("/instance-XXXXXX"));
        QVERIFY(m_dir->isValid());
        QVERIFY(QDir().mkpath(userSpool()));
        QVERIFY(QFile::setPermissions(userSpool(),
                                      QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QFile document(m_dir->filePath(QStringLiteral("order 4711.pdf")));
        QVERIFY(document.open(QIODevice::WriteOnly) && document.write("%PDF-1.4\n%%EOF\n") > 0);
        m_instanceOutput.clear();
    }

    void cleanup()
    {
        if (m_instance.state() != QProcess::NotRunning) {
            m_instance.terminate();
            if (!m_instance.waitForFinished(10000))
                m_instance.kill();
            m_instance.waitForFinished();
        }
        if (QTest::currentTestFailed())
            qWarning("instance said:\n%s", instanceOutput().constData());
        QTRY_VERIFY(!instanceRuns());
    }

    void commandLineReachesTheRunningInstance()
    {
        const QDateTime now = QDateTime::currentDateTime();
        // Printed while no instance ran; the older one comes first whatever the names.
        QVERIFY(writeSpoolDocument(QStringLiteral("job-0000000002.pdf"), now.addSecs(-60)));
        QVERIFY(writeSpoolDocument(QStringLiteral("job-0000000001.pdf"), now.addSecs(-30)));

        m_instance.setProcessEnvironment(environment());
        m_instance.setProcessChannelMode(QProcess::MergedChannels);
        m_instance.start(program(), {QStringLiteral("--dial"), QStringLiteral("111")});
        QTRY_VERIFY_WITH_TIMEOUT(instanceRuns(), 20000);

        const QByteArray spooled = QFile::encodeName(userSpool());
        QTRY_VERIFY(instanceOutput().contains("job-0000000001.pdf"));
        const QByteArray &log = instanceOutput();
        QVERIFY(log.contains("New fax to number \"111\""));
        const qsizetype older =
            log.indexOf("New fax for file " + spooled + "/job-0000000002.pdf to number \"\"");
        const qsizetype newer =
            log.indexOf("New fax for file " + spooled + "/job-0000000001.pdf to number \"\"");
        QVERIFY2(older >= 0 && newer > older, log.constData());
        QCOMPARE(QDir(userSpool()).entryList(QDir::Files | QDir::Hidden), QStringList());

        // Relative to the caller's folder, not the instance's.
        const QByteArray document =
            QFile::encodeName(m_dir->filePath(QStringLiteral("order 4711.pdf")));
        QCOMPARE(runFaxolino({QStringLiteral("order 4711.pdf"), QStringLiteral("--number"),
                              QStringLiteral("222")}),
                 0);
        QTRY_VERIFY(
            instanceOutput().contains("New fax for file " + document + " to number \"222\""));
        QCOMPARE(runFaxolino({QStringLiteral("--dial"), QStringLiteral("333")}), 0);
        QTRY_VERIFY(instanceOutput().contains("New fax to number \"333\""));
        QCOMPARE(runFaxolino({QString::fromLocal8Bit(document)}), 0);
        QTRY_VERIFY(instanceOutput().contains("Open file " + document));

        QVERIFY(writeSpoolDocument(QStringLiteral("job-0000000003.pdf"), now));
        QTRY_VERIFY(instanceOutput().contains("New fax for file " + spooled
                                              + "/job-0000000003.pdf to number \"\""));
        QTRY_COMPARE(QDir(userSpool()).entryList(QDir::Files), QStringList());
        QCOMPARE(m_instance.state(), QProcess::Running);
    }

    void refusedCommandLines_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::newRow("missing file") << QStringList{QStringLiteral("/nonexistent.pdf")} << 1;
        QTest::newRow("two files")
            << QStringList{QStringLiteral("a.pdf"), QStringLiteral("b.pdf")} << 2;
        QTest::newRow("dial with a file")
            << QStringList{QStringLiteral("--dial"), QStringLiteral("1"),
                           QStringLiteral("order 4711.pdf")}
            << 2;
        QTest::newRow("unknown option")
            << QStringList{QStringLiteral("order 4711.pdf"), QStringLiteral("--fast")} << 2;
        QTest::newRow("reports with a file")
            << QStringList{QStringLiteral("--reports"), QStringLiteral("order 4711.pdf")} << 2;
        QTest::newRow("new fax without a display") << QStringList{QStringLiteral("--new-fax")} << 1;
    }
    void refusedCommandLines()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QByteArray output;
        QCOMPARE(runFaxolino(arguments, &output), exitCode);
        QVERIFY(output.startsWith("faxolino: "));
        QVERIFY(!instanceRuns());
    }
};

QTEST_GUILESS_MAIN(TestFBApplicationInstance)
#include "tst_fbapplicationinstance.moc"
