#include "TestEnvironment.h"
#include "provider/xmlrpc/WPXMLRPCDecoder.h"
#include "provider/xmlrpc/WPXMLRPCEncoder.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>
#include <QtEndian>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

// Our documents read by Python's xmlrpc.client, and Python's documents read by us, compared
// in the tagged form that xmlrpc_peer.py prints.
namespace {

QJsonValue tagged(const XmlRpcValue &value, const QString &dateFormat)
{
    using Type = XmlRpcValue::Type;
    switch (value.type()) {
    case Type::Bool:
        return QJsonObject{{"bool", value.toBool()}};
    case Type::Int:
        return QJsonObject{{"int", value.toString()}};
    case Type::Float:
    case Type::Double: {
        const double number = value.toDouble();
        quint64 bits;
        std::memcpy(&bits, &number, sizeof bits);
        const quint64 big = qToBigEndian(bits);
        return QJsonObject{
            {"double",
             QString::fromLatin1(QByteArray(reinterpret_cast<const char *>(&big), 8).toHex())}};
    }
    case Type::String:
        return QJsonObject{{"string", value.toString()}};
    case Type::DateTime:
        return QJsonObject{{"date", value.toDateTime().toString(dateFormat)}};
    case Type::Bytes: {
        const QByteArray data = value.toByteArray();
        return QJsonObject{
            {"bytes",
             QString::fromLatin1(QCryptographicHash::hash(data, QCryptographicHash::Sha256).toHex()
                                 + ':' + QByteArray::number(data.size()))}};
    }
    case Type::List: {
        QJsonArray array;
        for (const XmlRpcValue &element : value.toList())
            array.append(tagged(element, dateFormat));
        return QJsonObject{{"array", array}};
    }
    case Type::Map: {
        QJsonArray members;
        for (const XmlRpcMap::Member &member : value.toMap())
            members.append(QJsonArray{member.key, tagged(member.value, dateFormat)});
        return QJsonObject{{"struct", members}};
    }
    default:
        return QJsonObject{{"unexpected", value.description()}};
    }
}

QString python()
{
    return QStandardPaths::findExecutable(QStringLiteral("python3"));
}

QString peerScript()
{
    return TestEnvironment::sourceDir() + "/tests/provider/xmlrpc/xmlrpc_peer.py";
}

QByteArray runPeer(const QStringList &arguments)
{
    QProcess peer;
    peer.start(python(), QStringList{peerScript()} + arguments);
    if (!peer.waitForFinished(120000) || peer.exitStatus() != QProcess::NormalExit
        || peer.exitCode() != 0) {
        qWarning("peer failed: %s", peer.readAllStandardError().constData());
        return QByteArray();
    }
    return peer.readAllStandardOutput();
}

QByteArray randomBytes(qsizetype size, quint32 seed)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator generator{seed};
    for (char &b : bytes)
        b = char(generator.bounded(256));
    return bytes;
}

} // namespace

