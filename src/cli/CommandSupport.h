#pragma once

#include <QString>
#include <QStringList>

#include <cstdio>
#include <functional>
#include <memory>
#include <optional>

class QCoreApplication;
class QCommandLineParser;

// What the subcommands for servers and scripts share: their application object, the account
// check, terminals and the password prompt.
class CommandSupport
{
public:
    // The application object a command runs in. Commands that lay out or render pages need
    // fonts and so a QGuiApplication; they never show a window, so without an explicit
    // QT_QPA_PLATFORM they use the offscreen platform, which works without a display. The
    // core string catalog and the start-up defaults of the settings are installed as well.
    // Nothing is made when an application object exists.
    static std::unique_ptr<QCoreApplication> makeApplication(int &argc, char *argv[], bool gui);

    // argv as the parser wants it.
    static QStringList arguments(int argc, char *argv[]);

    // Parses a command's arguments (long options with one or two dashes), adding -h/--help.
    // Returns the code the command ends with: 0 after printing `usage` for --help, or what
    // `usageError` returns for options that do not parse and, unless the command takes some,
    // for arguments that are not options. Nothing when the command goes on.
    static std::optional<int> parseArguments(QCommandLineParser &parser, int argc, char *argv[],
                                             const char *usage,
                                             const std::function<int(const QString &)> &usageError,
                                             bool takesArguments);

    // The stored account: the "username" setting and a password in the credential store.
    // False, with a message for the user, when either is missing or the store cannot be read.
    static bool isAccountConfigured(QString *problem);

    // The stored password, or nothing (with the store's problem in `problem` when it failed).
    static std::optional<QString> storedPassword(QString *problem);

    static bool isTerminal(std::FILE *stream);

    // One line from standard input without its line end; on a terminal the prompt goes to
    // standard error and the typed text is not echoed. Nothing when input ended before a line.
    static std::optional<QString> readSecretLine(const QString &prompt);
};
