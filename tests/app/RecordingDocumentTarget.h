#pragma once

#include "app/FBHeadlessDocumentTarget.h"

#include <QFile>
#include <QStringList>

// The headless controller, remembering what reached it. It reads each document as it arrives,
// the way the real controller does before the spool removes the file.
class RecordingDocumentTarget : public FBHeadlessDocumentTarget
{
public:
    struct Call
    {
        QString operation;
        QString argument;
        QString number;
        QByteArray bytes;
    };

    void newFaxForFile(const QString &path, const QString &toNumber) override
    {
        QFile file(path);
        calls.append({QStringLiteral("newFaxForFile"), path, toNumber,
                      file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray()});
        FBHeadlessDocumentTarget::newFaxForFile(path, toNumber);
    }
    void newFaxToNumber(const QString &number) override
    {
        calls.append({QStringLiteral("newFaxToNumber"), number, number, {}});
        FBHeadlessDocumentTarget::newFaxToNumber(number);
    }
    bool openFile(const QString &path) override
    {
        calls.append({QStringLiteral("openFile"), path, {}, {}});
        return FBHeadlessDocumentTarget::openFile(path);
    }

    void newFax() override { calls.append({QStringLiteral("newFax"), {}, {}, {}}); }
    void showReports() override { calls.append({QStringLiteral("showReports"), {}, {}, {}}); }

    QStringList operations() const
    {
        QStringList list;
        for (const Call &call : calls)
            list.append(call.operation + QLatin1Char(' ') + call.argument + QLatin1Char(' ')
                        + call.number);
        return list;
    }

    QList<Call> calls;
};
