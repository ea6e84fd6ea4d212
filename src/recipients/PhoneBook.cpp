#include "recipients/PhoneBook.h"

#include "foundation/FXLogging.h"
#include "recipients/FXAddressBook.h"
#include "recipients/FXPersonImageCache.h"
#include "recipients/FXPhoneNumber.h"

#include <QCoreApplication>
#include <QSet>
#include <QThread>

PhoneBook *PhoneBook::sharedInstance()
{
    Q_ASSERT(!QCoreApplication::instance()
             || QThread::currentThread() == QCoreApplication::instance()->thread());
    static PhoneBook *shared = new PhoneBook(FXAddressBook::sharedAddressBook());
    return shared;
}

PhoneBook::PhoneBook(FXAddressBook *addressBook)
    : m_addressBook(addressBook)
{
    fillWithAddressBookEntries();
    connect(m_addressBook, &FXAddressBook::databaseChangedExternally, this,
            &PhoneBook::databaseDidChange);
}

PhoneBookEntryPtr PhoneBook::entryForUniqueID(const QString &uniqueID) const
{
    return m_entriesByUniqueID.value(uniqueID);
}

PhoneBookEntryPtr PhoneBook::entryForNumber(const QVariant &number) const
{
    if (number.typeId() != QMetaType::QString)
        return {};
    const QString unified = FXPhoneNumber::unifiedPhoneNumber(number.toString());
    // Entries whose number has no digits at all must not match every text without digits.
    if (unified.isEmpty())
        return {};
    for (const PhoneBookEntryPtr &entry : m_allEntries) {
        if (entry->unifiedPhoneNumber() == unified)
            return entry;
    }
    return {};
}

PhoneBookEntryPtr PhoneBook::entryForStoredNumber(const QString &number) const
{
    if (PhoneBookEntryPtr entry = entryForNumber(number))
        return entry;
    const QString unified = FXPhoneNumber::unifiedPhoneNumber(number);
    const QString national = FXPhoneNumber::localizedUnifiedPhoneNumber(unified);
    return national != unified ? entryForNumber(national) : PhoneBookEntryPtr();
}

QList<PhoneBookEntryPtr>
PhoneBook::filteredEntriesUsingPredicate(const FXPredicate &predicate) const
{
    if (predicate.isConstantFalse())
        return {};
    if (predicate.isConstantTrue())
        return m_allEntries;
    QList<PhoneBookEntryPtr> matches;
    for (const PhoneBookEntryPtr &entry : m_allEntries) {
        if (predicate.evaluateWithObject(*entry))
            matches.append(entry);
    }
    return matches;
}

void PhoneBook::addEntry(const PhoneBookEntryPtr &entry)
{
    if (!entry)
        return;
    announceWillChange();
    // Keeping list and map in step: a replaced entry leaves the list too.
    if (const PhoneBookEntryPtr old = m_entriesByUniqueID.value(entry->uniqueID()))
        m_allEntries.removeOne(old);
    m_entriesByUniqueID.insert(entry->uniqueID(), entry);
    m_allEntries.append(entry);
    announceWillChange();
}

void PhoneBook::removeEntryForUniqueID(const QString &uniqueID)
{
    const auto found = m_entriesByUniqueID.constFind(uniqueID);
    if (found == m_entriesByUniqueID.constEnd())
        return;
    announceWillChange();
    m_allEntries.removeOne(found.value());
    m_entriesByUniqueID.erase(found);
    announceWillChange();
}

void PhoneBook::fillWithAddressBookEntries()
{
    const QList<PhoneBookEntryPtr> entries =
        PhoneBookEntry::entriesWithABRecords(m_addressBook->people());
    announceWillChange();
    m_allEntries.reserve(m_allEntries.size() + entries.size());
    for (const PhoneBookEntryPtr &entry : entries) {
        if (const PhoneBookEntryPtr old = m_entriesByUniqueID.value(entry->uniqueID()))
            m_allEntries.removeOne(old);
        m_entriesByUniqueID.insert(entry->uniqueID(), entry);
        m_allEntries.append(entry);
    }
    announceWillChange();
    retainImagesOfCurrentPersons();
}

