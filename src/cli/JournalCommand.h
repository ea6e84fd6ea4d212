#pragma once

#include "journal/Fax.h"

#include <QString>

// `faxolino journal [--search TEXT]`: the journal newest first, one fax per line: date and
// time, number, pages, state (sent, failed with its code, open) and the report file.
class JournalCommand
{
public:
    static int run(int argc, char *argv[]);

    // "sent", "failed (CODE)" with the code of the latest failed attempt, or "open" while an
    // attempt has no outcome.
    static QString stateTextForFax(const Fax &fax);
};
