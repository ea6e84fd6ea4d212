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
        const auto row = [](const char *name, Indexes indexes, qsizetype to, Indexes expected) {
            QTest::newRow(name) << indexes << to << expected;
        };
        row("two to the back", {0, 1}, 3, {2, 3, 0, 1, 4});
        row("two to the front", {3, 4}, 1, {0, 3, 4, 1, 2});
        row("unsorted and repeated", {4, 3, 4}, 1, {0, 3, 4, 1, 2});
        row("gapped to the front", {2, 4}, 0, {2, 4, 0, 1, 3});
        row("gapped to the back", {0, 2}, 4, {1, 3, 4, 0, 2});
        // Straddling counts as a move to the back: both land at T in turn, the later page in
        // front of the earlier one.
        row("straddling", {1, 3}, 2, {0, 2, 3, 1, 4});
        row("single page forward", {1}, 3, {0, 2, 3, 1, 4});
        row("single page backward", {4}, 0, {4, 0, 1, 2, 3});
        row("single page onto itself", {2}, 2, {0, 1, 2, 3, 4});
        row("single page to the end", {0}, 5, {1, 2, 3, 4, 0});
        row("all pages to the end", {0, 1, 2, 3, 4}, 5, {0, 1, 2, 3, 4});
        row("all pages to the last index", {0, 1, 2, 3, 4}, 4, {0, 1, 2, 3, 4});
        // F == T is no move to the front: every page is reinserted at 0, which reverses them.
        row("all pages to the front", {0, 1, 2, 3, 4}, 0, {4, 3, 2, 1, 0});
        row("nothing dragged", {}, 2, {0, 1, 2, 3, 4});
        row("indexes outside ignored", {-1, 3, 5, 99}, 0, {3, 0, 1, 2, 4});
        row("drop beyond the end", {1}, 42, {0, 2, 3, 4, 1});
        row("negative drop index", {2, 3}, -7, {2, 3, 0, 1, 4});
    }
    void movedOrder()
    {
        QFETCH(Indexes, indexes);
        QFETCH(qsizetype, toIndex);
        QFETCH(Indexes, expected);
        QCOMPARE(FXPageMove::movedOrder(indexes, toIndex, 5), expected);

        const QStringList pages{"p0", "p1", "p2", "p3", "p4"};
        QStringList moved;
        for (qsizetype from : expected)
            moved.append(pages.at(from));
        QCOMPARE(FXPageMove::movePagesAtIndexes(indexes, toIndex, pages), moved);
    }

    // Items are told apart by position: equal values are never confused.
    void equalItemsMoveByPosition()
    {
        const QList<int> items{7, 7, 8, 7};
        QCOMPARE(FXPageMove::movePagesAtIndexes({1, 3}, 0, items), (QList<int>{7, 7, 7, 8}));
        QCOMPARE(FXPageMove::movePagesAtIndexes({0}, 3, items), (QList<int>{7, 8, 7, 7}));
        QVERIFY(FXPageMove::movePagesAtIndexes({0}, 1, QStringList()).isEmpty());
    }
};

QTEST_APPLESS_MAIN(TestFXPageMove)
#include "tst_fxpagemove.moc"
