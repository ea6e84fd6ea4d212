#include "app/TokenSearchField.h"

#include "app/PhoneEntriesController.h"
#include "app/ResultChildWindow.h"
#include "app/SearchResultView.h"
#include "recipients/PhoneBook.h"

#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QStyle>
#include <QStyleOptionFrame>
#include <QToolTip>

#include <algorithm>

namespace {

constexpr int chipSpacing = 4;
constexpr int chipPadding = 8;
constexpr int menuArrowWidth = 12;
constexpr int maxChipTextWidth = 180;
constexpr int minEditorWidth = 40;

// What a text made only of these is: a number being typed.
constexpr QStringView numberCharacters = u"+/-1234567890 ";

QString trimmedOf(const QString &text, QStringView characters)
{
    qsizetype start = 0;
    qsizetype end = text.size();
    while (start < end && characters.contains(text.at(start)))
        ++start;
    while (end > start && characters.contains(text.at(end - 1)))
        --end;
    return text.mid(start, end - start);
}

QColor mixed(const QColor &base, const QColor &tint, qreal amount)
{
    return QColor::fromRgbF(float(base.redF() + (tint.redF() - base.redF()) * amount),
                            float(base.greenF() + (tint.greenF() - base.greenF()) * amount),
                            float(base.blueF() + (tint.blueF() - base.blueF()) * amount));
}

} // namespace

TokenSearchField::TokenSearchField(QWidget *parent)
    : QFrame(parent)
    , m_editor(new QLineEdit(this))
{
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::StrongFocus);
    setFocusProxy(m_editor);
    setCursor(Qt::IBeamCursor);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    m_editor->setFrame(false);
    m_editor->installEventFilter(this);
    connect(m_editor, &QLineEdit::textEdited, this, &TokenSearchField::editorTextEdited);
    I_childWindow = new ResultChildWindow(this);
    connect(I_childWindow->searchResultView(), &SearchResultView::selectionRequested, this,
            [this](int index) {
                if (I_arrayController)
                    I_arrayController->setSelectionIndexes({index});
            });
    connect(I_childWindow->searchResultView(), &SearchResultView::activated, this,
            &TokenSearchField::selectAction);
}

TokenSearchField::~TokenSearchField() = default;

QVariantMap TokenSearchField::tokenForEntry(const PhoneBookEntry &entry)
{
    return {{QStringLiteral("unifiedPhoneNumber"), entry.unifiedPhoneNumber()},
            {QStringLiteral("uniqueID"), entry.uniqueID()},
            {QStringLiteral("ABRecordID"), entry.ABRecordID()}};
}

void TokenSearchField::setResultsController(PhoneEntriesController *controller)
{
    if (I_arrayController)
        I_arrayController->disconnect(this);
    I_arrayController = controller;
    SearchResultView *view = I_childWindow->searchResultView();
    if (!controller) {
        view->setPhoneEntries({});
        I_childWindow->adjustFrameAndOrdering();
        return;
    }
    auto showArranged = [this, view] {
        view->setPhoneEntries(I_arrayController->arrangedObjects());
        view->setSelectionIndexes(I_arrayController->selectionIndexes());
        I_childWindow->adjustFrameAndOrdering();
        const QList<int> &selection = I_arrayController->selectionIndexes();
        I_childWindow->scrollToIndex(selection.isEmpty() ? 0 : selection.first());
    };
    connect(controller, &PhoneEntriesController::arrangedObjectsChanged, this, showArranged);
    connect(controller, &PhoneEntriesController::selectionIndexesChanged, this, [this, view] {
        const QList<int> &selection = I_arrayController->selectionIndexes();
        view->setSelectionIndexes(selection);
        if (!selection.isEmpty())
            I_childWindow->scrollToIndex(selection.first());
    });
    showArranged();
}

QVariant TokenSearchField::tokenForEditingString(const QString &editingString) const
{
    return m_delegate ? m_delegate->representedObjectForEditingString(
               const_cast<TokenSearchField *>(this), editingString)
                      : QVariant(editingString);
}

QVariantList TokenSearchField::tokensBeforeLastComma(const QString &text, QString *rest) const
{
    QStringList pieces = text.split(u',');
    *rest = pieces.takeLast().trimmed();
    QVariantList tokens;
    for (const QString &piece : std::as_const(pieces)) {
        if (!piece.trimmed().isEmpty())
            tokens.append(tokenForEditingString(piece.trimmed()));
    }
    return tokens;
}

