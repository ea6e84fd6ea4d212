#include "app/FBMainWindow.h"

#include "app/FBPageThumbnailModel.h"
#include "app/TokenSearchField.h"
#include "foundation/FBLocalization.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QPainter>
#include <QPdfDocument>
#include <QPdfView>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QSplitter>
#include <QStatusBar>
#include <QStyle>
#include <QToolBar>
#include <QWidgetAction>

namespace {

// The preview's background: white at 0.835, the grey behind the pages.
constexpr int previewGrey = 213;

enum class PageIcon { Text, Mixed, CoverSheet };

// A sheet of paper with what the kind of page holds, drawn for icon themes that have no
// icon of their own for it.
QIcon drawnPageIcon(PageIcon kind)
{
    QIcon icon;
    for (const int size : {16, 24, 32, 48, 64}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(size / 24.0, size / 24.0);
        const QColor ink(60, 60, 60);
        painter.setPen(QPen(ink, 1.2));
        painter.setBrush(Qt::white);
        painter.drawPolygon(QPolygonF({{5, 2.5}, {15, 2.5}, {19.5, 7}, {19.5, 21.5}, {5, 21.5}}));
        painter.drawPolyline(QPolygonF({{15, 2.5}, {15, 7}, {19.5, 7}}));
        painter.setPen(QPen(ink, 1.4));
        const auto line = [&painter](double y, double right) {
            painter.drawLine(QPointF(7.5, y), QPointF(right, y));
        };
        switch (kind) {
        case PageIcon::Text:
            for (double y = 9.5; y < 20; y += 2.5)
                line(y, y < 10 ? 13 : 17);
            break;
        case PageIcon::Mixed:
            line(9.5, 13);
            painter.setPen(Qt::NoPen);
            painter.setBrush(QColor(70, 130, 180));
            painter.drawRect(QRectF(7.5, 11.5, 9.5, 6));
            painter.setBrush(QColor(90, 160, 90));
            painter.drawPolygon(QPolygonF({{7.5, 17.5}, {11, 13.5}, {14, 17.5}}));
            painter.setPen(QPen(ink, 1.4));
            line(19.5, 17);
            break;
        case PageIcon::CoverSheet:
            painter.setPen(Qt::NoPen);
            painter.setBrush(QColor(70, 130, 180));
            painter.drawRect(QRectF(7.5, 8.5, 9.5, 3.5));
            painter.setPen(QPen(ink, 1.4));
            line(14.5, 17);
            line(17, 14);
            break;
        }
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

// Icons come from the desktop's theme, else from the fallback given.
QAction *makeAction(QWidget *parent, const char *key, const char *iconName, const QIcon &fallback,
                    const QKeySequence &shortcut = {})
{
    auto *action =
        new QAction(QIcon::fromTheme(QLatin1String(iconName), fallback), FXText(key), parent);
    action->setObjectName(QLatin1String(key));
    if (!shortcut.isEmpty())
        action->setShortcut(shortcut);
    action->setToolTip(shortcut.isEmpty()
                           ? FXText(key)
                           : QStringLiteral("%1 (%2)").arg(
                               FXText(key), shortcut.toString(QKeySequence::NativeText)));
    return action;
}

QAction *makeAction(QWidget *parent, const char *key, const char *iconName,
                    QStyle::StandardPixmap fallbackIcon, const QKeySequence &shortcut = {})
{
    return makeAction(parent, key, iconName, QApplication::style()->standardIcon(fallbackIcon),
                      shortcut);
}

// A one-line label that ends a text too long for it with "…".
class ElidingLabel : public QLabel
{
protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        const QRect area = contentsRect();
        painter.setPen(
            palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, foregroundRole()));
        painter.drawText(area, Qt::AlignLeft | Qt::AlignVCenter,
                         fontMetrics().elidedText(text(), Qt::ElideRight, area.width()));
    }
};

// The first local PDF among dropped URLs, or "".
QString droppedPdf(const QMimeData *data)
{
    for (const QUrl &url : data->urls()) {
        if (url.isLocalFile())
            return url.toLocalFile();
    }
    return QString();
}

} // namespace

