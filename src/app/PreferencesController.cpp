#include "app/PreferencesController.h"

#include "app/MVPDFServices.h"
#include "foundation/FBAccountCredentials.h"
#include "foundation/FBLocalization.h"
#include "foundation/FBUserDefaults.h"
#include "foundation/FXLogging.h"
#include "foundation/KeychainUtils.h"
#include "provider/VXProvider.h"
#include "provider/VXRestConnection.h"
#include "recipients/FXAddressBook.h"
#include "sending/FXAccountCheck.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QCloseEvent>
#include <QComboBox>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QProgressBar>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QStyle>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

PreferencesController *sharedInstance = nullptr;
std::function<bool(const QString &, const QString &)> alertHook;

const QString kGeometryKey = QStringLiteral("PreferencesWindow/geometry");
constexpr int kAnimationMs = 180;

// The label text without its mnemonic and colon, as a control's accessible name.
QString plainText(const QString &text)
{
    QString plain = text;
    plain.remove(QRegularExpression(QStringLiteral("&(?!&)")));
    plain.replace(QLatin1String("&&"), QLatin1String("&"));
    while (plain.endsWith(u':') || plain.endsWith(u' ') || plain.endsWith(u'…'))
        plain.chop(1);
    return plain;
}

QLabel *buddyLabel(const char *key, QWidget *buddy)
{
    auto *label = new QLabel(FXText(key));
    label->setBuddy(buddy);
    buddy->setAccessibleName(plainText(label->text()));
    return label;
}

QPushButton *button(const char *key)
{
    auto *pushButton = new QPushButton(FXText(key));
    pushButton->setAccessibleName(plainText(pushButton->text()));
    return pushButton;
}

} // namespace

PreferencesController *PreferencesController::sharedController()
{
    if (!sharedInstance) {
        sharedInstance = new PreferencesController;
        // Widgets must go before the application object does.
        QObject::connect(qApp, &QCoreApplication::aboutToQuit, [] {
            delete sharedInstance;
            sharedInstance = nullptr;
        });
    }
    return sharedInstance;
}

void PreferencesController::setAlertHook(std::function<bool(const QString &, const QString &)> hook)
{
    alertHook = std::move(hook);
}

PreferencesController::PreferencesController(QWidget *parent)
    : QMainWindow(parent)
{
    setObjectName(QStringLiteral("PreferencesWindow"));
    setWindowTitle(FXText("toolbar_preferences"));
    setUnifiedTitleAndToolBarOnMac(true);

    m_toolbar = addToolBar(FXText("preferences_toolbar"));
    m_toolbar->setObjectName(QStringLiteral("PreferencesToolbar"));
    m_toolbar->setMovable(false);
    m_toolbar->setFloatable(false);
    m_toolbar->toggleViewAction()->setEnabled(false);
    m_toolbar->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    setContextMenuPolicy(Qt::NoContextMenu);

    auto *pages = new QActionGroup(this);
    generalToolbarItem = pages->addAction(
        QIcon::fromTheme(QStringLiteral("avatar-default"),
                         QIcon::fromTheme(QStringLiteral("system-users"),
                                          style()->standardIcon(QStyle::SP_DirHomeIcon))),
        FXText("preferences_account"));
    generalToolbarItem->setObjectName(QStringLiteral("GlobalToolbarItemIdentifier"));
    generalToolbarItem->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_1));
    systemToolbarItem =
        pages->addAction(QIcon::fromTheme(QStringLiteral("preferences-system"),
                                          style()->standardIcon(QStyle::SP_ComputerIcon)),
                         FXText("preferences_system"));
    systemToolbarItem->setObjectName(QStringLiteral("SystemToolbarItemIdentifier"));
    systemToolbarItem->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_2));
    for (QAction *item : {generalToolbarItem, systemToolbarItem}) {
        item->setCheckable(true);
        item->setToolTip(QStringLiteral("%1 (%2)").arg(
            item->text(), item->shortcut().toString(QKeySequence::NativeText)));
        m_toolbar->addAction(item);
    }
    connect(pages, &QActionGroup::triggered, this,
            &PreferencesController::toggleActivePreferenceView);

    auto *closeAction = new QAction(this);
    closeAction->setShortcuts(QKeySequence::Close);
    connect(closeAction, &QAction::triggered, this, &QWidget::close);
    addAction(closeAction);

    activeContentView = new QWidget;
    activeContentView->setObjectName(QStringLiteral("activeContentView"));
    auto *contentLayout = new QVBoxLayout(activeContentView);
    contentLayout->setContentsMargins(0, 0, 0, 0);
    contentLayout->setSpacing(0);
    setCentralWidget(activeContentView);

    generalView = buildGeneralView();
    systemPreferenceView = buildSystemPreferenceView();
    for (QWidget *page : {generalView, systemPreferenceView}) {
        page->setParent(this);
        page->hide();
    }

    restoreGeometry(QSettings().value(kGeometryKey).toByteArray());
    setActiveView(generalView, false);
    generalToolbarItem->setChecked(true);
}