QVariantList TokenSearchField::objectValue() const
{
    QVariantList value = m_tokens;
    const QString typed = editedText().trimmed();
    if (!typed.isEmpty())
        value.append(tokenForEditingString(typed));
    return value;
}

void TokenSearchField::setObjectValue(const QVariantList &tokens)
{
    m_editor->clear();
    setTokens(tokens);
    if (I_arrayController)
        I_arrayController->setFilterPredicate(FXPredicate::predicateWithValue(false));
}

void TokenSearchField::setTokens(const QVariantList &tokens)
{
    m_tokens.clear();
    for (const QVariant &token : tokens) {
        if (token.typeId() == QMetaType::QVariantMap || !token.toString().trimmed().isEmpty())
            m_tokens.append(token);
    }
    m_selectedToken = -1;
    m_editor->setReadOnly(false);
    rebuildChips();
    Q_EMIT valueChanged();
}

QString TokenSearchField::stringValue() const
{
    QStringList pieces;
    for (int index = 0; index < m_tokens.size(); ++index) {
        const QVariant &token = m_tokens.at(index);
        pieces.append(token.typeId() == QMetaType::QVariantMap ? m_chips.value(index).fullText
                                                               : token.toString());
    }
    if (!pieces.isEmpty() || !editedText().isEmpty())
        pieces.append(editedText());
    return pieces.join(QLatin1Char(','));
}

void TokenSearchField::setStringValue(const QString &text)
{
    QString typed;
    const QVariantList tokens = tokensBeforeLastComma(text, &typed);
    m_editor->setText(typed);
    setTokens(tokens);
    textDidChange();
}

QString TokenSearchField::editedText() const
{
    return m_editor->text();
}

void TokenSearchField::setPlaceholderText(const QString &text)
{
    m_placeholder = text;
    m_editor->setPlaceholderText(m_tokens.isEmpty() ? text : QString());
}

QRect TokenSearchField::tokenRect(int index) const
{
    if (index < 0 || index >= m_chips.size())
        return QRect();
    const QRect area = chipArea();
    int x = area.left() - m_scrollOffset;
    for (int i = 0; i < index; ++i)
        x += m_chips.at(i).width + chipSpacing;
    const int height = chipHeight();
    return QRect(x, area.top() + (area.height() - height) / 2, m_chips.at(index).width, height);
}

QString TokenSearchField::displayStringForToken(int index) const
{
    return index >= 0 && index < m_chips.size() ? m_chips.at(index).fullText : QString();
}

void TokenSearchField::textDidChange()
{
    layoutContents();
    if (!I_arrayController)
        return;
    const QString searchString = stringValue();
    const bool narrowing = m_delegate && I_arrayController->filterPredicate() == m_filter
                           && m_delegate->searchStringNarrows(m_searchString, searchString);
    m_filter = m_delegate ? m_delegate->searchPredicateForSearchString(searchString)
                          : FXPredicate::predicateWithValue(false);
    m_searchString = searchString;
    I_arrayController->setFilterPredicate(m_filter, narrowing);
    if (!I_arrayController->selectionIndexes().isEmpty()
        || I_arrayController->arrangedObjects().isEmpty())
        return;
    // Deliberately the text being typed, not the whole field with its tokens: a number
    // typed after a first receiver must stay a number when Return is pressed.
    if (!trimmedOf(editedText(), numberCharacters).isEmpty())
        I_arrayController->setSelectionIndexes({0});
}

void TokenSearchField::selectAction()
{
    if (!I_arrayController)
        return;
    const QList<PhoneBookEntryPtr> selected = I_arrayController->selectedObjects();
    if (!selected.isEmpty()) {
        const PhoneBookEntryPtr entry = selected.first();
        // The entry takes the place of the text that found it.
        m_editor->clear();
        appendToken(tokenForEntry(*entry));
        if (m_delegate)
            m_delegate->tokenAdded(entry->uniqueID());
    }
    I_arrayController->setFilterPredicate(FXPredicate::predicateWithValue(false));
}

