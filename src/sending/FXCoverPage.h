#pragma once

#include <QByteArray>
#include <QString>

// The cover page the command line puts in front of a document: title, sender line, subject,
// date and page count, laid out by Qt's rich-text engine on one A4 page.
class FXCoverPage
{
public:
    // The page as a one-page PDF; documentPages is the count without it.
    static QByteArray pdfWithSubject(const QString &subject, int documentPages);

    // The document with the page in front. Empty, with a message in `error`, when it could not
    // be made.
    static QByteArray prependedTo(const QByteArray &document, const QString &subject,
                                  int documentPages, QString *error);
};
