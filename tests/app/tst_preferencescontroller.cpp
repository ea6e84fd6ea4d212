// The preferences window offscreen, against the provider simulator and the test's keyring.
#include "LogCapture.h"
#include "ProviderSimulator.h"
#include "TestEnvironment.h"
#include "UrlRecorder.h"
#include "app/PreferencesController.h"
#include "foundation/FBAccountCredentials.h"
#include "foundation/FBLocalization.h"
#include "foundation/FBUserDefaults.h"
#include "recipients/FXAddressBook.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QJsonArray>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTest>
#include <QToolButton>

namespace {

const QString kPassword = QStringLiteral("Zebra-7431-Quokka");
const QString kFirstLine = QStringLiteral("4921155500199");
const QString kSecondLine = QStringLiteral("4930555000777");

void setAccount(const QString &user, const QString &password)
{
    FXError error;
    QVERIFY(FBAccountCredentials::storePassword(password, &error));
    FBUserDefaults::setObject(user, kUsernameKey);
}

void setLine(const QString &localUri)
{
    FBUserDefaults::setObject(localUri, kLocalUriKey);
    FBUserDefaults::setObject(QStringLiteral("sip-of-") + localUri, kLocalSipUriKey);
}

} // namespace

class TestPreferencesController : public QObject
{
    Q_OBJECT

    ProviderSimulator m_simulator{{QStringLiteral("--account"), QStringLiteral("demo:") + kPassword,
                                   QStringLiteral("--account"),
                                   QStringLiteral("nofax:") + kPassword,
                                   QStringLiteral("--no-fax-line"), QStringLiteral("nofax")}};
    QStringList m_alerts;
    UrlRecorder m_urls{{QStringLiteral("https")}};

    int requestCount() const { return int(m_simulator.requests().size()); }

    // Waits until the check of the account ended in its balance line.
    static bool checked(PreferencesController &controller)
    {
        return QTest::qWaitFor([&] {
            return controller.fritzModellProgress->isHidden()
                   && !controller.fritzModell->text().isEmpty();
        });
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        QVERIFY(m_simulator.isRunning());
        // No scheduler: the print queue is never looked for on the machine's own.
        qputenv("CUPS_SERVER", QFile::encodeName(TestEnvironment::root() + "/no-cupsd.sock"));
        FBLocalization::installCoreCatalog(QLocale(QLocale::English));
        FBLocalization::installCatalog(QStringLiteral(":/app/translations/app"),
                                       QLocale(QLocale::English));
        FXAddressBook::setSystemAddressBookEnabled(false);
        PreferencesController::setAlertHook([this](const QString &title, const QString &text) {
            m_alerts.append(title + u'|' + text);
            return true;
        });
    }

    void init()
    {
        m_simulator.exportEndpoints();
        QVERIFY(m_simulator.reset());
        m_alerts.clear();
        m_urls.opened.clear();
        setAccount(QStringLiteral("demo"), kPassword);
        FBUserDefaults::removeObjectForKey(kLocalUriKey);
        FBUserDefaults::removeObjectForKey(kLocalSipUriKey);
    }

