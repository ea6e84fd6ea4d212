#include "document/FXGroup4Encoder.h"

#include <QtEndian>

#include <bit>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

namespace {

struct Code
{
    uint16_t bits;
    uint8_t length;
};

// The run-length codes of T.4, terminating codes for runs of 0 to 63.
constexpr Code whiteTerminating[64] = {
    {0b00110101, 8}, {0b000111, 6},   {0b0111, 4},     {0b1000, 4},     {0b1011, 4},
    {0b1100, 4},     {0b1110, 4},     {0b1111, 4},     {0b10011, 5},    {0b10100, 5},
    {0b00111, 5},    {0b01000, 5},    {0b001000, 6},   {0b000011, 6},   {0b110100, 6},
    {0b110101, 6},   {0b101010, 6},   {0b101011, 6},   {0b0100111, 7},  {0b0001100, 7},
    {0b0001000, 7},  {0b0010111, 7},  {0b0000011, 7},  {0b0000100, 7},  {0b0101000, 7},
    {0b0101011, 7},  {0b0010011, 7},  {0b0100100, 7},  {0b0011000, 7},  {0b00000010, 8},
    {0b00000011, 8}, {0b00011010, 8}, {0b00011011, 8}, {0b00010010, 8}, {0b00010011, 8},
    {0b00010100, 8}, {0b00010101, 8}, {0b00010110, 8}, {0b00010111, 8}, {0b00101000, 8},
    {0b00101001, 8}, {0b00101010, 8}, {0b00101011, 8}, {0b00101100, 8}, {0b00101101, 8},
    {0b00000100, 8}, {0b00000101, 8}, {0b00001010, 8}, {0b00001011, 8}, {0b01010010, 8},
    {0b01010011, 8}, {0b01010100, 8}, {0b01010101, 8}, {0b00100100, 8}, {0b00100101, 8},
    {0b01011000, 8}, {0b01011001, 8}, {0b01011010, 8}, {0b01011011, 8}, {0b01001010, 8},
    {0b01001011, 8}, {0b00110010, 8}, {0b00110011, 8}, {0b00110100, 8},
};

constexpr Code blackTerminating[64] = {
    {0b0000110111, 10},
    {0b010, 3},
    {0b11, 2},
    {0b10, 2},
    {0b011, 3},
    {0b0011, 4},
    {0b0010, 4},
    {0b00011, 5},
    {0b000101, 6},
    {0b000100, 6},
    {0b0000100, 7},
    {0b0000101, 7},
    {0b0000111, 7},
    {0b00000100, 8},
    {0b00000111, 8},
    {0b000011000, 9},
    {0b0000010111, 10},
    {0b0000011000, 10},
    {0b0000001000, 10},
    {0b00001100111, 11},
    {0b00001101000, 11},
    {0b00001101100, 11},
    {0b00000110111, 11},
    {0b00000101000, 11},
    {0b00000010111, 11},
    {0b00000011000, 11},
    {0b000011001010, 12},
    {0b000011001011, 12},
    {0b000011001100, 12},
    {0b000011001101, 12},
    {0b000001101000, 12},
    {0b000001101001, 12},
    {0b000001101010, 12},
    {0b000001101011, 12},
    {0b000011010010, 12},
    {0b000011010011, 12},
    {0b000011010100, 12},
    {0b000011010101, 12},
    {0b000011010110, 12},
    {0b000011010111, 12},
    {0b000001101100, 12},
    {0b000001101101, 12},
    {0b000011011010, 12},
    {0b000011011011, 12},
    {0b000001010100, 12},
    {0b000001010101, 12},
    {0b000001010110, 12},
    {0b000001010111, 12},
    {0b000001100100, 12},
    {0b000001100101, 12},
    {0b000001010010, 12},
    {0b000001010011, 12},
    {0b000000100100, 12},
    {0b000000110111, 12},
    {0b000000111000, 12},
    {0b000000100111, 12},
    {0b000000101000, 12},
    {0b000001011000, 12},
    {0b000001011001, 12},
    {0b000000101011, 12},
    {0b000000101100, 12},
    {0b000001011010, 12},
    {0b000001100110, 12},
    {0b000001100111, 12},
};

// Make-up codes for runs of 64 * n (index n); from 1792 on both colours share them.
constexpr Code whiteMakeUp[41] = {
    {0, 0},
    {0b11011, 5},
    {0b10010, 5},
    {0b010111, 6},
    {0b0110111, 7},
    {0b00110110, 8},
    {0b00110111, 8},
    {0b01100100, 8},
    {0b01100101, 8},
    {0b01101000, 8},
    {0b01100111, 8},
    {0b011001100, 9},
    {0b011001101, 9},
    {0b011010010, 9},
    {0b011010011, 9},
    {0b011010100, 9},
    {0b011010101, 9},
    {0b011010110, 9},
    {0b011010111, 9},
    {0b011011000, 9},
    {0b011011001, 9},
    {0b011011010, 9},
    {0b011011011, 9},
    {0b010011000, 9},
    {0b010011001, 9},
    {0b010011010, 9},
    {0b011000, 6},
    {0b010011011, 9},
    {0b00000001000, 11},
    {0b00000001100, 11},
    {0b00000001101, 11},
    {0b000000010010, 12},
    {0b000000010011, 12},
    {0b000000010100, 12},
    {0b000000010101, 12},
    {0b000000010110, 12},
    {0b000000010111, 12},
    {0b000000011100, 12},
    {0b000000011101, 12},
    {0b000000011110, 12},
    {0b000000011111, 12},
};

constexpr Code blackMakeUp[41] = {
    {0, 0},
    {0b0000001111, 10},
    {0b000011001000, 12},
    {0b000011001001, 12},
    {0b000001011011, 12},
    {0b000000110011, 12},
    {0b000000110100, 12},
    {0b000000110101, 12},
    {0b0000001101100, 13},
    {0b0000001101101, 13},
    {0b0000001001010, 13},
    {0b0000001001011, 13},
    {0b0000001001100, 13},
    {0b0000001001101, 13},
    {0b0000001110010, 13},
    {0b0000001110011, 13},
    {0b0000001110100, 13},
    {0b0000001110101, 13},
    {0b0000001110110, 13},
    {0b0000001110111, 13},
    {0b0000001010010, 13},
    {0b0000001010011, 13},
    {0b0000001010100, 13},
    {0b0000001010101, 13},
    {0b0000001011010, 13},
    {0b0000001011011, 13},
    {0b0000001100100, 13},
    {0b0000001100101, 13},
    {0b00000001000, 11},
    {0b00000001100, 11},
    {0b00000001101, 11},
    {0b000000010010, 12},
    {0b000000010011, 12},
    {0b000000010100, 12},
    {0b000000010101, 12},
    {0b000000010110, 12},
    {0b000000010111, 12},
    {0b000000011100, 12},
    {0b000000011101, 12},
    {0b000000011110, 12},
    {0b000000011111, 12},
};

// Vertical mode codes by a1 - b1 + 3: VL3 ... V0 ... VR3.
constexpr Code verticalCodes[7] = {
    {0b0000010, 7}, {0b000010, 6}, {0b010, 3}, {0b1, 1}, {0b011, 3}, {0b000011, 6}, {0b0000011, 7},
};

constexpr Code passCode = {0b0001, 4};
constexpr Code horizontalCode = {0b001, 3};
constexpr Code endOfLine = {0b000000000001, 12};

// Codes go into a 64-bit accumulator from the top. After each code all eight bytes are stored,
// with no branch, and the complete ones are passed, so fewer than 8 bits wait and a code of up
// to 32 bits always fits; the output needs 8 bytes to spare behind the last code. Kept apart
// from the output's QByteArray, a local BitWriter lives in registers.
struct BitWriter
{
    uchar *next;
    uint64_t pending = 0;
    int pendingLength = 0;

