// The backend run directly, as root, the way the scheduler runs it: argv of job id, user,
// title, copies, options (with the job's attributes) and file.
#include "TestEnvironment.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <cups/backend.h>

#include <fcntl.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace {

const QByteArray document = "%PDF-1.4\n% a fax\n1 0 obj <<>> endobj\n%%EOF\n";
// The options the scheduler passes for a job printed on this computer.
const QByteArray localJob =
    "number-up=1 job-uuid=urn:uuid:2a3b job-originating-host-name=localhost "
    "time-at-creation=1795276437";

enum class Spool {
    RootIsFile,
    RootParentMissing,
    RootGroupWritable,
    RootOwnedByUser,
    RootIsLink,
    UserFolderOfAnotherUser,
    UserFolderIsLink,
    UserFolderIsFile,
};

} // namespace

Q_DECLARE_METATYPE(Spool)

class TestFaxolinoBackend : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    uid_t m_uid = 0;
    gid_t m_gid = 0;
    QString m_spoolRoot;

    QString path(const QString &relative) const { return m_dir->filePath(relative); }
    QString userFolder() const { return m_spoolRoot + QLatin1Char('/') + QString::number(m_uid); }

    bool writeFile(const QString &relative, const QByteArray &bytes) const
    {
        QFile file(path(relative));
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    }

    // Runs the backend with exactly these argument bytes; input is a file name, "-" for
    // standard input from the document, or empty for none.
    int runBackend(const QList<QByteArray> &arguments, const QString &input = {})
    {
        const QByteArray program = FAXOLINO_BACKEND_BINARY;
        QList<QByteArray> argvBytes{QByteArrayLiteral("faxolino:/")};
        argvBytes += arguments;
        if (!input.isEmpty() && input != QLatin1String("-"))
            argvBytes.append(QFile::encodeName(input));
        std::vector<char *> argv;
        for (QByteArray &argument : argvBytes)
            argv.push_back(argument.data());
        argv.push_back(nullptr);

        QList<QByteArray> envBytes;
        for (char **entry = environ; *entry; ++entry) {
            if (!QByteArray(*entry).startsWith("CUPS_")
                && !QByteArray(*entry).startsWith("FAXOLINO_"))
                envBytes.append(*entry);
        }
        envBytes.append("FAXOLINO_SPOOL_ROOT=" + QFile::encodeName(m_spoolRoot));
        std::vector<char *> envp;
        for (QByteArray &entry : envBytes)
            envp.push_back(entry.data());
        envp.push_back(nullptr);

        const QByteArray stdinFile = input == QLatin1String("-")
                                         ? QFile::encodeName(path(QStringLiteral("doc.pdf")))
                                         : QByteArray("/dev/null");
        const QByteArray logFile = QFile::encodeName(path(QStringLiteral("backend.log")));
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 0, stdinFile.constData(), O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 2, logFile.constData(),
                                         O_WRONLY | O_CREAT | O_APPEND, 0600);
        pid_t pid = 0;
        const int spawned =
            posix_spawn(&pid, program.constData(), &actions, nullptr, argv.data(), envp.data());
        posix_spawn_file_actions_destroy(&actions);
        if (spawned != 0)
            return -1;
        int status = 0;
        if (waitpid(pid, &status, 0) != pid || !WIFEXITED(status))
            return -1;
        return WEXITSTATUS(status);
    }

    int printAsNobody(const QByteArray &title = "report", const QByteArray &options = localJob)
    {
        return runBackend({"42", "nobody", title, "1", options}, path(QStringLiteral("doc.pdf")));
    }

    QStringList entriesBelow(const QString &folder) const
    {
        QStringList entries;
        QDirIterator it(folder,
                        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                        QDirIterator::Subdirectories);
        while (it.hasNext())
            entries.append(QDir(folder).relativeFilePath(it.next()));
        entries.sort();
        return entries;
    }

    QStringList documentsAnywhere() const
    {
        return entriesBelow(m_dir->path()).filter(QStringLiteral("job-"));
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        if (::geteuid() != 0)
            QSKIP("The backend runs as root, as the scheduler runs it");
        const struct passwd *nobody = ::getpwnam("nobody");
        QVERIFY(nobody);
        m_uid = nobody->pw_uid;
        m_gid = nobody->pw_gid;
    }

    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>(TestEnvironment::root()
                                                + QStringLiteral("/backend-XXXXXX"));
        QVERIFY(m_dir->isValid());
        m_spoolRoot = path(QStringLiteral("spool"));
        QVERIFY(writeFile(QStringLiteral("doc.pdf"), document));
    }

    void cleanup()
    {
        if (QTest::currentTestFailed())
            qWarning("backend said: %s", readAll(path(QStringLiteral("backend.log"))).constData());
    }

    // Whatever the title and options hold, the document lands under a name of the backend's
    // own in the user's folder, written as the user, and nothing else is created or run.
    void hostileTitlesStayOutOfPaths_data()
    {
        QTest::addColumn<QByteArray>("title");
        QTest::addColumn<QByteArray>("options");
        const QByteArray marker = QFile::encodeName(TestEnvironment::root()) + "/backend-ran";
        QTest::newRow("parent folders") << QByteArray("../../.bashrc") << localJob;
        QTest::newRow("absolute path") << QByteArray("/etc/cron.d/fax") << localJob;
        QTest::newRow("command substitution") << "$(touch " + marker + ")" << localJob;
        QTest::newRow("backticks") << "`touch " + marker + "`" << localJob;
        QTest::newRow("newlines") << QByteArray("a\nERROR: fake\r\nb") << localJob;
        QTest::newRow("10 KB") << QByteArray(10 * 1024, 'x') << localJob;
        QTest::newRow("invalid UTF-8") << QByteArray("\xff\xfe\xc3\x28 fax") << localJob;
        QTest::newRow("empty") << QByteArray() << localJob;
        QTest::newRow("hostile options")
            << QByteArray("fax")
            << localJob + " document-name=../../x FAXOLINO_SPOOL_ROOT=/tmp job-name=$(touch\\ "
                   + marker + ")";
    }
    void hostileTitlesStayOutOfPaths()
    {
        QFETCH(QByteArray, title);
        QFETCH(QByteArray, options);
        const QStringList before = entriesBelow(m_dir->path());

        QCOMPARE(printAsNobody(title, options), int(CUPS_BACKEND_OK));

        const QString userPath = QStringLiteral("spool/%1").arg(m_uid);
        const QString job = userPath + QStringLiteral("/job-0000000042.pdf");
        QStringList expected = before;
        expected << QStringLiteral("backend.log") << QStringLiteral("spool") << userPath << job;
        expected.removeDuplicates();
        expected.sort();
        QCOMPARE(entriesBelow(m_dir->path()), expected);
        QVERIFY(!QFile::exists(TestEnvironment::root() + QStringLiteral("/backend-ran")));
        QCOMPARE(readAll(path(job)), document);

        struct stat info;
        QCOMPARE(::stat(QFile::encodeName(path(job)).constData(), &info), 0);
        QCOMPARE(info.st_uid, m_uid); // written after the drop, not by root
        QCOMPARE(info.st_mode & 07777, mode_t(0600));
        QCOMPARE(::stat(QFile::encodeName(userFolder()).constData(), &info), 0);
        QCOMPARE(info.st_uid, m_uid);
        QCOMPARE(info.st_mode & 07777, mode_t(0700));
        QCOMPARE(::stat(QFile::encodeName(m_spoolRoot).constData(), &info), 0);
        QCOMPARE(info.st_uid, uid_t(0));
        QCOMPARE(info.st_mode & 07777, mode_t(0711));
    }

    void documentContent_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("onStandardInput");
        QTest::addColumn<int>("code");
        QTest::newRow("file") << document << false << int(CUPS_BACKEND_OK);
        QTest::newRow("standard input") << document << true << int(CUPS_BACKEND_OK);
        QTest::newRow("printer commands before the header")
            << QByteArray(900, '\x1b') + document << true << int(CUPS_BACKEND_OK);
        QTest::newRow("large") << document + QByteArray(3 * 1024 * 1024, ' ') << true
                               << int(CUPS_BACKEND_OK);
        QTest::newRow("empty") << QByteArray() << true << int(CUPS_BACKEND_CANCEL);
        QTest::newRow("text") << QByteArray("Dear sir,\n") << false << int(CUPS_BACKEND_CANCEL);
        QTest::newRow("header beyond the first kilobyte")
            << QByteArray(2048, ' ') + document << false << int(CUPS_BACKEND_CANCEL);
    }
    void documentContent()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, onStandardInput);
        QFETCH(int, code);
        QVERIFY(writeFile(QStringLiteral("doc.pdf"), content));

        QCOMPARE(
            runBackend({"42", "nobody", "t", "1", localJob},
                       onStandardInput ? QStringLiteral("-") : path(QStringLiteral("doc.pdf"))),
            code);

        const QStringList left = entriesBelow(userFolder());
        if (code == CUPS_BACKEND_OK) {
            QCOMPARE(left, QStringList{QStringLiteral("job-0000000042.pdf")});
            QCOMPARE(readAll(userFolder() + QStringLiteral("/job-0000000042.pdf")), content);
        } else {
            QCOMPARE(left, QStringList()); // no half-written document either
        }
    }

    void refusedJobs_data()
    {
        QTest::addColumn<QByteArray>("jobId");
        QTest::addColumn<QByteArray>("user");
        QTest::addColumn<QByteArray>("options");
        const QByteArray fromHost = "number-up=1 job-originating-host-name=";
        QTest::newRow("root") << QByteArray("42") << QByteArray("root") << localJob;
        QTest::newRow("unknown user")
            << QByteArray("42") << QByteArray("faxolino-no-such-user") << localJob;
        QTest::newRow("remote address")
            << QByteArray("42") << QByteArray("nobody") << fromHost + "192.0.2.7";
        QTest::newRow("remote name")
            << QByteArray("42") << QByteArray("nobody") << fromHost + "localhost.attacker.example";
        QTest::newRow("origin unknown")
            << QByteArray("42") << QByteArray("nobody") << QByteArray("number-up=1");
        QTest::newRow("two origins")
            << QByteArray("42") << QByteArray("nobody") << fromHost + "192.0.2.7 " + localJob;
        QTest::newRow("job id with a path")
            << QByteArray("../42") << QByteArray("nobody") << localJob;
    }
    void refusedJobs()
    {
        QFETCH(QByteArray, jobId);
        QFETCH(QByteArray, user);
        QFETCH(QByteArray, options);

        QCOMPARE(runBackend({jobId, user, "t", "1", options}, path(QStringLiteral("doc.pdf"))),
                 int(CUPS_BACKEND_CANCEL));
        QVERIFY(!QFileInfo::exists(m_spoolRoot));
    }

    void localOrigins_data()
    {
        QTest::addColumn<QByteArray>("host");
        QTest::newRow("name") << QByteArray("localhost");
        QTest::newRow("IPv4") << QByteArray("127.0.0.1");
        QTest::newRow("IPv6") << QByteArray("::1");
    }
    void localOrigins()
    {
        QFETCH(QByteArray, host);
        QCOMPARE(printAsNobody("t", "job-originating-host-name=" + host), int(CUPS_BACKEND_OK));
    }

    // The job stays with the scheduler for a later attempt; nothing is written anywhere.
    void unusableSpoolKeepsTheJob_data()
    {
        QTest::addColumn<Spool>("spool");
        QTest::newRow("root is a file") << Spool::RootIsFile;
        QTest::newRow("root's parent missing") << Spool::RootParentMissing;
        QTest::newRow("root writable by its group") << Spool::RootGroupWritable;
        QTest::newRow("root owned by a user") << Spool::RootOwnedByUser;
        QTest::newRow("root is a link") << Spool::RootIsLink;
        QTest::newRow("user folder of another user") << Spool::UserFolderOfAnotherUser;
        QTest::newRow("user folder is a link") << Spool::UserFolderIsLink;
        QTest::newRow("user folder is a file") << Spool::UserFolderIsFile;
    }
    void unusableSpoolKeepsTheJob()
    {
        QFETCH(Spool, spool);
        const QString elsewhere = path(QStringLiteral("elsewhere"));
        QVERIFY(QDir().mkpath(elsewhere));
        QVERIFY(::chown(QFile::encodeName(elsewhere).constData(), m_uid, m_gid) == 0);
        if (spool != Spool::RootIsFile && spool != Spool::RootParentMissing
            && spool != Spool::RootIsLink)
            QVERIFY(QDir().mkpath(m_spoolRoot));
        const QByteArray root = QFile::encodeName(m_spoolRoot);
        const QByteArray user = QFile::encodeName(userFolder());
        switch (spool) {
        case Spool::RootIsFile:
            QVERIFY(writeFile(QStringLiteral("spool"), "x"));
            break;
        case Spool::RootParentMissing:
            m_spoolRoot = path(QStringLiteral("missing/spool"));
            break;
        case Spool::RootGroupWritable:
            QVERIFY(::chmod(root.constData(), 0775) == 0);
            break;
        case Spool::RootOwnedByUser:
            QVERIFY(::chown(root.constData(), m_uid, m_gid) == 0);
            break;
        case Spool::RootIsLink:
            QVERIFY(QFile::link(elsewhere, m_spoolRoot));
            break;
        case Spool::UserFolderOfAnotherUser:
            QVERIFY(QDir().mkpath(userFolder()));
            QVERIFY(::chown(user.constData(), 7, 7) == 0);
            break;
        case Spool::UserFolderIsLink:
            QVERIFY(QFile::link(elsewhere, userFolder()));
            break;
        case Spool::UserFolderIsFile:
            QVERIFY(writeFile(QStringLiteral("spool/%1").arg(m_uid), "x"));
            break;
        }

        QCOMPARE(printAsNobody(), int(CUPS_BACKEND_RETRY));
        QCOMPARE(documentsAnywhere(), QStringList());
        QCOMPARE(entriesBelow(elsewhere), QStringList());
    }

    // The user owns the folder and may plant links in it; a link never receives the document.
    void plantedLinkIsNotFollowed()
    {
        QVERIFY(QDir().mkpath(userFolder()));
        QVERIFY(::chown(QFile::encodeName(userFolder()).constData(), m_uid, m_gid) == 0);
        QVERIFY(writeFile(QStringLiteral("victim"), "original"));
        QVERIFY(QFile::link(path(QStringLiteral("victim")),
                            userFolder() + QStringLiteral("/job-0000000042.pdf")));

        QCOMPARE(printAsNobody(), int(CUPS_BACKEND_OK));

        QCOMPARE(readAll(path(QStringLiteral("victim"))), QByteArray("original"));
        QVERIFY(QFileInfo(userFolder() + QStringLiteral("/job-0000000042.pdf")).isSymLink());
        QCOMPARE(readAll(userFolder() + QStringLiteral("/job-0000000042-1.pdf")), document);
    }

    void userFolderIsMadePrivateAgain()
    {
        QVERIFY(QDir().mkpath(userFolder()));
        const QByteArray folder = QFile::encodeName(userFolder());
        QVERIFY(::chown(folder.constData(), m_uid, m_gid) == 0);
        QVERIFY(::chmod(folder.constData(), 0755) == 0);

        QCOMPARE(printAsNobody(), int(CUPS_BACKEND_OK));

        struct stat info;
        QCOMPARE(::stat(folder.constData(), &info), 0);
        QCOMPARE(info.st_mode & 07777, mode_t(0700));
    }

    void installsAsRootOnlyBackend()
    {
        const QString stage = path(QStringLiteral("stage"));
        QProcess install;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DESTDIR"), stage);
        install.setProcessEnvironment(environment);
        install.start(QStringLiteral(FAXOLINO_CMAKE_COMMAND),
                      {QStringLiteral("--install"), QStringLiteral(FAXOLINO_BUILD_DIR),
                       QStringLiteral("--component"), QStringLiteral("printing")});
        QVERIFY(install.waitForFinished(60000));
        QVERIFY2(install.exitCode() == 0, install.readAllStandardError().constData());

        const QString backend = stage + QStringLiteral(FAXOLINO_INSTALLED_BACKEND);
        QVERIFY(QFileInfo(backend).isExecutable());
        QCOMPARE(QFileInfo(backend).permissions(), QFile::ReadOwner | QFile::WriteOwner
                                                       | QFile::ExeOwner | QFile::ReadUser
                                                       | QFile::WriteUser | QFile::ExeUser);

        const QString prefix = stage + QStringLiteral(FAXOLINO_INSTALL_PREFIX);
        const QByteArray page =
            readAll(prefix + QStringLiteral("/share/faxolino/printer-setup.html"));
        QVERIFY(page.contains("-P " + QByteArray(FAXOLINO_INSTALL_PREFIX)
                              + "/share/ppd/faxolino/faxolino.ppd"));
        QVERIFY(!page.contains("@FAXOLINO_"));

        // Independent readers of the printer description and the desktop entry.
        QProcess check;
        check.start(QStringLiteral("cupstestppd"),
                    {prefix + QStringLiteral("/share/ppd/faxolino/faxolino.ppd")});
        QVERIFY(check.waitForFinished(30000));
        QVERIFY2(check.exitCode() == 0, check.readAllStandardOutput().constData());
        const QString entry =
            prefix + QStringLiteral("/share/applications/org.voxaria.Faxolino.desktop");
        check.setProcessChannelMode(QProcess::MergedChannels);
        check.start(QStringLiteral("desktop-file-validate"), {entry});
        QVERIFY(check.waitForFinished(30000));
        const QByteArray complaints = check.readAll();
        QVERIFY2(check.exitCode() == 0 && complaints.isEmpty(), complaints.constData());
        QVERIFY(readAll(entry).contains("MimeType=application/pdf;"));
    }

private:
    static QByteArray readAll(const QString &file)
    {
        QFile f(file);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
};

QTEST_GUILESS_MAIN(TestFaxolinoBackend)
#include "tst_faxolinobackend.moc"
