#pragma once

#include "journal/Fax.h"

#include <QDateTime>
#include <QMainWindow>
#include <QTableView>

#include <functional>

class FBFaxArrayController;
class QAction;
class QButtonGroup;
class QLabel;
class QLineEdit;
class QMenu;
class QPdfDocument;
class QPdfView;
class QSplitter;
class QStackedWidget;
class QToolBar;

// The list of sent faxes. A right click opens the context menu for the row under the pointer
// without changing the selection, the way the row's outline shows while the menu is open.
class FBReportTableView : public QTableView
{
    Q_OBJECT

public:
    using QTableView::QTableView;

    // The row of the last context menu; -1 when it opened below the rows.
    int clickedRow() const { return m_clickedRow; }
    // The selected row, or -1.
    int selectedRow() const;

Q_SIGNALS:
    void contextMenuRequested(int row, const QPoint &globalPos);
    void deleteRequested();
    void openRequested();

public Q_SLOTS:
    void clearClickOutline();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    int m_clickedRow = -1;
    bool m_outlined = false;
};

// The report window: every fax of the journal, newest first, with the stored transmission
// report of the selected one, a search over numbers and dates, and the operations on a
// record's report: open, show in the file manager, delete, export and send again.
//
// The operations choose their record the same way: from the context menu the clicked row,
// otherwise the selected row. Failures are logged only; a record is deleted even when its
// file cannot be.
class FBReportWindow : public QMainWindow
{
    Q_OBJECT

public:
    // Who asks for an operation: the action control (and the keyboard), or the context menu.
    enum class Sender { ActionControl, ContextMenu };

    explicit FBReportWindow(QWidget *parent = nullptr);
    ~FBReportWindow() override;

    // Replaces the modal folder chooser (tests): it returns the chosen folder, or "" when
    // cancelled.
    static void setFolderChooser(std::function<QString(QWidget *)> chooser);

    // Where a record's report is: in the report folder it keeps, or where the store put it
    // when that folder does not resolve. `resolved` tells which.
    static QString reportFileForFax(const Fax &fax, bool *resolved = nullptr);
    // Why a record cannot be sent again ("" when it can): its stored file must hold the sent
    // pages after the report page. The file's page count is read unless given.
    static QString sendAgainProblem(const Fax &fax, int pageCount = -1);

    void showReportWindow();
    // The newest fax's report.
    void showSendReport();
    void showSelectedFaxReport();
    // Segments 0 open, 1 delete, 2 export; any other does nothing.
    void handleReportAction(int segment, Sender sender = Sender::ActionControl);
    void openReportFile(Sender sender);
    void revealReportInFinder(Sender sender);
    void deleteReport(Sender sender);
    void exportReport(Sender sender);
    void searchReport(const QString &text);
    void sendAgain(Sender sender);
    // Text under the icons, or icons only, as in the main window.
    void setExtendedToolbar(bool extended);

    FBReportTableView *reportTableView;
    FBFaxArrayController *faxArrayController;
    QPdfView *reportPDFView;
    QPdfDocument *reportDocument;
    // What the report side shows without a report: a hint, or why the file cannot be shown.
    QLabel *reportPlaceholder;
    QLineEdit *searchField;
    // The action control's segments: open, delete, export.
    QButtonGroup *reportActionControl;
    QAction *sendAgainAction;
    QMenu *reportMenu;
    QAction *menuOpenAction;
    QAction *menuRevealAction;
    QAction *menuDeleteAction;
    QAction *menuExportAction;
    QAction *menuSendAgainAction;

Q_SIGNALS:
    // A new fax of these pages to this number; the file is removed when the signal returns.
    void sendAgainRequested(const QString &pdfPath, const QString &number);

protected:
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    Fax faxForSender(Sender sender) const;
    void selectRow(int row, bool scroll = true);
    void showReportPath(const QString &path);
    void showPlaceholder(const QString &text);
    void updateSendAgain(QAction *action, const Fax &fax);

    QToolBar *m_toolbar;
    QSplitter *m_splitter;
    QStackedWidget *m_reportSide;
    QString m_shownPath;
    QDateTime m_shownModified;
    qint64 m_shownSize = -1;
    // The selection across a reload of the list.
    qint64 m_selectedBeforeReset = 0;
    int m_rowBeforeReset = -1;
    int m_scrollBeforeReset = 0;
    bool m_searching = false;
};