void TokenSearchField::selectOrSendAction()
{
    if (I_arrayController && !I_arrayController->selectionIndexes().isEmpty()) {
        selectAction();
        return;
    }
    const QString typed = editedText().trimmed();
    QVariant piece = tokenForEditingString(typed);
    if (I_arrayController && !I_arrayController->arrangedObjects().isEmpty()) {
        I_arrayController->setFilterPredicate(FXPredicate::predicateWithValue(false));
        if (const PhoneBookEntryPtr entry = PhoneBook::sharedInstance()->entryForNumber(typed))
            piece = tokenForEntry(*entry);
    }
    // The action sees the typed text as the last token; it becomes its own token after.
    m_inAction = true;
    Q_EMIT action();
    m_inAction = false;
    if (typed.isEmpty())
        return;
    m_editor->clear();
    appendToken(piece);
    if (m_delegate)
        m_delegate->tokenAdded(piece);
}

QSize TokenSearchField::sizeHint() const
{
    QStyleOptionFrame option;
    option.initFrom(this);
    const QSize editor = m_editor->sizeHint();
    return style()->sizeFromContents(QStyle::CT_LineEdit, &option,
                                     QSize(240, editor.height() + 2 * frameWidth()), this);
}

QSize TokenSearchField::minimumSizeHint() const
{
    return QSize(120, sizeHint().height());
}

bool TokenSearchField::event(QEvent *event)
{
    switch (event->type()) {
    case QEvent::ToolTip: {
        auto *help = static_cast<QHelpEvent *>(event);
        const int index = tokenAt(help->pos());
        if (index < 0) {
            QToolTip::hideText();
            event->ignore();
            return true;
        }
        const QVariant &token = m_tokens.at(index);
        const QString number =
            token.typeId() == QMetaType::QVariantMap
                ? token.toMap().value(QStringLiteral("unifiedPhoneNumber")).toString()
                : QString();
        const QString &name = m_chips.at(index).fullText;
        QToolTip::showText(
            help->globalPos(),
            number.isEmpty() || number == name ? name : QStringLiteral("%1\n%2").arg(name, number),
            this, tokenRect(index));
        return true;
    }
    case QEvent::Hide:
        I_childWindow->hide();
        break;
    default:
        break;
    }
    return QFrame::event(event);
}

bool TokenSearchField::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_editor) {
        switch (event->type()) {
        case QEvent::KeyPress:
            return editorKeyPress(static_cast<QKeyEvent *>(event));
        case QEvent::ShortcutOverride: {
            // Keys the field needs are not toolbar or window shortcuts while it has focus.
            auto *key = static_cast<QKeyEvent *>(event);
            if (key->key() == Qt::Key_Escape
                || (m_selectedToken >= 0 && key->matches(QKeySequence::Copy))) {
                event->accept();
                return true;
            }
            break;
        }
        case QEvent::FocusIn:
        case QEvent::FocusOut:
            if (event->type() == QEvent::FocusOut)
                resignFirstResponder(static_cast<QFocusEvent *>(event)->reason());
            // Focused, the field scrolls to the typing; at rest it shows the first receivers.
            layoutContents();
            update();
            break;
        default:
            break;
        }
    }
    return QFrame::eventFilter(watched, event);
}

