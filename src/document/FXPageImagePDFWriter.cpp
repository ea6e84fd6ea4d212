#include "document/FXPageImagePDFWriter.h"

#include <QFile>

#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFPageObjectHelper.hh>

#include <algorithm>

namespace {

constexpr int catalogObject = 1;
constexpr int pagesObject = 2;
constexpr int infoObject = 3;

QByteArray number(qint64 value)
{
    return QByteArray::number(value);
}

} // namespace

FXPageImagePDFWriter::FXPageImagePDFWriter(const QString &path)
    : m_file(path)
{
    // Where the folder is not writable but the file is, write in place rather than fail.
    m_file.setDirectWriteFallback(true);
}

bool FXPageImagePDFWriter::open()
{
    if (!m_file.open(QIODevice::WriteOnly))
        return fail(m_file.errorString());
    // The second line marks the file as binary for transfer programs.
    write("%PDF-1.4\n%\xE2\xE3\xCF\xD3\n");
    m_offsets.fill(0, infoObject);
    m_offsets[catalogObject - 1] = m_position;
    write("1 0 obj\n<< /Type /Catalog /Pages 2 0 R >>\nendobj\n");
    m_offsets[infoObject - 1] = m_position;
    write("3 0 obj\n<< /Producer (Faxolino) >>\nendobj\n");
    return !m_failed;
}

int FXPageImagePDFWriter::beginObject()
{
    m_offsets.append(m_position);
    return m_offsets.size();
}

bool FXPageImagePDFWriter::addPage(const QByteArray &stream, Encoding encoding, int width,
                                   int height)
{
    if (m_failed || !m_file.isOpen())
        return false;
    const int pageObject = m_offsets.size() + 1;
    const int contentsObject = pageObject + 1;
    const int imageNumber = pageObject + 2;

    beginObject();
    write(number(pageObject) + " 0 obj\n<< /Type /Page /Parent 2 0 R /MediaBox [0 0 "
          + number(mediaWidth) + ' ' + number(mediaHeight) + "] /Resources << /XObject << /Im0 "
          + number(imageNumber) + " 0 R >> >> /Contents " + number(contentsObject)
          + " 0 R >>\nendobj\n");

    const QByteArray contents =
        "q " + number(mediaWidth) + " 0 0 " + number(mediaHeight) + " 0 0 cm /Im0 Do Q\n";
    beginObject();
    write(number(contentsObject) + " 0 obj\n<< /Length " + number(contents.size()) + " >>\nstream\n"
          + contents + "endstream\nendobj\n");

    beginObject();
    write(imageObject(imageNumber, stream, encoding, width, height));

    if (m_failed)
        return false;
    m_pageObjects.append(pageObject);
    return true;
}

QByteArray FXPageImagePDFWriter::imageObject(int object, const QByteArray &stream,
                                             Encoding encoding, int width, int height)
{
    QByteArray image = number(object) + " 0 obj\n<< /Type /XObject /Subtype /Image /Width "
                       + number(width) + " /Height " + number(height) + " /ColorSpace /DeviceGray";
    if (encoding == Group4) {
        image += " /BitsPerComponent 1 /Filter /CCITTFaxDecode /DecodeParms << /K -1 /Columns "
                 + number(width) + " /Rows " + number(height) + " >>";
    } else {
        image += " /BitsPerComponent 8 /Filter /FlateDecode";
    }
    return image + " /Length " + number(stream.size()) + " >>\nstream\n" + stream
           + "\nendstream\nendobj\n";
}

QByteArray FXPageImagePDFWriter::withPageImage(const QByteArray &document, int page,
                                               const QByteArray &stream, Encoding encoding,
                                               int width, int height, int *pageCount,
                                               QString *errorString)
{
    const auto failed = [errorString](const QString &what) {
        *errorString = what;
        return QByteArray();
    };
    // The update refers back to the document's last cross-reference table.
    const qsizetype marker = document.lastIndexOf("startxref");
    bool isNumber = false;
    const qint64 previousTable = marker < 0 ? -1
                                            : document.mid(marker + 9, 24)
                                                  .trimmed()
                                                  .split('\n')
                                                  .value(0)
                                                  .trimmed()
                                                  .toLongLong(&isNumber);
    if (!isNumber || previousTable < 0 || previousTable >= document.size()
        || !document.mid(previousTable, 4).startsWith("xref"))
        return failed(QStringLiteral("the document does not end in a cross-reference table"));
    int object = 0;
    QByteArray trailer;
    try {
        QPDF pdf;
        pdf.setSuppressWarnings(true);
        pdf.processMemoryFile("document", document.constData(), size_t(document.size()));
        std::vector<QPDFPageObjectHelper> pages = QPDFPageDocumentHelper(pdf).getAllPages();
        *pageCount = int(pages.size());
        if (page < 1 || page > *pageCount)
            return failed(QStringLiteral("the document has no page %1").arg(page));
        const std::map<std::string, QPDFObjectHandle> images =
            pages.at(size_t(page - 1)).getImages();
        if (images.size() != 1 || !images.begin()->second.isIndirect()
            || images.begin()->second.getGeneration() != 0)
            return failed(QStringLiteral("page %1 holds other than one image").arg(page));
        object = images.begin()->second.getObjectID();
        QPDFObjectHandle old = pdf.getTrailer();
        trailer = "<< /Size " + QByteArray::number(old.getKey("/Size").getIntValue());
        for (const char *key : {"/Root", "/Info", "/ID"}) {
            if (old.hasKey(key))
                trailer += ' ' + QByteArray(key) + ' '
                           + QByteArray::fromStdString(old.getKey(key).unparse());
        }
    } catch (const std::exception &e) {
        return failed(QString::fromLocal8Bit(e.what()));
    }
    QByteArray result = document;
    if (!result.endsWith('\n'))
        result += '\n';
    const qint64 offset = result.size();
    result += imageObject(object, stream, encoding, width, height);
    const qint64 table = result.size();
    result += "xref\n" + number(object) + " 1\n" + number(offset).rightJustified(10, '0')
              + " 00000 n \ntrailer\n" + trailer + " /Prev " + number(previousTable)
              + " >>\nstartxref\n" + number(table) + "\n%%EOF\n";
    return result;
}

