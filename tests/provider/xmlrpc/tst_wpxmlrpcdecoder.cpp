#include "TestEnvironment.h"
#include "provider/xmlrpc/WPXMLRPCDataCleaner.h"
#include "provider/xmlrpc/WPXMLRPCDecoder.h"

#include <QCoreApplication>
#include <QFile>
#include <QLoggingCategory>
#include <QTest>
#include <QTimeZone>
#include <QTranslator>

Q_DECLARE_METATYPE(XmlRpcValue)

namespace {

QByteArray response(const QByteArray &value)
{
    return "<?xml version=\"1.0\"?><methodResponse><params><param>" + value
           + "</param></params></methodResponse>";
}

QByteArray fault(const QByteArray &members)
{
    return "<?xml version=\"1.0\"?><methodResponse><fault><value><struct>" + members
           + "</struct></value></fault></methodResponse>";
}

QByteArray member(const QByteArray &name, const QByteArray &value)
{
    return "<member><name>" + name + "</name><value>" + value + "</value></member>";
}

QByteArray fixture(const QString &name)
{
    QFile file(TestEnvironment::dataDir() + "/provider/xmlrpc/" + name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

template <qsizetype N>
QByteArray raw(const char (&bytes)[N])
{
    return QByteArray(bytes, N - 1);
}

QByteArray utf16(const QString &text)
{
    return QByteArray(reinterpret_cast<const char *>(text.utf16()), text.size() * 2);
}

QDateTime utc(int y, int mo, int d, int h, int mi, int s)
{
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s), QTimeZone::utc());
}

} // namespace

class TestWPXMLRPCDecoder : public QObject
{
    Q_OBJECT

