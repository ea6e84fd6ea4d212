#include "app/AppDelegate.h"

#include "app/FBCoverSheetView.h"
#include "app/FBCoverWindow.h"
#include "app/FBMainWindow.h"
#include "app/FBNotificationCenter.h"
#include "app/FBPageThumbnailModel.h"
#include "app/FBPopover.h"
#include "app/FBReportWindow.h"
#include "app/MVPDFServices.h"
#include "app/PhoneEntriesController.h"
#include "app/PreferencesController.h"
#include "app/TokenSearchField.h"
#include "cli/CommandSupport.h"
#include "document/FXPDFGenerator.h"
#include "document/FXPageMove.h"
#include "foundation/FBLocalization.h"
#include "foundation/FBRegularFile.h"
#include "foundation/FBUserDefaults.h"
#include "foundation/FXFaxFileManager.h"
#include "foundation/FXLogging.h"
#include "recipients/FXPhoneNumber.h"
#include "recipients/FXRecipientSearch.h"
#include "recipients/PhoneBook.h"
#include "sending/FXAccountCheck.h"
#include "sending/FXFaxConnection.h"
#include "sending/FXReceiverCheck.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QFutureWatcher>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMessageBox>
#include <QPdfDocument>
#include <QPdfPageNavigator>
#include <QPdfView>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QSlider>
#include <QStatusBar>
#include <QTemporaryFile>
#include <QTimer>
#include <QUndoCommand>
#include <QUndoStack>
#include <QVBoxLayout>
#include <QtConcurrent>

#include <cstdio>
#include <limits>
#include <memory>

#include <sys/resource.h>

namespace {

QString prepareProgram;
int prepareDeadlineMs = 10 * 60 * 1000;
std::function<bool(const QString &, const QString &)> alertHook;

QString preparationProgram()
{
    return prepareProgram.isEmpty() ? QCoreApplication::applicationFilePath() : prepareProgram;
}

QStringList preparationOptions(int type, int threshold)
{
    return {QStringLiteral("--type"), type == 0 ? QStringLiteral("text") : QStringLiteral("mixed"),
            QStringLiteral("--threshold"), QString::number(threshold)};
}

// Deliberately, a fax job's pages are prepared by `faxolino prepare` as the preview's are, not
// on the job's thread: the window's process
// never renders, so it neither waits for Qt Pdf's lock while a job renders nor dies with a
// document that crashes the renderer. Runs on the job's worker thread.
FXFaxPageGenerator::Result prepareInHelper(const QByteArray &data, const QString &, int type,
                                           int threshold, const QString &toPath)
{
    FXFaxPageGenerator::Result result;
    QTemporaryFile input(QFileInfo(toPath).dir().filePath(QStringLiteral("_send-XXXXXX.pdf")));
    if (!input.open() || input.write(data) != data.size() || !input.flush()) {
        result.errorString = input.errorString();
        return result;
    }
    QProcess process;
    process.start(preparationProgram(),
                  QStringList{QStringLiteral("prepare"), input.fileName(), toPath}
                      + preparationOptions(type, threshold));
    if (!process.waitForFinished(prepareDeadlineMs)) {
        process.kill();
        process.waitForFinished();
        result.errorString = QStringLiteral("The page preparation did not end in time.");
        return result;
    }
    bool counted = false;
    const int pages = process.readAllStandardOutput().trimmed().toInt(&counted);
    const bool ended = process.exitStatus() == QProcess::NormalExit;
    result.readable = ended && process.exitCode() != 2;
    result.written = ended && process.exitCode() == 0 && counted;
    result.pageCount = result.written ? pages : 0;
    if (!result.written)
        result.errorString = QString::fromUtf8(process.readAllStandardError().trimmed().left(500));
    return result;
}

QString pagesText(int count)
{
    return QStringLiteral("%1 %2").arg(count).arg(FXText(count == 1 ? "page" : "pages"));
}

// One page edit: the unprocessed document before and after it, as files of the working
// folder, so that a long history of a large document does not live in memory, and whether
// page 1 was a cover page before and after it.
class PageEdit : public QUndoCommand
{
public:
    struct State
    {
        std::unique_ptr<QTemporaryFile> document;
        bool hasCoverSheet = false;
    };

    PageEdit(const QString &name, State before, State after,
             std::function<void(bool hasCoverSheet)> restored)
        : QUndoCommand(name)
        , m_before(std::move(before))
        , m_after(std::move(after))
        , m_restored(std::move(restored))
    {}

    void undo() override { restore(m_before); }
    void redo() override
    {
        // The edit itself has already been made when the command is pushed.
        if (std::exchange(m_done, true))
            restore(m_after);
    }

private:
    void restore(const State &state)
    {
        const QString target = FXFaxFileManager::filePathForOriginale();
        QFile::remove(target);
        if (!QFile::copy(state.document->fileName(), target))
            qCWarning(lcApp, "Cannot restore the document from %s",
                      qUtf8Printable(state.document->fileName()));
        m_restored(state.hasCoverSheet);
    }

    State m_before;
    State m_after;
    std::function<void(bool)> m_restored;
    bool m_done = false;
};

// A copy of the unprocessed document in the working folder; null when it cannot be made.
std::unique_ptr<QTemporaryFile> snapshotOfOriginale()
{
    auto snapshot = std::make_unique<QTemporaryFile>(
        QDir(FXFaxFileManager::workingFolder()).filePath(QStringLiteral("_undo-XXXXXX.pdf")));
    QFile source(FXFaxFileManager::filePathForOriginale());
    if (!snapshot->open() || !source.open(QIODevice::ReadOnly)
        || !FBRegularFile::copy(&source, snapshot.get(), std::numeric_limits<qint64>::max()))
        return nullptr;
    return snapshot->flush() ? std::move(snapshot) : nullptr;
}

} // namespace

void AppDelegate::setPrepareProgram(const QString &path)
{
    prepareProgram = path;
}

void AppDelegate::setPrepareDeadlineMs(int ms)
{
    prepareDeadlineMs = ms;
}

void AppDelegate::setAlertHook(std::function<bool(const QString &, const QString &)> hook)
{
    alertHook = std::move(hook);
}

