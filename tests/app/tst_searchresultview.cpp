#include "app/ResultChildWindow.h"
#include "app/SearchResultView.h"

#include <QLineEdit>

#include <QTest>

// The drop-down: its rows by person block, the inverse hit test, its height and placement.
class TestSearchResultView : public QObject
{
    Q_OBJECT

    // One entry per letter; equal letters in a row are one person's numbers.
    static QList<PhoneBookEntryPtr> entries(const QString &people)
    {
        QList<PhoneBookEntryPtr> list;
        for (const QChar person : people) {
            auto entry = PhoneBookEntryPtr::create();
            entry->setValue(PhoneBookEntry::Key::sortPersonID, QString(person));
            entry->setValue(PhoneBookEntry::Key::phoneNumber,
                            QStringLiteral("030 5550%1").arg(list.size()));
            list.append(entry);
        }
        return list;
    }

private Q_SLOTS:
    void geometry_data()
    {
        QTest::addColumn<QString>("people");
        QTest::addColumn<QList<int>>("tops");
        QTest::addColumn<int>("height");
        QTest::newRow("nobody") << "" << QList<int>{} << 0;
        QTest::newRow("one number") << "a" << QList<int>{0} << 40;
        QTest::newRow("two one-number people") << "ab" << QList<int>{0, 40} << 80;
        QTest::newRow("three numbers, then one") << "aaab" << QList<int>{0, 20, 40, 60} << 100;
        QTest::newRow("one, two, one") << "abbc" << QList<int>{0, 40, 60, 80} << 120;
        QTest::newRow("eleven single people")
            << "abcdefghijk" << QList<int>{0, 40, 80, 120, 160, 200, 240, 280, 320, 360, 400}
            << 440;
    }
    void geometry()
    {
        QFETCH(QString, people);
        QFETCH(QList<int>, tops);
        QFETCH(int, height);
        SearchResultView view;
        view.resize(300, 10);
        view.setPhoneEntries(entries(people));
        QCOMPARE(view.desiredHeight(), height);
        for (int index = 0; index < tops.size(); ++index) {
            QCOMPARE(view.rectForIndex(index), QRect(0, tops.at(index), 300, 20));
            QCOMPARE(view.indexForPosition(QPoint(150, tops.at(index) + 19)), index);
        }
        // Below the last row and beside the view there is no entry.
        QCOMPARE(view.indexForPosition(QPoint(150, height + 1)), -1);
        QCOMPARE(view.indexForPosition(QPoint(-1, 0)), -1);
        if (people.size() == 1) // the second row of a one-number block belongs to no entry
            QCOMPARE(view.indexForPosition(QPoint(150, 25)), -1);
    }

    // Under the field, 62 wider on each side; a list taller than 200 opens at 320; an empty
    // one closes.
    void dropDown_data()
    {
        QTest::addColumn<QString>("people");
        QTest::addColumn<int>("height");
        QTest::newRow("one person") << "a" << 40;
        QTest::newRow("ten rows") << "abcde" << 200;
        QTest::newRow("eleven single people") << "abcdefghijk" << 320;
        QTest::newRow("nobody") << "" << 0;
    }
    void dropDown()
    {
        QFETCH(QString, people);
        QFETCH(int, height);
        QWidget window;
        auto *field = new QLineEdit(&window);
        field->setGeometry(100, 10, 300, 24);
        window.show();
        ResultChildWindow dropDown(field);
        dropDown.searchResultView()->setPhoneEntries(entries(QStringLiteral("ab")));
        dropDown.adjustFrameAndOrdering();
        QVERIFY(dropDown.isVisible());
        dropDown.searchResultView()->setPhoneEntries(entries(people));
        dropDown.adjustFrameAndOrdering();
        QCOMPARE(dropDown.isVisible(), height > 0);
        if (height > 0) {
            const QPoint below = field->mapToGlobal(QPoint(0, 24));
            QCOMPARE(dropDown.geometry(), QRect(below.x() - 62, below.y(), 424, height));
        }
        QVERIFY(!dropDown.hasFocus());
    }

    // Clicks ask for the selection; a double click commits.
    void clicks()
    {
        SearchResultView view;
        view.resize(300, 120);
        view.setPhoneEntries(entries(QStringLiteral("abbc")));
        QList<int> requested;
        connect(&view, &SearchResultView::selectionRequested, this,
                [&](int index) { requested.append(index); });
        int activated = 0;
        connect(&view, &SearchResultView::activated, this, [&] { ++activated; });
        QTest::mouseClick(&view, Qt::LeftButton, {}, QPoint(200, 65));
        QTest::mouseDClick(&view, Qt::LeftButton, {}, QPoint(200, 85));
        QCOMPARE(requested.first(), 2);
        QCOMPARE(requested.last(), 3);
        QCOMPARE(activated, 1);
    }
};

QTEST_MAIN(TestSearchResultView)
#include "tst_searchresultview.moc"
