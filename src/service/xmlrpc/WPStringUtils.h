#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

// Escaping of text for XML-RPC documents.
class WPStringUtils
{
public:
    // "&" becomes "&#38;", ">" "&#62;" and "<" "&#60;", in this order; quotes and apostrophes
    // stay as they are.
    static QString escapedStringWithString(const QString &string);
    // The same on UTF-8 bytes; the characters involved are ASCII, so the result is identical.
    static QByteArray escapedUtf8(QByteArrayView utf8);
    // Position of the next "&", "<" or ">" at or after `from`; -1 when there is none. Large
    // texts (a document as base-64) are scanned eight bytes at a time.
    static qsizetype indexOfEscapable(QByteArrayView utf8, qsizetype from = 0);

    // Replaces, in this order and literally: "&quot;" with a double quote; "&#x27;", "&#x39;",
    // "&#x92;" and "&#x96;" each with an apostrophe; "&gt;" with ">", "&lt;" with "<" and last
    // "&amp;" with "&". The two that are no apostrophe anywhere are part of the contract.
    static QString unescapedStringWithString(const QString &string);
};
