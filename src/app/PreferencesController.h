#pragma once

#include "provider/VXRestConnectionDelegate.h"
#include "provider/xmlrpc/XmlRpcValue.h"

#include <QHash>
#include <QMainWindow>
#include <QPointer>
#include <QString>
#include <QUrl>

#include <functional>

class QAction;
class QCheckBox;
class QComboBox;
class QFileDialog;
class QLabel;
class QLineEdit;
class QListWidget;
class QProgressBar;
class QPropertyAnimation;
class QPushButton;
class QToolBar;
class QToolButton;
class VXRestConnection;

// The preferences window: the account (checked with the provider by loading its balance and
// its own numbers), the sending fax line, the text of the page header, and on a second page
// the print queue, the report folder and the other settings. Two pages chosen from the
// toolbar; the window takes the size of the page it shows. Its widgets keep the names the
// rest of the program knows them by.
class PreferencesController : public QMainWindow, public VXRestConnectionDelegate
{
    Q_OBJECT

public:
    // The one window of the application, created on first use.
    static PreferencesController *sharedController();

    explicit PreferencesController(QWidget *parent = nullptr);
    ~PreferencesController() override;

    // Shows the window for a later visit, or for the first setup of an account (closing it
    // then asks for the fax window).
    void openPreferenceWindow();
    void addPreferences();
    bool isNewProfile() const { return m_isNewProfile; }

    // Toolbar: the account page ("GlobalToolbarItemIdentifier") or the system page
    // ("SystemToolbarItemIdentifier"); any other sender shows no page.
    void toggleActivePreferenceView(QAction *sender);
    // Shows a page (or none) and gives the window its size, keeping the top edge in place.
    void setActiveView(QWidget *view, bool animate);
    QWidget *activeView() const { return m_activeView; }

    void loadPreferences();
    // Checks the account in the fields; does nothing unless both are filled.
    void loadBalance();
    bool saveSettings();
    void pdfServiceSetup();

    // The end of an edit of the user name or the password field, changed or not.
    void controlTextDidEndEditing(QLineEdit *field);
    // The user chose a line in faxLinesPopup.
    void faxLineChanged(int index);
    // Opens the folder chooser for the reports; reportPathPanel() while it is open.
    void selectReportPath();
    QFileDialog *reportPathPanel() const;
    // Adds or removes the print queue, whichever is the change.
    void installPDFService();
    // The provider's help page; help buttons are numbered from 0.
    void showHelp(int tag);
    static QUrl helpURL(int tag);
    // vCard sources of the phone book; addVCardSource() opens a chooser for files or a folder.
    void addVCardSource(bool folder);
    QFileDialog *vCardSourcePanel() const;
    void removeVCardSource();

    // VXRestConnectionDelegate
    void didReceiveBalance(const XmlRpcValue &balance) override;
    void didReceiveOwnUriList(const XmlRpcValue &ownUriList) override;
    void didFailWithErrorCode(qint64 code) override;
    void didFailWithTransportError(const QString &errorString) override;

    // Sheets go through this when set (tests): it gets the title and the text.
    static void setAlertHook(std::function<bool(const QString &, const QString &)> hook);

    // The fax lines of the last list of own numbers, in the order of faxLinesPopup.
    XmlRpcList faxLines;

    QAction *generalToolbarItem;
    QAction *systemToolbarItem;
    QWidget *generalView;
    QWidget *systemPreferenceView;
    QWidget *activeContentView;

    QLineEdit *userName;
    QLineEdit *password;
    QComboBox *faxLinesPopup;
    QLabel *fritzModell;
    QProgressBar *fritzModellProgress;
    QLineEdit *faxHeader;
    QLineEdit *faxID;

    QLabel *serviceInstalledImage;
    QLabel *serviceInstalledLabel;
    QPushButton *serviceInstallButton;
    QLabel *serviceHelpText;
    // Shown when changing the queue needs an administrator: copies the command to run.
    QPushButton *copyCommandButton;

    QLineEdit *reportPathTextField;
    QPushButton *selectReportPathButton;
    QCheckBox *saveSendDocument;
    QCheckBox *quitOnSuccess;
    QListWidget *vCardSources;
    QPushButton *addVCardFileButton;
    QPushButton *addVCardFolderButton;
    QPushButton *removeVCardSourceButton;
    // In the order of their tags.
    QList<QToolButton *> helpButtons;

Q_SIGNALS:
    // The window closed, its settings saved.
    void ACTIVATESETTINGS();
    // The window of a first setup closed: the fax window should open now.
    void openFaxWindowRequested();

protected:
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void showWindow();
    // Gives the window the size of the page it shows (after the page's contents changed).
    void resizeToPage(bool animate);
    QWidget *buildGeneralView();
    QWidget *buildSystemPreferenceView();
    QToolButton *addHelpButton(const char *accessibleKey);
    void sheet(const QString &title, const QString &text);
    void showKeychainProblem(const char *key, const QString &detail);
    void dropConnection();
    void storeVCardSources();
    int pageWidth();
    void showReportPath(const QString &path);

    bool m_isNewProfile = false;
    QToolBar *m_toolbar;
    QWidget *m_activeView = nullptr;
    QPointer<VXRestConnection> m_connection;
    // Tells the answers of the current check from those of a dropped one.
    quint64 m_checkSerial = 0;
    QPointer<QFileDialog> m_reportPathPanel;
    QPointer<QFileDialog> m_vCardPanel;
    // An edit of userName or password is under way (focus came, or text was typed since the
    // last end).
    QHash<QLineEdit *, bool> m_editing;
    // The stored password could not be read: an empty field must not replace it.
    bool m_passwordUnreadable = false;
    // An unlock of a locked keyring was asked for since the window was shown.
    bool m_unlockRequested = false;
    // The last saveSettings could not store the password.
    bool m_passwordNotStored = false;
    // What copyCommandButton copies.
    QString m_adminCommand;
    QPointer<QPropertyAnimation> m_animation;
};
