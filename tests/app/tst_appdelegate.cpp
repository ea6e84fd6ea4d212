// The main window's controller, offscreen: documents in, pages edited, a send against the
// provider simulator, and preparation that crashes or hangs.
#include "LogCapture.h"
#include "ProviderSimulator.h"
#include "TestEnvironment.h"
#include "app/AppDelegate.h"
#include "app/FBFaxArrayController.h"
#include "app/FBMainWindow.h"
#include "app/FBPageThumbnailModel.h"
#include "app/FBPopover.h"
#include "app/FBReportWindow.h"
#include "app/PreferencesController.h"
#include "app/TokenSearchField.h"
#include "foundation/FBAccountCredentials.h"
#include "foundation/FBLocalization.h"
#include "foundation/FBUserDefaults.h"
#include "foundation/FXFaxFileManager.h"
#include "journal/FXCoreDataController.h"
#include "journal/FXManagedObjectContext.h"
#include "recipients/FXAddressBook.h"
#include "recipients/FXPhoneNumber.h"
#include "sending/FXFaxConnection.h"

#include <QAction>
#include <QComboBox>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QFile>
#include <QJsonArray>
#include <QJsonValue>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPdfDocument>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QSlider>
#include <QTemporaryDir>
#include <QTest>
#include <QUndoStack>

namespace {

QString fixture(const QString &name)
{
    return TestEnvironment::dataDir() + QStringLiteral("/document/") + name;
}

int pageCountOf(const QString &path)
{
    QPdfDocument pdf;
    return pdf.load(path) == QPdfDocument::Error::None ? pdf.pageCount() : -1;
}

// A notification server on the test's bus that remembers what it was asked to show.
class RecordingNotifications : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    QStringList shown;

public Q_SLOTS:
    uint Notify(const QString &, uint, const QString &, const QString &summary, const QString &body,
                const QStringList &, const QVariantMap &, int)
    {
        shown.append(summary + QStringLiteral(": ") + body);
        return uint(shown.size());
    }
};

} // namespace

class TestAppDelegate : public QObject
{
    Q_OBJECT

    ProviderSimulator m_simulator{{QStringLiteral("--account"), QStringLiteral("demo:secret"),
                                   QStringLiteral("--outcome"), QStringLiteral("486=486")}};
    QTemporaryDir m_dir{TestEnvironment::root() + QStringLiteral("/window-XXXXXX")};
    QStringList m_alerts;
    RecordingNotifications m_notifications;

    static QDBusConnection notificationServer()
    {
        return QDBusConnection::connectToBus(QDBusConnection::SessionBus,
                                             QStringLiteral("notifications"));
    }

    // Opens a document and waits until its pages are shown.
    int open(AppDelegate &app, const QString &path)
    {
        QSignalSpy prepared(&app, &AppDelegate::documentPrepared);
        app.openFile(path);
        if (!prepared.wait(60000))
            return -1;
        return prepared.first().first().toInt();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        QVERIFY(m_simulator.isRunning());
        m_simulator.exportEndpoints();
        FXError error;
        QVERIFY(FBAccountCredentials::storePassword(QStringLiteral("secret"), &error));
        FBUserDefaults::setObject(QStringLiteral("demo"), kUsernameKey);
        FBUserDefaults::setObject(QStringLiteral("4921155500199"), kLocalUriKey);
        FBLocalization::installCoreCatalog(QLocale(QLocale::English));
        FBLocalization::installCatalog(QStringLiteral(":/app/translations/app"),
                                       QLocale(QLocale::English));
        FXPhoneNumber::setRegion(QStringLiteral("DE"));
        // The recipient field's phone book holds no one here.
        FXAddressBook::setSystemAddressBookEnabled(false);
        FXFaxConnection::setTrafficIntervalMs(200);
        AppDelegate::setPrepareProgram(TestEnvironment::binDir() + QStringLiteral("/faxolino"));
        // A connection of its own, as a real notification server is another process that
        // sends ActionInvoked.
        QDBusConnection bus = notificationServer();
        QVERIFY(bus.registerObject(QStringLiteral("/org/freedesktop/Notifications"),
                                   &m_notifications, QDBusConnection::ExportAllSlots));
        QVERIFY(bus.registerService(QStringLiteral("org.freedesktop.Notifications")));
        AppDelegate::setAlertHook([this](const QString &title, const QString &) {
            m_alerts.append(title);
            return false;
        });
    }

