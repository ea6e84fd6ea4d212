#include "service/xmlrpc/WPStringUtils.h"

#include <cstdint>
#include <cstring>

namespace {

bool isEscapable(char c)
{
    return c == '&' || c == '<' || c == '>';
}

// Nonzero when one of the eight bytes of `word` equals the byte repeated in `pattern`.
constexpr std::uint64_t hasByte(std::uint64_t word, std::uint64_t pattern)
{
    constexpr std::uint64_t ones = 0x0101010101010101ULL;
    constexpr std::uint64_t highs = 0x8080808080808080ULL;
    const std::uint64_t x = word ^ pattern;
    return (x - ones) & ~x & highs;
}

} // namespace

QString WPStringUtils::escapedStringWithString(const QString &string)
{
    // Each replacement only adds "&#", digits and ";", so the three passes of the contract
    // equal this single pass.
    QString result;
    result.reserve(string.size());
    for (const QChar c : string) {
        switch (c.unicode()) {
        case '&':
            result += QLatin1String("&#38;");
            break;
        case '>':
            result += QLatin1String("&#62;");
            break;
        case '<':
            result += QLatin1String("&#60;");
            break;
        default:
            result += c;
        }
    }
    return result;
}

qsizetype WPStringUtils::indexOfEscapable(QByteArrayView utf8, qsizetype from)
{
    constexpr std::uint64_t ampersands = 0x2626262626262626ULL;
    constexpr std::uint64_t lessThans = 0x3c3c3c3c3c3c3c3cULL;
    constexpr std::uint64_t greaterThans = 0x3e3e3e3e3e3e3e3eULL;
    const char *data = utf8.data();
    qsizetype i = qMax<qsizetype>(from, 0);
    const qsizetype size = utf8.size();
    for (; i + 8 <= size; i += 8) {
        std::uint64_t word;
        std::memcpy(&word, data + i, sizeof word);
        if (hasByte(word, ampersands) | hasByte(word, lessThans) | hasByte(word, greaterThans))
            break;
    }
    for (; i < size; ++i) {
        if (isEscapable(data[i]))
            return i;
    }
    return -1;
}

QByteArray WPStringUtils::escapedUtf8(QByteArrayView utf8)
{
    QByteArray result;
    result.reserve(utf8.size());
    qsizetype runStart = 0;
    for (qsizetype i = indexOfEscapable(utf8); i >= 0; i = indexOfEscapable(utf8, i + 1)) {
        result.append(utf8.sliced(runStart, i - runStart));
        const char c = utf8[i];
        result.append(c == '&' ? "&#38;" : c == '>' ? "&#62;" : "&#60;");
        runStart = i + 1;
    }
    result.append(utf8.sliced(runStart));
    return result;
}

QString WPStringUtils::unescapedStringWithString(const QString &string)
{
    QString result = string;
    result.replace(QLatin1String("&quot;"), QLatin1String("\""));
    result.replace(QLatin1String("&#x27;"), QLatin1String("'"));
    result.replace(QLatin1String("&#x39;"), QLatin1String("'"));
    result.replace(QLatin1String("&#x92;"), QLatin1String("'"));
    result.replace(QLatin1String("&#x96;"), QLatin1String("'"));
    result.replace(QLatin1String("&gt;"), QLatin1String(">"));
    result.replace(QLatin1String("&lt;"), QLatin1String("<"));
    result.replace(QLatin1String("&amp;"), QLatin1String("&"));
    return result;
}