FBMainWindow::FBMainWindow(QWidget *parent)
    : QMainWindow(parent)
{
    setObjectName(QStringLiteral("mainWindow"));
    setWindowTitle(QStringLiteral("Faxolino"));
    setAcceptDrops(true);

    newFaxAction =
        makeAction(this, "toolbar_new_fax", "document-new", QStyle::SP_FileIcon, QKeySequence::New);
    openAction = makeAction(this, "toolbar_open", "document-open", QStyle::SP_DialogOpenButton,
                            QKeySequence::Open);
    addPageAction =
        makeAction(this, "toolbar_add_pages", "list-add", QStyle::SP_FileDialogNewFolder);
    deletePageAction = makeAction(this, "toolbar_delete_page", "edit-delete", QStyle::SP_TrashIcon,
                                  QKeySequence::Delete);
    coverSheetAction = makeAction(this, "toolbar_cover_sheet", "x-office-document",
                                  drawnPageIcon(PageIcon::CoverSheet));
    coverSheetAction->setCheckable(true);
    documentTypeTextItem =
        makeAction(this, "document_type_text", "text-x-generic", drawnPageIcon(PageIcon::Text));
    documentTypeMixedItem =
        makeAction(this, "document_type_mixed", "image-x-generic", drawnPageIcon(PageIcon::Mixed));
    auto *documentTypes = new QActionGroup(this);
    documentTypes->setExclusive(true);
    for (QAction *type : {documentTypeTextItem, documentTypeMixedItem}) {
        type->setCheckable(true);
        type->setToolTip(FXText("toolbar_document_type") + QStringLiteral(": ") + type->text());
        documentTypes->addAction(type);
    }
    documentTypeTextItem->setChecked(true);
    connect(documentTypes, &QActionGroup::triggered, this, [this](QAction *type) {
        Q_EMIT documentTypeChosen(type == documentTypeTextItem ? 0 : 1);
    });
    sendAction = makeAction(this, "toolbar_send", "mail-send", QStyle::SP_ArrowForward,
                            QKeySequence(Qt::CTRL | Qt::Key_Return));
    reportsAction = makeAction(this, "toolbar_reports", "document-open-recent",
                               QStyle::SP_FileDialogDetailedView);
    preferencesAction = makeAction(this, "toolbar_preferences", "preferences-system",
                                   QStyle::SP_ComputerIcon, QKeySequence::Preferences);
    if (preferencesAction->shortcut().isEmpty())
        preferencesAction->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
    deletePageAction->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    extendedToolbarAction = new QAction(FXText("menu_extended_toolbar"), this);
    extendedToolbarAction->setCheckable(true);

    // The recipient slot: the receiver field, or the progress while sending.
    m_receiverSlot = new QWidget;
    auto *receiverLayout = new QHBoxLayout(m_receiverSlot);
    receiverLayout->setContentsMargins(6, 0, 6, 0);
    receiverField = new TokenSearchField;
    receiverField->setObjectName(QStringLiteral("receiverField"));
    receiverField->setPlaceholderText(FXText("receiver"));
    receiverField->setAccessibleName(FXText("receiver"));
    receiverField->editor()->setAccessibleName(FXText("receiver"));
    receiverField->setMinimumWidth(200);
    receiverLayout->addWidget(receiverField);
    m_progressSlot = new QWidget;
    auto *progressLayout = new QHBoxLayout(m_progressSlot);
    progressLayout->setContentsMargins(6, 0, 6, 0);
    progressStatus = new QProgressBar;
    progressStatus->setRange(0, 0);
    progressStatus->setMaximumWidth(80);
    progressStatus->setAccessibleName(FXText("sending_progress"));
    progressLabelText = new ElidingLabel;
    progressLabelText->setObjectName(QStringLiteral("progressLabelText"));
    // The slot is as wide as the receiver field: a long text is cut rather than pushing the
    // send button out of the toolbar (the status line shows it whole).
    progressLabelText->setMinimumWidth(60);
    progressLabelText->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    // A stop sign, as in the progress rows of desktop applications, so that the slot is no
    // wider than the receiver field.
    cancelButton = new QPushButton(
        QIcon::fromTheme(QStringLiteral("process-stop"),
                         QApplication::style()->standardIcon(QStyle::SP_BrowserStop)),
        QString());
    cancelButton->setObjectName(QStringLiteral("cancelButton"));
    cancelButton->setFlat(true);
    cancelButton->setAccessibleName(FXText("cancel_remaining_receivers"));
    cancelButton->setToolTip(FXText("cancel_remaining_receivers"));
    progressLayout->addWidget(progressStatus);
    progressLayout->addWidget(progressLabelText, 1);
    progressLayout->addWidget(cancelButton);
    m_progressSlot->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    m_progressSlot->hide();
    auto *slot = new QWidget;
    auto *slotLayout = new QHBoxLayout(slot);
    slotLayout->setContentsMargins(0, 0, 0, 0);
    slotLayout->addWidget(m_receiverSlot);
    slotLayout->addWidget(m_progressSlot);

    auto *toolbar = m_toolbar = addToolBar(FXText("toolbar"));
    toolbar->setObjectName(QStringLiteral("mainToolbar"));
    toolbar->setMovable(false);
    toolbar->addAction(newFaxAction);
    toolbar->addAction(openAction);
    toolbar->addAction(addPageAction);
    toolbar->addAction(deletePageAction);
    toolbar->addSeparator();
    toolbar->addAction(coverSheetAction);
    toolbar->addAction(documentTypeTextItem);
    toolbar->addAction(documentTypeMixedItem);
    toolbar->addSeparator();
    toolbar->addWidget(slot);
    toolbar->addAction(sendAction);
    toolbar->addSeparator();
    toolbar->addAction(reportsAction);
    toolbar->addAction(preferencesAction);

    QMenu *fileMenu = menuBar()->addMenu(FXText("menu_file"));
    fileMenu->addAction(newFaxAction);
    fileMenu->addAction(openAction);
    fileMenu->addAction(addPageAction);
    fileMenu->addSeparator();
    fileMenu->addAction(sendAction);
    fileMenu->addSeparator();
    QAction *quit = fileMenu->addAction(FXText("menu_quit"), this, &QWidget::close);
    quit->setShortcut(QKeySequence::Quit);
    QMenu *editMenu = m_editMenu = menuBar()->addMenu(FXText("menu_edit"));
    editMenu->addAction(deletePageAction);
    editMenu->addAction(coverSheetAction);
    QMenu *typeMenu = editMenu->addMenu(FXText("toolbar_document_type"));
    typeMenu->addAction(documentTypeTextItem);
    typeMenu->addAction(documentTypeMixedItem);
    editMenu->addSeparator();
    editMenu->addAction(preferencesAction);
    QMenu *viewMenu = menuBar()->addMenu(FXText("menu_view"));
    viewMenu->addAction(extendedToolbarAction);
    viewMenu->addAction(reportsAction);

    document = new QPdfDocument(this);
    thumbnails = new FBPageThumbnailModel(document, this);
    collectionView = new QListView;
    collectionView->setObjectName(QStringLiteral("collectionView"));
    collectionView->setAccessibleName(FXText("pages_grid"));
    collectionView->setModel(thumbnails);
    collectionView->setViewMode(QListView::IconMode);
    collectionView->setFlow(QListView::LeftToRight);
    collectionView->setWrapping(true);
    collectionView->setResizeMode(QListView::Adjust);
    collectionView->setMovement(QListView::Snap);
    collectionView->setIconSize(
        QSize(FBPageThumbnailModel::thumbnailWidth, FBPageThumbnailModel::thumbnailWidth * 3 / 2));
    collectionView->setSpacing(8);
    collectionView->setSelectionMode(QAbstractItemView::ExtendedSelection);
    collectionView->setDragDropMode(QAbstractItemView::DragDrop);
    collectionView->setDefaultDropAction(Qt::MoveAction);
    collectionView->setDropIndicatorShown(true);
    collectionView->setUniformItemSizes(false);
    collectionView->setContextMenuPolicy(Qt::ActionsContextMenu);
    collectionView->addAction(deletePageAction);
    collectionView->setMinimumWidth(160);
    // White pages on the preview's grey.
    QPalette gridGrey = collectionView->palette();
    gridGrey.setColor(QPalette::Base, QColor(previewGrey, previewGrey, previewGrey));
    collectionView->setPalette(gridGrey);

    pdfView = new QPdfView;
    pdfView->setObjectName(QStringLiteral("pdfView"));
    pdfView->setAccessibleName(FXText("preview"));
    pdfView->setDocument(document);
    pdfView->setPageMode(QPdfView::PageMode::MultiPage);
    pdfView->setZoomMode(QPdfView::ZoomMode::FitToWidth);
    pdfView->setDocumentMargins(QMargins(12, 12, 12, 12));
    pdfView->setPageSpacing(12);
    QPalette grey = pdfView->palette();
    grey.setColor(QPalette::Dark, QColor(previewGrey, previewGrey, previewGrey));
    pdfView->setPalette(grey);
    pdfView->setBackgroundRole(QPalette::Dark);
    pdfView->viewport()->setAcceptDrops(true);
    pdfView->viewport()->installEventFilter(this);

    m_splitter = new QSplitter;
    m_splitter->setObjectName(QStringLiteral("mainSplitter"));
    m_splitter->addWidget(collectionView);
    m_splitter->addWidget(pdfView);
    m_splitter->setStretchFactor(1, 1);
    m_splitter->setSizes({300, 600});
    setCentralWidget(m_splitter);

    faxStatusLabel = new QLabel;
    faxStatusLabel->setObjectName(QStringLiteral("faxStatusLabel"));
    statusPagesLabel = new QLabel;
    statusPagesLabel->setObjectName(QStringLiteral("statusPagesLabel"));
    sffProgressIndicator = new QProgressBar;
    sffProgressIndicator->setRange(0, 0);
    sffProgressIndicator->setMaximumWidth(90);
    sffProgressIndicator->setAccessibleName(FXText("preparing_pages"));
    sffProgressIndicator->hide();
    statusBar()->addWidget(faxStatusLabel, 1);
    statusBar()->addPermanentWidget(sffProgressIndicator);
    statusBar()->addPermanentWidget(statusPagesLabel);

    connect(thumbnails, &FBPageThumbnailModel::movePagesRequested, this, &FBMainWindow::pagesMoved);
    connect(thumbnails, &FBPageThumbnailModel::pdfDropped, this, &FBMainWindow::pdfDroppedOnGrid);

    QSettings settings;
    resize(1000, 720);
    restoreGeometry(settings.value(QStringLiteral("MainWindow/geometry")).toByteArray());
    m_splitter->restoreState(settings.value(QStringLiteral("MainWindow/splitter")).toByteArray());
}

