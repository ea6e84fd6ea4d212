#pragma once

#include <QObject>
#include <QString>

// The desktop's notifications (org.freedesktop.Notifications on the session bus). Where no
// notification server runs, notifications are skipped without a word.
class FBNotificationCenter : public QObject
{
    Q_OBJECT

public:
    explicit FBNotificationCenter(QObject *parent = nullptr);

    // Shows a notification whose default action (a click on it) emits activated().
    void showNotificationWithTitle(const QString &title, const QString &andText);

Q_SIGNALS:
    void activated();

private Q_SLOTS:
    void actionInvoked(uint id, const QString &action);

private:
    uint m_lastId = 0;
};
