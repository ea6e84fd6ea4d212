// Feeds arbitrary bytes to the decoder (and with it the cleaner). Whatever decodes must
// survive a round trip: written as a response by our encoder and read back, it is the same
// value, up to what XML itself normalises (line ends) and what the encoder leaves out (null
// values in lists).

#include "provider/xmlrpc/WPXMLRPCDataCleaner.h"
#include "provider/xmlrpc/WPXMLRPCDecoder.h"
#include "provider/xmlrpc/WPXMLRPCEncoder.h"

#include <QBuffer>
#include <QLoggingCategory>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

XmlRpcValue normalized(const XmlRpcValue &value)
{
    switch (value.type()) {
    case XmlRpcValue::Type::String: {
        QByteArray text = value.toUtf8();
        text.replace("\r\n", "\n").replace('\r', '\n');
        return XmlRpcValue::fromUtf8(text);
    }
    case XmlRpcValue::Type::List: {
        XmlRpcList list;
        for (const XmlRpcValue &element : value.toList()) {
            if (!element.isNull())
                list.append(normalized(element));
        }
        return list;
    }
    case XmlRpcValue::Type::Map: {
        XmlRpcMap map;
        for (const XmlRpcMap::Member &member : value.toMap()) {
            QString key = member.key;
            key.replace(QLatin1String("\r\n"), QLatin1String("\n")).replace(u'\r', u'\n');
            map.insert(key, normalized(member.value));
        }
        return map;
    }
    default:
        return value;
    }
}

// Equality in which NaN equals NaN.
bool same(const XmlRpcValue &a, const XmlRpcValue &b)
{
    if (a.type() != b.type())
        return false;
    switch (a.type()) {
    case XmlRpcValue::Type::Double: {
        const double x = a.toDouble();
        const double y = b.toDouble();
        return (std::isnan(x) && std::isnan(y)) || (x == y && std::signbit(x) == std::signbit(y));
    }
    case XmlRpcValue::Type::List: {
        const XmlRpcList left = a.toList();
        const XmlRpcList right = b.toList();
        if (left.size() != right.size())
            return false;
        for (qsizetype i = 0; i < left.size(); ++i) {
            if (!same(left[i], right[i]))
                return false;
        }
        return true;
    }
    case XmlRpcValue::Type::Map: {
        const XmlRpcMap left = a.toMap();
        const XmlRpcMap right = b.toMap();
        if (left.keys() != right.keys())
            return false;
        for (const XmlRpcMap::Member &member : left) {
            if (!same(member.value, right[member.key]))
                return false;
        }
        return true;
    }
    default:
        return a == b;
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // Every refused input would log its parse error.
    QLoggingCategory::setFilterRules(QStringLiteral("faxolino.*=false"));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));

    const WPXMLRPCDecoder decoder(bytes);
    (void)decoder.error();
    (void)decoder.faultCode();
    (void)decoder.faultString();
    (void)decoder.object().description();
    (void)WPXMLRPCDataCleaner(bytes).cleanData();

    if (decoder.object().isNull())
        return 0;
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    if (!WPXMLRPCEncoder::initWithResponseParams({decoder.object()}).encodeToDevice(&buffer))
        std::abort();
    const WPXMLRPCDecoder again(buffer.data());
    const XmlRpcValue expected = normalized(decoder.object());
    if (again.hasParseError() || !same(again.object(), expected)) {
        std::fprintf(stderr, "round trip changed the value:\n%s\n%s\n",
                     qUtf8Printable(expected.description()),
                     qUtf8Printable(again.object().description()));
        std::abort();
    }
    return 0;
}