    void init()
    {
        m_alerts.clear();
        AppDelegate::setPrepareDeadlineMs(60000);
    }

    // Deleting goes through the grid's current page; the last page stays. Undo gives back
    // the exact document.
    void deleteAndMovePages()
    {
        AppDelegate app;
        app.applicationDidFinishLaunching();
        FBMainWindow *window = app.mainWindow();
        // The first page shows before the others are prepared.
        QList<int> shown;
        connect(&app, &AppDelegate::pagesShown, this,
                [&](int pages) { shown.append(pages * 10 + window->document->pageCount()); });
        QCOMPARE(open(app, fixture(QStringLiteral("three-pages.pdf"))), 3);
        QCOMPARE(shown.first(), 11);
        QCOMPARE(shown.last(), 33);
        QCOMPARE(window->statusPagesLabel->text(), QStringLiteral("3 pages"));
        QCOMPARE(pageCountOf(FXFaxFileManager::filePathForProcessedFaxFile()), 3);
        const QByteArray original =
            TestEnvironment::readFile(FXFaxFileManager::filePathForOriginale());
        QSignalSpy prepared(&app, &AppDelegate::documentPrepared);
        window->collectionView->setCurrentIndex(window->thumbnails->index(1));
        app.deletePage();
        QVERIFY(prepared.wait(60000));
        QCOMPARE(prepared.first().first().toInt(), 2);
        QCOMPARE(pageCountOf(FXFaxFileManager::filePathForOriginale()), 2);

        // Both files keep one order after a move: the first page goes to the back.
        QPdfDocument originale;
        QCOMPARE(originale.load(FXFaxFileManager::filePathForOriginale()),
                 QPdfDocument::Error::None);
        const QSizeF first = originale.pagePointSize(0);
        const QSizeF second = originale.pagePointSize(1);
        originale.close();
        app.draggingMovedPDFDocumentPagesAtIndexes({0}, 2);
        QCOMPARE(window->document->pageCount(), 2);
        QCOMPARE(originale.load(FXFaxFileManager::filePathForOriginale()),
                 QPdfDocument::Error::None);
        QCOMPARE(originale.pagePointSize(0), second);
        QCOMPARE(originale.pagePointSize(1), first);
        originale.close();

        prepared.clear();
        QTest::keySequence(window, QKeySequence::Undo);
        QTest::keySequence(window, QKeySequence::Undo);
        // The first undo's preparation is overtaken by the second's.
        QTRY_VERIFY_WITH_TIMEOUT(!prepared.isEmpty() && prepared.last().first().toInt() == 3,
                                 60000);
        QCOMPARE(TestEnvironment::readFile(FXFaxFileManager::filePathForOriginale()), original);
        QVERIFY(app.undoStack()->canRedo());

        QCOMPARE(open(app, fixture(QStringLiteral("one.pdf"))), 1);
        QVERIFY(!window->deletePageAction->isEnabled());
        window->collectionView->setCurrentIndex(window->thumbnails->index(0));
        app.deletePage();
        QCOMPARE(pageCountOf(FXFaxFileManager::filePathForOriginale()), 1);

        // Another document type prepares the shown document again.
        const QByteArray text =
            TestEnvironment::readFile(FXFaxFileManager::filePathForProcessedFaxFile());
        prepared.clear();
        window->documentTypeMixedItem->trigger();
        QVERIFY(prepared.wait(60000));
        QVERIFY(TestEnvironment::readFile(FXFaxFileManager::filePathForProcessedFaxFile()) != text);
    }

