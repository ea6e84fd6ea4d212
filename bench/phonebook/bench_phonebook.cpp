// Builds the phone book from 10,000 persons with three numbers each, kept as one vCard file
// per person the way CardDAV synchronisers store them, then runs the recipient field's search
// for every prefix of ten typed texts, names and numbers.
#include "foundation/FBLocalization.h"
#include "foundation/FBUserDefaults.h"
#include "recipients/FXAddressBook.h"
#include "recipients/FXPhoneNumber.h"
#include "recipients/FXRecipientSearch.h"
#include "recipients/PhoneBook.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>
#include <QTextStream>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int personCount = 10000;

const char *const firstNames[] = {
    "Anna",  "Jürgen", "Zoë",    "Łukasz", "Katharina", "Mehmet", "Sophie", "Björn",
    "Ines",  "Noah",   "Chloé",  "Ayşe",   "Paul",      "Marta",  "Jonas",  "Elif",
    "Lena",  "Tomáš",  "Hannah", "Ole",    "Sven",      "Frieda", "Emil",   "Ida",
    "Leon",  "Mia",    "Ahmet",  "Greta",  "Luis",      "Renée",  "Kai",    "Nele",
    "Felix", "Clara",  "Miloš",  "Oskar",  "Rosa",      "Theo",   "Yasmin", "Anton"};
const char *const lastNames[] = {
    "Müller",   "Schmidt",  "Schneider", "Fischer",    "Weber",  "Meyer",   "Wagner",  "Becker",
    "Schulz",   "Hoffmann", "Schäfer",   "Koch",       "Bauer",  "Richter", "Klein",   "Wolf",
    "Schröder", "Neumann",  "Schwarz",   "Zimmermann", "Braun",  "Krüger",  "Hofmann", "Hartmann",
    "Lange",    "Schmitt",  "Werner",    "Schmitz",    "Krause", "Meier",   "Lehmann", "Köhler",
    "Öztürk",   "Kowalski", "Nowak",     "Dvořák",     "García", "Łącki",   "Nguyen",  "Yılmaz"};
const char *const companies[] = {
    "Bäcker GmbH",     "Stadtwerke Nord", "Acme AG",      "Kanzlei Roth",
    "Praxis am Markt", "Müller & Söhne",  "Nordlicht KG", ""};
const char *const typed[] = {"Müller",    "mül",      "Schmidt",   "Zoë",    "Bäcker GmbH",
                             "Katharina", "0171 234", "+49 30 12", "030-98", "4567"};

QString number(QRandomGenerator &random, const char *prefix)
{
    return QString::fromLatin1(prefix) + QString::number(random.bounded(1000000, 9999999));
}

bool writePeople(const QString &folder)
{
    if (!QDir().mkpath(folder))
        return false;
    QRandomGenerator random(20240611);
    for (int i = 0; i < personCount; ++i) {
        QString card;
        QTextStream out(&card);
        out << "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:bench-" << i << "\r\n"
            << "N:" << lastNames[random.bounded(int(std::size(lastNames)))] << ';'
            << firstNames[random.bounded(int(std::size(firstNames)))] << ";;;\r\n"
            << "ORG:" << companies[random.bounded(int(std::size(companies)))] << "\r\n"
            << "CATEGORIES:" << (i % 3 ? "Kunden" : "Familie") << "\r\n"
            << "TEL;TYPE=CELL:" << number(random, "+49 171 ") << "\r\n"
            << "TEL;TYPE=WORK:" << number(random, "030 / ") << "\r\n"
            << "TEL;TYPE=WORK,FAX:" << number(random, "+49 30 12") << "\r\n"
            << "END:VCARD\r\n";
        out.flush();
        QFile file(folder + QStringLiteral("/person-%1.vcf").arg(i));
        if (!file.open(QIODevice::WriteOnly) || file.write(card.toUtf8()) < 0)
            return false;
    }
    return true;
}

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
    if (!writePeople(folder)) {
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