void PhoneBook::updateWithAddressBookEntries()
{
    QSet<QString> stale;
    for (const PhoneBookEntryPtr &entry : std::as_const(m_allEntries)) {
        if (!entry->isAdHoc())
            stale.insert(entry->uniqueID());
    }
    const QList<PhoneBookEntryPtr> entries =
        PhoneBookEntry::entriesWithABRecords(m_addressBook->people());

    // The merge as a sequence of removals and appends, done in one pass so that a large
    // address book does not pay a list search per entry: every replaced or stale entry
    // leaves its place, the new entries follow in address book order.
    QSet<QString> removed;
    QList<PhoneBookEntryPtr> appended;
    QHash<QString, qsizetype> appendedAt;
    appended.reserve(entries.size());
    for (const PhoneBookEntryPtr &entry : entries) {
        const QString &id = entry->uniqueID();
        const auto earlier = appendedAt.constFind(id);
        if (earlier != appendedAt.constEnd())
            appended[*earlier].reset();
        else if (m_entriesByUniqueID.contains(id))
            removed.insert(id);
        stale.remove(id);
        appendedAt.insert(id, appended.size());
        appended.append(entry);
    }
    removed.unite(stale);

    announceWillChange();
    QList<PhoneBookEntryPtr> merged;
    merged.reserve(m_allEntries.size() + appended.size());
    for (const PhoneBookEntryPtr &entry : std::as_const(m_allEntries)) {
        if (!removed.contains(entry->uniqueID()))
            merged.append(entry);
    }
    for (const PhoneBookEntryPtr &entry : std::as_const(appended)) {
        if (entry)
            merged.append(entry);
    }
    m_allEntries = merged;
    m_entriesByUniqueID.clear();
    m_entriesByUniqueID.reserve(m_allEntries.size());
    for (const PhoneBookEntryPtr &entry : std::as_const(m_allEntries))
        m_entriesByUniqueID.insert(entry->uniqueID(), entry);
    announceWillChange();
    retainImagesOfCurrentPersons();
}

void PhoneBook::databaseDidChange(const QVariantMap &userInfo)
{
    QStringList pairs;
    for (auto it = userInfo.cbegin(); it != userInfo.cend(); ++it) {
        const QString value =
            it.value().typeId() == QMetaType::QStringList
                ? u'(' + it.value().toStringList().join(QLatin1String(", ")) + u')'
                : it.value().toString();
        pairs.append(it.key() + QLatin1String(" = ") + value);
    }
    const QString description = u'{' + pairs.join(QLatin1String("; ")) + u'}';
    qCInfo(lcRecipients, "%s %s", "databaseDidChange:", qUtf8Printable(description));
    // A restore from a backup takes the same path as any other change.
    const bool restoredFromBackup = userInfo.value(QStringLiteral("ABRestoreFromBackup")).toBool();
    Q_UNUSED(restoredFromBackup)
    announceWillChange();
    updateWithAddressBookEntries();
    announceWillChange();
    enqueueDidChangeNotification();
}

void PhoneBook::announceWillChange()
{
    Q_EMIT willChangeValueForKey(QStringLiteral("entriesByUniqueID"));
    Q_EMIT willChangeValueForKey(QStringLiteral("allEntries"));
}

void PhoneBook::enqueueDidChangeNotification()
{
    if (m_notificationPending)
        return;
    m_notificationPending = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_notificationPending = false;
            Q_EMIT PhoneBookDidChangeNotification(this);
        },
        Qt::QueuedConnection);
}

void PhoneBook::retainImagesOfCurrentPersons()
{
    QSet<QString> persons;
    for (const PhoneBookEntryPtr &entry : std::as_const(m_allEntries)) {
        if (!entry->isAdHoc())
            persons.insert(entry->ABRecordID());
    }
    FXPersonImageCache::sharedCache().retainOnly(persons);
}
