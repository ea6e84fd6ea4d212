#include "document/FXRaster.h"

namespace {

QImage::Format formatForLayout(FXRaster::Layout layout)
{
    switch (layout) {
    case FXRaster::Rgba:
        return QImage::Format_RGBA8888;
    case FXRaster::Gray:
        return QImage::Format_Grayscale8;
    case FXRaster::Bilevel:
        return QImage::Format_Mono;
    case FXRaster::Null:
        break;
    }
    return QImage::Format_Invalid;
}

const QList<QRgb> &bilevelColours()
{
    static const QList<QRgb> colours{qRgb(0, 0, 0), qRgb(255, 255, 255)};
    return colours;
}

} // namespace

FXRaster::FXRaster(int width, int height, Layout layout)
{
    if (width <= 0 || height <= 0 || layout == Null)
        return;
    QImage image(width, height, formatForLayout(layout));
    if (image.isNull())
        return;
    if (layout == Bilevel)
        image.setColorTable(bilevelColours());
    image.fill(0);
    m_image = std::move(image);
    m_layout = layout;
}

FXRaster FXRaster::fromImage(const QImage &image)
{
    FXRaster raster;
    if (image.isNull())
        return raster;
    switch (image.format()) {
    case QImage::Format_RGBA8888:
        raster.m_image = image;
        raster.m_layout = Rgba;
        break;
    case QImage::Format_Grayscale8:
        raster.m_image = image;
        raster.m_layout = Gray;
        break;
    case QImage::Format_Mono:
        if (image.colorTable() == bilevelColours()) {
            raster.m_image = image;
            raster.m_layout = Bilevel;
            break;
        }
        [[fallthrough]];
    default:
        raster.m_image = image.convertToFormat(QImage::Format_RGBA8888);
        raster.m_layout = raster.m_image.isNull() ? Null : Rgba;
        break;
    }
    return raster;
}

qsizetype FXRaster::usedBytesPerRow() const
{
    return (qsizetype(width()) * samplesPerPixel() * bitsPerSample() + 7) / 8;
}
