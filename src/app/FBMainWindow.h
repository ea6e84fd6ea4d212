#pragma once

#include <QMainWindow>

class QAction;
class QLabel;
class QLineEdit;
class QListView;
class QMenu;
class QPdfDocument;
class QPdfView;
class QProgressBar;
class QPushButton;
class QSplitter;
class QToolBar;
class QWidgetAction;
class FBPageThumbnailModel;
class TokenSearchField;

// The main fax window: the toolbar, the page thumbnails on the left, the preview of the fax
// pages as they will be sent on the right, and the status line. It holds the widgets; the
// application controller (AppDelegate) connects them and decides what they show. Window
// geometry and the splitter are kept between runs.
class FBMainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit FBMainWindow(QWidget *parent = nullptr);
    ~FBMainWindow() override;

    // Toolbar and menu actions.
    QAction *newFaxAction;
    QAction *openAction;
    QAction *addPageAction;
    QAction *deletePageAction;
    // Puts a cover sheet in front (made in the cover sheet window).
    QAction *coverSheetAction;
    // The document type, one of two: text (a brightness threshold) or mixed (for pictures).
    QAction *documentTypeTextItem;
    QAction *documentTypeMixedItem;
    QAction *sendAction;
    QAction *reportsAction;
    QAction *preferencesAction;
    QAction *extendedToolbarAction;

    // The recipient slot shows either the receiver field or, while sending, the progress.
    TokenSearchField *receiverField;
    QLabel *progressLabelText;
    QProgressBar *progressStatus;
    // Lets the running transmission finish and starts no further receiver.
    QPushButton *cancelButton;

    QListView *collectionView;
    FBPageThumbnailModel *thumbnails;
    QPdfView *pdfView;
    QPdfDocument *document;

    QLabel *faxStatusLabel;
    QLabel *statusPagesLabel;
    QProgressBar *sffProgressIndicator;

    // The sending look (progress in the recipient slot, controls off) or the normal one.
    void showProgressSlot(bool sending);
    bool isShowingProgress() const;
    // Where the document type control is, in the window's coordinates.
    QRect documentTypeRect() const;
    void focusSendButton();
    // Undo and redo of page edits, at the top of the Edit menu with the standard shortcuts.
    void addEditActions(QAction *undo, QAction *redo);
    // Text under the icons, or icons only.
    void setExtendedToolbar(bool extended);

Q_SIGNALS:
    // A PDF dropped onto the window (a new fax) or onto the thumbnails at a page index.
    void pdfDropped(const QString &path);
    void pdfDroppedOnGrid(const QString &path, int atIndex);
    // Pages dragged within the thumbnails.
    void pagesMoved(const QList<qsizetype> &indexes, qsizetype toIndex);
    void closing();
    // 0 for text, 1 for mixed.
    void documentTypeChosen(int documentType);

protected:
    void closeEvent(QCloseEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QToolBar *m_toolbar;
    QMenu *m_editMenu;
    QWidget *m_receiverSlot;
    QWidget *m_progressSlot;
    QSplitter *m_splitter;
};
