#include "provider/xmlrpc/WPBase64Utils.h"

#include "foundation/FXError.h"

#include <QFile>
#include <QIODevice>

#include <array>
#include <cstring>

namespace {

// A sequential device with nothing buffered gets this long to deliver more.
constexpr int kSequentialWaitMs = 30000;

constexpr std::array<signed char, 256> decodingTable()
{
    std::array<signed char, 256> table{};
    for (auto &entry : table)
        entry = -1;
    constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (int i = 0; i < 64; ++i)
        table[static_cast<unsigned char>(alphabet[i])] = static_cast<signed char>(i);
    return table;
}

constexpr auto kDecodingTable = decodingTable();

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The two digits of every 12-bit group: three bytes become two lookups.
constexpr std::array<std::array<char, 2>, 4096> digitPairs()
{
    std::array<std::array<char, 2>, 4096> table{};
    for (int i = 0; i < 4096; ++i)
        table[i] = {kAlphabet[i >> 6], kAlphabet[i & 63]};
    return table;
}

constexpr auto kDigitPairs = digitPairs();

void setError(FXError *error, WPBase64Utils::ErrorCode code, const QString &description)
{
    if (error)
        *error = FXError{QString::fromLatin1(WPBase64Utils::kErrorDomain), code, description};
}

// Fills `buffer` with up to kChunkSize bytes; returns the count, or -1 on a read error.
qsizetype readChunk(QIODevice *device, char *buffer)
{
    qsizetype filled = 0;
    while (filled < WPBase64Utils::kChunkSize) {
        const qint64 got = device->read(buffer + filled, WPBase64Utils::kChunkSize - filled);
        // A pipe or socket that has been closed by its writer reports its end as -1.
        if (got < 0 && device->isSequential())
            break;
        if (got < 0)
            return -1;
        if (got == 0) {
            // A pipe or socket may simply have nothing buffered yet.
            if (device->isSequential() && device->waitForReadyRead(kSequentialWaitMs))
                continue;
            break;
        }
        filled += got;
    }
    return filled;
}

bool encodeChunks(QIODevice *device, const WPBase64Utils::ChunkHandler &handler, FXError *error)
{
    // One buffer for every chunk keeps memory flat however large the source is.
    QByteArray buffer(WPBase64Utils::kChunkSize, Qt::Uninitialized);
    for (;;) {
        const qsizetype length = readChunk(device, buffer.data());
        if (length < 0) {
            setError(error, WPBase64Utils::SourceReadError,
                     QStringLiteral("Reading the source failed: %1").arg(device->errorString()));
            return false;
        }
        if (length == 0)
            return true;
        handler(WPBase64Utils::encodeData(QByteArrayView(buffer.constData(), length)));
    }
}

} // namespace

QByteArray WPBase64Utils::encodeData(QByteArrayView data)
{
    const auto *in = reinterpret_cast<const unsigned char *>(data.data());
    const qsizetype size = data.size();
    QByteArray result((size + 2) / 3 * 4, Qt::Uninitialized);
    char *out = result.data();
    qsizetype i = 0;
    for (; i + 3 <= size; i += 3) {
        const quint32 group = quint32(in[i]) << 16 | quint32(in[i + 1]) << 8 | in[i + 2];
        std::memcpy(out, kDigitPairs[group >> 12].data(), 2);
        std::memcpy(out + 2, kDigitPairs[group & 0xFFF].data(), 2);
        out += 4;
    }
    if (size - i == 1) {
        const quint32 group = quint32(in[i]) << 16;
        *out++ = kAlphabet[group >> 18];
        *out++ = kAlphabet[(group >> 12) & 63];
        *out++ = '=';
        *out++ = '=';
    } else if (size - i == 2) {
        const quint32 group = quint32(in[i]) << 16 | quint32(in[i + 1]) << 8;
        *out++ = kAlphabet[group >> 18];
        *out++ = kAlphabet[(group >> 12) & 63];
        *out++ = kAlphabet[(group >> 6) & 63];
        *out++ = '=';
    }
    return result;
}

QByteArray WPBase64Utils::decodeString(QByteArrayView text)
{
    QByteArray result(text.size() / 4 * 3 + 3, Qt::Uninitialized);
    char *out = result.data();
    quint32 accumulator = 0;
    int digits = 0;
    for (const char c : text) {
        if (c == '=')
            break;
        const int value = kDecodingTable[static_cast<unsigned char>(c)];
        if (value < 0)
            continue;
        accumulator = (accumulator << 6) | quint32(value);
        if (++digits == 4) {
            *out++ = char(accumulator >> 16);
            *out++ = char(accumulator >> 8);
            *out++ = char(accumulator);
            accumulator = 0;
            digits = 0;
        }
    }
    if (digits == 2) {
        *out++ = char(accumulator >> 4);
    } else if (digits == 3) {
        *out++ = char(accumulator >> 10);
        *out++ = char(accumulator >> 2);
    }
    result.truncate(out - result.constData());
    return result;
}

QByteArray WPBase64Utils::decodeString(const QString &text)
{
    return decodeString(QByteArrayView(text.toUtf8()));
}

bool WPBase64Utils::encodeInputStream(QIODevice *stream, const ChunkHandler &withChunkHandler,
                                      FXError *error)
{
    if (!stream) {
        setError(error, SourceUnavailableError, QStringLiteral("No input stream"));
        return false;
    }
    if (!stream->isOpen() && !stream->open(QIODevice::ReadOnly)) {
        setError(
            error, SourceUnavailableError,
            QStringLiteral("The input stream cannot be opened: %1").arg(stream->errorString()));
        return false;
    }
    const bool ok = encodeChunks(stream, withChunkHandler, error);
    stream->close();
    return ok;
}

bool WPBase64Utils::encodeFileHandle(QFile *fileHandle, const ChunkHandler &withChunkHandler,
                                     FXError *error)
{
    if (!fileHandle || !fileHandle->isReadable()) {
        setError(error, SourceUnavailableError, QStringLiteral("The file is not open for reading"));
        return false;
    }
    return encodeChunks(fileHandle, withChunkHandler, error);
}
