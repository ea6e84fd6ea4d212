#pragma once

#include "app/FBFaxDocumentTarget.h"
#include "app/FBPopover.h"
#include "app/TokenSearchField.h"
#include "sending/FXFaxConnectionDelegate.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantList>

#include <functional>

class FBCoverWindow;
class FBMainWindow;
class FBNotificationCenter;
class FBReportWindow;
class PhoneBook;
class PreferencesController;
class PhoneEntriesController;

class FXFaxConnection;
class QProcess;
class QUndoStack;

// The desktop application's controller: it owns the main fax window, accepts documents (the
// command line, D-Bus, the print queue's spool, drag and drop), prepares the fax pages in the
// background, edits the pages, and starts and follows a send.
class AppDelegate : public QObject,
                    public FBFaxDocumentTarget,
                    public FXFaxConnectionDelegate,
                    public TokenSearchFieldDelegate
{
    Q_OBJECT

public:
    explicit AppDelegate(QObject *parent = nullptr);
    ~AppDelegate() override;

    // Preparation runs in `faxolino prepare`, a process of its own, so that a document that
    // hangs or crashes the renderer never takes the window with it. The program is this one
    // unless set (tests); the deadline covers a whole document.
    static void setPrepareProgram(const QString &path);
    static void setPrepareDeadlineMs(int ms);
    // Modal questions go through this hook when set (tests): it gets the title and the text
    // and answers whether the default button was chosen.
    static void setAlertHook(std::function<bool(const QString &, const QString &)> hook);

    void applicationDidFinishLaunching();
    bool isAppConfigured() const;
    // The preferences closed: the recipient field is wired to the phone book if it was not,
    // and a document that arrived before the account was set up is prepared now.
    void activateSettings();
    // The preferences window, for a first setup (the account page, and the fax window when it
    // closes) or for a later visit.
    void addManualPreferences();
    void openPreferences();

    // FBFaxDocumentTarget
    void newFaxForFile(const QString &path, const QString &toNumber) override;
    void newFaxToNumber(const QString &number) override;
    bool openFile(const QString &path) override;
    void activate() override;
    void newFax() override;
    void showReports() override;

    enum class Sender { Menu, Controller, None };
    void openFaxWindow(Sender sender);
    void openFaxWindowWithNumber(const QString &number);
    void processFaxFileForPath(const QString &path, bool clearNumber);
    void processSFFForData();
    // Text (0) or mixed (1); a shown document is prepared again. Text also opens the
    // threshold popover.
    void changeDocumentType(int documentType);
    // The popover under the document type control with the threshold slider, light to dark.
    void showThresholdPopover();
    // A new threshold level (0 to 4); a shown document is prepared again, the page in view
    // first.
    void changeThreshold(int level);
    int documentType() const { return _documentType; }
    int documentTypeThreshold() const { return _documentTypeThreshold; }

    // The cover window, made when first asked for.
    FBCoverWindow *coverWindow();
    void openCoverSheet();
    // Applies the cover window's form: the cover page goes in front of the document, replacing
    // an earlier one, or a cover put there before is taken away.
    void coverSheetOK();
    void refreshCoverSheet(bool use, bool hasExisting);
    // Page 1 of the document is a cover page made here.
    bool hasCoverSheet() const { return _hasCoverSheet; }

    void sendFax();
    void sendFaxTask();
    void openStatus();
    void closeStatus();
    QString currentReceiverPhoneName() const;
    void errorWithMessage(const QString &message);
    // The help for a provider status code: its text and its detail ("0X1F4", "0X1F4_detail").
    void showStatusHelp(int tag);
    // The one bubble shown at a time (help, success or failure), or null.
    FBPopover *popup() const { return m_popup; }
    void loadBalance();

    // The report window, made when first asked for.
    FBReportWindow *reportWindow();
    void showReportWindow();
    // The newest fax's report; the bubble by the send button goes.
    void showSendReport();
    // A new fax of pages sent before, to the number they went to.
    void sendAgain(const QString &pdfPath, const QString &number);

    void addPage();
    void addPageFromPath(const QString &path);
    void deletePage();
    void draggingMovedPDFDocumentPagesAtIndexes(const QList<qsizetype> &indexes, qsizetype toIndex);

    // FXFaxConnectionDelegate
    void changedProgress(double progress, int toState, const QString &title,
                         const QString &forDestinationNumber, const QString &errorReason,
                         const QString &errorReasonTitle, const Fax &forFax) override;
    void sendingAllFaxCompleted(FXFaxConnection *connection) override;

    // The recipient field searches the phone book and shows its names.
    void setupPhoneTokens();
    void phoneBookDidChange(PhoneBook *phoneBook);
    PhoneEntriesController *phoneEntriesController() const { return m_phoneEntries; }

    // TokenSearchFieldDelegate
    QVariant representedObjectForEditingString(TokenSearchField *tokenField,
                                               const QString &editingString) override;
    QString displayStringForRepresentedObject(TokenSearchField *tokenField,
                                              const QVariant &representedObject) override;
    bool hasMenuForRepresentedObject(TokenSearchField *tokenField,
                                     const QVariant &representedObject) override;
    QMenu *menuForRepresentedObject(TokenSearchField *tokenField,
                                    const QVariant &representedObject) override;
    FXPredicate searchPredicateForSearchString(const QString &searchString) override;
    bool searchStringNarrows(const QString &previous, const QString &next) override;
    void tokenAdded(const QVariant &token) override;
    // Menu items of a receiver: another number of the person, the number on the clipboard.
    void changeNumber(QAction *sender);
    void insertPasteboard(QAction *sender);

    FBMainWindow *mainWindow() const { return m_window; }
    QUndoStack *undoStack() const { return m_undo; }
    QString destinationNumber;

Q_SIGNALS:
    // Pages of a preparation are shown: first the pages so far, as they are prepared.
    void pagesShown(int pageCount);
    // A preparation ended and its pages (possibly none) are shown.
    void documentPrepared(int pageCount);
    void sendFinished(int state);

private:
    PreferencesController *preferences();
    void alert(const QString &title, const QString &text,
               const std::function<void()> &onDefault = {});
    void showPreparedDocument(const QString &path, int pageCount, quint64 serial, bool complete);
    QProcess *newPreparationProcess();
    void startSparePreparation();
    // The waiting preparation when it can take arguments; null otherwise.
    QProcess *takeSparePreparation();
    void updateActions();
    FBPopover *showPopover(const QString &text, const QPoint &point, bool takesInput = true);
    // Where the outcome of a send is shown: by the send button, above the preview's right end.
    QPoint outcomePoint() const;
    // Runs a page edit of the unprocessed document so that it can be undone: the document
    // before and after is kept in the working folder.
    void editPages(const QString &name, const std::function<void()> &edit);

    FBMainWindow *m_window;
    FBReportWindow *m_reportWindow = nullptr;
    FBCoverWindow *m_coverWindow = nullptr;
    int _documentType = 0;
    int _documentTypeThreshold = 2;
    int _lastState = 0;
    bool _hasCoverSheet = false;
    bool _didLaunch = false;
    bool _isBound = false;
    bool m_preferencesConnected = false;
    QVariantList _receiverNumbers;
    QString m_documentPath;
    QPointer<QProcess> m_preparation;
    // The next preparation, started ahead and waiting for its arguments.
    QPointer<QProcess> m_sparePreparation;
    quint64 m_openSerial = 0; // of the newest document being copied in
    quint64 m_preparationSerial = 0;
    quint64 m_shownPreparation = 0; // whose pages the window shows
    // The processed fax file holds every page of the document as it stands.
    bool m_processedComplete = false;
    // The next preparation only converts the pages differently: same pages, same order.
    bool m_conversionOnly = false;
    quint64 m_restyleSerial = 0; // the preparation that does so, or 0
    int m_restylePage = 0;       // the page in view it prepares first, from 0
    int m_composedPage = -1;     // the page shown that differs from the processed fax file
    FXFaxConnection *m_connection = nullptr;
    FBNotificationCenter *m_notifications;
    PhoneEntriesController *m_phoneEntries;
    QUndoStack *m_undo;
    QPointer<FBPopover> m_popup;
    QString m_reportName; // of the fax that ended last
};
