#include "TestEnvironment.h"
#include "sending/FXReportRenderer.h"

#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

class TestFXReportRenderer : public QObject
{
    Q_OBJECT

private:
    static QString run(const QString &program, const QStringList &args)
    {
        QProcess process;
        process.start(program, args);
        process.waitForFinished(30000);
        return QString::fromUtf8(process.readAllStandardOutput());
    }

private Q_SLOTS:
    // One page however long the report is: its height follows the content, its width is A4.
    void onePageAsTallAsTheDocument_data()
    {
        QTest::addColumn<int>("blocks");
        QTest::newRow("short") << 1;
        QTest::newRow("longer than A4") << 60;
    }
    void onePageAsTallAsTheDocument()
    {
        QFETCH(int, blocks);
        QString html = QStringLiteral("<h1>TRANSMISSION REPORT</h1>");
        for (int i = 0; i < blocks; ++i)
            html += QStringLiteral("<p>Attempt %1: Müller &amp; Söhne</p>").arg(i + 1);
        const QByteArray pdf = FXReportRenderer::pdfForHTML(html);
        QVERIFY(pdf.startsWith("%PDF-"));

        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("report.pdf"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(pdf);
        file.close();

        const QString info = run(QStringLiteral("pdfinfo"), {path});
        QVERIFY2(info.contains(QRegularExpression(QStringLiteral("Pages:\\s+1\\n"))),
                 qPrintable(info));
        const auto size =
            QRegularExpression(QStringLiteral("Page size:\\s+([0-9.]+) x ([0-9.]+) pts"))
                .match(info);
        QVERIFY(size.hasMatch());
        QCOMPARE(size.captured(1).toDouble(), 595.0);
        const double height = size.captured(2).toDouble();
        if (blocks > 40)
            QVERIFY2(height > 842, qPrintable(info));
        else
            QVERIFY2(height < 300, qPrintable(info));

        const QString text = run(QStringLiteral("pdftotext"), {path, QStringLiteral("-")});
        QVERIFY(text.contains(QStringLiteral("TRANSMISSION REPORT")));
        QVERIFY(text.contains(QStringLiteral("Attempt %1: Müller & Söhne").arg(blocks)));
    }
};

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    TestFXReportRenderer test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_fxreportrenderer.moc"
