// Feeds arbitrary bytes to the vCard reader as the contents of a .vcf file. Whatever it makes
// of them must keep what the phone book relies on: a refusal reads nothing and says why, a
// phone number is never empty nor longer than the limit, and no phone identifier belongs to
// two persons or twice to one.

#include "recipients/FXVCardReader.h"

#include <QHash>
#include <QLoggingCategory>
#include <QSet>

#include <glib.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

[[noreturn]] void fail(const char *what, const QString &detail)
{
    std::fprintf(stderr, "%s: %s\n", what, qUtf8Printable(detail));
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // Every odd card would log its problem.
    QLoggingCategory::setFilterRules(QStringLiteral("faxolino.*=false"));
    FXVCardReader::routeLibraryWarnings();
    // GLib reports a call it refuses (a null where a value belongs, a wrong object) as a
    // critical and carries on; most likely the reader's fault, so it ends the run here.
    g_log_set_always_fatal(GLogLevelFlags(G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_ERROR));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    FXVCardReader::Contents contents;
    QString error;
    if (!FXVCardReader::readData(bytes, QStringLiteral("/fuzz/cards.vcf"), &contents, &error)) {
        if (error.isEmpty())
            fail("refused without a reason", QString());
        if (!contents.persons.isEmpty() || !contents.groups.isEmpty())
            fail("refused, but read cards", error);
        return 0;
    }

    // The same UID in two cards is the same person, so only another person may not share an
    // identifier.
    QHash<QString, QString> owners;
    for (const FXAddressBookPerson &person : std::as_const(contents.persons)) {
        if (person.uniqueId.isEmpty())
            fail("a person without an id", person.firstName);
        QSet<QString> own;
        for (const FXAddressBookPerson::Phone &phone : person.phones) {
            if (phone.value.isEmpty() || phone.value.size() > FXVCardReader::maxPhoneValueLength)
                fail("phone value out of bounds", phone.value);
            const auto owner = owners.constFind(phone.identifier);
            if (own.contains(phone.identifier)
                || (owner != owners.cend() && *owner != person.uniqueId))
                fail("phone identifier used twice", phone.identifier);
            own.insert(phone.identifier);
            owners.insert(phone.identifier, person.uniqueId);
        }
    }
    return 0;
}
