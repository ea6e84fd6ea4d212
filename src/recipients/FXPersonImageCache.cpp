#include "recipients/FXPersonImageCache.h"

#include "foundation/FBBundle.h"
#include "foundation/FXLogging.h"

#include <QBuffer>
#include <QImageReader>

namespace {

// Pictures are decoded straight to this size when the format allows (JPEG does), which keeps
// a camera photo of 20 megapixels from ever being held in full.
constexpr int decodeEdge = 4 * FXPersonImageCache::bigSize;
constexpr int maxPictureEdge = 16384;

} // namespace

FXPersonImageCache &FXPersonImageCache::sharedCache()
{
    static FXPersonImageCache cache;
    return cache;
}

QImage FXPersonImageCache::imageForPerson(const QString &personID, const QByteArray &pictureData,
                                          int size)
{
    if (pictureData.isEmpty() || size <= 0) {
        m_people.remove(personID);
        return QImage();
    }
    const size_t hash = qHash(pictureData);
    Pictures &pictures = m_people[personID];
    if (pictures.dataHash != hash || pictures.dataSize != pictureData.size()) {
        pictures = Pictures();
        pictures.dataHash = hash;
        pictures.dataSize = pictureData.size();
    }
    const auto cached = pictures.bySize.constFind(size);
    if (cached != pictures.bySize.constEnd())
        return cached.value();

    if (pictures.square.isNull()) {
        pictures.square = decodeSquare(pictureData);
        if (pictures.square.isNull()) {
            // Remember the failure as null images, so a refill does not decode it again.
            pictures.bySize.insert(smallSize, QImage());
            pictures.bySize.insert(bigSize, QImage());
            pictures.bySize.insert(size, QImage());
            return QImage();
        }
    }
    QImage scaled =
        pictures.square.scaled(size, size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    pictures.bySize.insert(size, scaled);
    if (pictures.bySize.contains(smallSize) && pictures.bySize.contains(bigSize))
        pictures.square = QImage();
    return scaled;
}

void FXPersonImageCache::retainOnly(const QSet<QString> &personIDs)
{
    for (auto it = m_people.begin(); it != m_people.end();) {
        if (personIDs.contains(it.key()))
            ++it;
        else
            it = m_people.erase(it);
    }
}

QImage FXPersonImageCache::decodeSquare(const QByteArray &data)
{
    if (data.size() > maxPictureBytes) {
        qCWarning(lcRecipients, "Person picture of %lld bytes is too large, ignored",
                  static_cast<long long>(data.size()));
        return QImage();
    }
    ++m_decodeCount;
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    const QSize full = reader.size();
    if (full.isValid()) {
        if (full.isEmpty() || full.width() > maxPictureEdge || full.height() > maxPictureEdge) {
            qCWarning(lcRecipients, "Person picture of %dx%d pixels ignored", full.width(),
                      full.height());
            return QImage();
        }
        if (qMax(full.width(), full.height()) > decodeEdge)
            reader.setScaledSize(full.scaled(decodeEdge, decodeEdge, Qt::KeepAspectRatio));
    }
    QImage image = reader.read();
    if (image.isNull()) {
        qCWarning(lcRecipients, "Person picture could not be decoded: %s",
                  qUtf8Printable(reader.errorString()));
        return QImage();
    }
    const int edge = qMin(image.width(), image.height());
    image = image.copy((image.width() - edge) / 2, (image.height() - edge) / 2, edge, edge);
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

QImage FXPersonImageCache::namedImage(const QString &name)
{
    static QHash<QString, QImage> images;
    const auto found = images.constFind(name);
    if (found != images.constEnd())
        return found.value();
    const QString path = FBBundle::pathForResource(
        QLatin1String(kCoreBundleName), QStringLiteral("Images/") + name + QStringLiteral(".png"));
    QImage image;
    if (path.isEmpty() || !image.load(path))
        qCWarning(lcRecipients, "Missing image resource %s", qUtf8Printable(name));
    images.insert(name, image);
    return image;
}
