// Builds the phone book from 10,000 persons with three numbers each, kept as one vCard file
// per person the way CardDAV synchronisers store them, then runs the recipient field's search
// for every prefix of ten typed texts, names and numbers.
#include "../support/BenchPeople.h"
#include "foundation/FBLocalization.h"
#include "foundation/FBUserDefaults.h"
#include "recipients/FXAddressBook.h"
#include "recipients/FXPhoneNumber.h"
#include "recipients/FXRecipientSearch.h"
#include "recipients/PhoneBook.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int personCount = 10000;

const char *const typed[] = {"Müller",    "mül",      "Schmidt",   "Zoë",    "Bäcker GmbH",
                             "Katharina", "0171 234", "+49 30 12", "030-98", "4567"};

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("voxaria"));
    QCoreApplication::setApplicationName(QStringLiteral("Faxolino"));
    if (argc < 2) {
        std::fprintf(stderr, "usage: bench_phonebook CONTACTS_FOLDER\n");
        return 2;
    }
    const QString folder = QString::fromLocal8Bit(argv[1]);
    if (!BenchPeople::writePeople(folder, personCount)) {
        std::fprintf(stderr, "bench_phonebook: cannot write %s\n", argv[1]);
        return 1;
    }
    FBLocalization::installCoreCatalog();
    FXPhoneNumber::setRegion(QStringLiteral("DE"));
    FXAddressBook::setSystemAddressBookEnabled(false);
    FBUserDefaults::setObject(QStringList{folder}, kVCardSourcesKey);

    QElapsedTimer clock;
    clock.start();
    PhoneBook *book = PhoneBook::sharedInstance();
    const double buildSeconds = clock.nsecsElapsed() / 1e9;
    if (book->allEntries().size() != personCount * 3) {
        std::fprintf(stderr, "bench_phonebook: %lld entries instead of %d\n",
                     static_cast<long long>(book->allEntries().size()), personCount * 3);
        return 1;
    }

    // Each search runs three times and counts with its fastest run, so that a moment in
    // which the scheduler gave the processor to someone else does not count as search time.
    QList<double> timings;
    qsizetype matches = 0;
    QString slowest;
    double slowestTime = 0;
    for (const char *text : typed) {
        const QString full = QString::fromUtf8(text);
        for (qsizetype length = 1; length <= full.size(); ++length) {
            const QString prefix = full.left(length);
            double fastest = 0;
            for (int run = 0; run < 3; ++run) {
                clock.restart();
                const auto found = book->filteredEntriesUsingPredicate(
                    FXRecipientSearch::searchPredicateForSearchString(prefix));
                const double milliseconds = clock.nsecsElapsed() / 1e6;
                fastest = run == 0 ? milliseconds : std::min(fastest, milliseconds);
                if (run == 0)
                    matches += found.size();
            }
            timings.append(fastest);
            if (fastest > slowestTime) {
                slowestTime = fastest;
                slowest = prefix;
            }
        }
    }
    std::sort(timings.begin(), timings.end());
    const double median =
        timings.size() % 2
            ? timings.at(timings.size() / 2)
            : (timings.at(timings.size() / 2 - 1) + timings.at(timings.size() / 2)) / 2;
    std::printf("phonebook: %d persons, %lld entries, %lld searches, %lld matches\n", personCount,
                static_cast<long long>(book->allEntries().size()),
                static_cast<long long>(timings.size()), static_cast<long long>(matches));
    std::printf("phonebook: slowest search \"%s\"\n", qUtf8Printable(slowest));
    std::printf("BENCH phonebook build=%.3f search_median_ms=%.2f search_max_ms=%.2f\n",
                buildSeconds, median, timings.last());
    return 0;
}
