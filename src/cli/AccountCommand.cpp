#include "cli/AccountCommand.h"

#include "cli/CommandSupport.h"
#include "foundation/FBAccountCredentials.h"
#include "foundation/FBLocalization.h"
#include "foundation/FBUserDefaults.h"
#include "provider/VXRestConnection.h"
#include "sending/FXAccountCheck.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QTextStream>
#include <QTimer>

#include <algorithm>

namespace {

const char usage[] =
    "Usage: faxolino account [--user NAME] [--line E164] [--report-folder DIR]\n"
    "\n"
    "With --user, reads the account's password from standard input and stores it in\n"
    "the credential store. Then checks the account with the provider and shows its\n"
    "balance and fax lines.\n"
    "\n"
    "Options:\n"
    "  --user NAME          the voxaria user name\n"
    "  --line E164          send from this fax line (for example +4921155500199)\n"
    "  --report-folder DIR  store the transmission reports in this folder\n"
    "\n"
    "Exit codes: 0 the account works, 1 the provider refused the credentials or did\n"
    "not answer, 2 a usage or setup error, or an account without a fax line.\n";

int setupError(QTextStream &err, const QString &message, bool showUsage = false)
{
    err << "faxolino account: " << message << '\n';
    if (showUsage)
        err << '\n' << usage;
    err.flush();
    return 2;
}

QString digitsOf(const QString &text)
{
    QString digits;
    for (const QChar c : text) {
        if (c.isDigit())
            digits += c;
    }
    return digits;
}

} // namespace

