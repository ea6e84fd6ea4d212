// The backend run directly, as root, the way the scheduler runs it: argv of job id, user,
// title, copies, options (with the job's attributes) and file.
#include "TestEnvironment.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

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

using Setup = std::function<bool()>;

bool changeOwner(const QString &file, uid_t uid, gid_t gid)
{
    return ::chown(QFile::encodeName(file).constData(), uid, gid) == 0;
}

} // namespace

Q_DECLARE_METATYPE(Setup)

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
    // A folder of the user's that a link in the spool may point to.
    QString elsewhere() const { return path(QStringLiteral("elsewhere")); }

    bool writeFile(const QString &relative, const QByteArray &bytes) const
    {
        QFile file(path(relative));
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    }

    // Runs the backend with exactly these argument bytes and the document as a file name or on
    // standard input.
    int runBackend(QList<QByteArray> arguments, bool onStandardInput = false)
    {
        const QByteArray document = QFile::encodeName(path(QStringLiteral("doc.pdf")));
        arguments.prepend("faxolino:/");
        if (!onStandardInput)
            arguments.append(document);
        QList<QByteArray> environment;
        for (char **entry = environ; *entry; ++entry) {
            if (!QByteArray(*entry).startsWith("CUPS_")
                && !QByteArray(*entry).startsWith("FAXOLINO_"))
                environment.append(*entry);
        }
        environment.append("FAXOLINO_SPOOL_ROOT=" + QFile::encodeName(m_spoolRoot));
        const auto pointers = [](QList<QByteArray> &strings) {
            std::vector<char *> result;
            for (QByteArray &string : strings)
                result.push_back(string.data());
            result.push_back(nullptr);
            return result;
        };
        std::vector<char *> argv = pointers(arguments), envp = pointers(environment);

        const QByteArray logFile = QFile::encodeName(path(QStringLiteral("backend.log")));
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(
            &actions, 0, onStandardInput ? document.constData() : "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 2, logFile.constData(),
                                         O_WRONLY | O_CREAT | O_APPEND, 0600);
        pid_t pid = 0;
        const int spawned =
            posix_spawn(&pid, FAXOLINO_BACKEND_BINARY, &actions, nullptr, argv.data(), envp.data());
        posix_spawn_file_actions_destroy(&actions);
        int status = 0;
        if (spawned != 0 || waitpid(pid, &status, 0) != pid || !WIFEXITED(status))
            return -1;
        return WEXITSTATUS(status);
    }

    int printAsNobody(const QByteArray &title = "report", const QByteArray &options = localJob)
    {
        return runBackend({"42", "nobody", title, "1", options});
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

    static QByteArray readAll(const QString &file)
    {
        QFile f(file);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }

    // "owner mode" of a file, mode in octal.
    static QString ownerAndMode(const QString &file)
    {
        struct stat info;
        if (::stat(QFile::encodeName(file).constData(), &info) != 0)
            return QString();
        return QStringLiteral("%1 %2").arg(info.st_uid).arg(info.st_mode & 07777, 0, 8);
    }

    bool makeUserFolder() const
    {
        return QDir().mkpath(userFolder()) && changeOwner(userFolder(), m_uid, m_gid);
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
        // Written after the drop, not by root.
        QCOMPARE(ownerAndMode(path(job)), QStringLiteral("%1 600").arg(m_uid));
        QCOMPARE(ownerAndMode(userFolder()), QStringLiteral("%1 700").arg(m_uid));
        QCOMPARE(ownerAndMode(m_spoolRoot), QStringLiteral("0 711"));
    }

    void documentContent_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("onStandardInput");
        QTest::addColumn<int>("code");
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

        QCOMPARE(runBackend({"42", "nobody", "t", "1", localJob}, onStandardInput), code);

        const QStringList left = entriesBelow(userFolder());
        if (code == CUPS_BACKEND_OK) {
            QCOMPARE(left, QStringList{QStringLiteral("job-0000000042.pdf")});
            QCOMPARE(readAll(userFolder() + QStringLiteral("/job-0000000042.pdf")), content);
        } else {
            QCOMPARE(left, QStringList()); // no half-written document either
        }
    }

    // Only jobs of ordinary users printed on this computer are taken; a refused one leaves
    // no spool behind.
    void jobsByUserAndOrigin_data()
    {
        QTest::addColumn<QByteArray>("jobId");
        QTest::addColumn<QByteArray>("user");
        QTest::addColumn<QByteArray>("options");
        QTest::addColumn<int>("code");
        const auto row = [](const char *name, const QByteArray &jobId, const QByteArray &user,
                            const QByteArray &options,
                            int code) { QTest::newRow(name) << jobId << user << options << code; };
        const QByteArray fromHost = "number-up=1 job-originating-host-name=";
        const int refused = CUPS_BACKEND_CANCEL;
        row("root", "42", "root", localJob, refused);
        row("unknown user", "42", "faxolino-no-such-user", localJob, refused);
        row("remote address", "42", "nobody", fromHost + "192.0.2.7", refused);
        row("remote name", "42", "nobody", fromHost + "localhost.attacker.example", refused);
        row("origin unknown", "42", "nobody", "number-up=1", refused);
        row("two origins", "42", "nobody", fromHost + "192.0.2.7 " + localJob, refused);
        row("job id with a path", "../42", "nobody", localJob, refused);
        row("IPv4 loopback", "42", "nobody", fromHost + "127.0.0.1", CUPS_BACKEND_OK);
        row("IPv6 loopback", "42", "nobody", fromHost + "::1", CUPS_BACKEND_OK);
    }
    void jobsByUserAndOrigin()
    {
        QFETCH(QByteArray, jobId);
        QFETCH(QByteArray, user);
        QFETCH(QByteArray, options);
        QFETCH(int, code);
        QCOMPARE(runBackend({jobId, user, "t", "1", options}), code);
        QCOMPARE(QFileInfo::exists(m_spoolRoot), code == CUPS_BACKEND_OK);
    }

    // The job stays with the scheduler for a later attempt; nothing is written anywhere.
    void unusableSpoolKeepsTheJob_data()
    {
        QTest::addColumn<Setup>("setup");
        const auto withRoot = [this](const Setup &then) {
            return Setup([this, then] { return QDir().mkpath(m_spoolRoot) && then(); });
        };
        QTest::newRow("root is a file")
            << Setup([this] { return writeFile(QStringLiteral("spool"), "x"); });
        QTest::newRow("root's parent missing") << Setup([this] {
            m_spoolRoot = path(QStringLiteral("missing/spool"));
            return true;
        });
        QTest::newRow("root writable by its group") << withRoot(
            [this] { return ::chmod(QFile::encodeName(m_spoolRoot).constData(), 0775) == 0; });
        QTest::newRow("root owned by a user")
            << withRoot([this] { return changeOwner(m_spoolRoot, m_uid, m_gid); });
        QTest::newRow("root is a link")
            << Setup([this] { return QFile::link(elsewhere(), m_spoolRoot); });
        QTest::newRow("user folder of another user") << withRoot(
            [this] { return QDir().mkpath(userFolder()) && changeOwner(userFolder(), 7, 7); });
        QTest::newRow("user folder is a link")
            << withRoot([this] { return QFile::link(elsewhere(), userFolder()); });
        QTest::newRow("user folder is a file")
            << withRoot([this] { return writeFile(QStringLiteral("spool/%1").arg(m_uid), "x"); });
    }
    void unusableSpoolKeepsTheJob()
    {
        QFETCH(Setup, setup);
        QVERIFY(QDir().mkpath(elsewhere()));
        QVERIFY(changeOwner(elsewhere(), m_uid, m_gid));
        QVERIFY(setup());

        QCOMPARE(printAsNobody(), int(CUPS_BACKEND_RETRY));
        QCOMPARE(entriesBelow(m_dir->path()).filter(QStringLiteral("job-")), QStringList());
        QCOMPARE(entriesBelow(elsewhere()), QStringList());
    }

    // The user owns the folder and may plant links in it; a link never receives the document.
    void plantedLinkIsNotFollowed()
    {
        QVERIFY(makeUserFolder());
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
        QVERIFY(makeUserFolder());
        QVERIFY(::chmod(QFile::encodeName(userFolder()).constData(), 0755) == 0);
        QCOMPARE(printAsNobody(), int(CUPS_BACKEND_OK));
        QCOMPARE(ownerAndMode(userFolder()), QStringLiteral("%1 700").arg(m_uid));
    }

    // The package check covers the installed files' modes and the desktop entry's validity;
    // here, what it does not read: the substituted help page, the printer description as CUPS
    // reads it and the entry's document types.
    void installedPrintingFiles()
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
        QVERIFY(QFileInfo(stage + QStringLiteral(FAXOLINO_INSTALLED_BACKEND)).isExecutable());

        const QString prefix = stage + QStringLiteral(FAXOLINO_INSTALL_PREFIX);
        const QByteArray page =
            readAll(prefix + QStringLiteral("/share/faxolino/printer-setup.html"));
        QVERIFY(page.contains("-P " + QByteArray(FAXOLINO_INSTALL_PREFIX)
                              + "/share/ppd/faxolino/faxolino.ppd"));
        QVERIFY(!page.contains("@FAXOLINO_"));

        QProcess check;
        check.start(QStringLiteral("cupstestppd"),
                    {prefix + QStringLiteral("/share/ppd/faxolino/faxolino.ppd")});
        QVERIFY(check.waitForFinished(30000));
        QVERIFY2(check.exitCode() == 0, check.readAllStandardOutput().constData());
        QVERIFY(readAll(prefix + QStringLiteral("/share/applications/org.voxaria.Faxolino.desktop"))
                    .contains("MimeType=application/pdf;"));
    }
};

QTEST_GUILESS_MAIN(TestFaxolinoBackend)
#include "tst_faxolinobackend.moc"
