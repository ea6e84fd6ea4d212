#pragma once

#include "sending/FXCoverPage.h"

#include <QSizeF>
#include <QWidget>

// A cover page drawn from its fields, scaled to the view's size: the cover window's preview
// of the fields being edited, and the page that is put in front of the fax.
class FBCoverSheetView : public QWidget
{
    Q_OBJECT

public:
    explicit FBCoverSheetView(QWidget *parent = nullptr);

    const FXCoverPage::Fields &fields() const { return m_fields; }
    void setFields(const FXCoverPage::Fields &fields);

    // The captions beside To and From (coverToLabel, coverFromLabel); hidden, an empty line
    // carries none.
    bool toCaptionShown() const { return m_fields.toCaption; }
    bool fromCaptionShown() const { return m_fields.fromCaption; }
    void setCaptionsShown(bool to, bool from);

    // The page as a one-page vector PDF.
    QByteArray pdfData() const;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    FXCoverPage::Fields m_fields;
};
