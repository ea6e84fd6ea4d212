#pragma once

#include <QByteArray>
#include <QDate>
#include <QSizeF>
#include <QString>

class QPainter;

// The fax cover page: a large "Fax" title, then To, From, the sender's fax line, Subject, Date
// and the page count beside their captions, a rule, and the free text. One design for the
// cover window's preview and for the command line: both draw through paint(). The PDF is
// vector: its text stays text, sharp after the fax conversion and selectable.
class FXCoverPage
{
public:
    struct Fields
    {
        QString to;   // up to three lines; empty: the line and its caption are left out
        QString from; // likewise
        QString subject;
        QString bodyHtml; // the free text as rich text (HTML); empty for none
        QDate date;
        QString faxLine; // the sender's line as the settings keep it ("4921155500199")
        int pages = 0;   // of the whole fax, the cover included; 0 leaves the line out
        // The captions of an empty To or From are drawn all the same: the editing preview
        // shows the form with its empty lines.
        bool toCaption = false;
        bool fromCaption = false;
    };

    // The lines a from or to field holds at most.
    static constexpr int kMaximumFieldLines = 3;

    // A4 in points; paint() draws into this rectangle from (0, 0).
    static QSizeF pageSize() { return QSizeF(595, 842); }
    static void paint(QPainter *painter, const Fields &fields);

    // "dd.MM.yyyy" whatever the locale.
    static QString dateText(const QDate &date);

    // The page as a one-page PDF.
    static QByteArray pdfForFields(const Fields &fields);

    // The command line's cover: the subject, today's date, the fax line from the settings and
    // the page count.
    static QByteArray pdfWithSubject(const QString &subject, int documentPages);

    // The document with the page in front. Empty, with a message in `error`, when it could not
    // be made.
    static QByteArray prependedTo(const QByteArray &document, const QString &subject,
                                  int documentPages, QString *error);
};
