#include "provider/xmlrpc/WPBase64Utils.h"
#include "provider/xmlrpc/WPStringUtils.h"
#include "provider/xmlrpc/XmlRpcValue.h"

#include <QRandomGenerator>
#include <QTest>

#include <cmath>

Q_DECLARE_METATYPE(XmlRpcValue)

class TestXmlRpcValue : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void conversions_data()
    {
        QTest::addColumn<XmlRpcValue>("value");
        QTest::addColumn<QString>("string");
        QTest::addColumn<qint64>("integer");
        QTest::addColumn<double>("number");
        QTest::addColumn<bool>("boolean");

        QTest::newRow("null") << XmlRpcValue() << QString() << qint64(-1) << -1.0 << false;
        QTest::newRow("true") << XmlRpcValue(true) << "1" << qint64(1) << -1.0 << true;
        QTest::newRow("int") << XmlRpcValue(-42) << "-42" << qint64(-42) << -42.0 << true;
        QTest::newRow("zero") << XmlRpcValue(0) << "0" << qint64(0) << 0.0 << false;
        QTest::newRow("double truncates")
            << XmlRpcValue(-3.9) << "-3.9" << qint64(-3) << -3.9 << false;
        QTest::newRow("double too large")
            << XmlRpcValue(1e19) << "1e+19" << qint64(-1) << 1e19 << false;
        QTest::newRow("nan") << XmlRpcValue(std::nan("")) << "nan" << qint64(-1)
                             << double(std::nan("")) << false;
        QTest::newRow("float") << XmlRpcValue(0.1f) << "0.1" << qint64(0) << double(0.1f) << false;
        QTest::newRow("numeric string")
            << XmlRpcValue(" 486 ") << " 486 " << qint64(486) << 486.0 << false;
        QTest::newRow("string read as number")
            << XmlRpcValue("486abc") << "486abc" << qint64(486) << 486.0 << false;
        QTest::newRow("list") << XmlRpcValue(XmlRpcList{1}) << QString() << qint64(-1) << -1.0
                              << false;
    }
    void conversions()
    {
        QFETCH(XmlRpcValue, value);
        QFETCH(QString, string);
        QFETCH(qint64, integer);
        QFETCH(double, number);
        QFETCH(bool, boolean);
        QCOMPARE(value.toString(), string);
        QCOMPARE(value.toString().isNull(), string.isNull());
        QCOMPARE(value.toInt(-1), integer);
        if (std::isnan(number))
            QVERIFY(std::isnan(value.toDouble(-1)));
        else
            QCOMPARE(value.toDouble(-1), number);
        QCOMPARE(value.toBool(), boolean);
    }

    void readingsOfTexts()
    {
        QCOMPARE(XmlRpcValue::integerFromText("9223372036854775807"),
                 std::numeric_limits<qint64>::max());
        QCOMPARE(XmlRpcValue::integerFromText("-9223372036854775808"),
                 std::numeric_limits<qint64>::min());
        QCOMPARE(XmlRpcValue::integerFromText("9223372036854775808"),
                 std::numeric_limits<qint64>::max());
        QCOMPARE(XmlRpcValue::integerFromText("+7"), qint64(7));
        QCOMPARE(XmlRpcValue::integerFromText("--7"), qint64(0));
        QCOMPARE(XmlRpcValue::doubleFromText("+-1"), 0.0);
        QCOMPARE(XmlRpcValue::doubleFromText("-INF"), -std::numeric_limits<double>::infinity());
        QCOMPARE(XmlRpcValue::doubleFromText("0x10"), 0.0);
        QCOMPARE(XmlRpcValue::doubleFromText(".5e1x"), 5.0);
        QVERIFY(!XmlRpcValue::dateFromText("20261112T25:00:00").isValid());
        QVERIFY(!XmlRpcValue::dateFromText("2026111xT09:07:38").isValid());
        QVERIFY(!XmlRpcValue::dateFromText("2026-11-12 09:07:38").isValid());
        QVERIFY(!XmlRpcValue::dateFromText("20261112T09:07:38+01:00").isValid());
        QCOMPARE(XmlRpcValue::dateFromText("00010101T00:00:00").date(), QDate(1, 1, 1));
    }

    void readingNeverFails()
    {
        const XmlRpcValue value(XmlRpcMap{{"CurrentBalance", XmlRpcMap{{"Currency", "EUR"}}},
                                          {"List", XmlRpcList{"a"}}});
        QCOMPARE(value["CurrentBalance"]["Currency"].toString(), QStringLiteral("EUR"));
        QVERIFY(value["Missing"]["Deeper"][0].isNull());
        QVERIFY(value["List"][1].isNull());
        QVERIFY(value["List"][-1].isNull());
        QVERIFY(value["List"]["key"].isNull());
        QVERIFY(value[0].isNull());
        QCOMPARE(value.keys(), QStringList({"CurrentBalance", "List"}));
    }

    // Copies share their lists and maps until one of them changes.
    void copiesAreIndependent()
    {
        XmlRpcValue original(XmlRpcMap{{"a", 1}});
        XmlRpcValue copy = original;
        copy.insert("b", 2);
        copy.remove("a");
        QCOMPARE(original, XmlRpcValue(XmlRpcMap{{"a", 1}}));
        QCOMPARE(copy, XmlRpcValue(XmlRpcMap{{"b", 2}}));

        XmlRpcValue list(XmlRpcList{1});
        XmlRpcValue other = list;
        other.append(2);
        QCOMPARE(list.size(), 1);
        QCOMPARE(other.size(), 2);

        XmlRpcValue text("x");
        text.append(1);
        text.insert("k", 1);
        QCOMPARE(text, XmlRpcValue("x"));
    }

    void equality()
    {
        QVERIFY(XmlRpcValue(1) != XmlRpcValue(1.0));
        QVERIFY(XmlRpcValue("1") != XmlRpcValue(1));
        QVERIFY(XmlRpcValue("a") != XmlRpcValue::fromBytes("a"));
        QVERIFY((XmlRpcValue(XmlRpcMap{{"a", 1}, {"b", 2}}))
                != (XmlRpcValue(XmlRpcMap{{"b", 2}, {"a", 1}})));
        QVERIFY(XmlRpcValue(QDateTime()) == XmlRpcValue());
        QVERIFY(XmlRpcValue(QStringLiteral("ü")) == XmlRpcValue::fromUtf8("\xc3\xbc"));
    }

    // Many removals are compacted away without losing order or lookups.
    void mapRemovalsKeepOrder()
    {
        XmlRpcMap map;
        QStringList expected;
        for (int i = 0; i < 1000; ++i)
            map.insert(QString::number(i), i);
        for (int i = 0; i < 1000; ++i) {
            if (i % 7 == 0)
                expected.append(QString::number(i));
            else
                map.remove(QString::number(i));
        }
        map.insert("0", "replaced");
        map.insert("new", 1);
        expected.append("new");
        QCOMPARE(map.keys(), expected);
        QCOMPARE(map.size(), expected.size());
        QCOMPARE(map["0"].toString(), QStringLiteral("replaced"));
        QCOMPARE(map["994"].toInt(), 994);
        QVERIFY(!map.contains("995"));
        int iterated = 0;
        for (const XmlRpcMap::Member &member : map) {
            QCOMPARE(member.key, expected[iterated]);
            ++iterated;
        }
        QCOMPARE(iterated, expected.size());
    }

    // The encoder's byte-level escaping is checked through its documents; this is the text form.
    void escapingText()
    {
        QCOMPARE(WPStringUtils::escapedStringWithString("<a & \"b\"> &#38;"),
                 QStringLiteral("&#60;a &#38; \"b\"&#62; &#38;#38;"));
    }

    void unescaping_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("unescaped");
        QTest::newRow("quote") << "&quot;x&quot;"
                               << "\"x\"";
        QTest::newRow("four apostrophes") << "&#x27;&#x39;&#x92;&#x96;"
                                          << "''''";
        QTest::newRow("angles and ampersand") << "&lt;a&gt; &amp; b"
                                              << "<a> & b";
        QTest::newRow("ampersand comes last") << "&amp;lt;&amp;quot;"
                                              << "&lt;&quot;";
        QTest::newRow("others stay") << "&#60;&apos;&#x3C;"
                                     << "&#60;&apos;&#x3C;";
    }
    void unescaping()
    {
        QFETCH(QString, text);
        QFETCH(QString, unescaped);
        QCOMPARE(WPStringUtils::unescapedStringWithString(text), unescaped);
    }

    void base64RoundTrip()
    {
        for (qsizetype size = 0; size < 300; ++size) {
            QByteArray data(size, Qt::Uninitialized);
            for (char &b : data)
                b = char(QRandomGenerator::global()->bounded(256));
            const QByteArray encoded = WPBase64Utils::encodeData(data);
            QCOMPARE(encoded, data.toBase64());
            QCOMPARE(WPBase64Utils::decodeString(QByteArrayView(encoded)), data);
            QCOMPARE(WPBase64Utils::decodeString(QString::fromLatin1(encoded)), data);
        }
    }
};

QTEST_GUILESS_MAIN(TestXmlRpcValue)
#include "tst_xmlrpcvalue.moc"
