#include "provider/xmlrpc/WPXMLRPCEncoder.h"

#include "foundation/FBApplicationHelper.h"
#include "foundation/FXLogging.h"
#include "provider/xmlrpc/WPBase64Utils.h"
#include "provider/xmlrpc/WPStringUtils.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStandardPaths>
#include <QUuid>

#include <cstdio>

namespace {

constexpr qsizetype kBufferSize = 64 * 1024;

// Buffers the small fragments and passes large texts straight through. The first failure
// sticks; later writes are dropped.
class DocumentWriter
{
public:
    explicit DocumentWriter(QIODevice *device)
        : m_device(device)
    {
        m_buffer.reserve(kBufferSize);
    }

    void write(QByteArrayView bytes)
    {
        if (m_error)
            return;
        if (m_buffer.size() + bytes.size() > kBufferSize) {
            flush();
            if (bytes.size() >= kBufferSize) {
                writeThrough(bytes);
                return;
            }
        }
        m_buffer.append(bytes);
    }

    void writeEscaped(QByteArrayView utf8)
    {
        WPStringUtils::escapeUtf8(utf8, [this](QByteArrayView piece) { write(piece); });
    }

    bool flush()
    {
        if (!m_error && !m_buffer.isEmpty())
            writeThrough(m_buffer);
        m_buffer.clear();
        return !m_error;
    }

    void fail(const FXError &error)
    {
        if (!m_error)
            m_error = error;
    }

    const FXError &error() const { return m_error; }

private:
    void writeThrough(QByteArrayView bytes)
    {
        if (m_device->write(bytes.data(), bytes.size()) != bytes.size()) {
            m_error = FXError{
                QString::fromLatin1(WPXMLRPCEncoder::kErrorDomain), WPXMLRPCEncoder::WriteError,
                QStringLiteral("Writing the document failed: %1").arg(m_device->errorString())};
        }
    }

    QIODevice *m_device;
    QByteArray m_buffer;
    FXError m_error;
};

void writeSimple(DocumentWriter &out, QByteArrayView tag, QByteArrayView text)
{
    out.write("<value><");
    out.write(tag);
    out.write(">");
    out.write(text);
    out.write("</");
    out.write(tag);
    out.write("></value>");
}

QByteArray dateText(const QDateTime &date)
{
    const QDateTime utc = date.toUTC();
    const QDate day = utc.date();
    const QTime time = utc.time();
    char text[64];
    const int length =
        std::snprintf(text, sizeof text, "%.4d%.2d%.2dT%.2d:%.2d:%.2dZ", day.year(), day.month(),
                      day.day(), time.hour(), time.minute(), time.second());
    return QByteArray(text, length);
}

void writeChunkedSource(DocumentWriter &out, const XmlRpcValue &value)
{
    out.write("<value><base64>");
    const auto handler = [&out](const QByteArray &chunk) { out.write(chunk); };
    FXError error;
    const bool ok =
        value.type() == XmlRpcValue::Type::InputStream
            ? WPBase64Utils::encodeInputStream(value.toInputStream().get(), handler, &error)
            : WPBase64Utils::encodeFileHandle(value.toFileHandle().get(), handler, &error);
    if (!ok) {
        out.fail(FXError{QString::fromLatin1(WPXMLRPCEncoder::kErrorDomain),
                         WPXMLRPCEncoder::SourceError, error.description});
    }
    out.write("</base64></value>");
}

void encodeObject(DocumentWriter &out, const XmlRpcValue &value)
{
    using Type = XmlRpcValue::Type;
    switch (value.type()) {
    case Type::Null:
        return;
    case Type::List:
        out.write("<value><array><data>");
        for (const XmlRpcValue &element : value.toList())
            encodeObject(out, element);
        out.write("</data></array></value>");
        return;
    case Type::Map:
        out.write("<value><struct>");
        for (const XmlRpcMap::Member &member : value.toMap()) {
            out.write("<member><name>");
            out.writeEscaped(member.key.toUtf8());
            out.write("</name>");
            encodeObject(out, member.value);
            out.write("</member>");
        }
        out.write("</struct></value>");
        return;
    case Type::Bool:
        writeSimple(out, "boolean", value.toBool() ? "1" : "0");
        return;
    case Type::Int:
    case Type::Float:
        // Every number that is not a double goes out as "i4", whatever its width.
        writeSimple(out, "i4", value.toString().toLatin1());
        return;
    case Type::Double:
        writeSimple(out, "double", value.toString().toLatin1());
        return;
    case Type::String:
        out.write("<value><string>");
        out.writeEscaped(value.toUtf8());
        out.write("</string></value>");
        return;
    case Type::DateTime:
        writeSimple(out, "dateTime.iso8601", dateText(value.toDateTime()));
        return;
    case Type::Bytes: {
        // Slices of a multiple of three encode to the same text as the whole.
        const QByteArray data = value.toByteArray();
        out.write("<value><base64>");
        for (qsizetype at = 0; at < data.size(); at += WPBase64Utils::kChunkSize)
            out.write(WPBase64Utils::encodeData(QByteArrayView(data).sliced(
                at, qMin(WPBase64Utils::kChunkSize, data.size() - at))));
        out.write("</base64></value>");
        return;
    }
    case Type::InputStream:
    case Type::FileHandle:
        writeChunkedSource(out, value);
        return;
    }
}

void writeParams(DocumentWriter &out, const XmlRpcList &params)
{
    out.write("<params>");
    for (const XmlRpcValue &param : params) {
        out.write("<param>");
        encodeObject(out, param);
        out.write("</param>");
    }
    out.write("</params>");
}

FXError encoderError(WPXMLRPCEncoder::ErrorCode code, const QString &description)
{
    return FXError{QString::fromLatin1(WPXMLRPCEncoder::kErrorDomain), code, description};
}

void report(FXError *error, const FXError &value)
{
    if (error)
        *error = value;
}

} // namespace

