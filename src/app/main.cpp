#include "app/FBApplicationInstance.h"
#include "app/FBDesktopApplication.h"
#include "cli/AccountCommand.h"
#include "cli/JournalCommand.h"
#include "cli/PollCommand.h"
#include "cli/PrepareCommand.h"
#include "cli/SendCommand.h"
#include "foundation/FBLocalization.h"
#include "foundation/FXLogging.h"

#include <QCoreApplication>
#include <QTextStream>

#include <cstring>

namespace {

const char usage[] = "Usage: faxolino [--help] [--version]\n"
                     "       faxolino COMMAND [ARGUMENTS]\n"
                     "       faxolino FILE.pdf [--number NUMBER]\n"
                     "       faxolino --dial NUMBER\n"
                     "\n"
                     "Sends PDF documents as faxes through a voxaria account.\n"
                     "\n"
                     "Commands:\n"
                     "  send --to NUMBER [--to NUMBER]... FILE.pdf\n"
                     "              Send the document as a fax to every receiver.\n"
                     "  account [--user NAME] [--line E164] [--report-folder DIR]\n"
                     "              Set up or check the voxaria account (password on stdin).\n"
                     "  journal [--search TEXT]\n"
                     "              List the sent faxes, newest first.\n"
                     "  poll        Ask the provider once about open transmissions.\n"
                     "  prepare IN.pdf OUT.pdf [--type text|mixed] [--threshold 0-4]\n"
                     "              Write the fax pages that would be sent; print their count.\n"
                     "\n"
                     "Run `faxolino COMMAND --help` for a command's options.\n"
                     "\n"
                     "Options:\n"
                     "  --help      Show this help and exit.\n"
                     "  --version   Show the version and exit.\n";

// Subcommands for servers and scripts. Each runs with its own QCoreApplication and returns
// the process exit code: 0 success, 1 a failed operation, 2 a usage or setup error.
struct Command
{
    const char *name;
    int (*run)(int argc, char *argv[]);
};

const Command commands[] = {
    {"send", &SendCommand::run},       {"account", &AccountCommand::run},
    {"journal", &JournalCommand::run}, {"poll", &PollCommand::run},
    {"prepare", &PrepareCommand::run}, {nullptr, nullptr},
};

void setApplicationIdentity()
{
    QCoreApplication::setOrganizationName(QStringLiteral("voxaria"));
    QCoreApplication::setApplicationName(QStringLiteral("Faxolino"));
    QCoreApplication::setApplicationVersion(QStringLiteral(FAXOLINO_VERSION));
}

} // namespace

int main(int argc, char *argv[])
{
    FXLogging::installMessageHandler();
    if (argc > 1) {
        for (const Command &command : commands) {
            if (command.name && std::strcmp(argv[1], command.name) == 0) {
                setApplicationIdentity();
                return command.run(argc - 1, argv + 1);
            }
        }
    }

    // The desktop application, with or without a document, where there is a display.
    if ((argc == 1 || FBApplicationInstance::isInstanceRequest(argc, argv))
        && FBDesktopApplication::hasDisplay()) {
        setApplicationIdentity();
        return FBDesktopApplication::run(argc, argv);
    }

    // Documents and numbers for the one running instance of this user.
    if (FBApplicationInstance::isInstanceRequest(argc, argv)) {
        setApplicationIdentity();
        return FBApplicationInstance::run(argc, argv);
    }

    QCoreApplication app(argc, argv);
    setApplicationIdentity();
    QTextStream out(stdout);
    QTextStream err(stderr);
    const QStringList args = app.arguments().mid(1);
    if (args.contains(QLatin1String("--version"))) {
        out << "faxolino " << QCoreApplication::applicationVersion() << Qt::endl;
        return 0;
    }
    if (args.contains(QLatin1String("--help")) || args.contains(QLatin1String("-h"))) {
        out << usage;
        return 0;
    }
    if (!args.isEmpty()) {
        err << "faxolino: unknown argument \"" << args.first() << "\"\n\n" << usage;
        return 2;
    }
    out << usage;
    return 0;
}
