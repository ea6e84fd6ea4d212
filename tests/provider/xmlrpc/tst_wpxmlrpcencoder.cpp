#include "TestEnvironment.h"
#include "provider/xmlrpc/WPXMLRPCEncoder.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

#include <memory>

Q_DECLARE_METATYPE(XmlRpcValue)

namespace {

const QByteArray kHeader = "<?xml version=\"1.0\"?>";

QByteArray call(const QByteArray &method, const QByteArray &params)
{
    return kHeader + "<methodCall><methodName>" + method + "</methodName><params>" + params
           + "</params></methodCall>";
}

QByteArray param(const QByteArray &value)
{
    return "<param>" + value + "</param>";
}

QByteArray randomBytes(qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator generator{quint32(size)};
    for (char &b : bytes)
        b = char(generator.bounded(256));
    return bytes;
}

QStringList scratchFiles()
{
    return QDir(WPXMLRPCEncoder::scratchFolder()).entryList(QDir::Files | QDir::Hidden);
}

// Lists the scratch folder at the moment the encoder reads the stream, i.e. while the
// document is being written.
class FolderProbe : public QBuffer
{
public:
    using QBuffer::QBuffer;
    QStringList seen;
    QFileDevice::Permissions permissions;

protected:
    qint64 readData(char *data, qint64 maxSize) override
    {
        if (seen.isEmpty()) {
            seen = scratchFiles();
            if (!seen.isEmpty())
                permissions = QFile(QDir(WPXMLRPCEncoder::scratchFolder()).filePath(seen.first()))
                                  .permissions();
        }
        return QBuffer::readData(data, maxSize);
    }
};

} // namespace