PreferencesController::~PreferencesController()
{
    ++m_checkSerial;
    if (m_connection) {
        m_connection->setDelegate(nullptr);
        delete m_connection.data();
    }
}

QWidget *PreferencesController::buildGeneralView()
{
    auto *page = new QWidget;
    page->setObjectName(QStringLiteral("generalView"));

    userName = new QLineEdit;
    userName->setObjectName(QStringLiteral("userName"));
    password = new QLineEdit;
    password->setObjectName(QStringLiteral("password"));
    password->setEchoMode(QLineEdit::Password);
    for (QLineEdit *field : {userName, password}) {
        field->installEventFilter(this);
        connect(field, &QLineEdit::textEdited, this, [this, field] {
            m_editing[field] = true;
            if (field == password)
                m_passwordUnreadable = false;
        });
        connect(field, &QLineEdit::returnPressed, this, [this, field] {
            if (m_editing.value(field)) {
                m_editing[field] = false;
                controlTextDidEndEditing(field);
            }
        });
    }

    fritzModell = new QLabel;
    fritzModell->setObjectName(QStringLiteral("fritzModell"));
    fritzModell->setWordWrap(true);
    fritzModell->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    fritzModell->setMinimumHeight(fontMetrics().height());
    fritzModellProgress = new QProgressBar;
    fritzModellProgress->setObjectName(QStringLiteral("fritzModellProgress"));
    fritzModellProgress->setRange(0, 0);
    fritzModellProgress->setTextVisible(false);
    fritzModellProgress->setMaximumWidth(fontMetrics().averageCharWidth() * 12);
    fritzModellProgress->setAccessibleName(FXText("preferences_checking"));
    fritzModellProgress->hide();
    // The line keeps its height whether the indicator spins or not.
    QSizePolicy keepSpace = fritzModellProgress->sizePolicy();
    keepSpace.setRetainSizeWhenHidden(true);
    fritzModellProgress->setSizePolicy(keepSpace);
    auto *balanceRow = new QHBoxLayout;
    balanceRow->addWidget(fritzModell, 1);
    balanceRow->addWidget(fritzModellProgress);
    auto *balanceLabel = new QLabel(FXText("preferences_account_state"));
    fritzModell->setAccessibleName(plainText(balanceLabel->text()));

    faxLinesPopup = new QComboBox;
    faxLinesPopup->setObjectName(QStringLiteral("faxLinesPopup"));
    faxLinesPopup->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    faxLinesPopup->setMinimumContentsLength(16);
    faxLinesPopup->setEnabled(false);
    connect(faxLinesPopup, &QComboBox::activated, this, &PreferencesController::faxLineChanged);

    auto *account = new QFormLayout;
    account->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    account->addRow(buddyLabel("preferences_username", userName), userName);
    account->addRow(buddyLabel("preferences_password", password), password);
    account->addRow(balanceLabel, balanceRow);
    account->addRow(buddyLabel("preferences_fax_line", faxLinesPopup), faxLinesPopup);

    faxID = new QLineEdit;
    faxID->setObjectName(QStringLiteral("faxID"));
    // What a receiving machine shows as the sender's identification holds 20 characters.
    faxID->setMaxLength(20);
    faxID->setPlaceholderText(FXText("preferences_fax_id_placeholder"));
    faxHeader = new QLineEdit;
    faxHeader->setObjectName(QStringLiteral("faxHeader"));
    faxHeader->setMaxLength(80);
    faxHeader->setPlaceholderText(FXText("preferences_fax_header_placeholder"));
    connect(faxID, &QLineEdit::editingFinished, this,
            [this] { FBUserDefaults::setObject(faxID->text(), kFaxIDKey); });
    connect(faxHeader, &QLineEdit::editingFinished, this,
            [this] { FBUserDefaults::setObject(faxHeader->text(), kFaxHeaderKey); });
    auto *headerBox = new QGroupBox(FXText("preferences_page_header"));
    auto *header = new QFormLayout(headerBox);
    header->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    header->addRow(buddyLabel("preferences_fax_id", faxID), faxID);
    header->addRow(buddyLabel("preferences_fax_header", faxHeader), faxHeader);

    auto *helpRow = new QHBoxLayout;
    helpRow->addStretch(1);
    helpRow->addWidget(addHelpButton("preferences_help_account"));

    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(20, 20, 20, 16);
    layout->addLayout(account);
    layout->addSpacing(8);
    layout->addWidget(headerBox);
    layout->addStretch(1);
    layout->addLayout(helpRow);
    return page;
}

