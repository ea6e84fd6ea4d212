#pragma once

#include "FBFaxDocumentTarget.h"

// The application controller of an instance without windows: it writes every document and
// number it receives to the log (category faxolino.app).
class FBHeadlessDocumentTarget : public FBFaxDocumentTarget
{
public:
    void newFaxForFile(const QString &path, const QString &toNumber) override;
    void newFaxToNumber(const QString &number) override;
    bool openFile(const QString &path) override;
};
