#include "FXLogging.h"

Q_LOGGING_CATEGORY(lcService, "faxolino.service")
Q_LOGGING_CATEGORY(lcJournal, "faxolino.journal")
Q_LOGGING_CATEGORY(lcDocument, "faxolino.document")
Q_LOGGING_CATEGORY(lcRecipients, "faxolino.recipients")
Q_LOGGING_CATEGORY(lcApp, "faxolino.app")
