#include "UrlRecorder.h"

#include <QDesktopServices>

UrlRecorder::UrlRecorder(const QStringList &schemes)
    : m_schemes(schemes)
{
    for (const QString &scheme : m_schemes)
        QDesktopServices::setUrlHandler(scheme, this, "open");
}

UrlRecorder::~UrlRecorder()
{
    for (const QString &scheme : m_schemes)
        QDesktopServices::unsetUrlHandler(scheme);
}

void UrlRecorder::open(const QUrl &url)
{
    opened.append(url);
}
