#include "service/xmlrpc/WPXMLRPCDecoder.h"

#include "service/FBLocalization.h"
#include "service/FXLogging.h"
#include "service/xmlrpc/WPXMLRPCDataCleaner.h"

#include <expat.h>

#include <cstring>
#include <limits>

namespace {

// Expat copies what it is given into a buffer of its own, so a large document is handed
// over in slices: the buffer stays small instead of holding a second copy of the document.
constexpr qsizetype kParseSlice = 512 * 1024;

bool is(const char *element, const char *name)
{
    return std::strcmp(element, name) == 0;
}

// One pass of Expat over a document. The pass handles the document frame itself ("fault",
// "methodName", the first "value") and hands everything inside the first value to the nodes.
class ParsePass
{
public:
    explicit ParsePass(bool forceUtf8)
        : m_parser(XML_ParserCreate(forceUtf8 ? "UTF-8" : nullptr))
    {
        if (!m_parser)
            return;
        XML_SetUserData(m_parser, this);
        XML_SetElementHandler(m_parser, &ParsePass::onStart, &ParsePass::onEnd);
        XML_SetCharacterDataHandler(m_parser, &ParsePass::onCharacters);
        // No document types and no entities: nothing to expand, nothing to fetch.
        XML_SetStartDoctypeDeclHandler(m_parser, &ParsePass::onDoctype);
        XML_SetEntityDeclHandler(m_parser, &ParsePass::onEntityDeclaration);
        XML_SetExternalEntityRefHandler(m_parser, &ParsePass::onExternalEntity);
        XML_SetParamEntityParsing(m_parser, XML_PARAM_ENTITY_PARSING_NEVER);
    }

    ~ParsePass()
    {
        if (m_parser)
            XML_ParserFree(m_parser);
    }

    ParsePass(const ParsePass &) = delete;
    ParsePass &operator=(const ParsePass &) = delete;

    bool run(const QByteArray &bytes)
    {
        if (!m_parser)
            return false;
        m_size = bytes.size();
        qsizetype offset = 0;
        do {
            const qsizetype length = std::min(bytes.size() - offset, kParseSlice);
            const bool last = offset + length == bytes.size();
            if (XML_Parse(m_parser, bytes.constData() + offset, int(length), last)
                != XML_STATUS_OK) {
                logFailure();
                return false;
            }
            offset += length;
        } while (offset < bytes.size());
        return !m_refused;
    }

    bool isFault() const { return m_isFault; }
    bool hasMethodName() const { return m_hasMethodName; }
    QString methodName() const { return QString::fromUtf8(m_methodName); }

    XmlRpcValue result() const
    {
        if (!m_root)
            return XmlRpcValue();
        if (!m_hasMethodName)
            return m_root->elementValue();
        const XmlRpcValue &params = m_root->elementValue();
        XmlRpcMap call{{QStringLiteral("methodName"), methodName()},
                       {QStringLiteral("params"), params.isList() ? params : XmlRpcList()}};
        return call;
    }

private:
    enum class Handler { Frame, Node, Nobody };

    static ParsePass *self(void *userData) { return static_cast<ParsePass *>(userData); }

    void refuse(const char *why)
    {
        if (!m_refused)
            qCDebug(lcService, "XML-RPC document refused: %s", why);
        m_refused = true;
        XML_StopParser(m_parser, XML_FALSE);
    }

    void logFailure() const
    {
        qCDebug(lcService, "XML-RPC parse error at line %lu: %s",
                static_cast<unsigned long>(XML_GetCurrentLineNumber(m_parser)),
                XML_ErrorString(XML_GetErrorCode(m_parser)));
    }

    static void XMLCALL onStart(void *userData, const XML_Char *element, const XML_Char **)
    {
        ParsePass *pass = self(userData);
        if (pass->m_refused)
            return;
        switch (pass->m_handler) {
        case Handler::Frame:
            pass->frameStart(element);
            break;
        case Handler::Node: {
            WPXMLRPCDecoderDelegate *next = pass->m_current->didStartElement(element);
            if (next->depth() > WPXMLRPCDecoder::kMaximumDepth) {
                pass->refuse("values nested too deeply");
                return;
            }
            pass->m_current = next;
            break;
        }
        case Handler::Nobody:
            break;
        }
    }

    static void XMLCALL onEnd(void *userData, const XML_Char *element)
    {
        ParsePass *pass = self(userData);
        if (pass->m_refused)
            return;
        switch (pass->m_handler) {
        case Handler::Frame:
            pass->frameEnd(element);
            break;
        case Handler::Node: {
            WPXMLRPCDecoderDelegate *node = pass->m_current;
            if (!node->didEndElement(element))
                break;
            pass->m_current = node->parent();
            if (!pass->m_current)
                pass->m_handler = Handler::Nobody; // the first value is complete
            break;
        }
        case Handler::Nobody:
            break;
        }
    }

    static void XMLCALL onCharacters(void *userData, const XML_Char *text, int length)
    {
        ParsePass *pass = self(userData);
        if (pass->m_refused)
            return;
        if (pass->m_handler == Handler::Node) {
            const qsizetype remaining =
                pass->m_size - qsizetype(XML_GetCurrentByteIndex(pass->m_parser)) - length;
            pass->m_current->foundCharacters(text, length, remaining);
        } else if (pass->m_handler == Handler::Frame && pass->m_inMethodName)
            pass->m_methodName.append(text, length);
    }

