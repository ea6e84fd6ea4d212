// The shared phone book over a folder of vCard files, as the user lists it in "vCardSources".
// The desktop's address book is left out here (it has a test of its own), so every entry
// comes from the files this test writes.
#include "LogCapture.h"
#include "TestEnvironment.h"
#include "foundation/FBUserDefaults.h"
#include "recipients/FXAddressBook.h"
#include "recipients/FXPhoneNumber.h"
#include "recipients/FXRecipientSearch.h"
#include "recipients/FXVCardAddressBookSource.h"
#include "recipients/PhoneBook.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

constexpr int watchTimeoutMs = 10000;

QString contactsFolder()
{
    return TestEnvironment::root() + QStringLiteral("/contacts");
}

bool writeFile(const QString &path, const QByteArray &data)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(data) == data.size();
}

QByteArray card(const QByteArray &uid, const QByteArray &name, const QByteArray &numbers)
{
    QByteArray out = "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:" + uid + "\r\nN:" + name + "\r\n";
    for (const QByteArray &number : numbers.split(','))
        out += "TEL;TYPE=CELL:" + number + "\r\n";
    return out + "END:VCARD\r\n";
}

QStringList displayStrings(const QList<PhoneBookEntryPtr> &entries)
{
    QStringList out;
    for (const auto &entry : entries)
        out.append(entry->displayStringName() + u' ' + entry->unifiedPhoneNumber());
    return out;
}

QList<PhoneBookEntryPtr> entriesOf(const QString &recordID)
{
    return PhoneBook::sharedInstance()->filteredEntriesUsingPredicate(
        FXPredicate::comparison(QStringLiteral("ABRecordID"), QStringLiteral("="), recordID));
}

} // namespace

class TestPhoneBook : public QObject
{
    Q_OBJECT

private:
    QStringList m_log;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        FXPhoneNumber::setRegion(QStringLiteral("DE"));
        FXAddressBook::setSystemAddressBookEnabled(false);

        // The user's folder holds what several writers produced, two broken files and a
        // file that is no vCard; a single file and a missing path are listed as well.
        QVERIFY(QDir().mkpath(contactsFolder() + QStringLiteral("/sub")));
        const QDir fixtures(TestEnvironment::dataDir() + QStringLiteral("/recipients/vcards"));
        for (const QString &name : fixtures.entryList(QDir::Files)) {
            if (name != QLatin1String("evolution.vcf"))
                QVERIFY(QFile::copy(fixtures.filePath(name), contactsFolder() + u'/' + name));
        }
        const QString single = TestEnvironment::root() + QStringLiteral("/evolution-export.vcf");
        QVERIFY(QFile::copy(fixtures.filePath(QStringLiteral("evolution.vcf")), single));
        QVERIFY(writeFile(contactsFolder() + QStringLiteral("/sub/nested.vcf"),
                          card("nested-1", "Tief;Tina", "0911 7")));
        FBUserDefaults::setObject(QStringList{contactsFolder(), single, QStringLiteral("~/absent")},
                                  kVCardSourcesKey);