QByteArray FXPageImagePDFWriter::closingSection(qint64 bodySize, const QByteArray &id) const
{
    QList<qint64> offsets = m_offsets;
    offsets[pagesObject - 1] = bodySize;
    QByteArray section = "2 0 obj\n<< /Type /Pages /Kids [";
    for (int i = 0; i < m_pageObjects.size(); ++i)
        section += (i ? " " : "") + number(m_pageObjects.at(i)) + " 0 R";
    section += "] /Count " + number(m_pageObjects.size()) + " >>\nendobj\n";

    const qint64 xrefOffset = bodySize + section.size();
    section += "xref\n0 " + number(offsets.size() + 1) + "\n0000000000 65535 f \n";
    for (qint64 offset : std::as_const(offsets))
        section += QByteArray::number(offset).rightJustified(10, '0') + " 00000 n \n";
    section += "trailer\n<< /Size " + number(offsets.size() + 1) + " /Root 1 0 R /Info 3 0 R /ID [<"
               + id + "> <" + id + ">] >>\nstartxref\n" + number(xrefOffset) + "\n%%EOF\n";
    return section;
}

bool FXPageImagePDFWriter::commit()
{
    if (m_failed || !m_file.isOpen())
        return false;
    // The ID is the digest of everything before the trailer.
    const qint64 bodySize = m_position;
    const QByteArray unnamed = closingSection(bodySize, QByteArray());
    m_digest.addData(QByteArrayView(unnamed).first(unnamed.indexOf("trailer\n")));
    const QByteArray id = m_digest.result().toHex();
    const QByteArray section = closingSection(bodySize, id);
    if (m_file.write(section) != section.size())
        return fail(m_file.errorString());
    m_position += section.size();
    if (!m_file.commit())
        return fail(m_file.errorString());
    return true;
}

bool FXPageImagePDFWriter::writeSnapshot(const QString &path, QString *errorString)
{
    const auto failed = [errorString](const QString &what) {
        if (errorString)
            *errorString = what;
        return false;
    };
    if (m_failed || !m_file.isOpen() || !m_file.flush())
        return failed(QStringLiteral("the document is not being written"));
    // The file being written is open for writing only; a second descriptor reads it back.
    QFile body(QStringLiteral("/proc/self/fd/%1").arg(m_file.handle()));
    if (!body.open(QIODevice::ReadOnly))
        return failed(body.errorString());
    QSaveFile snapshot(path);
    if (!snapshot.open(QIODevice::WriteOnly))
        return failed(snapshot.errorString());
    QByteArray chunk;
    for (qint64 left = m_position; left > 0; left -= chunk.size()) {
        chunk = body.read(std::min<qint64>(left, 1 << 20));
        if (chunk.isEmpty() || snapshot.write(chunk) != chunk.size())
            return failed(QStringLiteral("cannot copy the pages written so far"));
    }
    const QByteArray section = closingSection(m_position, QByteArrayLiteral("00"));
    if (snapshot.write(section) != section.size() || !snapshot.commit())
        return failed(snapshot.errorString());
    return true;
}

bool FXPageImagePDFWriter::write(const QByteArray &bytes)
{
    if (m_failed)
        return false;
    if (m_file.write(bytes) != bytes.size())
        return fail(m_file.errorString());
    m_digest.addData(bytes);
    m_position += bytes.size();
    return true;
}

bool FXPageImagePDFWriter::fail(const QString &what)
{
    if (!m_failed) {
        m_failed = true;
        m_errorString = what;
    }
    if (m_file.isOpen())
        m_file.cancelWriting();
    return false;
}