class TestXmlRpcInterop : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        QVERIFY2(!python().isEmpty(), "python3 is needed as the independent peer");
    }

    // Python reads every value type we write, exactly as we meant it.
    void pythonReadsOurDocuments()
    {
        QTemporaryDir dir;
        const QByteArray big = randomBytes(3 * 1024 * 1024 + 1, 1);
        const QByteArray streamed = randomBytes(1024 * 1024 + 2, 2);
        const QByteArray fromFile = randomBytes(100000, 3);

        auto stream = std::make_shared<QBuffer>();
        stream->setData(streamed);
        auto file = std::make_shared<QFile>(dir.filePath("source.bin"));
        QVERIFY(file->open(QIODevice::ReadWrite));
        file->write(fromFile);
        file->seek(0);

        const QDateTime when(QDate(2026, 11, 12), QTime(10, 7, 38), QTimeZone(3600));
        XmlRpcMap ordered;
        for (int i = 99; i >= 0; --i)
            ordered.insert(QStringLiteral("m%1").arg(i), i);
        const XmlRpcList params{
            true,
            false,
            0,
            std::numeric_limits<qint32>::min(),
            std::numeric_limits<qint64>::max(),
            0.1,
            -1.5e300,
            1e-5,
            std::numeric_limits<double>::infinity(),
            "plain",
            "  spaced  ",
            "a&b<c>d\"e'f]]>&#38;",
            QStringLiteral("Grüße 日本 \U0001F600 \u00a0"),
            "",
            when,
            XmlRpcValue::fromBytes("any carnal pleas"),
            XmlRpcValue::fromBytes(big),
            XmlRpcValue::fromInputStream(stream),
            XmlRpcValue::fromFileHandle(file),
            XmlRpcList{XmlRpcMap{{"a", XmlRpcList{1, "x"}}}, XmlRpcList{}, XmlRpcMap{}},
            ordered,
        };
        const QString method = QStringLiteral("zentari.Session&Initiate<x>");
        const QString path = dir.filePath("call.xml");
        QVERIFY(WPXMLRPCEncoder::initWithMethod(method, params).encodeToFile(path));

        XmlRpcList expected = params;
        expected[17] = XmlRpcValue::fromBytes(streamed);
        expected[18] = XmlRpcValue::fromBytes(fromFile);
        QJsonObject want{{"file", "call.xml"},
                         {"method", method},
                         {"params", tagged(expected, "yyyyMMdd'T'HH:mm:ss'Z'")}};

        const QByteArray output = runPeer({"read", path});
        const QJsonObject got = QJsonDocument::fromJson(output).object();
        QVERIFY2(!got.contains("error"), qPrintable(got["error"].toString()));
        QCOMPARE(got["method"], want["method"]);
        const QJsonArray gotParams = got["params"].toObject()["array"].toArray();
        const QJsonArray wantParams = want["params"].toObject()["array"].toArray();
        QCOMPARE(gotParams.size(), wantParams.size());
        for (qsizetype i = 0; i < wantParams.size(); ++i)
            QVERIFY2(gotParams[i] == wantParams[i],
                     qPrintable(QStringLiteral("param %1: %2 vs %3")
                                    .arg(i)
                                    .arg(QJsonDocument(gotParams[i].toObject()).toJson())
                                    .arg(QJsonDocument(wantParams[i].toObject()).toJson())));
    }

    void ourResponsesAndFaults()
    {
        QTemporaryDir dir;
        QVERIFY(WPXMLRPCEncoder::initWithResponseParams({XmlRpcMap{{"SessionID", "a&b"}}, 7})
                    .encodeToFile(dir.filePath("response.xml")));
        QVERIFY(WPXMLRPCEncoder::initWithResponseFaultCode(4, "Too <many>")
                    .encodeToFile(dir.filePath("fault.xml")));
        const QList<QByteArray> lines =
            runPeer({"read", dir.filePath("response.xml"), dir.filePath("fault.xml")})
                .trimmed()
                .split('\n');
        QCOMPARE(lines.size(), 2);
        const QJsonObject response = QJsonDocument::fromJson(lines[0]).object();
        QCOMPARE(response["params"].toObject(),
                 tagged(XmlRpcList{XmlRpcMap{{"SessionID", "a&b"}}, 7}, {}).toObject());
        // xmlrpc.client raises the fault it read.
        QVERIFY(QJsonDocument::fromJson(lines[1]).object()["error"].toString().contains(
            "Fault 4: 'Too <many>'"));
    }

    // We read what Python writes: its line breaks between elements, its base-64 lines, its
    // faults and calls.
    void weReadPythonDocuments_data()
    {
        QTest::addColumn<QString>("name");
        for (const char *name : {"status", "everything", "integer", "string", "double", "boolean",
                                 "array", "bytes", "fault", "fault-unicode", "call"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }
    void weReadPythonDocuments()
    {
        QFETCH(QString, name);
        QVERIFY(m_pythonDocuments.isValid());
        if (m_expected.isEmpty()) {
            runPeer({"write", m_pythonDocuments.path()});
            QFile file(m_pythonDocuments.filePath("expected.json"));
            QVERIFY(file.open(QIODevice::ReadOnly));
            m_expected = QJsonDocument::fromJson(file.readAll()).object();
        }
        const QJsonObject expected = m_expected[name].toObject();
        QVERIFY(!expected.isEmpty());

        QFile file(m_pythonDocuments.filePath(name + ".xml"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const WPXMLRPCDecoder decoder(file.readAll());
        QVERIFY(!decoder.hasParseError());
        QCOMPARE(decoder.isFault(), expected["fault"].toBool());
        if (decoder.isFault()) {
            QCOMPARE(decoder.faultCode(), expected["faultCode"].toInteger());
            QCOMPARE(decoder.faultString(), expected["faultString"].toString());
        }
        const QJsonValue got = tagged(decoder.object(), "yyyyMMdd'T'HH:mm:ss");
        QVERIFY2(got == expected["value"],
                 qPrintable(QJsonDocument(got.toObject()).toJson(QJsonDocument::Compact)));
    }

    // The one deliberate difference: text values lose white space at both ends.
    void pythonStringsAreTrimmed()
    {
        QTemporaryDir dir;
        QProcess peer;
        peer.start(python(), {"-c", "import sys, xmlrpc.client; sys.stdout.write("
                                    "xmlrpc.client.dumps(('  padded\\n',), methodresponse=True))"});
        QVERIFY(peer.waitForFinished());
        QCOMPARE(WPXMLRPCDecoder(peer.readAllStandardOutput()).object(), XmlRpcValue("padded"));
    }

private:
    QTemporaryDir m_pythonDocuments;
    QJsonObject m_expected;
};

QTEST_GUILESS_MAIN(TestXmlRpcInterop)
#include "tst_xmlrpcinterop.moc"
