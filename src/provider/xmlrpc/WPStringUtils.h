#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <algorithm>
#include <cstring>

// Escaping of text for XML-RPC documents.
class WPStringUtils
{
public:
    // "&" becomes "&#38;", ">" "&#62;" and "<" "&#60;", in this order; quotes and apostrophes
    // stay as they are.
    static QString escapedStringWithString(const QString &string);
    // The same on UTF-8 bytes; the characters involved are ASCII, so the result is identical.
    static QByteArray escapedUtf8(QByteArrayView utf8);
    // Hands the escaped form of `utf8` to `sink` piece by piece (runs of the text, and the
    // references in between) without building it. Each of the three characters is looked for
    // with memchr and its next position remembered, so a large text (a document as base-64)
    // passes at memory speed.
    template <typename Sink>
    static void escapeUtf8(QByteArrayView utf8, Sink &&sink);

    // Replaces, in this order and literally: "&quot;" with a double quote; "&#x27;", "&#x39;",
    // "&#x92;" and "&#x96;" each with an apostrophe; "&gt;" with ">", "&lt;" with "<" and last
    // "&amp;" with "&". The two that are no apostrophe anywhere are part of the contract.
    static QString unescapedStringWithString(const QString &string);
};

template <typename Sink>
void WPStringUtils::escapeUtf8(QByteArrayView utf8, Sink &&sink)
{
    if (utf8.isEmpty())
        return;
    const char *const end = utf8.data() + utf8.size();
    const auto next = [end](const char *from, char c) {
        const void *found = std::memchr(from, c, size_t(end - from));
        return found ? static_cast<const char *>(found) : end;
    };
    const char *run = utf8.data();
    const char *ampersand = next(run, '&');
    const char *less = next(run, '<');
    const char *greater = next(run, '>');
    for (;;) {
        const char *at = std::min({ampersand, less, greater});
        if (at == end)
            break;
        if (at > run)
            sink(QByteArrayView(run, at - run));
        if (at == ampersand) {
            sink(QByteArrayView("&#38;"));
            ampersand = next(at + 1, '&');
        } else if (at == greater) {
            sink(QByteArrayView("&#62;"));
            greater = next(at + 1, '>');
        } else {
            sink(QByteArrayView("&#60;"));
            less = next(at + 1, '<');
        }
        run = at + 1;
    }
    if (end > run)
        sink(QByteArrayView(run, end - run));
}
