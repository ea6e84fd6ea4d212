#include "app/FBCoverWindow.h"

#include "app/FBCoverSheetView.h"
#include "foundation/FBLocalization.h"
#include "foundation/FBUserDefaults.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDate>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QSettings>
#include <QSplitter>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextEdit>
#include <QTextList>
#include <QToolBar>
#include <QVBoxLayout>

#include <algorithm>

namespace {

// The grey behind the page, as behind the main window's pages.
constexpr int previewGrey = 213;
constexpr int previewMargin = 16;

// A field of at most three lines, as tall as those.
QPlainTextEdit *lineField(const char *nameKey)
{
    auto *field = new QPlainTextEdit;
    field->setAccessibleName(FXText(nameKey));
    field->setTabChangesFocus(true);
    field->setLineWrapMode(QPlainTextEdit::NoWrap);
    field->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    field->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    const QMargins frame = field->contentsMargins();
    field->setFixedHeight(field->fontMetrics().lineSpacing() * FXCoverPage::kMaximumFieldLines
                          + int(2 * field->document()->documentMargin()) + frame.top()
                          + frame.bottom() + 2);
    return field;
}

// A caption with a mnemonic that moves the focus to its field.
QLabel *caption(const char *key, QWidget *buddy)
{
    auto *label = new QLabel(FXText(key));
    label->setBuddy(buddy);
    return label;
}

// Where the theme has no formatting icons: the letter in its own style, or a bullet list.
QIcon drawnFormatIcon(const char *iconName, const QPalette &palette)
{
    const QString name = QLatin1String(iconName);
    QPixmap pixmap(QSize(32, 32));
    pixmap.setDevicePixelRatio(2.0);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(palette.color(QPalette::ButtonText), 1.4));
    const QRectF area(0, 0, 16, 16);
    if (name.endsWith(QLatin1String("unordered"))) {
        painter.setBrush(palette.color(QPalette::ButtonText));
        for (int row = 0; row < 3; ++row) {
            const double y = 3.5 + row * 4.5;
            painter.drawEllipse(QPointF(3, y), 1.2, 1.2);
            painter.drawLine(QPointF(6.5, y), QPointF(14, y));
        }
        return QIcon(pixmap);
    }
    QFont font(QStringLiteral("Serif"));
    font.setPixelSize(14);
    font.setBold(name.endsWith(QLatin1String("bold")));
    font.setItalic(name.endsWith(QLatin1String("italic")));
    font.setUnderline(name.endsWith(QLatin1String("underline")));
    painter.setFont(font);
    const QString letter = font.bold()     ? QStringLiteral("B")
                           : font.italic() ? QStringLiteral("I")
                                           : QStringLiteral("U");
    painter.drawText(area, Qt::AlignCenter, letter);
    return QIcon(pixmap);
}

QAction *formatAction(QWidget *parent, const char *key, const char *iconName,
                      const QKeySequence &shortcut)
{
    const QIcon themed = QIcon::fromTheme(QLatin1String(iconName));
    auto *action =
        new QAction(themed.isNull() ? drawnFormatIcon(iconName, parent->palette()) : themed,
                    FXText(key), parent);
    action->setCheckable(true);
    action->setShortcut(shortcut);
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    action->setToolTip(shortcut.isEmpty()
                           ? FXText(key)
                           : QStringLiteral("%1 (%2)").arg(
                               FXText(key), shortcut.toString(QKeySequence::NativeText)));
    return action;
}

} // namespace

