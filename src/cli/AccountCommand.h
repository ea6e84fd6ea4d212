#pragma once

// `faxolino account [--user NAME] [--line E164] [--report-folder DIR]`: with --user, reads the
// password from standard input (without echo on a terminal) and stores the account; then checks
// the account by loading its balance and fax lines, prints them, and with --line chooses the
// sending line. Exit codes: 0 done, 1 the provider refused the credentials or did not answer,
// 2 a usage or setup error, or an account without a fax line.
class AccountCommand
{
public:
    static int run(int argc, char *argv[]);
};