AppDelegate::AppDelegate(QObject *parent)
    : QObject(parent)
    , m_window(new FBMainWindow)
    , m_notifications(new FBNotificationCenter(this))
    , m_phoneEntries(new PhoneEntriesController(this))
    , m_undo(new QUndoStack(this))
{
    FXFaxConnection::setPagePreparer(prepareInHelper);
    m_undo->setUndoLimit(50);
    m_window->addEditActions(m_undo->createUndoAction(m_window, FXText("menu_undo")),
                             m_undo->createRedoAction(m_window, FXText("menu_redo")));
    m_window->setAttribute(Qt::WA_DeleteOnClose, false);
    connect(m_window->newFaxAction, &QAction::triggered, this,
            [this] { openFaxWindow(Sender::Menu); });
    connect(m_window->openAction, &QAction::triggered, this, [this] {
        const QString path = QFileDialog::getOpenFileName(m_window, FXText("toolbar_open"),
                                                          QDir::homePath(), FXText("pdf_filter"));
        if (!path.isEmpty())
            processFaxFileForPath(path, true);
    });
    connect(m_window->addPageAction, &QAction::triggered, this, &AppDelegate::addPage);
    connect(m_window->deletePageAction, &QAction::triggered, this, &AppDelegate::deletePage);
    connect(m_window->sendAction, &QAction::triggered, this, &AppDelegate::sendFax);
    connect(m_window->preferencesAction, &QAction::triggered, this, &AppDelegate::openPreferences);
    connect(m_window->reportsAction, &QAction::triggered, this, &AppDelegate::showReportWindow);
    connect(m_window->coverSheetAction, &QAction::triggered, this, &AppDelegate::openCoverSheet);
    connect(m_notifications, &FBNotificationCenter::activated, this, &AppDelegate::showSendReport);
    m_window->receiverField->setDelegate(this);
    connect(m_window->receiverField, &TokenSearchField::action, this, &AppDelegate::sendFax);
    connect(m_window->cancelButton, &QPushButton::clicked, this, [this] {
        if (m_connection)
            m_connection->cancelRemainingReceivers();
        m_window->cancelButton->setEnabled(false);
    });
    connect(m_window->receiverField, &TokenSearchField::valueChanged, this,
            &AppDelegate::updateActions);
    connect(m_window->extendedToolbarAction, &QAction::toggled, this, [this](bool extended) {
        FBUserDefaults::setObject(extended, kShowExtendedToolbarKey);
        FBUserDefaults::synchronize();
        m_window->setExtendedToolbar(extended);
        if (m_reportWindow)
            m_reportWindow->setExtendedToolbar(extended);
    });
    connect(m_window, &FBMainWindow::pdfDropped, this,
            [this](const QString &path) { processFaxFileForPath(path, true); });
    connect(m_window, &FBMainWindow::pdfDroppedOnGrid, this,
            [this](const QString &path, int) { addPageFromPath(path); });
    connect(m_window, &FBMainWindow::pagesMoved, this,
            &AppDelegate::draggingMovedPDFDocumentPagesAtIndexes);
    connect(m_window, &FBMainWindow::documentTypeChosen, this, &AppDelegate::changeDocumentType);
    connect(m_window->document, &QPdfDocument::pageCountChanged, this, &AppDelegate::updateActions);
    updateActions();
}

AppDelegate::~AppDelegate()
{
    m_window->receiverField->setDelegate(nullptr);
    FXFaxConnection::setPagePreparer({});
    if (m_preparation) {
        m_preparation->disconnect(this);
        m_preparation->kill();
    }
    if (m_sparePreparation) {
        m_sparePreparation->disconnect(this);
        m_sparePreparation->kill();
        m_sparePreparation->waitForFinished(1000);
    }
    // The document announces its closing while the window goes.
    disconnect(m_window->document, nullptr, this, nullptr);
    delete m_reportWindow;
    delete m_window;
}

void AppDelegate::applicationDidFinishLaunching()
{
    _documentType = 0;
    _documentTypeThreshold = 2;
    _lastState = 0;
    m_window->documentTypeTextItem->setChecked(true);
    m_window->setExtendedToolbar(FBUserDefaults::boolForKey(kShowExtendedToolbarKey));
    if (isAppConfigured()) {
        setupPhoneTokens();
        openFaxWindow(Sender::Menu);
    } else {
        // The printer is there for the first document; whether it could be added shows on
        // the preferences' system page.
        if (!MVPDFServices::isPDFServiceInstalled())
            MVPDFServices::installPDFService(QString());
        errorWithMessage(FXText("account_not_configured"));
        addManualPreferences();
    }
    destinationNumber.clear();
    _didLaunch = true;
    if (!FBUserDefaults::hasKey(kSaveSendDocumentKey)) {
        FBUserDefaults::setObject(true, kSaveSendDocumentKey);
        FBUserDefaults::synchronize();
    }
}

void AppDelegate::activateSettings()
{
    if (!_isBound && isAppConfigured())
        setupPhoneTokens();
    // Deliberately beyond wiring the field: the balance line follows the account as it is
    // now, and a document kept while there was no account is prepared.
    loadBalance();
    if (m_shownPreparation == 0 && !m_preparation)
        processSFFForData();
}

// The window is made when it is first asked for, not at every start.
PreferencesController *AppDelegate::preferences()
{
    PreferencesController *preferences = PreferencesController::sharedController();
    if (!m_preferencesConnected) {
        m_preferencesConnected = true;
        connect(preferences, &PreferencesController::ACTIVATESETTINGS, this,
                &AppDelegate::activateSettings);
        connect(preferences, &PreferencesController::openFaxWindowRequested, this, [this] {
            // A document that came while the account was set up stays: it is what the user
            // wants to send first.
            if (m_documentPath.isEmpty())
                openFaxWindow(Sender::Controller);
            else
                activate();
        });
    }
    return preferences;
}

FBReportWindow *AppDelegate::reportWindow()
{
    if (!m_reportWindow) {
        m_reportWindow = new FBReportWindow;
        m_reportWindow->setExtendedToolbar(FBUserDefaults::boolForKey(kShowExtendedToolbarKey));
        connect(m_reportWindow, &FBReportWindow::sendAgainRequested, this, &AppDelegate::sendAgain);
    }
    return m_reportWindow;
}

void AppDelegate::showReportWindow()
{
    reportWindow()->showReportWindow();
}

void AppDelegate::showSendReport()
{
    if (m_popup && m_popup->isVisible())
        m_popup->close();
    m_popup.clear();
    reportWindow()->showSendReport();
}

void AppDelegate::showReports()
{
    showReportWindow();
}

void AppDelegate::newFax()
{
    openFaxWindow(Sender::Menu);
}

