// The cover window and the controller's cover operations, offscreen: the form's fields, the
// preview's scale, and the cover page put in front of the document, replaced and taken away.
#include "TestEnvironment.h"
#include "app/AppDelegate.h"
#include "app/FBCoverSheetView.h"
#include "app/FBCoverWindow.h"
#include "app/FBMainWindow.h"
#include "app/FBPageThumbnailModel.h"
#include "foundation/FBAccountCredentials.h"
#include "foundation/FBLocalization.h"
#include "foundation/FBUserDefaults.h"
#include "foundation/FXFaxFileManager.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QLineEdit>
#include <QListView>
#include <QPdfDocument>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTextEdit>
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

// The text of one page as an independent reader finds it.
QString pageText(const QString &path, int page)
{
    QProcess reader;
    reader.start(QStringLiteral("pdftotext"),
                 {QStringLiteral("-f"), QString::number(page), QStringLiteral("-l"),
                  QString::number(page), path, QStringLiteral("-")});
    return reader.waitForFinished(30000) ? QString::fromUtf8(reader.readAllStandardOutput())
                                         : QString();
}

} // namespace

class TestFBCoverWindow : public QObject
{
    Q_OBJECT

    // Fills the form and confirms it; waits until the document's pages are shown again.
    static bool confirm(AppDelegate &app, const QString &to, const QString &subject, bool use)
    {
        FBCoverWindow *window = app.coverWindow();
        app.openCoverSheet();
        window->tmpCoverTo->setPlainText(to);
        window->tmpCoverSubject->setText(subject);
        window->useCoverSheet->setChecked(use);
        QSignalSpy prepared(&app, &AppDelegate::documentPrepared);
        QTest::mouseClick(window->okButton, Qt::LeftButton);
        return !window->isVisible() && (prepared.count() > 0 || prepared.wait(60000));
    }

    static bool open(AppDelegate &app, const QString &path)
    {
        QSignalSpy prepared(&app, &AppDelegate::documentPrepared);
        app.openFile(path);
        return prepared.wait(60000);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        FXError error;
        QVERIFY(FBAccountCredentials::storePassword(QStringLiteral("secret"), &error));
        FBUserDefaults::setObject(QStringLiteral("demo"), kUsernameKey);
        FBUserDefaults::setObject(QStringLiteral("4921155500199"), kLocalUriKey);
        FBLocalization::installCoreCatalog(QLocale(QLocale::English));
        FBLocalization::installCatalog(QStringLiteral(":/app/translations/app"),
                                       QLocale(QLocale::English));
        AppDelegate::setPrepareProgram(TestEnvironment::binDir() + QStringLiteral("/faxolino"));
    }

    // A second cover replaces the first; switching it off gives the document back.
    void coverInFrontReplacedAndRemoved()
    {
        AppDelegate app;
        app.applicationDidFinishLaunching();
        QVERIFY(open(app, fixture(QStringLiteral("three-pages.pdf"))));
        const QString originale = FXFaxFileManager::filePathForOriginale();

        QVERIFY(confirm(app, QStringLiteral("Kanzlei Anders"), QStringLiteral("First"), true));
        QVERIFY(confirm(app, QStringLiteral("Kanzlei Anders"), QStringLiteral("Second"), true));
        QVERIFY(app.hasCoverSheet());
        QVERIFY(app.mainWindow()->coverSheetAction->isChecked());
        QCOMPARE(pageCountOf(originale), 4);
        QCOMPARE(app.mainWindow()->document->pageCount(), 4);
        const QString cover = pageText(originale, 1);
        QVERIFY2(cover.contains(QLatin1String("Second")) && !cover.contains(QLatin1String("First")),
                 qPrintable(cover));
        // Read back: the fields are text, in their order on the page.
        qsizetype at = -1;
        for (const QString &part :
             {QStringLiteral("To"), QStringLiteral("Kanzlei Anders"), QStringLiteral("Second"),
              FXCoverPage::dateText(QDate::currentDate())}) {
            const qsizetype found = cover.indexOf(part, at + 1);
            QVERIFY2(found > at, qPrintable(part + QStringLiteral(" in ") + cover));
            at = found;
        }
        QCOMPARE(pageText(originale, 2), pageText(fixture(QStringLiteral("three-pages.pdf")), 1));

        // Undo takes the covers away, and with them the state that page 1 is one.
        QSignalSpy prepared(&app, &AppDelegate::documentPrepared);
        app.undoStack()->undo();
        app.undoStack()->undo();
        QTRY_VERIFY_WITH_TIMEOUT(!prepared.isEmpty() && prepared.last().first().toInt() == 3,
                                 60000);
        QVERIFY(!app.hasCoverSheet());
        app.undoStack()->redo();
        app.undoStack()->redo();
        QVERIFY(app.hasCoverSheet());
        QCOMPARE(pageCountOf(originale), 4);

        QVERIFY(confirm(app, QString(), QString(), false));
        QVERIFY(!app.hasCoverSheet());
        QVERIFY(!app.mainWindow()->coverSheetAction->isChecked());
        QVERIFY(!QFile::exists(FXFaxFileManager::filePathForFaxCover()));
        QCOMPARE(pageCountOf(originale), 3);
        QCOMPARE(pageText(originale, 1), pageText(fixture(QStringLiteral("three-pages.pdf")), 1));

        // Off with the cover file gone leaves the document alone.
        QVERIFY(confirm(app, QString(), QStringLiteral("Third"), true));
        const QByteArray document = TestEnvironment::readFile(originale);
        QVERIFY(QFile::remove(FXFaxFileManager::filePathForFaxCover()));
        app.openCoverSheet();
        app.coverWindow()->useCoverSheet->setChecked(false);
        app.coverSheetOK();
        QVERIFY(!app.hasCoverSheet());
        QCOMPARE(TestEnvironment::readFile(originale), document);
    }