    QTranslator m_english;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        // Every refused prefix would log its parse error.
        QLoggingCategory::setFilterRules(QStringLiteral("faxolino.service.debug=false"));
        // The English catalog, owned here so that it is gone again at the end.
        QVERIFY(m_english.load(QStringLiteral(":/VoxariaCoreBundle/translations/core_en.qm")));
        QCoreApplication::installTranslator(&m_english);
    }

    void documents_data()
    {
        QTest::addColumn<QByteArray>("document");
        QTest::addColumn<XmlRpcValue>("expected");

        QTest::newRow("i4 beyond 32 bits")
            << response("<value><i4>2147483648</i4></value>") << XmlRpcValue(2147483648LL);
        QTest::newRow("int with trailing letters")
            << response("<value><int>12abc</int></value>") << XmlRpcValue(12);
        QTest::newRow("int without digits")
            << response("<value><int>abc</int></value>") << XmlRpcValue(0);
        QTest::newRow("int beyond 64 bits clamps")
            << response("<value><int>-99999999999999999999</int></value>")
            << XmlRpcValue(std::numeric_limits<qint64>::min());
        QTest::newRow("double with unit")
            << response("<value><double>1.5kg</double></value>") << XmlRpcValue(1.5);
        QTest::newRow("double out of range")
            << response("<value><double>1e999</double></value>")
            << XmlRpcValue(std::numeric_limits<double>::infinity());
        QTest::newRow("double underflow")
            << response("<value><double>-1e-999</double></value>") << XmlRpcValue(-0.0);
        QTest::newRow("boolean true is false")
            << response("<value><boolean>true</boolean></value>") << XmlRpcValue(false);
        QTest::newRow("string trimmed")
            << response("<value><string>\n\t  a b \xc2\xa0\r\n</string></value>")
            << XmlRpcValue("a b");
        QTest::newRow("value without type")
            << response("<value> plain text </value>") << XmlRpcValue("plain text");
        QTest::newRow("empty value") << response("<value></value>") << XmlRpcValue("");
        QTest::newRow("empty string element")
            << response("<value><string/></value>") << XmlRpcValue("");
        QTest::newRow("references and CDATA")
            << response("<value><string>&amp;&lt;&gt;&quot;&apos;&#38;&#x263A;"
                        "<![CDATA[<raw>&amp;]]></string></value>")
            << XmlRpcValue(QStringLiteral("&<>\"'&\u263A<raw>&amp;"));
        QTest::newRow("date basic")
            << response("<value><dateTime.iso8601>20261112T09:07:38</dateTime.iso8601></value>")
            << XmlRpcValue(utc(2026, 11, 12, 9, 7, 38));
        QTest::newRow("date with hyphens and Z")
            << response("<value><dateTime.iso8601>2026-11-12T09:07:38Z</dateTime.iso8601>"
                        "</value>")
            << XmlRpcValue(utc(2026, 11, 12, 9, 7, 38));
        QTest::newRow("impossible date")
            << response("<value><dateTime.iso8601>20260230T09:07:38</dateTime.iso8601></value>")
            << XmlRpcValue();
        QTest::newRow("base64 with foreign characters")
            << response("<value><base64>YW*55$IG\xc3\xa4NhcQ=IGNh</base64></value>")
            << XmlRpcValue::fromBytes("any caq");
        QTest::newRow("base64 lone last digit")
            << response("<value><base64>YW55I</base64></value>") << XmlRpcValue::fromBytes("any");
        QTest::newRow("repeated member replaces in place")
            << response("<value><struct>" + member("a", "1") + member("b", "2") + member("a", "3")
                        + "</struct></value>")
            << XmlRpcValue(XmlRpcMap{{"a", "3"}, {"b", "2"}});
        QTest::newRow("undecodable date removes the member, again when absent")
            << response("<value><struct>" + member("when", "x") + member("a", "1")
                        + member("when", "<dateTime.iso8601>never</dateTime.iso8601>")
                        + member("when", "<dateTime.iso8601>later</dateTime.iso8601>")
                        + "</struct></value>")
            << XmlRpcValue(XmlRpcMap{{"a", "1"}});
        QTest::newRow("members without name or value are ignored")
            << response("<value><struct><member><value>1</value></member>"
                        "<member><name>n</name></member>"
                        + member("ok", "<int>1</int>") + "</struct></value>")
            << XmlRpcValue(XmlRpcMap{{"ok", 1}});
        QTest::newRow("undecodable date in an array stays as null")
            << response("<value><array><data><value><dateTime.iso8601>x</dateTime.iso8601>"
                        "</value><value>1</value></data></array></value>")
            << XmlRpcValue(XmlRpcList{XmlRpcValue(), "1"});
        QTest::newRow("only the first parameter")
            << response("<value><i4>1</i4></value></param><param><value><i4>2</i4></value>")
            << XmlRpcValue(1);
        QTest::newRow("comments and processing instructions")
            << response("<!-- c --><value><?pi x?><i4><!-- c -->7</i4></value>") << XmlRpcValue(7);
        QTest::newRow("Latin-1 declared")
            << QByteArray("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><methodResponse><params>"
                          "<param><value>Gr\xfc\xdf"
                          "e</value></param></params></methodResponse>")
            << XmlRpcValue(QStringLiteral("Grüße"));
        // Larger than the parser's slices, with characters of every UTF-8 length across them.
        const QString large = QStringLiteral("äb€😀 <&").repeated(200000);
        QTest::newRow("large text across slices") << response(
            "<value><string>\n " + large.toUtf8().replace("&", "&amp;").replace("<", "&lt;")
            + " \n</string></value>") << XmlRpcValue(large);
        QTest::newRow("not XML-RPC")
            << QByteArray("<html><body>502</body></html>") << XmlRpcValue();

        // Long runs of base-64 digits skip the parser when they follow a start tag; wherever
        // else they stand, the parser must see them as usual.
        const QByteArray run = QByteArray("YW55IGNhcm5hbCBwbGVhcw+/").repeated(20);
        const QByteArray big = QByteArray("QUJD").repeated(400000);
        QTest::newRow("run in a string") << response("<value><string>" + run + "</string></value>")
                                         << XmlRpcValue(run.constData());
        QTest::newRow("base64 across slices")
            << response("<value><base64>" + big + "</base64></value>")
            << XmlRpcValue::fromBytes(QByteArray("ABC").repeated(400000));
        QTest::newRow("run as member name")
            << response("<value><struct><member><name>" + run
                        + "</name><value>1</value></member>"
                          "</struct></value>")
            << XmlRpcValue(XmlRpcMap{{QString::fromLatin1(run), "1"}});
        QTest::newRow("run followed by references and line ends")
            << response("<value><string>" + run + "&amp;\r\n" + run + "</string></value>")
            << XmlRpcValue((run + "&\n" + run).constData());
        QTest::newRow("run in a comment")
            << response("<value><string><!--x>" + run + "-->y</string></value>")
            << XmlRpcValue("y");
        QTest::newRow("run in CDATA") << response("<value><![CDATA[x>" + run + "]]></value>")
                                      << XmlRpcValue(("x>" + run).constData());
        QTest::newRow("run in an attribute")
            << response("<value><string a=\"x>" + run + "\">y</string></value>")
            << XmlRpcValue("y");
        QTest::newRow("run after an end tag")
            << response("<value><array><data><value>1</value>" + run + "</data></array></value>")
            << XmlRpcValue(XmlRpcList{"1"});
        QTest::newRow("run after an empty element")
            << response("<value><array><data><value/>" + run + "</data></array></value>")
            << XmlRpcValue(XmlRpcList{""});
        QTest::newRow("UTF-16 with byte order mark, run included")
            << QByteArray("\xff\xfe")
                   + utf16("<methodResponse><params><param><value>" + QString::fromLatin1(run)
                           + "\u00fc</value></param></params></methodResponse>")
            << XmlRpcValue(QString::fromLatin1(run) + QStringLiteral("\u00fc"));
    }
    void documents()
    {
        QFETCH(QByteArray, document);
        QFETCH(XmlRpcValue, expected);
        const WPXMLRPCDecoder decoder(document);
        QCOMPARE(decoder.object().description(), expected.description());
        QCOMPARE(decoder.object(), expected);
        QVERIFY(!decoder.isFault());
        QCOMPARE(decoder.hasParseError(), false);
        QCOMPARE(decoder.originalData(), document);
    }

    void recordedResponses()
    {
        const WPXMLRPCDecoder balance(fixture("balance-response.xml"));
        QCOMPARE(balance.object().keys(),
                 QStringList({"StatusCode", "StatusString", "CurrentBalance"}));
        QCOMPARE(balance.object()["CurrentBalance"]["Currency"].toString(), QStringLiteral("EUR"));
        QCOMPARE(balance.object()["CurrentBalance"]["TotalIncludingVat"].toDouble(), 12.345);

        const WPXMLRPCDecoder uris(fixture("own-uri-list-response.xml"));
        const XmlRpcValue list = uris.object()["OwnUriList"];
        QCOMPARE(list.size(), 2);
        QCOMPARE(list[0]["UriAlias"].toString(), QStringLiteral("Büro"));
        QCOMPARE(list[0]["DefaultUri"].toBool(), true);
        QCOMPARE(list[0]["TOS"][1].toString(), QStringLiteral("fax"));
        QCOMPARE(list[1]["UriAlias"].toString(), QString(""));
        QCOMPARE(list[1]["E164Out"].toString(), QStringLiteral("4921155509876"));
    }

    void methodCall()
    {
        const WPXMLRPCDecoder decoder(
            "<methodCall><methodName> a&#38;b </methodName></methodCall>");
        QCOMPARE(decoder.methodName(), QStringLiteral("a&b"));
        QCOMPARE(decoder.object(),
                 XmlRpcValue(XmlRpcMap{{"methodName", "a&b"}, {"params", XmlRpcList()}}));
    }

    void faultsAndErrors_data()
    {
        QTest::addColumn<QByteArray>("document");
        QTest::addColumn<bool>("isFault");
        QTest::addColumn<qint64>("faultCode");
        QTest::addColumn<QString>("faultString");
        QTest::addColumn<QString>("domain");
        QTest::addColumn<qint64>("code");
        QTest::addColumn<QString>("description");

        const QString error = "WPXMLRPCError";
        QTest::newRow("fault") << fault(
            member("faultCode", "<int>4</int>")
            + member("faultString", "<string>Too many parameters</string>"))
                               << true << qint64(4) << "Too many parameters"
                               << "WPXMLRPCFaultError" << qint64(4) << "Too many parameters";
        QTest::newRow("fault code as text, no string")
            << fault(member("faultCode", "<string> -32700 </string>")) << true << qint64(-32700)
            << ""
            << "WPXMLRPCFaultError" << qint64(-32700) << "";
        QTest::newRow("fault without code")
            << fault(member("faultString", "oops")) << true << qint64(0) << "oops" << error
            << qint64(WPXMLRPCDecoder::InvalidFaultError)
            << "The data doesn't look like a valid XML-RPC Fault response";
        QTest::newRow("server out of memory")
            << QByteArray("<b>Fatal error</b>: Allowed memory size of 134217728 bytes exhausted "
                          "(tried to allocate 72 bytes)")
            << false << qint64(0) << "" << error << qint64(WPXMLRPCDecoder::OutOfMemoryError)
            << "Your site ran out of memory while processing this request";
        QTest::newRow("out of memory wins over a fault")
            << fault(member("faultCode", "<int>1</int>")
                     + member("faultString", "Allowed memory size of 1 bytes exhausted"))
            << true << qint64(1) << "Allowed memory size of 1 bytes exhausted" << error
            << qint64(WPXMLRPCDecoder::OutOfMemoryError)
            << "Your site ran out of memory while processing this request";
        QTest::newRow("memory text without a number")
            << response("<value>Allowed memory size of  bytes exhausted</value>") << false
            << qint64(0) << ""
            << "" << qint64(0) << "";
        QTest::newRow("parse error")
            << QByteArray("<?xml version=\"1.0\"?><methodResponse><params><param><value>"
                          "<string>abc")
            << false << qint64(0) << "" << error << qint64(WPXMLRPCDecoder::ParseError)
            << "The data doesn't look like a valid XML-RPC response";
        QTest::newRow("cut off inside a run of base-64 digits")
            << QByteArray("<?xml version=\"1.0\"?><methodResponse><params><param><value>")
                   + QByteArray("YW55IGNhcm5hbCBwbGVhcw+/").repeated(20)
            << false << qint64(0) << "" << error << qint64(WPXMLRPCDecoder::ParseError)
            << "The data doesn't look like a valid XML-RPC response";
        QTest::newRow("empty") << QByteArray("") << false << qint64(0) << "" << error
                               << qint64(WPXMLRPCDecoder::ParseError)
                               << "The data doesn't look like a valid XML-RPC response";
        QTest::newRow("success") << response("<value>1</value>") << false << qint64(0) << ""
                                 << "" << qint64(0) << "";
    }
    void faultsAndErrors()
    {
        QFETCH(QByteArray, document);
        QFETCH(bool, isFault);
        QFETCH(qint64, faultCode);
        QFETCH(QString, faultString);
        QFETCH(QString, domain);
        QFETCH(qint64, code);
        QFETCH(QString, description);

        const WPXMLRPCDecoder decoder(document);
        QCOMPARE(decoder.isFault(), isFault);
        QCOMPARE(decoder.faultCode(), faultCode);
        QCOMPARE(decoder.faultString(), isFault ? faultString : QString());
        const FXError error = decoder.error();
        QCOMPARE(error.domain, domain);
        QCOMPARE(error.code, code);
        QCOMPARE(error.description, description);
    }

    void absentInput()
    {
        QVERIFY(!WPXMLRPCDecoder::initWithData(QByteArray()).has_value());
        QVERIFY(WPXMLRPCDecoder::initWithData(QByteArray("")).has_value());
    }

    void cleaner_data()
    {
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QByteArray>("expected");

        const QByteArray head = "<?xml version=\"1.0\"?><methodResponse>";
        QTest::newRow("truncated after a value in params")
            << head + "<params><param><value><i4>1</i4></value>"
            << head + "<params><param><value><i4>1</i4></value></param></params></methodResponse>";
        QTest::newRow("truncated inside a closing tag of the frame")
            << head + "<params><param><value>1</value></param></par"
            << head + "<params><param><value>1</value></param></params></methodResponse>";
        QTest::newRow("fault truncated after the struct")
            << head + "<fault><value><struct></struct></val"
            << head + "<fault><value><struct></struct></value></fault></methodResponse>";
        QTest::newRow("unknown fragment gets every closing tag")
            << head + "<params><param><value><string>ab"
            << head + "<params><param><value><string>ab</param></params></methodResponse>";
        QTest::newRow("complete response unchanged") << head + "<params></params></methodResponse>"
                                                     << head + "<params></params></methodResponse>";
        QTest::newRow("no methodResponse unchanged")
            << QByteArray("<a><b>") << QByteArray("<a><b>");
        QTest::newRow("text without any tag unchanged")
            << QByteArray("methodResponse") << QByteArray("methodResponse");
        QTest::newRow("short garbage cut, then repaired")
            << "PHP Notice: x\n" + head + "<params><param><value>1</value>"
            << head + "<params><param><value>1</value></param></params></methodResponse>";
        QTest::newRow("long garbage cut, no repair")
            << QByteArray(40, '#') + head + "<params><param><value>1</value>"
            << head + "<params><param><value>1</value>";
        QTest::newRow("invalid UTF-8 dropped") << QByteArray("<?xml?><v>a\xff\xfe"
                                                             "b\xed\xa0\x80"
                                                             "c\xc0\x80"
                                                             "d\xe2\x82</v>")
                                               << QByteArray("<?xml?><v>abcd</v>");
        QTest::newRow("no UTF-8 at all read as Latin-1")
            << QByteArray("<?xml?><v>\xf4\x90\x80\x80</v>")
            << QByteArray("<?xml?><v>\xc3\xb4\xc2\x90\xc2\x80\xc2\x80</v>");
        QTest::newRow("characters XML does not allow")
            << raw("<?xml?><v>a\x00\x01\x1f\tb\xef\xbf\xbe\xef\xbf\xbd"
                   "c\xf0\x9f\x98\x80</v>")
            << QByteArray("<?xml?><v>a\tb\xef\xbf\xbd"
                          "c</v>");
    }
    void cleaner()
    {
        QFETCH(QByteArray, input);
        QFETCH(QByteArray, expected);
        QCOMPARE(WPXMLRPCDataCleaner(input).cleanData(), expected);
    }

    // Every prefix of a recorded answer decodes without harm; no prefix of a fault passes for
    // a success, and no prefix of a success yields anything but the complete value.
    void everyPrefix_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<bool>("isFault");
        QTest::newRow("success") << "session-initiate-response.xml" << false;
        QTest::newRow("one line") << "session-status-response.xml" << false;
        QTest::newRow("fault") << "fault-response.xml" << true;
    }
    void everyPrefix()
    {
        QFETCH(QString, file);
        QFETCH(bool, isFault);
        const QByteArray document = fixture(file);
        QVERIFY(!document.isEmpty());
        const WPXMLRPCDecoder complete(document);
        QCOMPARE(complete.isFault(), isFault);
        int decoded = 0;
        for (qsizetype length = 0; length <= document.size(); ++length) {
            const WPXMLRPCDecoder decoder(document.left(length));
            if (decoder.object().isNull())
                continue;
            ++decoded;
            QCOMPARE(decoder.isFault(), isFault);
            // A repaired fault prefix may hold less than the whole fault, but stays a fault.
            if (!isFault)
                QCOMPARE(decoder.object(), complete.object());
        }
        // The frame's closing tags are repaired, so the last few prefixes decode.
        QVERIFY2(decoded >= 5, qPrintable(QString::number(decoded)));
    }
};

QTEST_GUILESS_MAIN(TestWPXMLRPCDecoder)
#include "tst_wpxmlrpcdecoder.moc"
