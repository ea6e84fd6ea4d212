#pragma once

#include <cstdlib>

// Where the backend hands each print job to its user's Faxolino: <root>/<uid>/job-<id>.pdf.
// Plain C++: the backend links no Qt. The root is fixed when building and may be replaced at
// run time through the variable of the same name (tests, unusual installations).
#ifndef FAXOLINO_SPOOL_ROOT
#error "FAXOLINO_SPOOL_ROOT comes from the build (the CMake cache variable of that name)"
#endif

inline constexpr char kFaxolinoDefaultSpoolRoot[] = FAXOLINO_SPOOL_ROOT;
inline constexpr char kFaxolinoSpoolRootVariable[] = "FAXOLINO_SPOOL_ROOT";

// The spool root in force: the variable when it is set and not empty, else the default.
inline const char *faxolinoSpoolRoot()
{
    const char *configured = std::getenv(kFaxolinoSpoolRootVariable);
    return configured && *configured ? configured : kFaxolinoDefaultSpoolRoot;
}