bool TokenSearchField::editorKeyPress(QKeyEvent *event)
{
    const bool atStart = m_editor->cursorPosition() == 0 && !m_editor->hasSelectedText();
    const bool plain =
        !(event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier));
    if (m_selectedToken >= 0) {
        // A chosen chip takes the editing keys.
        switch (event->key()) {
        case Qt::Key_Left:
            selectToken(std::max(m_selectedToken - 1, 0));
            return true;
        case Qt::Key_Right:
            selectToken(m_selectedToken + 1 < m_tokens.size() ? m_selectedToken + 1 : -1);
            return true;
        case Qt::Key_Home:
            selectToken(0);
            return true;
        case Qt::Key_End:
        case Qt::Key_Escape:
            selectToken(-1);
            return true;
        case Qt::Key_Backspace:
        case Qt::Key_Delete:
            removeToken(m_selectedToken);
            return true;
        case Qt::Key_Menu:
            showMenuForToken(m_selectedToken);
            return true;
        case Qt::Key_F10:
        case Qt::Key_Down:
            if ((event->key() == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier)
                || (event->key() == Qt::Key_Down && event->modifiers() == Qt::AltModifier)) {
                showMenuForToken(m_selectedToken);
                return true;
            }
            break;
        default:
            break;
        }
        if (event->matches(QKeySequence::Copy)) {
            const QVariant &token = m_tokens.at(m_selectedToken);
            QGuiApplication::clipboard()->setText(
                token.typeId() == QMetaType::QVariantMap
                    ? token.toMap().value(QStringLiteral("unifiedPhoneNumber")).toString()
                    : token.toString());
            return true;
        }
        // Anything else goes back to typing.
        selectToken(-1);
    }
    switch (event->key()) {
    case Qt::Key_Down:
        if (I_arrayController)
            I_arrayController->selectNext();
        return true;
    case Qt::Key_Up:
        if (I_arrayController)
            I_arrayController->selectPrevious();
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (!plain)
            return false; // Ctrl+Return is the window's send shortcut
        selectOrSendAction();
        return true;
    case Qt::Key_Tab:
        selectAction();
        return false;
    case Qt::Key_Escape:
        // Deliberately only the typed text: the chips stay, so that a slip of the key loses
        // no receivers.
        if (editedText().isEmpty() && !I_childWindow->isVisible())
            return false;
        m_editor->clear();
        textDidChange();
        Q_EMIT valueChanged();
        return true;
    case Qt::Key_Backspace:
        if (atStart && plain && !m_tokens.isEmpty()) {
            removeToken(int(m_tokens.size()) - 1);
            return true;
        }
        return false;
    case Qt::Key_Left:
        if (atStart && plain && !m_tokens.isEmpty()) {
            selectToken(int(m_tokens.size()) - 1);
            return true;
        }
        return false;
    default:
        return false;
    }
}

void TokenSearchField::editorTextEdited()
{
    selectToken(-1);
    QString text = m_editor->text();
    // Lines of a pasted list are receivers of their own, as commas make them.
    for (const QChar separator : {u'\n', u'\r', u'\t'})
        text.replace(separator, u',');
    if (text.contains(u',')) {
        QString typed;
        m_tokens += tokensBeforeLastComma(text, &typed);
        m_editor->setText(typed);
        rebuildChips();
    }
    textDidChange();
    Q_EMIT valueChanged();
}

void TokenSearchField::resignFirstResponder(Qt::FocusReason reason)
{
    // Another window or a menu of ours in front is no change of control.
    if (reason == Qt::ActiveWindowFocusReason || reason == Qt::PopupFocusReason || m_inAction)
        return;
    selectToken(-1);
    selectAction();
    // The typed text stays a receiver, shown as one.
    const QString typed = editedText().trimmed();
    if (!typed.isEmpty()) {
        m_editor->clear();
        appendToken(tokenForEditingString(typed));
    }
}

void TokenSearchField::appendToken(const QVariant &token)
{
    m_tokens.append(token);
    rebuildChips();
    Q_EMIT valueChanged();
}

void TokenSearchField::removeToken(int index)
{
    if (index < 0 || index >= m_tokens.size())
        return;
    m_tokens.removeAt(index);
    m_selectedToken = -1;
    m_editor->setReadOnly(false);
    rebuildChips();
    Q_EMIT valueChanged();
}

void TokenSearchField::selectToken(int index)
{
    if (index >= m_tokens.size())
        index = -1;
    if (index == m_selectedToken)
        return;
    m_selectedToken = index;
    // A read-only editor hides its cursor while a chip is the current one.
    m_editor->setReadOnly(index >= 0);
    if (index >= 0 && I_arrayController)
        I_arrayController->setFilterPredicate(FXPredicate::predicateWithValue(false));
    layoutContents();
    update();
}

void TokenSearchField::showMenuForToken(int index)
{
    if (!m_delegate || index < 0 || index >= m_tokens.size() || !m_chips.at(index).hasMenu)
        return;
    QMenu *menu = m_delegate->menuForRepresentedObject(this, m_tokens.at(index));
    if (!menu)
        return;
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(mapToGlobal(tokenRect(index).bottomLeft() + QPoint(0, 2)));
}