class TestWPXMLRPCEncoder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(TestEnvironment::isIsolated()); }

    void methodCalls_data()
    {
        QTest::addColumn<QString>("method");
        QTest::addColumn<XmlRpcValue>("params");
        QTest::addColumn<QByteArray>("expected");

        const QDateTime date(QDate(2026, 11, 12), QTime(10, 7, 38, 999), QTimeZone(3600));

        QTest::newRow("method name escaped without a value tag")
            << "a&b<c>\"'" << XmlRpcValue(XmlRpcList()) << call("a&#38;b&#60;c&#62;\"'", "");
        QTest::newRow("scalars") << "m"
                                 << XmlRpcValue(XmlRpcList{true, false, 42, qint64(1) << 40, -7,
                                                           1.5, 2.5f, "text", date})
                                 << call("m",
                                         param("<value><boolean>1</boolean></value>")
                                             + param("<value><boolean>0</boolean></value>")
                                             + param("<value><i4>42</i4></value>")
                                             + param("<value><i4>1099511627776</i4></value>")
                                             + param("<value><i4>-7</i4></value>")
                                             + param("<value><double>1.5</double></value>")
                                             + param("<value><i4>2.5</i4></value>")
                                             + param("<value><string>text</string></value>")
                                             + param("<value><dateTime.iso8601>20261112T09:07:38Z"
                                                     "</dateTime.iso8601></value>"));
        QTest::newRow("number texts")
            << "m"
            << XmlRpcValue(
                   XmlRpcList{0.1, 3.0, 1e20, -0.0, 0.1f, std::numeric_limits<qint64>::min()})
            << call("m", param("<value><double>0.1</double></value>")
                             + param("<value><double>3</double></value>")
                             + param("<value><double>1e+20</double></value>")
                             + param("<value><double>-0</double></value>")
                             + param("<value><i4>0.1</i4></value>")
                             + param("<value><i4>-9223372036854775808</i4></value>"));
        QTest::newRow("escaping order, quotes untouched")
            << "m" << XmlRpcValue(XmlRpcList{"a&b<c>d\"e'f &#38; &amp;"})
            << call("m", param("<value><string>a&#38;b&#60;c&#62;d\"e'f &#38;#38; &#38;amp;"
                               "</string></value>"));
        QTest::newRow("nesting")
            << "m"
            << XmlRpcValue(XmlRpcList{XmlRpcValue(XmlRpcList{
                   XmlRpcMap{{"a<b", XmlRpcList{1, XmlRpcMap{}}}, {"e", XmlRpcList{}}}})})
            << call("m", param("<value><array><data><value><struct>"
                               "<member><name>a&#60;b</name><value><array><data>"
                               "<value><i4>1</i4></value><value><struct></struct></value>"
                               "</data></array></value></member>"
                               "<member><name>e</name><value><array><data></data></array>"
                               "</value></member>"
                               "</struct></value></data></array></value>"));
        QTest::newRow("null writes nothing")
            << "m" << XmlRpcValue(XmlRpcList{XmlRpcValue(), XmlRpcMap{{"k", XmlRpcValue()}}})
            << call("m", param("")
                             + param("<value><struct><member><name>k</name></member>"
                                     "</struct></value>"));
    }
    void methodCalls()
    {
        QFETCH(QString, method);
        QFETCH(XmlRpcValue, params);
        QFETCH(QByteArray, expected);

        const WPXMLRPCEncoder encoder = WPXMLRPCEncoder::initWithMethod(method, params.toList());
        FXError error;
        QCOMPARE(encoder.dataEncodedWithError(&error), expected);
        QVERIFY(error.isNull());

        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        QVERIFY(encoder.encodeToDevice(&buffer));
        QCOMPARE(buffer.data(), expected);
    }

    // Sources are read in 18000-byte chunks; the chunk encodings joined must equal the
    // encoding of the whole, at and around the chunk boundaries.
    void streamedSources_data()
    {
        QTest::addColumn<qsizetype>("size");
        for (const qsizetype size : {0, 1, 2, 17999, 18000, 18001, 36000, 54002})
            QTest::addRow("%lld bytes", qlonglong(size)) << size;
    }
    void streamedSources()
    {
        QFETCH(qsizetype, size);
        const QByteArray data = randomBytes(size);
        const QByteArray expected =
            call("m", param("<value><base64>" + data.toBase64() + "</base64></value>"));

        // A device not yet open is opened, read whole and closed.
        auto buffer = std::make_shared<QBuffer>();
        buffer->setData(data);
        QCOMPARE(WPXMLRPCEncoder::initWithMethod("m", {XmlRpcValue::fromInputStream(buffer)})
                     .dataEncodedWithError(),
                 expected);
        QVERIFY(!buffer->isOpen());

        // An open file is read from where it stands and stays open.
        QTemporaryDir dir;
        auto file = std::make_shared<QFile>(dir.filePath("source"));
        QVERIFY(file->open(QIODevice::ReadWrite));
        file->write("skipped" + data);
        file->seek(7);
        QCOMPARE(WPXMLRPCEncoder::initWithMethod("m", {XmlRpcValue::fromFileHandle(file)})
                     .dataEncodedWithError(),
                 expected);
        QVERIFY(file->isOpen());

        // A pipe hands its bytes over in whatever pieces it likes.
        QVERIFY(file->flush());
        auto process = std::make_shared<QProcess>();
        process->setProgram("tail");
        process->setArguments({"-c", QString::number(size), file->fileName()});
        process->start(QIODevice::ReadOnly);
        QVERIFY(process->waitForStarted());
        QCOMPARE(WPXMLRPCEncoder::initWithMethod("m", {XmlRpcValue::fromInputStream(process)})
                     .dataEncodedWithError(),
                 expected);
        process->waitForFinished();
    }

    void scratchFileLivesInTheCacheFolderAndIsRemoved()
    {
        QCOMPARE(WPXMLRPCEncoder::scratchFolder(),
                 qEnvironmentVariable("XDG_CACHE_HOME") + QStringLiteral("/Faxolino"));
        auto probe = std::make_shared<FolderProbe>();
        probe->setData("payload");
        const QByteArray document =
            WPXMLRPCEncoder::initWithMethod("m", {XmlRpcValue::fromInputStream(probe)})
                .dataEncodedWithError();
        QVERIFY(document.contains("cGF5bG9hZA=="));
        QCOMPARE(probe->seen.size(), 1);
        QCOMPARE(probe->permissions & (QFileDevice::ReadGroup | QFileDevice::ReadOther),
                 QFileDevice::Permissions());
        QVERIFY(scratchFiles().isEmpty());
    }

    void failuresLeaveNothingBehind()
    {
        // A source that cannot be read fails the whole document.
        auto missing = std::make_shared<QFile>(TestEnvironment::root() + "/does-not-exist");
        FXError error;
        QVERIFY(WPXMLRPCEncoder::initWithMethod("m", {XmlRpcValue::fromInputStream(missing)})
                    .dataEncodedWithError(&error)
                    .isNull());
        QCOMPARE(error.domain, QStringLiteral("WPXMLRPCEncoderError"));
        QCOMPARE(error.code, qint64(WPXMLRPCEncoder::SourceError));
        QVERIFY(scratchFiles().isEmpty());

        const QString target = TestEnvironment::root() + "/request.xml";
        QVERIFY(!WPXMLRPCEncoder::initWithMethod("m", {XmlRpcValue::fromInputStream(missing)})
                     .encodeToFile(target));
        QVERIFY(!QFile::exists(target));

        // A cache folder that cannot be created.
        const QByteArray cache = qgetenv("XDG_CACHE_HOME");
        const QString blocker = TestEnvironment::root() + "/not-a-folder";
        QFile(blocker).open(QIODevice::WriteOnly);
        qputenv("XDG_CACHE_HOME", blocker.toUtf8());
        error = FXError();
        const QByteArray document =
            WPXMLRPCEncoder::initWithMethod("m", {}).dataEncodedWithError(&error);
        qputenv("XDG_CACHE_HOME", cache);
        QVERIFY(document.isNull());
        QCOMPARE(error.code, qint64(WPXMLRPCEncoder::ScratchFileError));
    }
};

QTEST_GUILESS_MAIN(TestWPXMLRPCEncoder)
#include "tst_wpxmlrpcencoder.moc"
