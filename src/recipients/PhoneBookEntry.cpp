#include "recipients/PhoneBookEntry.h"

#include "foundation/FBLocalization.h"
#include "recipients/FXPersonImageCache.h"
#include "recipients/FXPhoneNumber.h"
#include "recipients/FXPredicate.h"

#include <QUuid>

namespace {

constexpr std::array<const char *, 15> keyNames = {
    "uniqueID",
    "ABRecordID",
    "firstName",
    "middleName",
    "lastName",
    "companyName",
    "phoneNumber",
    "phoneLabel",
    "unifiedPhoneNumber",
    "sortPersonID",
    "firstNameSortPersonID",
    "phoneString",
    "searchableInformation",
    "personImage",
    "bigImage",
};

// The keys the live search compares; their folded forms are kept ready.
bool isSearchedKey(PhoneBookEntry::Key key)
{
    using Key = PhoneBookEntry::Key;
    switch (key) {
    case Key::firstName:
    case Key::middleName:
    case Key::lastName:
    case Key::companyName:
    case Key::phoneNumber:
    case Key::unifiedPhoneNumber:
    case Key::searchableInformation:
        return true;
    default:
        return false;
    }
}

const QString &nullString()
{
    static const QString null;
    return null;
}

} // namespace

std::optional<PhoneBookEntry::Key> PhoneBookEntry::keyForName(QStringView name)
{
    for (size_t i = 0; i < keyNames.size(); ++i) {
        if (name == QLatin1String(keyNames[i]))
            return Key(i);
    }
    return std::nullopt;
}

QString PhoneBookEntry::nameForKey(Key key)
{
    return QLatin1String(keyNames[size_t(key)]);
}

const QString &PhoneBookEntry::value(Key key) const
{
    const int index = int(key);
    return index < textKeyCount ? m_values[index] : nullString();
}

void PhoneBookEntry::foldLazily(int index) const
{
    m_folded[index] =
        m_values[index].isNull() ? QString() : FXPredicate::foldedString(m_values[index]);
    m_foldedValid |= 1u << index;
}

const QString &PhoneBookEntry::nullText()
{
    return nullString();
}

void PhoneBookEntry::setValue(Key key, const QString &value)
{
    const int index = int(key);
    if (index >= textKeyCount)
        return;
    m_values[index] = value;
    if (isSearchedKey(key)) {
        foldLazily(index);
    } else {
        m_folded[index] = QString();
        m_foldedValid &= ~(1u << index);
    }
}

QVariant PhoneBookEntry::valueForKey(const QString &key) const
{
    const auto k = keyForName(key);
    if (!k)
        return QVariant();
    if (*k == Key::personImage)
        return m_personImage.isNull() ? QVariant() : QVariant(m_personImage);
    if (*k == Key::bigImage)
        return m_bigImage.isNull() ? QVariant() : QVariant(m_bigImage);
    const QString &text = value(*k);
    return text.isNull() ? QVariant() : QVariant(text);
}

void PhoneBookEntry::setValueForKey(const QVariant &value, const QString &key)
{
    const auto k = keyForName(key);
    if (!k)
        return;
    if (*k == Key::personImage)
        m_personImage = value.value<QImage>();
    else if (*k == Key::bigImage)
        m_bigImage = value.value<QImage>();
    else
        setValue(*k, value.isValid() ? value.toString() : QString());
}

void PhoneBookEntry::updateDependentValues()
{
    setValue(Key::unifiedPhoneNumber, FXPhoneNumber::localizedUnifiedPhoneNumber(
                                          FXPhoneNumber::unifiedPhoneNumber(phoneNumber())));
    setValue(Key::sortPersonID,
             combinedStringForFieldArray({Key::lastName, Key::firstName, Key::middleName,
                                          Key::companyName, Key::ABRecordID}));
    setValue(Key::firstNameSortPersonID,
             combinedStringForFieldArray({Key::firstName, Key::middleName, Key::lastName,
                                          Key::companyName, Key::ABRecordID}));
    setValue(Key::phoneString, QStringLiteral("%1: %2").arg(phoneLabel(), phoneNumber()));
}

QString PhoneBookEntry::combinedStringForFieldArray(const QList<Key> &keys) const
{
    QString combined;
    for (const Key key : keys)
        combined += value(key);
    return combined;
}

QString PhoneBookEntry::combinedStringForFieldArray(const QStringList &keyNames) const
{
    QString combined;
    for (const QString &name : keyNames) {
        if (const auto key = keyForName(name))
            combined += value(*key);
    }
    return combined;
}

QStringList PhoneBookEntry::nameParts() const
{
    QStringList parts;
    for (const Key key : {Key::firstName, Key::middleName, Key::lastName}) {
        if (!value(key).isEmpty())
            parts.append(value(key));
    }
    if (parts.isEmpty() && !companyName().isEmpty())
        parts.append(companyName());
    return parts;
}

