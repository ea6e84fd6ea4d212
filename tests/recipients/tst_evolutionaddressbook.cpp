// The phone book over the real Evolution Data Server: the source registry and address book
// factory are started by D-Bus activation inside the test's private session bus. Contacts
// are written through libebook, as GNOME Contacts or Evolution would write them.
#include "LogCapture.h"
#include "TestEnvironment.h"
#include "recipients/FXAddressBook.h"
#include "recipients/FXEvolutionAddressBookSource.h"
#include "recipients/FXPhoneNumber.h"
#include "recipients/FXRecipientSearch.h"
#include "recipients/PhoneBook.h"

#include <QAbstractEventDispatcher>
#include <QSignalSpy>
#include <QTest>

#include <libebook/libebook.h>

namespace {

constexpr int edsTimeoutMs = 30000;

QStringList numbersOf(const QString &personSuffix)
{
    QStringList numbers;
    for (const auto &entry : PhoneBook::sharedInstance()->allEntries()) {
        if (entry->ABRecordID().endsWith(personSuffix))
            numbers.append(entry->phoneLabel() + u'=' + entry->unifiedPhoneNumber());
    }
    return numbers;
}

QStringList lastNames()
{
    QStringList names;
    for (const auto &entry : PhoneBook::sharedInstance()->allEntries()) {
        if (!names.contains(entry->lastName()))
            names.append(entry->lastName());
    }
    names.sort();
    return names;
}

} // namespace

class TestEvolutionAddressBook : public QObject
{
    Q_OBJECT

public:
    ~TestEvolutionAddressBook() override
    {
        g_clear_object(&m_client);
        g_clear_object(&m_registry);
    }

private:
    ESourceRegistry *m_registry = nullptr;
    EBookClient *m_client = nullptr;

    // Adds a contact through libebook and returns its UID.
    QString addContact(const QByteArray &vcard)
    {
        EContact *contact = e_contact_new_from_vcard(vcard.constData());
        gchar *uid = nullptr;
        GError *error = nullptr;
        const bool ok = e_book_client_add_contact_sync(m_client, contact, 0, &uid, nullptr, &error);
        g_object_unref(contact);
        if (!ok) {
            qWarning("add contact: %s", error ? error->message : "?");
            g_clear_error(&error);
            return QString();
        }
        const QString result = QString::fromUtf8(uid);
        g_free(uid);
        return result;
    }

    // Adds a contact and waits until the phone book has announced it. The notification is
    // queued after the update, so waiting for the data alone could leave it on its way.
    QString addContactAndWait(const QByteArray &vcard)
    {
        QSignalSpy changes(PhoneBook::sharedInstance(), &PhoneBook::PhoneBookDidChangeNotification);
        const QString uid = addContact(vcard);
        return !uid.isEmpty() && changes.wait(edsTimeoutMs) ? uid : QString();
    }

    static QList<PhoneBookEntryPtr> entriesOfContact(const QString &uid)
    {
        QList<PhoneBookEntryPtr> entries;
        for (const auto &entry : PhoneBook::sharedInstance()->allEntries()) {
            if (entry->ABRecordID().endsWith(u':' + uid))
                entries.append(entry);
        }
        return entries;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        // The event loop under test is the one the program runs.
        QVERIFY(QAbstractEventDispatcher::instance()->inherits("QEventDispatcherGlib"));
        FXPhoneNumber::setRegion(QStringLiteral("DE"));

        GError *error = nullptr;
        m_registry = e_source_registry_new_sync(nullptr, &error);
        QVERIFY2(m_registry, error ? error->message : "no registry");
        ESource *source = e_source_registry_ref_builtin_address_book(m_registry);
        QVERIFY(source);
        m_client = E_BOOK_CLIENT(e_book_client_connect_sync(source, guint32(-1), nullptr, &error));
        g_object_unref(source);
        QVERIFY2(m_client, error ? error->message : "no client");

        // One contact exists before the program starts.
        QVERIFY(!addContact("BEGIN:VCARD\nVERSION:3.0\nN:Anfang;Anna\nTEL;TYPE=CELL:+49 170 1"
                            "\nTEL;TYPE=WORK,FAX:030 2\nEND:VCARD\n")
                     .isEmpty());

        PhoneBook *book = PhoneBook::sharedInstance();
        book->addressBook()->setCoalescingInterval(100);
        FXEvolutionAddressBookSource *system = book->addressBook()->systemAddressBook();
        QVERIFY(system);
        QSignalSpy changes(book, &PhoneBook::PhoneBookDidChangeNotification);
        QTRY_VERIFY_WITH_TIMEOUT(system->isLoaded(), edsTimeoutMs);
        // Arrived, and announced: no notification of the first load is still on its way.
        QTRY_VERIFY_WITH_TIMEOUT(!changes.isEmpty() && lastNames() == QStringList{"Anfang"},
                                 edsTimeoutMs);
        QCOMPARE(numbersOf(QString()).size(), 2);
    }

