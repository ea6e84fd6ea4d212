#include "recipients/FXPhoneNumber.h"
#include "recipients/FXRecipientSearch.h"

#include <QLocale>
#include <QTest>

class TestFXPhoneNumber : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { FXPhoneNumber::setRegion(QString()); }

    void unifiedPhoneNumber_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("unified");
        QTest::newRow("formatted") << "+49 (30) 123-45"
                                   << "+493012345";
        QTest::newRow("vanity") << "0800-FLOWERS"
                                << "08003569377";
        QTest::newRow("letters before digits") << "Tel. 030 12"
                                               << "03012";
        QTest::newRow("letters only") << "ABC"
                                      << "";
        QTest::newRow("digit then letters") << "1abc"
                                            << "1222";
        QTest::newRow("every keypad group") << "1adgjmptw cfilosvz"
                                            << "12345678923456789";
        QTest::newRow("dashed vanity") << "1-800-ABC-DEFG"
                                       << "18002223334";
        QTest::newRow("service code") << "*31#030"
                                      << "*31#030";
        QTest::newRow("int prefix kept") << "int+49"
                                         << "int+49";
        QTest::newRow("int prefix lower-cased") << "Int 12"
                                                << "int12";
        QTest::newRow("int prefix alone") << "INT"
                                          << "int";
        QTest::newRow("int then zeros") << "INT 0049"
                                        << "int0049";
        QTest::newRow("int letters after prefix") << "intabc"
                                                  << "int";
        QTest::newRow("umlaut after digit") << QString::fromUtf8("12ü3") << "123";
        QTest::newRow("sharp s after digit") << QString::fromUtf8("1ß") << "1";
        QTest::newRow("fullwidth digits vanish") << QString::fromUtf8("１２3") << "3";
        QTest::newRow("empty") << ""
                               << "";
        QTest::newRow("surrogate pair") << QString::fromUtf8("1😀2") << "12";
    }
    void unifiedPhoneNumber()
    {
        QFETCH(QString, input);
        QFETCH(QString, unified);
        const QString before = input;
        QCOMPARE(FXPhoneNumber::unifiedPhoneNumber(input), unified);
        QCOMPARE(input, before);
    }

    void replacingCharactersInSet_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("replacement");
        QTest::addColumn<QString>("expected");
        QTest::newRow("single") << "a-b"
                                << "_"
                                << "a_b";
        QTest::newRow("run gives one copy per character") << "a---b"
                                                          << "_"
                                                          << "a___b";
        QTest::newRow("leading run") << "--a"
                                     << "_"
                                     << "__a";
        QTest::newRow("trailing run") << "a--"
                                      << "_"
                                      << "a__";
        QTest::newRow("only set characters") << "- -"
                                             << "_"
                                             << "___";
        QTest::newRow("nothing to replace") << "abc"
                                            << "_"
                                            << "abc";
        QTest::newRow("empty") << ""
                               << "_"
                               << "";
        QTest::newRow("removal") << "0 30-12"
                                 << ""
                                 << "03012";
        // The insertion index is counted in the receiver: wider replacements drift.
        QTest::newRow("wide replacement drifts") << "a-b-c"
                                                 << "XY"
                                                 << "aXYXYbc";
        // Removal leaves the receiver's index past the result's end: clamped, no fault.
        QTest::newRow("removal past the end") << "a--b--c"
                                              << ""
                                              << "abc";
    }
    void replacingCharactersInSet()
    {
        QFETCH(QString, input);
        QFETCH(QString, replacement);
        QFETCH(QString, expected);
        QCOMPARE(FXPhoneNumber::stringByReplacingCharactersInSet(input, u"- ", replacement),
                 expected);
    }

    void unescapingEntities_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("expected");
        QTest::newRow("predefined") << "&lt;a&gt; &amp; &quot;b&quot; &apos;"
                                    << "<a> & \"b\" '";
        QTest::newRow("decimal") << "&#65;&#228;" << QString::fromUtf8("Aä");
        QTest::newRow("hex") << "&#x41;&#X1F600;" << QString::fromUtf8("A😀");
        QTest::newRow("extra entity") << "1&para;2" << QString::fromUtf8("1¶2");
        QTest::newRow("unknown entity kept") << "&nbsp;x"
                                             << "&nbsp;x";
        QTest::newRow("unterminated kept") << "a &amp b"
                                           << "a &amp b";
        QTest::newRow("bare ampersand") << "R&D"
                                        << "R&D";
        QTest::newRow("empty reference") << "&;"
                                         << "&;";
        QTest::newRow("surrogate code point kept") << "&#xD800;"
                                                   << "&#xD800;";
        QTest::newRow("zero kept") << "&#0;"
                                   << "&#0;";
        QTest::newRow("beyond Unicode kept") << "&#x110000;"
                                             << "&#x110000;";
        QTest::newRow("no double unescape") << "&amp;lt;"
                                            << "&lt;";
    }
    void unescapingEntities()
    {
        QFETCH(QString, input);
        QFETCH(QString, expected);
        const QHash<QString, QString> extra{{QStringLiteral("para"), QString::fromUtf8("¶")}};
        QCOMPARE(FXPhoneNumber::stringByUnescapingEntities(input, extra), expected);
    }

    void unescapingManyAmpersandsStaysLinear()
    {
        const QString hostile = QString(200000, u'&') + QStringLiteral("amp;");
        const QString result = FXPhoneNumber::stringByUnescapingEntities(hostile);
        QCOMPARE(result.size(), 200000);
        QCOMPARE(result.count(u'&'), 200000);
    }

    void containsString_data()
    {
        QTest::addColumn<QString>("string");
        QTest::addColumn<QString>("other");
        QTest::addColumn<bool>("caseSensitiveResult");
        QTest::addColumn<bool>("ignoringCaseResult");
        QTest::newRow("same case") << "Anna Berg"
                                   << "Berg" << true << true;
        QTest::newRow("other case") << "Anna Berg"
                                    << "berg" << false << true;
        QTest::newRow("absent") << "Anna Berg"
                                << "Bo" << false << false;
        QTest::newRow("empty needle") << "Anna"
                                      << "" << false << false;
        QTest::newRow("umlaut case")
            << QString::fromUtf8("MÜLLER") << QString::fromUtf8("mül") << false << true;
    }
    void containsString()
    {
        QFETCH(QString, string);
        QFETCH(QString, other);
        QFETCH(bool, caseSensitiveResult);
        QFETCH(bool, ignoringCaseResult);
        QCOMPARE(FXPhoneNumber::containsString(string, other), caseSensitiveResult);
        QCOMPARE(FXPhoneNumber::containsString(string, other, true), ignoringCaseResult);
    }

    void localizedUnifiedPhoneNumber_data()
    {
        QTest::addColumn<QString>("region");
        QTest::addColumn<QString>("number");
        QTest::addColumn<QString>("localized");
        QTest::newRow("DE own plus") << "DE"
                                     << "+49 30 1234"
                                     << "0301234";
        QTest::newRow("DE own double zero") << "DE"
                                            << "0049301234"
                                            << "0301234";
        QTest::newRow("DE national") << "DE"
                                     << "030 1234"
                                     << "0301234";
        QTest::newRow("DE foreign plus") << "DE"
                                         << "+33 1 23"
                                         << "+33123";
        QTest::newRow("DE foreign double zero") << "DE"
                                                << "0033123"
                                                << "0033123";
        QTest::newRow("DE short") << "DE"
                                  << "+4930"
                                  << "030";
        QTest::newRow("DE prefix only") << "DE"
                                        << "+49"
                                        << "0";
        QTest::newRow("DE too short") << "DE"
                                      << "+4"
                                      << "+4";
        QTest::newRow("DE north america") << "DE"
                                          << "+1 555"
                                          << "+1555";
        QTest::newRow("DE code not at start") << "DE"
                                              << "030 0049"
                                              << "0300049";
        QTest::newRow("DE int prefix") << "DE"
                                       << "int0049 30"
                                       << "int004930";
        QTest::newRow("DE empty") << "DE"
                                  << ""
                                  << "";
        QTest::newRow("lower-case region") << "de"
                                           << "+4930"
                                           << "030";
        QTest::newRow("US") << "US"
                            << "+1 212 555"
                            << "1212555";
        QTest::newRow("US foreign") << "US"
                                    << "+49 30"
                                    << "+4930";
        QTest::newRow("HU two-digit prefix") << "HU"
                                             << "+36 1 234"
                                             << "061234";
        QTest::newRow("IT no national prefix") << "IT"
                                               << "+39 06 123"
                                               << "06123";
        QTest::newRow("unknown region unchanged") << "XX"
                                                  << "0001234"
                                                  << "0001234";
    }
    void localizedUnifiedPhoneNumber()
    {
        QFETCH(QString, region);
        QFETCH(QString, number);
        QFETCH(QString, localized);
        FXPhoneNumber::setRegion(region);
        QCOMPARE(
            FXPhoneNumber::localizedUnifiedPhoneNumber(FXPhoneNumber::unifiedPhoneNumber(number)),
            localized);
    }

    // Without an override the default locale decides; the machine's locale stays untouched.
    void regionFollowsTheDefaultLocale()
    {
        const QLocale before;
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Austria));
        QCOMPARE(FXPhoneNumber::region(), QStringLiteral("AT"));
        QCOMPARE(FXPhoneNumber::localizedUnifiedPhoneNumber(QStringLiteral("+43123")),
                 QStringLiteral("0123"));
        FXPhoneNumber::setRegion(QStringLiteral("DE"));
        QCOMPARE(FXPhoneNumber::region(), QStringLiteral("DE"));
        QLocale::setDefault(before);
    }

    void variants_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QStringList>("variants");
        QTest::newRow("number") << "030 12" << QStringList{"03012"};
        QTest::newRow("plus form is not localised") << "+49 30" << QStringList{"+4930"};
        QTest::newRow("name") << "Anna" << QStringList{};
        QTest::newRow("empty") << "" << QStringList{};
    }
    void variants()
    {
        QFETCH(QString, typed);
        QFETCH(QStringList, variants);
        FXPhoneNumber::setRegion(QStringLiteral("DE"));
        QCOMPARE(FXRecipientSearch::possibleUnifiedLocalizedVariantsOfPhoneString(typed), variants);
    }

    void subPredicateWithoutNumberIsConstantFalse()
    {
        const FXPredicate none = FXRecipientSearch::subPredicateForPhoneString(
            QStringLiteral("abc"), QStringLiteral("contains[dc]"));
        QVERIFY(none.isConstantFalse());
        const FXPredicate some = FXRecipientSearch::subPredicateForPhoneString(
            QStringLiteral("0-30"), QStringLiteral("contains[dc]"));
        QCOMPARE(some.predicateFormat(), QStringLiteral("unifiedPhoneNumber CONTAINS[cd] \"030\""));
    }
};

QTEST_GUILESS_MAIN(TestFXPhoneNumber)
#include "tst_fxphonenumber.moc"