FBMainWindow::~FBMainWindow() = default;

void FBMainWindow::showProgressSlot(bool sending)
{
    m_receiverSlot->setVisible(!sending);
    m_progressSlot->setVisible(sending);
    for (QAction *action : {newFaxAction, openAction, reportsAction, preferencesAction,
                            documentTypeTextItem, documentTypeMixedItem})
        action->setEnabled(!sending);
    addPageAction->setEnabled(!sending);
    deletePageAction->setEnabled(!sending);
    sendAction->setEnabled(!sending);
}

void FBMainWindow::addEditActions(QAction *undo, QAction *redo)
{
    undo->setShortcut(QKeySequence::Undo);
    redo->setShortcuts({QKeySequence::Redo, QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z)});
    QAction *first = m_editMenu->actions().value(0);
    m_editMenu->insertAction(first, undo);
    m_editMenu->insertAction(first, redo);
    m_editMenu->insertSeparator(first);
}

void FBMainWindow::focusSendButton()
{
    if (QWidget *button = m_toolbar->widgetForAction(sendAction))
        button->setFocus();
}

QRect FBMainWindow::documentTypeRect() const
{
    QRect area;
    for (QAction *type : {documentTypeTextItem, documentTypeMixedItem}) {
        if (QWidget *button = m_toolbar->widgetForAction(type); button && button->isVisible())
            area |= QRect(button->mapTo(this, QPoint(0, 0)), button->size());
    }
    if (area.isEmpty())
        area = QRect(m_toolbar->mapTo(this, QPoint(0, 0)), m_toolbar->size());
    return area;
}

