// The report window offscreen over a real journal: which record each operation takes, search,
// live updates, missing files and sending again.
#include "LogCapture.h"
#include "TestEnvironment.h"
#include "UrlRecorder.h"
#include "app/FBFaxArrayController.h"
#include "app/FBReportWindow.h"
#include "foundation/FBLocalization.h"
#include "foundation/FXFaxFileManager.h"
#include "journal/FXCoreDataController.h"
#include "journal/FXManagedObjectContext.h"
#include "recipients/FXAddressBook.h"
#include "recipients/FXPhoneNumber.h"

#include <QAction>
#include <QButtonGroup>
#include <QContextMenuEvent>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPdfDocument>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

FXManagedObjectContext *journal()
{
    return FXCoreDataController::sharedInstance()->managedObjectContext();
}

int pageCountOf(const QString &path)
{
    QPdfDocument pdf;
    return pdf.load(path) == QPdfDocument::Error::None ? pdf.pageCount() : -1;
}

} // namespace

class TestFBReportWindow : public QObject
{
    Q_OBJECT

    QTemporaryDir m_reports{TestEnvironment::root() + QStringLiteral("/reports-XXXXXX")};
    QTemporaryDir m_exports{TestEnvironment::root() + QStringLiteral("/exports-XXXXXX")};
    UrlRecorder m_urls{{QStringLiteral("file")}};

    // A fax of `pages` pages sent on 21 November 2026, `minutesAgo` before 12:00, whose
    // report (when `report` names a fixture) lies in the report folder.
    Fax addFax(const QString &number, int minutesAgo, const QString &reason = QStringLiteral("0"),
               const QString &report = QStringLiteral("b.pdf"))
    {
        const QDateTime date =
            QDateTime(QDate(2026, 11, 21), QTime(12, 0)).addSecs(-60 * minutesAgo);
        Fax fax = journal()->insertNewFax();
        fax.setNumber(number);
        fax.setDate(date);
        fax.setPages(2);
        fax.setFile(FXFaxFileManager::temporarySendFaxFileNameForDate(date, number));
        fax.setFileURL(m_reports.path().toUtf8());
        Connection connection = journal()->insertNewConnectionForFax(fax);
        connection.setBeginDate(date);
        connection.setReason(reason);
        if (!report.isEmpty())
            QFile::copy(TestEnvironment::dataDir() + QStringLiteral("/document/") + report,
                        reportPath(fax));
        FXCoreDataController::sharedInstance()->saveMainContext();
        return fax;
    }

    static QString reportPath(const Fax &fax) { return FBReportWindow::reportFileForFax(fax); }

    static QStringList numbersShown(FBReportWindow &window)
    {
        QStringList numbers;
        for (int row = 0; row < window.faxArrayController->rowCount(); ++row)
            numbers.append(window.faxArrayController->faxAtRow(row).number());
        return numbers;
    }

    // A right click on a row (or below the rows for -1), as the mouse gives it.
    static void rightClick(FBReportWindow &window, int row)
    {
        QWidget *viewport = window.reportTableView->viewport();
        const QPoint at =
            row >= 0 ? window.reportTableView->visualRect(window.faxArrayController->index(row, 1))
                           .center()
                     : QPoint(20, viewport->height() - 5);
        QTest::mousePress(viewport, Qt::RightButton, {}, at);
        QContextMenuEvent menu(QContextMenuEvent::Mouse, at, viewport->mapToGlobal(at));
        QApplication::sendEvent(viewport, &menu);
        QTest::mouseRelease(viewport, Qt::RightButton, {}, at);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        FBLocalization::installCatalog(QStringLiteral(":/app/translations/app"),
                                       QLocale(QLocale::English));
        FXPhoneNumber::setRegion(QStringLiteral("DE"));
        FXAddressBook::setSystemAddressBookEnabled(false);
        FBReportWindow::setFolderChooser([this](QWidget *) { return m_exports.path(); });
    }

    void init()
    {
        m_urls.opened.clear();
        for (const Fax &fax : journal()->fetchFaxes())
            journal()->deleteObject(fax);
        FXCoreDataController::sharedInstance()->saveMainContext();
        QDir(m_reports.path()).removeRecursively();
        QDir(m_exports.path()).removeRecursively();
        QDir().mkpath(m_reports.path());
        QDir().mkpath(m_exports.path());
    }

