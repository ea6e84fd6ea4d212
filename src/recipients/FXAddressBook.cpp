#include "recipients/FXAddressBook.h"

#include "foundation/FBUserDefaults.h"
#include "recipients/FXEvolutionAddressBookSource.h"
#include "recipients/FXVCardAddressBookSource.h"

#include <atomic>

namespace {

std::atomic<bool> systemAddressBookEnabled{true};

} // namespace

FXAddressBook *FXAddressBook::sharedAddressBook()
{
    // Lives until the process ends, like the phone book that reads it.
    static FXAddressBook *shared = new FXAddressBook(systemAddressBookEnabled.load());
    return shared;
}

void FXAddressBook::setSystemAddressBookEnabled(bool enabled)
{
    systemAddressBookEnabled = enabled;
}

FXAddressBook::FXAddressBook(bool withSystemAddressBook, QObject *parent)
    : QObject(parent)
{
    m_coalescing.setSingleShot(true);
    m_coalescing.setInterval(defaultCoalescingMs);
    connect(&m_coalescing, &QTimer::timeout, this, &FXAddressBook::announce);

    if (withSystemAddressBook) {
        m_system = new FXEvolutionAddressBookSource(this);
        addSource(m_system);
    }
    m_vcards = new FXVCardAddressBookSource(this);
    m_vcards->setPaths(FBUserDefaults::stringListForKey(kVCardSourcesKey));
    addSource(m_vcards);
}

void FXAddressBook::addSource(FXAddressBookSource *source)
{
    m_sources.append(source);
    connect(source, &FXAddressBookSource::changed, this, [this, source] { sourceChanged(source); });
}

QList<FXAddressBookPerson> FXAddressBook::people()
{
    QList<FXAddressBookPerson> all;
    for (FXAddressBookSource *source : std::as_const(m_sources))
        all += source->people();
    return all;
}

void FXAddressBook::reloadSettings()
{
    m_vcards->setPaths(FBUserDefaults::stringListForKey(kVCardSourcesKey));
}

void FXAddressBook::setCoalescingInterval(int milliseconds)
{
    m_coalescing.setInterval(qMax(0, milliseconds));
}

void FXAddressBook::sourceChanged(FXAddressBookSource *source)
{
    if (!m_changedSources.contains(source->sourceName()))
        m_changedSources.append(source->sourceName());
    if (!m_pendingSince.isValid())
        m_pendingSince.start();
    if (m_pendingSince.elapsed() >= maxCoalescingDelayMs)
        announce();
    else
        m_coalescing.start();
}

void FXAddressBook::announce()
{
    m_coalescing.stop();
    m_pendingSince.invalidate();
    const QVariantMap userInfo{
        {QStringLiteral("ABRestoreFromBackup"), false},
        {QStringLiteral("sources"), std::exchange(m_changedSources, QStringList())},
    };
    Q_EMIT databaseChangedExternally(userInfo);
}
