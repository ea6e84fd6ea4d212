#include "document/FXPageMove.h"

#include <QTest>

using Indexes = QList<qsizetype>;

class TestFXPageMove : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Five pages p0 .. p4; "expected" lists the original index now at each position.
    void movedOrder_data()
    {
        QTest::addColumn<Indexes>("indexes");
        QTest::addColumn<qsizetype>("toIndex");
        QTest::addColumn<Indexes>("expected");

        QTest::newRow("two to the back") << Indexes{0, 1} << qsizetype(3) << Indexes{2, 3, 0, 1, 4};
        QTest::newRow("two to the front")
            << Indexes{3, 4} << qsizetype(1) << Indexes{0, 3, 4, 1, 2};
        QTest::newRow("dragged order does not matter")
            << Indexes{4, 3, 4} << qsizetype(1) << Indexes{0, 3, 4, 1, 2};
        QTest::newRow("gapped selection to the front")
            << Indexes{2, 4} << qsizetype(0) << Indexes{2, 4, 0, 1, 3};
        QTest::newRow("gapped selection to the back")
            << Indexes{0, 2} << qsizetype(4) << Indexes{1, 3, 4, 0, 2};
        // Straddling the drop index counts as a move to the back: both land at T in turn,
        // so the later page ends up in front of the earlier one.
        QTest::newRow("straddling") << Indexes{1, 3} << qsizetype(2) << Indexes{0, 2, 3, 1, 4};
        QTest::newRow("single page forward")
            << Indexes{1} << qsizetype(3) << Indexes{0, 2, 3, 1, 4};
        QTest::newRow("single page backward")
            << Indexes{4} << qsizetype(0) << Indexes{4, 0, 1, 2, 3};
        QTest::newRow("single page onto itself")
            << Indexes{2} << qsizetype(2) << Indexes{0, 1, 2, 3, 4};
        QTest::newRow("single page to the end")
            << Indexes{0} << qsizetype(5) << Indexes{1, 2, 3, 4, 0};
        QTest::newRow("all pages to the end")
            << Indexes{0, 1, 2, 3, 4} << qsizetype(5) << Indexes{0, 1, 2, 3, 4};
        QTest::newRow("all pages to the last index")
            << Indexes{0, 1, 2, 3, 4} << qsizetype(4) << Indexes{0, 1, 2, 3, 4};
        // The first dragged index equals T: not a move to the front, so every page is
        // reinserted at 0 and the selection comes out reversed.
        QTest::newRow("all pages to the front")
            << Indexes{0, 1, 2, 3, 4} << qsizetype(0) << Indexes{4, 3, 2, 1, 0};
        QTest::newRow("nothing dragged") << Indexes{} << qsizetype(2) << Indexes{0, 1, 2, 3, 4};
        QTest::newRow("indexes outside the list are ignored")
            << Indexes{-1, 3, 5, 99} << qsizetype(0) << Indexes{3, 0, 1, 2, 4};
        QTest::newRow("drop beyond the end")
            << Indexes{1} << qsizetype(42) << Indexes{0, 2, 3, 4, 1};
        QTest::newRow("negative drop index")
            << Indexes{2, 3} << qsizetype(-7) << Indexes{2, 3, 0, 1, 4};
    }
    void movedOrder()
    {
        QFETCH(Indexes, indexes);
        QFETCH(qsizetype, toIndex);
        QFETCH(Indexes, expected);
        QCOMPARE(FXPageMove::movedOrder(indexes, toIndex, 5), expected);

        // The grid's items and a list of anything else follow the same order.
        const QStringList pages{"p0", "p1", "p2", "p3", "p4"};
        QStringList moved;
        for (qsizetype from : expected)
            moved.append(pages.at(from));
        QCOMPARE(FXPageMove::movePagesAtIndexes(indexes, toIndex, pages), moved);
    }

    // Items are moved by position: equal values must not be confused with each other.
    void equalItemsMoveByPosition()
    {
        const QList<int> items{7, 7, 8, 7};
        QCOMPARE(FXPageMove::movePagesAtIndexes({2}, 0, items), (QList<int>{8, 7, 7, 7}));
        QCOMPARE(FXPageMove::movePagesAtIndexes({1, 3}, 0, items), (QList<int>{7, 7, 7, 8}));
        QCOMPARE(FXPageMove::movePagesAtIndexes({0}, 3, items), (QList<int>{7, 8, 7, 7}));
    }

    void emptyList()
    {
        QVERIFY(FXPageMove::movedOrder({0, 1}, 0, 0).isEmpty());
        QVERIFY(FXPageMove::movePagesAtIndexes({0}, 1, QStringList()).isEmpty());
    }
};

QTEST_APPLESS_MAIN(TestFXPageMove)
#include "tst_fxpagemove.moc"