void TokenSearchField::rebuildChips()
{
    m_chips.clear();
    const QFontMetrics metrics(font());
    for (const QVariant &token : std::as_const(m_tokens)) {
        Chip chip;
        chip.fullText = m_delegate ? m_delegate->displayStringForRepresentedObject(this, token)
                                   : token.toString();
        chip.hasMenu = m_delegate && m_delegate->hasMenuForRepresentedObject(this, token);
        chip.text = metrics.elidedText(chip.fullText, Qt::ElideRight, maxChipTextWidth);
        chip.width = metrics.horizontalAdvance(chip.text) + 2 * chipPadding
                     + (chip.hasMenu ? menuArrowWidth : 0);
        m_chips.append(chip);
    }
    if (m_selectedToken >= m_tokens.size())
        m_selectedToken = -1;
    m_editor->setPlaceholderText(m_tokens.isEmpty() ? m_placeholder : QString());
    QStringList names;
    for (const Chip &chip : std::as_const(m_chips))
        names.append(chip.fullText);
    setAccessibleDescription(names.join(QStringLiteral(", ")));
    m_editor->setAccessibleDescription(accessibleDescription());
    layoutContents();
    update();
}

int TokenSearchField::moreWidth(int hidden) const
{
    return fontMetrics().horizontalAdvance(QStringLiteral("+%1").arg(hidden)) + 2 * chipPadding;
}

QRect TokenSearchField::chipArea() const
{
    const int frame = style()->pixelMetric(QStyle::PM_DefaultFrameWidth, nullptr, this);
    return rect().adjusted(frame + 2, frame, -frame - 2, -frame);
}

int TokenSearchField::chipHeight() const
{
    return std::min(chipArea().height() - 2, fontMetrics().height() + 4);
}

void TokenSearchField::layoutContents()
{
    const QRect area = chipArea();
    int chipsWidth = 0;
    for (const Chip &chip : std::as_const(m_chips))
        chipsWidth += chip.width + chipSpacing;
    const int typedWidth =
        std::max(minEditorWidth, m_editor->fontMetrics().horizontalAdvance(editedText()) + 12);
    const int overflow = std::max(0, chipsWidth + typedWidth - area.width());
    m_shownChips = int(m_chips.size());
    if (!m_editor->hasFocus() && m_selectedToken < 0 && editedText().isEmpty()) {
        // At rest the first receivers are shown, and how many more there are.
        m_scrollOffset = 0;
        if (chipsWidth - chipSpacing <= area.width()) {
            m_editor->setGeometry(area.left() + chipsWidth, area.top(),
                                  std::max(area.width() - chipsWidth, 1), area.height());
            return;
        }
        m_shownChips = 0;
        int used = 0;
        while (m_shownChips < m_chips.size()) {
            const int next = used + m_chips.at(m_shownChips).width + chipSpacing;
            const int rest = int(m_chips.size()) - m_shownChips - 1;
            if (next + (rest > 0 ? moreWidth(rest) : 0) > area.width())
                break;
            used = next;
            ++m_shownChips;
        }
        m_editor->setGeometry(area.right() + 1, area.top(), typedWidth, area.height());
        return;
    }
    if (m_selectedToken >= 0) {
        // The chosen chip is in view.
        int left = 0;
        for (int i = 0; i < m_selectedToken; ++i)
            left += m_chips.at(i).width + chipSpacing;
        const int right = left + m_chips.at(m_selectedToken).width;
        if (left < m_scrollOffset)
            m_scrollOffset = left;
        else if (right > m_scrollOffset + area.width())
            m_scrollOffset = right - area.width();
        m_scrollOffset = std::clamp(m_scrollOffset, 0, overflow);
    } else {
        // The text being typed is in view.
        m_scrollOffset = overflow;
    }
    const int editorLeft = area.left() + chipsWidth - m_scrollOffset;
    m_editor->setGeometry(editorLeft, area.top(),
                          std::max(area.right() + 1 - editorLeft, typedWidth), area.height());
}

int TokenSearchField::tokenAt(const QPoint &position) const
{
    for (int index = 0; index < m_shownChips; ++index) {
        if (tokenRect(index).contains(position))
            return index;
    }
    return -1;
}