FBCoverWindow::FBCoverWindow(QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("coverWindow"));
    setWindowTitle(FXText("cover_window_title"));

    tmpCoverTo = lineField("cover_field_to_name");
    tmpCoverTo->setObjectName(QStringLiteral("tmpCoverTo"));
    tmpCoverFrom = lineField("cover_field_from_name");
    tmpCoverFrom->setObjectName(QStringLiteral("tmpCoverFrom"));
    tmpCoverSubject = new QLineEdit;
    tmpCoverSubject->setObjectName(QStringLiteral("tmpCoverSubject"));
    tmpCoverSubject->setAccessibleName(FXText("cover_field_subject_name"));
    tmpCoverTextView = new QTextEdit;
    tmpCoverTextView->setObjectName(QStringLiteral("tmpCoverTextView"));
    tmpCoverTextView->setAccessibleName(FXText("cover_field_message_name"));
    tmpCoverTextView->setTabChangesFocus(true);
    tmpCoverTextView->setAcceptRichText(true);
    tmpCoverTextView->setPlaceholderText(FXText("cover_message_placeholder"));
    // The text as large as on the page, which takes the editor's font with the text.
    QFont pageFont(QStringLiteral("Sans Serif"));
    pageFont.setPointSizeF(11);
    tmpCoverTextView->document()->setDefaultFont(pageFont);

    // Bold, italic, underline and a bulleted list for the free text.
    auto *format = new QToolBar;
    format->setIconSize(QSize(16, 16));
    format->setToolButtonStyle(Qt::ToolButtonIconOnly);
    format->setAccessibleName(FXText("cover_format"));
    QAction *bold =
        formatAction(tmpCoverTextView, "cover_bold", "format-text-bold", QKeySequence::Bold);
    QAction *italic =
        formatAction(tmpCoverTextView, "cover_italic", "format-text-italic", QKeySequence::Italic);
    QAction *underline = formatAction(tmpCoverTextView, "cover_underline", "format-text-underline",
                                      QKeySequence::Underline);
    QAction *list =
        formatAction(tmpCoverTextView, "cover_list", "format-list-unordered", QKeySequence());
    for (QAction *action : {bold, italic, underline, list}) {
        format->addAction(action);
        tmpCoverTextView->addAction(action);
    }
    connect(bold, &QAction::triggered, this, [this](bool on) {
        QTextCharFormat change;
        change.setFontWeight(on ? QFont::Bold : QFont::Normal);
        tmpCoverTextView->mergeCurrentCharFormat(change);
    });
    connect(italic, &QAction::triggered, this, [this](bool on) {
        QTextCharFormat change;
        change.setFontItalic(on);
        tmpCoverTextView->mergeCurrentCharFormat(change);
    });
    connect(underline, &QAction::triggered, this, [this](bool on) {
        QTextCharFormat change;
        change.setFontUnderline(on);
        tmpCoverTextView->mergeCurrentCharFormat(change);
    });
    connect(list, &QAction::triggered, this, [this](bool on) {
        QTextCursor cursor = tmpCoverTextView->textCursor();
        if (on) {
            cursor.createList(QTextListFormat::ListDisc);
        } else if (QTextList *current = cursor.currentList()) {
            current->remove(cursor.block());
            QTextBlockFormat plain = cursor.blockFormat();
            plain.setIndent(0);
            cursor.setBlockFormat(plain);
        }
    });
    const auto showFormat = [=, this] {
        const QTextCharFormat current = tmpCoverTextView->currentCharFormat();
        bold->setChecked(current.fontWeight() >= QFont::Bold);
        italic->setChecked(current.fontItalic());
        underline->setChecked(current.fontUnderline());
        list->setChecked(tmpCoverTextView->textCursor().currentList() != nullptr);
    };
    connect(tmpCoverTextView, &QTextEdit::currentCharFormatChanged, this, showFormat);
    connect(tmpCoverTextView, &QTextEdit::cursorPositionChanged, this, showFormat);

    auto *form = new QWidget;
    auto *formLayout = new QFormLayout(form);
    formLayout->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    formLayout->addRow(caption("cover_field_to", tmpCoverTo), tmpCoverTo);
    formLayout->addRow(caption("cover_field_from", tmpCoverFrom), tmpCoverFrom);
    formLayout->addRow(caption("cover_field_subject", tmpCoverSubject), tmpCoverSubject);
    auto *message = new QWidget;
    auto *messageLayout = new QVBoxLayout(message);
    messageLayout->setContentsMargins(0, 0, 0, 0);
    messageLayout->setSpacing(2);
    messageLayout->addWidget(format);
    messageLayout->addWidget(tmpCoverTextView, 1);
    QLabel *messageCaption = caption("cover_field_message", tmpCoverTextView);
    formLayout->addRow(messageCaption, message);
    auto *note = new QLabel(FXText("cover_automatic_note"));
    note->setWordWrap(true);
    note->setForegroundRole(QPalette::PlaceholderText);
    formLayout->addRow(QString(), note);
    form->setMinimumWidth(300);

    tmpCoverSheetView = new FBCoverSheetView;
    tmpCoverSheetView->setObjectName(QStringLiteral("tmpCoverSheetView"));
    tmpCoverSheetView->setAccessibleName(FXText("cover_preview"));
    m_previewArea = new QScrollArea;
    m_previewArea->setObjectName(QStringLiteral("coverPreviewArea"));
    m_previewArea->setAlignment(Qt::AlignCenter);
    m_previewArea->setWidget(tmpCoverSheetView);
    m_previewArea->setFrameShape(QFrame::NoFrame);
    QPalette grey = m_previewArea->palette();
    grey.setColor(QPalette::Window, QColor(previewGrey, previewGrey, previewGrey));
    m_previewArea->setPalette(grey);
    m_previewArea->setBackgroundRole(QPalette::Window);
    m_previewArea->setMinimumSize(240, 300);

    scaleMenu = new QComboBox;
    scaleMenu->setObjectName(QStringLiteral("scaleMenu"));
    scaleMenu->addItem(FXText("cover_scale_whole_page"));
    scaleMenu->addItem(FXText("cover_scale_three_quarters"));
    scaleMenu->setAccessibleName(FXText("cover_scale"));
    connect(scaleMenu, &QComboBox::activated, this, &FBCoverWindow::changeCoverSheetScale);
    auto *previewBar = new QHBoxLayout;
    previewBar->addWidget(new QLabel(FXText("cover_preview")));
    previewBar->addStretch();
    previewBar->addWidget(scaleMenu);
    auto *preview = new QWidget;
    auto *previewLayout = new QVBoxLayout(preview);
    previewLayout->setContentsMargins(0, 0, 0, 0);
    previewLayout->addLayout(previewBar);
    previewLayout->addWidget(m_previewArea, 1);

    auto *splitter = new QSplitter;
    splitter->setObjectName(QStringLiteral("coverSplitter"));
    splitter->setChildrenCollapsible(false);
    splitter->addWidget(form);
    splitter->addWidget(preview);
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 2);

    useCoverSheet = new QCheckBox(FXText("cover_use"));
    useCoverSheet->setObjectName(QStringLiteral("useCoverSheet"));
    useCoverSheet->setChecked(true);
    auto *buttons = new QDialogButtonBox;
    okButton = buttons->addButton(FXText("ok"), QDialogButtonBox::AcceptRole);
    okButton->setObjectName(QStringLiteral("coverSheetOK"));
    okButton->setDefault(true);
    buttons->addButton(FXText("cancel"), QDialogButtonBox::RejectRole);
    // OK applies through the controller, which closes the window.
    connect(okButton, &QPushButton::clicked, this, &FBCoverWindow::coverSheetOK);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto *bottom = new QHBoxLayout;
    bottom->addWidget(useCoverSheet);
    bottom->addStretch();
    bottom->addWidget(buttons);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(splitter, 1);
    layout->addLayout(bottom);

    coverView = new FBCoverSheetView(this);
    coverView->setObjectName(QStringLiteral("coverView"));
    coverView->hide();

    for (QPlainTextEdit *field : {tmpCoverTo, tmpCoverFrom}) {
        field->installEventFilter(this);
        connect(field, &QPlainTextEdit::textChanged, this, [this, field] {
            controlTextDidChange(field);
            refreshPreview();
        });
    }
    connect(tmpCoverSubject, &QLineEdit::textChanged, this, &FBCoverWindow::refreshPreview);
    connect(tmpCoverTextView, &QTextEdit::textChanged, this, &FBCoverWindow::refreshPreview);

    resize(980, 680);
    QSettings settings;
    restoreGeometry(settings.value(QStringLiteral("CoverWindow/geometry")).toByteArray());
    splitter->restoreState(settings.value(QStringLiteral("CoverWindow/splitter")).toByteArray());
    refreshPreview();
}

