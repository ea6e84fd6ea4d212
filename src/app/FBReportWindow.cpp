#include "app/FBReportWindow.h"

#include "app/FBFaxArrayController.h"
#include "document/FXPDFGenerator.h"
#include "foundation/FBLocalization.h"
#include "foundation/FXFaxFileManager.h"
#include "foundation/FXLogging.h"
#include "journal/FXCoreDataController.h"
#include "journal/FXManagedObjectContext.h"

#include <QAction>
#include <QApplication>
#include <QButtonGroup>
#include <QContextMenuEvent>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QPdfDocument>
#include <QPdfView>
#include <QScrollBar>
#include <QSettings>
#include <QSplitter>
#include <QStackedWidget>
#include <QStyle>
#include <QTemporaryFile>
#include <QToolBar>
#include <QToolButton>

namespace {

std::function<QString(QWidget *)> folderChooser;

QIcon themeIcon(const char *name, QStyle::StandardPixmap fallback)
{
    return QIcon::fromTheme(QLatin1String(name), QApplication::style()->standardIcon(fallback));
}

} // namespace

int FBReportTableView::selectedRow() const
{
    const QModelIndexList rows =
        selectionModel() ? selectionModel()->selectedRows() : QModelIndexList();
    return rows.isEmpty() ? -1 : rows.first().row();
}

void FBReportTableView::clearClickOutline()
{
    m_outlined = false;
    viewport()->update();
}

// A right click leaves the selection alone: the menu acts on the clicked row.
void FBReportTableView::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::RightButton) {
        event->accept();
        return;
    }
    QTableView::mousePressEvent(event);
}

void FBReportTableView::contextMenuEvent(QContextMenuEvent *event)
{
    if (event->reason() == QContextMenuEvent::Keyboard) {
        m_clickedRow = currentIndex().isValid() ? currentIndex().row() : selectedRow();
    } else {
        // The viewport's event, in its coordinates.
        m_clickedRow = indexAt(event->pos()).row();
    }
    m_outlined = m_clickedRow >= 0;
    viewport()->update();
    QPoint at = event->globalPos();
    if (event->reason() == QContextMenuEvent::Keyboard && m_clickedRow >= 0) {
        const QRect row = visualRect(model()->index(m_clickedRow, 0));
        at = viewport()->mapToGlobal(row.bottomLeft());
    }
    Q_EMIT contextMenuRequested(m_clickedRow, at);
}

void FBReportTableView::keyPressEvent(QKeyEvent *event)
{
    if (event->matches(QKeySequence::Delete) || event->key() == Qt::Key_Backspace) {
        Q_EMIT deleteRequested();
        return;
    }
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        Q_EMIT openRequested();
        return;
    }
    QTableView::keyPressEvent(event);
}

void FBReportTableView::paintEvent(QPaintEvent *event)
{
    QTableView::paintEvent(event);
    if (!m_outlined || m_clickedRow < 0 || !model() || m_clickedRow >= model()->rowCount())
        return;
    QRect row = visualRect(model()->index(m_clickedRow, 0));
    row.setLeft(0);
    row.setRight(viewport()->width() - 1);
    QPainter painter(viewport());
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
    painter.drawRoundedRect(QRectF(row).adjusted(1, 1, -1, -1), 3, 3);
}

void FBReportWindow::setFolderChooser(std::function<QString(QWidget *)> chooser)
{
    folderChooser = std::move(chooser);
}

