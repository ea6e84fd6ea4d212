#include "TestEnvironment.h"
#include "recipients/FXVCardReader.h"

#include <QBuffer>
#include <QDir>
#include <QImage>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <sys/stat.h>

namespace {

QString fixture(const QString &name)
{
    return TestEnvironment::dataDir() + QStringLiteral("/recipients/vcards/") + name;
}

// One line per person: names, organisation, nickname, groups, flags, then label=value per
// number.
QString describe(const FXAddressBookPerson &person)
{
    QStringList phones;
    for (const auto &phone : person.phones)
        phones.append(phone.label + u'=' + phone.value);
    return QStringList{person.firstName,
                       person.middleName,
                       person.lastName,
                       person.organization,
                       person.nickname,
                       person.groups.join(u','),
                       person.showAsCompany ? QStringLiteral("company") : QString(),
                       person.pictureData.isEmpty() ? QString() : QStringLiteral("picture")}
               .join(u'|')
           + QStringLiteral(" : ") + phones.join(QStringLiteral(", "));
}

QStringList describeAll(const QList<FXAddressBookPerson> &persons)
{
    QStringList lines;
    for (const auto &person : persons)
        lines.append(describe(person));
    return lines;
}

} // namespace

class TestFXVCardReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void writers_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QStringList>("persons");
        QTest::newRow("Apple 3.0, folded, labels, company")
            << "apple-contacts.vcf"
            << QStringList{
                   QString::fromUtf8(
                       "Anna|Maria|Berg|Berg & Partner|Annie|||picture : _$!<Mobile>!$_=+49 170 "
                       "1234567, Büro Berlin with a label long enough to be folded by the "
                       "writer=030 1234-56, _$!<HomeFAX>!$_=030 1234-99, iPhone=+49 171 7654321"),
                   "|||Acme GmbH|||company| : _$!<Work>!$_=+49 89 555 0"};
        QTest::newRow("Android 2.1 quoted-printable")
            << "android-export.vcf"
            << QStringList{QString::fromUtf8("Ayşe||Öztürk||||| : _$!<Mobile>!$_=0176-11 22 33, "
                                             "_$!<Home>!$_=+49 (0)40 123 456, "
                                             "_$!<WorkFAX>!$_=040 123 457"),
                           "Lan||Nguyen||||| : _$!<Pager>!$_=0911 42"};
        QTest::newRow("Outlook 2.1 Windows-1252")
            << "outlook-export.vcf"
            << QStringList{QString::fromUtf8("Jürgen||Müller|Straßenbau – Nord|||| : "
                                             "_$!<Work>!$_=0221 123, _$!<WorkFAX>!$_=0221 124")};
        QTest::newRow("Nextcloud 4.0 tel URIs")
            << "nextcloud.vcf"
            << QStringList{"|||Stadtwerke Nord|||company| : _$!<Work>!$_=+49-30-1234567",
                           "Hanna|Maria|Schulz|||Familie,Nachbarn|| : _$!<Mobile>!$_=+49-160-555, "
                           "_$!<Home>!$_=030/555"};
        QTest::newRow("Evolution 3.0")
            << "evolution.vcf"
            << QStringList{"Zofia||Kowalski||Zosia|Kunden,VIP|| : _$!<Main>!$_=0341 9999, "
                           "_$!<Other>!$_=0341 9999, _$!<Car>!$_=0172 3"};
        QTest::newRow("UTF-16 with byte order mark")
            << "windows-utf16.vcf"
            << QStringList{QString::fromUtf8("Ćwiek||Łącki||||| : _$!<Work>!$_=+48 22 123")};
        QTest::newRow("person without numbers")
            << "no-numbers.vcf" << QStringList{"Stefan||Stumm||||| : "};
    }
    void writers()
    {
        QFETCH(QString, file);
        QFETCH(QStringList, persons);
        FXVCardReader::Contents contents;
        QString error;
        QVERIFY2(FXVCardReader::readFile(fixture(file), &contents, &error), qPrintable(error));
        QCOMPARE(describeAll(contents.persons), persons);
        QVERIFY(contents.problems.isEmpty());

        // Identifiers are unique and the same on every read of unchanged data.
        FXVCardReader::Contents again;
        QVERIFY(FXVCardReader::readFile(fixture(file), &again, &error));
        QSet<QString> ids;
        for (qsizetype i = 0; i < contents.persons.size(); ++i) {
            QCOMPARE(again.persons.at(i).uniqueId, contents.persons.at(i).uniqueId);
            for (qsizetype j = 0; j < contents.persons.at(i).phones.size(); ++j) {
                const QString id = contents.persons.at(i).phones.at(j).identifier;
                QVERIFY(id.startsWith(contents.persons.at(i).uniqueId + u'/'));
                QCOMPARE(again.persons.at(i).phones.at(j).identifier, id);
                ids.insert(id);
            }
        }
        qsizetype phoneCount = 0;
        for (const auto &person : contents.persons)
            phoneCount += person.phones.size();
        QCOMPARE(ids.size(), phoneCount);
    }

    void recordIDs()
    {
        FXVCardReader::Contents apple;
        FXVCardReader::Contents nextcloud;
        FXVCardReader::Contents outlook;
        QString error;
        QVERIFY(FXVCardReader::readFile(fixture("apple-contacts.vcf"), &apple, &error));
        QVERIFY(FXVCardReader::readFile(fixture("nextcloud.vcf"), &nextcloud, &error));
        QVERIFY(FXVCardReader::readFile(fixture("outlook-export.vcf"), &outlook, &error));
        QCOMPARE(apple.persons.at(0).uniqueId,
                 QStringLiteral("vcard:7A1C0F2E-0A4B-4E55-9C2A-3F7B9D1E0001"));
        // "urn:uuid:" is how 4.0 writes the same UID that 3.0 writes bare.
        QCOMPARE(nextcloud.persons.at(0).uniqueId,
                 QStringLiteral("vcard:0d1f5c6e-4c55-4a64-8f8e-000000000004"));
        QVERIFY(outlook.persons.at(0).uniqueId.startsWith(fixture("outlook-export.vcf") + u'#'));
        // The group card is no person; it names its member by UID.
        QCOMPARE(apple.groups.size(), 1);
        QCOMPARE(apple.groups.at(0).name, QStringLiteral("Tennis club"));
        QCOMPARE(apple.groups.at(0).memberUIDs,
                 QStringList{"7A1C0F2E-0A4B-4E55-9C2A-3F7B9D1E0001"});
        QCOMPARE(FXVCardReader::recordIDForUID(QStringLiteral("urn:uuid:abc")),
                 QStringLiteral("vcard:abc"));
    }

    void embeddedPicture()
    {
        FXVCardReader::Contents contents;
        QString error;
        QVERIFY(FXVCardReader::readFile(fixture("apple-contacts.vcf"), &contents, &error));
        const QImage picture = QImage::fromData(contents.persons.at(0).pictureData);
        QCOMPARE(picture.size(), QSize(40, 20));
    }

    // A FIFO where a vCard or its picture should be is refused at once instead of waiting for
    // a writer that never comes.
    void specialFilesAreRefused()
    {
        QTemporaryDir dir;
        const QString fifo = dir.filePath(QStringLiteral("pipe"));
        QCOMPARE(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
        const QString card = dir.filePath(QStringLiteral("contacts.vcf"));
        QVERIFY(QFile::link(fifo, card));

        FXVCardReader::Contents contents;
        QString error;
        QVERIFY(!FXVCardReader::readFile(card, &contents, &error));
        QCOMPARE(error, QStringLiteral("not a regular file"));

        const QByteArray pictured = "BEGIN:VCARD\nVERSION:3.0\nN:Tom\nTEL:0301\nPHOTO;VALUE=uri:"
                                    + QUrl::fromLocalFile(fifo).toEncoded() + "\nEND:VCARD\n";
        QVERIFY(FXVCardReader::readData(pictured, card, &contents, &error));
        QCOMPARE(contents.persons.size(), 1);
        QVERIFY(contents.persons.first().pictureData.isEmpty());
    }

    void brokenData_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("error");
        QTest::newRow("empty") << QByteArray() << "no vCard found";
        QTest::newRow("plain text") << QByteArray("Name: Anna\nPhone: 030 1\n") << "no vCard found";
        QTest::newRow("cut off") << QByteArray("BEGIN:VCARD\nVERSION:3.0\nN:Tom\nTEL:0301")
                                 << "card 1 ends without END:VCARD";
        QTest::newRow("binary") << QByteArray("BEGIN:VCARD\n\0\0\0END:VCARD\n", 24)
                                << "binary data, not a vCard";
        QTest::newRow("end without begin") << QByteArray("N:Tom\nEND:VCARD\n") << "no vCard found";
    }
    void brokenData()
    {
        QFETCH(QByteArray, data);
        QFETCH(QString, error);
        FXVCardReader::Contents contents;
        QString message;
        QVERIFY(!FXVCardReader::readData(data, QStringLiteral("/x.vcf"), &contents, &message));
        QCOMPARE(message, error);
        QVERIFY(contents.persons.isEmpty());
    }

    // Cards that are odd in one way; each is read to the person named.
    void oddCards_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QStringList>("persons");
        QTest::newRow("text around cards")
            << QByteArray("exported by\r\nBEGIN:VCARD\r\nN:A;B\r\nTEL:1\r\nEND:VCARD\r\ntrailer")
            << QStringList{"B||A||||| : _$!<Phone>!$_=1"};
        QTest::newRow("good card survives a cut-off one")
            << QByteArray("BEGIN:VCARD\nN:A;B\nTEL:1\nEND:VCARD\nBEGIN:VCARD\nN:C;D\nTEL:2\n")
            << QStringList{"B||A||||| : _$!<Phone>!$_=1"};
        QTest::newRow("embedded agent card is part of its owner")
            << QByteArray("BEGIN:VCARD\nVERSION:2.1\nN:Boss;Bea\nTEL:1\nAGENT:\nBEGIN:VCARD\n"
                          "N:Agent;Al\nTEL:2\nEND:VCARD\nEND:VCARD\n")
            << QStringList{"Bea||Boss||||| : _$!<Phone>!$_=1"};
        QTest::newRow("quoted-printable Latin-1 without charset")
            << QByteArray("BEGIN:VCARD\nVERSION:2.1\nN;ENCODING=QUOTED-PRINTABLE:M=FCller;J\n"
                          "TEL;CELL:1\nEND:VCARD\n")
            << QStringList{QString::fromUtf8("J||Müller||||| : _$!<Mobile>!$_=1")};
        QTest::newRow("Latin-1 bytes with ISO charset tag")
            << QByteArray("BEGIN:VCARD\nVERSION:2.1\nN;CHARSET=ISO-8859-1:M\xfcller;J\nTEL:1\n"
                          "END:VCARD\n")
            << QStringList{QString::fromUtf8("J||Müller||||| : _$!<Phone>!$_=1")};
        QTest::newRow("UTF-8 bytes despite a Latin-1 tag")
            << QByteArray("BEGIN:VCARD\nVERSION:2.1\nN;CHARSET=ISO-8859-1:M\xc3\xbcller;J\n"
                          "TEL:1\nEND:VCARD\n")
            << QStringList{QString::fromUtf8("J||Müller||||| : _$!<Phone>!$_=1")};
        QTest::newRow("Latin-1 bytes in a 3.0 card")
            << QByteArray("BEGIN:VCARD\nVERSION:3.0\nN:M\xfcller;J\nTEL:1\nEND:VCARD\n")
            << QStringList{QString::fromUtf8("J||Müller||||| : _$!<Phone>!$_=1")};
        QTest::newRow("empty and oversized numbers dropped")
            << QByteArray("BEGIN:VCARD\nN:A;B\nTEL:\nTEL:" + QByteArray(300, '1')
                          + "\nTEL:2\nEND:VCARD\n")
            << QStringList{"B||A||||| : _$!<Phone>!$_=2"};
        // Lines that are no property are left out (the library would lose memory on each);
        // the values they might continue are kept whole.
        QTest::newRow("stray lines")
            << QByteArray("BEGIN:VCARD\nVERSION:2.1\nitem1.\nN:A;B\nab\nitem2.TEL;CELL\nTEL:1\n"
                          "NOTE;ENCODING=QUOTED-PRINTABLE:x=\ny\nEND:VCARD\n")
            << QStringList{"B||A||||| : _$!<Phone>!$_=1"};
        QTest::newRow("classic Mac line ends")
            << QByteArray("BEGIN:VCARD\rVERSION:3.0\rN:A;B\rTEL:1\rEND:VCARD\r")
            << QStringList{"B||A||||| : _$!<Phone>!$_=1"};
        QTest::newRow("contact list is no person")
            << QByteArray("BEGIN:VCARD\nN:List\nX-EVOLUTION-LIST:TRUE\nTEL:1\nEND:VCARD\n")
            << QStringList{};
        QTest::newRow("name only in FN, company card")
            << QByteArray("BEGIN:VCARD\nVERSION:4.0\nKIND:org\nFN:Bakery\nTEL:1\nEND:VCARD\n")
            << QStringList{"|||Bakery|||company| : _$!<Phone>!$_=1"};
        QTest::newRow("single-word FN")
            << QByteArray("BEGIN:VCARD\nVERSION:4.0\nFN:Cher\nTEL:1\nEND:VCARD\n")
            << QStringList{"Cher||||||| : _$!<Phone>!$_=1"};
    }
    void oddCards()
    {
        QFETCH(QByteArray, data);
        QFETCH(QStringList, persons);
        FXVCardReader::Contents contents;
        QString error;
        QVERIFY2(FXVCardReader::readData(data, QStringLiteral("/x.vcf"), &contents, &error),
                 qPrintable(error));
        QCOMPARE(describeAll(contents.persons), persons);
    }

    // Damaged copies of every fixture: whatever the damage, the reader answers (persons, or
    // an error) without faulting; the sanitizer build checks the memory side.
    void damagedFilesNeverFault()
    {
        const QDir fixtures(TestEnvironment::dataDir() + QStringLiteral("/recipients/vcards"));
        QRandomGenerator random(4711);
        const QByteArray specials[] = {"\r\n",
                                       "\n ",
                                       "=",
                                       ";",
                                       ":",
                                       "\\",
                                       "\xC3",
                                       "\xFF\xFE",
                                       "BEGIN:VCARD\n",
                                       "END:VCARD\n",
                                       "ENCODING=QUOTED-PRINTABLE",
                                       "CHARSET=UTF-16",
                                       "PHOTO;ENCODING=b:",
                                       "item1.",
                                       QByteArray(1, '\0')};
        int readable = 0;
        for (const QString &name : fixtures.entryList({"*.vcf"}, QDir::Files)) {
            QFile file(fixtures.filePath(name));
            QVERIFY(file.open(QIODevice::ReadOnly));
            const QByteArray original = file.readAll();
            for (int round = 0; round < 300; ++round) {
                QByteArray data = original;
                for (int edits = 1 + random.bounded(4); edits > 0 && !data.isEmpty(); --edits) {
                    const qsizetype at = random.bounded(data.size());
                    switch (random.bounded(4)) {
                    case 0:
                        data[at] = char(random.bounded(256));
                        break;
                    case 1:
                        data.truncate(at);
                        break;
                    case 2:
                        data.insert(at, specials[random.bounded(int(std::size(specials)))]);
                        break;
                    default:
                        data.remove(at, random.bounded(1, 40));
                        break;
                    }
                }
                FXVCardReader::Contents contents;
                QString error;
                if (FXVCardReader::readData(data, QStringLiteral("/fuzz.vcf"), &contents, &error))
                    ++readable;
                else
                    QVERIFY(!error.isEmpty());
            }
        }
        QVERIFY(readable > 0);
    }

    void labelsForTypes_data()
    {
        QTest::addColumn<QStringList>("types");
        QTest::addColumn<QString>("label");
        QTest::newRow("none") << QStringList{} << kABPhoneLabel;
        QTest::newRow("voice") << QStringList{"voice"} << kABPhoneLabel;
        QTest::newRow("cell") << QStringList{"cell", "voice"} << kABPhoneMobileLabel;
        QTest::newRow("fax") << QStringList{"fax"} << kABPhoneOtherFAXLabel;
        QTest::newRow("home fax") << QStringList{"home", "fax"} << kABPhoneHomeFAXLabel;
        QTest::newRow("work fax") << QStringList{"fax", "work"} << kABPhoneWorkFAXLabel;
        QTest::newRow("work") << QStringList{"work", "pref"} << kABPhoneWorkLabel;
        QTest::newRow("iphone") << QStringList{"iphone", "cell"} << kABPhoneiPhoneLabel;
        QTest::newRow("pager") << QStringList{"pager"} << kABPhonePagerLabel;
    }
    void labelsForTypes()
    {
        QFETCH(QStringList, types);
        QFETCH(QString, label);
        QCOMPARE(FXVCardReader::labelForTypes(types), label);
    }
};

QTEST_GUILESS_MAIN(TestFXVCardReader)
#include "tst_fxvcardreader.moc"