    // Text opens the threshold slider. A new level shows the page in view first, among the
    // pages already shown; a level chosen while the last one is still being prepared wins,
    // and only its pages remain.
    void thresholdWhilePreparing()
    {
        AppDelegate app;
        app.applicationDidFinishLaunching();
        FBMainWindow *window = app.mainWindow();
        QCOMPARE(open(app, fixture(QStringLiteral("three-pages.pdf"))), 3);
        const QString reference = m_dir.filePath(QStringLiteral("level-4.pdf"));
        QCOMPARE(QProcess::execute(TestEnvironment::binDir() + QStringLiteral("/faxolino"),
                                   {QStringLiteral("prepare"), fixture("three-pages.pdf"),
                                    reference, QStringLiteral("--threshold"), QStringLiteral("4")}),
                 0);

        window->documentTypeTextItem->trigger();
        QVERIFY(app.popup());
        auto *slider = app.popup()->findChild<QSlider *>();
        QVERIFY(slider);
        QCOMPARE(slider->value(), 2);
        QList<int> shown;
        connect(&app, &AppDelegate::pagesShown, this, [&](int pages) { shown.append(pages); });
        QTest::keyClick(slider, Qt::Key_Right);
        QCOMPARE(app.documentTypeThreshold(), 3);
        QTRY_VERIFY_WITH_TIMEOUT(!shown.isEmpty(), 60000);
        QSignalSpy prepared(&app, &AppDelegate::documentPrepared);
        QTest::keyClick(slider, Qt::Key_End);
        QCOMPARE(app.documentTypeThreshold(), 4);
        QVERIFY(prepared.wait(60000));
        QTRY_VERIFY_WITH_TIMEOUT(shown.size() >= 2, 60000);
        QCOMPARE(shown, QList<int>(shown.size(), 3));
        QTest::qWait(200);
        QCOMPARE(prepared.size(), 1);
        QCOMPARE(TestEnvironment::readFile(FXFaxFileManager::filePathForProcessedFaxFile()),
                 TestEnvironment::readFile(reference));
    }

