#include "TestEnvironment.h"
#include "provider/xmlrpc/WPXMLRPCDecoder.h"

#include <QFile>
#include <QLoggingCategory>
#include <QTest>

#include <sys/resource.h>

Q_DECLARE_METATYPE(XmlRpcValue)

// Documents an attacker (or a broken proxy) could send instead of an answer. Each must end
// in a parse error or a defined value; the test's per-row watchdog (tests.cmake) bounds the
// time, the peak resident size bounds the memory.
namespace {

const QByteArray kHead = "<?xml version=\"1.0\"?>";
constexpr long kMemoryBudgetKiB = 64 * 1024;

template <qsizetype N>
QByteArray raw(const char (&bytes)[N])
{
    return QByteArray(bytes, N - 1);
}

QByteArray response(const QByteArray &value)
{
    return kHead + "<methodResponse><params><param>" + value + "</param></params></methodResponse>";
}

QByteArray billionLaughs()
{
    QByteArray dtd = "<!DOCTYPE methodResponse [<!ENTITY l0 \"ha\">";
    for (int i = 1; i <= 10; ++i) {
        dtd += "<!ENTITY l" + QByteArray::number(i) + " \"";
        for (int j = 0; j < 10; ++j)
            dtd += "&l" + QByteArray::number(i - 1) + ";";
        dtd += "\">";
    }
    dtd += "]>";
    return kHead + dtd
           + "<methodResponse><params><param><value>&l10;</value></param></params>"
             "</methodResponse>";
}

QByteArray quadraticBlowup()
{
    const QByteArray entity(50000, 'a');
    QByteArray references;
    for (int i = 0; i < 50000; ++i)
        references += "&a;";
    return kHead + "<!DOCTYPE methodResponse [<!ENTITY a \"" + entity + "\">]>"
           + "<methodResponse><params><param><value>" + references
           + "</value></param></params></methodResponse>";
}

QByteArray nested(const QByteArray &open, const QByteArray &inner, const QByteArray &close,
                  int depth)
{
    return response(open.repeated(depth) + inner + close.repeated(depth));
}

long peakResidentKiB()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

} // namespace

