#include "TestEnvironment.h"
#include "document/FXFaxHelper.h"
#include "foundation/FBUserDefaults.h"

#include <QTest>

class TestFXFaxHelper : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(TestEnvironment::isIsolated()); }

    void init()
    {
        FBUserDefaults::removeObjectForKey(kFaxIDKey);
        FBUserDefaults::removeObjectForKey(kFaxHeaderKey);
    }

    // Medium date (the long one without weekday, months abbreviated) and short time.
    void dateText_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("text");
        QTest::newRow("en_US") << "en_US"
                               << "Jan 5, 2024 3:04\u202fPM";
        QTest::newRow("de_DE") << "de_DE"
                               << "5. Jan. 2024 15:04";
    }
    void dateText()
    {
        QFETCH(QString, locale);
        QFETCH(QString, text);
        const QDateTime at(QDate(2024, 1, 5), QTime(15, 4, 59));
        QString actual = FXFaxHelper::dateText(at, QLocale(locale));
        // Older CLDR data puts a plain space before AM/PM.
        if (!actual.contains(QChar(0x202f)))
            actual.replace(QStringLiteral(" PM"), QStringLiteral("\u202fPM"));
        QCOMPARE(actual, text);
    }

    void header_data()
    {
        QTest::addColumn<QVariant>("faxID");
        QTest::addColumn<QVariant>("faxHeader");
        QTest::addColumn<QString>("afterDate");
        QTest::newRow("nothing set: nine blanks") << QVariant() << QVariant() << "         ";
        QTest::newRow("both set") << QVariant(QStringLiteral("+49 30 1234567"))
                                  << QVariant(QStringLiteral("ACME Ltd"))
                                  << "    +49 30 1234567     ACME Ltd";
        QTest::newRow("only the header")
            << QVariant() << QVariant(QStringLiteral("ACME %1")) << "         ACME %1";
    }
    void header()
    {
        QFETCH(QVariant, faxID);
        QFETCH(QVariant, faxHeader);
        QFETCH(QString, afterDate);
        if (faxID.isValid())
            FBUserDefaults::setObject(faxID, kFaxIDKey);
        if (faxHeader.isValid())
            FBUserDefaults::setObject(faxHeader, kFaxHeaderKey);
        const QDateTime at(QDate(2024, 1, 5), QTime(15, 4));
        const QLocale locale(QStringLiteral("de_DE"));
        QCOMPARE(FXFaxHelper::pageHeader(at, locale),
                 FXFaxHelper::dateText(at, locale) + afterDate);

        // The current one: now's date text, unless the minute turned meanwhile.
        const QString before = FXFaxHelper::dateText(QDateTime::currentDateTime(), QLocale());
        const QString header = FXFaxHelper::pageHeader();
        const QString after = FXFaxHelper::dateText(QDateTime::currentDateTime(), QLocale());
        QVERIFY2(header == before + afterDate || header == after + afterDate, qPrintable(header));
    }
};

QTEST_GUILESS_MAIN(TestFXFaxHelper)
#include "tst_fxfaxhelper.moc"
