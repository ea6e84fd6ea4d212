// The recipient field's benchmark: how soon the drop-down shows the results after each key
// while a name is typed, over a phone book of 10,000 persons with three numbers each, against
// Qt's QCompleter over the same entries in the same run. Runs inside an isolated session
// without an account.
//   tokenfield-bench CONTACTS_FOLDER
#include "../support/BenchMeasure.h"
#include "../support/BenchPeople.h"
#include "app/AppDelegate.h"
#include "app/FBMainWindow.h"
#include "app/PhoneEntriesController.h"
#include "app/ResultChildWindow.h"
#include "app/SearchResultView.h"
#include "app/TokenSearchField.h"
#include "foundation/FBLocalization.h"
#include "foundation/FBUserDefaults.h"
#include "recipients/FXAddressBook.h"
#include "recipients/FXPhoneNumber.h"
#include "recipients/PhoneBook.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCompleter>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QLineEdit>
#include <QStringListModel>
#include <QVBoxLayout>

#include <algorithm>
#include <cstdio>
#include <functional>

namespace {

using BenchMeasure::median;
using BenchMeasure::PaintCounter;

constexpr int personCount = 10000;

// Every third person has one of these, so that the typed names find long lists.
const char *const commonLastNames[] = {"Müller", "Schmidt", "Wagner", "Krause"};
// The first name warms up (fonts, first show of the windows); the others are timed.
const char *const typedNames[] = {"Krause", "Müller", "Schmid", "Wagner"};

void sendKey(QWidget *target, QChar character)
{
    const auto key = Qt::Key(character.toUpper().unicode());
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, QString(character));
    QApplication::sendEvent(target, &press);
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, QString(character));
    QApplication::sendEvent(target, &release);
}

struct KeyTime
{
    double total = -1; // from the key to the list's paint; negative when it never painted
    double key = 0;    // until the key event returned (filtering and the list's layout)
};

// From the key to the list's next paint, or to the key's return when the list ends up hidden
// (nothing found).
KeyTime timeKey(QWidget *target, QChar character, const PaintCounter &counter,
                const std::function<bool()> &listHidden)
{
    const int before = counter.paints;
    QElapsedTimer timer;
    timer.start();
    sendKey(target, character);
    KeyTime time;
    time.key = timer.nsecsElapsed() / 1e6;
    while (counter.paints == before && !listHidden()) {
        if (timer.elapsed() > 5000)
            return time;
        QCoreApplication::processEvents();
    }
    time.total = timer.nsecsElapsed() / 1e6;
    return time;
}

void settle(int ms)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
}

// The offscreen platform says on every raise() of the drop-down that it cannot raise windows.
QtMessageHandler defaultHandler = nullptr;

void quietHandler(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (!message.startsWith(QLatin1String("This plugin does not support")))
        defaultHandler(type, context, message);
}

int fail(const char *what)
{
    std::fprintf(stderr, "bench tokenfield: %s\n", what);
    return 1;
}

} // namespace