    // A renderer that dies or hangs ends in the unreadable-document message; the window
    // stays usable.
    void failingPreparation_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::newRow("crash") << QByteArray("#!/bin/sh\nkill -SEGV $$\n");
        QTest::newRow("hang") << QByteArray("#!/bin/sh\nexec sleep 60\n");
    }
    void failingPreparation()
    {
        QFETCH(QByteArray, script);
        const QString program = m_dir.filePath(QStringLiteral("prepare.sh"));
        QFile file(program);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(script) == script.size());
        file.close();
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        AppDelegate::setPrepareProgram(program);
        AppDelegate::setPrepareDeadlineMs(500);
        {
            AppDelegate app;
            app.applicationDidFinishLaunching();
            QCOMPARE(open(app, fixture(QStringLiteral("one.pdf"))), 0);
            QCOMPARE(m_alerts, QStringList{FXText("plugin_error_header")});
            QCOMPARE(app.mainWindow()->document->pageCount(), 0);
        }
        AppDelegate::setPrepareProgram(TestEnvironment::binDir() + QStringLiteral("/faxolino"));
    }

    void statusHelpOfACode()
    {
        AppDelegate app;
        app.applicationDidFinishLaunching();
        app.showStatusHelp(500);
        QVERIFY(app.popup());
        QCOMPARE(app.popup()->textLabel()->text(),
                 FXText("0X1F4") + QStringLiteral("\n\n") + FXText("0X1F4_detail"));
    }

    void sendWithoutDocumentOrNumber()
    {
        AppDelegate app;
        app.applicationDidFinishLaunching();
        app.sendFax();
        QCOMPARE(m_alerts, QStringList{FXText("error_empty_document_title")});
        QCOMPARE(open(app, fixture(QStringLiteral("one.pdf"))), 1);
        app.sendFax();
        QCOMPARE(m_alerts.last(), FXText("error"));

        // A name that is no number is refused before anything is sent.
        QVERIFY(m_simulator.reset());
        app.mainWindow()->receiverField->setStringValue(QStringLiteral("030555000123, Person 1"));
        m_alerts.clear();
        app.sendFax();
        QCOMPARE(m_alerts, QStringList{FXText("error")});
        QVERIFY(!app.mainWindow()->isShowingProgress());
        QVERIFY(m_simulator.requests().isEmpty());
    }

    // Two receivers, the first typed: the status names it, the first succeeds and the
    // second (busy) fails; the labels show the outcome and the controls come back.
    void sendToTwoReceivers()
    {
        QVERIFY(m_simulator.reset());
        m_notifications.shown.clear();
        AppDelegate app;
        app.applicationDidFinishLaunching();
        QCOMPARE(open(app, fixture(QStringLiteral("one.pdf"))), 1);
        FBMainWindow *window = app.mainWindow();
        window->receiverField->setStringValue(QStringLiteral("030555000123, 030555000486"));
        QSignalSpy finished(&app, &AppDelegate::sendFinished);
        QStringList bubbles; // what the bubble by the send button says at each outcome
        connect(&app, &AppDelegate::sendFinished, this, [&] {
            bubbles.append(app.popup() ? app.popup()->textLabel()->text() : QString());
        });
        QTest::keyClick(window->receiverField->editor(), Qt::Key_Return);
        QVERIFY(window->isShowingProgress());
        QCOMPARE(window->progressLabelText->text(),
                 FXText("sendFax").arg(QStringLiteral("030555000123")));
        QVERIFY(!window->newFaxAction->isEnabled());
        QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 2, 60000);
        QCOMPARE(finished.at(0).first().toInt(), 2);
        QCOMPARE(finished.at(1).first().toInt(), -1);
        QVERIFY(!bubbles.first().isEmpty());
        QTRY_VERIFY(!window->isShowingProgress());
        QVERIFY(window->newFaxAction->isEnabled());
        QCOMPARE(window->faxStatusLabel->text(), window->progressLabelText->text());
        // The failure is shown by the send button, with the help for its code.
        QVERIFY(app.popup() && app.popup()->isVisible());
        QVERIFY(app.popup()->textLabel()->text().startsWith(window->faxStatusLabel->text()));
        // The desktop is told of both outcomes.
        QTRY_COMPARE(m_notifications.shown.size(), 2);
        QVERIFY(m_notifications.shown.at(0).startsWith(
            FXText("fax_to").arg(QStringLiteral("030555000123"))));
        QCOMPARE(m_notifications.shown.at(1), FXText("fax_to").arg(QStringLiteral("030555000486"))
                                                  + QStringLiteral(": ")
                                                  + window->faxStatusLabel->text());
    }

    // The notification of a sent fax opens its report; sending it again brings its pages and
    // number back into the fax window, and the new send is a fax of its own in the journal.
    void sendAgainFromTheReports()
    {
        QVERIFY(m_simulator.reset());
        m_notifications.shown.clear();
        FXManagedObjectContext *journal =
            FXCoreDataController::sharedInstance()->managedObjectContext();
        const qsizetype before = journal->countForFaxes();
        AppDelegate app;
        app.applicationDidFinishLaunching();
        QCOMPARE(open(app, fixture(QStringLiteral("a.pdf"))), 2);
        FBMainWindow *window = app.mainWindow();
        window->receiverField->setStringValue(QStringLiteral("030555000123"));
        QSignalSpy finished(&app, &AppDelegate::sendFinished);
        app.sendFax();
        QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, 60000);
        QTRY_COMPARE(m_notifications.shown.size(), 1);

        QDBusMessage clicked = QDBusMessage::createSignal(
            QStringLiteral("/org/freedesktop/Notifications"),
            QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("ActionInvoked"));
        clicked << uint(m_notifications.shown.size()) << QStringLiteral("default");
        QVERIFY(notificationServer().send(clicked));
        FBReportWindow *reports = app.reportWindow();
        QTRY_VERIFY(reports->isVisible());
        QCOMPARE(reports->reportTableView->selectedRow(), 0);
        QCOMPARE(reports->reportDocument->pageCount(), 3);

        QSignalSpy prepared(&app, &AppDelegate::documentPrepared);
        reports->sendAgainAction->trigger();
        QVERIFY(prepared.wait(60000));
        QCOMPARE(prepared.first().first().toInt(), 2);
        QCOMPARE(window->receiverField->objectValue(),
                 QVariantList{QStringLiteral("+4930555000123")});
        app.sendFax();
        QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 2, 60000);
        QCOMPARE(finished.last().first().toInt(), 2);
        QCOMPARE(journal->countForFaxes(), before + 2);
        QTRY_COMPARE(reports->faxArrayController->faxAtRow(0).number(),
                     QStringLiteral("+4930555000123"));
    }

    // Cancel lets the first receiver finish and starts neither of the others.
    void cancelRemainingReceivers()
    {
        QVERIFY(m_simulator.reset());
        AppDelegate app;
        app.applicationDidFinishLaunching();
        QCOMPARE(open(app, fixture(QStringLiteral("one.pdf"))), 1);
        FBMainWindow *window = app.mainWindow();
        window->receiverField->setStringValue(
            QStringLiteral("030555000123, 030555000124, 030555000125"));
        QSignalSpy finished(&app, &AppDelegate::sendFinished);
        app.sendFax();
        QVERIFY(window->cancelButton->isEnabled());
        QTest::mouseClick(window->cancelButton, Qt::LeftButton);
        QTRY_VERIFY_WITH_TIMEOUT(!window->isShowingProgress(), 60000);
        QCOMPARE(finished.size(), 1);
        int initiated = 0;
        for (const QJsonValue &request : m_simulator.requests())
            initiated += request[QLatin1String("method")].toString()
                         == QLatin1String("zentari.SessionInitiate");
        QCOMPARE(initiated, 1);
    }

    // A first start: without an account the preferences open for a first setup, and a
    // document that arrives waits. The account entered is checked and offers its lines;
    // closing connects the phone book, shows the fax window and prepares the document.
    void firstStart()
    {
        FBUserDefaults::removeObjectForKey(kUsernameKey);
        FBUserDefaults::removeObjectForKey(kLocalUriKey);
        // No printing system here to add the printer to.
        qputenv("CUPS_SERVER", QFile::encodeName(TestEnvironment::root() + "/no-cups"));
        AppDelegate app;
        app.applicationDidFinishLaunching();
        PreferencesController *preferences = PreferencesController::sharedController();
        QVERIFY(preferences->isVisible() && preferences->isNewProfile());
        QVERIFY(!app.mainWindow()->isVisible());
        QSignalSpy prepared(&app, &AppDelegate::documentPrepared);
        app.openFile(fixture(QStringLiteral("one.pdf")));
        // Copied in, and not prepared without an account.
        QTRY_VERIFY(!app.mainWindow()->sffProgressIndicator->isVisible());

        preferences->userName->setText(QStringLiteral("demo"));
        preferences->password->setText(QStringLiteral("secret"));
        preferences->controlTextDidEndEditing(preferences->password);
        QTRY_COMPARE(preferences->faxLinesPopup->count(), 2);
        preferences->faxLineChanged(0);
        preferences->close();
        qunsetenv("CUPS_SERVER");
        QVERIFY(app.mainWindow()->isVisible());
        QVERIFY(app.mainWindow()->receiverField->resultsController());
        QVERIFY(prepared.wait(60000));
        QCOMPARE(prepared.first().first().toInt(), 1);
        QCOMPARE(FBUserDefaults::stringForKey(kLocalUriKey), QStringLiteral("4921155500199"));
    }
};

QTEST_MAIN(TestAppDelegate)
#include "tst_appdelegate.moc"
