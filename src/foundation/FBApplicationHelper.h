#pragma once

#include <QString>

class FBApplicationHelper
{
public:
    // "Faxolino"
    static QString applicationBundleName();
    // $XDG_DATA_HOME/Faxolino; the empty string when the system names no data folder.
    static QString applicationSupportFolder();
};