QWidget *PreferencesController::buildSystemPreferenceView()
{
    auto *page = new QWidget;
    page->setObjectName(QStringLiteral("systemPreferenceView"));

    // The print queue.
    serviceInstalledImage = new QLabel;
    serviceInstalledImage->setObjectName(QStringLiteral("serviceInstalledImage"));
    serviceInstalledImage->setFixedSize(32, 32);
    serviceInstalledLabel = new QLabel;
    serviceInstalledLabel->setObjectName(QStringLiteral("serviceInstalledLabel"));
    serviceInstalledLabel->setWordWrap(true);
    serviceInstallButton = new QPushButton;
    serviceInstallButton->setObjectName(QStringLiteral("serviceInstallButton"));
    connect(serviceInstallButton, &QPushButton::clicked, this,
            &PreferencesController::installPDFService);
    serviceHelpText = new QLabel;
    serviceHelpText->setObjectName(QStringLiteral("serviceHelpText"));
    serviceHelpText->setWordWrap(true);
    serviceHelpText->setTextInteractionFlags(Qt::TextSelectableByMouse
                                             | Qt::TextSelectableByKeyboard);
    copyCommandButton = button("preferences_copy_command");
    copyCommandButton->setObjectName(QStringLiteral("copyCommandButton"));
    copyCommandButton->setIcon(QIcon::fromTheme(QStringLiteral("edit-copy")));
    copyCommandButton->hide();
    connect(copyCommandButton, &QPushButton::clicked, this,
            [this] { QGuiApplication::clipboard()->setText(m_adminCommand); });

    auto *printerBox = new QGroupBox(FXText("preferences_printer"));
    auto *printer = new QGridLayout(printerBox);
    printer->addWidget(serviceInstalledImage, 0, 0, Qt::AlignTop);
    printer->addWidget(serviceInstalledLabel, 0, 1);
    printer->addWidget(serviceInstallButton, 0, 2, Qt::AlignTop);
    printer->addWidget(serviceHelpText, 1, 1, 1, 2);
    auto *printerButtons = new QHBoxLayout;
    printerButtons->addWidget(copyCommandButton);
    printerButtons->addStretch(1);
    printerButtons->addWidget(addHelpButton("preferences_help_printer"));
    printer->addLayout(printerButtons, 2, 1, 1, 2);
    printer->setColumnStretch(1, 1);

    // The transmission reports.
    reportPathTextField = new QLineEdit;
    reportPathTextField->setObjectName(QStringLiteral("reportPathTextField"));
    reportPathTextField->setReadOnly(true);
    selectReportPathButton = button("preferences_choose");
    selectReportPathButton->setObjectName(QStringLiteral("selectReportPathButton"));
    connect(selectReportPathButton, &QPushButton::clicked, this,
            &PreferencesController::selectReportPath);
    saveSendDocument = new QCheckBox(FXText("preferences_save_send_document"));
    saveSendDocument->setObjectName(QStringLiteral("saveSendDocument"));
    connect(saveSendDocument, &QCheckBox::toggled, this,
            [](bool on) { FBUserDefaults::setObject(on, kSaveSendDocumentKey); });

    auto *reportsBox = new QGroupBox(FXText("preferences_reports"));
    auto *reports = new QGridLayout(reportsBox);
    reports->addWidget(buddyLabel("preferences_report_folder", reportPathTextField), 0, 0);
    reports->addWidget(reportPathTextField, 0, 1);
    reports->addWidget(selectReportPathButton, 0, 2);
    reports->addWidget(saveSendDocument, 1, 0, 1, 2);
    reports->addWidget(addHelpButton("preferences_help_reports"), 1, 2, Qt::AlignRight);
    reports->setColumnStretch(1, 1);

    // The vCard files of the phone book.
    auto *vCardHint = new QLabel(FXText("preferences_vcards_hint"));
    vCardHint->setWordWrap(true);
    vCardSources = new QListWidget;
    vCardSources->setObjectName(QStringLiteral("vCardSources"));
    vCardSources->setAccessibleName(FXText("preferences_vcards"));
    vCardSources->setSelectionMode(QAbstractItemView::ExtendedSelection);
    vCardSources->setTextElideMode(Qt::ElideMiddle);
    vCardSources->setFixedHeight(fontMetrics().lineSpacing() * 4 + 8);
    addVCardFileButton = button("preferences_add_vcard_file");
    addVCardFileButton->setObjectName(QStringLiteral("addVCardFileButton"));
    addVCardFolderButton = button("preferences_add_vcard_folder");
    addVCardFolderButton->setObjectName(QStringLiteral("addVCardFolderButton"));
    removeVCardSourceButton = button("preferences_remove_vcard");
    removeVCardSourceButton->setObjectName(QStringLiteral("removeVCardSourceButton"));
    removeVCardSourceButton->setEnabled(false);
    connect(addVCardFileButton, &QPushButton::clicked, this, [this] { addVCardSource(false); });
    connect(addVCardFolderButton, &QPushButton::clicked, this, [this] { addVCardSource(true); });
    connect(removeVCardSourceButton, &QPushButton::clicked, this,
            &PreferencesController::removeVCardSource);
    connect(vCardSources, &QListWidget::itemSelectionChanged, this, [this] {
        removeVCardSourceButton->setEnabled(!vCardSources->selectedItems().isEmpty());
    });
    auto *vCardButtons = new QVBoxLayout;
    vCardButtons->addWidget(addVCardFileButton);
    vCardButtons->addWidget(addVCardFolderButton);
    vCardButtons->addWidget(removeVCardSourceButton);
    vCardButtons->addStretch(1);

    auto *vCardBox = new QGroupBox(FXText("preferences_vcards"));
    auto *vCards = new QGridLayout(vCardBox);
    vCards->addWidget(vCardHint, 0, 0, 1, 2);
    vCards->addWidget(vCardSources, 1, 0);
    vCards->addLayout(vCardButtons, 1, 1);
    vCards->setColumnStretch(0, 1);

    quitOnSuccess = new QCheckBox(FXText("preferences_quit_on_success"));
    quitOnSuccess->setObjectName(QStringLiteral("quitOnSuccess"));
    connect(quitOnSuccess, &QCheckBox::toggled, this,
            [](bool on) { FBUserDefaults::setObject(on, kQuitOnSuccessKey); });

    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(20, 16, 20, 16);
    layout->addWidget(printerBox);
    layout->addWidget(reportsBox);
    layout->addWidget(vCardBox);
    layout->addWidget(quitOnSuccess);
    layout->addStretch(1);
    return page;
}

