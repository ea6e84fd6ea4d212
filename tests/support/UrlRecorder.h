#pragma once

#include <QList>
#include <QObject>
#include <QStringList>
#include <QUrl>

// Takes the URLs of the given schemes that the program hands to the desktop to open
// (QDesktopServices::openUrl), instead of the desktop, while it lives.
class UrlRecorder : public QObject
{
    Q_OBJECT

public:
    explicit UrlRecorder(const QStringList &schemes);
    ~UrlRecorder() override;

    QList<QUrl> opened;

public Q_SLOTS:
    void open(const QUrl &url);

private:
    QStringList m_schemes;
};