    // Deleting the cover page, or moving a page in front of it, leaves a document without
    // one: a later cover must not take the user's first page.
    void coverLostByPageEdits_data()
    {
        QTest::addColumn<QString>("edit");
        QTest::newRow("cover deleted") << "delete";
        QTest::newRow("page moved in front") << "move";
    }
    void coverLostByPageEdits()
    {
        QFETCH(QString, edit);
        AppDelegate app;
        app.applicationDidFinishLaunching();
        QVERIFY(open(app, fixture(QStringLiteral("three-pages.pdf"))));
        QVERIFY(confirm(app, QStringLiteral("Berg"), QStringLiteral("Contract"), true));
        FBMainWindow *window = app.mainWindow();
        QSignalSpy prepared(&app, &AppDelegate::documentPrepared);
        if (edit == QLatin1String("delete")) {
            window->collectionView->setCurrentIndex(window->thumbnails->index(0));
            app.deletePage();
            QVERIFY(prepared.wait(60000));
        } else {
            app.draggingMovedPDFDocumentPagesAtIndexes({2}, 0);
        }
        QVERIFY(!app.hasCoverSheet());
        QVERIFY(confirm(app, QStringLiteral("Berg"), QStringLiteral("Again"), true));
        QCOMPARE(pageCountOf(FXFaxFileManager::filePathForOriginale()),
                 edit == QLatin1String("delete") ? 4 : 5);
    }

    // Without a document the cover is the document; an empty To carries no caption on the
    // page, and the caption is back once the window has closed.
    void coverAloneWithoutCaption()
    {
        AppDelegate app;
        app.applicationDidFinishLaunching();
        QVERIFY(confirm(app, QString(), QStringLiteral("Only a cover"), true));
        const QString originale = FXFaxFileManager::filePathForOriginale();
        QCOMPARE(pageCountOf(originale), 1);
        QCOMPARE(app.mainWindow()->document->pageCount(), 1);
        const QString text = pageText(originale, 1);
        QVERIFY2(text.contains(QLatin1String("Only a cover")), qPrintable(text));
        QVERIFY2(!text.contains(QLatin1String("To")), qPrintable(text));
        QVERIFY(app.coverWindow()->coverView->toCaptionShown());

        // Switched off again, the window is empty rather than showing an error.
        app.openCoverSheet();
        app.coverWindow()->useCoverSheet->setChecked(false);
        app.coverSheetOK();
        QCOMPARE(app.mainWindow()->document->pageCount(), 0);
        QVERIFY(!app.hasCoverSheet());
    }

    // To and From hold three lines: Return starts a line and never confirms the window, a
    // fourth line is cut, typed or pasted.
    void threeLines_data()
    {
        QTest::addColumn<QStringList>("typed");
        QTest::addColumn<QString>("pasted");
        QTest::addColumn<QString>("expected");
        QTest::newRow("two lines") << QStringList{"Anders", "Berg"} << ""
                                   << "Anders\nBerg";
        QTest::newRow("fourth typed") << QStringList{"a", "b", "c", "d"} << ""
                                      << "a\nb\ncd";
        QTest::newRow("pasted five") << QStringList{} << "1\n2\n3\n4\n5"
                                     << "1\n2\n3";
    }
    void threeLines()
    {
        QFETCH(QStringList, typed);
        QFETCH(QString, pasted);
        QFETCH(QString, expected);
        FBCoverWindow window;
        window.show();
        QSignalSpy confirmed(&window, &FBCoverWindow::coverSheetOK);
        for (QPlainTextEdit *field : {window.tmpCoverTo, window.tmpCoverFrom}) {
            field->setFocus();
            for (int line = 0; line < typed.size(); ++line) {
                if (line > 0)
                    QTest::keyClick(field, Qt::Key_Return);
                QTest::keyClicks(field, typed.at(line));
            }
            if (!pasted.isEmpty()) {
                QApplication::clipboard()->setText(pasted);
                field->paste();
            }
            QCOMPARE(field->toPlainText(), expected);
        }
        QCOMPARE(confirmed.count(), 0);
        QCOMPARE(window.tmpCoverSheetView->fields().to, expected);
    }

    // Item 0 is the whole page, item 1 three quarters; other items keep the scale. The page
    // fits the window as it is resized.
    void previewScale_data()
    {
        QTest::addColumn<int>("item");
        QTest::addColumn<double>("expected");
        QTest::newRow("whole page") << 0 << 1.0;
        QTest::newRow("three quarters") << 1 << 0.75;
        QTest::newRow("item 2 keeps") << 2 << 0.75;
        QTest::newRow("no item keeps") << -1 << 0.75;
    }
    void previewScale()
    {
        QFETCH(int, item);
        QFETCH(double, expected);
        FBCoverWindow window;
        window.resize(900, 700);
        window.openCoverSheet();
        const QSize whole = window.tmpCoverSheetView->size();
        window.changeCoverSheetScale(1);
        window.changeCoverSheetScale(item);
        QCOMPARE(window.scale(), QSizeF(expected, expected));
        QCOMPARE(window.tmpCoverSheetView->width(), qRound(whole.width() * expected));

        window.resize(600, 500);
        QTRY_VERIFY(window.tmpCoverSheetView->height() < qRound(whole.height() * expected));
        QCOMPARE(window.scale(), QSizeF(expected, expected));
    }
};

QTEST_MAIN(TestFBCoverWindow)
#include "tst_fbcoverwindow.moc"