FBReportWindow::FBReportWindow(QWidget *parent)
    : QMainWindow(parent)
    , reportTableView(new FBReportTableView)
    , faxArrayController(new FBFaxArrayController(this))
    , reportPDFView(new QPdfView)
    , reportDocument(new QPdfDocument(this))
    , reportPlaceholder(new QLabel)
    , searchField(new QLineEdit)
    , reportActionControl(new QButtonGroup(this))
    , m_toolbar(addToolBar(QStringLiteral("ReportToolbar")))
    , m_splitter(new QSplitter)
    , m_reportSide(new QStackedWidget)
{
    setObjectName(QStringLiteral("reportWindow"));
    setWindowTitle(FXText("report_window_title"));
    setAttribute(Qt::WA_DeleteOnClose, false);

    // The action control: three joined buttons.
    auto *segments = new QWidget;
    segments->setAccessibleName(FXText("report_actions"));
    auto *segmentLayout = new QHBoxLayout(segments);
    segmentLayout->setContentsMargins(0, 0, 0, 0);
    segmentLayout->setSpacing(0);
    const struct
    {
        const char *key;
        const char *icon;
        QStyle::StandardPixmap fallback;
    } segmentItems[] = {{"report_open", "document-open", QStyle::SP_DialogOpenButton},
                        {"report_delete", "edit-delete", QStyle::SP_TrashIcon},
                        {"report_export", "document-save-as", QStyle::SP_DialogSaveButton}};
    int id = 0;
    for (const auto &item : segmentItems) {
        auto *button = new QToolButton;
        button->setIcon(themeIcon(item.icon, item.fallback));
        button->setText(FXText(item.key));
        button->setToolTip(FXText(item.key));
        button->setAccessibleName(FXText(item.key));
        button->setAutoRaise(false);
        button->setIconSize(m_toolbar->iconSize());
        reportActionControl->addButton(button, id++);
        segmentLayout->addWidget(button);
    }
    connect(reportActionControl, &QButtonGroup::idClicked, this,
            [this](int segment) { handleReportAction(segment, Sender::ActionControl); });

    sendAgainAction = new QAction(themeIcon("mail-forward", QStyle::SP_ArrowForward),
                                  FXText("report_send_again"), this);
    sendAgainAction->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_R));
    connect(sendAgainAction, &QAction::triggered, this,
            [this] { sendAgain(Sender::ActionControl); });

    searchField->setPlaceholderText(FXText("report_search"));
    searchField->setAccessibleName(FXText("report_search"));
    searchField->setClearButtonEnabled(true);
    searchField->addAction(themeIcon("edit-find", QStyle::SP_FileDialogContentsView),
                           QLineEdit::LeadingPosition);
    searchField->setMaximumWidth(280);
    searchField->setMinimumWidth(160);
    connect(searchField, &QLineEdit::textChanged, this, &FBReportWindow::searchReport);
    auto *find = new QAction(this);
    find->setShortcuts(QKeySequence::Find);
    connect(find, &QAction::triggered, this, [this] {
        searchField->setFocus(Qt::ShortcutFocusReason);
        searchField->selectAll();
    });
    addAction(find);
    searchField->installEventFilter(this);
    auto *closeWindow = new QAction(this);
    closeWindow->setShortcuts(QKeySequence::Close);
    connect(closeWindow, &QAction::triggered, this, &QWidget::close);
    addAction(closeWindow);

    m_toolbar->setObjectName(QStringLiteral("ReportToolbar"));
    m_toolbar->setMovable(false);
    m_toolbar->setFloatable(false);
    m_toolbar->toggleViewAction()->setVisible(false);
    m_toolbar->addWidget(segments);
    m_toolbar->addSeparator();
    m_toolbar->addAction(sendAgainAction);
    auto *spacer = new QWidget;
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    m_toolbar->addWidget(spacer);
    m_toolbar->addWidget(searchField);

    reportTableView->setObjectName(QStringLiteral("reportTableView"));
    reportTableView->setAccessibleName(FXText("report_list"));
    reportTableView->setModel(faxArrayController);
    reportTableView->setSelectionBehavior(QAbstractItemView::SelectRows);
    reportTableView->setSelectionMode(QAbstractItemView::SingleSelection);
    reportTableView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    reportTableView->setShowGrid(false);
    reportTableView->setAlternatingRowColors(true);
    reportTableView->setWordWrap(false);
    reportTableView->verticalHeader()->hide();
    reportTableView->verticalHeader()->setDefaultSectionSize(reportTableView->fontMetrics().height()
                                                             + 10);
    reportTableView->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    QHeaderView *header = reportTableView->horizontalHeader();
    header->setHighlightSections(false);
    header->setStretchLastSection(true);
    header->setSectionsClickable(false);
    header->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    // Widths from the font, not from the rows: measuring them would read every loaded fax.
    const QFontMetrics metrics = reportTableView->fontMetrics();
    header->resizeSection(FBFaxArrayController::DateColumn,
                          metrics.horizontalAdvance(QStringLiteral("00.00.0000 00:00")) + 24);
    header->resizeSection(FBFaxArrayController::NumberColumn,
                          metrics.horizontalAdvance(QStringLiteral("+49 0000 00000000")) + 24);
    header->resizeSection(FBFaxArrayController::NameColumn,
                          metrics.horizontalAdvance(QLatin1Char('M')) * 12);
    header->resizeSection(FBFaxArrayController::PagesColumn,
                          qMax(metrics.horizontalAdvance(FXText("report_column_pages")),
                               metrics.horizontalAdvance(QStringLiteral("000")))
                              + 24);
    connect(reportTableView, &FBReportTableView::deleteRequested, this,
            [this] { deleteReport(Sender::ActionControl); });
    connect(reportTableView, &FBReportTableView::openRequested, this,
            [this] { openReportFile(Sender::ActionControl); });
    connect(reportTableView, &QAbstractItemView::doubleClicked, this,
            [this] { openReportFile(Sender::ActionControl); });
    connect(reportTableView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] {
                showSelectedFaxReport();
                updateSendAgain(sendAgainAction,
                                faxArrayController->faxAtRow(reportTableView->selectedRow()));
            });

    // The context menu; its items act on the clicked row.
    reportMenu = new QMenu(this);
    reportMenu->setObjectName(QStringLiteral("ReportMenu"));
    menuOpenAction = reportMenu->addAction(FXText("report_open"), this,
                                           [this] { openReportFile(Sender::ContextMenu); });
    menuRevealAction = reportMenu->addAction(FXText("report_reveal"), this,
                                             [this] { revealReportInFinder(Sender::ContextMenu); });
    reportMenu->addSeparator();
    menuSendAgainAction = reportMenu->addAction(FXText("report_send_again"), this,
                                                [this] { sendAgain(Sender::ContextMenu); });
    menuExportAction = reportMenu->addAction(FXText("report_export"), this,
                                             [this] { exportReport(Sender::ContextMenu); });
    reportMenu->addSeparator();
    menuDeleteAction = reportMenu->addAction(FXText("report_delete"), this,
                                             [this] { deleteReport(Sender::ContextMenu); });
    reportMenu->setToolTipsVisible(true);
    connect(reportMenu, &QMenu::aboutToHide, reportTableView,
            &FBReportTableView::clearClickOutline);
    connect(reportTableView, &FBReportTableView::contextMenuRequested, this,
            [this](int row, const QPoint &at) {
                const bool onRow = row >= 0;
                for (QAction *action :
                     {menuOpenAction, menuRevealAction, menuDeleteAction, menuExportAction})
                    action->setEnabled(onRow);
                updateSendAgain(menuSendAgainAction, faxArrayController->faxAtRow(row));
                // Not exec(): the window's loop goes on, and tests reach the items.
                reportMenu->popup(at);
            });

    reportPDFView->setObjectName(QStringLiteral("reportPDFView"));
    reportPDFView->setAccessibleName(FXText("report_view"));
    reportPDFView->setDocument(reportDocument);
    reportPDFView->setPageMode(QPdfView::PageMode::MultiPage);
    reportPDFView->setZoomMode(QPdfView::ZoomMode::FitToWidth);
    reportPlaceholder->setAlignment(Qt::AlignCenter);
    reportPlaceholder->setWordWrap(true);
    reportPlaceholder->setMargin(24);
    reportPlaceholder->setForegroundRole(QPalette::PlaceholderText);
    reportPlaceholder->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_reportSide->addWidget(reportPlaceholder);
    m_reportSide->addWidget(reportPDFView);

    m_splitter->addWidget(reportTableView);
    m_splitter->addWidget(m_reportSide);
    m_splitter->setStretchFactor(0, 2);
    m_splitter->setStretchFactor(1, 1);
    m_splitter->setChildrenCollapsible(false);
    setCentralWidget(m_splitter);

    // Across a reload the selection stays with its fax; when the fax went (deleted), the row
    // that took its place is chosen, and a search keeps what it still finds.
    connect(faxArrayController, &QAbstractItemModel::modelAboutToBeReset, this, [this] {
        const int row = reportTableView->selectedRow();
        m_rowBeforeReset = row;
        m_selectedBeforeReset = faxArrayController->faxAtRow(row).objectID();
        m_scrollBeforeReset = reportTableView->verticalScrollBar()->value();
    });
    connect(faxArrayController, &QAbstractItemModel::modelReset, this, [this] {
        int row = faxArrayController->rowOfObjectID(m_selectedBeforeReset);
        if (row < 0 && !m_searching && m_rowBeforeReset >= 0)
            row = qMin(m_rowBeforeReset, faxArrayController->rowCount() - 1);
        selectRow(row, false);
        // A live update leaves the list where the user scrolled it; a new search starts on top.
        reportTableView->verticalScrollBar()->setValue(m_searching ? 0 : m_scrollBeforeReset);
        // The selected fax's report may have been written anew.
        showSelectedFaxReport();
    });

    QSettings settings;
    resize(980, 640);
    restoreGeometry(settings.value(QStringLiteral("ReportWindow/geometry")).toByteArray());
    m_splitter->restoreState(settings.value(QStringLiteral("ReportWindow/splitter")).toByteArray());
    header->restoreState(settings.value(QStringLiteral("ReportWindow/columns")).toByteArray());
    updateSendAgain(sendAgainAction, Fax());
    showSelectedFaxReport();
}