void AppDelegate::sendAgain(const QString &pdfPath, const QString &number)
{
    processFaxFileForPath(pdfPath, true);
    const PhoneBookEntryPtr entry = PhoneBook::sharedInstance()->entryForStoredNumber(number);
    destinationNumber = number;
    m_window->receiverField->setObjectValue({entry && !entry->isAdHoc()
                                                 ? QVariant(TokenSearchField::tokenForEntry(*entry))
                                                 : QVariant(number)});
}

void AppDelegate::addManualPreferences()
{
    preferences()->addPreferences();
}

void AppDelegate::openPreferences()
{
    preferences()->openPreferenceWindow();
}

bool AppDelegate::isAppConfigured() const
{
    QString problem;
    return CommandSupport::isAccountConfigured(&problem);
}

void AppDelegate::newFaxForFile(const QString &path, const QString &toNumber)
{
    processFaxFileForPath(path, true);
    if (!toNumber.isEmpty()) {
        destinationNumber = toNumber;
        m_window->receiverField->setObjectValue({toNumber});
    }
}

void AppDelegate::newFaxToNumber(const QString &number)
{
    if (!number.isEmpty())
        openFaxWindowWithNumber(number);
}

bool AppDelegate::openFile(const QString &path)
{
    processFaxFileForPath(path, true);
    return true;
}

