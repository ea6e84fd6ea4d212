#pragma once

// The desktop application: `faxolino` without arguments, or with a document or a number, where
// there is a display. One instance per user: a later start hands its request to the running
// one (or brings its window to the front) and ends.
class FBDesktopApplication
{
public:
    // Whether a display is there to show windows on.
    static bool hasDisplay();
    static int run(int argc, char *argv[]);
};