class TestXmlRpcHostile : public QObject
{
    Q_OBJECT

private:
    long m_startKiB = 0;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        QLoggingCategory::setFilterRules(QStringLiteral("faxolino.service.debug=false"));
    }

    void documents_data()
    {
        QTest::addColumn<QByteArray>("document");
        QTest::addColumn<bool>("parseError");
        QTest::addColumn<XmlRpcValue>("expected");

        // A file the attacker would like to see quoted back.
        const QString secret = TestEnvironment::root() + "/secret.txt";
        QFile file(secret);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("TOP-SECRET");
        file.close();

        QTest::newRow("billion laughs") << billionLaughs() << true << XmlRpcValue();
        QTest::newRow("quadratic blowup") << quadraticBlowup() << true << XmlRpcValue();
        QTest::newRow("external entity")
            << kHead + "<!DOCTYPE m [<!ENTITY x SYSTEM \"file://" + secret.toUtf8()
                   + "\">]><methodResponse><params><param><value>&x;</value></param></params>"
                     "</methodResponse>"
            << true << XmlRpcValue();
        QTest::newRow("external entity /etc/passwd")
            << kHead
                   + "<!DOCTYPE m [<!ENTITY x SYSTEM \"file:///etc/passwd\">]>"
                     "<methodResponse><params><param><value>&x;</value></param></params>"
                     "</methodResponse>"
            << true << XmlRpcValue();
        QTest::newRow("external parameter entity")
            << kHead + "<!DOCTYPE m [<!ENTITY % p SYSTEM \"file://" + secret.toUtf8()
                   + "\"> %p;]><methodResponse/>"
            << true << XmlRpcValue();
        QTest::newRow("external document type")
            << kHead + "<!DOCTYPE methodResponse SYSTEM \"http://127.0.0.1:9/rpc.dtd\">"
                   + "<methodResponse><params><param><value>1</value></param></params>"
                     "</methodResponse>"
            << true << XmlRpcValue();
        QTest::newRow("undeclared entity")
            << response("<value>&lol;</value>") << true << XmlRpcValue();
        QTest::newRow("100,000 nested arrays")
            << nested("<value><array><data>", "", "</data></array></value>", 100000) << true
            << XmlRpcValue();
        QTest::newRow("100,000 nested structs") << nested("<value><struct><member><name>a</name>",
                                                          "", "</member></struct></value>", 100000)
                                                << true << XmlRpcValue();
        QTest::newRow("100,000 unclosed values")
            << kHead + "<methodResponse><params><param>" + QByteArray("<value>").repeated(100000)
            << true << XmlRpcValue();
        QTest::newRow("100,000 nested unknown elements")
            << response("<value>" + QByteArray("<x>").repeated(100000) + "deep"
                        + QByteArray("</x>").repeated(100000) + "</value>")
            << false << XmlRpcValue("deep");

        XmlRpcValue deepest("bottom");
        for (int i = 1; i < WPXMLRPCDecoder::kMaximumDepth; ++i)
            deepest = XmlRpcValue(XmlRpcList{deepest});
        QTest::newRow("256 nested values")
            << nested("<value><array><data>", "<value>bottom</value>", "</data></array></value>",
                      WPXMLRPCDecoder::kMaximumDepth - 1)
            << false << deepest;
        QTest::newRow("257 nested values")
            << nested("<value><array><data>", "<value>bottom</value>", "</data></array></value>",
                      WPXMLRPCDecoder::kMaximumDepth)
            << true << XmlRpcValue();

        QTest::newRow("invalid UTF-8")
            << response("<value><string>ok\xff\xfe\xc3(\x80!</string></value>") << false
            << XmlRpcValue("ok(!");
        QTest::newRow("lone surrogate as UTF-8")
            << response("<value><string>a\xed\xa0\x80z</string></value>") << false
            << XmlRpcValue("az");
        QTest::newRow("lone surrogate as reference")
            << response("<value><string>a&#xD800;z</string></value>") << true << XmlRpcValue();
        QTest::newRow("NUL bytes") << response(raw("<value><string>a\0b\0c</string></value>"))
                                   << false << XmlRpcValue("abc");
        QTest::newRow("NUL bytes in a tag name")
            << response(raw("<value><str\0ing>x</string></value>")) << false << XmlRpcValue("x");
        // The repaired text is UTF-8 whatever the declaration claims.
        QTest::newRow("unknown encoding")
            << QByteArray("<?xml version=\"1.0\" encoding=\"x-klingon\"?><methodResponse>"
                          "<params><param><value>Gr\xc3\xbc\xc3\x9f"
                          "e</value></param></params></methodResponse>")
            << false << XmlRpcValue(QStringLiteral("Grüße"));
        QTest::newRow("100,000 members of one name") << response(
            "<value><struct>"
            + QByteArray("<member><name>k</name><value>v</value></member>").repeated(100000)
            + "</struct></value>") << false << XmlRpcValue(XmlRpcMap{{"k", "v"}});
        QTest::newRow("large texts at every level")
            << nested("<value>" + QByteArray(70000, 'a'), "<value>x</value>", "</value>", 100)
            << false << XmlRpcValue(QByteArray(70000, 'a').constData());
        QTest::newRow("int of 100,000 digits")
            << response("<value><int>" + QByteArray(100000, '9') + "</int></value>") << false
            << XmlRpcValue(std::numeric_limits<qint64>::max());
        QTest::newRow("double of 100,000 digits")
            << response("<value><double>0." + QByteArray(100000, '0') + "1</double></value>")
            << false << XmlRpcValue(0.0);
    }
    void documents()
    {
        QFETCH(QByteArray, document);
        QFETCH(bool, parseError);
        QFETCH(XmlRpcValue, expected);

        // The table's own documents are built by now and are not the decoder's memory.
        if (m_startKiB == 0)
            m_startKiB = peakResidentKiB();
        const WPXMLRPCDecoder decoder(document);
        QCOMPARE(decoder.hasParseError(), parseError);
        QCOMPARE(decoder.object(), expected);
        QVERIFY(!decoder.object().description().contains("TOP-SECRET"));
        QVERIFY(!decoder.object().description().contains("root:"));
#if !defined(__SANITIZE_ADDRESS__)
        // The sanitizers keep freed memory in quarantine, which says nothing about ours.
        const long grownKiB = peakResidentKiB() - m_startKiB;
        QVERIFY2(grownKiB < kMemoryBudgetKiB, qPrintable(QString::number(grownKiB)));
#endif
    }
};

QTEST_GUILESS_MAIN(TestXmlRpcHostile)
#include "tst_xmlrpchostile.moc"