void AppDelegate::activate()
{
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

void AppDelegate::openFaxWindowWithNumber(const QString &number)
{
    destinationNumber = number;
    // The number is shown as a receiver, not searched for as if typed.
    m_window->receiverField->setObjectValue({number});
    openFaxWindow(Sender::None);
}

void AppDelegate::openFaxWindow(Sender sender)
{
    if (sender != Sender::None) {
        destinationNumber.clear();
        m_window->receiverField->setObjectValue({});
    }
    _receiverNumbers.clear();
    m_undo->clear();
    // Deliberately stopped: a copy or a preparation still running belongs to the document
    // that goes, and would show its pages in the empty window.
    ++m_openSerial;
    ++m_preparationSerial;
    if (m_preparation)
        m_preparation->kill();
    m_window->sffProgressIndicator->hide();
    m_shownPreparation = 0;
    m_processedComplete = false;
    FXFaxFileManager::deleteAllTempFiles();
    _hasCoverSheet = false;
    if (m_coverWindow) {
        m_coverWindow->hide();
        m_coverWindow->clearFields();
        m_coverWindow->useCoverSheet->setChecked(true);
    }
    m_window->document->close();
    m_window->statusPagesLabel->clear();
    m_documentPath.clear();
    activate();
    if (!m_window->isShowingProgress())
        closeStatus();
    if (destinationNumber.isEmpty())
        m_window->receiverField->setFocus();
    if (sender == Sender::Menu) {
        // Beside the first thumbnails, just under the toolbar.
        const QPoint top = m_window->centralWidget()->mapTo(m_window, QPoint(0, 0));
        if (FBPopover *help =
                showPopover(FXText("help_newfax"),
                            QPoint(m_window->collectionView->x() + 100, top.y() - 15), false))
            QTimer::singleShot(8000, help, &QWidget::close);
    }
    loadBalance();
    updateActions();
}

void AppDelegate::processFaxFileForPath(const QString &path, bool clearNumber)
{
    m_window->document->close();
    _hasCoverSheet = false;
    if (clearNumber)
        openFaxWindow(Sender::Controller);
    // The copy into the working folder runs off the window's thread: a large document must
    // not freeze it. A newer document overtakes an older one still being copied.
    const quint64 serial = ++m_openSerial;
    const auto refuse = [this, clearNumber, path](const QString &problem) {
        qCWarning(lcApp, "Cannot read the document %s: %s", qUtf8Printable(path),
                  qUtf8Printable(problem));
        if (clearNumber) {
            alert(FXText("plugin_error_header"), FXText("plugin_error_body"),
                  [] { MVPDFServices::openFaxonPluginURL(); });
        }
    };
    auto source = std::make_shared<QFile>();
    QString problem;
    if (!FBRegularFile::openForReading(path, source.get(), &problem) || source->size() == 0
        || source->size() > kMaximumDocumentBytes) {
        refuse(problem.isEmpty() ? QStringLiteral("empty or too large") : problem);
        activate();
        return;
    }
    const QString copy = QDir(FXFaxFileManager::workingFolder())
                             .filePath(QStringLiteral("_opening-%1.pdf").arg(serial));
    m_window->sffProgressIndicator->show();
    auto *watcher = new QFutureWatcher<QString>(this);
    connect(
        watcher, &QFutureWatcher<QString>::finished, this, [this, watcher, serial, copy, refuse] {
            watcher->deleteLater();
            const QString copyProblem = watcher->result();
            if (serial != m_openSerial) {
                QFile::remove(copy);
                return;
            }
            m_window->sffProgressIndicator->hide();
            const QString originale = FXFaxFileManager::filePathForOriginale();
            if (copyProblem.isEmpty()
                && std::rename(QFile::encodeName(copy).constData(),
                               QFile::encodeName(originale).constData())
                       == 0) {
                m_documentPath = originale;
                processSFFForData();
            } else {
                QFile::remove(copy);
                refuse(copyProblem.isEmpty() ? QStringLiteral("cannot keep a copy") : copyProblem);
            }
        });
    watcher->setFuture(QtConcurrent::run([source, copy] {
        QString copyProblem;
        FBRegularFile::copyInto(source.get(), copy, kMaximumDocumentBytes, &copyProblem);
        return copyProblem;
    }));
    activate();
}

void AppDelegate::processSFFForData()
{
    const bool conversionOnly = std::exchange(m_conversionOnly, false);
    if (!conversionOnly)
        m_processedComplete = false;
    if (!isAppConfigured() || m_documentPath.isEmpty())
        return;
    // An older preparation ends through its finished handler, which throws its files away.
    if (m_preparation)
        m_preparation->kill();
    const quint64 serial = ++m_preparationSerial;
    m_window->sffProgressIndicator->show();

    // Each preparation writes files of its own; the newest one's becomes the processed fax
    // file, an older one's is thrown away. While it works, it keeps the pages so far in a
    // preview file, which is shown as it grows.
    const QDir folder(FXFaxFileManager::workingFolder());
    const QString output = folder.filePath(QStringLiteral("_preview-%1.pdf").arg(serial));
    const QString preview = folder.filePath(QStringLiteral("_preview-%1-partial.pdf").arg(serial));
    QStringList arguments = QStringList{QStringLiteral("prepare"), m_documentPath, output}
                            + preparationOptions(_documentType, _documentTypeThreshold)
                            + QStringList{QStringLiteral("--preview"), preview};
    // Deliberately, beyond preparing the document again, a new conversion of pages already
    // shown prepares the page in view first and shows it among the pages shown so far, so
    // that a threshold slider's effect shows at once; the other pages follow.
    m_restyleSerial = 0;
    if (conversionOnly && m_processedComplete && m_shownPreparation != 0) {
        m_restyleSerial = serial;
        m_restylePage = m_window->pdfView->pageNavigator()->currentPage();
        arguments << QStringLiteral("--visible-page") << QString::number(m_restylePage + 1)
                  << QStringLiteral("--previous")
                  << FXFaxFileManager::filePathForProcessedFaxFile();
    }
    QProcess *process =
        arguments.join(QString()).contains(QLatin1Char('\n')) ? nullptr : takeSparePreparation();
    const bool waiting = process != nullptr;
    if (!waiting)
        process = newPreparationProcess();
    m_preparation = process;
    auto *deadline = new QTimer(process);
    deadline->setSingleShot(true);
    connect(deadline, &QTimer::timeout, process, [process] {
        qCWarning(lcApp, "Page preparation took too long and is stopped");
        process->kill();
    });
    // The helper prints "preview N" lines while it works and the page count at the end.
    auto lastLine = std::make_shared<QByteArray>();
    connect(process, &QProcess::readyReadStandardOutput, this,
            [this, process, preview, serial, lastLine] {
                while (process->canReadLine()) {
                    const QByteArray line = process->readLine(64).trimmed();
                    if (serial != m_preparationSerial)
                        continue;
                    bool counted = false;
                    const int pages = line.startsWith("preview ") ? line.mid(8).toInt(&counted) : 0;
                    if (!counted || pages <= 0) {
                        *lastLine = line;
                    } else if (serial != m_restyleSerial) {
                        showPreparedDocument(preview, pages, serial, false);
                    } else if (pages >= m_window->document->pageCount()) {
                        // A new conversion never shows fewer pages than are shown.
                        showPreparedDocument(preview, pages, serial, false);
                    }
                }
                // A line too long to be ours is dropped.
                if (process->bytesAvailable() > 64)
                    process->readAll();
            });
    connect(process, &QProcess::finished, this,
            [this, process, output, preview, serial, lastLine](int exitCode,
                                                               QProcess::ExitStatus status) {
                process->deleteLater();
                QFile::remove(preview);
                if (serial != m_preparationSerial) {
                    QFile::remove(output);
                    return;
                }
                m_window->sffProgressIndicator->hide();
                // The next preparation waits ready while the window is idle.
                startSparePreparation();
                if (const QByteArray rest = process->readAllStandardOutput().trimmed();
                    !rest.isEmpty() && rest.size() < 64)
                    *lastLine = rest;
                bool counted = false;
                const int pages = lastLine->toInt(&counted);
                if (status != QProcess::NormalExit || exitCode != 0 || !counted) {
                    QFile::remove(output);
                    qCWarning(lcApp, "Page preparation failed: %s",
                              process->readAllStandardError().trimmed().constData());
                    m_window->document->close();
                    m_shownPreparation = 0;
                    m_processedComplete = false;
                    m_window->statusPagesLabel->setText(pagesText(0));
                    alert(FXText("plugin_error_header"), FXText("plugin_error_body"),
                          [] { MVPDFServices::openFaxonPluginURL(); });
                    Q_EMIT documentPrepared(0);
                    return;
                }
                const QString processed = FXFaxFileManager::filePathForProcessedFaxFile();
                QFile::remove(processed);
                if (QFile::rename(output, processed))
                    m_processedComplete = true;
                else
                    qCWarning(lcApp, "Cannot keep the prepared pages as %s",
                              qUtf8Printable(processed));
                showPreparedDocument(processed, pages, serial, true);
            });
    connect(process, &QProcess::errorOccurred, this, [this, process](QProcess::ProcessError e) {
        if (e == QProcess::FailedToStart) {
            qCWarning(lcApp, "Cannot start page preparation: %s",
                      qUtf8Printable(process->errorString()));
            m_window->sffProgressIndicator->hide();
            process->deleteLater();
            Q_EMIT documentPrepared(0);
        }
    });
    deadline->start(prepareDeadlineMs);
    if (waiting) {
        process->write(arguments.mid(1).join(QLatin1Char('\n')).toLocal8Bit() + "\n\n");
        process->closeWriteChannel();
    } else {
        process->setArguments(arguments);
        process->start();
    }
}

QProcess *AppDelegate::newPreparationProcess()
{
    auto *process = new QProcess(this);
    process->setProgram(preparationProgram());
    process->setProcessChannelMode(QProcess::SeparateChannels);
    // Below the window: drawing the pages it shows goes before preparing the others.
    process->setChildProcessModifier([] { ::setpriority(PRIO_PROCESS, 0, 10); });
    return process;
}

void AppDelegate::startSparePreparation()
{
    if (m_sparePreparation || !isAppConfigured())
        return;
    // Deliberately, beyond preparing on demand, the next preparation is started ahead, its
    // libraries bound at start, and waits for its arguments: a threshold change then shows
    // without the program's start-up.
    QProcess *spare = newPreparationProcess();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LD_BIND_NOW"), QStringLiteral("1"));
    spare->setProcessEnvironment(environment);
    spare->setArguments({QStringLiteral("prepare"), QStringLiteral("--arguments-on-stdin")});
    connect(spare, &QProcess::finished, this, [spare] { spare->deleteLater(); });
    spare->start();
    m_sparePreparation = spare;
}

QProcess *AppDelegate::takeSparePreparation()
{
    QProcess *spare = std::exchange(m_sparePreparation, nullptr);
    if (!spare)
        return nullptr;
    spare->disconnect(this);
    if (spare->state() == QProcess::Running && spare->program() == preparationProgram())
        return spare;
    spare->kill();
    spare->waitForFinished(1000);
    spare->deleteLater();
    return nullptr;
}

void AppDelegate::showPreparedDocument(const QString &path, int pageCount, quint64 serial,
                                       bool complete)
{
    // Deliberately, pages are shown while they are prepared, not only at the end. Pages shown
    // earlier by this preparation stay as they are: the thumbnails already drawn, the scroll
    // position and the chosen page; only the first showing scrolls to the top. A new
    // conversion of the pages shown keeps the view too, and its thumbnails are drawn anew.
    const bool growing = m_shownPreparation == serial;
    const bool restyled = serial == m_restyleSerial;
    const bool keepView = growing || restyled;
    const int scrolled = m_window->pdfView->verticalScrollBar()->value();
    const int current = m_window->collectionView->currentIndex().row();
    // The first showing of a new conversion holds the pages shown before but for the one in
    // view (and one a conversion before it changed).
    if (restyled && !complete) {
        m_window->thumbnails->setReload(FBPageThumbnailModel::Reload::Keep,
                                        {m_restylePage, m_composedPage});
        m_composedPage = m_restylePage;
    } else {
        m_window->thumbnails->setReload(restyled  ? FBPageThumbnailModel::Reload::Redraw
                                        : growing ? FBPageThumbnailModel::Reload::Keep
                                                  : FBPageThumbnailModel::Reload::Clear);
        m_composedPage = -1;
    }
    m_window->document->load(path);
    m_window->thumbnails->setReload(FBPageThumbnailModel::Reload::Clear);
    m_shownPreparation = serial;
    m_window->statusPagesLabel->setText(pagesText(pageCount));
    m_window->pdfView->verticalScrollBar()->setValue(keepView ? scrolled : 0);
    if (keepView && current >= 0)
        m_window->collectionView->setCurrentIndex(m_window->thumbnails->index(current));
    updateActions();
    if (!keepView) {
        if (destinationNumber.isEmpty())
            m_window->receiverField->setFocus();
        else
            m_window->focusSendButton();
    }
    Q_EMIT pagesShown(pageCount);
    if (complete)
        Q_EMIT documentPrepared(pageCount);
}

void AppDelegate::changeDocumentType(int documentType)
{
    const bool changed = documentType != _documentType;
    _documentType = documentType;
    m_window->documentTypeTextItem->setChecked(documentType == 0);
    m_window->documentTypeMixedItem->setChecked(documentType != 0);
    if (documentType == 0)
        showThresholdPopover();
    if (changed && m_shownPreparation != 0) {
        m_conversionOnly = true;
        processSFFForData();
    }
}

void AppDelegate::showThresholdPopover()
{
    if (m_popup)
        m_popup->close();
    if (!m_window->isVisible())
        return;
    auto *popover = new FBPopover(FXText("threshold_hint"), m_window);
    popover->setObjectName(QStringLiteral("thresholdPopover"));
    popover->textLabel()->setMaximumWidth(280);
    auto *title = new QLabel(FXText("threshold_title"));
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    auto *slider = new QSlider(Qt::Horizontal);
    slider->setObjectName(QStringLiteral("thresholdSlider"));
    slider->setRange(0, 4);
    slider->setPageStep(1);
    slider->setTickPosition(QSlider::TicksBelow);
    slider->setTickInterval(1);
    slider->setValue(std::clamp(_documentTypeThreshold, 0, 4));
    slider->setAccessibleName(FXText("threshold_title"));
    const auto describe = [slider](int level) {
        slider->setAccessibleDescription(FXText("threshold_level").arg(level + 1).arg(5));
    };
    describe(slider->value());
    auto *light = new QLabel(FXText("threshold_light"));
    auto *dark = new QLabel(FXText("threshold_dark"));
    auto *ends = new QHBoxLayout;
    ends->addWidget(light);
    ends->addStretch();
    ends->addWidget(dark);
    auto *layout = static_cast<QVBoxLayout *>(popover->layout());
    layout->insertWidget(0, title);
    layout->insertWidget(2, slider);
    layout->insertLayout(3, ends);
    connect(slider, &QSlider::valueChanged, this, [this, describe](int level) {
        describe(level);
        changeThreshold(level);
    });
    m_popup = popover;
    const QRect type = m_window->documentTypeRect();
    popover->showAt(m_window, QPoint(type.center().x(), type.bottom() + 2));
    slider->setFocus();
}

void AppDelegate::changeThreshold(int level)
{
    if (level == _documentTypeThreshold)
        return;
    _documentTypeThreshold = level;
    if (m_shownPreparation != 0) {
        m_conversionOnly = true;
        processSFFForData();
    }
}

FBCoverWindow *AppDelegate::coverWindow()
{
    if (!m_coverWindow) {
        m_coverWindow = new FBCoverWindow(m_window);
        connect(m_coverWindow, &FBCoverWindow::coverSheetOK, this, &AppDelegate::coverSheetOK);
    }
    return m_coverWindow;
}

void AppDelegate::openCoverSheet()
{
    // The action shows whether the document has a cover; choosing it opens the window.
    updateActions();
    coverWindow()->openCoverSheet();
}

void AppDelegate::coverSheetOK()
{
    FBCoverWindow *window = coverWindow();
    const auto apply = [this, window] {
        if (!window->useCoverSheet->isChecked()) {
            refreshCoverSheet(false, _hasCoverSheet);
            _hasCoverSheet = false;
            return;
        }
        // The form's values, dated today; an empty To or From line carries no caption.
        const FXCoverPage::Fields fields = window->editedFields();
        window->coverView->setFields(fields);
        window->coverView->setCaptionsShown(!fields.to.isEmpty(), !fields.from.isEmpty());
        FXFaxFileManager::writeFaxCoverFileForData(window->coverView->pdfData());
        refreshCoverSheet(true, _hasCoverSheet);
        _hasCoverSheet = true;
    };
    // A cover that is the whole document goes with it, which cannot be undone.
    const bool coverAlone = _hasCoverSheet && m_window->document->pageCount() <= 1;
    if (m_documentPath.isEmpty() || (coverAlone && !window->useCoverSheet->isChecked()))
        apply();
    else
        editPages(FXText("toolbar_cover_sheet"), apply);
    window->hide();
    window->coverView->setCaptionsShown(true, true);
    updateActions();
}

void AppDelegate::refreshCoverSheet(bool use, bool hasExisting)
{
    const QUrl cover = FXFaxFileManager::fileURLForFaxCover();
    if (use) {
        if (!m_documentPath.isEmpty()) {
            const QUrl document = QUrl::fromLocalFile(m_documentPath);
            FXPDFGenerator::combineCoverSheet(cover, document, document, hasExisting);
        } else {
            m_documentPath = FXFaxFileManager::filePathForOriginale();
            FXPDFGenerator::combinePDFURLs({cover}, FXFaxFileManager::fileURLForOriginale(), false);
        }
        processSFFForData();
        return;
    }
    if (!hasExisting || !QFile::exists(FXFaxFileManager::filePathForFaxCover())
        || m_documentPath.isEmpty())
        return;
    const QUrl document = QUrl::fromLocalFile(m_documentPath);
    // The assembly keeps at least one page; a cover that is the whole document is removed as
    // a file.
    if (FXPDFGenerator::pageCount(document) == 1)
        QFile::remove(m_documentPath);
    else
        FXPDFGenerator::removePage(1, document, document);
    FXFaxFileManager::deleteFaxCoverFile();
    if (QFile::exists(m_documentPath)) {
        processSFFForData();
        return;
    }
    // Deliberately, a cover that was the whole document leaves the window empty, rather than
    // preparing a document that no longer exists.
    ++m_preparationSerial;
    if (m_preparation)
        m_preparation->kill();
    m_window->sffProgressIndicator->hide();
    m_window->document->close();
    m_window->statusPagesLabel->clear();
    m_shownPreparation = 0;
    m_processedComplete = false;
    m_documentPath.clear();
}

void AppDelegate::sendFax()
{
    if (m_window->document->status() != QPdfDocument::Status::Ready
        || m_window->document->pageCount() < 1) {
        alert(FXText("error_empty_document_title"), FXText("error_empty_document"));
        return;
    }
    QVariantList tokens = m_window->receiverField->objectValue();
    if (tokens.isEmpty()) {
        alert(FXText("error"), FXText("error_empty_number"));
        return;
    }
    for (QVariant &token : tokens) {
        if (token.typeId() != QMetaType::QString)
            continue;
        // Deliberately resolved: after an address book change the field may name an entry by
        // its uniqueID in a text token, which is no number to dial.
        if (const PhoneBookEntryPtr entry =
                PhoneBook::sharedInstance()->entryForUniqueID(token.toString())) {
            token = TokenSearchField::tokenForEntry(*entry);
            continue;
        }
        // A typed text that is no number ("Person 1") is never sent to the digits it holds.
        const FXReceiverCheck::Result checked =
            FXReceiverCheck::check(token.toString(), {}, FXPhoneNumber::region());
        if (checked.kind == FXReceiverCheck::Result::Refused) {
            alert(FXText("error"), FXText("error_invalid_receiver").arg(token.toString()));
            return;
        }
    }
    _receiverNumbers = tokens;
    sendFaxTask();
}

void AppDelegate::sendFaxTask()
{
    openStatus();
    delete m_connection;
    m_connection = new FXFaxConnection(this);
    m_connection->setDelegate(this);
    m_connection->setDocumentType(_documentType);
    m_connection->setDocumentTypeThreshold(_documentTypeThreshold);
    // Deliberately the cover as it is in the document, not the window's check box, which is on
    // for every new fax: the journal would otherwise claim a cover for faxes that have none.
    m_connection->setUseCoverSheet(_hasCoverSheet);
    m_connection->setCoverSubject(
        _hasCoverSheet && m_coverWindow ? m_coverWindow->coverView->fields().subject : QString());
    QFile originale(FXFaxFileManager::filePathForOriginale());
    const QByteArray data =
        originale.open(QIODevice::ReadOnly) ? originale.readAll() : QByteArray();
    m_connection->startSendingFaxForPDFData(data, _receiverNumbers);
}

void AppDelegate::openStatus()
{
    m_window->showProgressSlot(true);
    m_window->cancelButton->setEnabled(_receiverNumbers.size() > 1);
    const QString text = FXText("sendFax").arg(currentReceiverPhoneName());
    m_window->faxStatusLabel->setText(text);
    m_window->progressLabelText->setText(text);
}

void AppDelegate::closeStatus()
{
    m_window->showProgressSlot(false);
    m_window->progressLabelText->setText(FXText("receiver"));
    updateActions();
}

QString AppDelegate::currentReceiverPhoneName() const
{
    if (_receiverNumbers.isEmpty())
        return QString();
    const QVariant &first = _receiverNumbers.first();
    if (first.typeId() == QMetaType::QString)
        return first.toString();
    if (first.typeId() != QMetaType::QVariantMap)
        return QString();
    const QVariantMap token = first.toMap();
    if (const PhoneBookEntryPtr entry = PhoneBook::sharedInstance()->entryForUniqueID(
            token.value(QStringLiteral("uniqueID")).toString()))
        return entry->displayString();
    // Deliberately the number when the person has left the address book meanwhile.
    return token.value(QStringLiteral("unifiedPhoneNumber")).toString();
}

void AppDelegate::errorWithMessage(const QString &message)
{
    m_window->faxStatusLabel->setText(
        QStringLiteral("%1 (%2)").arg(FXText("fax_unavailable"), message));
}

void AppDelegate::showStatusHelp(int tag)
{
    const QByteArray key = FBLocalization::statusHelpKey(tag);
    const QByteArray detail = key + "_detail";
    showPopover(QStringLiteral("%1\n\n%2").arg(FXText(key.constData()), FXText(detail.constData())),
                outcomePoint());
}

FBPopover *AppDelegate::showPopover(const QString &text, const QPoint &point, bool takesInput)
{
    if (m_popup)
        m_popup->close();
    if (!m_window->isVisible())
        return nullptr;
    m_popup = new FBPopover(text, m_window, takesInput);
    m_popup->showAt(m_window, point);
    return m_popup;
}

QPoint AppDelegate::outcomePoint() const
{
    const QPoint top = m_window->centralWidget()->mapTo(m_window, QPoint(0, 0));
    return QPoint(m_window->collectionView->width() + m_window->pdfView->width() - 35,
                  top.y() - 15);
}

void AppDelegate::loadBalance()
{
    if (!isAppConfigured())
        return;
    auto *check = new FXAccountCheck(this);
    connect(check, &FXAccountCheck::finished, this, [this, check] {
        check->deleteLater();
        if (m_window->isShowingProgress())
            return;
        if (check->hasBalance())
            m_window->faxStatusLabel->setText(FXAccountCheck::balanceText(check->balance()));
        else if (!check->transportError().isEmpty())
            errorWithMessage(check->transportError());
    });
    check->start();
}

void AppDelegate::addPage()
{
    if (!m_window->isVisible())
        openFaxWindow(Sender::Controller);
    const QString path = QFileDialog::getOpenFileName(m_window, FXText("toolbar_add_pages"),
                                                      QDir::homePath(), FXText("pdf_filter"));
    if (!path.isEmpty())
        addPageFromPath(path);
}

void AppDelegate::addPageFromPath(const QString &path)
{
    if (m_documentPath.isEmpty()) {
        if (destinationNumber.isEmpty())
            m_window->receiverField->setFocus();
        m_documentPath = FXFaxFileManager::filePathForOriginale();
        processFaxFileForPath(path, false);
        return;
    }
    QFile file;
    QString problem;
    if (!FBRegularFile::openForReading(path, &file, &problem)
        || file.size() > kMaximumDocumentBytes) {
        alert(FXText("plugin_error_header"), FXText("plugin_error_body"));
        return;
    }
    FXFaxFileManager::writeFaxAppendFileForData(file.readAll());
    editPages(FXText("toolbar_add_pages"), [] {
        FXPDFGenerator::combinePDFURLs(
            {FXFaxFileManager::fileURLForOriginale(), FXFaxFileManager::fileURLForFaxAppend()},
            FXFaxFileManager::fileURLForOriginale(), false);
    });
    processSFFForData();
}

void AppDelegate::deletePage()
{
    if (m_window->document->pageCount() < 2 || m_documentPath.isEmpty())
        return;
    const QModelIndex current = m_window->collectionView->currentIndex();
    if (!current.isValid())
        return;
    const QUrl url = QUrl::fromLocalFile(m_documentPath);
    const uint page = uint(current.row() + 1);
    editPages(FXText("toolbar_delete_page"), [this, page, url] {
        FXPDFGenerator::removePage(page, url, url);
        // Without its cover page the document starts with one of the user's.
        _hasCoverSheet = _hasCoverSheet && page != 1;
    });
    processSFFForData();
}

void AppDelegate::draggingMovedPDFDocumentPagesAtIndexes(const QList<qsizetype> &indexes,
                                                         qsizetype toIndex)
{
    if (m_documentPath.isEmpty() || m_window->isShowingProgress())
        return;
    const QByteArray originale = FXPDFGenerator::movePagesAtIndexes(
        indexes, toIndex, FXFaxFileManager::fileURLForOriginale());
    // The cover page stays a cover page only where it stays in front.
    const QList<qsizetype> order =
        FXPageMove::movedOrder(indexes, toIndex, m_window->document->pageCount());
    const bool coverStays = _hasCoverSheet && !order.isEmpty() && order.first() == 0;
    if (m_preparation && m_preparation->state() != QProcess::NotRunning) {
        // Deliberately, the pages are prepared again in their new order: the processed file
        // is not complete yet, and the running preparation would replace it in the old one.
        if (originale.isEmpty())
            return;
        editPages(FXText("move_pages"), [this, &originale, coverStays] {
            FXFaxFileManager::writeOriginaleFileForData(originale);
            _hasCoverSheet = coverStays;
        });
        processSFFForData();
        return;
    }
    const QByteArray processed = FXPDFGenerator::movePagesAtIndexes(
        indexes, toIndex, FXFaxFileManager::fileURLForProcessedFaxFile());
    if (originale.isEmpty() || processed.isEmpty())
        return;
    editPages(FXText("move_pages"), [this, &originale, coverStays] {
        FXFaxFileManager::writeOriginaleFileForData(originale);
        _hasCoverSheet = coverStays;
    });
    m_window->document->close();
    const QString path = FXFaxFileManager::writeProcessedFaxFileForData(processed);
    m_window->document->load(path);
    updateActions();
}

void AppDelegate::editPages(const QString &name, const std::function<void()> &edit)
{
    // Deliberately, an edit records whether page 1 is a cover page before and after, so that
    // undo brings the cover and that state back together.
    PageEdit::State before{snapshotOfOriginale(), _hasCoverSheet};
    edit();
    PageEdit::State after{before.document ? snapshotOfOriginale() : nullptr, _hasCoverSheet};
    updateActions();
    if (!after.document) {
        qCWarning(lcApp, "This page edit cannot be undone: no copy of the document");
        return;
    }
    m_undo->push(new PageEdit(name, std::move(before), std::move(after), [this](bool cover) {
        _hasCoverSheet = cover;
        updateActions();
        processSFFForData();
    }));
}

void AppDelegate::changedProgress(double progress, int toState, const QString &title,
                                  const QString &forDestinationNumber, const QString &errorReason,
                                  const QString &errorReasonTitle, const Fax &forFax)
{
    Q_UNUSED(progress)
    _lastState = toState;
    switch (toState) {
    case 0:
    case 1:
        m_window->progressLabelText->setText(title);
        break;
    case 2:
        m_window->faxStatusLabel->setText(title);
        closeStatus();
        m_window->progressLabelText->setText(title);
        m_reportName = forFax.file();
        if (FBUserDefaults::boolForKey(kQuitOnSuccessKey)) {
            m_notifications->showNotificationWithTitle(FXText("fax_to").arg(forDestinationNumber),
                                                       FXText("fax_succeeded_quit"));
            QTimer::singleShot(1000, qApp, &QCoreApplication::quit);
        } else {
            m_notifications->showNotificationWithTitle(FXText("fax_to").arg(forDestinationNumber),
                                                       title);
            loadBalance();
            showPopover(title, outcomePoint());
        }
        Q_EMIT sendFinished(toState);
        break;
    case -1:
        closeStatus();
        m_window->progressLabelText->setText(title);
        m_window->faxStatusLabel->setText(title);
        m_reportName = forFax.file();
        m_notifications->showNotificationWithTitle(FXText("fax_to").arg(forDestinationNumber),
                                                   title);
        if (FBPopover *failure = showPopover(
                errorReasonTitle.isEmpty() ? title : title + QLatin1Char('\n') + errorReasonTitle,
                outcomePoint())) {
            bool isCode = false;
            const int code = errorReason.toInt(&isCode);
            if (isCode && code > 0) {
                auto *help = new QPushButton(FXText("status_help"));
                help->setAccessibleName(FXText("status_help"));
                failure->buttons()->addWidget(help);
                connect(help, &QPushButton::clicked, this, [this, code] { showStatusHelp(code); });
                failure->adjustSize();
            }
        }
        Q_EMIT sendFinished(toState);
        break;
    default:
        break;
    }
}

void AppDelegate::sendingAllFaxCompleted(FXFaxConnection *connection)
{
    Q_UNUSED(connection)
    if (m_window->isShowingProgress())
        closeStatus();
}

void AppDelegate::updateActions()
{
    const bool sending = m_window->isShowingProgress();
    const bool hasDocument = m_window->document->status() == QPdfDocument::Status::Ready
                             && m_window->document->pageCount() > 0;
    m_window->deletePageAction->setEnabled(!sending && m_window->document->pageCount() >= 2);
    m_window->sendAction->setEnabled(!sending && hasDocument
                                     && !m_window->receiverField->objectValue().isEmpty());
    m_window->coverSheetAction->setChecked(_hasCoverSheet);
}

// A window-modal alert. With onDefault, it offers "refresh" (the default) and "cancel".
void AppDelegate::alert(const QString &title, const QString &text,
                        const std::function<void()> &onDefault)
{
    if (alertHook) {
        if (alertHook(title, text) && onDefault)
            onDefault();
        return;
    }
    auto *box = new QMessageBox(QMessageBox::Warning, title, text, QMessageBox::NoButton, m_window);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::WindowModal);
    if (onDefault) {
        QPushButton *refresh = box->addButton(FXText("refresh"), QMessageBox::AcceptRole);
        box->addButton(FXText("cancel"), QMessageBox::RejectRole);
        box->setDefaultButton(refresh);
        connect(box, &QMessageBox::finished, this, [box, refresh, onDefault] {
            if (box->clickedButton() == refresh)
                onDefault();
        });
    } else {
        box->addButton(QMessageBox::Ok);
    }
    box->open();
}

