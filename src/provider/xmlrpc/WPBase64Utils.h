#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <functional>

class QFile;
class QIODevice;
struct FXError;

// Base-64 with the standard alphabet, "=" padding and no line breaks.
class WPBase64Utils
{
public:
    // Sources are read in chunks of this many bytes; a multiple of 3, so the encodings of the
    // chunks joined equal the encoding of the whole.
    static constexpr qsizetype kChunkSize = 18000;

    static constexpr char kErrorDomain[] = "WPBase64Error";
    enum ErrorCode {
        SourceUnavailableError = 1, // absent, or cannot be opened for reading
        SourceReadError = 2,
    };

    using ChunkHandler = std::function<void(const QByteArray &encodedChunk)>;

    // The ASCII text of the encoding.
    static QByteArray encodeData(QByteArrayView data);
    // Characters outside the alphabet are skipped, decoding ends at the first "=", and a last
    // lone base-64 digit (which cannot make a byte) is dropped.
    static QByteArray decodeString(QByteArrayView text);
    static QByteArray decodeString(const QString &text);

    // Reads the device to its end and hands each encoded chunk to the handler. A device that is
    // not open is opened for reading first; the device is closed afterwards either way. False
    // (with the error) when it cannot be opened or a read fails.
    static bool encodeInputStream(QIODevice *stream, const ChunkHandler &withChunkHandler,
                                  FXError *error = nullptr);
    // Reads an open file from its current position until a read returns nothing; the file stays
    // open.
    static bool encodeFileHandle(QFile *fileHandle, const ChunkHandler &withChunkHandler,
                                 FXError *error = nullptr);
};