    // Operations take the selected row, or from the context menu the clicked one; deleting
    // and exporting need a selection even then. Segment 3 does nothing.
    void rowChoice_data()
    {
        QTest::addColumn<int>("segment"); // 0 open, 1 delete, 2 export, 3 none
        QTest::addColumn<bool>("fromMenu");
        QTest::addColumn<int>("selected");
        QTest::addColumn<int>("clicked");
        QTest::addColumn<int>("expected"); // the row acted on, -1 none

        QTest::newRow("open selected") << 0 << false << 1 << -1 << 1;
        QTest::newRow("open clicked without selection") << 0 << true << -1 << 2 << 2;
        QTest::newRow("open below the rows") << 0 << true << 0 << -1 << -1;
        QTest::newRow("delete selected") << 1 << false << 1 << -1 << 1;
        QTest::newRow("delete nothing selected") << 1 << false << -1 << -1 << -1;
        QTest::newRow("delete clicked, another selected") << 1 << true << 0 << 2 << 2;
        QTest::newRow("delete clicked without selection") << 1 << true << -1 << 1 << -1;
        QTest::newRow("export clicked, another selected") << 2 << true << 0 << 1 << 1;
        QTest::newRow("export clicked without selection") << 2 << true << -1 << 1 << -1;
        QTest::newRow("segment 3") << 3 << false << 1 << -1 << -1;
    }
    void rowChoice()
    {
        QFETCH(int, segment);
        QFETCH(bool, fromMenu);
        QFETCH(int, selected);
        QFETCH(int, clicked);
        QFETCH(int, expected);
        const QList<Fax> faxes{addFax(QStringLiteral("+4930111"), 0),
                               addFax(QStringLiteral("+4930222"), 10),
                               addFax(QStringLiteral("+4930333"), 20)};
        FBReportWindow window;
        window.show();
        QCOMPARE(numbersShown(window), (QStringList{"+4930111", "+4930222", "+4930333"}));
        if (selected >= 0)
            window.reportTableView->selectRow(selected);

        if (fromMenu) {
            rightClick(window, clicked);
            QCOMPARE(window.reportTableView->selectedRow(), selected);
            QAction *items[] = {window.menuOpenAction, window.menuDeleteAction,
                                window.menuExportAction};
            QTRY_VERIFY(window.reportMenu->isVisible());
            items[segment]->trigger();
            window.reportMenu->close();
        } else {
            window.handleReportAction(segment);
        }

        const QString actedOn = expected >= 0 ? reportPath(faxes.at(expected)) : QString();
        QCOMPARE(m_urls.opened, segment == 0 && expected >= 0
                                    ? QList<QUrl>{QUrl::fromLocalFile(actedOn)}
                                    : QList<QUrl>());
        QStringList remaining{"+4930111", "+4930222", "+4930333"};
        if (segment == 1 && expected >= 0)
            remaining.removeAt(expected);
        QTRY_COMPARE(numbersShown(window), remaining);
        if (expected >= 0)
            QCOMPARE(QFileInfo::exists(actedOn), segment != 1);
        const QStringList exported = QDir(m_exports.path()).entryList(QDir::Files);
        QCOMPARE(exported, segment == 2 && expected >= 0
                               ? QStringList{QFileInfo(actedOn).fileName()}
                               : QStringList());
    }

    void exportNeverReplaces()
    {
        addFax(QStringLiteral("+4930111"), 0);
        FBReportWindow window;
        window.reportTableView->selectRow(0);
        const QString name =
            QFileInfo(reportPath(window.faxArrayController->faxAtRow(0))).fileName();
        QFile existing(QDir(m_exports.path()).filePath(name));
        QVERIFY(existing.open(QIODevice::WriteOnly));
        existing.write("older export");
        existing.close();
        LogCapture log;
        window.handleReportAction(2);
        QVERIFY(log.contains(QStringLiteral("Fehler beim Export")));
        QCOMPARE(TestEnvironment::readFile(existing.fileName()), QByteArray("older export"));
        QCOMPARE(pageCountOf(reportPath(window.faxArrayController->faxAtRow(0))), 3);
    }