    static void XMLCALL onDoctype(void *userData, const XML_Char *, const XML_Char *,
                                  const XML_Char *, int)
    {
        self(userData)->refuse("document type declaration");
    }

    static void XMLCALL onEntityDeclaration(void *userData, const XML_Char *, int, const XML_Char *,
                                            int, const XML_Char *, const XML_Char *,
                                            const XML_Char *, const XML_Char *)
    {
        self(userData)->refuse("entity declaration");
    }

    static int XMLCALL onExternalEntity(XML_Parser, const XML_Char *, const XML_Char *,
                                        const XML_Char *, const XML_Char *)
    {
        return XML_STATUS_ERROR;
    }

    void frameStart(const char *element)
    {
        if (is(element, "fault")) {
            m_isFault = true;
        } else if (is(element, "value")) {
            m_root = std::make_unique<WPXMLRPCDecoderDelegate>(
                nullptr, WPXMLRPCDecoderDelegate::Opener::Value, 1);
            m_current = m_root.get();
            m_handler = Handler::Node;
        } else if (is(element, "methodName")) {
            m_inMethodName = true;
            m_methodName.clear();
        }
    }

    void frameEnd(const char *element)
    {
        if (!m_inMethodName || !is(element, "methodName"))
            return;
        m_inMethodName = false;
        m_hasMethodName = true;
        m_methodName = WPXMLRPCDecoderDelegate::trimmed(m_methodName).toByteArray();
        // The parameters that follow are collected as one list.
        m_root = std::make_unique<WPXMLRPCDecoderDelegate>(
            nullptr, WPXMLRPCDecoderDelegate::Opener::Params, 0);
        m_current = m_root.get();
        m_handler = Handler::Node;
    }

    XML_Parser m_parser;
    qsizetype m_size = 0;
    Handler m_handler = Handler::Frame;
    std::unique_ptr<WPXMLRPCDecoderDelegate> m_root;
    WPXMLRPCDecoderDelegate *m_current = nullptr;
    bool m_refused = false;
    bool m_isFault = false;
    bool m_inMethodName = false;
    bool m_hasMethodName = false;
    QByteArray m_methodName;
};

// PHP's "Allowed memory size of \d+ bytes exhausted", found without a regular expression
// engine so that a large body costs one linear scan.
bool reportsExhaustedMemory(QByteArrayView text)
{
    static constexpr QByteArrayView prefix("Allowed memory size of ");
    static constexpr QByteArrayView suffix(" bytes exhausted");
    for (qsizetype at = text.indexOf(prefix); at >= 0; at = text.indexOf(prefix, at + 1)) {
        qsizetype pos = at + prefix.size();
        const qsizetype digitsStart = pos;
        while (pos < text.size() && text[pos] >= '0' && text[pos] <= '9')
            ++pos;
        if (pos > digitsStart && text.sliced(pos).startsWith(suffix))
            return true;
    }
    return false;
}

} // namespace

WPXMLRPCDecoder::WPXMLRPCDecoder(const QByteArray &data)
    : m_originalData(data)
{
    if (parse(data, false))
        return;
    // One repair, one more attempt; a second failure stands.
    parse(WPXMLRPCDataCleaner(data).cleanData(), true);
}

std::optional<WPXMLRPCDecoder> WPXMLRPCDecoder::initWithData(const QByteArray &data)
{
    if (data.isNull())
        return std::nullopt;
    return WPXMLRPCDecoder(data);
}

bool WPXMLRPCDecoder::parse(const QByteArray &bytes, bool forceUtf8)
{
    m_parsedData = bytes;
    ParsePass pass(forceUtf8);
    m_parseError = !pass.run(bytes);
    if (m_parseError) {
        m_isFault = false;
        m_methodName = QString();
        m_object = XmlRpcValue();
        return false;
    }
    m_isFault = pass.isFault();
    m_methodName = pass.hasMethodName() ? pass.methodName() : QString();
    m_object = pass.result();
    return true;
}

qint64 WPXMLRPCDecoder::faultCode() const
{
    return m_isFault ? m_object["faultCode"].toInt() : 0;
}

QString WPXMLRPCDecoder::faultString() const
{
    return m_isFault ? m_object["faultString"].toString() : QString();
}

FXError WPXMLRPCDecoder::error() const
{
    const QString domain = QString::fromLatin1(kErrorDomain);
    if (reportsExhaustedMemory(m_originalData))
        return FXError{domain, OutOfMemoryError, FXText("xmlrpc_error_out_of_memory")};
    if (m_isFault) {
        if (!m_object.contains(QStringLiteral("faultCode")))
            return FXError{domain, InvalidFaultError, FXText("xmlrpc_error_invalid_fault")};
        return FXError{QString::fromLatin1(kFaultErrorDomain), faultCode(), faultString()};
    }
    if (m_parseError)
        return FXError{domain, ParseError, FXText("xmlrpc_error_invalid_response")};
    return FXError();
}