QToolButton *PreferencesController::addHelpButton(const char *accessibleKey)
{
    auto *help = new QToolButton;
    const int tag = int(helpButtons.size());
    help->setObjectName(QStringLiteral("helpButton%1").arg(tag));
    help->setProperty("tag", tag);
    help->setText(QStringLiteral("?"));
    if (QIcon::hasThemeIcon(QStringLiteral("help-browser")))
        help->setIcon(QIcon::fromTheme(QStringLiteral("help-browser")));
    help->setAccessibleName(FXText(accessibleKey));
    help->setToolTip(FXText(accessibleKey));
    help->setFocusPolicy(Qt::StrongFocus);
    connect(help, &QToolButton::clicked, this, [this, tag] { showHelp(tag); });
    helpButtons.append(help);
    return help;
}

void PreferencesController::openPreferenceWindow()
{
    m_isNewProfile = false;
    showWindow();
}

void PreferencesController::addPreferences()
{
    m_isNewProfile = true;
    showWindow();
}

void PreferencesController::showWindow()
{
    m_unlockRequested = false;
    loadPreferences();
    pdfServiceSetup();
    show();
    raise();
    activateWindow();
}

void PreferencesController::toggleActivePreferenceView(QAction *sender)
{
    const QString identifier = sender ? sender->objectName() : QString();
    if (identifier == QLatin1String("GlobalToolbarItemIdentifier"))
        setActiveView(generalView, true);
    else if (identifier == QLatin1String("SystemToolbarItemIdentifier"))
        setActiveView(systemPreferenceView, true);
    else
        setActiveView(nullptr, true);
}

