#pragma once

#include <QAbstractListModel>
#include <QHash>
#include <QImage>
#include <QSet>

class QPdfDocument;
class QPdfPageRenderer;

// The pages of the shown fax document as thumbnails, rendered on demand off the GUI thread.
// Dragging pages within the grid does not move them here: it asks for the move
// (movePagesRequested), and the controller rewrites the files and reloads the document.
class FBPageThumbnailModel : public QAbstractListModel
{
    Q_OBJECT

public:
    static constexpr int thumbnailWidth = 120;

    explicit FBPageThumbnailModel(QPdfDocument *document, QObject *parent = nullptr);

    // What a reloaded document does with the thumbnails drawn so far: drops them (another
    // document), keeps them (the same pages, more of them; those in `changed` are drawn anew),
    // or shows them until each is drawn anew (the same pages, converted differently). Applies
    // to the next reload.
    enum class Reload { Clear, Keep, Redraw };
    void setReload(Reload reload, const QSet<int> &changed = {})
    {
        m_reload = reload;
        m_changed = changed;
    }

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    Qt::DropActions supportedDropActions() const override;
    QStringList mimeTypes() const override;
    QMimeData *mimeData(const QModelIndexList &indexes) const override;
    bool canDropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                         const QModelIndex &parent) const override;
    bool dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                      const QModelIndex &parent) override;

Q_SIGNALS:
    void movePagesRequested(const QList<qsizetype> &indexes, qsizetype toIndex);
    void pdfDropped(const QString &path, int atIndex);

private:
    void reset();
    QSize thumbnailSize(int page) const;

    QPdfDocument *m_document;
    QPdfPageRenderer *m_renderer;
    QHash<int, QImage> m_images;
    QSet<int> m_current; // pages whose image is of the document shown
    mutable QSet<int> m_requested;
    Reload m_reload = Reload::Clear;
    QSet<int> m_changed;
};
