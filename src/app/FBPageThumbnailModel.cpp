#include "app/FBPageThumbnailModel.h"

#include "foundation/FBLocalization.h"

#include <QFileInfo>
#include <QMimeData>
#include <QPdfDocument>
#include <QPdfPageRenderer>
#include <QUrl>

namespace {

const QString pageListType = QStringLiteral("application/x-faxolino-pages");

} // namespace

FBPageThumbnailModel::FBPageThumbnailModel(QPdfDocument *document, QObject *parent)
    : QAbstractListModel(parent)
    , m_document(document)
    , m_renderer(new QPdfPageRenderer(this))
{
    m_renderer->setRenderMode(QPdfPageRenderer::RenderMode::MultiThreaded);
    m_renderer->setDocument(document);
    connect(document, &QPdfDocument::statusChanged, this, &FBPageThumbnailModel::reset);
    connect(document, &QPdfDocument::pageCountChanged, this, &FBPageThumbnailModel::reset);
    connect(m_renderer, &QPdfPageRenderer::pageRendered, this,
            [this](int page, QSize, const QImage &image) {
                if (page < 0 || page >= rowCount())
                    return;
                // Rendered at twice the size: sharp on HiDPI screens, drawn at the size of a
                // thumbnail everywhere.
                QImage sharp = image;
                sharp.setDevicePixelRatio(2.0);
                m_images.insert(page, sharp);
                m_current.insert(page);
                const QModelIndex changed = index(page);
                Q_EMIT dataChanged(changed, changed, {Qt::DecorationRole});
            });
}

void FBPageThumbnailModel::reset()
{
    beginResetModel();
    // Requests in flight end with the old document; pages without a current image ask again.
    if (m_reload == Reload::Clear)
        m_images.clear();
    if (m_reload != Reload::Keep)
        m_current.clear();
    for (const int page : std::as_const(m_changed))
        m_current.remove(page);
    m_requested.clear();
    endResetModel();
}

int FBPageThumbnailModel::rowCount(const QModelIndex &parent) const
{
    if (parent.isValid() || m_document->status() != QPdfDocument::Status::Ready)
        return 0;
    return m_document->pageCount();
}

QSize FBPageThumbnailModel::thumbnailSize(int page) const
{
    const QSizeF points = m_document->pagePointSize(page);
    if (!(points.width() > 0 && points.height() > 0))
        return QSize(thumbnailWidth, thumbnailWidth * 297 / 210);
    return QSize(thumbnailWidth, qBound(1, int(thumbnailWidth * points.height() / points.width()),
                                        thumbnailWidth * 4));
}

QVariant FBPageThumbnailModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const int page = index.row();
    switch (role) {
    case Qt::DisplayRole:
        return QString::number(page + 1);
    case Qt::AccessibleTextRole:
        return FXText("thumbnail_page").arg(page + 1).arg(rowCount());
    case Qt::DecorationRole: {
        const auto image = m_images.constFind(page);
        if (image != m_images.constEnd() && m_current.contains(page))
            return *image;
        if (!m_requested.contains(page)) {
            m_requested.insert(page);
            m_renderer->requestPage(page, thumbnailSize(page) * 2);
        }
        // The page as it was drawn before, until it is drawn anew.
        if (image != m_images.constEnd())
            return *image;
        QImage blank(thumbnailSize(page), QImage::Format_RGB32);
        blank.fill(Qt::white);
        return blank;
    }
    case Qt::SizeHintRole:
        return thumbnailSize(page) + QSize(16, 32);
    default:
        return {};
    }
}

Qt::ItemFlags FBPageThumbnailModel::flags(const QModelIndex &index) const
{
    const Qt::ItemFlags base = QAbstractListModel::flags(index) | Qt::ItemIsDropEnabled;
    return index.isValid() ? base | Qt::ItemIsDragEnabled : base;
}

Qt::DropActions FBPageThumbnailModel::supportedDropActions() const
{
    return Qt::MoveAction | Qt::CopyAction;
}

QStringList FBPageThumbnailModel::mimeTypes() const
{
    return {pageListType, QStringLiteral("text/uri-list")};
}

QMimeData *FBPageThumbnailModel::mimeData(const QModelIndexList &indexes) const
{
    QByteArray rows;
    for (const QModelIndex &index : indexes)
        rows += QByteArray::number(index.row()) + ' ';
    auto *data = new QMimeData;
    data->setData(pageListType, rows.trimmed());
    return data;
}

bool FBPageThumbnailModel::canDropMimeData(const QMimeData *data, Qt::DropAction, int, int,
                                           const QModelIndex &) const
{
    return data->hasFormat(pageListType) || data->hasUrls();
}

bool FBPageThumbnailModel::dropMimeData(const QMimeData *data, Qt::DropAction, int row, int,
                                        const QModelIndex &parent)
{
    const int count = rowCount();
    int target = row >= 0 ? row : (parent.isValid() ? parent.row() : count);
    target = qBound(0, target, count);
    if (data->hasFormat(pageListType)) {
        QList<qsizetype> indexes;
        for (const QByteArray &part : data->data(pageListType).split(' ')) {
            bool ok = false;
            const int page = part.toInt(&ok);
            if (ok && page >= 0 && page < count && !indexes.contains(page))
                indexes.append(page);
        }
        std::sort(indexes.begin(), indexes.end());
        if (!indexes.isEmpty())
            Q_EMIT movePagesRequested(indexes, target);
        // The move happens through the controller; the view must not remove rows itself.
        return false;
    }
    for (const QUrl &url : data->urls()) {
        if (url.isLocalFile()) {
            Q_EMIT pdfDropped(url.toLocalFile(), target);
            return false;
        }
    }
    return false;
}
