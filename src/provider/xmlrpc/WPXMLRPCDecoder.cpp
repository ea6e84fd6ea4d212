#include "provider/xmlrpc/WPXMLRPCDecoder.h"

#include "foundation/FBLocalization.h"
#include "foundation/FXLogging.h"
#include "provider/xmlrpc/WPXMLRPCDataCleaner.h"

#include <expat.h>

#include <bit>
#include <cstring>
#include <limits>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// Expat copies what it is given into a buffer of its own, so a large document is handed
// over in slices: the buffer stays small instead of holding a second copy of the document.
constexpr qsizetype kParseSlice = 512 * 1024;

// Runs of base-64 digits at least this long go to the nodes without passing through Expat.
constexpr qsizetype kPlainRun = 256;

bool isPlain(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+'
           || c == '/' || c == '=';
}

// End of the run of base-64 digits that starts at `from`. The run may be the whole document,
// so sixteen bytes are tested at a time where the processor allows.
qsizetype plainRunEnd(QByteArrayView bytes, qsizetype from)
{
    const char *data = bytes.data();
    qsizetype at = from;
#if defined(__SSE2__)
    // Bytes from 0x80 up compare as negative and so fall outside every range.
    const auto range = [](__m128i v, char low, char high) {
        return _mm_and_si128(_mm_cmpgt_epi8(v, _mm_set1_epi8(char(low - 1))),
                             _mm_cmplt_epi8(v, _mm_set1_epi8(char(high + 1))));
    };
    for (; at + 16 <= bytes.size(); at += 16) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(data + at));
        const __m128i plain = _mm_or_si128(
            _mm_or_si128(_mm_or_si128(range(v, 'A', 'Z'), range(v, 'a', 'z')), range(v, '0', '9')),
            _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(v, _mm_set1_epi8('+')),
                                      _mm_cmpeq_epi8(v, _mm_set1_epi8('/'))),
                         _mm_cmpeq_epi8(v, _mm_set1_epi8('='))));
        const int mask = _mm_movemask_epi8(plain);
        if (mask != 0xFFFF)
            return at + std::countr_one(unsigned(mask));
    }
#endif
    while (at < bytes.size() && isPlain(data[at]))
        ++at;
    return at;
}

// The document's bytes carry ASCII as ASCII (UTF-8, Latin-1, US-ASCII), so a run of base-64
// digits means those characters. UTF-16 starts with a byte order mark or a NUL beside "<".
bool isAsciiCompatible(QByteArrayView bytes)
{
    if (bytes.startsWith("\xef\xbb\xbf"))
        bytes = bytes.sliced(3);
    return bytes.size() >= 2 && bytes[0] == '<' && bytes[1] != '\0';
}

// Position of the first character after a ">" that is followed by a long run of base-64
// digits in [from, to); -1 when there is none.
qsizetype findPlainRun(QByteArrayView bytes, qsizetype from, qsizetype to)
{
    const char *data = bytes.data();
    for (qsizetype at = from; at < to;) {
        const void *found = std::memchr(data + at, '>', size_t(to - at));
        if (!found)
            return -1;
        const qsizetype start = static_cast<const char *>(found) - data + 1;
        // Mostly the next tag follows at once.
        if (start + kPlainRun <= bytes.size() && isPlain(data[start])
            && plainRunEnd(bytes.first(start + kPlainRun), start) == start + kPlainRun)
            return start;
        at = start;
    }
    return -1;
}

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

    // Feeds Expat slice by slice. A long run of base-64 digits right after a start tag (a
    // document as base-64 text) is the one thing Expat would only copy through, character by
    // character: the run is handed to the node directly and Expat continues behind it, as if it
    // had reported the run itself.
    bool run(const QByteArray &bytes)
    {
        if (!m_parser)
            return false;
        m_size = bytes.size();
        const bool plainRuns = isAsciiCompatible(bytes);
        const char *data = bytes.constData();
        qsizetype offset = 0;
        for (;;) {
            qsizetype end = std::min(bytes.size() - offset, kParseSlice) + offset;
            const qsizetype runStart = plainRuns ? findPlainRun(bytes, offset, end) : -1;
            if (runStart >= 0)
                end = runStart;
            const bool last = end == bytes.size() && runStart < 0;
            if (XML_Parse(m_parser, data + offset, int(end - offset), last) != XML_STATUS_OK) {
                logFailure();
                return false;
            }
            offset = end;
            if (runStart >= 0 && runStart == m_lastStartTagEnd && m_handler == Handler::Node
                && !m_refused) {
                const qsizetype runEnd = plainRunEnd(bytes, runStart);
                m_current->foundCharacters(data + runStart, runEnd - runStart,
                                           bytes.size() - runEnd);
                m_skipped += runEnd - runStart;
                offset = runEnd;
            }
            if (last)
                break;
            if (offset == bytes.size()) {
                if (XML_Parse(m_parser, data, 0, true) != XML_STATUS_OK) {
                    logFailure();
                    return false;
                }
                break;
            }
        }
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

    // Where the document stands, counting the bytes that went past Expat.
    qsizetype position() const { return qsizetype(XML_GetCurrentByteIndex(m_parser)) + m_skipped; }

    static void XMLCALL onStart(void *userData, const XML_Char *element, const XML_Char **)
    {
        ParsePass *pass = self(userData);
        if (pass->m_refused)
            return;
        pass->m_lastStartTagEnd = pass->position() + XML_GetCurrentByteCount(pass->m_parser);
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
            const qsizetype remaining = pass->m_size - pass->position() - length;
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
    qsizetype m_skipped = 0;          // bytes handed to the nodes directly
    qsizetype m_lastStartTagEnd = -1; // where the last start tag ended
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
        return FXError{domain, OutOfMemoryError,
                       FXText("Your site ran out of memory while processing this request")};
    if (m_isFault) {
        if (!m_object.contains(QStringLiteral("faultCode")))
            return FXError{domain, InvalidFaultError,
                           FXText("The data doesn't look like a valid XML-RPC Fault response")};
        return FXError{QString::fromLatin1(kFaultErrorDomain), faultCode(), faultString()};
    }
    if (m_parseError)
        return FXError{domain, ParseError,
                       FXText("The data doesn't look like a valid XML-RPC response")};
    return FXError();
}
