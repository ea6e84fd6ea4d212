#pragma once

#include <QByteArray>
#include <QString>

// Repairs a response that did not parse, for one more attempt: drops invalid UTF-8 (falling
// back to Latin-1 when the bytes are no UTF-8 at all), cuts anything before "<?xml", removes
// characters XML does not allow, and closes a methodResponse that was cut short.
class WPXMLRPCDataCleaner
{
public:
    explicit WPXMLRPCDataCleaner(const QByteArray &data);

    // The repaired document as UTF-8.
    QByteArray cleanData() const;

    // The steps, in the order cleanData() applies them.
    static QByteArray cleanInvalidUTF8(const QByteArray &data);
    static QString stringFromData(const QByteArray &data);
    // Returns the number of characters cut.
    static qsizetype cutBeforeXmlDeclaration(QString &text);
    static QString cleanCharactersForXML(QString text);
    static QString closeTruncatedResponse(const QString &text, qsizetype charactersCut);

private:
    QByteArray m_data;
};