FBReportWindow::~FBReportWindow() = default;

bool FBReportWindow::eventFilter(QObject *watched, QEvent *event)
{
    // Escape empties the search, and then goes back to the list.
    if (watched == searchField && event->type() == QEvent::KeyPress
        && static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape) {
        if (searchField->text().isEmpty())
            reportTableView->setFocus(Qt::ShortcutFocusReason);
        else
            searchField->clear();
        return true;
    }
    return QMainWindow::eventFilter(watched, event);
}

void FBReportWindow::closeEvent(QCloseEvent *event)
{
    QSettings settings;
    settings.setValue(QStringLiteral("ReportWindow/geometry"), saveGeometry());
    settings.setValue(QStringLiteral("ReportWindow/splitter"), m_splitter->saveState());
    settings.setValue(QStringLiteral("ReportWindow/columns"),
                      reportTableView->horizontalHeader()->saveState());
    QMainWindow::closeEvent(event);
}

void FBReportWindow::setExtendedToolbar(bool extended)
{
    m_toolbar->setToolButtonStyle(extended ? Qt::ToolButtonTextUnderIcon : Qt::ToolButtonIconOnly);
    for (QAbstractButton *segment : reportActionControl->buttons())
        static_cast<QToolButton *>(segment)->setToolButtonStyle(m_toolbar->toolButtonStyle());
}

