#include "cli/SendCommand.h"

#include "cli/CommandSupport.h"
#include "document/FXFaxPageGenerator.h"
#include "document/FXPDFGenerator.h"
#include "document/FXPDFInspection.h"
#include "foundation/FBApplicationHelper.h"
#include "foundation/FBUserDefaults.h"
#include "recipients/FXPhoneNumber.h"
#include "recipients/PhoneBook.h"
#include "sending/FXCoverPage.h"
#include "sending/FXFaxConnection.h"
#include "sending/FXFaxReportStore.h"
#include "sending/FXReceiverCheck.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QPdfDocument>
#include <QTextStream>
#include <QTimer>

#include <algorithm>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

const char usage[] =
    "Usage: faxolino send --to NUMBER [--to NUMBER]... [OPTIONS] FILE.pdf\n"
    "\n"
    "Sends the PDF document as a fax to every receiver, one after the other, through\n"
    "the voxaria account set up with `faxolino account`. Every fax is recorded in the\n"
    "journal and gets a transmission report in the report folder.\n"
    "\n"
    "Options:\n"
    "  --to NUMBER              a receiver: a fax number, or a name that one entry of\n"
    "                           the phone book has (repeatable)\n"
    "  --type text|mixed        text: a brightness threshold (default);\n"
    "                           mixed: error diffusion, for pictures\n"
    "  --threshold 0-4          the threshold level for text, lighter to darker (default 2)\n"
    "  --cover-subject TEXT     put a cover sheet with this subject in front\n"
    "  --give-up-after SECONDS  a fax the provider has not accepted for this long fails\n"
    "                           and the next receiver follows; one it accepted but has\n"
    "                           not answered about for this long stays open in the\n"
    "                           journal for `faxolino poll` (default 300)\n"
    "\n"
    "Exit codes: 0 every fax was sent, 1 a fax failed or the provider did not answer,\n"
    "2 a usage or setup error.\n";

constexpr int kDefaultGiveUpSeconds = 300;
// QTimer counts milliseconds in an int.
constexpr int kMaxGiveUpSeconds = 2000000;
constexpr int kBarWidth = 24;

int setupError(QTextStream &err, const QString &message, bool showUsage = false)
{
    err << "faxolino send: " << message << '\n';
    if (showUsage)
        err << '\n' << usage;
    err.flush();
    return 2;
}

// Shows the progress of the job and ends the event loop with the exit code.
class SendProgress : public QObject, public FXFaxConnectionDelegate
{
public:
    SendProgress(FXFaxConnection *job, const QStringList &numbers, bool terminal, int giveUpSeconds)
        : m_numbers(numbers)
        , m_terminal(terminal)
        , m_giveUpSeconds(giveUpSeconds)
        , m_out(stdout)
        , m_err(stderr)
    {
        m_watchdog.setSingleShot(true);
        m_watchdog.setInterval(giveUpSeconds * 1000);
        connect(&m_watchdog, &QTimer::timeout, this, &SendProgress::giveUp);
        // The job itself gives up on a request the provider does not accept.
        connect(job, &FXFaxConnection::sessionRequested, this, [this] {
            m_watchdog.stop();
            show(0.15, QStringLiteral("connecting"), QString());
        });
        connect(job, &FXFaxConnection::sessionAccepted, this, [this] { m_watchdog.start(); });
        // A transmission takes minutes; the terminal shows that time passes.
        m_clock.setInterval(1000);
        connect(&m_clock, &QTimer::timeout, this, [this] { draw(false); });
    }

    void begin() { startReceiver(); }

    void changedProgress(double progress, int toState, const QString &title,
                         const QString &forDestinationNumber, const QString &errorReason,
                         const QString &errorReasonTitle, const Fax &forFax) override
    {
        Q_UNUSED(progress);
        Q_UNUSED(forDestinationNumber);
        Q_UNUSED(errorReason);
        if (!forFax.number().isEmpty())
            m_shownNumber = forFax.number();
        switch (toState) {
        case 0:
            m_watchdog.start();
            show(0.35, QStringLiteral("queued"), title);
            break;
        case 1:
            m_watchdog.start();
            show(0.65, QStringLiteral("sending"), title);
            break;
        case 2:
        case -1: {
            m_watchdog.stop();
            const bool sent = toState == 2;
            if (sent)
                ++m_sent;
            show(1.0, sent ? QStringLiteral("sent") : QStringLiteral("failed"),
                 sent ? title : title + QStringLiteral(": ") + errorReasonTitle, true);
            const QString report = FXFaxReportStore::reportPathForFax(forFax);
            if (!forFax.isNull() && QFileInfo::exists(report))
                m_out << "      report: " << QDir::toNativeSeparators(report) << '\n';
            m_out.flush();
            ++m_index;
            if (m_index < m_numbers.size())
                startReceiver();
            break;
        }
        default:
            break;
        }
    }

