#pragma once

#include "recipients/FXPredicate.h"
#include "recipients/PhoneBookEntry.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QVariant>

class FXAddressBook;

// Every phone number of every person in the user's address book, one entry per number,
// plus the ad-hoc entries callers add. Built at first use, kept in step with the address
// book, announced by PhoneBookDidChangeNotification. Never writes to the address book.
// Main thread only.
class PhoneBook : public QObject
{
    Q_OBJECT

public:
    // The single instance, created (and filled) on the first call.
    static PhoneBook *sharedInstance();

    // In the order the entries were added.
    const QList<PhoneBookEntryPtr> &allEntries() const { return m_allEntries; }
    const QHash<QString, PhoneBookEntryPtr> &entriesByUniqueID() const
    {
        return m_entriesByUniqueID;
    }

    PhoneBookEntryPtr entryForUniqueID(const QString &uniqueID) const;
    // The first entry, in list order, whose unifiedPhoneNumber equals the unified form of
    // `number`; none when `number` is no text or holds no number.
    PhoneBookEntryPtr entryForNumber(const QVariant &number) const;
    // The same for a number the journal keeps (E.164): address books mostly hold a number of
    // the own country in its national form, which is tried next.
    PhoneBookEntryPtr entryForStoredNumber(const QString &number) const;
    QList<PhoneBookEntryPtr> filteredEntriesUsingPredicate(const FXPredicate &predicate) const;

    // Appends the entry; an entry already stored under its uniqueID is replaced.
    void addEntry(const PhoneBookEntryPtr &entry);
    void removeEntryForUniqueID(const QString &uniqueID);

    // Adds an entry for every number in the address book.
    void fillWithAddressBookEntries();
    // Rebuilds the address book's entries and keeps the ad-hoc ones. Replaced entries move to
    // the end of the list; entries no longer in the address book are removed.
    void updateWithAddressBookEntries();

    FXAddressBook *addressBook() const { return m_addressBook; }

public Q_SLOTS:
    // The address book changed outside the program.
    void databaseDidChange(const QVariantMap &userInfo);

Q_SIGNALS:
    // Queued, so that a burst of changes is delivered once.
    void PhoneBookDidChangeNotification(PhoneBook *phoneBook);
    // Sent before and after each mutation, for "entriesByUniqueID" and "allEntries";
    // observers must not take it as a completion and follow the notification above instead.
    void willChangeValueForKey(const QString &key);

private:
    explicit PhoneBook(FXAddressBook *addressBook);
    void announceWillChange();
    void enqueueDidChangeNotification();
    void retainImagesOfCurrentPersons();

    FXAddressBook *m_addressBook = nullptr;
    QList<PhoneBookEntryPtr> m_allEntries;
    QHash<QString, PhoneBookEntryPtr> m_entriesByUniqueID;
    bool m_notificationPending = false;
};

inline constexpr char kPhoneBookDidChangeNotification[] = "PhoneBookDidChangeNotification";