int PreferencesController::pageWidth()
{
    // Both pages share one width, so that switching only changes the height.
    int width = fontMetrics().averageCharWidth() * 84;
    for (QWidget *page : {generalView, systemPreferenceView}) {
        page->ensurePolished();
        width = std::max(width, page->minimumSizeHint().width());
    }
    return width;
}

void PreferencesController::setActiveView(QWidget *view, bool animate)
{
    auto *layout = static_cast<QVBoxLayout *>(activeContentView->layout());
    if (m_activeView) {
        layout->removeWidget(m_activeView);
        m_activeView->hide();
    }
    m_activeView = view;
    if (view) {
        layout->addWidget(view);
        view->show();
        // The first control of the page, so that the keyboard works from the start.
        QWidget *first = view->nextInFocusChain();
        while (first != view
               && !(view->isAncestorOf(first) && first->isEnabled() && first->isVisibleTo(view)
                    && (first->focusPolicy() & Qt::TabFocus)))
            first = first->nextInFocusChain();
        if (first != view)
            first->setFocus(Qt::OtherFocusReason);
    }
    resizeToPage(animate);
}

void PreferencesController::resizeToPage(bool animate)
{
    if (m_animation)
        m_animation->stop();
    QSize page(0, 0);
    if (m_activeView) {
        // Sizes are only right once the style has seen the widgets.
        ensurePolished();
        m_activeView->ensurePolished();
        page.setWidth(pageWidth());
        page.setHeight(m_activeView->hasHeightForWidth()
                           ? m_activeView->heightForWidth(page.width())
                           : m_activeView->sizeHint().height());
        page.setHeight(std::max(page.height(), m_activeView->minimumSizeHint().height()));
    }
    const QSize target(std::max(page.width(), m_toolbar->sizeHint().width()),
                       page.height() + m_toolbar->sizeHint().height());
    if (target == size() && minimumSize() == maximumSize())
        return;
    // The frame's top edge stays where it is; the window grows or shrinks at the bottom.
    const QRect to(geometry().topLeft(), target);

    setMinimumSize(0, 0);
    setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    const bool animated =
        animate && isVisible() && QGuiApplication::platformName() != QLatin1String("offscreen");
    if (!animated) {
        setGeometry(to);
        setFixedSize(target);
        return;
    }
    m_animation = new QPropertyAnimation(this, "geometry", this);
    m_animation->setDuration(kAnimationMs);
    m_animation->setEasingCurve(QEasingCurve::InOutQuad);
    m_animation->setStartValue(geometry());
    m_animation->setEndValue(to);
    connect(m_animation, &QPropertyAnimation::finished, this,
            [this, target] { setFixedSize(target); });
    m_animation->start(QAbstractAnimation::DeleteWhenStopped);
}

void PreferencesController::loadPreferences()
{
    faxLinesPopup->clear();
    faxLines.clear();

    const bool hasUser = FBUserDefaults::hasKey(kUsernameKey);
    if (hasUser)
        userName->setText(FBUserDefaults::stringForKey(kUsernameKey));
    FXError error;
    const std::optional<QString> stored = FBAccountCredentials::password(&error);
    m_passwordUnreadable = bool(error);
    if (stored)
        password->setText(*stored);
    m_editing.clear();

    if (error) {
        // A keyring that cannot be read says nothing about the account: no check, and no
        // word of wrong credentials.
        faxLinesPopup->setEnabled(false);
        showKeychainProblem("keychain_unavailable", FBAccountCredentials::describeError(error));
        // A locked keyring is the user's to open: the Secret Service asks for its password,
        // once per showing of the window, and the account is read again when it is open.
        if (error.code == KeychainUtils::InteractionNotAllowed && !m_unlockRequested) {
            m_unlockRequested = true;
            FBAccountCredentials::requestUnlock([self = QPointer(this)](bool unlocked) {
                if (self && unlocked)
                    self->loadPreferences();
            });
        }
    } else if (hasUser && stored) {
        loadBalance();
    } else {
        faxLinesPopup->setEnabled(false);
    }

    showReportPath(FBUserDefaults::reportSavePathForPreferences());
    FBUserDefaults::synchronize();

    faxID->setText(FBUserDefaults::stringForKey(kFaxIDKey));
    faxHeader->setText(FBUserDefaults::stringForKey(kFaxHeaderKey));
    {
        const QSignalBlocker blockSave(saveSendDocument);
        const QSignalBlocker blockQuit(quitOnSuccess);
        // The application turns keeping the pages on at its first start.
        saveSendDocument->setChecked(!FBUserDefaults::hasKey(kSaveSendDocumentKey)
                                     || FBUserDefaults::boolForKey(kSaveSendDocumentKey));
        quitOnSuccess->setChecked(FBUserDefaults::boolForKey(kQuitOnSuccessKey));
    }
    vCardSources->clear();
    vCardSources->addItems(FBUserDefaults::stringListForKey(kVCardSourcesKey));
}

