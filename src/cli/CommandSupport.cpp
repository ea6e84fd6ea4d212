#include "cli/CommandSupport.h"

#include "foundation/FBAccountCredentials.h"
#include "foundation/FBLocalization.h"
#include "foundation/FBUserDefaults.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QTextStream>

#include <csignal>

#include <termios.h>
#include <unistd.h>

namespace {

// More than any password; a longer line is cut off here rather than read without end.
constexpr qsizetype kMaxSecretBytes = 4096;

// The terminal as it was before echo went off, for a signal that ends the prompt.
termios savedTerminal{};

void restoreTerminalAndDie(int signal)
{
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &savedTerminal);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

} // namespace

std::unique_ptr<QCoreApplication> CommandSupport::makeApplication(int &argc, char *argv[], bool gui)
{
    // A command's output is for the user; the service's diagnostics stay available through
    // QT_LOGGING_RULES, and warnings still show.
    if (qEnvironmentVariableIsEmpty("QT_LOGGING_RULES"))
        QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false"));
    std::unique_ptr<QCoreApplication> app;
    if (!QCoreApplication::instance()) {
        if (gui) {
            if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
                qputenv("QT_QPA_PLATFORM", "offscreen");
            app = std::make_unique<QGuiApplication>(argc, argv);
        } else {
            app = std::make_unique<QCoreApplication>(argc, argv);
        }
    }
    FBLocalization::installCoreCatalog();
    // The desktop application's start-up defaults, so that both store the same reports.
    FBUserDefaults::registerLaunchDefaults();
    return app;
}

QStringList CommandSupport::arguments(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    return arguments;
}

std::optional<QString> CommandSupport::storedPassword(QString *problem)
{
    FXError error;
    const std::optional<QString> password = FBAccountCredentials::password(&error);
    if (error && problem) {
        *problem = QStringLiteral("the credential store could not be read (%1)")
                       .arg(FBAccountCredentials::describeError(error));
    }
    return password;
}

bool CommandSupport::isAccountConfigured(QString *problem)
{
    const QString hint = QStringLiteral("set one up with: faxolino account --user NAME");
    if (FBUserDefaults::stringForKey(kUsernameKey).isEmpty()) {
        *problem = QStringLiteral("no account configured; ") + hint;
        return false;
    }
    QString storeProblem;
    const std::optional<QString> password = storedPassword(&storeProblem);
    if (!storeProblem.isEmpty()) {
        *problem = storeProblem;
        return false;
    }
    if (!password || password->isEmpty()) {
        *problem = QStringLiteral("no password stored for the account; ") + hint;
        return false;
    }
    return true;
}

bool CommandSupport::isTerminal(std::FILE *stream)
{
    return isatty(fileno(stream)) == 1;
}

std::optional<QString> CommandSupport::readSecretLine(const QString &prompt)
{
    const bool terminal = isTerminal(stdin);
    bool echoOff = false;
    const int signals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
    if (terminal) {
        std::fputs(prompt.toLocal8Bit().constData(), stderr);
        std::fflush(stderr);
        if (tcgetattr(STDIN_FILENO, &savedTerminal) == 0) {
            // Ctrl-C at the prompt must not leave the terminal without echo.
            for (const int signal : signals)
                std::signal(signal, restoreTerminalAndDie);
            termios quiet = savedTerminal;
            quiet.c_lflag &= ~tcflag_t(ECHO);
            quiet.c_lflag |= ECHONL;
            echoOff = tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet) == 0;
        }
    }

    QByteArray line;
    bool ended = false;
    int c;
    while ((c = std::fgetc(stdin)) != EOF) {
        if (c == '\n') {
            ended = true;
            break;
        }
        if (line.size() < kMaxSecretBytes)
            line.append(char(c));
    }
    if (echoOff)
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &savedTerminal);
    if (terminal) {
        for (const int signal : signals)
            std::signal(signal, SIG_DFL);
    }
    if (line.endsWith('\r'))
        line.chop(1);
    if (!ended && line.isEmpty())
        return std::nullopt;
    const QString secret = QString::fromUtf8(line);
    line.fill('\0');
    return secret;
}

std::optional<int> CommandSupport::parseArguments(
    QCommandLineParser &parser, int argc, char *argv[], const char *usage,
    const std::function<int(const QString &)> &usageError, bool takesArguments)
{
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    const QCommandLineOption helpOption({QStringLiteral("h"), QStringLiteral("help")},
                                        QStringLiteral("Show this help."));
    parser.addOption(helpOption);
    if (!parser.parse(arguments(argc, argv)))
        return usageError(parser.errorText());
    if (parser.isSet(helpOption)) {
        QTextStream(stdout) << usage;
        return 0;
    }
    if (!takesArguments && !parser.positionalArguments().isEmpty()) {
        return usageError(
            QStringLiteral("unexpected argument \"%1\"").arg(parser.positionalArguments().first()));
    }
    return std::nullopt;
}