    // Typed into the field: numbers and dates as the list shows them and in ISO form.
    void search_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("numbers");
        QTest::newRow("number part") << "30222" << QStringList{"+4930222"};
        QTest::newRow("list date") << "21.11" << QStringList{"+4930222", "+4940333"};
        QTest::newRow("ISO date and time") << "2026-11-21 11:50" << QStringList{"+4930222"};
        QTest::newRow("nothing") << "zzz" << QStringList();
    }
    void search()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, numbers);
        addFax(QStringLiteral("+4930222"), 10);
        addFax(QStringLiteral("+4940333"), 20);
        addFax(QStringLiteral("+4989444"), 60 * 24 * 3);
        FBReportWindow window;
        window.show();
        QTest::keyClicks(window.searchField, text);
        QCOMPARE(numbersShown(window), numbers);
        if (numbers.isEmpty())
            QCOMPARE(window.reportPlaceholder->text(), FXText("report_no_match").arg(text));
        // Escape clears the search: everything again.
        QTest::keyClick(window.searchField, Qt::Key_Escape);
        QCOMPARE(numbersShown(window), (QStringList{"+4930222", "+4940333", "+4989444"}));
    }

    // The newest fax's report; an empty journal shows the window with nothing selected, and
    // faxes that arrive while it is open appear and change state.
    void sendReportAndLiveUpdates()
    {
        FBReportWindow window;
        window.showSendReport();
        QVERIFY(window.isVisible());
        QCOMPARE(window.reportTableView->selectedRow(), -1);
        QCOMPARE(window.reportPlaceholder->text(), FXText("report_no_faxes"));

        addFax(QStringLiteral("+4930111"), 20);
        Fax open = addFax(QStringLiteral("+4930222"), 10, QString());
        QTRY_COMPARE(window.faxArrayController->rowCount(), 2);
        window.showSendReport();
        QCOMPARE(window.reportTableView->selectedRow(), 0);
        QCOMPARE(window.reportDocument->pageCount(), 3);
        const QModelIndex state =
            window.faxArrayController->index(0, FBFaxArrayController::StateColumn);
        QCOMPARE(state.data().toString(), FXText("report_state_open"));

        // The poller's answer closes the transmission; the row follows, still selected.
        open.connections().first().setReason(QStringLiteral("486"));
        QTRY_COMPARE(state.data().toString(), FXText("report_state_failed").arg(FXText("0X1E6")));
        QCOMPARE(window.reportTableView->selectedRow(), 0);

        // No selection, no report.
        window.reportTableView->clearSelection();
        QCOMPARE(window.reportDocument->pageCount(), 0);
        QCOMPARE(window.reportPlaceholder->text(), FXText("report_none_selected"));
    }

    // A record whose report is gone: nothing is opened, and deleting still takes the record.
    void missingReportFile()
    {
        Fax fax = addFax(QStringLiteral("+4930111"), 0, QStringLiteral("0"), QString());
        fax.setFileURL(QByteArrayLiteral("not a folder"));
        FXCoreDataController::sharedInstance()->saveMainContext();
        FBReportWindow window;
        window.reportTableView->selectRow(0);
        QVERIFY(window.reportPlaceholder->text().startsWith(
            FXText("report_missing").section(QLatin1Char('\n'), 0, 0)));
        QVERIFY(!window.sendAgainAction->isEnabled());
        QCOMPARE(window.sendAgainAction->toolTip(), FXText("send_again_no_report"));
        window.handleReportAction(0);
        QVERIFY(m_urls.opened.isEmpty());
        LogCapture log;
        window.handleReportAction(1);
        QVERIFY(log.contains(QStringLiteral("Faxreport konnte nicht gelöscht werden")));
        QTRY_COMPARE(window.faxArrayController->rowCount(), 0);
    }

    // Only a report with the sent pages after it can be sent again: those pages go out.
    void sendAgain()
    {
        addFax(QStringLiteral("+4930111"), 0, QStringLiteral("0"), QStringLiteral("one.pdf"));
        addFax(QStringLiteral("+4930222"), 10, QStringLiteral("0"), QStringLiteral("b.pdf"));
        FBReportWindow window;
        window.reportTableView->selectRow(0);
        QVERIFY(!window.sendAgainAction->isEnabled());
        QCOMPARE(window.sendAgainAction->toolTip(), FXText("send_again_no_pages"));

        int pages = -1;
        QString number;
        connect(&window, &FBReportWindow::sendAgainRequested, this,
                [&](const QString &path, const QString &to) {
                    pages = pageCountOf(path);
                    number = to;
                });
        rightClick(window, 1);
        QVERIFY(window.menuSendAgainAction->isEnabled());
        window.menuSendAgainAction->trigger();
        QCOMPARE(pages, 2);
        QCOMPARE(number, QStringLiteral("+4930222"));
    }
};

QTEST_MAIN(TestFBReportWindow)
#include "tst_fbreportwindow.moc"
