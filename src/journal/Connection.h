#pragma once

#include "journal/FXEntityDescription.h"
#include "journal/FXManagedObject.h"
#include "journal/Fax.h"

#include <QDateTime>
#include <QString>

// One transmission attempt (one provider session) of a Fax.
//
// Life of a connection: inserted with beginDate, pages and pageRange (open, no sessionID);
// sessionID set and beginDate renewed when the provider accepts the session; reason (and
// finishDate) set when the outcome is known. It is open while reason is absent; "0" means
// sent, anything else is the provider's failure status code.
//
// Created by FXManagedObjectContext::insertNewConnectionForFax(); see FXManagedObject for how
// writes reach the store.
class Connection : public FXManagedObject
{
public:
    // The stored attributes, in column order.
    enum Attribute {
        BeginDate,
        FinishDate,
        Pages,
        Reason,
        Size,
        PageRange,
        SessionID,
        AttributeCount
    };

    static const FXEntityDescription &entity();

    // The pageRange of a session sending `pages` pages: "1" for one page, else "1-<pages>".
    static QString pageRangeForPages(qint64 pages);

    Connection() = default;

    QDateTime beginDate() const;
    void setBeginDate(const QDateTime &beginDate);

    QDateTime finishDate() const;
    void setFinishDate(const QDateTime &finishDate);

    // Pages handed to the provider in this session.
    qint32 pages() const;
    void setPages(qint32 pages);

    // The outcome; a null string while open. Setting an empty text reopens the connection.
    QString reason() const;
    void setReason(const QString &reason);

    // Declared by the model, written by nobody; 0 while absent.
    qint64 size() const;
    void setSize(qint64 size);

    QString pageRange() const;
    void setPageRange(const QString &pageRange);

    // The provider's session identifier; a null string until the session was accepted.
    QString sessionID() const;
    void setSessionID(const QString &sessionID);

    // The owning fax; a null handle for a null connection or when it cannot be read.
    Fax fax() const;

    // No outcome yet.
    bool isOpen() const { return !isNull() && reason().isNull(); }

private:
    explicit Connection(DataPointer data)
        : FXManagedObject(std::move(data))
    {}

    friend class Fax;
    friend class FXManagedObjectContext;
};