FBCoverWindow::~FBCoverWindow() = default;

FXCoverPage::Fields FBCoverWindow::editedFields() const
{
    FXCoverPage::Fields fields;
    fields.to = tmpCoverTo->toPlainText();
    fields.from = tmpCoverFrom->toPlainText();
    fields.subject = tmpCoverSubject->text();
    fields.bodyHtml =
        tmpCoverTextView->document()->isEmpty() ? QString() : tmpCoverTextView->toHtml();
    fields.date = QDate::currentDate();
    fields.faxLine = FBUserDefaults::stringForKey(kLocalUriKey);
    return fields;
}

void FBCoverWindow::clearFields()
{
    tmpCoverTo->clear();
    tmpCoverFrom->clear();
    tmpCoverSubject->clear();
    tmpCoverTextView->clear();
    coverView->setFields({});
    refreshPreview();
}

void FBCoverWindow::refreshPreview()
{
    tmpCoverSheetView->setFields(editedFields());
}

void FBCoverWindow::openCoverSheet()
{
    refreshPreview();
    show();
    raise();
    activateWindow();
    updateCoverSheetScaling();
    tmpCoverTo->setFocus();
}

void FBCoverWindow::changeCoverSheetScale(int item)
{
    if (item == 0)
        setScale(1.0, 1.0);
    else if (item == 1)
        setScale(0.75, 0.75);
}