int main(int argc, char *argv[])
{
    defaultHandler = qInstallMessageHandler(quietHandler);
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("voxaria"));
    QCoreApplication::setApplicationName(QStringLiteral("Faxolino"));
    if (argc < 2) {
        std::fprintf(stderr, "usage: tokenfield-bench CONTACTS_FOLDER\n");
        return 2;
    }
    const QString folder = QString::fromLocal8Bit(argv[1]);
    if (!BenchPeople::writePeople(folder, personCount, [](int i) {
            return i % 3 == 0 ? commonLastNames[(i / 3) % std::size(commonLastNames)] : nullptr;
        }))
        return fail("cannot write the vCards");
    FBLocalization::installCoreCatalog(QLocale(QLocale::English));
    FBLocalization::installCatalog(QStringLiteral(":/app/translations/app"),
                                   QLocale(QLocale::English));
    FXPhoneNumber::setRegion(QStringLiteral("DE"));
    FXAddressBook::setSystemAddressBookEnabled(false);
    FBUserDefaults::setObject(QStringList{folder}, kVCardSourcesKey);

    PhoneBook *book = PhoneBook::sharedInstance();
    if (book->allEntries().size() != personCount * 3)
        return fail("the phone book does not hold 30,000 entries");

    AppDelegate delegate;
    FBMainWindow *window = delegate.mainWindow();
    window->resize(1100, 760);
    delegate.setupPhoneTokens();
    TokenSearchField *field = window->receiverField;
    SearchResultView *view = field->childWindow()->searchResultView();
    PaintCounter ourPaints;
    view->installEventFilter(&ourPaints);

    // The peer: a plain line edit with Qt's completer over the same entries' texts.
    QStringList texts;
    texts.reserve(book->allEntries().size());
    for (const PhoneBookEntryPtr &entry : book->allEntries())
        texts.append(entry->displayString() + u' ' + entry->phoneNumber());
    QWidget peerWindow;
    peerWindow.setAttribute(Qt::WA_ShowWithoutActivating);
    auto *peerEdit = new QLineEdit(&peerWindow);
    (new QVBoxLayout(&peerWindow))->addWidget(peerEdit);
    QStringListModel peerModel(texts);
    QCompleter completer(&peerModel);
    completer.setCompletionMode(QCompleter::PopupCompletion);
    completer.setCaseSensitivity(Qt::CaseInsensitive);
    completer.setFilterMode(Qt::MatchContains);
    peerEdit->setCompleter(&completer);
    QAbstractItemView *popup = completer.popup();
    PaintCounter peerPaints;
    popup->viewport()->installEventFilter(&peerPaints);
    peerWindow.resize(600, 60);
    peerWindow.move(1200, 0);
    peerWindow.show();

    delegate.activate();
    field->editor()->setFocus();
    settle(300);

    // Each name is typed into the field, then into the peer; the peer's popup takes the
    // focus from the field while it is open, so the two never run side by side.
    // Per name, the time of each key: until the list painted / until the key event returned.
    QList<double> ours, peer;
    // Types the name key by key; the keys' times go to `times` unless warming up. Answers the
    // times of each key (until painted / until the key returned), or "" when a key never
    // repainted the list.
    auto typeName = [](QWidget *target, const QString &text, const PaintCounter &counter,
                       const std::function<bool()> &listHidden, QList<double> *times) {
        QString line;
        for (const QChar character : text) {
            const KeyTime time = timeKey(target, character, counter, listHidden);
            if (time.total < 0)
                return QString();
            line += QStringLiteral(" %1/%2").arg(time.total, 0, 'f', 1).arg(time.key, 0, 'f', 1);
            if (times)
                times->append(time.total);
        }
        return line;
    };
    for (const char *name : typedNames) {
        const QString text = QString::fromUtf8(name);
        const bool warmUp = name == typedNames[0];
        QString line = typeName(
            field->editor(), text, ourPaints,
            [&] {
                return !field->childWindow()->isVisible()
                       && field->resultsController()->arrangedObjects().isEmpty();
            },
            warmUp ? nullptr : &ours);
        if (line.isEmpty())
            return fail("the drop-down did not repaint after a key");
        std::fprintf(stderr, "tokenfield %s\"%s\" field:%s ms, %lld results\n",
                     warmUp ? "warm-up " : "", name, qUtf8Printable(line),
                     static_cast<long long>(field->resultsController()->arrangedObjects().size()));
        field->setObjectValue({});
        settle(100);

        // The completer opens or closes its popup within the key; counting its matches there
        // would filter the whole list once more.
        line = typeName(
            peerEdit, text, peerPaints, [&] { return !popup->isVisible(); },
            warmUp ? nullptr : &peer);
        if (line.isEmpty())
            return fail("the completer's popup did not repaint after a key");
        std::fprintf(stderr, "tokenfield %s\"%s\" peer:%s ms, %d results\n",
                     warmUp ? "warm-up " : "", name, qUtf8Printable(line),
                     completer.completionCount());
        popup->hide();
        peerEdit->clear();
        settle(100);
        field->editor()->setFocus();
    }
    if (ourPaints.paints == 0 || peerPaints.paints == 0)
        return fail("no paints were seen");

    const double ourMedian = median(ours);
    const double peerMedian = median(peer);
    std::printf("BENCH tokenfield keystroke_median_ms=%.2f keystroke_max_ms=%.2f "
                "peer_median_ms=%.2f ratio=%.2f\n",
                ourMedian, *std::max_element(ours.begin(), ours.end()), peerMedian,
                ourMedian / peerMedian);
    return 0;
}
