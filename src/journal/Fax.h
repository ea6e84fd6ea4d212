#pragma once

#include "journal/FXEntityDescription.h"
#include "journal/FXManagedObject.h"

#include <QByteArray>
#include <QColor>
#include <QDateTime>
#include <QList>
#include <QString>

class Connection;

// One document sent to one receiver number: the journal's main record. Its connections are
// the transmission attempts (provider sessions); deleting a fax deletes them with it.
//
// Created by FXManagedObjectContext::insertNewFax(); see FXManagedObject for how writes reach
// the store.
class Fax : public FXManagedObject
{
public:
    // The stored attributes, in column order.
    enum Attribute {
        Algorithm,
        CoverSheet,
        Date,
        File,
        FileURL,
        Number,
        Contact,
        Line,
        Subject,
        Pages,
        AttributeCount
    };

    static const FXEntityDescription &entity();

    // How the report list shows a fax's date; the search matches the date in this form.
    static constexpr char kListDateFormat[] = "dd.MM.yyyy HH:mm";

    Fax() = default;

    // The page conversion type of the job (document type 0 text, 1 mixed).
    qint64 algorithm() const;
    void setAlgorithm(qint64 algorithm);

    // Whether a cover sheet was added.
    bool coverSheet() const;
    void setCoverSheet(bool coverSheet);

    // When sending to this number began.
    QDateTime date() const;
    void setDate(const QDateTime &date);

    // File name of the copy of the transmitted document, "<yyyy-MM-dd_HH-mm-ss>-<number>.pdf".
    QString file() const;
    void setFile(const QString &file);

    // The report folder setting ("faxReportSavePathData") at the time of sending, unchanged.
    QByteArray fileURL() const;
    void setFileURL(const QByteArray &fileURL);

    // The receiver number in E.164 form ("+49301234567").
    QString number() const;
    void setNumber(const QString &number);

    // The address book record identifier of the receiver.
    QString contact() const;
    void setContact(const QString &contact);

    // The sender's fax line ("localUri").
    QString line() const;
    void setLine(const QString &line);

    // The cover sheet subject.
    QString subject() const;
    void setSubject(const QString &subject);

    // Page count of the transmitted document.
    qint32 pages() const;
    void setPages(qint32 pages);

    // The transmission attempts, earliest beginDate first. Saves pending changes first, so
    // that the answer is what the store holds. Empty for a null handle or a fax whose context
    // is gone.
    QList<Connection> connections() const;

    // True when at least one connection's reason is not "0"; an open connection (no reason)
    // counts as failed. A fax without connections has not failed.
    bool faxFailed() const;

    // Red when the fax has failed by the rule of faxFailed(), else black.
    QColor sentStateColor() const;

private:
    explicit Fax(DataPointer data)
        : FXManagedObject(std::move(data))
    {}

    friend class Connection;
    friend class FXManagedObjectContext;
};

// Fax and Connection refer to each other; one include serves both.
#include "journal/Connection.h"