bool FBMainWindow::isShowingProgress() const
{
    return m_progressSlot->isVisibleTo(const_cast<FBMainWindow *>(this));
}

void FBMainWindow::setExtendedToolbar(bool extended)
{
    extendedToolbarAction->setChecked(extended);
    setToolButtonStyle(extended ? Qt::ToolButtonTextUnderIcon : Qt::ToolButtonIconOnly);
}

void FBMainWindow::closeEvent(QCloseEvent *event)
{
    QSettings settings;
    settings.setValue(QStringLiteral("MainWindow/geometry"), saveGeometry());
    settings.setValue(QStringLiteral("MainWindow/splitter"), m_splitter->saveState());
    Q_EMIT closing();
    QMainWindow::closeEvent(event);
}

void FBMainWindow::dragEnterEvent(QDragEnterEvent *event)
{
    if (!droppedPdf(event->mimeData()).isEmpty())
        event->acceptProposedAction();
}

void FBMainWindow::dropEvent(QDropEvent *event)
{
    const QString path = droppedPdf(event->mimeData());
    if (path.isEmpty())
        return;
    event->acceptProposedAction();
    Q_EMIT pdfDropped(path);
}

// Files dropped on the preview start a new fax, as on the rest of the window.
bool FBMainWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == pdfView->viewport()) {
        if (event->type() == QEvent::DragEnter) {
            dragEnterEvent(static_cast<QDragEnterEvent *>(event));
            return true;
        }
        if (event->type() == QEvent::Drop) {
            dropEvent(static_cast<QDropEvent *>(event));
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}
