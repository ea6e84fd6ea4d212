#include "provider/xmlrpc/WPXMLRPCDecoderDelegate.h"

#include "provider/xmlrpc/WPBase64Utils.h"

#include <QChar>

#include <algorithm>
#include <cstring>

namespace {

// Texts beyond this size reserve room for the rest of the document.
constexpr qsizetype kLargeText = 64 * 1024;

bool is(const char *element, const char *name)
{
    return std::strcmp(element, name) == 0;
}

bool isContinuationByte(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// Length of the space character at the front of `text`, 0 when it starts with anything else.
// The text comes from the XML parser and is valid UTF-8.
qsizetype leadingSpaceLength(QByteArrayView text)
{
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80)
        return QChar::isSpace(char32_t(lead)) ? 1 : 0;
    qsizetype length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (length > text.size())
        return 0;
    char32_t code = lead & (0x7F >> length);
    for (qsizetype i = 1; i < length; ++i)
        code = (code << 6) | (static_cast<unsigned char>(text[i]) & 0x3F);
    return QChar::isSpace(code) ? length : 0;
}

qsizetype trailingSpaceLength(QByteArrayView text)
{
    qsizetype start = text.size() - 1;
    while (start > 0 && text.size() - start < 4 && isContinuationByte(text[start]))
        --start;
    const qsizetype length = leadingSpaceLength(text.sliced(start));
    return length == text.size() - start ? length : 0;
}

} // namespace

WPXMLRPCDecoderDelegate::WPXMLRPCDecoderDelegate(WPXMLRPCDecoderDelegate *parent, Opener opener,
                                                 int depth)
    : m_parent(parent)
{
    reset(opener, depth);
}

void WPXMLRPCDecoderDelegate::reset(Opener opener, int depth)
{
    m_opener = opener;
    m_depth = depth;
    m_elementType = opener == Opener::Member ? Member : opener == Opener::Name ? Name : String;
    m_elementKey = QString();
    m_hasKey = false;
    m_hasValue = false;
    m_text = QByteArray();
    m_elementValue = XmlRpcValue();
}

WPXMLRPCDecoderDelegate::~WPXMLRPCDecoderDelegate()
{
    // Unwind the chain of descendants without recursing once per level.
    std::unique_ptr<WPXMLRPCDecoderDelegate> next = std::move(m_child);
    while (next)
        next = std::move(next->m_child);
}

WPXMLRPCDecoderDelegate *WPXMLRPCDecoderDelegate::didStartElement(const char *element)
{
    Opener childOpener;
    int childDepth = m_depth;
    if (is(element, "value")) {
        childOpener = Opener::Value;
        ++childDepth;
    } else if (is(element, "member")) {
        childOpener = Opener::Member;
    } else if (is(element, "name")) {
        childOpener = Opener::Name;
    } else {
        if (is(element, "array") || is(element, "params")) {
            m_elementType = Array;
            m_elementValue = XmlRpcList();
            m_text.clear();
        } else if (is(element, "struct")) {
            m_elementType = Dictionary;
            m_elementValue = XmlRpcMap();
            m_text.clear();
        } else if (is(element, "int") || is(element, "i4")) {
            m_elementType = Integer;
        } else if (is(element, "double")) {
            m_elementType = Double;
        } else if (is(element, "boolean")) {
            m_elementType = Boolean;
        } else if (is(element, "string")) {
            m_elementType = String;
        } else if (is(element, "dateTime.iso8601")) {
            m_elementType = Date;
        } else if (is(element, "base64")) {
            m_elementType = Data;
        }
        return this;
    }
    // Only the innermost node collects text, so only it may hold room for more.
    releaseReservedRoom();
    // Siblings follow one another, so the node of the last one serves the next.
    if (m_child)
        m_child->reset(childOpener, childDepth);
    else
        m_child = std::make_unique<WPXMLRPCDecoderDelegate>(this, childOpener, childDepth);
    return m_child.get();
}

void WPXMLRPCDecoderDelegate::foundCharacters(const char *text, qsizetype length,
                                              qsizetype remaining)
{
    if (m_elementType == Array || m_elementType == Dictionary || m_elementType == Member)
        return;
    const qsizetype needed = m_text.size() + length;
    if (needed > m_text.capacity() && needed > kLargeText)
        m_text.reserve(needed + std::max<qsizetype>(remaining, 0));
    m_text.append(text, length);
}

bool WPXMLRPCDecoderDelegate::didEndElement(const char *element)
{
    const char *own = m_opener == Opener::Value    ? "value"
                      : m_opener == Opener::Member ? "member"
                      : m_opener == Opener::Name   ? "name"
                                                   : "params";
    if (!is(element, own))
        return false;
    finish();
    if (m_parent) {
        m_parent->addChildValue(*this);
        m_elementValue = XmlRpcValue();
    }
    return true;
}

void WPXMLRPCDecoderDelegate::releaseReservedRoom()
{
    if (m_text.capacity() > kLargeText && m_text.capacity() > m_text.size() + m_text.size() / 8)
        m_text.squeeze();
}

QByteArrayView WPXMLRPCDecoderDelegate::trimmed(QByteArrayView utf8)
{
    for (qsizetype length; !utf8.isEmpty() && (length = leadingSpaceLength(utf8)) > 0;)
        utf8 = utf8.sliced(length);
    for (qsizetype length; !utf8.isEmpty() && (length = trailingSpaceLength(utf8)) > 0;)
        utf8.chop(length);
    return utf8;
}

void WPXMLRPCDecoderDelegate::finish()
{
    if (m_elementType == Array || m_elementType == Dictionary || m_elementType == Member)
        return;
    const QByteArrayView text = trimmed(m_text);
    switch (m_elementType) {
    case Integer:
        m_elementValue = XmlRpcValue::integerFromText(text);
        break;
    case Double:
        m_elementValue = XmlRpcValue::doubleFromText(text);
        break;
    case Boolean:
        m_elementValue = text == "1";
        break;
    case Date:
        m_elementValue = XmlRpcValue::dateFromText(text);
        break;
    case Data:
        m_elementValue = XmlRpcValue::fromBytes(WPBase64Utils::decodeString(text));
        break;
    case Name:
        m_elementKey = QString::fromUtf8(text);
        break;
    default: {
        // Strings keep the collected bytes; only the trimmed ends are cut off, in place, and
        // room reserved beyond the text is given back.
        const qsizetype offset = text.data() - m_text.constData();
        m_text.truncate(offset + text.size());
        m_text.remove(0, offset);
        releaseReservedRoom();
        m_elementValue = XmlRpcValue::fromUtf8(m_text);
        break;
    }
    }
    m_text = QByteArray();
}

void WPXMLRPCDecoderDelegate::addChildValue(WPXMLRPCDecoderDelegate &child)
{
    switch (m_elementType) {
    case Array:
        m_elementValue.append(child.m_elementValue);
        break;
    case Dictionary:
        if (child.m_elementType != Member || !child.m_hasKey || !child.m_hasValue)
            break;
        if (child.m_elementValue.isNull())
            m_elementValue.remove(child.m_elementKey);
        else
            m_elementValue.insert(child.m_elementKey, child.m_elementValue);
        break;
    case Member:
        if (child.m_elementType == Name) {
            m_elementKey = child.m_elementKey;
            m_hasKey = true;
        } else {
            m_elementValue = child.m_elementValue;
            m_hasValue = true;
        }
        break;
    default:
        break;
    }
}