    void put(uint32_t bits, int length)
    {
        pending |= uint64_t(bits) << (64 - pendingLength - length);
        pendingLength += length;
        qToBigEndian(pending, next);
        const int bytes = pendingLength >> 3;
        next += bytes;
        pending <<= 8 * bytes;
        pendingLength &= 7;
    }

    void put(Code code) { put(code.bits, code.length); }

    void putOnes(int count)
    {
        for (; count >= 32; count -= 32)
            put(0xffffffffu, 32);
        if (count > 0)
            put(0xffffffffu >> (32 - count), count);
    }

    // A run of one colour: make-up codes for its multiples of 64, then its terminating code.
    // Like libtiff, runs of 2624 and more take 2560 at a time first.
    void putRun(int run, const Code *terminating, const Code *makeUp)
    {
        for (; run >= 2624; run -= 2560)
            put(makeUp[40]);
        if (run >= 64) {
            const Code m = makeUp[run >> 6];
            const Code t = terminating[run & 63];
            put((uint32_t(m.bits) << t.length) | t.bits, m.length + t.length);
            return;
        }
        put(terminating[run]);
    }

    // Writes out what waits, the rest of the last byte filled with 0 bits.
    void flush()
    {
        if (pendingLength > 0)
            *next++ = uchar(pending >> 56);
        pending = 0;
        pendingLength = 0;
    }
};

// Where the colour changes along a row, left to right, the row starting after an imaginary
// white pixel: even entries turn to black, odd ones back to white. Three copies of the width
// follow as sentinels. Returns the number of changes.
int findChanges(const uchar *row, int width, int32_t *changes)
{
    int count = 0;
    uint64_t previous = 1; // the pixel left of the word; 1 is white
    const auto collect = [&](uint64_t turns, int base) {
        while (turns) {
            const int offset = std::countl_zero(turns);
            changes[count++] = base + offset;
            turns ^= (uint64_t(1) << 63) >> offset;
        }
    };
    const int words = width / 64;
    for (int w = 0; w < words; ++w) {
        const uint64_t pixels = qFromBigEndian<uint64_t>(row + 8 * w);
        const uint64_t turns = pixels ^ ((pixels >> 1) | (previous << 63));
        previous = pixels & 1;
        if (turns)
            collect(turns, 64 * w);
    }
    if (const int rest = width % 64) {
        // Only the bytes that hold pixels are read; bits past the width are masked out.
        const uchar *tail = row + 8 * words;
        uint64_t pixels = 0;
        for (int i = 0; i < (rest + 7) / 8; ++i)
            pixels |= uint64_t(tail[i]) << (56 - 8 * i);
        const uint64_t turns =
            (pixels ^ ((pixels >> 1) | (previous << 63))) & (~uint64_t(0) << (64 - rest));
        collect(turns, 64 * words);
    }
    changes[count] = changes[count + 1] = changes[count + 2] = width;
    return count;
}

// Codes one row against the reference row, both given as their changes with a -1 before
// them. i indexes a1 among the row's changes, j indexes b1 among the reference's. The colour
// of a0 is the opposite of a1's, so b1, the first reference change right of a0 of a1's colour,
// has the parity of i; each mode finds the next b1 from the last one without a search.
void codeRow(BitWriter &out, const int32_t *coding, const int32_t *reference, int width)
{
    int a0 = 0;
    int i = 0;
    int j = 0;
    for (;;) {
        const int a1 = coding[i];
        const int b1 = reference[j];
        const int b2 = reference[j + 1];
        if (b2 < a1) {
            out.put(passCode);
            // a0 moves onto b2; the next b1 is the change after it.
            a0 = b2;
            j += 2;
            continue;
        }
        const int d = a1 - b1;
        if (d >= -3 && d <= 3) {
            out.put(verticalCodes[d + 3]);
            if (a1 >= width)
                return;
            a0 = a1;
            ++i;
            // The colour flips. The new b1 is the reference change before the old one when
            // that lies right of a1 (only after VL), else the one after it, or when that one
            // is a1 itself (b2 = a1 after VR), the next of its colour.
            const int next = j + 1 + 2 * (reference[j + 1] <= a1);
            j = reference[j - 1] > a1 ? j - 1 : next;
        } else {
            const int a2 = coding[i + 1];
            out.put(horizontalCode);
            if ((i & 1) == 0) {
                out.putRun(a1 - a0, whiteTerminating, whiteMakeUp);
                out.putRun(a2 - a1, blackTerminating, blackMakeUp);
            } else {
                out.putRun(a1 - a0, blackTerminating, blackMakeUp);
                out.putRun(a2 - a1, whiteTerminating, whiteMakeUp);
            }
            if (a2 >= width)
                return;
            a0 = a2;
            i += 2;
            // Same colour: b1 keeps its parity and can only move right.
            while (reference[j] <= a2)
                j += 2;
        }
    }
}

QByteArray encodeRows(const FXRaster &bilevel)
{
    const int width = bilevel.width();
    const int height = bilevel.height();
    // No row codes to more than 54 bits a pixel (a horizontal mode with two long codes for a
    // pixel at worst), and the BitWriter's spare bytes come on top.
    const qsizetype rowBound = (qsizetype(width) + 2) * 7 + 32;
    QByteArray buffer(qMax<qsizetype>(rowBound * 4, qsizetype(width) * height / 64),
                      Qt::Uninitialized);
    const auto begin = [&buffer] { return reinterpret_cast<uchar *>(buffer.data()); };
    BitWriter out{begin()};
    const auto reserve = [&](qsizetype bytes) {
        const qsizetype used = out.next - begin();
        if (buffer.size() - used < bytes) {
            buffer.resize(qMax(used + bytes, buffer.size() * 2));
            out.next = begin() + used;
        }
    };

    // A -1 before each list, the sentinels after it.
    std::vector<int32_t> first(size_t(width) + 5, -1);
    std::vector<int32_t> second(size_t(width) + 5, -1);
    int32_t *coding = first.data() + 1;
    int32_t *reference = second.data() + 1;
    // The first reference row is white: no changes.
    int referenceCount = 0;
    reference[0] = reference[1] = reference[2] = width;

    for (int y = 0; y < height; ++y) {
        reserve(rowBound);
        const int count = findChanges(bilevel.row(y), width, coding);
        if (count == referenceCount
            && std::memcmp(coding, reference, size_t(count) * sizeof(int32_t)) == 0) {
            // Each change sits right under its twin: all V0, and the final one at the width.
            out.putOnes(count + 1);
        } else {
            codeRow(out, coding, reference, width);
        }
        std::swap(coding, reference);
        referenceCount = count;
    }
    reserve(32);
    out.put(endOfLine);
    out.put(endOfLine);
    out.flush();
    buffer.truncate(out.next - begin());
    return buffer;
}

} // namespace

QByteArray FXGroup4Encoder::encode(const FXRaster &bilevel)
{
    if (bilevel.layout() != FXRaster::Bilevel)
        return QByteArray();
    try {
        return encodeRows(bilevel);
    } catch (const std::bad_alloc &) {
        return QByteArray();
    }
}