    // A field left empty asks nothing and spins nothing; the next full check is the first
    // the provider sees.
    void emptyCredentialsAskNothing_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("password");
        QTest::newRow("no user name") << QString() << kPassword;
        QTest::newRow("no password") << QStringLiteral("demo") << QString();
    }
    void emptyCredentialsAskNothing()
    {
        QFETCH(QString, user);
        QFETCH(QString, password);
        PreferencesController controller;
        controller.userName->setText(user);
        controller.password->setText(password);
        controller.loadBalance();
        QVERIFY(controller.fritzModellProgress->isHidden());

        controller.userName->setText(QStringLiteral("demo"));
        controller.password->setText(kPassword);
        controller.loadBalance();
        QVERIFY(!controller.fritzModellProgress->isHidden());
        QVERIFY(checked(controller));
        QCOMPARE(requestCount(), 2);
    }

    // The last line equal to "localUri" is shown, else the first; showing writes nothing,
    // a choice of the user does.
    void faxLineSelection_data()
    {
        QTest::addColumn<QString>("localUri");
        QTest::addColumn<int>("selected");
        QTest::newRow("none stored") << QString() << 0;
        QTest::newRow("second stored") << kSecondLine << 1;
        QTest::newRow("first stored") << kFirstLine << 0;
        QTest::newRow("unknown stored") << QStringLiteral("4989000000") << 0;
    }
    void faxLineSelection()
    {
        QFETCH(QString, localUri);
        QFETCH(int, selected);
        if (!localUri.isEmpty())
            setLine(localUri);
        PreferencesController controller;
        controller.loadPreferences();
        QTRY_COMPARE(controller.faxLinesPopup->count(), 2);
        QVERIFY(checked(controller));
        QCOMPARE(controller.fritzModell->text(), QStringLiteral("Current balance: 23.42 EUR"));
        QCOMPARE(controller.faxLinesPopup->itemText(1), u'+' + kSecondLine);
        QCOMPARE(controller.faxLinesPopup->currentIndex(), selected);
        QVERIFY(controller.faxLinesPopup->isEnabled());
        QCOMPARE(FBUserDefaults::hasKey(kLocalUriKey), !localUri.isEmpty());
        QCOMPARE(FBUserDefaults::stringForKey(kLocalUriKey), localUri);

        QTest::keyClick(controller.faxLinesPopup, selected == 0 ? Qt::Key_Down : Qt::Key_Up);
        const int chosen = 1 - selected;
        QCOMPARE(FBUserDefaults::stringForKey(kLocalUriKey), chosen ? kSecondLine : kFirstLine);
        QCOMPARE(FBUserDefaults::stringForKey(kLocalSipUriKey),
                 chosen ? QStringLiteral("2000001f1@sip.voxaria.net")
                        : QStringLiteral("2000001f0@sip.voxaria.net"));
        QVERIFY(m_alerts.isEmpty());
    }

    // What goes wrong is said once, in its place; the chosen line and the list stay.
    void failedCheck_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("password");
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("alert");
        QTest::addColumn<QString>("line");
        QTest::newRow("wrong password")
            << "demo"
            << "wrong" << QString()
            << "Error|Authentication failed. Please check your user name and password."
            << QString();
        QTest::newRow("no fax line")
            << "nofax" << kPassword << QString()
            << "Your account has no fax line. Please set up a fax line with voxaria first.|Your "
               "account has no fax line. Please set up a fax line with voxaria first."
            << "Current balance: 23.42 EUR";
        QTest::newRow("service error") << "demo" << kPassword << "http500" << QString() << "Error";
        QTest::newRow("empty answer") << "demo" << kPassword << "empty" << QString() << "Error";
        QTest::newRow("provider down")
            << "demo" << kPassword << "down" << QString() << "Fax service unavailable";
    }
    void failedCheck()
    {
        QFETCH(QString, user);
        QFETCH(QString, password);
        QFETCH(QString, fault);
        QFETCH(QString, alert);
        QFETCH(QString, line);
        setAccount(user, password);
        setLine(kFirstLine);
        if (fault == QLatin1String("down")) {
            QTcpServer closed;
            QVERIFY(closed.listen(QHostAddress::LocalHost));
            const quint16 port = closed.serverPort();
            closed.close();
            qputenv("FAXOLINO_API_URL",
                    QByteArray("http://127.0.0.1:") + QByteArray::number(port) + "/RPC2");
        } else if (!fault.isEmpty()) {
            QVERIFY(m_simulator.setFaults({{QStringLiteral("zentari.BalanceGet"), fault},
                                           {QStringLiteral("zentari.OwnUriListGet"), fault}}));
        }
        PreferencesController controller;
        controller.loadPreferences();
        QVERIFY(QTest::qWaitFor([&] {
            return controller.fritzModellProgress->isHidden()
                   && (alert.isEmpty() ? !controller.fritzModell->text().isEmpty()
                                       : !m_alerts.isEmpty());
        }));
        // Whatever else is still on its way may not add to it.
        QTRY_VERIFY(requestCount() >= (fault == QLatin1String("down") ? 0 : 2));
        QCoreApplication::processEvents();
        QCOMPARE(m_alerts, alert.isEmpty() ? QStringList() : QStringList{alert});
        QVERIFY2(controller.fritzModell->text().startsWith(line),
                 qPrintable(controller.fritzModell->text()));
        QCOMPARE(controller.faxLinesPopup->count(), 0);
        QVERIFY(!controller.faxLinesPopup->isEnabled());
        QCOMPARE(FBUserDefaults::stringForKey(kLocalUriKey), kFirstLine);
        QCOMPARE(FBUserDefaults::stringForKey(kLocalSipUriKey), "sip-of-" + kFirstLine);
    }

    // Every end of an edit of the password forgets the line and checks again, changed or not.
    void passwordEditEndsForgetLine_data()
    {
        QTest::addColumn<bool>("type");
        QTest::addColumn<bool>("pressReturn");
        QTest::newRow("tabbed through") << false << false;
        QTest::newRow("retyped, Return") << true << true;
    }
    void passwordEditEndsForgetLine()
    {
        QFETCH(bool, type);
        QFETCH(bool, pressReturn);
        PreferencesController controller;
        controller.openPreferenceWindow();
        QVERIFY(QTest::qWaitForWindowActive(&controller));
        QVERIFY(checked(controller));
        const int before = requestCount();
        for (int round = 0; round < 2; ++round) {
            setLine(kSecondLine);
            controller.password->setFocus(Qt::TabFocusReason);
            if (type) {
                QTest::keyClick(controller.password, Qt::Key_A, Qt::ControlModifier);
                QTest::keyClicks(controller.password, kPassword);
            }
            if (pressReturn)
                QTest::keyClick(controller.password, Qt::Key_Return);
            else
                controller.faxLinesPopup->setFocus(Qt::TabFocusReason);
            QVERIFY(!FBUserDefaults::hasKey(kLocalUriKey));
            QVERIFY(!FBUserDefaults::hasKey(kLocalSipUriKey));
            QTRY_COMPARE(requestCount(), before + 2 * (round + 1));
            QVERIFY(checked(controller));
            if (pressReturn)
                controller.faxLinesPopup->setFocus(Qt::TabFocusReason);
        }
        FXError error;
        QCOMPARE(FBAccountCredentials::password(&error), std::optional<QString>(kPassword));
        QVERIFY(m_alerts.isEmpty());
    }

    void helpButtonOpensItsAnchor_data()
    {
        QTest::addColumn<int>("tag");
        QTest::addColumn<QString>("url");
        QTest::newRow("0") << 0 << "https://www.voxaria.net/plugin/faq/#2_1";
        QTest::newRow("2") << 2 << "https://www.voxaria.net/plugin/faq/#2_3";
    }
    void helpButtonOpensItsAnchor()
    {
        QFETCH(int, tag);
        QFETCH(QString, url);
        PreferencesController controller;
        QVERIFY(controller.helpButtons.size() > tag);
        controller.helpButtons.at(tag)->click();
        QCOMPARE(m_urls.opened, QList<QUrl>{QUrl(url)});
    }

    // The chosen folder is kept as its path and as the UTF-8 bytes the reports read;
    // cancelling keeps what was there.
    void reportFolder_data()
    {
        QTest::addColumn<bool>("choose");
        QTest::newRow("cancelled") << false;
        QTest::newRow("chosen") << true;
    }
    void reportFolder()
    {
        QFETCH(bool, choose);
        const QString folder = TestEnvironment::root() + QStringLiteral("/Berichte-ü");
        QVERIFY(QDir().mkpath(folder));
        FBUserDefaults::setObject(QDir::homePath(), kFaxReportSavePathKey);
        FBUserDefaults::removeObjectForKey(kFaxReportSavePathDataKey);
        PreferencesController controller;
        controller.openPreferenceWindow();
        controller.systemToolbarItem->trigger();
        QCOMPARE(controller.activeView(), controller.systemPreferenceView);
        QTest::mouseClick(controller.selectReportPathButton, Qt::LeftButton);
        QFileDialog *panel = controller.reportPathPanel();
        QVERIFY(panel);
        QVERIFY(panel->isVisible());
        if (choose) {
            panel->setDirectory(folder);
            panel->selectFile(folder);
            static_cast<QDialog *>(panel)->accept();
        } else {
            panel->reject();
        }
        QTRY_VERIFY(!controller.reportPathPanel());
        const QString expected = choose ? folder : QDir::homePath();
        QCOMPARE(controller.reportPathTextField->text(), expected);
        QCOMPARE(FBUserDefaults::stringForKey(kFaxReportSavePathKey), expected);
        QCOMPARE(FBUserDefaults::hasKey(kFaxReportSavePathDataKey), choose);
        if (choose)
            QCOMPARE(FBUserDefaults::dataForKey(kFaxReportSavePathDataKey), folder.toUtf8());
    }

    // Closing saves and tells the application; after a first setup it asks for the fax
    // window. The password reaches the keyring only.
    void closing_data()
    {
        QTest::addColumn<bool>("firstSetup");
        QTest::newRow("first setup") << true;
        QTest::newRow("later visit") << false;
    }
    void closing()
    {
        QFETCH(bool, firstSetup);
        LogCapture log;
        FXError error;
        QVERIFY(FBAccountCredentials::storePassword(QStringLiteral("old"), &error));
        FBUserDefaults::removeObjectForKey(kUsernameKey);
        PreferencesController controller;
        QSignalSpy activated(&controller, &PreferencesController::ACTIVATESETTINGS);
        QSignalSpy faxWindow(&controller, &PreferencesController::openFaxWindowRequested);
        if (firstSetup)
            controller.addPreferences();
        else
            controller.openPreferenceWindow();
        controller.userName->setText(QStringLiteral("demo"));
        controller.password->setText(kPassword);
        controller.faxHeader->setText(QStringLiteral("Musterfirma GmbH"));
        controller.controlTextDidEndEditing(controller.password);
        QVERIFY(checked(controller));
        QTRY_COMPARE(controller.faxLinesPopup->count(), 2);
        QVERIFY(controller.close());

        QCOMPARE(activated.size(), 1);
        QCOMPARE(faxWindow.size(), firstSetup ? 1 : 0);
        QCOMPARE(FBUserDefaults::stringForKey(kUsernameKey), QStringLiteral("demo"));
        QCOMPARE(FBUserDefaults::stringForKey(kFaxHeaderKey), QStringLiteral("Musterfirma GmbH"));
        QCOMPARE(FBAccountCredentials::password(&error), std::optional<QString>(kPassword));
        const QByteArray settings = TestEnvironment::readFile(FBUserDefaults::fileName());
        QVERIFY(settings.contains("demo"));
        QVERIFY(!settings.contains(kPassword.toUtf8()));
        QVERIFY(!settings.contains(kPassword.toUtf8().toBase64()));
        const QString logged = log.messages().join(u'\n');
        QVERIFY(!logged.contains(kPassword));
        QVERIFY(!logged.contains(QString::fromLatin1(("demo:" + kPassword).toUtf8().toBase64())));
    }

    // The pages are chosen from the toolbar; the window keeps its top edge and takes the
    // page's height.
    void pagesTakeTheWindowsSize()
    {
        PreferencesController controller;
        controller.openPreferenceWindow();
        QVERIFY(QTest::qWaitForWindowExposed(&controller));
        const int top = controller.geometry().top();
        const int accountHeight = controller.height();
        controller.systemToolbarItem->trigger();
        QCOMPARE(controller.activeView(), controller.systemPreferenceView);
        QVERIFY(controller.generalView->isHidden());
        QCOMPARE(controller.geometry().top(), top);
        QVERIFY(controller.height() != accountHeight);
        QTRY_COMPARE(controller.activeContentView->height(),
                     controller.systemPreferenceView->height());
        QVERIFY(controller.systemPreferenceView->height()
                >= controller.systemPreferenceView->minimumSizeHint().height());
        controller.generalToolbarItem->trigger();
        QCOMPARE(controller.activeView(), controller.generalView);
        QCOMPARE(controller.height(), accountHeight);
        QCOMPARE(controller.geometry().top(), top);
    }

    // Without a printing system the switch offers the installation and says why it failed.
    void printQueueWithoutScheduler()
    {
        PreferencesController controller;
        controller.pdfServiceSetup();
        QCOMPARE(controller.serviceInstallButton->text(), QStringLiteral("Install"));
        QCOMPARE(controller.serviceInstalledLabel->text(), FXText("service_not_installed"));
        QVERIFY(!controller.serviceInstalledImage->pixmap().isNull());
        controller.serviceInstallButton->click();
        QCOMPARE(controller.serviceInstallButton->text(), QStringLiteral("Install"));
        QVERIFY(controller.serviceHelpText->text() != FXText("help_use_system"));
        QVERIFY(controller.copyCommandButton->isHidden());
    }

    // Runs last: the keyring stays locked. A keyring that cannot be read is said as such,
    // never as wrong credentials, and nothing is asked of the provider.
    void lockedKeyring()
    {
        QVERIFY(TestEnvironment::lockKeyring());
        PreferencesController controller;
        controller.loadPreferences();
        QVERIFY(controller.fritzModell->text().startsWith(FXText("keychain_unavailable")));
        QVERIFY(controller.fritzModellProgress->isHidden());
        QVERIFY(controller.password->text().isEmpty());
        QVERIFY(!controller.faxLinesPopup->isEnabled());
        // Leaving the empty field must not put an empty password over the stored one.
        controller.controlTextDidEndEditing(controller.userName);
        QCOMPARE(requestCount(), 0);
        QVERIFY(m_alerts.isEmpty());
    }
};

QTEST_MAIN(TestPreferencesController)
#include "tst_preferencescontroller.moc"