void PreferencesController::loadBalance()
{
    if (userName->text().isEmpty() || password->text().isEmpty())
        return;
    dropConnection();
    fritzModell->clear();
    fritzModellProgress->show();
    // Without a parent the client goes once its last answer was handled. An answer that is
    // empty reaches no delegate, so a check that ends without a balance says so here rather
    // than spinning on.
    auto *connection = new VXRestConnection;
    m_connection = connection;
    const quint64 serial = ++m_checkSerial;
    connect(connection, &QObject::destroyed, this, [this, serial] {
        if (serial != m_checkSerial || fritzModellProgress->isHidden())
            return;
        fritzModellProgress->hide();
        fritzModell->setText(FXText("error"));
        resizeToPage(false);
    });
    connection->setDelegate(this);
    // What the fields hold is what is checked, whatever the keyring did with it.
    connection->setCredentials(userName->text(), password->text());
    connection->balance();
    connection->ownUriList();
}

// A check that is superseded or failed: nothing more of it arrives here.
void PreferencesController::dropConnection()
{
    ++m_checkSerial;
    if (m_connection) {
        m_connection->setDelegate(nullptr);
        m_connection->deleteLater();
        m_connection = nullptr;
    }
}

void PreferencesController::didReceiveBalance(const XmlRpcValue &balance)
{
    fritzModellProgress->hide();
    fritzModell->setText(FXAccountCheck::balanceText(balance));
    resizeToPage(false);
}

void PreferencesController::didReceiveOwnUriList(const XmlRpcValue &ownUriList)
{
    faxLinesPopup->clear();
    faxLines = FXAccountCheck::faxLines(ownUriList);
    for (const XmlRpcValue &line : std::as_const(faxLines))
        faxLinesPopup->addItem(u'+' + line["E164Out"].toString());
    if (faxLines.isEmpty()) {
        faxLinesPopup->setEnabled(false);
        sheet(FXText("error_no_faxuri"), FXText("error_no_faxuri"));
        return;
    }
    // Only shown: the setting changes when the user picks a line.
    faxLinesPopup->setEnabled(true);
    faxLinesPopup->setCurrentIndex(
        int(FXAccountCheck::preselectedLine(faxLines, FBUserDefaults::stringForKey(kLocalUriKey))));
}

void PreferencesController::didFailWithErrorCode(qint64 code)
{
    fritzModellProgress->hide();
    // Deliberately one message: both requests of a check fail alike, and a wrong password
    // would otherwise bring its sheet twice.
    dropConnection();
    if (code == 401) {
        sheet(FXText("error"), FXText("error_auth"));
        fritzModell->clear();
    } else {
        fritzModell->setText(FXText("error"));
    }
    resizeToPage(false);
}

void PreferencesController::didFailWithTransportError(const QString &errorString)
{
    fritzModellProgress->hide();
    dropConnection();
    // Deliberately more than "error": a provider out of reach is said as such, with the reason.
    fritzModell->setText(
        QStringLiteral("%1 (%2)").arg(FXText("fax_unavailable"), errorString.left(200)));
    resizeToPage(false);
}

void PreferencesController::faxLineChanged(int index)
{
    if (index < 0 || index >= faxLines.size())
        return;
    FXAccountCheck::chooseLine(faxLines.at(index));
}

void PreferencesController::controlTextDidEndEditing(QLineEdit *field)
{
    if (field != userName && field != password)
        return;
    // Another account has other lines: the choice is made again.
    FXAccountCheck::forgetLine();
    saveSettings();
    if (m_passwordNotStored)
        return;
    loadBalance();
}

