// Renders the main window as a user sees it, in English and German, into PNG files: empty,
// searching the address book for a receiver, with the sample letter, while sending, the
// threshold popover, the cover window, the report window, and the two pages of the preferences.
// Run by
// `make screenshots` under Xvfb inside the tests' isolated session (a keyring for the account, the
// provider simulator for the balance).
#include "ProviderSimulator.h"
#include "TestEnvironment.h"
#include "app/AppDelegate.h"
#include "app/FBCoverWindow.h"
#include "app/FBMainWindow.h"
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
#include "recipients/PhoneBook.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <QTextEdit>

namespace {

bool save(QWidget *window, const QString &path)
{
    QTest::qWait(600);
    // From the screen, so that bubbles (windows of their own) are in the picture.
    const QRect area = window->frameGeometry();
    const bool saved =
        window->screen()->grabWindow(0, area.x(), area.y(), area.width(), area.height()).save(path);
    std::fprintf(stderr, "%s %s\n", saved ? "wrote" : "cannot write", qPrintable(path));
    return saved;
}

// A small address book: the people a search for "An" finds, and one more.
bool writeContacts(const QString &folder)
{
    QDir().mkpath(folder);
    QFile file(folder + QStringLiteral("/contacts.vcf"));
    return file.open(QIODevice::WriteOnly)
           && file.write("BEGIN:VCARD\r\nVERSION:3.0\r\nUID:anna\r\nN:Berg;Anna;;;\r\n"
                         "TEL;TYPE=CELL:0171 5550001\r\nTEL;TYPE=WORK:030 5550002\r\n"
                         "TEL;TYPE=WORK,FAX:030 5550009\r\nEND:VCARD\r\n"
                         "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:andreas\r\nN:Wolf;Andreas;;;\r\n"
                         "TEL;TYPE=WORK:089 5550004\r\nEND:VCARD\r\n"
                         "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:kanzlei\r\nORG:Kanzlei Anders\r\n"
                         "X-ABShowAs:COMPANY\r\nTEL;TYPE=WORK,FAX:040 5550005\r\nEND:VCARD\r\n"
                         "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:bodo\r\nN:Roth;Bodo;;;\r\n"
                         "TEL;TYPE=HOME:0911 5550006\r\nEND:VCARD\r\n")
                  > 0;
}

// Earlier faxes of the last days, sent and failed, for the report window.
void seedJournal()
{
    FXManagedObjectContext *journal =
        FXCoreDataController::sharedInstance()->managedObjectContext();
    if (!journal)
        return;
    const struct
    {
        const char *number;
        int daysAgo;
        QTime time;
        const char *reason;
        int pages;
    } faxes[] = {
        {"+49405550005", 1, QTime(16, 42), "0", 3},    {"+49305550009", 2, QTime(9, 15), "486", 1},
        {"+492215550007", 3, QTime(11, 3), "0", 5},    {"+49895550004", 5, QTime(14, 27), "0", 2},
        {"+499115550006", 8, QTime(10, 48), "408", 4}, {"+49405550005", 9, QTime(8, 31), "0", 7}};
    for (const auto &seed : faxes) {
        const QDateTime date(QDate::currentDate().addDays(-seed.daysAgo), seed.time);
        const QString number = QString::fromLatin1(seed.number);
        Fax fax = journal->insertNewFax();
        fax.setNumber(number);
        fax.setDate(date);
        fax.setPages(seed.pages);
        fax.setFile(FXFaxFileManager::temporarySendFaxFileNameForDate(date, number));
        Connection connection = journal->insertNewConnectionForFax(fax);
        connection.setBeginDate(date);
        connection.setFinishDate(date.addSecs(40 * seed.pages));
        connection.setReason(QString::fromLatin1(seed.reason));
    }
    FXCoreDataController::sharedInstance()->saveMainContext();
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(".");
    QDir().mkpath(folder);
    ProviderSimulator simulator({QStringLiteral("--account"), QStringLiteral("demo:secret")});
    if (!simulator.isRunning())
        return 1;
    simulator.exportEndpoints();
    FXError error;
    if (!FBAccountCredentials::storePassword(QStringLiteral("secret"), &error))
        return 1;
    FBUserDefaults::setObject(QStringLiteral("demo"), kUsernameKey);
    FBUserDefaults::setObject(QStringLiteral("4921155500199"), kLocalUriKey);
    FBUserDefaults::setObject(true, kShowExtendedToolbarKey);
    AppDelegate::setPrepareProgram(TestEnvironment::binDir() + QStringLiteral("/faxolino"));
    FXAddressBook::setSystemAddressBookEnabled(false);
    // The journal's numbers find their people as in Germany.
    FXPhoneNumber::setRegion(QStringLiteral("DE"));
    const QString contacts = TestEnvironment::root() + QStringLiteral("/contacts");
    if (!writeContacts(contacts))
        return 1;
    FBUserDefaults::setObject(QStringList{contacts}, kVCardSourcesKey);
    seedJournal();
    const QString letter =
        TestEnvironment::sourceDir() + QStringLiteral("/resources/demo/letter.pdf");

    bool ok = true;
    for (const QString &language : {QStringLiteral("en"), QStringLiteral("de")}) {
        const QLocale locale(language);
        FBLocalization::installCoreCatalog(locale);
        FBLocalization::installCatalog(QStringLiteral(":/app/translations/app"), locale);
        // The phone labels are read in the language of the moment.
        if (language != QLatin1String("en"))
            PhoneBook::sharedInstance()->updateWithAddressBookEntries();
        AppDelegate delegate;
        FBMainWindow *window = delegate.mainWindow();
        window->resize(1100, 760);
        delegate.applicationDidFinishLaunching();
        ok &= save(window, QStringLiteral("%1/main-empty-%2.png").arg(folder, language));

        QSignalSpy prepared(&delegate, &AppDelegate::documentPrepared);
        delegate.openFile(letter);
        ok &= prepared.wait(60000);
        // Searching: "An" finds three people, and the first is chosen.
        TokenSearchField *field = window->receiverField;
        field->setObjectValue({});
        field->editor()->setFocus();
        QTest::keyClicks(field->editor(), QStringLiteral("An"));
        ok &= save(window, QStringLiteral("%1/main-search-%2.png").arg(folder, language));

        // Two receivers from the address book and a typed number.
        PhoneBook *book = PhoneBook::sharedInstance();
        field->setObjectValue(
            {TokenSearchField::tokenForEntry(*book->entryForNumber(QStringLiteral("030 5550009"))),
             TokenSearchField::tokenForEntry(*book->entryForNumber(QStringLiteral("040 5550005"))),
             QStringLiteral("+49 89 5550002")});
        window->focusSendButton();
        ok &= save(window, QStringLiteral("%1/main-letter-%2.png").arg(folder, language));

        // The threshold under the document type, and the cover window with a filled form.
        delegate.showThresholdPopover();
        ok &= save(window, QStringLiteral("%1/threshold-%2.png").arg(folder, language));
        if (delegate.popup())
            delegate.popup()->close();
        FBCoverWindow *cover = delegate.coverWindow();
        cover->tmpCoverTo->setPlainText(QStringLiteral("Kanzlei Anders\nz. Hd. Frau Berg"));
        cover->tmpCoverFrom->setPlainText(QStringLiteral("Muster & Partner GmbH\nAnna Muster"));
        cover->tmpCoverSubject->setText(language == QLatin1String("en")
                                            ? QStringLiteral("Signed contract 4711")
                                            : QStringLiteral("Unterschriebener Vertrag 4711"));
        cover->tmpCoverTextView->setHtml(
            language == QLatin1String("en")
                ? QStringLiteral("<p>Dear Ms Berg,</p><p>please find the <b>signed contract</b> "
                                 "attached. The second copy follows by post.</p>"
                                 "<p>Kind regards<br>Anna Muster</p>")
                : QStringLiteral("<p>Sehr geehrte Frau Berg,</p><p>anbei der <b>unterschriebene "
                                 "Vertrag</b>. Die zweite Ausfertigung folgt per Post.</p>"
                                 "<p>Mit freundlichen Grüßen<br>Anna Muster</p>"));
        cover->resize(1000, 680);
        delegate.openCoverSheet();
        cover->move(window->x() + 50, window->y() + 40);
        ok &= save(cover, QStringLiteral("%1/cover-%2.png").arg(folder, language));
        cover->hide();

        // While sending (to the simulator).
        field->setObjectValue({QStringLiteral("+49 30 5550001")});
        QSignalSpy finished(&delegate, &AppDelegate::sendFinished);
        delegate.sendFax();
        ok &= save(window, QStringLiteral("%1/main-sending-%2.png").arg(folder, language));
        ok &= finished.wait(60000);
        ok &= save(window, QStringLiteral("%1/main-sent-%2.png").arg(folder, language));

        // The report of the fax just sent, as its notification opens it.
        delegate.showSendReport();
        FBReportWindow *reports = delegate.reportWindow();
        reports->resize(1040, 640);
        reports->move(window->x() + 60, window->y() + 40);
        ok &= save(reports, QStringLiteral("%1/reports-%2.png").arg(folder, language));
        reports->hide();

        // The preferences, made anew so that they speak the language: the account checked
        // with the provider, then the system page.
        PreferencesController preferences;
        preferences.openPreferenceWindow();
        preferences.move(window->x() + 150, window->y() + 60);
        for (int waited = 0; preferences.faxLinesPopup->count() == 0 && waited < 20000;
             waited += 50)
            QTest::qWait(50);
        ok &= save(&preferences,
                   QStringLiteral("%1/preferences-account-%2.png").arg(folder, language));
        preferences.systemToolbarItem->trigger();
        ok &= save(&preferences,
                   QStringLiteral("%1/preferences-system-%2.png").arg(folder, language));
        preferences.hide();
    }
    return ok ? 0 : 1;
}
