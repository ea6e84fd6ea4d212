// The recipient field of the main window, typed into with real key events, over a phone book
// read from vCard files: the live search, committing results and numbers, the chips and their
// menu, and the field after the address book changed.
#include "TestEnvironment.h"
#include "app/AppDelegate.h"
#include "app/FBMainWindow.h"
#include "app/ResultChildWindow.h"
#include "app/SearchResultView.h"
#include "app/TokenSearchField.h"
#include "foundation/FBLocalization.h"
#include "foundation/FBUserDefaults.h"
#include "recipients/FXAddressBook.h"
#include "recipients/FXPhoneNumber.h"
#include "recipients/PhoneBook.h"

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>

namespace {

QString contactsFolder()
{
    return TestEnvironment::root() + QStringLiteral("/contacts");
}

bool writeCard(const QString &name, const QByteArray &card)
{
    QFile file(contactsFolder() + u'/' + name + QStringLiteral(".vcf"));
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate)
           && file.write("BEGIN:VCARD\r\nVERSION:3.0\r\nUID:" + name.toUtf8() + "\r\n" + card
                         + "END:VCARD\r\n")
                  > 0;
}

// Key by key, as typed (QTest::keyClicks takes Latin-1 letters only).
void type(QWidget *widget, const QString &text)
{
    for (const QChar character : text) {
        QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(character));
        QKeyEvent release(QEvent::KeyRelease, 0, Qt::NoModifier, QString(character));
        QApplication::sendEvent(widget, &press);
        QApplication::sendEvent(widget, &release);
    }
}

QVariantMap tokenOf(const QString &number)
{
    const PhoneBookEntryPtr entry = PhoneBook::sharedInstance()->entryForNumber(number);
    return entry ? TokenSearchField::tokenForEntry(*entry) : QVariantMap();
}

} // namespace

class TestTokenSearchField : public QObject
{
    Q_OBJECT

    QStringList m_alerts;
    AppDelegate *m_app = nullptr;
    TokenSearchField *m_field = nullptr;

