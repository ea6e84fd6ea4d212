#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

// One person as an address book source delivers it: what the phone book needs and nothing
// else. Phone labels are either one of the standard labels below or the user's own text.
struct FXAddressBookPerson
{
    struct Phone
    {
        QString identifier; // unique across all persons, stable while person and value are
        QString label;
        QString value;
    };

    QString uniqueId;
    QString firstName;
    QString middleName;
    QString lastName;
    QString organization;
    QString nickname;
    QStringList groups;
    bool showAsCompany = false;
    QByteArray pictureData; // encoded image as stored (JPEG, PNG ...), empty when none
    QList<Phone> phones;

    bool operator==(const FXAddressBookPerson &) const = default;
};

// Standard phone labels in the form address books exchange them (X-ABLabel).
inline constexpr char kABPhoneMobileLabel[] = "_$!<Mobile>!$_";
inline constexpr char kABPhoneiPhoneLabel[] = "iPhone";
inline constexpr char kABPhoneMainLabel[] = "_$!<Main>!$_";
inline constexpr char kABPhoneHomeLabel[] = "_$!<Home>!$_";
inline constexpr char kABPhoneWorkLabel[] = "_$!<Work>!$_";
inline constexpr char kABPhoneHomeFAXLabel[] = "_$!<HomeFAX>!$_";
inline constexpr char kABPhoneWorkFAXLabel[] = "_$!<WorkFAX>!$_";
inline constexpr char kABPhoneOtherFAXLabel[] = "_$!<OtherFAX>!$_";
inline constexpr char kABPhonePagerLabel[] = "_$!<Pager>!$_";
inline constexpr char kABPhoneCarLabel[] = "_$!<Car>!$_";
inline constexpr char kABOtherLabel[] = "_$!<Other>!$_";
// No label at all: shown as the generic "phone".
inline constexpr char kABPhoneLabel[] = "_$!<Phone>!$_";
