#pragma once

#include "app/PhoneEntriesController.h"
#include "recipients/FXPredicate.h"

#include <QFrame>
#include <QPointer>
#include <QVariantList>

class PhoneBookEntry;
class QLineEdit;
class QMenu;
class ResultChildWindow;
class TokenSearchField;

// What the recipient field asks its owner. Every operation is optional.
class TokenSearchFieldDelegate
{
public:
    virtual ~TokenSearchFieldDelegate() = default;

    // The token a finished piece of typed text becomes.
    virtual QVariant representedObjectForEditingString(TokenSearchField *tokenField,
                                                       const QString &editingString)
    {
        Q_UNUSED(tokenField);
        return editingString;
    }
    // The text on a token's chip.
    virtual QString displayStringForRepresentedObject(TokenSearchField *tokenField,
                                                      const QVariant &representedObject)
    {
        Q_UNUSED(tokenField);
        return representedObject.toString();
    }
    virtual bool hasMenuForRepresentedObject(TokenSearchField *tokenField,
                                             const QVariant &representedObject)
    {
        Q_UNUSED(tokenField);
        Q_UNUSED(representedObject);
        return false;
    }
    // A menu for the chip, owned by the caller once returned; null for none.
    virtual QMenu *menuForRepresentedObject(TokenSearchField *tokenField,
                                            const QVariant &representedObject)
    {
        Q_UNUSED(tokenField);
        Q_UNUSED(representedObject);
        return nullptr;
    }
    // The filter of the result list for the field's whole text.
    virtual FXPredicate searchPredicateForSearchString(const QString &searchString)
    {
        Q_UNUSED(searchString);
        return FXPredicate::predicateWithValue(false);
    }
    // Whether the results of `next` are among those of `previous` (a text typed on).
    virtual bool searchStringNarrows(const QString &previous, const QString &next)
    {
        Q_UNUSED(previous);
        Q_UNUSED(next);
        return false;
    }
    virtual void tokenAdded(const QVariant &token) { Q_UNUSED(token); }
};

// The recipient field: the receivers as chips, followed by the text being typed, with a live
// search of the phone book in a drop-down below. A token is a typed number (a text) or a phone
// book entry (a map of unifiedPhoneNumber, uniqueID and ABRecordID).
//
// Keys: Up and Down move through the results, Return commits the chosen result or, with none
// chosen, runs the field's action (send) and keeps the typed number as a token, Tab commits
// and moves on, Escape drops the typed text. A comma ends a token. Backspace at the start of
// the text removes the last chip; Left from there walks the chips, where Backspace or Delete
// removes the chosen one and the menu key opens its menu.
class TokenSearchField : public QFrame
{
    Q_OBJECT

public:
    explicit TokenSearchField(QWidget *parent = nullptr);
    ~TokenSearchField() override;

    // The token of a phone book entry: its unifiedPhoneNumber, uniqueID and ABRecordID.
    static QVariantMap tokenForEntry(const PhoneBookEntry &entry);

    void setDelegate(TokenSearchFieldDelegate *delegate) { m_delegate = delegate; }
    TokenSearchFieldDelegate *delegate() const { return m_delegate; }

    // The list the drop-down shows and the keys move through.
    void setResultsController(PhoneEntriesController *controller);
    PhoneEntriesController *resultsController() const { return I_arrayController; }
    ResultChildWindow *childWindow() const { return I_childWindow; }
    QLineEdit *editor() const { return m_editor; }

    // The chips in order, then the typed text (as its token) when there is any.
    QVariantList objectValue() const;
    // Shows these tokens as chips; the typed text goes and the drop-down closes.
    void setObjectValue(const QVariantList &tokens);
    // The chips alone; setting them keeps the typed text.
    const QVariantList &tokens() const { return m_tokens; }
    void setTokens(const QVariantList &tokens);
    // The field as text: each token's text and the typed text, separated by commas.
    QString stringValue() const;
    // Every piece before the last comma becomes a chip, the last one is typed text; the
    // search then runs.
    void setStringValue(const QString &text);
    QString editedText() const;
    void setPlaceholderText(const QString &text);
    // The chip chosen with the arrow keys or a click, or -1.
    int selectedToken() const { return m_selectedToken; }
    // The chip's place in the field's coordinates (for menus and tests).
    QRect tokenRect(int index) const;
    QString displayStringForToken(int index) const;

    // Filters the result list by the typed text and chooses the first result, unless the
    // text is a number.
    void textDidChange();
    // Commits the chosen result, if any, and closes the list.
    void selectAction();
    // Return: the chosen result, or the typed text after sending.
    void selectOrSendAction();

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

Q_SIGNALS:
    // Return with no result chosen.
    void action();
    // The tokens or the typed text changed.
    void valueChanged();

protected:
    bool event(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    struct Chip
    {
        QString text; // as shown, elided
        QString fullText;
        int width = 0;
        bool hasMenu = false;
    };

    // The token a finished piece of text becomes, as the delegate decides.
    QVariant tokenForEditingString(const QString &editingString) const;
    // The tokens of the non-blank pieces before the last comma; the last piece goes to `rest`.
    QVariantList tokensBeforeLastComma(const QString &text, QString *rest) const;
    bool editorKeyPress(QKeyEvent *event);
    void editorTextEdited();
    // Losing the focus to another control commits, as leaving an address field does.
    void resignFirstResponder(Qt::FocusReason reason);
    void appendToken(const QVariant &token);
    void removeToken(int index);
    void selectToken(int index);
    void showMenuForToken(int index);
    // Chips are measured again (after a change of tokens, font or phone book).
    void rebuildChips();
    void layoutContents();
    QRect chipArea() const;
    int chipHeight() const;
    // Of the "+3" that counts the receivers beyond the field's end at rest.
    int moreWidth(int hidden) const;
    int tokenAt(const QPoint &position) const;

    TokenSearchFieldDelegate *m_delegate = nullptr;
    QPointer<PhoneEntriesController> I_arrayController;
    ResultChildWindow *I_childWindow = nullptr;
    QLineEdit *m_editor;
    QVariantList m_tokens;
    QList<Chip> m_chips;
    int m_selectedToken = -1;
    int m_shownChips = 0;   // all but those counted by "+n"
    int m_scrollOffset = 0; // how far the chips are scrolled out on the left
    QString m_placeholder;
    bool m_inAction = false; // while the field's action runs
    QString m_searchString;  // that the result list is filtered by
    FXPredicate m_filter = FXPredicate::predicateWithValue(false);
};
