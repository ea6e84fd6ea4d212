#pragma once

#include "recipients/FXAddressBookPerson.h"

#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QTimer>
#include <QVariantMap>

class FXAddressBookSource;
class FXEvolutionAddressBookSource;
class FXVCardAddressBookSource;

// The user's address book as one list of persons: the desktop's address books (Evolution
// Data Server) followed by the vCard files of the setting "vCardSources". Changes noticed
// by any source arrive as one databaseChangedExternally() per burst.
class FXAddressBook : public QObject
{
    Q_OBJECT

public:
    // Quiet time after the last change before the change is announced, and the longest a
    // stream of changes can hold the announcement back.
    static constexpr int defaultCoalescingMs = 250;
    static constexpr int maxCoalescingDelayMs = 2000;

    static FXAddressBook *sharedAddressBook();
    // Whether the shared address book reads Evolution Data Server (default true); tests that
    // only need vCard files turn it off before the first use.
    static void setSystemAddressBookEnabled(bool enabled);

    QList<FXAddressBookPerson> people();

    // Re-reads "vCardSources"; a changed list is announced like any other change.
    void reloadSettings();
    void setCoalescingInterval(int milliseconds);

    // Null when the system address book is not read.
    FXEvolutionAddressBookSource *systemAddressBook() const { return m_system; }
    FXVCardAddressBookSource *vCardFiles() const { return m_vcards; }

Q_SIGNALS:
    // userInfo holds "ABRestoreFromBackup" (always false here) and "sources", the names of
    // the sources that changed.
    void databaseChangedExternally(const QVariantMap &userInfo);

private:
    explicit FXAddressBook(bool withSystemAddressBook, QObject *parent = nullptr);
    void addSource(FXAddressBookSource *source);
    void sourceChanged(FXAddressBookSource *source);
    void announce();

    QList<FXAddressBookSource *> m_sources;
    FXEvolutionAddressBookSource *m_system = nullptr;
    FXVCardAddressBookSource *m_vcards = nullptr;
    QTimer m_coalescing;
    QElapsedTimer m_pendingSince;
    QStringList m_changedSources;
};
