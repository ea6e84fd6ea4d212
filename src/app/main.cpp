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

// The help is also the source of the manual page (packaging/make-manpage.py): the usage
// shown with errors, and the details that --help adds to it. Sections are headed by a line
// ending in ':', their entries indented by two spaces.
const char usage[] = "Usage: faxolino [--help] [--version]\n"
                     "       faxolino COMMAND [ARGUMENTS]\n"
                     "       faxolino FILE.pdf [--number NUMBER]\n"
                     "       faxolino --dial NUMBER\n"
                     "       faxolino --new-fax | --reports\n"
                     "\n"
                     "Sends PDF documents as faxes through a voxaria account.\n"
                     "\n"
                     "Without arguments, faxolino opens its window where there is a display, and\n"
                     "prints its usage where there is none. A document or a number goes to the\n"
                     "Faxolino that runs for the user, which starts when none runs; documents\n"
                     "printed to the \"voxaria Faxolino\" printer reach it the same way. The\n"
                     "commands work without windows, with the same account, journal and reports.\n"
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
                     "  --version   Show the version and exit.\n"
                     "  FILE.pdf [--number NUMBER]\n"
                     "              Open the document as a new fax, to NUMBER when given.\n"
                     "  --dial NUMBER\n"
                     "              Start a new fax to NUMBER.\n"
                     "  --new-fax   Open an empty fax window.\n"
                     "  --reports   Show the transmission reports.\n";

const char details[] =
    "\n"
    "Exit status:\n"
    "  0           Success.\n"
    "  1           An operation failed: a fax was not sent, the provider did not\n"
    "              answer, a file could not be read or written.\n"
    "  2           A usage or setup error: unknown options, no account, a document\n"
    "              that is no readable PDF. Each command's help says more.\n"
    "\n"
    "Environment:\n"
    "  FAXOLINO_API_URL\n"
    "              The provider's XML-RPC endpoint, replacing voxaria's (https, or\n"
    "              http to a loopback host only).\n"
    "  FAXOLINO_TOKEN_URL\n"
    "              The provider's token endpoint, likewise.\n"
    "  FAXOLINO_CA_FILE\n"
    "              A PEM file of further certificate authorities to trust.\n"
    "  FAXOLINO_RENDER_HELPER\n"
    "              The page render helper to run; set empty, every page is rendered\n"
    "              in the one process. By default faxolino-render beside faxolino,\n"
    "              else " FAXOLINO_LIBEXEC_DIR "/faxolino-render.\n"
    "  FAXOLINO_SPOOL_ROOT\n"
    "              The root of the per-user folders of printed documents (default\n"
    "              " FAXOLINO_SPOOL_ROOT "); the printer's backend reads it from the\n"
    "              environment of cupsd.\n"
    "  CUPS_SERVER\n"
    "              The print server on which the printer is looked for and added.\n"
    "  QT_LOGGING_RULES\n"
    "              Diagnostics to show, for example \"faxolino.*=true\".\n"
    "  XDG_CONFIG_HOME, XDG_DATA_HOME, XDG_CACHE_HOME\n"
    "              The folders of the settings, the data and the scratch files.\n"
    "  DISPLAY, WAYLAND_DISPLAY, QT_QPA_PLATFORM\n"
    "              Where none is set, faxolino opens no window.\n"
    "\n"
    "Files:\n"
    "  ~/.config/voxaria/Faxolino.conf\n"
    "              The settings. The password is kept by the Secret Service\n"
    "              (service \"voxaria Fax\"), never in a file.\n"
    "  ~/.local/share/Faxolino/Faxon.sqlite\n"
    "              The journal of every fax and transmission.\n"
    "  ~/.local/share/Faxolino/Documents/\n"
    "              The transmission reports, unless a report folder was chosen; the\n"
    "              pages each fax sent are kept in the data folder beside them.\n"
    "  ~/.local/share/Faxolino/Working/PID/\n"
    "              The working files of a running faxolino.\n"
    "  ~/.local/share/Faxolino/Received/\n"
    "              Documents that arrived while no window was open.\n"
    "  ~/.cache/Faxolino/\n"
    "              Scratch files of requests to the provider.\n"
    "  " FAXOLINO_SPOOL_ROOT "/UID/\n"
    "              Printed documents waiting for their user's Faxolino.\n"
    "  " FAXOLINO_PPD_PATH "\n"
    "              The printer description of the \"voxaria Faxolino\" printer.\n"
    "  " FAXOLINO_BACKEND_PATH "\n"
    "              The printer's backend.\n"
    "\n"
    "See also:\n"
    "  lp(1), lpstat(1), lpadmin(8), cupsd(8)\n";

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
        out << usage << details;
        return 0;
    }
    if (!args.isEmpty()) {
        err << "faxolino: unknown argument \"" << args.first() << "\"\n\n" << usage;
        return 2;
    }
    out << usage;
    return 0;
}
