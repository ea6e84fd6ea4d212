#pragma once

// The persons of the phone book benchmarks: names from many languages, companies, groups and
// three numbers each, written as one vCard file per person the way CardDAV synchronisers store
// them. The same seed gives the same people in every run.

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QString>
#include <QTextStream>

#include <functional>
#include <iterator>

namespace BenchPeople {

inline const char *const firstNames[] = {
    "Anna",  "Jürgen", "Zoë",    "Łukasz", "Katharina", "Mehmet", "Sophie", "Björn",
    "Ines",  "Noah",   "Chloé",  "Ayşe",   "Paul",      "Marta",  "Jonas",  "Elif",
    "Lena",  "Tomáš",  "Hannah", "Ole",    "Sven",      "Frieda", "Emil",   "Ida",
    "Leon",  "Mia",    "Ahmet",  "Greta",  "Luis",      "Renée",  "Kai",    "Nele",
    "Felix", "Clara",  "Miloš",  "Oskar",  "Rosa",      "Theo",   "Yasmin", "Anton"};
inline const char *const lastNames[] = {
    "Müller",   "Schmidt",  "Schneider", "Fischer",    "Weber",  "Meyer",   "Wagner",  "Becker",
    "Schulz",   "Hoffmann", "Schäfer",   "Koch",       "Bauer",  "Richter", "Klein",   "Wolf",
    "Schröder", "Neumann",  "Schwarz",   "Zimmermann", "Braun",  "Krüger",  "Hofmann", "Hartmann",
    "Lange",    "Schmitt",  "Werner",    "Schmitz",    "Krause", "Meier",   "Lehmann", "Köhler",
    "Öztürk",   "Kowalski", "Nowak",     "Dvořák",     "García", "Łącki",   "Nguyen",  "Yılmaz"};
inline const char *const companies[] = {
    "Bäcker GmbH",     "Stadtwerke Nord", "Acme AG",      "Kanzlei Roth",
    "Praxis am Markt", "Müller & Söhne",  "Nordlicht KG", ""};

inline QString number(QRandomGenerator &random, const char *prefix)
{
    return QString::fromLatin1(prefix) + QString::number(random.bounded(1000000, 9999999));
}

// Writes `count` persons into `folder`. The last name of person i is lastNameOf(i) where it
// gives one, else drawn from the table.
inline bool writePeople(const QString &folder, int count,
                        const std::function<const char *(int)> &lastNameOf = {})
{
    if (!QDir().mkpath(folder))
        return false;
    QRandomGenerator random(20240611);
    for (int i = 0; i < count; ++i) {
        const char *lastName = lastNameOf ? lastNameOf(i) : nullptr;
        if (!lastName)
            lastName = lastNames[random.bounded(int(std::size(lastNames)))];
        QString card;
        QTextStream out(&card);
        out << "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:bench-" << i << "\r\n"
            << "N:" << lastName << ';' << firstNames[random.bounded(int(std::size(firstNames)))]
            << ";;;\r\n"
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

} // namespace BenchPeople
