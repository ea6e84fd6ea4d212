#pragma once

#include "foundation/FXError.h"
#include "provider/xmlrpc/XmlRpcValue.h"

#include <QByteArray>
#include <QString>

class QIODevice;

// Writes XML-RPC documents: a method call, a response, or a fault response.
//
// The bytes are exact: every fragment as UTF-8 with no white space between fragments, numbers
// other than doubles as "i4", dates in GMT, "&", ">" and "<" escaped as character references.
// Map members are written in the map's order. The null value writes nothing at all (a struct
// member holding it keeps only its name). Streams and open files are read and written in
// 18000-byte chunks, so a large document never has to be in memory as a whole: encode it into
// a device or a file and hand that on.
//
//   WPXMLRPCEncoder encoder = WPXMLRPCEncoder::initWithMethod("zentari.BalanceGet", {});
//   QByteArray body = encoder.dataEncodedWithError(&error);
class WPXMLRPCEncoder
{
public:
    static constexpr char kErrorDomain[] = "WPXMLRPCEncoderError";
    enum ErrorCode {
        ScratchFileError = 1, // the scratch or target file cannot be created, read or replaced
        WriteError = 2,       // the device or file refused the bytes
        SourceError = 3,      // a stream or open file among the values cannot be read
    };

    static WPXMLRPCEncoder initWithMethod(const QString &method, const XmlRpcList &andParameters);
    static WPXMLRPCEncoder initWithResponseParams(const XmlRpcList &params);
    static WPXMLRPCEncoder initWithResponseFaultCode(const XmlRpcValue &faultCode,
                                                     const QString &andString);

    // The whole document. It is built in a scratch file in the user's cache folder, read back
    // and the file removed. A null byte array (and the error) on failure.
    QByteArray dataEncodedWithError(FXError *error = nullptr) const;
    // Replaces the file at path with the document; nothing is left behind on failure.
    bool encodeToFile(const QString &path, FXError *error = nullptr) const;
    // Streams the document into a device open for writing.
    bool encodeToDevice(QIODevice *device, FXError *error = nullptr) const;

    // "<cache folder>/Faxolino", where the scratch files live while a document is built.
    static QString scratchFolder();

    QString method() const { return m_method; }
    XmlRpcList parameters() const { return m_parameters; }
    bool isResponse() const { return m_isResponse; }
    bool isFault() const { return m_isFault; }
    XmlRpcValue faultCode() const { return m_faultCode; }
    QString faultString() const { return m_faultString; }

private:
    WPXMLRPCEncoder() = default;

    QString m_method;
    XmlRpcList m_parameters;
    bool m_isResponse = false;
    bool m_isFault = false;
    XmlRpcValue m_faultCode;
    QString m_faultString;
};
