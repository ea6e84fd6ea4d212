#include "recipients/PhoneBookEntry.h"
#include "sending/FXReceiverCheck.h"

#include <QTest>

// What typed receivers stand for, without a phone book: numbers and vanity numbers pass,
// words around digits never become a number.
class TestFXReceiverCheck : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void numbers_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("number"); // empty: refused
        QTest::newRow("international") << "+49 30 1234567"
                                       << "+49301234567";
        QTest::newRow("national, in Germany") << "030 1234567"
                                              << "0301234567";
        QTest::newRow("hidden sender code") << "*31#030 1234567"
                                            << "*31#0301234567";
        QTest::newRow("vanity") << "0800 FLOWERS"
                                << "08003569377";
        QTest::newRow("a name and a digit") << "Person 1"
                                            << "";
        QTest::newRow("words around a digit") << "Room 5 Annex"
                                              << "";
        QTest::newRow("too short") << "1"
                                   << "";
        QTest::newRow("letters first") << "FLOWERS 0800"
                                       << "";
        QTest::newRow("nothing") << ""
                                 << "";
    }
    void numbers()
    {
        QFETCH(QString, typed);
        QFETCH(QString, number);
        const FXReceiverCheck::Result result = FXReceiverCheck::check(typed, {}, "DE");
        QCOMPARE(result.kind, number.isEmpty() ? FXReceiverCheck::Result::Refused
                                               : FXReceiverCheck::Result::Number);
        QCOMPARE(result.number, number);
        QCOMPARE(result.problem.isEmpty(), !number.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestFXReceiverCheck)
#include "tst_fxreceivercheck.moc"
