#include "LogCapture.h"
#include "foundation/FBLocalization.h"
#include "recipients/FXPersonImageCache.h"
#include "recipients/FXPhoneNumber.h"
#include "recipients/PhoneBookEntry.h"

#include <QBuffer>
#include <QTest>

using Key = PhoneBookEntry::Key;

namespace {

QByteArray png(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

// Red left half, blue right half, wider than high.
QByteArray twoColourPicture(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, x < width / 2 ? qRgb(220, 30, 30) : qRgb(30, 30, 220));
    return png(image);
}

FXAddressBookPerson person(const QString &id, int numbers)
{
    FXAddressBookPerson p;
    p.uniqueId = id;
    p.firstName = QStringLiteral("Anna");
    p.lastName = QStringLiteral("Berg");
    p.organization = QStringLiteral("Berg AG");
    p.nickname = QStringLiteral("Annie");
    p.groups = {QStringLiteral("Tennis"), QStringLiteral("Family")};
    const char *labels[] = {kABPhoneMobileLabel, kABPhoneWorkFAXLabel, "Summer house"};
    for (int i = 0; i < numbers; ++i)
        p.phones.append({id + QStringLiteral("/p") + QString::number(i),
                         QLatin1String(labels[i % 3]),
                         QStringLiteral("+49 30 100") + QString::number(i)});
    return p;
}

} // namespace

