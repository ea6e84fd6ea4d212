#pragma once

#include "recipients/FXPredicate.h"
#include "recipients/PhoneBookEntry.h"

#include <QList>
#include <QObject>

// The recipient field's list of phone book entries: the content sorted once by the person's
// first-name sort key, narrowed by a filter, with a selection of entries. The selection keeps
// the entries that stay after a change of filter; nothing is selected by itself.
class PhoneEntriesController : public QObject
{
    Q_OBJECT

public:
    explicit PhoneEntriesController(QObject *parent = nullptr);

    // Sorted by firstNameSortPersonID ascending, entries of equal keys in their given order.
    void setContent(const QList<PhoneBookEntryPtr> &content);
    // With `narrowing`, the caller knows that the new filter passes only entries the current
    // one passed: only the arranged entries are looked at.
    void setFilterPredicate(const FXPredicate &predicate, bool narrowing = false);
    const FXPredicate &filterPredicate() const { return m_filterPredicate; }

    // The content that passes the filter, in content order.
    const QList<PhoneBookEntryPtr> &arrangedObjects() const { return m_arrangedObjects; }
    const QList<int> &selectionIndexes() const { return m_selectionIndexes; }
    QList<PhoneBookEntryPtr> selectedObjects() const;
    void setSelectionIndexes(const QList<int> &indexes);
    // The entry after (before) the first selected one; with nothing selected, the first
    // (last) entry. At either end the selection stays.
    void selectNext();
    void selectPrevious();

Q_SIGNALS:
    void arrangedObjectsChanged();
    void selectionIndexesChanged();

private:
    void rearrange(bool narrowing = false);

    QList<PhoneBookEntryPtr> m_content;
    FXPredicate m_filterPredicate = FXPredicate::predicateWithValue(true);
    QList<PhoneBookEntryPtr> m_arrangedObjects;
    QList<int> m_selectionIndexes;
};
