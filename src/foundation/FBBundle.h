#pragma once

#include <QString>

// Resource bundles compiled into the program as Qt resources (":/<name>/...").
class FBBundle
{
public:
    // The bundle's root path (":/VoxariaCoreBundle"), or the empty string when the program
    // carries no bundle of that name.
    static QString bundleWithName(const QString &name);

    // A file inside the bundle, or the empty string when either does not exist.
    static QString pathForResource(const QString &bundleName, const QString &relativePath);
};

inline constexpr char kCoreBundleName[] = "VoxariaCoreBundle";