    void burstOfAddedContactsGivesOneNotification()
    {
        PhoneBook *book = PhoneBook::sharedInstance();
        QSignalSpy changes(book, &PhoneBook::PhoneBookDidChangeNotification);
        const QStringList names = {"Bach", "Chopin", "Dvorak", "Elgar", "Faure"};
        for (const QString &name : names) {
            const QByteArray card = "BEGIN:VCARD\nVERSION:3.0\nN:" + name.toUtf8()
                                    + ";Test\nTEL;TYPE=HOME:0221 " + QByteArray::number(name.size())
                                    + "\nEND:VCARD\n";
            QVERIFY(!addContact(card).isEmpty());
        }
        QVERIFY(changes.wait(edsTimeoutMs));
        QCOMPARE(changes.count(), 1);
        QCOMPARE(lastNames(),
                 QStringList({"Anfang", "Bach", "Chopin", "Dvorak", "Elgar", "Faure"}));

        // A sentinel change: had the burst been announced twice, the count would be 3.
        QVERIFY(
            !addContact("BEGIN:VCARD\nVERSION:3.0\nN:Grieg;Edvard\nTEL:1\nEND:VCARD\n").isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(changes.count(), 2, edsTimeoutMs);
        QVERIFY(lastNames().contains(QStringLiteral("Grieg")));
    }

    void changedContactChangesItsEntries()
    {
        PhoneBook *book = PhoneBook::sharedInstance();
        const QString uid = addContactAndWait(
            "BEGIN:VCARD\nVERSION:3.0\nN:Holst;Gustav\nNICKNAME:Planets\nTEL;TYPE=CELL:+49 171 "
            "11\nTEL;TYPE=WORK:+33 1 22\nEND:VCARD\n");
        QVERIFY(!uid.isEmpty());
        QCOMPARE(numbersOf(u':' + uid), QStringList({"mobile=017111", "work=+33122"}));
        const auto before = entriesOfContact(uid);
        QCOMPARE(before.size(), 2);
        const QString keptId = before.at(0)->uniqueID();
        const QString changedId = before.at(1)->uniqueID();

        QSignalSpy changes(book, &PhoneBook::PhoneBookDidChangeNotification);
        EContact *contact = nullptr;
        GError *error = nullptr;
        QVERIFY(e_book_client_get_contact_sync(m_client, uid.toUtf8().constData(), &contact,
                                               nullptr, &error));
        e_contact_set(contact, E_CONTACT_FAMILY_NAME, "Holst-Smith");
        GList *attributes = e_contact_get_attributes(contact, E_CONTACT_TEL);
        QCOMPARE(g_list_length(attributes), 2u);
        auto *work = static_cast<EVCardAttribute *>(g_list_nth_data(attributes, 1));
        e_vcard_attribute_remove_values(work);
        e_vcard_attribute_add_value(work, "+33 1 99");
        e_contact_set_attributes(contact, E_CONTACT_TEL, attributes);
        g_list_free_full(attributes, reinterpret_cast<GDestroyNotify>(e_vcard_attribute_free));
        QVERIFY(e_book_client_modify_contact_sync(m_client, contact, 0, nullptr, &error));
        g_object_unref(contact);

        QVERIFY(changes.wait(edsTimeoutMs));
        QCOMPARE(numbersOf(u':' + uid), QStringList({"mobile=017111", "work=+33199"}));
        // Entries of one person, as the token menu finds them.
        const auto after = book->filteredEntriesUsingPredicate(FXPredicate::comparison(
            QStringLiteral("ABRecordID"), QStringLiteral("="), before.at(0)->ABRecordID()));
        QCOMPARE(after.size(), 2);
        QCOMPARE(after.at(0)->lastName(), QStringLiteral("Holst-Smith"));
        // An unchanged number keeps its identity, so tokens naming it stay valid.
        QCOMPARE(after.at(0)->uniqueID(), keptId);
        QVERIFY(after.at(1)->uniqueID() != changedId);
        QCOMPARE(
            book->filteredEntriesUsingPredicate(
                    FXRecipientSearch::searchPredicateForSearchString(QStringLiteral("planets")))
                .size(),
            2);
    }

    void removedContactDisappearsAdHocEntryStays()
    {
        PhoneBook *book = PhoneBook::sharedInstance();
        const auto adHoc = PhoneBookEntry::entryWithFirstName(QString(), QString(),
                                                              QStringLiteral("0800 123"), false);
        book->addEntry(adHoc);
        const QString uid =
            addContactAndWait("BEGIN:VCARD\nVERSION:3.0\nN:Ives;Charles\nTEL:0711 5\nEND:VCARD\n");
        QVERIFY(!uid.isEmpty());
        QCOMPARE(entriesOfContact(uid).size(), 1);

        QSignalSpy changes(book, &PhoneBook::PhoneBookDidChangeNotification);
        GError *error = nullptr;
        QVERIFY(e_book_client_remove_contact_by_uid_sync(m_client, uid.toUtf8().constData(), 0,
                                                         nullptr, &error));
        QVERIFY(changes.wait(edsTimeoutMs));
        QVERIFY(numbersOf(u':' + uid).isEmpty());
        QCOMPARE(book->entryForUniqueID(adHoc->uniqueID()), adHoc);
        QCOMPARE(book->entryForNumber(QStringLiteral("0800-123")), adHoc);
    }
};

QTEST_GUILESS_MAIN(TestEvolutionAddressBook)
#include "tst_evolutionaddressbook.moc"