int AccountCommand::run(int argc, char *argv[])
{
    const std::unique_ptr<QCoreApplication> app =
        CommandSupport::makeApplication(argc, argv, false);
    QTextStream out(stdout);
    QTextStream err(stderr);

    QCommandLineParser parser;
    const QCommandLineOption userOption(QStringLiteral("user"), QString(), QStringLiteral("name"));
    const QCommandLineOption lineOption(QStringLiteral("line"), QString(), QStringLiteral("e164"));
    const QCommandLineOption folderOption(QStringLiteral("report-folder"), QString(),
                                          QStringLiteral("dir"));
    parser.addOptions({userOption, lineOption, folderOption});
    if (const std::optional<int> exitCode = CommandSupport::parseArguments(
            parser, argc, argv, usage,
            [&](const QString &message) { return setupError(err, message, true); }, false))
        return *exitCode;
    const QString line = digitsOf(parser.value(lineOption));
    if (parser.isSet(lineOption) && line.isEmpty()) {
        return setupError(err, QStringLiteral("\"%1\" is not a fax line: it has no digit")
                                   .arg(parser.value(lineOption)));
    }

    if (parser.isSet(userOption)) {
        const QString user = parser.value(userOption).trimmed();
        if (user.isEmpty())
            return setupError(err, QStringLiteral("the user name is empty"));
        const std::optional<QString> password =
            CommandSupport::readSecretLine(QStringLiteral("Password for %1: ").arg(user));
        if (!password || password->isEmpty())
            return setupError(err, QStringLiteral("no password on standard input"));
        FXError error;
        if (!FBAccountCredentials::storePassword(*password, &error)) {
            return setupError(err, QStringLiteral("the password could not be stored in the "
                                                  "credential store (%1)")
                                       .arg(FBAccountCredentials::describeError(error)));
        }
        // Another account has other lines: its line is chosen anew.
        if (FBUserDefaults::stringForKey(kUsernameKey) != user)
            FXAccountCheck::forgetLine();
        FBUserDefaults::setObject(user, kUsernameKey);
        FBUserDefaults::synchronize();
    } else {
        QString problem;
        if (!CommandSupport::isAccountConfigured(&problem))
            return setupError(err, problem);
    }

    if (parser.isSet(folderOption)) {
        const QString folder = QFileInfo(parser.value(folderOption)).absoluteFilePath();
        if (!QDir().mkpath(folder) || !QFileInfo(folder).isDir()) {
            return setupError(err,
                              QStringLiteral("cannot use \"%1\" as the report folder").arg(folder));
        }
        FBUserDefaults::setObject(folder, kFaxReportSavePathKey);
        FBUserDefaults::setObject(folder.toUtf8(), kFaxReportSavePathDataKey);
        FBUserDefaults::synchronize();
    }

    FXAccountCheck check;
    QObject::connect(&check, &FXAccountCheck::finished, [] { QCoreApplication::exit(0); });
    QTimer deadline;
    deadline.setSingleShot(true);
    bool timedOut = false;
    QObject::connect(&deadline, &QTimer::timeout, [&timedOut] {
        timedOut = true;
        QCoreApplication::exit(0);
    });
    // The client gives each request its own deadline; this one only keeps a request that never
    // reached the provider from holding the command forever.
    deadline.start(VXRestConnection::requestTimeoutMs() + 5000);
    if (CommandSupport::isTerminal(stderr)) {
        err << "Checking the account with the provider...\n";
        err.flush();
    }
    check.start();
    QCoreApplication::exec();

    if (timedOut) {
        err << "faxolino account: no answer from the provider at "
            << VXRestConnection::apiURL().toString() << '\n';
        return 1;
    }
    if (!check.transportError().isEmpty() && check.errorCode() == 0) {
        err << "faxolino account: no usable answer from the provider at "
            << VXRestConnection::apiURL().toString() << ": " << check.transportError() << '\n';
        return 1;
    }
    if (check.errorCode() == -1) {
        err << "faxolino account: " << FXText("error")
            << ": the provider's answer could not be read\n";
        return 1;
    }
    if (check.errorCode() == 401) {
        err << "faxolino account: " << FXText("error_auth") << '\n';
        return 1;
    }
    if (check.errorCode() != 0) {
        err << "faxolino account: " << FXText("error") << ": the provider answered with code "
            << check.errorCode() << '\n';
        return 1;
    }

    out << "Account: " << FBUserDefaults::stringForKey(kUsernameKey) << '\n';
    out << FXAccountCheck::balanceText(check.balance()) << '\n';

    const XmlRpcList faxLines = FXAccountCheck::faxLines(check.ownUriList());
    if (faxLines.isEmpty()) {
        err << "faxolino account: " << FXText("error_no_faxuri") << '\n';
        return 2;
    }

    if (parser.isSet(lineOption)) {
        const auto chosen =
            std::find_if(faxLines.cbegin(), faxLines.cend(), [&line](const XmlRpcValue &record) {
                return digitsOf(record["E164Out"].toString()) == line;
            });
        if (chosen == faxLines.cend()) {
            QStringList known;
            for (const XmlRpcValue &record : std::as_const(faxLines))
                known << QStringLiteral("+") + record["E164Out"].toString();
            err << "faxolino account: the account has no fax line +" << line
                << "; its fax lines are " << known.join(QStringLiteral(", ")) << '\n';
            return 2;
        }
        FXAccountCheck::chooseLine(*chosen);
    } else {
        // A line the account no longer has would be refused as the sender.
        const QString stored = FBUserDefaults::stringForKey(kLocalUriKey);
        const bool known =
            std::any_of(faxLines.cbegin(), faxLines.cend(), [&stored](const XmlRpcValue &record) {
                return record["E164Out"].toString() == stored;
            });
        if (!stored.isEmpty() && !known)
            FXAccountCheck::forgetLine();
    }

    const QString selected = FBUserDefaults::stringForKey(kLocalUriKey);
    out << "Fax lines:\n";
    for (const XmlRpcValue &record : std::as_const(faxLines)) {
        const QString number = record["E164Out"].toString();
        out << (number == selected ? "  * +" : "    +") << number;
        if (number == selected)
            out << "  (sending line)";
        out << '\n';
    }
    if (selected.isEmpty())
        out << "No sending line chosen: the provider's default line sends. Choose one with "
               "--line.\n";
    const QString folder = FBUserDefaults::stringForKey(kFaxReportSavePathKey);
    if (!folder.isEmpty())
        out << "Report folder: " << QDir::toNativeSeparators(folder) << '\n';
    return 0;
}