// Deliberately where the store put the report: a record whose folder does not resolve had it
// placed in the fallback folder, where its bare name as a path would not find it.
QString FBReportWindow::reportFileForFax(const Fax &fax, bool *resolved)
{
    return FXFaxFileManager::storedSendFaxFilePath(fax.file(), fax.fileURL(), resolved);
}

QString FBReportWindow::sendAgainProblem(const Fax &fax, int pageCount)
{
    if (fax.isNull())
        return FXText("send_again_no_fax");
    const QString path = reportFileForFax(fax);
    if (path.isEmpty() || !QFileInfo(path).isFile())
        return FXText("send_again_no_report");
    if (pageCount < 0)
        pageCount = FXPDFGenerator::pageCount(QUrl::fromLocalFile(path));
    // The report is one page; the sent pages follow it when they were kept.
    if (pageCount < 2)
        return FXText("send_again_no_pages");
    return QString();
}

void FBReportWindow::updateSendAgain(QAction *action, const Fax &fax)
{
    // The report shown is read already.
    const bool shown =
        !fax.isNull() && !m_shownPath.isEmpty() && reportFileForFax(fax) == m_shownPath;
    const QString problem = sendAgainProblem(fax, shown ? reportDocument->pageCount() : -1);
    action->setEnabled(problem.isEmpty());
    action->setToolTip(problem.isEmpty() ? FXText("send_again_tooltip") : problem);
}

