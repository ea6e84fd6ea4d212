#pragma once

#include <QByteArray>
#include <QCryptographicHash>
#include <QList>
#include <QSaveFile>
#include <QString>

// Writes a PDF of A4 pages that each hold one full-page image, page after page, so that only
// the current page's compressed image is in memory. The file replaces the target only when
// commit() succeeds. The output is deterministic: its ID is the digest of its contents.
class FXPageImagePDFWriter
{
public:
    enum Encoding {
        Group4, // 1 bit per pixel, /CCITTFaxDecode K -1, white runs white
        Flate,  // 8-bit grey, /FlateDecode
    };

    static constexpr int mediaWidth = 595;
    static constexpr int mediaHeight = 842;

    explicit FXPageImagePDFWriter(const QString &path);
    FXPageImagePDFWriter(const FXPageImagePDFWriter &) = delete;
    FXPageImagePDFWriter &operator=(const FXPageImagePDFWriter &) = delete;

    bool open();
    // Adds a page whose image, width x height pixels, fills the media box.
    bool addPage(const QByteArray &stream, Encoding encoding, int width, int height);
    bool commit();
    // Writes the pages added so far, as a document of their own, to path (replaced whole).
    // The file being written stays open and unchanged.
    bool writeSnapshot(const QString &path, QString *errorString = nullptr);

    int pageCount() const { return m_pageObjects.size(); }

    // A document of such pages (ours, or rearranged by the assembly) with the image of page
    // `page` (counted from 1) replaced, as an update appended to its bytes: the other pages
    // are not written again. Empty, with the reason in errorString, when the document cannot
    // be read, has no such page, a page of it holds other than one image, or it does not end
    // in a cross-reference table.
    static QByteArray withPageImage(const QByteArray &document, int page, const QByteArray &stream,
                                    Encoding encoding, int width, int height, int *pageCount,
                                    QString *errorString);
    QString errorString() const { return m_errorString; }

private:
    // The page tree, the cross-reference table and the trailer for the pages so far, for a
    // file whose body ends at bodySize.
    QByteArray closingSection(qint64 bodySize, const QByteArray &id) const;
    int beginObject();
    static QByteArray imageObject(int object, const QByteArray &stream, Encoding encoding,
                                  int width, int height);
    bool write(const QByteArray &bytes);
    bool fail(const QString &what);

    QSaveFile m_file;
    QCryptographicHash m_digest{QCryptographicHash::Md5};
    QList<qint64> m_offsets; // of objects 1, 2, ...
    QList<int> m_pageObjects;
    qint64 m_position = 0;
    bool m_failed = false;
    QString m_errorString;
};
