#include "FBHeadlessDocumentTarget.h"

#include "service/FXLogging.h"

void FBHeadlessDocumentTarget::newFaxForFile(const QString &path, const QString &toNumber)
{
    qCInfo(lcApp, "New fax for file %s to number \"%s\"", qUtf8Printable(path),
           qUtf8Printable(toNumber));
}

void FBHeadlessDocumentTarget::newFaxToNumber(const QString &number)
{
    if (!number.isEmpty())
        qCInfo(lcApp, "New fax to number \"%s\"", qUtf8Printable(number));
}

bool FBHeadlessDocumentTarget::openFile(const QString &path)
{
    qCInfo(lcApp, "Open file %s", qUtf8Printable(path));
    return true;
}