        LogCapture log;
        PhoneBook *book = PhoneBook::sharedInstance();
        m_log = log.messages();
        book->addressBook()->setCoalescingInterval(50);
        QCOMPARE(PhoneBook::sharedInstance(), book);
    }

    void fillReadsEveryWriter()
    {
        const auto &entries = PhoneBook::sharedInstance()->allEntries();
        QStringList names;
        for (const auto &entry : entries) {
            if (!names.contains(entry->displayStringName()))
                names.append(entry->displayStringName());
        }
        names.sort();
        QCOMPARE(names,
                 QStringList({"Acme GmbH", "Anna Maria Berg", QString::fromUtf8("Ayşe Öztürk"),
                              QString::fromUtf8("Hanna Maria Schulz"),
                              QString::fromUtf8("Jürgen Müller"), "Lan Nguyen", "Stadtwerke Nord",
                              "Tina Tief", "Zofia Kowalski", QString::fromUtf8("Ćwiek Łącki")}));
        QCOMPARE(entries.size(), 19);
        QCOMPARE(PhoneBook::sharedInstance()->entriesByUniqueID().size(), entries.size());
        // The group card of the Apple export names Anna as a member.
        const auto anna = entriesOf(QStringLiteral("vcard:7A1C0F2E-0A4B-4E55-9C2A-3F7B9D1E0001"));
        QCOMPARE(anna.size(), 4);
        QCOMPARE(anna.at(0)->searchableInformation(), QStringLiteral("Annie Tennis club"));
        QCOMPARE(anna.at(0)->personImage().size(), QSize(32, 32));
    }

    void brokenFilesAreSkippedWithALogLine_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("cut off") << "broken-truncated.vcf";
        QTest::newRow("binary") << "broken-binary.vcf";
    }
    void brokenFilesAreSkippedWithALogLine()
    {
        QFETCH(QString, file);
        const QString line =
            QStringLiteral("Skipping vCard file ") + contactsFolder() + u'/' + file;
        QVERIFY2(std::any_of(m_log.begin(), m_log.end(),
                             [&](const QString &m) { return m.startsWith(line); }),
                 qPrintable(m_log.join(u'\n')));
        QVERIFY(!m_log.join(u'\n').contains(QLatin1String("notes.txt")));
    }

    void entryForNumber_data()
    {
        QTest::addColumn<QVariant>("number");
        QTest::addColumn<bool>("stored"); // as the journal keeps it
        QTest::addColumn<QString>("found");
        // Zofia has the same number twice: the earlier entry (Main) answers.
        QTest::newRow("same number twice")
            << QVariant(QStringLiteral("0341-9999")) << false << "Zofia Kowalski (main)";
        QTest::newRow("national form")
            << QVariant(QStringLiteral("0170 1234567")) << false << "Anna Maria Berg (mobile)";
        // Typed numbers are not localised, so the international form finds nothing.
        QTest::newRow("international form")
            << QVariant(QStringLiteral("+49 170 1234567")) << false << "";
        QTest::newRow("stored E.164")
            << QVariant(QStringLiteral("+491701234567")) << true << "Anna Maria Berg (mobile)";
        QTest::newRow("stored, another country")
            << QVariant(QStringLiteral("+431701234567")) << true << "";
        QTest::newRow("no digits") << QVariant(QStringLiteral("Anna")) << false << "";
        QTest::newRow("not a text") << QVariant(1701234567) << false << "";
        QTest::newRow("invalid") << QVariant() << false << "";
    }
    void entryForNumber()
    {
        QFETCH(QVariant, number);
        QFETCH(bool, stored);
        QFETCH(QString, found);
        PhoneBook *book = PhoneBook::sharedInstance();
        const auto entry =
            stored ? book->entryForStoredNumber(number.toString()) : book->entryForNumber(number);
        QCOMPARE(entry ? entry->displayString() : QString(), found);
    }

    void searchFindsEntries_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QStringList>("found");
        QTest::newRow("diacritics ignored")
            << "Anna, mul"
            << QStringList{QString::fromUtf8("Jürgen Müller 0221123"),
                           QString::fromUtf8("Jürgen Müller 0221124")};
        QTest::newRow("typed with diacritics")
            << QString::fromUtf8("öZT")
            << QStringList{QString::fromUtf8("Ayşe Öztürk 0176112233"),
                           QString::fromUtf8("Ayşe Öztürk 0040123456"),
                           QString::fromUtf8("Ayşe Öztürk 040123457")};
        QTest::newRow("stroke letter")
            << "lac" << QStringList{QString::fromUtf8("Ćwiek Łącki +4822123")};
        QTest::newRow("empty piece") << "Anna," << QStringList{};
    }
    void searchFindsEntries()
    {
        QFETCH(QString, typed);
        QFETCH(QStringList, found);
        const auto entries = PhoneBook::sharedInstance()->filteredEntriesUsingPredicate(
            FXRecipientSearch::searchPredicateForSearchString(typed));
        QCOMPARE(displayStrings(entries), found);
    }

    // Typing on may search only the previous results: only where they hold all new ones.
    void searchStringNarrows_data()
    {
        QTest::addColumn<QString>("previous");
        QTest::addColumn<QString>("next");
        QTest::addColumn<bool>("narrows");
        QTest::newRow("a letter more") << "Mü" << QString::fromUtf8("Mül") << true;
        QTest::newRow("a digit more") << "0221 12"
                                      << "0221 123" << true;
        QTest::newRow("keypad letter after digits") << "0800 F"
                                                    << "0800 FL" << true;
        QTest::newRow("next piece after a token") << "Anna, J"
                                                  << "Anna, Jü" << true;
        QTest::newRow("a letter less") << "Jürg"
                                       << "Jür" << false;
        QTest::newRow("first digit after letters") << "a"
                                                   << "a1" << false;
        QTest::newRow("nothing before") << ""
                                        << "a" << false;
        QTest::newRow("new piece") << "Anna"
                                   << "Anna," << false;
    }
    void searchStringNarrows()
    {
        QFETCH(QString, previous);
        QFETCH(QString, next);
        QFETCH(bool, narrows);
        QCOMPARE(FXRecipientSearch::searchStringNarrows(previous, next), narrows);
        // Where it narrows, the new results are among the previous ones.
        PhoneBook *book = PhoneBook::sharedInstance();
        const auto before = book->filteredEntriesUsingPredicate(
            FXRecipientSearch::searchPredicateForSearchString(previous));
        for (const PhoneBookEntryPtr &entry : book->filteredEntriesUsingPredicate(
                 FXRecipientSearch::searchPredicateForSearchString(next)))
            QVERIFY(!narrows || before.contains(entry));
    }

    void addAndRemoveKeepListAndMapInStep()
    {
        PhoneBook *book = PhoneBook::sharedInstance();
        QSignalSpy announcements(book, &PhoneBook::willChangeValueForKey);
        const qsizetype before = book->allEntries().size();
        const auto first = PhoneBookEntry::entryWithFirstName({}, {}, QStringLiteral("1"), false);
        book->addEntry(first);
        QCOMPARE(announcements.count(), 4); // both keys, before and after
        QCOMPARE(announcements.at(0).at(0).toString(), QStringLiteral("entriesByUniqueID"));
        QCOMPARE(announcements.at(1).at(0).toString(), QStringLiteral("allEntries"));
        QCOMPARE(book->allEntries().last(), first);

        // The same uniqueID again replaces the entry in both containers.
        auto replacement = PhoneBookEntry::entryWithFirstName({}, {}, QStringLiteral("2"), false);
        replacement->setValue(PhoneBookEntry::Key::uniqueID, first->uniqueID());
        book->addEntry(replacement);
        QCOMPARE(book->allEntries().size(), before + 1);
        QCOMPARE(book->entryForUniqueID(first->uniqueID()), replacement);

        book->removeEntryForUniqueID(first->uniqueID());
        book->removeEntryForUniqueID(QStringLiteral("no such id"));
        QCOMPARE(book->allEntries().size(), before);
        QVERIFY(!book->entryForUniqueID(first->uniqueID()));
        QCOMPARE(book->entriesByUniqueID().size(), book->allEntries().size());
    }

    void changedFileShowsUpAfterTheNotification()
    {
        PhoneBook *book = PhoneBook::sharedInstance();
        const QString file = contactsFolder() + QStringLiteral("/android-export.vcf");
        const auto before = entriesOf(QStringLiteral("vcard:pager-friend"));
        QVERIFY(before.isEmpty());
        const auto ayse = book->entryForNumber(QStringLiteral("0176 11 22 33"));
        QVERIFY(ayse);

        QSignalSpy changes(book, &PhoneBook::PhoneBookDidChangeNotification);
        QByteArray data;
        {
            QFile original(file);
            QVERIFY(original.open(QIODevice::ReadOnly));
            data = original.readAll();
        }
        // Lan gets a UID and a second number; Ayşe stays as she is.
        data.replace("FN:Lan Nguyen", "FN:Lan Nguyen\r\nUID:pager-friend\r\nTEL;CELL:0151 8");
        QVERIFY(writeFile(file, data));
        QVERIFY(changes.wait(watchTimeoutMs));
        QCOMPARE(changes.count(), 1);
        QCOMPARE(changes.at(0).at(0).value<PhoneBook *>(), book);

        QCOMPARE(displayStrings(entriesOf(QStringLiteral("vcard:pager-friend"))),
                 QStringList({"Lan Nguyen 01518", "Lan Nguyen 091142"}));
        // An unchanged contact keeps its identifiers; its entries are new objects.
        const auto ayseAfter = book->entryForNumber(QStringLiteral("0176 11 22 33"));
        QCOMPARE(ayseAfter->uniqueID(), ayse->uniqueID());
    }

    void deletedContactGoesAdHocEntryStays()
    {
        PhoneBook *book = PhoneBook::sharedInstance();
        const auto adHoc = PhoneBookEntry::entryWithFirstName(
            QStringLiteral("Walk"), QStringLiteral("In"), QStringLiteral("0800 555"), true);
        book->addEntry(adHoc);
        QCOMPARE(book->allEntries().last(), adHoc);
        const qsizetype tinaCount = entriesOf(QStringLiteral("vcard:nested-1")).size();
        QCOMPARE(tinaCount, 1);

        QSignalSpy changes(book, &PhoneBook::PhoneBookDidChangeNotification);
        QVERIFY(QFile::remove(contactsFolder() + QStringLiteral("/sub/nested.vcf")));
        QVERIFY(changes.wait(watchTimeoutMs));
        QVERIFY(entriesOf(QStringLiteral("vcard:nested-1")).isEmpty());
        QCOMPARE(book->entryForUniqueID(adHoc->uniqueID()), adHoc);
        // Address book entries are replaced by new ones at the end: the ad-hoc entry, added
        // last, now comes first of all.
        QCOMPARE(book->allEntries().first(), adHoc);
        QCOMPARE(book->entriesByUniqueID().size(), book->allEntries().size());
        book->removeEntryForUniqueID(adHoc->uniqueID());
    }

    void burstOfFileChangesGivesOneNotification()
    {
        PhoneBook *book = PhoneBook::sharedInstance();
        QSignalSpy changes(book, &PhoneBook::PhoneBookDidChangeNotification);
        for (int i = 0; i < 5; ++i) {
            const QByteArray uid = "burst-" + QByteArray::number(i);
            QVERIFY(writeFile(contactsFolder() + u'/' + QString::fromLatin1(uid) + ".vcf",
                              card(uid, "Burst;" + uid, "0228 " + QByteArray::number(i))));
        }
        QVERIFY(changes.wait(watchTimeoutMs));
        QCOMPARE(changes.count(), 1);
        for (int i = 0; i < 5; ++i)
            QCOMPARE(entriesOf(QStringLiteral("vcard:burst-") + QString::number(i)).size(), 1);

        // A sentinel change: had the burst been announced twice, the count would be 3.
        QVERIFY(QFile::remove(contactsFolder() + QStringLiteral("/burst-0.vcf")));
        QTRY_COMPARE_WITH_TIMEOUT(changes.count(), 2, watchTimeoutMs);
        QVERIFY(entriesOf(QStringLiteral("vcard:burst-0")).isEmpty());
    }

    // Only vCard files, folders and listed paths make the folder worth reading again.
    void otherFilesInTheFolderAreIgnored_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("relevant");
        QTest::newRow("notes") << "notes.txt" << false;
        QTest::newRow("synchroniser's temporary file") << ".sync-tmp-4711" << false;
        QTest::newRow("vCard") << "new-card.vcf" << true;
        QTest::newRow("vCard, upper case") << "OTHER.VCF" << true;
        QTest::newRow("folder") << "new-folder" << true;
    }
    void otherFilesInTheFolderAreIgnored()
    {
        QFETCH(QString, name);
        QFETCH(bool, relevant);
        const FXVCardAddressBookSource *source =
            PhoneBook::sharedInstance()->addressBook()->vCardFiles();
        QSignalSpy events(&source->folderWatcher(), &FXFolderWatcher::changed);
        const QString path = contactsFolder() + u'/' + name;
        if (name.contains(u'.'))
            QVERIFY(writeFile(path, "BEGIN:VCARD\r\nN:X\r\nEND:VCARD\r\n"));
        else
            QVERIFY(QDir().mkdir(path));
        QVERIFY(events.wait(watchTimeoutMs));
        QCOMPARE(source->isRescanPending(), relevant);
        // Gone again before the folder is read: nothing to announce.
        QVERIFY(name.contains(u'.') ? QFile::remove(path) : QDir().rmdir(path));
        QTRY_VERIFY_WITH_TIMEOUT(!source->isRescanPending(), watchTimeoutMs);
    }

    // The vCard files are read up to a total budget; the files beyond it are left out with a
    // warning, so that a huge address book cannot take all memory.
    void vCardFilesHaveATotalBudget()
    {
        QTemporaryDir dir;
        for (int i = 1; i <= 3; ++i) {
            QVERIFY(writeFile(dir.filePath(QStringLiteral("%1.vcf").arg(i)),
                              card(QStringLiteral("budget-%1").arg(i).toUtf8(), "Budget;Bea",
                                   QStringLiteral("030 55%1").arg(i).toUtf8())));
        }
        const qint64 one = QFileInfo(dir.filePath(QStringLiteral("1.vcf"))).size();
        FXVCardAddressBookSource::setTotalBytes(2 * one + one / 2);
        LogCapture log;
        FXVCardAddressBookSource source;
        source.setPaths({dir.path()});
        const QList<FXAddressBookPerson> people = source.people();
        FXVCardAddressBookSource::setTotalBytes(0);
        QCOMPARE(people.size(), 2);
        QVERIFY(log.contains(QStringLiteral("the 0 files after it are ignored")));
    }

    void changedSettingIsFollowed()
    {
        PhoneBook *book = PhoneBook::sharedInstance();
        const QString other = TestEnvironment::root() + QStringLiteral("/later");
        QVERIFY(QDir().mkpath(other));
        QVERIFY(
            writeFile(other + QStringLiteral("/late.vcf"), card("late-1", "Spaet;Sam", "089 1")));
        QSignalSpy changes(book, &PhoneBook::PhoneBookDidChangeNotification);
        FBUserDefaults::setObject(QStringList{other}, kVCardSourcesKey);
        book->addressBook()->reloadSettings();
        QVERIFY(changes.wait(watchTimeoutMs));
        QCOMPARE(displayStrings(book->allEntries()), QStringList{"Sam Spaet 0891"});
    }
};

QTEST_GUILESS_MAIN(TestPhoneBook)
#include "tst_phonebook.moc"
