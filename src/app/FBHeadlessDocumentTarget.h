#pragma once

#include "app/FBFaxDocumentTarget.h"

#include <QString>

// The application controller of an instance without windows. A document handed to it is
// kept: it is copied into the "Received" folder of the application support folder, so that
// printing never loses a document. The document is opened before a call returns (the spool
// removes its own copy then) and copied on a thread of its own, one document at a time, so
// that a large one holds up no other request. Numbers and files are written to the log
// (category faxolino.app).
class FBHeadlessDocumentTarget : public FBFaxDocumentTarget
{
public:
    void newFaxForFile(const QString &path, const QString &toNumber) override;
    void newFaxToNumber(const QString &number) override;
    bool openFile(const QString &path) override;

    // Where received documents are kept.
    static QString receivedFolder();
    // Waits for the copies under way; for tests and for the end of the program.
    static void waitForCopies();

private:
    // The name the copy will have, or "" when it cannot be made.
    static QString keep(const QString &path);
};
