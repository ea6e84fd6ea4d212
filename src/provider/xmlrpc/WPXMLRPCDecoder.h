#pragma once

#include "foundation/FXError.h"
#include "provider/xmlrpc/WPXMLRPCDecoderDelegate.h"
#include "provider/xmlrpc/XmlRpcValue.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>

// Reads an XML-RPC response (or method call) into a value tree, detecting faults.
//
// The bytes are parsed at once with Expat. When that fails, they are repaired by
// WPXMLRPCDataCleaner and parsed once more. What comes from the network is treated as
// hostile: a document type declaration, any entity declaration or an external entity is a
// parse error and nothing is ever fetched or read; values nested deeper than kMaximumDepth are
// a parse error; a parse error leaves no value and no fault behind, so a truncated answer never
// passes for a complete one.
//
//   WPXMLRPCDecoder decoder(body);
//   if (decoder.isFault()) ... decoder.faultCode() ...
//   QString id = decoder.object()["SessionID"].toString();
class WPXMLRPCDecoder
{
public:
    static constexpr int kMaximumDepth = 256;

    static constexpr char kErrorDomain[] = "WPXMLRPCError";
    static constexpr char kFaultErrorDomain[] = "WPXMLRPCFaultError";
    enum ErrorCode {
        OutOfMemoryError = 1, // the server's PHP ran out of memory
        InvalidFaultError = 2,
        ParseError = 3,
    };

    explicit WPXMLRPCDecoder(const QByteArray &data);
    // No decoder for absent (null) data.
    static std::optional<WPXMLRPCDecoder> initWithData(const QByteArray &data);

    bool isFault() const { return m_isFault; }
    // The fault struct's "faultCode" as an integer; 0 when this is no fault.
    qint64 faultCode() const;
    // The fault struct's "faultString"; the null string when this is no fault.
    QString faultString() const;
    // For a response, the value of its first parameter; for a fault, the fault struct; for a
    // method call, {"methodName": name, "params": [...]}. The null value after a parse error.
    const XmlRpcValue &object() const { return m_object; }
    // In this order: a server out of memory; a fault (its code and string, or a fault without
    // "faultCode"); a parse error. A null error otherwise.
    FXError error() const;

    bool hasParseError() const { return m_parseError; }
    // The method name of a decoded method call; the null string otherwise.
    QString methodName() const { return m_methodName; }
    // The bytes as received, and the bytes finally parsed (after repair, when one was needed).
    QByteArray originalData() const { return m_originalData; }
    QByteArray parsedData() const { return m_parsedData; }

private:
    // Parses and keeps the outcome; false on a parse error.
    bool parse(const QByteArray &bytes, bool forceUtf8);

    QByteArray m_originalData;
    QByteArray m_parsedData;
    QString m_methodName;
    bool m_isFault = false;
    bool m_parseError = false;
    XmlRpcValue m_object;
};
