#include "foundation/FXLogging.h"

#include <QFileInfo>

#include <syslog.h>
#include <systemd/sd-journal.h>

Q_LOGGING_CATEGORY(lcService, "faxolino.service")
Q_LOGGING_CATEGORY(lcJournal, "faxolino.journal")
Q_LOGGING_CATEGORY(lcDocument, "faxolino.document")
Q_LOGGING_CATEGORY(lcRecipients, "faxolino.recipients")
Q_LOGGING_CATEGORY(lcApp, "faxolino.app")

namespace {

QtMessageHandler fallbackHandler = nullptr;

int priorityFor(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return LOG_DEBUG;
    case QtInfoMsg:
        return LOG_INFO;
    case QtWarningMsg:
        return LOG_WARNING;
    case QtCriticalMsg:
        return LOG_CRIT;
    case QtFatalMsg:
        return LOG_ALERT;
    }
    return LOG_NOTICE;
}

void journalHandler(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    const QByteArray text = message.toUtf8();
    const int sent = sd_journal_send(
        "MESSAGE=%s", text.constData(), "PRIORITY=%d", priorityFor(type), "QT_CATEGORY=%s",
        context.category ? context.category : "default", "SYSLOG_IDENTIFIER=faxolino", nullptr);
    if (sent < 0 && fallbackHandler)
        fallbackHandler(type, context, message);
}

} // namespace

void FXLogging::installMessageHandler()
{
    if (!QFileInfo::exists(QStringLiteral("/run/systemd/journal/socket")))
        return;
    fallbackHandler = qInstallMessageHandler(journalHandler);
}
