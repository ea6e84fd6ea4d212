#include "document/FXPageMessages.h"

#include <cstring>

namespace {

constexpr quint32 messageMagic = 0x46585047; // "FXPG"
// No coded page comes near this; anything longer is not a page.
constexpr qint64 maxStreamLength = qint64(64) << 20;

struct MessageHeader
{
    quint32 magic;
    qint32 page;
    qint32 outcome;
    qint32 encoding;
    qint32 width;
    qint32 height;
    qint64 length;
};

} // namespace

QByteArray FXPageMessages::encode(int page, const FXFaxPageGenerator::PreparedPage &prepared)
{
    const MessageHeader header{messageMagic,          page,           prepared.outcome,
                               prepared.encoding,     prepared.width, prepared.height,
                               prepared.stream.size()};
    QByteArray message(reinterpret_cast<const char *>(&header), sizeof header);
    message += prepared.stream;
    return message;
}

bool FXPageMessages::decode(QByteArray &buffer, int claimed, std::vector<bool> &sent,
                            std::map<int, FXFaxPageGenerator::PreparedPage> &pages, int &received,
                            int &delivered)
{
    using Page = FXFaxPageGenerator::PreparedPage;
    qsizetype offset = 0;
    while (buffer.size() - offset >= qsizetype(sizeof(MessageHeader))) {
        MessageHeader header;
        std::memcpy(&header, buffer.constData() + offset, sizeof header);
        if (header.magic != messageMagic || header.page < 1 || header.page >= claimed
            || size_t(header.page) >= sent.size() || sent[size_t(header.page)] || header.length < 0
            || header.length > maxStreamLength || header.outcome < Page::Written
            || header.outcome > Page::OutOfMemory)
            return false;
        if (buffer.size() - offset - qsizetype(sizeof header) < header.length)
            break;
        Page page;
        page.outcome = Page::Outcome(header.outcome);
        if (page.outcome == Page::Written) {
            if ((header.encoding != FXPageImagePDFWriter::Group4
                 && header.encoding != FXPageImagePDFWriter::Flate)
                || header.width != FXFaxPageGenerator::canvasWidth
                || header.height != FXFaxPageGenerator::canvasHeight || header.length == 0)
                return false;
            page.encoding = FXPageImagePDFWriter::Encoding(header.encoding);
            page.width = header.width;
            page.height = header.height;
            page.stream = buffer.mid(offset + qsizetype(sizeof header), header.length);
            ++delivered;
        } else if (header.length != 0) {
            // A page that was not written has no image.
            return false;
        }
        sent[size_t(header.page)] = true;
        ++received;
        pages.insert_or_assign(header.page, std::move(page));
        offset += qsizetype(sizeof header) + header.length;
    }
    buffer.remove(0, offset);
    return true;
}