WPXMLRPCEncoder WPXMLRPCEncoder::initWithMethod(const QString &method,
                                                const XmlRpcList &andParameters)
{
    WPXMLRPCEncoder encoder;
    encoder.m_method = method;
    encoder.m_parameters = andParameters;
    return encoder;
}

WPXMLRPCEncoder WPXMLRPCEncoder::initWithResponseParams(const XmlRpcList &params)
{
    WPXMLRPCEncoder encoder;
    encoder.m_isResponse = true;
    encoder.m_parameters = params;
    return encoder;
}

WPXMLRPCEncoder WPXMLRPCEncoder::initWithResponseFaultCode(const XmlRpcValue &faultCode,
                                                           const QString &andString)
{
    WPXMLRPCEncoder encoder;
    encoder.m_isResponse = true;
    encoder.m_isFault = true;
    encoder.m_faultCode = faultCode;
    encoder.m_faultString = andString;
    return encoder;
}

QString WPXMLRPCEncoder::scratchFolder()
{
    const QString base = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
    if (base.isEmpty())
        return QString();
    return QDir(base).filePath(FBApplicationHelper::applicationBundleName());
}

bool WPXMLRPCEncoder::encodeToDevice(QIODevice *device, FXError *error) const
{
    if (!device || !device->isWritable()) {
        report(error,
               encoderError(WriteError, QStringLiteral("The device is not open for writing")));
        return false;
    }
    DocumentWriter out(device);
    out.write("<?xml version=\"1.0\"?>");
    if (m_isResponse) {
        out.write("<methodResponse>");
        if (m_isFault) {
            out.write("<fault>");
            encodeObject(out, XmlRpcMap{{QStringLiteral("faultCode"), m_faultCode},
                                        {QStringLiteral("faultString"), m_faultString}});
            out.write("</fault>");
        } else {
            writeParams(out, m_parameters);
        }
        out.write("</methodResponse>");
    } else {
        out.write("<methodCall><methodName>");
        out.writeEscaped(m_method.toUtf8());
        out.write("</methodName>");
        writeParams(out, m_parameters);
        out.write("</methodCall>");
    }
    if (!out.flush()) {
        report(error, out.error());
        return false;
    }
    return true;
}

bool WPXMLRPCEncoder::encodeToFile(const QString &path, FXError *error) const
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        report(error,
               encoderError(ScratchFileError,
                            QStringLiteral("Cannot create %1: %2").arg(path, file.errorString())));
        return false;
    }
    if (!encodeToDevice(&file, error))
        return false; // QSaveFile discards what it wrote
    if (!file.commit()) {
        report(error,
               encoderError(ScratchFileError,
                            QStringLiteral("Cannot write %1: %2").arg(path, file.errorString())));
        return false;
    }
    return true;
}

QByteArray WPXMLRPCEncoder::dataEncodedWithError(FXError *error) const
{
    const QString folder = scratchFolder();
    if (folder.isEmpty() || !QDir().mkpath(folder)) {
        report(error,
               encoderError(ScratchFileError,
                            QStringLiteral("Cannot create the cache folder %1").arg(folder)));
        return QByteArray();
    }
    QFile scratch(QDir(folder).filePath(QUuid::createUuid().toString(QUuid::WithoutBraces)));
    if (!scratch.open(QIODevice::ReadWrite | QIODevice::NewOnly,
                      QFileDevice::ReadOwner | QFileDevice::WriteOwner)) {
        report(error,
               encoderError(ScratchFileError, QStringLiteral("Cannot create %1: %2")
                                                  .arg(scratch.fileName(), scratch.errorString())));
        return QByteArray();
    }
    QByteArray document;
    if (encodeToDevice(&scratch, error)) {
        if (scratch.flush() && scratch.seek(0))
            document = scratch.readAll();
        if (document.size() != scratch.size()) {
            report(error, encoderError(ScratchFileError,
                                       QStringLiteral("Cannot read back %1: %2")
                                           .arg(scratch.fileName(), scratch.errorString())));
            document = QByteArray();
        }
    }
    scratch.close();
    if (!scratch.remove())
        qCWarning(lcService, "Error removing file at path: %s", qUtf8Printable(scratch.fileName()));
    return document;
}
