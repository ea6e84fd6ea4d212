#include "ProviderSimulator.h"
#include "TestEnvironment.h"
#include "foundation/FBLocalization.h"
#include "foundation/FBUserDefaults.h"
#include "foundation/KeychainUtils.h"
#include "journal/FXCoreDataController.h"
#include "journal/FXManagedObjectContext.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

// `faxolino send`, `journal` and `poll` as a script sees them, against the provider simulator.
class TestSendCommand : public QObject
{
    Q_OBJECT

    struct Result
    {
        int exitCode = -1;
        QString out;
        QString err;
    };

    ProviderSimulator m_simulator{{QStringLiteral("--account"), QStringLiteral("demo:secret"),
                                   QStringLiteral("--outcome"), QStringLiteral("486=486")}};
    QTemporaryDir m_dir;

    static QString faxolino() { return TestEnvironment::binDir() + QStringLiteral("/faxolino"); }
    static QString letter()
    {
        return TestEnvironment::sourceDir() + QStringLiteral("/resources/demo/letter.pdf");
    }
    static QString fixture(const QString &name)
    {
        return TestEnvironment::dataDir() + QStringLiteral("/document/") + name;
    }

    static void prepare(QProcess &process)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
        process.setProcessEnvironment(environment);
    }

    static Result run(const QStringList &arguments)
    {
        QProcess process;
        prepare(process);
        process.start(faxolino(), arguments);
        Result result;
        if (!process.waitForFinished(300000) || process.exitStatus() != QProcess::NormalExit)
            return result;
        result.exitCode = process.exitCode();
        result.out = QString::fromUtf8(process.readAllStandardOutput());
        result.err = QString::fromUtf8(process.readAllStandardError());
        return result;
    }

    static void configureAccount(bool configured)
    {
        FXError error;
        if (configured) {
            FBUserDefaults::setObject(QStringLiteral("demo"), kUsernameKey);
            KeychainUtils::storeUsername(QStringLiteral("password"), QStringLiteral("secret"),
                                         QStringLiteral("voxaria Fax"), QString(), true, &error);
        } else {
            FBUserDefaults::removeObjectForKey(kUsernameKey);
            KeychainUtils::deleteItemForUsername(QStringLiteral("password"),
                                                 QStringLiteral("voxaria Fax"), QString(), &error);
        }
        FBUserDefaults::synchronize();
    }

    void setAdvance(const QString &advance)
    {
        m_simulator.control("POST", QStringLiteral("advance"),
                            QJsonObject{{QStringLiteral("advance"), advance}});
    }

    qsizetype initiated() const
    {
        const QJsonArray requests = m_simulator.requests();
        return std::count_if(requests.begin(), requests.end(), [](const QJsonValue &request) {
            return request[QLatin1String("method")].toString()
                   == QLatin1String("zentari.SessionInitiate");
        });
    }

    // The lines of `faxolino journal --search` for one number.
    static QStringList journalLines(const QString &search)
    {
        const Result result = run({QStringLiteral("journal"), QStringLiteral("--search"), search});
        return result.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        QVERIFY(m_dir.isValid());
        QVERIFY(QFile::exists(faxolino()));
        QVERIFY(m_simulator.isRunning());
        m_simulator.exportEndpoints();
        FBUserDefaults::setObject((TestEnvironment::root() + QStringLiteral("/reports")).toUtf8(),
                                  kFaxReportSavePathDataKey);
        FBLocalization::installCoreCatalog(QLocale(QLocale::English));
        // A phone book: one Anna, and a Tom with two numbers.
        const QString contacts = m_dir.filePath(QStringLiteral("contacts.vcf"));
        QFile file(contacts);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("BEGIN:VCARD\r\nVERSION:3.0\r\nUID:anna\r\nN:Beispiel;Anna\r\n"
                   "FN:Anna Beispiel\r\nTEL;TYPE=fax:+49 30 555007123\r\nEND:VCARD\r\n"
                   "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:tom\r\nN:Muster;Tom\r\n"
                   "FN:Tom Muster\r\nTEL;TYPE=fax:+49 30 555008123\r\n"
                   "TEL;TYPE=work:+49 30 555008124\r\nEND:VCARD\r\n");
        file.close();
        FBUserDefaults::setObject(QStringList{contacts}, kVCardSourcesKey);
    }

    // A name that one entry of the phone book has stands for that entry's number.
    void receiverByName()
    {
        const Result result = run({QStringLiteral("send"), QStringLiteral("--to"),
                                   QStringLiteral("anna beispiel"), letter()});
        QVERIFY2(result.exitCode == 0, qPrintable(result.out + result.err));
        QCOMPARE(journalLines(QStringLiteral("0555007123")).size(), 1);
    }

    void init()
    {
        QVERIFY(m_simulator.reset());
        setAdvance(QStringLiteral("0.001"));
        configureAccount(true);
    }

    void setupErrors_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<bool>("configured");
        QTest::addColumn<QString>("message");

        const QString empty = m_dir.filePath(QStringLiteral("empty.pdf"));
        QFile(empty).open(QIODevice::WriteOnly);
        const QString to = QStringLiteral("--to");
        const QString number = QStringLiteral("+4930555000123");
        QTest::newRow("no account")
            << QStringList{to, number, letter()} << false << "no account configured";
        QTest::newRow("missing file")
            << QStringList{to, number, m_dir.filePath("missing.pdf")} << true << "cannot read";
        QTest::newRow("not a PDF") << QStringList{to, number, fixture("random.bin")} << true
                                   << "is not a readable PDF document";
        QTest::newRow("locked PDF") << QStringList{to, number, fixture("encrypted.pdf")} << true
                                    << "is not a readable PDF document";
        QTest::newRow("empty file") << QStringList{to, number, empty} << true << "is empty";
        QTest::newRow("no receivers") << QStringList{letter()} << true << "no receivers";
        const QString neither =
            QStringLiteral("is neither a name in the phone book nor a fax number");
        QTest::newRow("number without digit")
            << QStringList{to, "fax-me", letter()} << true << "\"fax-me\" " + neither;
        // Words around a digit were faxed to the digit.
        QTest::newRow("a name that is no entry")
            << QStringList{to, "Person 1", letter()} << true << "\"Person 1\" " + neither;
        QTest::newRow("two entries of that name")
            << QStringList{to, "tom muster", letter()} << true
            << "\"tom muster\" names more than one entry of the phone book";
        QTest::newRow("no document") << QStringList{to, number} << true << "name one PDF document";
        QTest::newRow("give up at once")
            << QStringList{to, number, "--give-up-after", "0", letter()} << true
            << "--give-up-after takes a number of seconds";
    }
    void setupErrors()
    {
        QFETCH(QStringList, arguments);
        QFETCH(bool, configured);
        QFETCH(QString, message);
        configureAccount(configured);

        const Result result = run(QStringList{QStringLiteral("send")} + arguments);
        QCOMPARE(result.exitCode, 2);
        QVERIFY2(result.err.contains(message), qPrintable(result.err));
        QVERIFY(result.out.isEmpty());
        QVERIFY(m_simulator.requests().isEmpty());
    }

    void outcomes_data()
    {
        QTest::addColumn<QString>("advance");
        QTest::addColumn<QStringList>("numbers");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QStringList>("lines");

        const QString sent = FXText("fax_succeeded");
        QTest::newRow("sent") << "0.001" << QStringList{"+4930555000123"} << 0
                              << QStringList{"[1/1] +4930555000123 sent: " + sent,
                                             "Sent 1 of 1 fax."};
        QTest::newRow("one busy") << "0.001" << QStringList{"+4930555000123", "+4930555000486"} << 1
                                  << QStringList{"[1/2] +4930555000123 sent: " + sent,
                                                 "[2/2] +4930555000486 failed: "
                                                     + FXText("fax_failed") + ": Error Code: 486",
                                                 "Sent only 1 of 2 faxes."};
        QTest::newRow("step by step")
            << "poll" << QStringList{"+4930555000123"} << 0
            << QStringList{"[1/1] +4930555000123 preparing", "[1/1] +4930555000123 connecting",
                           "[1/1] +4930555000123 queued: " + FXText("fax_trasmit_queued"),
                           "[1/1] +4930555000123 sending: " + FXText("fax_trasmit_data"),
                           "[1/1] +4930555000123 sent: " + sent};
    }
    void outcomes()
    {
        QFETCH(QString, advance);
        QFETCH(QStringList, numbers);
        QFETCH(int, exitCode);
        QFETCH(QStringList, lines);
        setAdvance(advance);

        QStringList arguments{QStringLiteral("send")};
        for (const QString &number : numbers)
            arguments << QStringLiteral("--to") << number;
        const Result result = run(arguments << letter());
        QVERIFY2(result.exitCode == exitCode, qPrintable(result.out + result.err));

        // The expected lines appear in this order; report lines name files that exist.
        const QStringList output = result.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        qsizetype at = 0;
        for (const QString &line : lines) {
            while (at < output.size() && output.at(at) != line)
                ++at;
            QVERIFY2(at < output.size(), qPrintable(line + QStringLiteral("\n--\n") + result.out));
        }
        int reports = 0;
        for (const QString &line : output) {
            if (line.trimmed().startsWith(QLatin1String("report: "))) {
                ++reports;
                QVERIFY(QFile::exists(line.trimmed().mid(8)));
            }
        }
        QCOMPARE(reports, numbers.size());
        QCOMPARE(initiated(), numbers.size());
    }

    void journal()
    {
        const Result sent =
            run({QStringLiteral("send"), QStringLiteral("--to"), QStringLiteral("+4930555001486"),
                 QStringLiteral("--to"), QStringLiteral("+4930555001123"), letter()});
        QCOMPARE(sent.exitCode, 1);

        const QStringList busy = journalLines(QStringLiteral("0555001486"));
        QCOMPARE(busy.size(), 1);
        const QStringList fields = busy.first().split(QStringLiteral("  "), Qt::SkipEmptyParts);
        QCOMPARE(fields.size(), 5);
        QVERIFY(
            QDateTime::fromString(fields.at(0), QStringLiteral("dd.MM.yyyy HH:mm:ss")).isValid());
        QCOMPARE(fields.at(1), QStringLiteral("+4930555001486"));
        QCOMPARE(fields.at(2), QStringLiteral("2 pages"));
        QCOMPARE(fields.at(3), QStringLiteral("failed (486)"));
        QVERIFY(QFile::exists(fields.at(4)));

        // Newest first: the second receiver was served last.
        const QStringList both = journalLines(QStringLiteral("0555001"));
        QCOMPARE(both.size(), 2);
        QVERIFY(both.at(0).contains(QLatin1String("+4930555001123  2 pages  sent")));
        QVERIFY(both.at(1).contains(QLatin1String("+4930555001486")));

        const Result none = run(
            {QStringLiteral("journal"), QStringLiteral("--search"), QStringLiteral("no such fax")});
        QCOMPARE(none.exitCode, 0);
        QVERIFY(none.out.isEmpty());
    }

    void coverSheet()
    {
        const Result result = run({QStringLiteral("send"), QStringLiteral("--cover-subject"),
                                   QStringLiteral("Quarterly invoice"), QStringLiteral("--to"),
                                   QStringLiteral("+4930555004123"), letter()});
        QVERIFY2(result.exitCode == 0, qPrintable(result.out + result.err));
        QVERIFY(result.out.startsWith(QLatin1String("Sending letter.pdf (3 pages) to 1 receiver")));
        QVERIFY(journalLines(QStringLiteral("0555004123"))
                    .first()
                    .contains(QLatin1String("  3 pages  sent  ")));
    }

    // The provider never answers the session request: each receiver fails after the give-up
    // time with the reason, and nothing is left open in the journal.
    void giveUp()
    {
        QVERIFY(m_simulator.setFaults(
            QJsonObject{{QStringLiteral("zentari.SessionInitiate"), QStringLiteral("noanswer")}}));
        const Result result =
            run({QStringLiteral("send"), QStringLiteral("--give-up-after"), QStringLiteral("2"),
                 QStringLiteral("--to"), QStringLiteral("+4930555002123"), QStringLiteral("--to"),
                 QStringLiteral("+4930555002124"), letter()});
        QCOMPARE(result.exitCode, 1);
        QCOMPARE(result.out.count(QLatin1String("The provider did not accept the fax within 2 s")),
                 2);
        const QStringList lines = journalLines(QStringLiteral("0555002"));
        QCOMPARE(lines.size(), 2);
        for (const QString &line : lines)
            QVERIFY2(line.contains(QLatin1String("failed"))
                         && !line.contains(QLatin1String("open")),
                     qPrintable(line));
    }

    // The command dies after the provider took the fax; a later poll closes the attempt and
    // stores its report.
    void killedThenPolled()
    {
        setAdvance(QStringLiteral("hold"));
        QProcess sender;
        prepare(sender);
        QByteArray output;
        connect(&sender, &QProcess::readyReadStandardOutput,
                [&] { output += sender.readAllStandardOutput(); });
        sender.start(faxolino(), {QStringLiteral("send"), QStringLiteral("--to"),
                                  QStringLiteral("+4930555003123"), letter()});
        QTRY_VERIFY_WITH_TIMEOUT(output.contains("queued"), 180000);
        sender.kill();
        QVERIFY(sender.waitForFinished(10000));
        QCOMPARE(
            journalLines(QStringLiteral("0555003123")).first().contains(QLatin1String("  open  -")),
            true);

        m_simulator.control("POST", QStringLiteral("finish"));
        const Result poll = run({QStringLiteral("poll")});
        QVERIFY2(poll.exitCode == 0, qPrintable(poll.out + poll.err));
        QVERIFY(poll.out.contains(QLatin1String("+4930555003123")));

        const QJsonArray sessions = m_simulator.sessions();
        QCOMPARE(sessions.size(), 1);
        QCOMPARE(initiated(), 1);

        // Read only now, so that this process sees what the commands wrote.
        FXManagedObjectContext *context =
            FXCoreDataController::sharedInstance()->managedObjectContext();
        QVERIFY(context);
        const QList<Fax> faxes = context->fetchFaxes(QStringLiteral("0555003123"));
        QCOMPARE(faxes.size(), 1);
        const Connection connection = faxes.first().connections().first();
        QCOMPARE(connection.sessionID(), sessions.first()[QLatin1String("SessionID")].toString());
        // The provider answered "sent" (with its status code 200): the fax went out.
        QCOMPARE(connection.reason(), QStringLiteral("0"));
        const QStringList lines = journalLines(QStringLiteral("0555003123"));
        QVERIFY(QFile::exists(lines.first().section(QStringLiteral("  "), -1)));
    }
};

QTEST_MAIN(TestSendCommand)
#include "tst_sendcommand.moc"
