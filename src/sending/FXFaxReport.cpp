#include "sending/FXFaxReport.h"

#include "foundation/FBBundle.h"
#include "foundation/FBLocalization.h"
#include "foundation/FXLogging.h"
#include "journal/Connection.h"
#include "recipients/FXPhoneNumber.h"

#include <QFile>

namespace {

QString readTemplate(const char *name)
{
    const QString path =
        FBBundle::pathForResource(QLatin1String(kCoreBundleName), QLatin1String(name));
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly)) {
        qCWarning(lcJournal, "Report template %s is missing", name);
        return QString();
    }
    return QString::fromUtf8(file.readAll());
}

// Placeholders are HTML comments; every occurrence is replaced, whatever its case. The value
// is plain text, so it is escaped for HTML.
void fill(QString &html, const char *placeholder, const QString &value)
{
    html.replace(QLatin1String(placeholder), value.toHtmlEscaped(), Qt::CaseInsensitive);
}

QString stateTextForReason(const QString &reason)
{
    if (reason == QLatin1String("0"))
        return FXText("successfully");
    if (reason == QLatin1String("401"))
        return FXText("error_auth");
    // An open attempt has no reason; it shows the way a missing value prints.
    return QStringLiteral("%1 Code: %2")
        .arg(FXText("error"), reason.isNull() ? QStringLiteral("(null)") : reason);
}

} // namespace

QString FXFaxReport::durationText(const QDateTime &begin, const QDateTime &finish)
{
    const qint64 seconds = begin.secsTo(finish);
    return QString::asprintf("%lld:%02lld", seconds / 60, seconds % 60);
}

QString FXFaxReport::internationalFormat(const QString &number)
{
    const QString formatted =
        FXPhoneNumber::formattedNumber(number, QString(), FXPhoneNumber::Format::International);
    return formatted.isEmpty() ? number : formatted;
}

QString FXFaxReport::reportHTMLForFax(const Fax &fax)
{
    QString page = readTemplate("report.html");
    const QString sectionTemplate = readTemplate("reporttemplate.html");
    const QString dayFormat = QStringLiteral("dd.MM.yyyy");
    const QString timeFormat = QStringLiteral("HH:mm:ss");

    QString sections;
    const QList<Connection> connections = fax.connections();
    qsizetype successful = 0;
    for (const Connection &connection : connections) {
        QString section = sectionTemplate;
        const QDateTime begin = connection.beginDate();
        const QDateTime finish = connection.finishDate();
        fill(section, "<!-- **faxsendsstate** -->", stateTextForReason(connection.reason()));
        fill(section, "<!-- **faxsendpage** -->", connection.pageRange());
        fill(section, "<!-- **faxsendbegin** -->", begin.toString(timeFormat));
        fill(section, "<!-- **faxsendend** -->",
             finish.isValid() ? finish.toString(timeFormat) : QString());
        fill(section, "<!-- **faxsendduration** -->",
             finish.isValid() ? durationText(begin, finish) : QString());
        if (connection.reason() == QLatin1String("0"))
            ++successful;
        sections += section;
    }

    const QString line = fax.line();
    fill(page, "<!-- **pagezoom** -->", QString::asprintf("%0.1f", 1.0));
    fill(page, "<!-- **faxstate** -->",
         successful == connections.size() ? FXText("successfully") : FXText("failed"));
    fill(page, "<!-- **faxnumber** -->", internationalFormat(fax.number()));
    fill(page, "<!-- **faxline** -->",
         line.isEmpty() ? QString() : internationalFormat(QLatin1Char('+') + line));
    fill(page, "<!-- **faxpages** -->", QString::number(fax.pages()));
    fill(page, "<!-- **faxdate** -->", fax.date().toString(dayFormat));
    fill(page, "<!-- **faxtime** -->", fax.date().toString(timeFormat));
    // The sections are HTML already.
    page.replace(QLatin1String("<!-- **faxreport** -->"), sections, Qt::CaseInsensitive);
    return page;
}

void FXFaxReport::generateFaxReportForFax(const Fax &fax, FXFaxReportDelegate *delegate)
{
    const QString html = reportHTMLForFax(fax);
    if (delegate)
        delegate->renderPDFReport(html, fax);
}