void TokenSearchField::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    QStyleOptionFrame panel;
    panel.initFrom(this);
    panel.rect = rect();
    panel.lineWidth = style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &panel, this);
    panel.midLineWidth = 0;
    panel.state |= QStyle::State_Sunken;
    if (m_editor->hasFocus())
        panel.state |= QStyle::State_HasFocus;
    style()->drawPrimitive(QStyle::PE_PanelLineEdit, &panel, &painter, this);

    painter.setClipRect(chipArea());
    painter.setRenderHint(QPainter::Antialiasing);
    const QPalette::ColorGroup group = isEnabled() ? QPalette::Active : QPalette::Disabled;
    const QColor base = palette().color(group, QPalette::Base);
    const QColor highlight = palette().color(group, QPalette::Highlight);
    const QColor text = palette().color(group, QPalette::Text);
    for (int index = 0; index < m_shownChips; ++index) {
        const Chip &chip = m_chips.at(index);
        const QRectF box = QRectF(tokenRect(index)).adjusted(0.5, 0.5, -0.5, -0.5);
        const bool selected = index == m_selectedToken;
        // A phone book entry is tinted with the highlight colour, a typed number is grey.
        const bool entry = m_tokens.at(index).typeId() == QMetaType::QVariantMap;
        QColor fill = entry ? mixed(base, highlight, 0.2) : mixed(base, text, 0.08);
        QColor border = entry ? mixed(base, highlight, 0.55) : mixed(base, text, 0.3);
        QColor ink = text;
        if (selected) {
            fill = border = highlight;
            ink = palette().color(group, QPalette::HighlightedText);
        }
        QPainterPath path;
        path.addRoundedRect(box, box.height() / 2, box.height() / 2);
        painter.fillPath(path, fill);
        painter.setPen(border);
        painter.drawPath(path);
        painter.setPen(ink);
        const QRect textRect = tokenRect(index).adjusted(
            chipPadding, 0, -chipPadding - (chip.hasMenu ? menuArrowWidth : 0), 0);
        painter.drawText(textRect, Qt::AlignLeft | Qt::AlignVCenter, chip.text);
        if (chip.hasMenu) {
            // A small arrow: the chip has a menu of the person's numbers.
            const QPointF tip(textRect.right() + 2 + menuArrowWidth / 2.0, box.center().y() + 2);
            QPainterPath arrow;
            arrow.moveTo(tip.x() - 3.5, tip.y() - 3.5);
            arrow.lineTo(tip.x() + 3.5, tip.y() - 3.5);
            arrow.lineTo(tip);
            arrow.closeSubpath();
            painter.fillPath(arrow, ink);
        }
    }
    if (const int hidden = int(m_chips.size()) - m_shownChips; hidden > 0) {
        const QRect area = chipArea();
        const int height = chipHeight();
        const QRect more(area.right() + 1 - moreWidth(hidden),
                         area.top() + (area.height() - height) / 2, moreWidth(hidden), height);
        painter.setPen(palette().color(group, QPalette::PlaceholderText));
        painter.drawText(more, Qt::AlignCenter, QStringLiteral("+%1").arg(hidden));
    }
}

void TokenSearchField::resizeEvent(QResizeEvent *event)
{
    QFrame::resizeEvent(event);
    layoutContents();
}

void TokenSearchField::mousePressEvent(QMouseEvent *event)
{
    const int index = tokenAt(event->position().toPoint());
    m_editor->setFocus(Qt::MouseFocusReason);
    if (index < 0) {
        selectToken(-1);
        m_editor->end(false);
        QFrame::mousePressEvent(event);
        return;
    }
    selectToken(index);
    const QRect chip = tokenRect(index);
    if (event->button() == Qt::LeftButton && m_chips.at(index).hasMenu
        && event->position().x() >= chip.right() - chipPadding - menuArrowWidth)
        showMenuForToken(index);
    event->accept();
}

void TokenSearchField::contextMenuEvent(QContextMenuEvent *event)
{
    const int index = tokenAt(event->pos());
    if (index < 0 || !m_chips.at(index).hasMenu) {
        QFrame::contextMenuEvent(event);
        return;
    }
    selectToken(index);
    showMenuForToken(index);
}

void TokenSearchField::changeEvent(QEvent *event)
{
    QFrame::changeEvent(event);
    switch (event->type()) {
    case QEvent::FontChange:
    case QEvent::StyleChange:
    case QEvent::LanguageChange:
        rebuildChips();
        break;
    case QEvent::PaletteChange:
    case QEvent::EnabledChange:
        update();
        break;
    default:
        break;
    }
}