Fax FBReportWindow::faxForSender(Sender sender) const
{
    const int row = sender == Sender::ContextMenu ? reportTableView->clickedRow()
                                                  : reportTableView->selectedRow();
    if (row < 0 || row >= faxArrayController->rowCount())
        return Fax();
    return faxArrayController->faxAtRow(row);
}

void FBReportWindow::selectRow(int row, bool scroll)
{
    if (row < 0 || row >= faxArrayController->rowCount()) {
        reportTableView->clearSelection();
        return;
    }
    reportTableView->selectRow(row);
    if (scroll)
        reportTableView->scrollTo(faxArrayController->index(row, 0));
}

void FBReportWindow::showReportWindow()
{
    show();
    setWindowState((windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    raise();
    activateWindow();
    showSelectedFaxReport();
}

void FBReportWindow::showSendReport()
{
    // Deliberately cleared: a list that was searched would select the newest match, not the
    // fax a notification was about.
    if (!searchField->text().isEmpty())
        searchField->clear();
    selectRow(faxArrayController->rowCount() > 0 ? 0 : -1);
    showReportWindow();
}

void FBReportWindow::showSelectedFaxReport()
{
    const int row = reportTableView->selectedRow();
    if (row < 0) {
        // Without a selection nothing is shown; deliberately, the side says why instead of
        // staying blank.
        const bool empty = faxArrayController->rowCount() == 0;
        const QString search = faxArrayController->filterText();
        showPlaceholder(!empty             ? FXText("report_none_selected")
                        : search.isEmpty() ? FXText("report_no_faxes")
                                           : FXText("report_no_match").arg(search));
        return;
    }
    const QString path = reportFileForFax(faxArrayController->faxAtRow(row));
    showReportPath(path);
}

void FBReportWindow::showReportPath(const QString &path)
{
    const QFileInfo file(path);
    // A live update reloads the list often; an unchanged file keeps its place in the view.
    if (m_reportSide->currentWidget() == reportPDFView && path == m_shownPath
        && file.lastModified() == m_shownModified && file.size() == m_shownSize)
        return;
    if (path.isEmpty() || !file.isFile()) {
        showPlaceholder(FXText("report_missing").arg(QDir::toNativeSeparators(path)));
        return;
    }
    reportDocument->close();
    if (reportDocument->load(path) != QPdfDocument::Error::None) {
        showPlaceholder(FXText("report_unreadable").arg(QDir::toNativeSeparators(path)));
        return;
    }
    m_shownPath = path;
    m_shownModified = file.lastModified();
    m_shownSize = file.size();
    m_reportSide->setCurrentWidget(reportPDFView);
}

void FBReportWindow::showPlaceholder(const QString &text)
{
    reportDocument->close();
    m_shownPath.clear();
    m_shownSize = -1;
    reportPlaceholder->setText(text);
    m_reportSide->setCurrentWidget(reportPlaceholder);
}

void FBReportWindow::handleReportAction(int segment, Sender sender)
{
    switch (segment) {
    case 0:
        openReportFile(sender);
        break;
    case 1:
        deleteReport(sender);
        break;
    case 2:
        exportReport(sender);
        break;
    default:
        break;
    }
}

void FBReportWindow::openReportFile(Sender sender)
{
    const Fax fax = faxForSender(sender);
    if (fax.isNull())
        return;
    const QString path = reportFileForFax(fax);
    // A file that is gone is not handed to the desktop, which would only report an error.
    if (!QFileInfo(path).isFile()) {
        qCWarning(lcApp, "No report file to open at %s", qUtf8Printable(path));
        return;
    }
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(path)))
        qCWarning(lcApp, "The desktop did not open %s", qUtf8Printable(path));
}

