#include "app/PhoneEntriesController.h"
#include "recipients/FXRecipientSearch.h"

#include <QTest>

// The recipient field's result list: sorted content, the filter, a selection that follows the
// entries, and the arrow-key moves.
class TestPhoneEntriesController : public QObject
{
    Q_OBJECT

    PhoneEntriesController m_controller;

    QStringList arrangedNames() const
    {
        QStringList names;
        for (const PhoneBookEntryPtr &entry : m_controller.arrangedObjects())
            names.append(entry->firstName() + QLatin1Char(' ') + entry->phoneNumber());
        return names;
    }

private Q_SLOTS:
    void init()
    {
        // Anna has two numbers, in the order given; the content is sorted by first name.
        m_controller.setContent({
            PhoneBookEntry::entryWithFirstName(QStringLiteral("Bert"), QStringLiteral("Lang"),
                                               QStringLiteral("030 1"), false),
            PhoneBookEntry::entryWithFirstName(QStringLiteral("Anna"), QStringLiteral("Kurz"),
                                               QStringLiteral("030 2"), false),
            PhoneBookEntry::entryWithFirstName(QStringLiteral("Anna"), QStringLiteral("Kurz"),
                                               QStringLiteral("030 3"), false),
            PhoneBookEntry::entryWithFirstName(QStringLiteral("Anton"), QStringLiteral("Mai"),
                                               QStringLiteral("030 4"), false),
        });
        m_controller.setFilterPredicate(FXPredicate::predicateWithValue(true));
        m_controller.setSelectionIndexes({});
    }

    void filterAndSelection()
    {
        QCOMPARE(arrangedNames(),
                 (QStringList{"Anna 030 2", "Anna 030 3", "Anton 030 4", "Bert 030 1"}));
        m_controller.setSelectionIndexes({2});
        // The selected entry stays selected where it moved; one filtered out is deselected.
        m_controller.setFilterPredicate(
            FXRecipientSearch::searchPredicateForSearchString(QStringLiteral("An")));
        QCOMPARE(arrangedNames(), (QStringList{"Anna 030 2", "Anna 030 3", "Anton 030 4"}));
        QCOMPARE(m_controller.selectionIndexes(), QList<int>{2});
        m_controller.setFilterPredicate(
            FXRecipientSearch::searchPredicateForSearchString(QStringLiteral("Ann")));
        QVERIFY(m_controller.selectionIndexes().isEmpty());
        m_controller.setFilterPredicate(FXPredicate::predicateWithValue(false));
        QVERIFY(m_controller.arrangedObjects().isEmpty());
    }

    void arrowKeys_data()
    {
        QTest::addColumn<QList<int>>("start");
        QTest::addColumn<bool>("down");
        QTest::addColumn<QList<int>>("expected");
        QTest::newRow("down from nothing") << QList<int>{} << true << QList<int>{0};
        QTest::newRow("up from nothing") << QList<int>{} << false << QList<int>{3};
        QTest::newRow("down") << QList<int>{1} << true << QList<int>{2};
        QTest::newRow("down at the end") << QList<int>{3} << true << QList<int>{3};
        QTest::newRow("up at the start") << QList<int>{0} << false << QList<int>{0};
    }
    void arrowKeys()
    {
        QFETCH(QList<int>, start);
        QFETCH(bool, down);
        QFETCH(QList<int>, expected);
        m_controller.setSelectionIndexes(start);
        if (down)
            m_controller.selectNext();
        else
            m_controller.selectPrevious();
        QCOMPARE(m_controller.selectionIndexes(), expected);
    }
};

QTEST_GUILESS_MAIN(TestPhoneEntriesController)
#include "tst_phoneentriescontroller.moc"
