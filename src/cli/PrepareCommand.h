#pragma once

// `faxolino prepare IN.pdf OUT.pdf [--type text|mixed] [--threshold 0-4]`: writes the fax pages
// that would be sent for IN.pdf to OUT.pdf and prints their count. Exit codes: 0 done, 1 the
// output could not be written, 2 a usage error or an unreadable input (OUT.pdf is then left
// as it was).
class PrepareCommand
{
public:
    static int run(int argc, char *argv[]);
};
