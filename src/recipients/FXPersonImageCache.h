#pragma once

#include <QByteArray>
#include <QHash>
#include <QImage>
#include <QSet>
#include <QString>

// Person pictures scaled to the phone book's two sizes, decoded once per person and picture
// and then served from memory; plus the default images of the core bundle.
class FXPersonImageCache
{
public:
    static constexpr int smallSize = 32;
    static constexpr int bigSize = 64;
    // Larger pictures are not decoded at all.
    static constexpr qsizetype maxPictureBytes = 16 * 1024 * 1024;

    static FXPersonImageCache &sharedCache();

    // The person's picture cropped to a square and scaled to size by size, or a null image
    // when there is no picture or it cannot be decoded. A changed picture is decoded anew.
    QImage imageForPerson(const QString &personID, const QByteArray &pictureData, int size);

    // Forgets every person not listed, so that removed contacts do not pin their pictures.
    void retainOnly(const QSet<QString> &personIDs);
    int cachedPersonCount() const { return int(m_people.size()); }
    // How many pictures were decoded since the process started; a cache hit decodes none.
    int decodeCount() const { return m_decodeCount; }

    // "PersonImage", "CompanyImage", "UnknownPersonImageIncoming", "UnknownPersonImageOutgoing"
    // from ":/VoxariaCoreBundle/Images/<name>.png"; a null image for an unknown name.
    static QImage namedImage(const QString &name);

private:
    struct Pictures
    {
        size_t dataHash = 0;
        qsizetype dataSize = 0;
        QImage square; // the decoded picture cropped to a square, dropped once both are made
        QHash<int, QImage> bySize;
    };

    QImage decodeSquare(const QByteArray &data);

    QHash<QString, Pictures> m_people;
    int m_decodeCount = 0;
};