bool PreferencesController::saveSettings()
{
    FBUserDefaults::setObject(userName->text(), kUsernameKey);
    m_passwordNotStored = false;
    // Deliberately kept: a password the keyring would not give (locked) is not replaced by the
    // empty field that shows it.
    if (!(m_passwordUnreadable && password->text().isEmpty())) {
        FXError error;
        if (FBAccountCredentials::storePassword(password->text(), &error)) {
            m_passwordUnreadable = false;
        } else {
            m_passwordNotStored = true;
            showKeychainProblem("keychain_store_failed",
                                FBAccountCredentials::describeError(error));
        }
    }
    FBUserDefaults::setObject(faxID->text(), kFaxIDKey);
    FBUserDefaults::setObject(faxHeader->text(), kFaxHeaderKey);
    return true;
}

void PreferencesController::showKeychainProblem(const char *key, const QString &detail)
{
    fritzModellProgress->hide();
    fritzModell->setText(QStringLiteral("%1 (%2)").arg(FXText(key), detail));
    resizeToPage(false);
}

void PreferencesController::pdfServiceSetup()
{
    const bool installed = MVPDFServices::isPDFServiceInstalled();
    serviceInstalledLabel->setText(
        FXText(installed ? "service_installed" : "service_not_installed"));
    serviceHelpText->setText(FXText("help_use_system"));
    serviceInstallButton->setText(FXText(installed ? "Uninstall" : "Install"));
    serviceInstallButton->setAccessibleName(serviceInstallButton->text());
    serviceInstallButton->show();
    const QIcon picture =
        installed ? QIcon::fromTheme(QStringLiteral("emblem-ok"),
                                     style()->standardIcon(QStyle::SP_DialogApplyButton))
                  : QIcon::fromTheme(QStringLiteral("dialog-warning"),
                                     style()->standardIcon(QStyle::SP_MessageBoxWarning));
    serviceInstalledImage->setPixmap(
        picture.pixmap(serviceInstalledImage->size(), devicePixelRatioF()));
    serviceInstalledImage->setAccessibleName(serviceInstalledLabel->text());
    m_adminCommand.clear();
    copyCommandButton->hide();
}

void PreferencesController::installPDFService()
{
    QString error;
    const bool installed = MVPDFServices::isPDFServiceInstalled();
    const bool changed = installed ? MVPDFServices::uninstallPDFService(&error)
                                   : MVPDFServices::installPDFService(QString(), &error);
    pdfServiceSetup();
    if (changed || error.isEmpty())
        return;
    serviceHelpText->setText(error);
    // A user who may not change printers gets the command for someone who may.
    const QString command =
        installed ? MVPDFServices::manualRemoveCommand() : MVPDFServices::manualInstallCommand();
    if (error == FXText("pdfservice_admin_required").arg(command)) {
        m_adminCommand = command;
        copyCommandButton->show();
    }
    resizeToPage(false);
}

// The start of a long path says more than its end.
void PreferencesController::showReportPath(const QString &path)
{
    reportPathTextField->setText(path);
    reportPathTextField->setCursorPosition(0);
    reportPathTextField->setToolTip(path);
}

QUrl PreferencesController::helpURL(int tag)
{
    return QUrl(QLatin1String(kVXHelpURL) + QString::asprintf("/plugin/faq/#2_%ld", long(tag) + 1));
}

void PreferencesController::showHelp(int tag)
{
    QDesktopServices::openUrl(helpURL(tag));
}

void PreferencesController::selectReportPath()
{
    if (m_reportPathPanel) {
        m_reportPathPanel->raise();
        m_reportPathPanel->activateWindow();
        return;
    }
    auto *panel = new QFileDialog(this, FXText("preferences_choose_report_folder"),
                                  FBUserDefaults::stringForKey(kFaxReportSavePathKey));
    panel->setObjectName(QStringLiteral("reportPathPanel"));
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setAcceptMode(QFileDialog::AcceptOpen);
    panel->setFileMode(QFileDialog::Directory);
    panel->setOption(QFileDialog::ShowDirsOnly);
    connect(panel, &QFileDialog::finished, this, [this, panel](int result) {
        const QString chosen = panel->selectedFiles().value(0);
        if (result != QDialog::Accepted || chosen.isEmpty())
            return;
        const QString folder = QDir::cleanPath(QFileInfo(chosen).absoluteFilePath());
        showReportPath(folder);
        FBUserDefaults::setObject(folder, kFaxReportSavePathKey);
        FBUserDefaults::synchronize();
        // The reports find the folder by these bytes; a path they could not read back
        // keeps only its text.
        const QByteArray bookmark = folder.toUtf8();
        if (QString::fromUtf8(bookmark) != folder || folder.contains(QChar(0))) {
            qCWarning(lcApp, "The report folder cannot be kept as a bookmark");
            return;
        }
        FBUserDefaults::setObject(bookmark, kFaxReportSavePathDataKey);
        FBUserDefaults::synchronize();
    });
    m_reportPathPanel = panel;
    panel->open();
}

