#pragma once

#include <QLoggingCategory>

// One category per subsystem. Fixed English diagnostics go through these, so that they
// reach journald (or standard error) and can be filtered with QT_LOGGING_RULES.
Q_DECLARE_LOGGING_CATEGORY(lcService)
Q_DECLARE_LOGGING_CATEGORY(lcJournal)
Q_DECLARE_LOGGING_CATEGORY(lcDocument)
Q_DECLARE_LOGGING_CATEGORY(lcRecipients)
Q_DECLARE_LOGGING_CATEGORY(lcApp)
