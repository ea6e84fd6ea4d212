#include "app/MVPDFServices.h"

#include "backend/FaxolinoSpool.h"
#include "foundation/FBLocalization.h"
#include "foundation/FXLogging.h"

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStandardPaths>
#include <QTemporaryFile>

#include <cups/cups.h>

#include <pwd.h>
#include <unistd.h>

#ifndef FAXOLINO_PPD_PATH
#define FAXOLINO_PPD_PATH "/usr/share/ppd/faxolino/faxolino.ppd"
#endif
#ifndef FAXOLINO_HELP_PAGE_PATH
#define FAXOLINO_HELP_PAGE_PATH "/usr/share/faxolino/printer-setup.html"
#endif
#ifndef FAXOLINO_BACKEND_PATH
#define FAXOLINO_BACKEND_PATH "/usr/lib/cups/backend/faxolino"
#endif

namespace {

constexpr int connectTimeoutMs = 30000;

// A desktop program must never wait for a password on a terminal nobody watches: a request
// that needs one simply fails and the user is told what to do instead.
const char *noPassword(const char *, http_t *, const char *, const char *, void *)
{
    return nullptr;
}

// One request on a connection of its own, so that no state of an earlier server lingers.
class CupsRequest
{
public:
    explicit CupsRequest(ipp_op_t operation)
        : m_request(ippNewRequest(operation))
    {
        char uri[HTTP_MAX_URI];
        httpAssembleURIf(HTTP_URI_CODING_ALL, uri, sizeof uri, "ipp", nullptr, "localhost",
                         ippPort(), "/printers/%s", kPDFServiceQueueName);
        ippAddString(m_request, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, uri);
        ippAddString(m_request, IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr,
                     cupsUser());
    }
    ~CupsRequest()
    {
        ippDelete(m_request);
        ippDelete(m_response);
    }
    CupsRequest(const CupsRequest &) = delete;
    CupsRequest &operator=(const CupsRequest &) = delete;

    ipp_t *attributes() { return m_request; }

    // Sends the request (and file, if any); the request is consumed.
    ipp_status_t send(const char *resource, const char *file = nullptr)
    {
        cupsSetPasswordCB2(noPassword, nullptr);
        http_t *http = httpConnect2(cupsServer(), ippPort(), nullptr, AF_UNSPEC, cupsEncryption(),
                                    1, connectTimeoutMs, nullptr);
        if (!http) {
            ippDelete(m_request);
            m_request = nullptr;
            m_status = IPP_STATUS_ERROR_SERVICE_UNAVAILABLE;
            m_statusText = QString::fromUtf8(cupsLastErrorString());
            return m_status;
        }
        m_response = file ? cupsDoFileRequest(http, m_request, resource, file)
                          : cupsDoRequest(http, m_request, resource);
        m_request = nullptr;
        m_status = m_response ? ippGetStatusCode(m_response) : cupsLastError();
        m_statusText = QString::fromUtf8(cupsLastErrorString());
        httpClose(http);
        return m_status;
    }

    bool succeeded() const { return m_status <= IPP_STATUS_OK_EVENTS_COMPLETE; }

    QString errorText(const QString &adminCommand) const
    {
        switch (m_status) {
        case IPP_STATUS_ERROR_FORBIDDEN:
        case IPP_STATUS_ERROR_NOT_AUTHENTICATED:
        case IPP_STATUS_ERROR_NOT_AUTHORIZED:
        case IPP_STATUS_ERROR_CUPS_AUTHENTICATION_CANCELED:
            return FXText("pdfservice_admin_required").arg(adminCommand);
        default:
            return FXText("pdfservice_failed").arg(m_statusText);
        }
    }

private:
    ipp_t *m_request;
    ipp_t *m_response = nullptr;
    ipp_status_t m_status = IPP_STATUS_ERROR_INTERNAL;
    QString m_statusText;
};

QString substitutePaths(QString text)
{
    return text.replace(QLatin1String("@FAXOLINO_PPD_PATH@"), QLatin1String(FAXOLINO_PPD_PATH))
        .replace(QLatin1String("@FAXOLINO_BACKEND_PATH@"), QLatin1String(FAXOLINO_BACKEND_PATH))
        .replace(QLatin1String("@FAXOLINO_SPOOL_ROOT@"), QLatin1String(kFaxolinoDefaultSpoolRoot));
}

} // namespace

QString MVPDFServices::realHomeDirectory()
{
    const struct passwd *pw = ::getpwuid(::getuid());
    if (!pw)
        qFatal("RealHomeDirectory: pw");
    return QString::fromUtf8(pw->pw_dir);
}

