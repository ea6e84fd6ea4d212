#include "provider/xmlrpc/WPXMLRPCDataCleaner.h"

#include "foundation/FXLogging.h"

#include <QStringDecoder>

#include <cerrno>
#include <iconv.h>

WPXMLRPCDataCleaner::WPXMLRPCDataCleaner(const QByteArray &data)
    : m_data(data)
{}

QByteArray WPXMLRPCDataCleaner::cleanData() const
{
    // Each step lets go of the previous form, so a large answer is held about twice at most.
    QString text = stringFromData(cleanInvalidUTF8(m_data));
    const qsizetype cut = cutBeforeXmlDeclaration(text);
    text = cleanCharactersForXML(std::move(text));
    // No tidying library is linked, so the optional tidy pass of other clients never runs.
    text = closeTruncatedResponse(text, cut);
    return text.toUtf8();
}

QByteArray WPXMLRPCDataCleaner::cleanInvalidUTF8(const QByteArray &data)
{
    iconv_t converter = iconv_open("UTF-8//IGNORE", "UTF-8");
    if (converter == iconv_t(-1)) {
        qCWarning(lcService, "iconv cannot convert UTF-8 to UTF-8");
        return data;
    }
    // Dropping sequences only ever shrinks the text.
    QByteArray result(data.size(), Qt::Uninitialized);
    char *in = const_cast<char *>(data.constData());
    size_t inLeft = size_t(data.size());
    char *out = result.data();
    size_t outLeft = size_t(result.size());
    while (inLeft > 0) {
        const size_t before = inLeft;
        if (iconv(converter, &in, &inLeft, &out, &outLeft) != size_t(-1))
            break;
        // glibc reports EILSEQ after skipping with //IGNORE; carry on from where it stopped.
        if (errno == EILSEQ) {
            if (inLeft == before) {
                ++in;
                --inLeft;
            }
            continue;
        }
        // EINVAL: an incomplete sequence at the end, which is invalid as well.
        break;
    }
    iconv_close(converter);
    result.truncate(out - result.constData());
    return result;
}

QString WPXMLRPCDataCleaner::stringFromData(const QByteArray &data)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder(data);
    if (decoder.hasError())
        return QString::fromLatin1(data);
    return text;
}

qsizetype WPXMLRPCDataCleaner::cutBeforeXmlDeclaration(QString &text)
{
    const qsizetype start = text.indexOf(QLatin1String("<?xml"));
    if (start <= 0)
        return 0;
    text.remove(0, start);
    return start;
}

QString WPXMLRPCDataCleaner::cleanCharactersForXML(QString text)
{
    // Compacts in place.
    QChar *out = text.data();
    for (const QChar c : std::as_const(text)) {
        const char16_t u = c.unicode();
        // Surrogates fall outside both ranges, so every character beyond the basic plane goes.
        if (u == 0x9 || u == 0xA || u == 0xD || (u >= 0x20 && u <= 0xD7FF)
            || (u >= 0xE000 && u <= 0xFFFD))
            *out++ = c;
    }
    text.truncate(out - text.constData());
    return text;
}

QString WPXMLRPCDataCleaner::closeTruncatedResponse(const QString &text, qsizetype charactersCut)
{
    if (!text.contains(QLatin1String("methodResponse"))
        || text.contains(QLatin1String("</methodResponse>")))
        return text;
    const QString closing = text.contains(QLatin1String("<params>"))
                                ? QStringLiteral("</param></params></methodResponse>")
                                : QStringLiteral("</value></fault></methodResponse>");
    if (closing.size() < charactersCut)
        return text;

    // The last complete closing tag, as the pattern "</[^>]+>[^>]*$" finds it: its ">" is the
    // last ">" of the text, and it starts at the first "</" after the ">" before that.
    const qsizetype tagEnd = text.lastIndexOf(QLatin1Char('>'));
    if (tagEnd >= 0) {
        const qsizetype previous = tagEnd > 0 ? text.lastIndexOf(QLatin1Char('>'), tagEnd - 1) : -1;
        const qsizetype tagStart = text.indexOf(QLatin1String("</"), previous + 1);
        if (tagStart >= 0 && tagStart + 2 < tagEnd) {
            const QString tag = text.mid(tagStart, tagEnd - tagStart + 1);
            const qsizetype inClosing = closing.indexOf(tag);
            if (inClosing >= 0)
                return text.left(tagStart) + closing.mid(inClosing);
        }
    }

    const qsizetype lastOpen = text.lastIndexOf(QLatin1Char('<'));
    if (lastOpen < 0)
        return text;
    const QString fragment = text.mid(lastOpen);
    const qsizetype inClosing = closing.indexOf(fragment);
    if (inClosing >= 0)
        return text + closing.mid(inClosing + fragment.size());
    return text + closing;
}
