#pragma once

#include "recipients/FXAddressBookPerson.h"

#include <QImage>
#include <QList>
#include <QSharedPointer>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <array>
#include <optional>

class PhoneBookEntry;
using PhoneBookEntryPtr = QSharedPointer<PhoneBookEntry>;

// One phone number of one person, or an ad-hoc number typed by the user (no ABRecordID).
// Every field is reachable by its key name, which predicates, sorting and bindings use.
class PhoneBookEntry
{
public:
    enum class Key : quint8 {
        uniqueID,
        ABRecordID,
        firstName,
        middleName,
        lastName,
        companyName,
        phoneNumber,
        phoneLabel,
        unifiedPhoneNumber,
        sortPersonID,
        firstNameSortPersonID,
        phoneString,
        searchableInformation,
        personImage,
        bigImage,
    };
    static constexpr int textKeyCount = int(Key::searchableInformation) + 1;

    static std::optional<Key> keyForName(QStringView name);
    static QString nameForKey(Key key);

    // Text keys only (an image key answers a null text). Absent values are null texts.
    const QString &value(Key key) const;
    // The value folded for comparisons that ignore case and diacritics. The searched keys
    // are folded when set, the others on first use.
    const QString &foldedValue(Key key) const
    {
        const int index = int(key);
        if (index >= textKeyCount)
            return nullText();
        if (!(m_foldedValid & (1u << index)))
            foldLazily(index);
        return m_folded[index];
    }
    void setValue(Key key, const QString &value);

    // Generic access by key name: texts as QString, images as QImage, invalid when absent.
    QVariant valueForKey(const QString &key) const;
    void setValueForKey(const QVariant &value, const QString &key);

    const QString &uniqueID() const { return value(Key::uniqueID); }
    const QString &ABRecordID() const { return value(Key::ABRecordID); }
    const QString &firstName() const { return value(Key::firstName); }
    const QString &middleName() const { return value(Key::middleName); }
    const QString &lastName() const { return value(Key::lastName); }
    const QString &companyName() const { return value(Key::companyName); }
    const QString &phoneNumber() const { return value(Key::phoneNumber); }
    const QString &phoneLabel() const { return value(Key::phoneLabel); }
    const QString &unifiedPhoneNumber() const { return value(Key::unifiedPhoneNumber); }
    const QString &sortPersonID() const { return value(Key::sortPersonID); }
    const QString &firstNameSortPersonID() const { return value(Key::firstNameSortPersonID); }
    const QString &phoneString() const { return value(Key::phoneString); }
    const QString &searchableInformation() const { return value(Key::searchableInformation); }
    const QImage &personImage() const { return m_personImage; }
    const QImage &bigImage() const { return m_bigImage; }
    void setPersonImage(const QImage &image) { m_personImage = image; }
    void setBigImage(const QImage &image) { m_bigImage = image; }

    bool isAdHoc() const { return ABRecordID().isEmpty(); }

    // Recomputes unifiedPhoneNumber from phoneNumber, then the sort keys and phoneString.
    void updateDependentValues();

    // The values of the keys that have one, in order, without separator.
    QString combinedStringForFieldArray(const QList<Key> &keys) const;
    QString combinedStringForFieldArray(const QStringList &keyNames) const;

    // "Anna Berg (mobile)"; a company name only when no personal name is known; an ad-hoc
    // entry shows its number in place of the label.
    QString displayString() const;
    // The name part of displayString().
    QString displayStringName() const;

    // One entry per phone value, persons in order; persons without numbers give none.
    static QList<PhoneBookEntryPtr> entriesWithABRecords(const QList<FXAddressBookPerson> &records);
    // A number that is not in the address book, with a fresh uniqueID.
    static PhoneBookEntryPtr entryWithFirstName(const QString &firstName, const QString &lastName,
                                                const QString &number, bool incoming);

    // The label as the user reads it: standard labels through the string catalog, the
    // user's own labels as they are.
    static QString localizedPropertyOrLabel(const QString &label);

private:
    QStringList nameParts() const;
    void foldLazily(int index) const;
    static const QString &nullText();

    std::array<QString, textKeyCount> m_values;
    // Folded copies, kept in step by setValue(); a clear bit marks a copy not made yet.
    mutable std::array<QString, textKeyCount> m_folded;
    mutable quint32 m_foldedValid = 0;
    QImage m_personImage;
    QImage m_bigImage;
};
