#include "provider/xmlrpc/WPStringUtils.h"

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

QByteArray WPStringUtils::escapedUtf8(QByteArrayView utf8)
{
    QByteArray result;
    result.reserve(utf8.size());
    escapeUtf8(utf8, [&result](QByteArrayView piece) { result.append(piece); });
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
