#pragma once

// `faxolino send [--to NUMBER]... [--type text|mixed] [--threshold 0-4]
// [--cover-subject TEXT] [--give-up-after SECONDS] FILE.pdf`: sends the document to every
// receiver with the same engine, settings, account, journal and report folder as the desktop
// application, showing each receiver's progress. Exit codes: 0 every receiver got the fax,
// 1 any did not (or the provider did not answer in time), 2 a usage or setup error.
class SendCommand
{
public:
    static int run(int argc, char *argv[]);
};