    QStringList chips() const
    {
        QStringList texts;
        for (int index = 0; index < m_field->tokens().size(); ++index)
            texts.append(m_field->displayStringForToken(index));
        return texts;
    }
    QString selectedName() const
    {
        const QList<PhoneBookEntryPtr> selected = m_field->resultsController()->selectedObjects();
        return selected.isEmpty() ? QString() : selected.first()->displayString();
    }
    bool dropDownShown() const { return m_field->childWindow()->isVisible(); }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        FBLocalization::installCatalog(QStringLiteral(":/app/translations/app"),
                                       QLocale(QLocale::English));
        FXPhoneNumber::setRegion(QStringLiteral("DE"));
        FXAddressBook::setSystemAddressBookEnabled(false);
        QVERIFY(QDir().mkpath(contactsFolder()));
        QVERIFY(writeCard(QStringLiteral("anna"), "N:Berg;Anna;;;\r\nTEL;TYPE=CELL:0171 5550001\r\n"
                                                  "TEL;TYPE=WORK:030 5550002\r\n"
                                                  "TEL;TYPE=HOME:030 5550003\r\n"));
        QVERIFY(
            writeCard(QStringLiteral("anne"), "N:Adler;Anne;;;\r\nTEL;TYPE=WORK:089 5550004\r\n"));
        QVERIFY(
            writeCard(QStringLiteral("bodo"), "N:Roth;Bodo;;;\r\nTEL;TYPE=HOME:040 5550010\r\n"));
        // Eleven people with one number each, all found by "Klip".
        for (char letter = 'a'; letter <= 'k'; ++letter)
            QVERIFY(writeCard(QStringLiteral("klip-%1").arg(QLatin1Char(letter)),
                              "N:Klip" + QByteArray(1, letter)
                                  + ";Karl;;;\r\nTEL;TYPE=WORK:0911 55501"
                                  + QByteArray::number(letter - 'a' + 10) + "\r\n"));
        FBUserDefaults::setObject(QStringList{contactsFolder()}, kVCardSourcesKey);
        PhoneBook::sharedInstance()->addressBook()->setCoalescingInterval(50);
        QCOMPARE(PhoneBook::sharedInstance()->allEntries().size(), 16);
        AppDelegate::setAlertHook([this](const QString &title, const QString &) {
            m_alerts.append(title);
            return false;
        });
    }

    void init()
    {
        m_alerts.clear();
        m_app = new AppDelegate;
        m_app->setupPhoneTokens();
        m_app->activate();
        QVERIFY(QTest::qWaitForWindowActive(m_app->mainWindow()));
        m_field = m_app->mainWindow()->receiverField;
        m_field->setFocus();
        QTRY_VERIFY(m_field->editor()->hasFocus());
    }

    void cleanup()
    {
        delete m_app;
        m_app = nullptr;
    }

    // What a typed text finds and chooses, and what Return makes of it. A number stays
    // unchosen so that Return takes it as typed (as the known entry when it is one) and sends.
    void typeAndReturn_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("selected");
        QTest::addColumn<int>("height"); // of the drop-down, 0 for closed
        QTest::addColumn<QString>("chip");
        QTest::addColumn<bool>("isEntry");
        QTest::addColumn<bool>("sent");
        QTest::newRow("number with matches") << "030 555"
                                             << "" << 40 << "030 555" << false << true;
        QTest::newRow("known number") << "030 5550002"
                                      << "" << 40 << "Anna Berg" << true << true;
        QTest::newRow("name") << "Anna"
                              << "Anna Berg (mobile)" << 60 << "Anna Berg" << true << false;
        QTest::newRow("name ignoring case and accents")
            << "ädl"
            << "Anne Adler (work)" << 40 << "Anne Adler" << true << false;
        QTest::newRow("eleven people open at 320")
            << "Klip"
            << "Karl Klipa (work)" << 320 << "Karl Klipa" << true << false;
        QTest::newRow("nothing found") << "zzz"
                                       << "" << 0 << "zzz" << false << true;
    }
    void typeAndReturn()
    {
        QFETCH(QString, typed);
        QFETCH(QString, selected);
        QFETCH(int, height);
        QFETCH(QString, chip);
        QFETCH(bool, isEntry);
        QFETCH(bool, sent);
        type(m_field->editor(), typed);
        QCOMPARE(selectedName(), selected);
        QCOMPARE(dropDownShown(), height > 0);
        if (height > 0)
            QCOMPARE(m_field->childWindow()->height(), height);
        QTest::keyClick(m_field->editor(), Qt::Key_Return);
        QCOMPARE(chips(), QStringList{chip});
        QCOMPARE(m_field->tokens().first().typeId() == QMetaType::QVariantMap, isEntry);
        QVERIFY(m_field->editedText().isEmpty());
        QVERIFY(!dropDownShown());
        // Sending without a document is refused with its alert.
        QCOMPARE(m_alerts.size(), sent ? 1 : 0);
    }

    void keys()
    {
        QLineEdit *editor = m_field->editor();
        type(editor, QStringLiteral("Ann"));
        QCOMPARE(selectedName(), QStringLiteral("Anna Berg (mobile)"));
        QTest::keyClick(editor, Qt::Key_Down);
        QTest::keyClick(editor, Qt::Key_Down);
        QCOMPARE(selectedName(), QStringLiteral("Anna Berg (home)"));
        QTest::keyClick(editor, Qt::Key_Up);
        QCOMPARE(selectedName(), QStringLiteral("Anna Berg (work)"));
        QTest::keyClick(editor, Qt::Key_Return);
        QCOMPARE(m_field->tokens(), QVariantList{tokenOf(QStringLiteral("030 5550002"))});

        // A comma ends a typed number; Escape drops only the typed text and closes the list.
        type(editor, QStringLiteral("0711 1, 08"));
        QCOMPARE(chips(), (QStringList{QStringLiteral("Anna Berg"), QStringLiteral("0711 1")}));
        QVERIFY(dropDownShown());
        QTest::keyClick(editor, Qt::Key_Escape);
        QVERIFY(editor->text().isEmpty());
        QVERIFY(!dropDownShown());
        QCOMPARE(m_field->tokens().size(), 2);

        // Left walks into the chips, Delete removes the chosen one, Backspace the last.
        QTest::keyClick(editor, Qt::Key_Left);
        QTest::keyClick(editor, Qt::Key_Left);
        QCOMPARE(m_field->selectedToken(), 0);
        QTest::keyClick(editor, Qt::Key_Delete);
        QCOMPARE(chips(), QStringList{QStringLiteral("0711 1")});
        QTest::keyClick(editor, Qt::Key_Backspace);
        QVERIFY(m_field->tokens().isEmpty());

        // Tab commits the chosen result and leaves the field.
        type(editor, QStringLiteral("Bo"));
        QTest::keyClick(editor, Qt::Key_Tab);
        QCOMPARE(chips(), QStringList{QStringLiteral("Bodo Roth")});
        QVERIFY(!editor->hasFocus());
    }

    // Leaving the field by the mouse commits the chosen result; a typed number becomes a chip.
    void focusOutCommits()
    {
        type(m_field->editor(), QStringLiteral("anne"));
        m_app->mainWindow()->collectionView->setFocus(Qt::MouseFocusReason);
        QCOMPARE(chips(), QStringList{QStringLiteral("Anne Adler")});
        m_field->setFocus(Qt::MouseFocusReason);
        type(m_field->editor(), QStringLiteral("0911 2"));
        m_app->mainWindow()->collectionView->setFocus(Qt::MouseFocusReason);
        QCOMPARE(m_field->tokens().last(), QVariant(QStringLiteral("0911 2")));
    }

    // Pasting takes plain text; commas and lines separate receivers.
    void paste()
    {
        QGuiApplication::clipboard()->setText(QStringLiteral("0171 1, 0171 2\n0171 3"));
        QTest::keySequence(m_field->editor(), QKeySequence::Paste);
        QCOMPARE(m_field->tokens(),
                 (QVariantList{QStringLiteral("0171 1"), QStringLiteral("0171 2")}));
        QCOMPARE(m_field->editedText(), QStringLiteral("0171 3"));
    }

    // The chip's menu: the person's numbers, checked where used; choosing one changes every
    // chip of the person.
    void changeNumber()
    {
        m_field->setObjectValue({tokenOf(QStringLiteral("0171 5550001")),
                                 tokenOf(QStringLiteral("089 5550004")),
                                 tokenOf(QStringLiteral("030 5550003"))});
        QGuiApplication::clipboard()->clear();
        std::unique_ptr<QMenu> menu(
            m_app->menuForRepresentedObject(m_field, m_field->tokens().first()));
        QStringList items;
        for (QAction *item : menu->actions())
            items.append((item->isChecked() ? QStringLiteral("x ") : QStringLiteral("  "))
                         + item->text());
        QCOMPARE(items, (QStringList{QStringLiteral("x mobile: 0171 5550001"),
                                     QStringLiteral("  work: 030 5550002"),
                                     QStringLiteral("x home: 030 5550003")}));
        menu->actions().at(1)->trigger();
        const QVariantMap work = tokenOf(QStringLiteral("030 5550002"));
        QCOMPARE(m_field->tokens(),
                 (QVariantList{work, tokenOf(QStringLiteral("089 5550004")), work}));
        // A typed number has no menu.
        QVERIFY(!m_app->hasMenuForRepresentedObject(m_field, QStringLiteral("030 1")));
    }

    // The clipboard item: a unified number of 1 to 24 characters; choosing it replaces the
    // receivers by that number, searched for as if typed.
    void clipboardItem_data()
    {
        QTest::addColumn<QString>("clipboard");
        QTest::addColumn<QString>("number"); // in the item, or none
        QTest::newRow("number") << "Tel. 030 / 555 00 02"
                                << "0305550002";
        QTest::newRow("24 characters") << "+49301234567890123456789"
                                       << "+49301234567890123456789";
        QTest::newRow("25 characters") << "+493012345678901234567890"
                                       << "";
        QTest::newRow("no number") << "Hello"
                                   << "";
    }
    void clipboardItem()
    {
        QFETCH(QString, clipboard);
        QFETCH(QString, number);
        QGuiApplication::clipboard()->setText(clipboard);
        const QVariantMap anne = tokenOf(QStringLiteral("089 5550004"));
        m_field->setObjectValue({anne, QStringLiteral("030 1")});
        std::unique_ptr<QMenu> menu(m_app->menuForRepresentedObject(m_field, anne));
        QAction *item = menu->findChild<QAction *>(QStringLiteral("insertPasteboard"));
        QCOMPARE(item != nullptr, !number.isEmpty());
        if (!item)
            return;
        QCOMPARE(item->text(), FXText("clipboard") + u' ' + number);
        item->trigger();
        QVERIFY(m_field->tokens().isEmpty());
        QCOMPARE(m_field->editedText(), number);
        QCOMPARE(dropDownShown(), number == QLatin1String("0305550002"));
    }

    // After the address book changed: a typed number it now knows becomes that entry (by its
    // uniqueID, the rest going); a person who left shows the number the chip holds.
    void addressBookChanges()
    {
        PhoneBook *book = PhoneBook::sharedInstance();
        QSignalSpy changed(book, &PhoneBook::PhoneBookDidChangeNotification);
        m_field->setObjectValue({QStringLiteral("040 5550011"), QStringLiteral("030 1")});
        QVERIFY(writeCard(QStringLiteral("carla"),
                          "N:Sommer;Carla;;;\r\nTEL;TYPE=HOME:040 5550011\r\n"));
        QVERIFY(changed.wait(10000));
        const QString carla = book->entryForNumber(QStringLiteral("040 5550011"))->uniqueID();
        QCOMPARE(m_field->tokens(), QVariantList{carla});
        QCOMPARE(chips(), QStringList{QStringLiteral("Carla Sommer")});

        const QVariantMap bodo = tokenOf(QStringLiteral("040 5550010"));
        m_field->setObjectValue({bodo, QStringLiteral("030 1")});
        type(m_field->editor(), QStringLiteral("Bo"));
        QVERIFY(dropDownShown());
        changed.clear();
        QVERIFY(QFile::remove(contactsFolder() + QStringLiteral("/bodo.vcf")));
        QVERIFY(changed.wait(10000));
        QCOMPARE(m_field->tokens(), (QVariantList{bodo, QStringLiteral("030 1")}));
        QCOMPARE(chips(), (QStringList{QStringLiteral("0405550010"), QStringLiteral("030 1")}));
        // The search being typed ran again and found no one.
        QCOMPARE(m_field->editedText(), QStringLiteral("Bo"));
        QVERIFY(!dropDownShown());
    }
};

QTEST_MAIN(TestTokenSearchField)
#include "tst_tokensearchfield.moc"