QFileDialog *PreferencesController::reportPathPanel() const
{
    return m_reportPathPanel;
}

QFileDialog *PreferencesController::vCardSourcePanel() const
{
    return m_vCardPanel;
}

void PreferencesController::addVCardSource(bool folder)
{
    if (m_vCardPanel)
        m_vCardPanel->close();
    auto *panel = new QFileDialog(
        this, FXText(folder ? "preferences_choose_vcard_folder" : "preferences_choose_vcard_file"),
        QDir::homePath());
    panel->setObjectName(QStringLiteral("vCardSourcePanel"));
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setAcceptMode(QFileDialog::AcceptOpen);
    if (folder) {
        panel->setFileMode(QFileDialog::Directory);
        panel->setOption(QFileDialog::ShowDirsOnly);
    } else {
        panel->setFileMode(QFileDialog::ExistingFiles);
        panel->setNameFilter(FXText("preferences_vcard_filter"));
    }
    connect(panel, &QFileDialog::finished, this, [this, panel](int result) {
        if (result != QDialog::Accepted)
            return;
        QStringList sources = FBUserDefaults::stringListForKey(kVCardSourcesKey);
        const int before = int(sources.size());
        for (const QString &chosen : panel->selectedFiles()) {
            const QString path = QDir::cleanPath(QFileInfo(chosen).absoluteFilePath());
            if (!chosen.isEmpty() && !sources.contains(path))
                sources.append(path);
        }
        if (sources.size() == before)
            return;
        vCardSources->clear();
        vCardSources->addItems(sources);
        storeVCardSources();
    });
    m_vCardPanel = panel;
    panel->open();
}

void PreferencesController::removeVCardSource()
{
    const QList<QListWidgetItem *> selected = vCardSources->selectedItems();
    if (selected.isEmpty())
        return;
    qDeleteAll(selected);
    storeVCardSources();
}

void PreferencesController::storeVCardSources()
{
    QStringList sources;
    for (int row = 0; row < vCardSources->count(); ++row)
        sources.append(vCardSources->item(row)->text());
    FBUserDefaults::setObject(sources, kVCardSourcesKey);
    FBUserDefaults::synchronize();
    FXAddressBook::sharedAddressBook()->reloadSettings();
}

void PreferencesController::sheet(const QString &title, const QString &text)
{
    if (alertHook) {
        alertHook(title, text);
        return;
    }
    auto *box = new QMessageBox(QMessageBox::Warning, windowTitle(), title, QMessageBox::Ok, this);
    if (text != title)
        box->setInformativeText(text);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::WindowModal);
    box->open();
}

bool PreferencesController::eventFilter(QObject *watched, QEvent *event)
{
    auto *field = qobject_cast<QLineEdit *>(watched);
    if (field && (field == userName || field == password)) {
        if (event->type() == QEvent::FocusIn) {
            // The user entering the field begins an edit; the window placing its focus does not.
            const Qt::FocusReason reason = static_cast<QFocusEvent *>(event)->reason();
            if (reason == Qt::MouseFocusReason || reason == Qt::TabFocusReason
                || reason == Qt::BacktabFocusReason || reason == Qt::ShortcutFocusReason)
                m_editing[field] = true;
        } else if (event->type() == QEvent::FocusOut) {
            // Another window taking the focus, or a menu opening, ends no edit.
            const Qt::FocusReason reason = static_cast<QFocusEvent *>(event)->reason();
            if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason
                && m_editing.value(field)) {
                m_editing[field] = false;
                controlTextDidEndEditing(field);
            }
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

void PreferencesController::closeEvent(QCloseEvent *event)
{
    saveSettings();
    QSettings().setValue(kGeometryKey, saveGeometry());
    Q_EMIT ACTIVATESETTINGS();
    if (m_isNewProfile)
        Q_EMIT openFaxWindowRequested();
    event->accept();
}
