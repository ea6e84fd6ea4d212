#pragma once

// `faxolino poll [--timeout SECONDS]`: one pass of the session poller: asks the provider about
// every open transmission in the journal, records the answers and stores their reports, waits
// for the answers (up to the timeout) and exits. Exit codes: 0 the pass finished, 1 the journal
// could not be opened or the provider did not answer in time, 2 a usage error.
class PollCommand
{
public:
    static int run(int argc, char *argv[]);
};
