#include "service/FBLocalization.h"

#include <QCoreApplication>
#include <QTextStream>

namespace {

const char usage[] = "Usage: faxolino [--help] [--version]\n"
                     "\n"
                     "Sends PDF documents as faxes through a voxaria account.\n"
                     "\n"
                     "Options:\n"
                     "  --help      Show this help and exit.\n"
                     "  --version   Show the version and exit.\n";

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("voxaria"));
    QCoreApplication::setApplicationName(QStringLiteral("Faxolino"));
    QCoreApplication::setApplicationVersion(QStringLiteral(FAXOLINO_VERSION));

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
