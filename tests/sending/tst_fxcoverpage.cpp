// The cover page read back by an independent reader (pdftotext): its fields are text, in
// reading order, and a field left empty takes its caption with it.
#include "TestEnvironment.h"
#include "foundation/FBLocalization.h"
#include "sending/FXCoverPage.h"

#include <QGuiApplication>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

class TestFXCoverPage : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    QString textOf(const FXCoverPage::Fields &fields)
    {
        const QString path = m_dir.filePath(QStringLiteral("cover.pdf"));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(FXCoverPage::pdfForFields(fields)) <= 0)
            return QString();
        file.close();
        QProcess reader;
        reader.start(QStringLiteral("pdftotext"), {path, QStringLiteral("-")});
        return reader.waitForFinished(30000) ? QString::fromUtf8(reader.readAllStandardOutput())
                                             : QString();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        FBLocalization::installCoreCatalog(QLocale(QLocale::English));
    }

    void fieldsAreTextInOrder()
    {
        FXCoverPage::Fields fields;
        fields.to = QStringLiteral("Kanzlei Anders\nz. Hd. Frau Berg");
        fields.from = QStringLiteral("Muster & Partner GmbH");
        fields.subject = QStringLiteral("Signed contract 4711");
        fields.date = QDate(2025, 3, 5);
        fields.bodyHtml = QStringLiteral("<p>Please see the signed contract attached.</p>");
        fields.faxLine = QStringLiteral("4921155500199");
        fields.pages = 3;
        const QString text = textOf(fields);
        qsizetype at = -1;
        for (const QString &part :
             {fields.to.section(u'\n', 0, 0), fields.from, fields.subject,
              QStringLiteral("05.03.2025"), QStringLiteral("Please see the signed contract")}) {
            const qsizetype found = text.indexOf(part, at + 1);
            QVERIFY2(found > at, qPrintable(part + QStringLiteral(" in ") + text));
            at = found;
        }
        QVERIFY(text.contains(QLatin1String("Frau Berg")));
    }

    // An empty field takes its caption along; at most three lines of a field are shown.
    void emptyAndLongFields_data()
    {
        QTest::addColumn<QString>("to");
        QTest::addColumn<bool>("toCaption");
        QTest::addColumn<QString>("absent");
        QTest::newRow("empty") << QString() << false << QString();
        QTest::newRow("blank") << QStringLiteral("  ") << false << QString();
        QTest::newRow("four lines") << QStringLiteral("A1\nB2\nC3\nD4") << true << "D4";
    }
    void emptyAndLongFields()
    {
        QFETCH(QString, to);
        QFETCH(bool, toCaption);
        QFETCH(QString, absent);
        FXCoverPage::Fields fields;
        fields.to = to;
        fields.subject = QStringLiteral("Invoice");
        const QString text = textOf(fields);
        QVERIFY(text.contains(QLatin1String("Invoice")));
        static const QRegularExpression toCaptionAlone(QStringLiteral("(^|\\s)To(\\s|$)"));
        QCOMPARE(text.contains(toCaptionAlone), toCaption);
        QVERIFY(!text.contains(QLatin1String("From")));
        if (!absent.isEmpty())
            QVERIFY(!text.contains(absent));
    }

    void dateIgnoresTheLocale_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::newRow("German") << "de_DE";
        QTest::newRow("American") << "en_US";
        QTest::newRow("C") << "C";
    }
    void dateIgnoresTheLocale()
    {
        QFETCH(QString, locale);
        const QLocale before;
        QLocale::setDefault(QLocale(locale));
        const QString text = FXCoverPage::dateText(QDate(2025, 3, 5));
        QLocale::setDefault(before);
        QCOMPARE(text, QStringLiteral("05.03.2025"));
    }
};

QTEST_MAIN(TestFXCoverPage)
#include "tst_fxcoverpage.moc"
