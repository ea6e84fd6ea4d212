// Feeds arbitrary bytes, as the render helper might send them, to the page message reader.
// The first byte sets how many pages have been handed out, the second how the bytes are cut
// into reads. Whatever is taken must be a page that was handed out and came once, the same
// whether the bytes arrive at once or in pieces, and written again it gives back the bytes
// it was read from.

#include "document/FXPageMessages.h"

#include <cstdint>
#include <cstdlib>

namespace {

using Pages = std::map<int, FXFaxPageGenerator::PreparedPage>;

struct Reading
{
    bool wellFormed = true;
    Pages pages;
    int received = 0;
    int delivered = 0;
    QByteArray rest;
};

Reading read(const QByteArray &bytes, int claimed, int piece)
{
    Reading reading;
    std::vector<bool> sent(size_t(claimed) + 1, false);
    for (qsizetype at = 0; at < bytes.size() && reading.wellFormed; at += piece) {
        reading.rest += bytes.mid(at, piece);
        reading.wellFormed = FXPageMessages::decode(reading.rest, claimed, sent, reading.pages,
                                                    reading.received, reading.delivered);
    }
    return reading;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 2)
        return 0;
    const int claimed = 1 + data[0] % 16;
    const int piece = 1 + data[1] * 7;
    const QByteArray bytes(reinterpret_cast<const char *>(data) + 2, qsizetype(size) - 2);

    const Reading whole = read(bytes, claimed, int(bytes.size()) + 1);
    const Reading pieces = read(bytes, claimed, piece);
    if (whole.wellFormed) {
        if (!pieces.wellFormed || pieces.received != whole.received || pieces.rest != whole.rest)
            std::abort();
    }
    if (whole.received != int(whole.pages.size()) || whole.delivered > whole.received)
        std::abort();

    QByteArray written;
    for (const auto &[page, prepared] : whole.pages) {
        if (page < 1 || page >= claimed)
            std::abort();
        if (prepared.outcome == FXFaxPageGenerator::PreparedPage::Written
            && (prepared.stream.isEmpty() || prepared.width != FXFaxPageGenerator::canvasWidth))
            std::abort();
        written += FXPageMessages::encode(page, prepared);
    }
    // Pages may come in any order; a well-formed answer keeps its bytes' length.
    if (whole.wellFormed && written.size() + whole.rest.size() != bytes.size())
        std::abort();
    return 0;
}
