#include "app/PhoneEntriesController.h"

#include <QSet>

#include <algorithm>

PhoneEntriesController::PhoneEntriesController(QObject *parent)
    : QObject(parent)
{}

void PhoneEntriesController::setContent(const QList<PhoneBookEntryPtr> &content)
{
    m_content = content;
    std::stable_sort(m_content.begin(), m_content.end(),
                     [](const PhoneBookEntryPtr &a, const PhoneBookEntryPtr &b) {
                         return a->firstNameSortPersonID() < b->firstNameSortPersonID();
                     });
    rearrange();
}

void PhoneEntriesController::setFilterPredicate(const FXPredicate &predicate, bool narrowing)
{
    m_filterPredicate = predicate;
    rearrange(narrowing);
}

void PhoneEntriesController::rearrange(bool narrowing)
{
    QSet<const PhoneBookEntry *> selected;
    for (const PhoneBookEntryPtr &entry : selectedObjects())
        selected.insert(entry.data());
    // The arranged entries keep the content's order, so a narrower filter may start from them.
    const QList<PhoneBookEntryPtr> candidates = narrowing ? m_arrangedObjects : m_content;
    m_arrangedObjects.clear();
    QList<int> selection;
    // A constant-false filter (the closed list) needs no look at the entries.
    if (!m_filterPredicate.isConstantFalse()) {
        for (const PhoneBookEntryPtr &entry : candidates) {
            if (!m_filterPredicate.evaluateWithObject(*entry))
                continue;
            if (selected.contains(entry.data()))
                selection.append(int(m_arrangedObjects.size()));
            m_arrangedObjects.append(entry);
        }
    }
    const bool selectionChanged = selection != m_selectionIndexes;
    m_selectionIndexes = selection;
    Q_EMIT arrangedObjectsChanged();
    if (selectionChanged)
        Q_EMIT selectionIndexesChanged();
}

QList<PhoneBookEntryPtr> PhoneEntriesController::selectedObjects() const
{
    QList<PhoneBookEntryPtr> objects;
    for (int index : m_selectionIndexes)
        objects.append(m_arrangedObjects.at(index));
    return objects;
}

void PhoneEntriesController::setSelectionIndexes(const QList<int> &indexes)
{
    QList<int> valid;
    for (int index : indexes) {
        if (index >= 0 && index < m_arrangedObjects.size() && !valid.contains(index))
            valid.append(index);
    }
    std::sort(valid.begin(), valid.end());
    if (valid == m_selectionIndexes)
        return;
    m_selectionIndexes = valid;
    Q_EMIT selectionIndexesChanged();
}

void PhoneEntriesController::selectNext()
{
    if (m_arrangedObjects.isEmpty())
        return;
    const int next = m_selectionIndexes.isEmpty() ? 0 : m_selectionIndexes.first() + 1;
    setSelectionIndexes({std::min(next, int(m_arrangedObjects.size()) - 1)});
}

void PhoneEntriesController::selectPrevious()
{
    if (m_arrangedObjects.isEmpty())
        return;
    const int last = int(m_arrangedObjects.size()) - 1;
    const int previous = m_selectionIndexes.isEmpty() ? last : m_selectionIndexes.first() - 1;
    setSelectionIndexes({std::max(previous, 0)});
}
