#include "app/FBCoverSheetView.h"

#include <QPainter>

FBCoverSheetView::FBCoverSheetView(QWidget *parent)
    : QWidget(parent)
{
    m_fields.toCaption = true;
    m_fields.fromCaption = true;
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void FBCoverSheetView::setFields(const FXCoverPage::Fields &fields)
{
    const bool to = m_fields.toCaption;
    const bool from = m_fields.fromCaption;
    m_fields = fields;
    m_fields.toCaption = to;
    m_fields.fromCaption = from;
    update();
}

void FBCoverSheetView::setCaptionsShown(bool to, bool from)
{
    m_fields.toCaption = to;
    m_fields.fromCaption = from;
    update();
}

QByteArray FBCoverSheetView::pdfData() const
{
    return FXCoverPage::pdfForFields(m_fields);
}

QSize FBCoverSheetView::sizeHint() const
{
    return FXCoverPage::pageSize().toSize();
}

void FBCoverSheetView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QSizeF page = FXCoverPage::pageSize();
    painter.scale(width() / page.width(), height() / page.height());
    FXCoverPage::paint(&painter, m_fields);
}