    void sendingAllFaxCompleted(FXFaxConnection *) override
    {
        m_clock.stop();
        m_out << (m_sent == m_numbers.size() ? "Sent " : "Sent only ") << m_sent << " of "
              << m_numbers.size() << (m_numbers.size() == 1 ? " fax.\n" : " faxes.\n");
        m_out.flush();
        QCoreApplication::exit(m_sent == m_numbers.size() ? 0 : 1);
    }

private:
    void startReceiver()
    {
        m_shownNumber = m_numbers.value(m_index);
        m_elapsed.start();
        m_lastLine.clear();
        if (m_terminal)
            m_clock.start();
        show(0.05, QStringLiteral("preparing"), QString());
    }

    void show(double fraction, const QString &word, const QString &text, bool final = false)
    {
        m_fraction = fraction;
        m_word = word;
        m_text = text;
        draw(final);
    }

    QString line(bool withBar) const
    {
        QString result =
            QStringLiteral("[%1/%2] %3 ").arg(m_index + 1).arg(m_numbers.size()).arg(m_shownNumber);
        if (withBar) {
            const int filled = qBound(0, int(m_fraction * kBarWidth + 0.5), kBarWidth);
            const qint64 seconds = m_elapsed.elapsed() / 1000;
            result += QLatin1Char('[') + QString(filled, QLatin1Char('#'))
                      + QString(kBarWidth - filled, QLatin1Char('-')) + QStringLiteral("] ")
                      + QString::asprintf("%lld:%02lld ", seconds / 60, seconds % 60);
        }
        result += m_word;
        if (!m_text.isEmpty())
            result += QStringLiteral(": ") + m_text;
        return result;
    }

    void draw(bool final)
    {
        if (m_terminal) {
            // Rewrite the receiver's line in place; a finished receiver keeps its line. A line
            // wider than the terminal would wrap, and the next rewrite would start on its
            // second half.
            QString text = line(true);
            winsize size{};
            if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1)
                text.truncate(size.ws_col - 1);
            m_out << '\r' << text << "\x1b[K";
            if (final) {
                m_out << '\n';
                m_clock.stop();
            }
            m_out.flush();
            return;
        }
        const QString plain = line(false);
        if (plain != m_lastLine) {
            m_out << plain << '\n';
            m_out.flush();
            m_lastLine = plain;
        }
    }

    void giveUp()
    {
        m_clock.stop();
        if (m_terminal)
            m_out << '\n';
        m_out.flush();
        m_err << "faxolino send: no answer from the provider about the fax to " << m_shownNumber
              << " for " << m_giveUpSeconds << " seconds; giving up.\n";
        m_err << "The journal keeps the transmission open; `faxolino poll` asks the provider "
                 "about it later.\n";
        const QStringList rest = m_numbers.mid(m_index + 1);
        if (!rest.isEmpty())
            m_err << "Not sent: " << rest.join(QStringLiteral(", ")) << '\n';
        m_err.flush();
        QCoreApplication::exit(1);
    }

    QStringList m_numbers;
    bool m_terminal;
    int m_giveUpSeconds;
    QTextStream m_out;
    QTextStream m_err;
    QTimer m_watchdog;
    QTimer m_clock;
    QElapsedTimer m_elapsed;
    qsizetype m_index = 0;
    qsizetype m_sent = 0;
    QString m_shownNumber;
    double m_fraction = 0.0;
    QString m_word;
    QString m_text;
    QString m_lastLine;
};

} // namespace