void AppDelegate::setupPhoneTokens()
{
    PhoneBook *book = PhoneBook::sharedInstance();
    if (!_isBound)
        connect(book, &PhoneBook::PhoneBookDidChangeNotification, this,
                &AppDelegate::phoneBookDidChange);
    _isBound = true;
    m_window->receiverField->setResultsController(m_phoneEntries);
    m_window->receiverField->setObjectValue({});
    m_phoneEntries->setContent(book->allEntries());
}

void AppDelegate::phoneBookDidChange(PhoneBook *phoneBook)
{
    TokenSearchField *field = m_window->receiverField;
    // The list is the phone book's, in its new state; a search being typed runs again.
    m_phoneEntries->setContent(phoneBook->allEntries());
    // Deliberately the chips only: the text being typed is left alone while the address
    // book changes.
    const QVariantList tokens = field->tokens();
    const PhoneBookEntryPtr entry =
        tokens.isEmpty() ? nullptr : phoneBook->entryForNumber(tokens.first());
    if (entry)
        field->setTokens({entry->uniqueID()});
    else
        field->setTokens(tokens); // drawn again from the new phone book
    if (!field->editedText().isEmpty())
        field->textDidChange();
}

QVariant AppDelegate::representedObjectForEditingString(TokenSearchField *,
                                                        const QString &editingString)
{
    return editingString;
}