QString PhoneBookEntry::displayString() const
{
    QStringList parts = nameParts();
    if (!isAdHoc()) {
        if (!phoneLabel().isEmpty())
            parts.append(QStringLiteral("(%1)").arg(phoneLabel()));
    } else {
        parts.append(QStringLiteral("(%1)").arg(phoneNumber()));
    }
    return parts.join(u' ');
}

QString PhoneBookEntry::displayStringName() const
{
    return nameParts().join(u' ');
}

QList<PhoneBookEntryPtr>
PhoneBookEntry::entriesWithABRecords(const QList<FXAddressBookPerson> &records)
{
    FXPersonImageCache &cache = FXPersonImageCache::sharedCache();
    QHash<QString, QString> labels;
    QList<PhoneBookEntryPtr> entries;
    for (const FXAddressBookPerson &person : records) {
        if (person.phones.isEmpty())
            continue;
        QImage small = cache.imageForPerson(person.uniqueId, person.pictureData,
                                            FXPersonImageCache::smallSize);
        QImage big;
        if (small.isNull()) {
            small = FXPersonImageCache::namedImage(person.showAsCompany
                                                       ? QStringLiteral("CompanyImage")
                                                       : QStringLiteral("PersonImage"));
            big = small;
        } else {
            big = cache.imageForPerson(person.uniqueId, person.pictureData,
                                       FXPersonImageCache::bigSize);
        }
        QStringList information;
        if (!person.nickname.isEmpty())
            information.append(person.nickname);
        information += person.groups;
        const QString searchable = information.join(u' ');

        // The person's part is set (and folded) once and shared by all its numbers.
        PhoneBookEntry common;
        common.setValue(Key::ABRecordID, person.uniqueId);
        common.setValue(Key::firstName, person.firstName);
        common.setValue(Key::middleName, person.middleName);
        common.setValue(Key::lastName, person.lastName);
        common.setValue(Key::companyName, person.organization);
        common.setPersonImage(small);
        common.setBigImage(big);
        common.setValue(Key::searchableInformation, searchable);
        for (const FXAddressBookPerson::Phone &phone : person.phones) {
            auto entry = PhoneBookEntryPtr::create(common);
            entry->setValue(Key::uniqueID, phone.identifier);
            auto label = labels.constFind(phone.label);
            if (label == labels.constEnd())
                label = labels.insert(phone.label, localizedPropertyOrLabel(phone.label));
            entry->setValue(Key::phoneLabel, label.value());
            entry->setValue(Key::phoneNumber, phone.value);
            entry->updateDependentValues();
            entries.append(entry);
        }
    }
    return entries;
}

PhoneBookEntryPtr PhoneBookEntry::entryWithFirstName(const QString &firstName,
                                                     const QString &lastName, const QString &number,
                                                     bool incoming)
{
    auto entry = PhoneBookEntryPtr::create();
    if (!firstName.isEmpty())
        entry->setValue(Key::firstName, firstName);
    if (!lastName.isEmpty())
        entry->setValue(Key::lastName, lastName);
    const QImage image =
        FXPersonImageCache::namedImage(incoming ? QStringLiteral("UnknownPersonImageIncoming")
                                                : QStringLiteral("UnknownPersonImageOutgoing"));
    entry->setPersonImage(image);
    entry->setBigImage(image);
    entry->setValue(Key::phoneLabel, FXText("phone"));
    entry->setValue(Key::phoneNumber, number);
    entry->setValue(Key::uniqueID, QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper());
    entry->updateDependentValues();
    return entry;
}

QString PhoneBookEntry::localizedPropertyOrLabel(const QString &label)
{
    struct StandardLabel
    {
        const char *label;
        const char *key;
    };
    static constexpr StandardLabel standard[] = {
        {kABPhoneMobileLabel, "mobile"},    {kABPhoneiPhoneLabel, "iphone"},
        {kABPhoneMainLabel, "main"},        {kABPhoneHomeLabel, "home"},
        {kABPhoneWorkLabel, "work"},        {kABPhoneHomeFAXLabel, "home_fax"},
        {kABPhoneWorkFAXLabel, "work_fax"}, {kABPhoneOtherFAXLabel, "fax"},
        {kABPhonePagerLabel, "pager"},      {kABPhoneCarLabel, "car"},
        {kABOtherLabel, "other"},           {kABPhoneLabel, "phone"},
    };
    if (label.isEmpty())
        return FXText("phone");
    for (const StandardLabel &entry : standard) {
        if (label == QLatin1String(entry.label))
            return FXText(entry.key);
    }
    // A label in the exchange form that this table does not know: show its inner word.
    if (label.startsWith(QLatin1String("_$!<")) && label.endsWith(QLatin1String(">!$_")))
        return label.mid(4, label.size() - 8);
    return label;
}