void FBReportWindow::revealReportInFinder(Sender sender)
{
    const Fax fax = faxForSender(sender);
    if (fax.isNull())
        return;
    const QString path = reportFileForFax(fax);
    const QUrl folder = QUrl::fromLocalFile(QFileInfo(path).absolutePath());
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList{QUrl::fromLocalFile(path).toString()} << QString();
    // Without a file manager that answers, the folder opens instead.
    auto *watcher =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call, 5000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [watcher, folder] {
        watcher->deleteLater();
        if (watcher->isError())
            QDesktopServices::openUrl(folder);
    });
}

void FBReportWindow::deleteReport(Sender sender)
{
    // Deleting needs a selection, also from the context menu.
    if (reportTableView->selectedRow() < 0)
        return;
    Fax fax = faxForSender(sender);
    if (fax.isNull())
        return;
    bool resolved = false;
    const QString path = reportFileForFax(fax, &resolved);
    if (FXFaxFileManager::isDeletableFileAtPath(path)) {
        QFile file(path);
        if (!file.remove())
            qCWarning(lcApp).noquote()
                << QStringLiteral("Error removing file at path: %1").arg(file.errorString());
    } else if (!resolved) {
        qCWarning(lcApp).noquote() << QStringLiteral("Faxreport konnte nicht gelöscht werden");
    }
    if (FXManagedObjectContext *context = fax.managedObjectContext()) {
        context->deleteObject(fax);
        FXCoreDataController::sharedInstance()->saveMainContext();
    }
}

void FBReportWindow::exportReport(Sender sender)
{
    const QString folder = folderChooser ? folderChooser(this)
                                         : QFileDialog::getExistingDirectory(
                                             this, FXText("report_export_title"), QDir::homePath());
    if (folder.isEmpty())
        return;
    if (reportTableView->selectedRow() < 0)
        return;
    const Fax fax = faxForSender(sender);
    if (fax.isNull())
        return;
    const QString source = reportFileForFax(fax);
    const QString target = QDir(folder).filePath(QFileInfo(source).fileName());
    // QFile::copy never replaces an existing file.
    if (!QFile::copy(source, target))
        qCWarning(lcApp).noquote() << QStringLiteral("Fehler beim Export");
}

void FBReportWindow::searchReport(const QString &text)
{
    if (searchField->text() != text)
        searchField->setText(text); // comes back here through textChanged
    m_searching = true;
    faxArrayController->setFilterText(text);
    m_searching = false;
}

void FBReportWindow::sendAgain(Sender sender)
{
    const Fax fax = faxForSender(sender);
    if (!sendAgainProblem(fax).isEmpty())
        return;
    const QByteArray pages =
        FXPDFGenerator::pagesFrom(2, QUrl::fromLocalFile(reportFileForFax(fax)));
    QTemporaryFile file(
        QDir(FXFaxFileManager::workingFolder()).filePath(QStringLiteral("_again-XXXXXX.pdf")));
    if (pages.isEmpty() || !file.open() || file.write(pages) != pages.size() || !file.flush()) {
        qCWarning(lcApp, "The sent pages could not be taken from the report");
        return;
    }
    Q_EMIT sendAgainRequested(file.fileName(), fax.number());
}