int SendCommand::run(int argc, char *argv[])
{
    const std::unique_ptr<QCoreApplication> app = CommandSupport::makeApplication(argc, argv, true);
    QTextStream out(stdout);
    QTextStream err(stderr);

    QCommandLineParser parser;
    const QCommandLineOption toOption(QStringLiteral("to"), QString(), QStringLiteral("number"));
    const QCommandLineOption typeOption(QStringLiteral("type"), QString(), QStringLiteral("type"),
                                        QStringLiteral("text"));
    const QCommandLineOption thresholdOption(QStringLiteral("threshold"), QString(),
                                             QStringLiteral("level"), QStringLiteral("2"));
    const QCommandLineOption coverOption(QStringLiteral("cover-subject"), QString(),
                                         QStringLiteral("text"));
    const QCommandLineOption giveUpOption(QStringLiteral("give-up-after"), QString(),
                                          QStringLiteral("seconds"),
                                          QString::number(kDefaultGiveUpSeconds));
    parser.addOptions({toOption, typeOption, thresholdOption, coverOption, giveUpOption});
    if (const std::optional<int> exitCode = CommandSupport::parseArguments(
            parser, argc, argv, usage,
            [&](const QString &message) { return setupError(err, message, true); }, true))
        return *exitCode;

    const QStringList files = parser.positionalArguments();
    if (files.size() != 1)
        return setupError(err, QStringLiteral("name one PDF document to send"), true);

    // Every receiver is checked before anything is sent; the phone book is read only for
    // receivers that may be names.
    QStringList numbers;
    QVariantList receivers;
    const QString region = FXPhoneNumber::region();
    for (const QString &typed : parser.values(toOption)) {
        const QList<PhoneBookEntryPtr> phoneBook = FXReceiverCheck::mayBeName(typed)
                                                       ? PhoneBook::sharedInstance()->allEntries()
                                                       : QList<PhoneBookEntryPtr>();
        const FXReceiverCheck::Result receiver = FXReceiverCheck::check(typed, phoneBook, region);
        switch (receiver.kind) {
        case FXReceiverCheck::Result::Number:
            receivers << receiver.number;
            break;
        case FXReceiverCheck::Result::Entry:
            receivers << QVariantMap{{QStringLiteral("unifiedPhoneNumber"), receiver.number},
                                     {QStringLiteral("uniqueID"), receiver.entry->uniqueID()},
                                     {QStringLiteral("ABRecordID"), receiver.entry->ABRecordID()}};
            break;
        case FXReceiverCheck::Result::Ambiguous:
            return setupError(err, QStringLiteral("\"%1\" names more than one entry of the "
                                                  "phone book; give the number instead:\n  %2")
                                       .arg(typed, receiver.candidates.join(u"\n  ")));
        case FXReceiverCheck::Result::Refused:
            return setupError(err, receiver.problem);
        }
        numbers << receiver.number;
    }
    if (numbers.isEmpty())
        return setupError(err, QStringLiteral("no receivers; name each one with --to NUMBER"),
                          true);

    int useType = FXFaxPageGenerator::Text;
    const QString type = parser.value(typeOption);
    if (type == QLatin1String("mixed"))
        useType = FXFaxPageGenerator::Mixed;
    else if (type != QLatin1String("text"))
        return setupError(err, QStringLiteral("unknown type \"%1\"").arg(type), true);
    bool isNumber = false;
    const int threshold = parser.value(thresholdOption).toInt(&isNumber);
    if (!isNumber || threshold < 0 || threshold > 4) {
        return setupError(err, QStringLiteral("the threshold is a level from 0 to 4, not \"%1\"")
                                   .arg(parser.value(thresholdOption)));
    }
    const int giveUpSeconds = parser.value(giveUpOption).toInt(&isNumber);
    if (!isNumber || giveUpSeconds < 1 || giveUpSeconds > kMaxGiveUpSeconds) {
        return setupError(err, QStringLiteral("--give-up-after takes a number of seconds from 1 "
                                              "to %1, not \"%2\"")
                                   .arg(kMaxGiveUpSeconds)
                                   .arg(parser.value(giveUpOption)));
    }

    const QString path = files.first();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return setupError(err,
                          QStringLiteral("cannot read \"%1\": %2").arg(path, file.errorString()));
    QByteArray document = file.readAll();
    file.close();
    if (document.isEmpty())
        return setupError(err, QStringLiteral("\"%1\" is empty").arg(path));
    int documentPages = 0;
    {
        // The structure is looked at first: some page trees keep Qt Pdf busy for many minutes.
        QFile checked(path);
        const bool inspected =
            checked.open(QIODevice::ReadOnly) && FXPDFInspection::inspect(&checked).readable;
        QPdfDocument pdf;
        if (!inspected || pdf.load(path) != QPdfDocument::Error::None) {
            return setupError(err, QStringLiteral("\"%1\" is not a readable PDF document (it may "
                                                  "be damaged or password-protected)")
                                       .arg(path));
        }
        documentPages = pdf.pageCount();
    }
    if (documentPages <= 0)
        return setupError(err, QStringLiteral("\"%1\" has no pages").arg(path));

    QString problem;
    if (!CommandSupport::isAccountConfigured(&problem))
        return setupError(err, problem);

    // One send at a time, as it always was; each process has working files of its own now,
    // so this lock guards no file any more.
    const QString workFolder = FBApplicationHelper::applicationSupportFolder();
    QDir().mkpath(workFolder);
    QLockFile lock(workFolder + QStringLiteral("/.send.lock"));
    lock.setStaleLockTime(0);
    if (!lock.tryLock(0)) {
        err << "faxolino send: waiting for another faxolino send to finish...\n";
        err.flush();
        lock.lock();
    }

    const QString subject = parser.value(coverOption);
    const bool useCoverSheet = parser.isSet(coverOption);
    if (useCoverSheet) {
        QString coverProblem;
        document = FXCoverPage::prependedTo(document, subject, documentPages, &coverProblem);
        if (document.isEmpty()) {
            err << "faxolino send: " << coverProblem << '\n';
            return 1;
        }
    }

    FXFaxConnection job;
    job.setDocumentType(useType);
    job.setDocumentTypeThreshold(threshold);
    job.setUseCoverSheet(useCoverSheet);
    job.setCoverSubject(subject);
    job.setGiveUpAfterMs(giveUpSeconds * 1000);
    SendProgress progress(&job, numbers, CommandSupport::isTerminal(stdout), giveUpSeconds);
    job.setDelegate(&progress);

    out << "Sending " << QFileInfo(path).fileName() << " ("
        << documentPages + (useCoverSheet ? 1 : 0)
        << (documentPages + (useCoverSheet ? 1 : 0) == 1 ? " page" : " pages") << ") to "
        << numbers.size() << (numbers.size() == 1 ? " receiver\n" : " receivers\n");
    out.flush();
    progress.begin();
    job.startSendingFaxForPDFData(document, receivers);
    return QCoreApplication::exec();
}