class TestPhoneBookEntry : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { FXPhoneNumber::setRegion(QStringLiteral("DE")); }

    void entriesFromPersons()
    {
        const auto entries = PhoneBookEntry::entriesWithABRecords(
            {person(QStringLiteral("a"), 3), person(QStringLiteral("none"), 0),
             person(QStringLiteral("b"), 1)});
        QCOMPARE(entries.size(), 4);
        QSet<QString> ids;
        for (int i = 0; i < 3; ++i) {
            const auto &entry = entries.at(i);
            QCOMPARE(entry->ABRecordID(), QStringLiteral("a"));
            QCOMPARE(entry->firstName(), QStringLiteral("Anna"));
            QCOMPARE(entry->lastName(), QStringLiteral("Berg"));
            QCOMPARE(entry->companyName(), QStringLiteral("Berg AG"));
            QCOMPARE(entry->searchableInformation(), QStringLiteral("Annie Tennis Family"));
            QCOMPARE(entry->phoneNumber(), QStringLiteral("+49 30 100") + QString::number(i));
            QCOMPARE(entry->unifiedPhoneNumber(), QStringLiteral("030100") + QString::number(i));
            ids.insert(entry->uniqueID());
        }
        QCOMPARE(ids.size(), 3);
        QCOMPARE(entries.at(0)->phoneLabel(), FXText("mobile"));
        QCOMPARE(entries.at(1)->phoneLabel(), FXText("work_fax"));
        QCOMPARE(entries.at(2)->phoneLabel(), QStringLiteral("Summer house"));
        QCOMPARE(entries.at(2)->phoneString(), QStringLiteral("Summer house: +49 30 1002"));
        QCOMPARE(entries.at(0)->sortPersonID(), QStringLiteral("BergAnnaBerg AGa"));
        QCOMPARE(entries.at(0)->firstNameSortPersonID(), QStringLiteral("AnnaBergBerg AGa"));
        QCOMPARE(entries.at(3)->ABRecordID(), QStringLiteral("b"));
    }

    void displayStrings_data()
    {
        QTest::addColumn<QStringList>("names"); // first, middle, last, company
        QTest::addColumn<bool>("adHoc");
        QTest::addColumn<QString>("display");
        QTest::addColumn<QString>("displayName");
        QTest::newRow("full name")
            << QStringList{"Anna", "Maria", "Berg", ""} << false << "Anna Maria Berg (mobile)"
            << "Anna Maria Berg";
        QTest::newRow("company only") << QStringList{"", "", "", "Acme"} << false << "Acme (mobile)"
                                      << "Acme";
        QTest::newRow("first name and company")
            << QStringList{"Anna", "", "", "Acme"} << false << "Anna (mobile)"
            << "Anna";
        QTest::newRow("last name only")
            << QStringList{"", "", "Klipleik", ""} << false << "Klipleik (mobile)"
            << "Klipleik";
        QTest::newRow("nothing but the label") << QStringList{"", "", "", ""} << false << "(mobile)"
                                               << "";
        QTest::newRow("ad-hoc shows the number")
            << QStringList{"Bo", "", "", ""} << true << "Bo (030 12)"
            << "Bo";
        QTest::newRow("ad-hoc without name") << QStringList{"", "", "", ""} << true << "(030 12)"
                                             << "";
    }
    void displayStrings()
    {
        QFETCH(QStringList, names);
        QFETCH(bool, adHoc);
        QFETCH(QString, display);
        QFETCH(QString, displayName);
        PhoneBookEntry entry;
        const Key keys[] = {Key::firstName, Key::middleName, Key::lastName, Key::companyName};
        for (int i = 0; i < 4; ++i) {
            if (!names.at(i).isEmpty())
                entry.setValue(keys[i], names.at(i));
        }
        if (!adHoc)
            entry.setValue(Key::ABRecordID, QStringLiteral("person"));
        entry.setValue(Key::phoneLabel, QStringLiteral("mobile"));
        entry.setValue(Key::phoneNumber, QStringLiteral("030 12"));
        QCOMPARE(entry.displayString(), display);
        QCOMPARE(entry.displayStringName(), displayName);
    }

    void adHocEntry()
    {
        const auto incoming = PhoneBookEntry::entryWithFirstName(
            QStringLiteral("Bo"), QString(), QStringLiteral("+49 (30) 55"), true);
        const auto outgoing = PhoneBookEntry::entryWithFirstName(QString(), QStringLiteral("Lund"),
                                                                 QStringLiteral("030 55"), false);
        QVERIFY(incoming->isAdHoc());
        QVERIFY(incoming->ABRecordID().isNull());
        QVERIFY(incoming->lastName().isNull());
        QCOMPARE(incoming->phoneLabel(), FXText("phone"));
        QCOMPARE(incoming->unifiedPhoneNumber(), QStringLiteral("03055"));
        QCOMPARE(outgoing->unifiedPhoneNumber(), QStringLiteral("03055"));
        QVERIFY(!QUuid::fromString(incoming->uniqueID()).isNull());
        QVERIFY(incoming->uniqueID() != outgoing->uniqueID());
        QCOMPARE(incoming->personImage(),
                 FXPersonImageCache::namedImage("UnknownPersonImageIncoming"));
        QCOMPARE(incoming->bigImage(), incoming->personImage());
        QCOMPARE(outgoing->personImage(),
                 FXPersonImageCache::namedImage("UnknownPersonImageOutgoing"));
        QVERIFY(!incoming->personImage().isNull());
        QVERIFY(incoming->personImage() != outgoing->personImage());
    }

    void keyValueAccess()
    {
        PhoneBookEntry entry;
        entry.setValueForKey(QStringLiteral("Anna"), QStringLiteral("firstName"));
        entry.setValueForKey(QImage(2, 2, QImage::Format_ARGB32), QStringLiteral("personImage"));
        entry.setValueForKey(QStringLiteral("x"), QStringLiteral("noSuchKey"));
        QCOMPARE(entry.valueForKey(QStringLiteral("firstName")).toString(), QStringLiteral("Anna"));
        QCOMPARE(entry.valueForKey(QStringLiteral("personImage")).value<QImage>().size(),
                 QSize(2, 2));
        QVERIFY(!entry.valueForKey(QStringLiteral("lastName")).isValid());
        QVERIFY(!entry.valueForKey(QStringLiteral("noSuchKey")).isValid());
        QCOMPARE(entry.combinedStringForFieldArray(
                     QStringList{"lastName", "firstName", "noSuchKey", "firstName"}),
                 QStringLiteral("AnnaAnna"));
        for (int k = 0; k <= int(Key::bigImage); ++k)
            QCOMPARE(PhoneBookEntry::keyForName(PhoneBookEntry::nameForKey(Key(k))), Key(k));
    }

    void labels_data()
    {
        QTest::addColumn<QString>("label");
        QTest::addColumn<QString>("shown");
        QTest::newRow("mobile") << kABPhoneMobileLabel << FXText("mobile");
        QTest::newRow("home fax") << kABPhoneHomeFAXLabel << FXText("home_fax");
        QTest::newRow("iPhone") << kABPhoneiPhoneLabel << FXText("iphone");
        QTest::newRow("none") << "" << FXText("phone");
        QTest::newRow("own label") << QString::fromUtf8("Büro") << QString::fromUtf8("Büro");
        QTest::newRow("unknown standard label") << "_$!<Assistant>!$_"
                                                << "Assistant";
    }
    void labels()
    {
        QFETCH(QString, label);
        QFETCH(QString, shown);
        QCOMPARE(PhoneBookEntry::localizedPropertyOrLabel(label), shown);
    }

    void picturesAreScaledAndCached()
    {
        FXPersonImageCache &cache = FXPersonImageCache::sharedCache();
        FXAddressBookPerson withPicture = person(QStringLiteral("pic"), 2);
        withPicture.pictureData = twoColourPicture(90, 40);
        const int decodesBefore = cache.decodeCount();
        const auto entries = PhoneBookEntry::entriesWithABRecords({withPicture});
        QCOMPARE(cache.decodeCount(), decodesBefore + 1);
        const QImage small = entries.at(0)->personImage();
        const QImage big = entries.at(0)->bigImage();
        QCOMPARE(small.size(), QSize(32, 32));
        QCOMPARE(big.size(), QSize(64, 64));
        // The middle square is kept: both colours side by side.
        QCOMPARE(qRed(big.pixel(4, 32)) > 150, true);
        QCOMPARE(qBlue(big.pixel(60, 32)) > 150, true);
        QCOMPARE(entries.at(1)->personImage().cacheKey(), small.cacheKey());

        // A refill decodes nothing; a new picture is decoded once more.
        const auto again = PhoneBookEntry::entriesWithABRecords({withPicture});
        QCOMPARE(again.at(0)->personImage().cacheKey(), small.cacheKey());
        QCOMPARE(cache.decodeCount(), decodesBefore + 1);
        withPicture.pictureData = twoColourPicture(40, 90);
        const auto changed = PhoneBookEntry::entriesWithABRecords({withPicture});
        QCOMPARE(cache.decodeCount(), decodesBefore + 2);
        QVERIFY(changed.at(0)->personImage().cacheKey() != small.cacheKey());

        cache.retainOnly({});
        QCOMPARE(cache.cachedPersonCount(), 0);
    }

    void defaultPictures_data()
    {
        QTest::addColumn<QByteArray>("picture");
        QTest::addColumn<bool>("company");
        QTest::addColumn<QString>("image");
        QTest::addColumn<bool>("logged");
        QTest::newRow("person") << QByteArray() << false << "PersonImage" << false;
        QTest::newRow("company") << QByteArray() << true << "CompanyImage" << false;
        QTest::newRow("undecodable")
            << QByteArray("not an image at all") << false << "PersonImage" << true;
        QTest::newRow("truncated PNG")
            << twoColourPicture(50, 50).left(60) << true << "CompanyImage" << true;
    }
    void defaultPictures()
    {
        QFETCH(QByteArray, picture);
        QFETCH(bool, company);
        QFETCH(QString, image);
        QFETCH(bool, logged);
        LogCapture log;
        FXAddressBookPerson p = person(QStringLiteral("default-") + image, 1);
        p.pictureData = picture;
        p.showAsCompany = company;
        const auto entries = PhoneBookEntry::entriesWithABRecords({p});
        QCOMPARE(entries.at(0)->personImage(), FXPersonImageCache::namedImage(image));
        QCOMPARE(entries.at(0)->bigImage(), FXPersonImageCache::namedImage(image));
        QCOMPARE(log.contains(QStringLiteral("Person picture could not be decoded")), logged);
    }
};

QTEST_GUILESS_MAIN(TestPhoneBookEntry)
#include "tst_phonebookentry.moc"
