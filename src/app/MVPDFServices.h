#pragma once

#include <QString>
#include <QUrl>

inline constexpr char kPDFServiceQueueName[] = "voxaria_Faxolino";
inline constexpr char kPDFServiceName[] = "voxaria Faxolino";
inline constexpr char kPDFServiceDeviceURI[] = "faxolino:/";

// The "voxaria Faxolino" entry of every print dialog: a CUPS queue fed by the faxolino
// backend. Every check asks the printing system (CUPS_SERVER, client.conf or the local
// scheduler); nothing is cached.
class MVPDFServices
{
public:
    // The home folder of the password database record of the real user id, deliberately not
    // $HOME. A user without a record is a broken system: fatal.
    static QString realHomeDirectory();

    // True when the queue exists.
    static bool isPDFServiceInstalled();

    // Adds the queue, or replaces the settings of an existing one, keeping its pending jobs.
    // The folder of the original print-dialog entry has no meaning for a print queue and is
    // ignored. On failure, error receives a text for the user; when the user may not
    // administer printers it tells what an administrator can run instead.
    static bool installPDFService(const QString &folder, QString *error = nullptr);

    // Removes the queue. False when there was none (nothing is touched) or it could not be
    // removed.
    static bool uninstallPDFService(QString *error = nullptr);

    // The command an administrator runs to add the queue by hand.
    static QString manualInstallCommand();
    // The command an administrator runs to remove it.
    static QString manualRemoveCommand();

    // The local page that explains how to add the printer with administrator rights.
    static QUrl faxonPluginURL();
    // Opens that page in the user's browser.
    static bool openFaxonPluginURL();
};