QString AppDelegate::displayStringForRepresentedObject(TokenSearchField *,
                                                       const QVariant &representedObject)
{
    const bool isEntry = representedObject.typeId() == QMetaType::QVariantMap;
    const QVariantMap token = representedObject.toMap();
    const QString uniqueID =
        isEntry ? token.value(QStringLiteral("uniqueID")).toString() : representedObject.toString();
    if (const PhoneBookEntryPtr entry = PhoneBook::sharedInstance()->entryForUniqueID(uniqueID))
        return entry->displayStringName();
    // Deliberately the number of an entry that has left the address book rather than the
    // map itself.
    return isEntry ? token.value(QStringLiteral("unifiedPhoneNumber")).toString()
                   : representedObject.toString();
}

bool AppDelegate::hasMenuForRepresentedObject(TokenSearchField *, const QVariant &representedObject)
{
    return representedObject.typeId() == QMetaType::QVariantMap;
}

QMenu *AppDelegate::menuForRepresentedObject(TokenSearchField *tokenField,
                                             const QVariant &representedObject)
{
    auto *menu = new QMenu(QStringLiteral("TokenMenu"), tokenField);
    menu->setObjectName(QStringLiteral("TokenMenu"));
    PhoneBook *book = PhoneBook::sharedInstance();
    const QString uniqueID = representedObject.toMap().value(QStringLiteral("uniqueID")).toString();
    if (const PhoneBookEntryPtr entry = book->entryForUniqueID(uniqueID)) {
        const QList<PhoneBookEntryPtr> numbers =
            book->filteredEntriesUsingPredicate(FXPredicate::comparison(
                QStringLiteral("ABRecordID"), QStringLiteral("="), entry->ABRecordID()));
        const QVariantList tokens = tokenField->objectValue();
        for (const PhoneBookEntryPtr &number : numbers) {
            QAction *item = menu->addAction(number->phoneString());
            item->setCheckable(true);
            item->setChecked(std::any_of(tokens.cbegin(), tokens.cend(), [&](const QVariant &t) {
                const QVariantMap map = t.toMap();
                return map.value(QStringLiteral("ABRecordID")).toString() == number->ABRecordID()
                       && map.value(QStringLiteral("uniqueID")).toString() == number->uniqueID();
            }));
            item->setData(number->uniqueID());
            connect(item, &QAction::triggered, this, [this, item] { changeNumber(item); });
        }
    }
    const QString unified = FXPhoneNumber::unifiedPhoneNumber(QGuiApplication::clipboard()->text());
    if (!unified.isEmpty() && unified.size() <= 24) {
        menu->addSeparator();
        QAction *item = menu->addAction(QStringLiteral("%1 %2").arg(FXText("clipboard"), unified));
        item->setObjectName(QStringLiteral("insertPasteboard"));
        item->setData(unified);
        connect(item, &QAction::triggered, this, [this, item] { insertPasteboard(item); });
    }
    return menu;
}

FXPredicate AppDelegate::searchPredicateForSearchString(const QString &searchString)
{
    return FXRecipientSearch::searchPredicateForSearchString(searchString);
}

bool AppDelegate::searchStringNarrows(const QString &previous, const QString &next)
{
    return FXRecipientSearch::searchStringNarrows(previous, next);
}

void AppDelegate::tokenAdded(const QVariant &)
{}

void AppDelegate::changeNumber(QAction *sender)
{
    const PhoneBookEntryPtr chosen =
        PhoneBook::sharedInstance()->entryForUniqueID(sender->data().toString());
    if (!chosen)
        return;
    QVariantList tokens = m_window->receiverField->objectValue();
    for (QVariant &token : tokens) {
        if (token.toMap().value(QStringLiteral("ABRecordID")).toString() == chosen->ABRecordID())
            token = TokenSearchField::tokenForEntry(*chosen);
    }
    m_window->receiverField->setObjectValue(tokens);
}

void AppDelegate::insertPasteboard(QAction *sender)
{
    m_window->receiverField->setStringValue(sender->data().toString());
    m_window->receiverField->setFocus();
}
