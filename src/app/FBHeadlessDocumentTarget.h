#pragma once

#include "app/FBFaxDocumentTarget.h"

#include <QString>

// The application controller of an instance without windows. A document handed to it is
// kept: it is copied into the "Received" folder of the application support folder (the spool
// removes its own copy once this returns), so that printing never loses a document. Numbers
// and files are written to the log (category faxolino.app).
class FBHeadlessDocumentTarget : public FBFaxDocumentTarget
{
public:
    void newFaxForFile(const QString &path, const QString &toNumber) override;
    void newFaxToNumber(const QString &number) override;
    bool openFile(const QString &path) override;

    // Where received documents are kept.
    static QString receivedFolder();

private:
    static QString keep(const QString &path);
};
