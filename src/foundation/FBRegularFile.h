#pragma once

#include <QString>

class QFile;
class QIODevice;

// Files that come from outside (settings, vCards, pictures, documents) are read only when they
// are regular files. A FIFO, a device or a socket in their place, also behind a symlink, would
// block the open or never end.
class FBRegularFile
{
public:
    // Whether the path names a regular file (after following symlinks).
    static bool isRegularFile(const QString &path);

    // Opens the path for reading without ever blocking: false, with a reason in `error`, when
    // it cannot be opened or is no regular file.
    static bool openForReading(const QString &path, QFile *file, QString *error = nullptr);

    // Copies what is left of the source onto the target device in pieces, refusing a source
    // longer than maxBytes.
    static bool copy(QIODevice *source, QIODevice *target, qint64 maxBytes,
                     QString *error = nullptr);
    // Copies what is left of the source into target in pieces, replacing it only when the
    // whole copy is written. A source longer than maxBytes is refused. Safe on any thread that
    // alone reads the source.
    static bool copyInto(QIODevice *source, const QString &target, qint64 maxBytes,
                         QString *error = nullptr);
};
