#pragma once

#include <QLoggingCategory>

// One category per subsystem. Fixed English diagnostics go through these, so that they
// reach journald (or standard error) and can be filtered with QT_LOGGING_RULES.
Q_DECLARE_LOGGING_CATEGORY(lcService)
Q_DECLARE_LOGGING_CATEGORY(lcJournal)
Q_DECLARE_LOGGING_CATEGORY(lcDocument)
Q_DECLARE_LOGGING_CATEGORY(lcRecipients)
Q_DECLARE_LOGGING_CATEGORY(lcApp)

class FXLogging
{
public:
    // Sends every Qt log message to journald when the system journal is reachable, and to
    // standard error otherwise (Debian's Qt is built without journald support). Called once
    // by the program at start; tests keep Qt's own handler.
    static void installMessageHandler();
};