bool MVPDFServices::isPDFServiceInstalled()
{
    CupsRequest request(IPP_OP_GET_PRINTER_ATTRIBUTES);
    ippAddString(request.attributes(), IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes",
                 nullptr, "printer-name");
    request.send("/");
    return request.succeeded();
}

bool MVPDFServices::installPDFService(const QString &folder, QString *error)
{
    Q_UNUSED(folder)
    // CUPS reads the printer description from a file that travels with the request.
    QFile description(QStringLiteral(":/app/faxolino.ppd"));
    QTemporaryFile copy;
    if (!description.open(QIODevice::ReadOnly) || !copy.open()
        || copy.write(description.readAll()) != description.size() || !copy.flush()) {
        qCWarning(lcApp, "The printer description cannot be prepared");
        if (error)
            *error = FXText("pdfservice_failed").arg(copy.errorString());
        return false;
    }

    CupsRequest request(IPP_OP_CUPS_ADD_MODIFY_PRINTER);
    ipp_t *attributes = request.attributes();
    ippAddString(attributes, IPP_TAG_PRINTER, IPP_TAG_URI, "device-uri", nullptr,
                 kPDFServiceDeviceURI);
    ippAddString(attributes, IPP_TAG_PRINTER, IPP_TAG_TEXT, "printer-info", nullptr,
                 kPDFServiceName);
    ippAddString(attributes, IPP_TAG_PRINTER, IPP_TAG_TEXT, "printer-location", nullptr, "");
    ippAddBoolean(attributes, IPP_TAG_PRINTER, "printer-is-shared", 0);
    ippAddBoolean(attributes, IPP_TAG_PRINTER, "printer-is-accepting-jobs", 1);
    ippAddInteger(attributes, IPP_TAG_PRINTER, IPP_TAG_ENUM, "printer-state", IPP_PSTATE_IDLE);
    request.send("/admin/", QFile::encodeName(copy.fileName()).constData());
    if (request.succeeded())
        return true;
    const QString text = request.errorText(manualInstallCommand());
    qCWarning(lcApp, "The print queue %s could not be added: %s", kPDFServiceQueueName,
              qUtf8Printable(text));
    if (error)
        *error = text;
    return false;
}

bool MVPDFServices::uninstallPDFService(QString *error)
{
    if (!isPDFServiceInstalled())
        return false;
    CupsRequest request(IPP_OP_CUPS_DELETE_PRINTER);
    request.send("/admin/");
    if (request.succeeded())
        return true;
    const QString text = request.errorText(
        QStringLiteral("sudo lpadmin -x %1").arg(QLatin1String(kPDFServiceQueueName)));
    qCWarning(lcApp, "The print queue %s could not be removed: %s", kPDFServiceQueueName,
              qUtf8Printable(text));
    if (error)
        *error = text;
    return false;
}

QString MVPDFServices::manualRemoveCommand()
{
    return QStringLiteral("sudo lpadmin -x %1").arg(QLatin1String(kPDFServiceQueueName));
}

QString MVPDFServices::manualInstallCommand()
{
    return QStringLiteral("sudo lpadmin -p %1 -E -v %2 -P %3 -D \"%4\" -o printer-is-shared=false")
        .arg(QLatin1String(kPDFServiceQueueName), QLatin1String(kPDFServiceDeviceURI),
             QLatin1String(FAXOLINO_PPD_PATH), QLatin1String(kPDFServiceName));
}

// The installed page when there is one; otherwise (a build that was never installed) a copy of
// the built-in page in the cache folder.
QUrl MVPDFServices::faxonPluginURL()
{
    if (QFile::exists(QStringLiteral(FAXOLINO_HELP_PAGE_PATH)))
        return QUrl::fromLocalFile(QStringLiteral(FAXOLINO_HELP_PAGE_PATH));

    QFile page(QStringLiteral(":/app/printer-setup.html"));
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    const QString target = folder + QStringLiteral("/printer-setup.html");
    QSaveFile copy(target);
    if (!page.open(QIODevice::ReadOnly) || !QDir().mkpath(folder)
        || !copy.open(QIODevice::WriteOnly)
        || copy.write(substitutePaths(QString::fromUtf8(page.readAll())).toUtf8()) < 0
        || !copy.commit()) {
        qCWarning(lcApp, "The printer help page cannot be written to %s", qUtf8Printable(target));
        return {};
    }
    return QUrl::fromLocalFile(target);
}

bool MVPDFServices::openFaxonPluginURL()
{
    const QUrl url = faxonPluginURL();
    return url.isValid() && QDesktopServices::openUrl(url);
}
