#pragma once

#include "sending/FXCoverPage.h"

#include <QDialog>
#include <QRect>
#include <QSizeF>

class FBCoverSheetView;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QScrollArea;
class QTextEdit;

// The cover window: the form of the cover page (to, from, subject and a free text) beside a
// live preview of the page, and whether the page goes in front of the fax. OK asks the
// controller to apply the form (coverSheetOK); Cancel and Escape leave everything as it was.
class FBCoverWindow : public QDialog
{
    Q_OBJECT

public:
    explicit FBCoverWindow(QWidget *parent = nullptr);
    ~FBCoverWindow() override;

    // The editing copies. To and from hold at most three lines; Return starts a new line.
    QPlainTextEdit *tmpCoverTo;
    QPlainTextEdit *tmpCoverFrom;
    QLineEdit *tmpCoverSubject;
    QTextEdit *tmpCoverTextView;
    // The preview of the editing copies.
    FBCoverSheetView *tmpCoverSheetView;
    // The page put in front of the fax, with the values of the last confirmed form. Never
    // shown: it is rendered to PDF.
    FBCoverSheetView *coverView;
    QCheckBox *useCoverSheet;
    // Item 0: the whole page fitted to the window; item 1: three quarters of it.
    QComboBox *scaleMenu;
    QPushButton *okButton;

    // The editing copies as the page shows them, dated today, with the fax line of the
    // settings.
    FXCoverPage::Fields editedFields() const;
    // Empties the editing copies and the confirmed page (a new fax).
    void clearFields();

    // Shows the window with the preview fitted to it.
    void openCoverSheet();
    void changeCoverSheetScale(int item);
    // The preview's scale against its fitted frame (the same factor on both axes).
    void setScale(double width, double height);
    void resetScaling();
    QSizeF scale() const { return m_scale; }
    // Fits the preview's frame to the window, keeping the chosen scale.
    void updateCoverSheetScaling();

Q_SIGNALS:
    void coverSheetOK();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    // A from or to field changed: a fourth line is cut.
    void controlTextDidChange(QPlainTextEdit *field);
    void refreshPreview();

    QScrollArea *m_previewArea;
    QRect _coverSheetFrame;
    QSizeF m_scale{1.0, 1.0};
};