void FBCoverWindow::resetScaling()
{
    m_scale = QSizeF(1.0, 1.0);
    tmpCoverSheetView->setFixedSize(_coverSheetFrame.size());
}

void FBCoverWindow::setScale(double width, double height)
{
    resetScaling();
    m_scale = QSizeF(width, height);
    tmpCoverSheetView->setFixedSize(std::max(1, qRound(_coverSheetFrame.width() * width)),
                                    std::max(1, qRound(_coverSheetFrame.height() * height)));
    tmpCoverSheetView->update();
}

void FBCoverWindow::updateCoverSheetScaling()
{
    // The whole page within the preview area, keeping its proportions.
    const QSizeF page = FXCoverPage::pageSize();
    const QSize room =
        m_previewArea->viewport()->size() - QSize(2 * previewMargin, 2 * previewMargin);
    const double fit =
        std::max(0.05, std::min(room.width() / page.width(), room.height() / page.height()));
    _coverSheetFrame = QRect(QPoint(0, 0), (page * fit).toSize());
    setScale(m_scale.width(), m_scale.height());
}

void FBCoverWindow::controlTextDidChange(QPlainTextEdit *field)
{
    const QString text = field->toPlainText();
    if (text.count(QLatin1Char('\n')) < FXCoverPage::kMaximumFieldLines)
        return;
    // Deliberately the lines after the third are cut, rather than the last character only:
    // a pasted text of many lines would otherwise keep them.
    QTextCursor cursor = field->textCursor();
    const int position = cursor.position();
    const QString kept = text.section(QLatin1Char('\n'), 0, FXCoverPage::kMaximumFieldLines - 1);
    const QSignalBlocker quiet(field);
    cursor.select(QTextCursor::Document);
    cursor.insertText(kept);
    cursor.setPosition(std::min(position, int(kept.size())));
    field->setTextCursor(cursor);
}

bool FBCoverWindow::eventFilter(QObject *watched, QEvent *event)
{
    // Return starts a new line in the to and from fields instead of confirming the window;
    // on the third line there is no further one.
    if (event->type() == QEvent::KeyPress && (watched == tmpCoverTo || watched == tmpCoverFrom)) {
        auto *key = static_cast<QKeyEvent *>(event);
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
            auto *field = static_cast<QPlainTextEdit *>(watched);
            if (field->toPlainText().count(QLatin1Char('\n'))
                >= FXCoverPage::kMaximumFieldLines - 1)
                QApplication::beep();
            else
                field->insertPlainText(QStringLiteral("\n"));
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

void FBCoverWindow::resizeEvent(QResizeEvent *event)
{
    QDialog::resizeEvent(event);
    updateCoverSheetScaling();
}

void FBCoverWindow::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    updateCoverSheetScaling();
}

void FBCoverWindow::hideEvent(QHideEvent *event)
{
    QSettings settings;
    settings.setValue(QStringLiteral("CoverWindow/geometry"), saveGeometry());
    if (auto *splitter = findChild<QSplitter *>(QStringLiteral("coverSplitter")))
        settings.setValue(QStringLiteral("CoverWindow/splitter"), splitter->saveState());
    QDialog::hideEvent(event);
}
