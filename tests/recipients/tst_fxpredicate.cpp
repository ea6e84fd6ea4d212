#include "recipients/FXPhoneNumber.h"
#include "recipients/FXPredicate.h"
#include "recipients/FXRecipientSearch.h"

#include <QTest>

using Key = PhoneBookEntry::Key;

namespace {

PhoneBookEntryPtr makeEntry(const QString &first, const QString &last, const QString &company,
                            const QString &number, const QString &information = QString())
{
    auto entry = PhoneBookEntryPtr::create();
    entry->setValue(Key::ABRecordID, QStringLiteral("person-") + last + first);
    entry->setValue(Key::uniqueID, QStringLiteral("phone-") + number);
    if (!first.isEmpty())
        entry->setValue(Key::firstName, first);
    if (!last.isEmpty())
        entry->setValue(Key::lastName, last);
    if (!company.isEmpty())
        entry->setValue(Key::companyName, company);
    entry->setValue(Key::phoneNumber, number);
    entry->setValue(Key::phoneLabel, QStringLiteral("mobile"));
    if (!information.isEmpty())
        entry->setValue(Key::searchableInformation, information);
    entry->updateDependentValues();
    return entry;
}

} // namespace

class TestFXPredicate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { FXPhoneNumber::setRegion(QStringLiteral("DE")); }

    void folding_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("folded");
        QTest::newRow("ascii") << "Anna"
                               << "anna";
        QTest::newRow("ascii lower shares") << "anna"
                                            << "anna";
        QTest::newRow("umlaut") << QString::fromUtf8("Müller") << "muller";
        QTest::newRow("decomposed input") << QString::fromUtf8("Mu\u0308ller") << "muller";
        QTest::newRow("capital umlaut") << QString::fromUtf8("ÖZTÜRK") << "ozturk";
        QTest::newRow("cedilla and acute")
            << QString::fromUtf8("François Éluard") << "francois eluard";
        QTest::newRow("stroke letters")
            << QString::fromUtf8("Łódź Øresund Đorđe") << "lodz oresund dorde";
        QTest::newRow("dotless i") << QString::fromUtf8("Işık") << "isik";
        QTest::newRow("greek tonos") << QString::fromUtf8("Ελένη") << QString::fromUtf8("ελενη");
        QTest::newRow("cyrillic short i kept")
            << QString::fromUtf8("Йошкар") << QString::fromUtf8("иошкар");
        QTest::newRow("emoji kept") << QString::fromUtf8("A😀") << QString::fromUtf8("a😀");
        QTest::newRow("empty") << ""
                               << "";
    }
    void folding()
    {
        QFETCH(QString, text);
        QFETCH(QString, folded);
        QCOMPARE(FXPredicate::foldedString(text), folded);
    }

    void comparisons_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("op");
        QTest::addColumn<QString>("operand");
        QTest::addColumn<bool>("matches");
        QTest::newRow("beginswith dc umlaut") << "lastName"
                                              << "beginswith[dc]"
                                              << "mul" << true;
        QTest::newRow("beginswith dc typed umlaut")
            << "lastName"
            << "BEGINSWITH[cd]" << QString::fromUtf8("MÜL") << true;
        QTest::newRow("transliteration is no match") << "lastName"
                                                     << "beginswith[dc]"
                                                     << "MUEL" << false;
        QTest::newRow("beginswith is anchored") << "lastName"
                                                << "beginswith[dc]"
                                                << "ller" << false;
        QTest::newRow("contains anywhere") << "lastName"
                                           << "contains[dc]"
                                           << "LLER" << true;
        QTest::newRow("case only keeps marks") << "lastName"
                                               << "beginswith[c]"
                                               << "mul" << false;
        QTest::newRow("case only") << "lastName"
                                   << "beginswith[c]" << QString::fromUtf8("MÜL") << true;
        QTest::newRow("diacritics only keeps case") << "lastName"
                                                    << "beginswith[d]"
                                                    << "mul" << false;
        QTest::newRow("diacritics only") << "lastName"
                                         << "beginswith[d]"
                                         << "Mul" << true;
        QTest::newRow("exact") << "lastName"
                               << "beginswith" << QString::fromUtf8("Mü") << true;
        QTest::newRow("exact other case") << "lastName"
                                          << "beginswith" << QString::fromUtf8("mü") << false;
        QTest::newRow("equal") << "unifiedPhoneNumber"
                               << "="
                               << "0301234" << true;
        QTest::newRow("equal is whole") << "unifiedPhoneNumber"
                                        << "=="
                                        << "030" << false;
        QTest::newRow("absent value") << "middleName"
                                      << "contains[dc]"
                                      << "a" << false;
        QTest::newRow("empty operand") << "lastName"
                                       << "contains[dc]"
                                       << "" << false;
        QTest::newRow("unknown key") << "nickname"
                                     << "contains[dc]"
                                     << "a" << false;
        QTest::newRow("unknown operator") << "lastName"
                                          << "like[c]"
                                          << "*" << false;
    }
    void comparisons()
    {
        QFETCH(QString, key);
        QFETCH(QString, op);
        QFETCH(QString, operand);
        QFETCH(bool, matches);
        const auto entry = makeEntry(QStringLiteral("Jürgen"), QString::fromUtf8("Müller"),
                                     QString(), QStringLiteral("+49 30 1234"));
        QCOMPARE(FXPredicate::comparison(key, op, operand).evaluateWithObject(*entry), matches);
    }

    void compoundPredicates()
    {
        const auto entry = makeEntry(QStringLiteral("Anna"), QStringLiteral("Berg"), QString(),
                                     QStringLiteral("030 1234"));
        const auto yes = FXPredicate::comparison(Key::firstName, FXPredicate::Operator::EqualTo,
                                                 QStringLiteral("Anna"));
        const auto no = FXPredicate::comparison(Key::lastName, FXPredicate::Operator::EqualTo,
                                                QStringLiteral("Anna"));
        const auto constantFalse = FXPredicate::predicateWithValue(false);
        QVERIFY(FXPredicate().isConstantFalse());
        QVERIFY(!constantFalse.evaluateWithObject(*entry));
        QVERIFY(FXPredicate::orPredicateWithSubpredicates({no, yes}).evaluateWithObject(*entry));
        QVERIFY(!FXPredicate::orPredicateWithSubpredicates({no, no}).evaluateWithObject(*entry));
        QVERIFY(!FXPredicate::andPredicateWithSubpredicates({yes, no}).evaluateWithObject(*entry));
        QVERIFY(FXPredicate::andPredicateWithSubpredicates({yes, yes}).evaluateWithObject(*entry));
        QVERIFY(FXPredicate::orPredicateWithSubpredicates({}).isConstantFalse());
        QVERIFY(FXPredicate::orPredicateWithSubpredicates({constantFalse, constantFalse})
                    .isConstantFalse());
        QVERIFY(FXPredicate::andPredicateWithSubpredicates({yes, constantFalse}).isConstantFalse());
        QVERIFY(
            FXPredicate::orPredicateWithSubpredicates({no, FXPredicate::predicateWithValue(true)})
                .isConstantTrue());
        // Nested ORs flatten and a repeated comparison is kept once.
        const auto nested = FXPredicate::orPredicateWithSubpredicates(
            {yes, FXPredicate::orPredicateWithSubpredicates({no, yes}), constantFalse});
        QCOMPARE(nested, FXPredicate::orPredicateWithSubpredicates({yes, no}));
        QCOMPARE(nested.predicateFormat(),
                 QStringLiteral("firstName == \"Anna\" OR lastName == \"Anna\""));
    }

    // What the recipient field finds for a typed text, over a small phone book.
    void searchPredicate_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QStringList>("found");
        QTest::newRow("first name prefix") << "an" << QStringList{"Anna Berg", "Anton Bock"};
        QTest::newRow("last name prefix") << "bo" << QStringList{"Anton Bock", "Bodo Rahn"};
        QTest::newRow("only the last piece")
            << "Anna, Bo" << QStringList{"Anton Bock", "Bodo Rahn"};
        QTest::newRow("empty last piece") << "Anna," << QStringList{};
        QTest::newRow("empty") << "" << QStringList{};
        QTest::newRow("umlaut typed plain")
            << "mul" << QStringList{QString::fromUtf8("Jörg Müller")};
        QTest::newRow("company prefix") << "acme" << QStringList{"ACME"};
        QTest::newRow("company hidden behind name") << "data" << QStringList{"Bodo Rahn"};
        QTest::newRow("number as written") << "30 55" << QStringList{"Anton Bock"};
        QTest::newRow("number unified") << "03055" << QStringList{"Anton Bock"};
        QTest::newRow("number typed with dashes") << "030-55" << QStringList{"Anton Bock"};
        QTest::newRow("number localised") << "0891" << QStringList{"ACME"};
        QTest::newRow("number inside") << "777" << QStringList{"Bodo Rahn"};
        QTest::newRow("nickname") << "bobby" << QStringList{"Bodo Rahn"};
        QTest::newRow("group anywhere") << "iends" << QStringList{"Anna Berg", "Bodo Rahn"};
        QTest::newRow("vanity letters map to digits") << "1abc" << QStringList{"Carl Vogt"};
        QTest::newRow("letters alone are no number") << "abc" << QStringList{};
        QTest::newRow("blank piece") << "Anna,  " << QStringList{};
        QTest::newRow("nothing") << "zz" << QStringList{};
    }
    void searchPredicate()
    {
        QFETCH(QString, typed);
        QFETCH(QStringList, found);
        const QList<PhoneBookEntryPtr> book = {
            makeEntry("Anna", "Berg", {}, "+49 170 1234", "Friends"),
            makeEntry("Anton", "Bock", {}, "030 55 66"),
            makeEntry("Bodo", "Rahn", "Databank", "0171 777", "Bobby Friends"),
            makeEntry(QString::fromUtf8("Jörg"), QString::fromUtf8("Müller"), {}, "0221 1"),
            makeEntry({}, {}, "ACME", "+49 89 12"),
            makeEntry("Carl", "Vogt", {}, "1222"),
        };
        const FXPredicate predicate = FXRecipientSearch::searchPredicateForSearchString(typed);
        QStringList names;
        for (const auto &entry : book) {
            if (predicate.evaluateWithObject(*entry))
                names.append(entry->displayStringName());
        }
        QCOMPARE(names, found);
    }
};

QTEST_GUILESS_MAIN(TestFXPredicate)
#include "tst_fxpredicate.moc"
