#pragma once

#include <QString>
#include <QtGlobal>

// What the application controller offers to documents and numbers that arrive from outside:
// the print queue's spool, the scripting service and the desktop's "open file" requests.
// Every operation is optional and does nothing by default.
class FBFaxDocumentTarget
{
public:
    // The largest document taken from outside; larger ones are refused, never read.
    static constexpr qint64 kMaximumDocumentBytes = 512LL * 1024 * 1024;

    virtual ~FBFaxDocumentTarget() = default;

    // A document to fax, with the number to pre-set ("" for none). The file is opened before
    // this returns; callers such as the spool remove it afterwards.
    virtual void newFaxForFile(const QString &path, const QString &toNumber)
    {
        Q_UNUSED(path)
        Q_UNUSED(toNumber)
    }

    // A new, empty fax to a number; "" does nothing.
    virtual void newFaxToNumber(const QString &number) { Q_UNUSED(number) }

    // Another start of the application: bring its window to the front.
    virtual void activate() {}

    // An empty fax window; the report window.
    virtual void newFax() {}
    virtual void showReports() {}

    // The desktop's "open file" request; always answers true.
    virtual bool openFile(const QString &path)
    {
        Q_UNUSED(path)
        return true;
    }
};
