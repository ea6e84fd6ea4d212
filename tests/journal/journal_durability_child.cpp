// The durability test's child: makes journal changes one after the other and reports each
// (see JournalDurability.h) until it has made its share or is killed.
//   journal_durability_child <round> <seed>

#include "JournalDurability.h"
#include "journal/FXCoreDataController.h"

#include <QCoreApplication>
#include <QRandomGenerator>

#include <unistd.h>

namespace {

using namespace JournalDurability;

constexpr int maxChanges = 60;

// One write() per line: nothing is buffered when the process dies.
void report(const QString &line)
{
    const QByteArray bytes = line.toUtf8() + '\n';
    if (::write(STDOUT_FILENO, bytes.constData(), size_t(bytes.size())) != bytes.size())
        ::_exit(3);
}

void setColumns(FXManagedObject &record, const QVariantMap &columns)
{
    for (auto it = columns.begin(); it != columns.end(); ++it) {
        const QVariant value = isDateColumn(it.key()) && it.value().isValid()
                                   ? QVariant(QDateTime::fromMSecsSinceEpoch(it->toLongLong()))
                                   : it.value();
        record.setValue(value, it.key());
    }
}

class Child
{
public:
    Child(qint64 round, quint64 seed)
        : m_round(round)
        , m_random(seed)
    {}

    bool start()
    {
        m_context = FXCoreDataController::sharedInstance()->managedObjectContext();
        if (!m_context)
            return false;
        m_faxes = m_context->fetchFaxes();
        m_open = m_context->fetchOpenConnections(-1);
        report(QStringLiteral("READY"));
        return true;
    }

    void next()
    {
        if (m_made++ == maxChanges) {
            QCoreApplication::exit(0);
            return;
        }
        const QString done = change();
        // Half of the changes are saved explicitly; the others by the save that follows at
        // the end of the event-loop turn.
        const bool explicitly = m_random.bounded(2) == 0;
        if (explicitly)
            FXCoreDataController::sharedInstance()->saveMainContext();
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [this, done] {
                if (m_context->hasChanges()) {
                    report(QStringLiteral("FAILED ") + done);
                    QCoreApplication::exit(2);
                    return;
                }
                report(QStringLiteral("DONE ") + done);
                next();
            },
            Qt::QueuedConnection);
    }

private:
    QString change()
    {
        const int roll = int(m_random.bounded(100));
        const int deleteShare = m_faxes.size() > 25 ? 35 : 10;
        if (roll < deleteShare && !m_faxes.isEmpty()) {
            const Fax fax = m_faxes.takeAt(m_random.bounded(m_faxes.size()));
            const QString line = QStringLiteral("delete %1").arg(fax.objectID());
            report(QStringLiteral("BEGIN ") + line);
            for (qsizetype i = m_open.size() - 1; i >= 0; --i) {
                if (m_open.at(i).fax() == fax)
                    m_open.removeAt(i);
            }
            m_context->deleteObject(fax);
            return line;
        }
        if (roll < 55 && !m_open.isEmpty()) {
            Connection connection = m_open.at(m_random.bounded(m_open.size()));
            const qint64 ms = baseMs + m_random.bounded(1000000000);
            if (roll % 2 == 0 && connection.sessionID().isNull()) {
                const QString line = QStringLiteral("accept %1 S-%2 %3")
                                         .arg(connection.objectID())
                                         .arg(m_random.bounded(100000))
                                         .arg(ms);
                report(QStringLiteral("BEGIN ") + line);
                connection.setSessionID(line.section(QLatin1Char(' '), 2, 2));
                connection.setBeginDate(QDateTime::fromMSecsSinceEpoch(ms));
                return line;
            }
            const QString reason = roll % 3 ? QStringLiteral("0") : QStringLiteral("486");
            const QString line =
                QStringLiteral("close %1 %2 %3").arg(connection.objectID()).arg(reason).arg(ms);
            report(QStringLiteral("BEGIN ") + line);
            connection.setReason(reason);
            connection.setFinishDate(QDateTime::fromMSecsSinceEpoch(ms));
            m_open.removeAll(connection);
            return line;
        }
        const qint64 token = m_round * 1000 + m_made;
        if (roll < 70 && !m_faxes.isEmpty()) {
            Fax fax = m_faxes.at(m_random.bounded(m_faxes.size()));
            const QString line = QStringLiteral("update %1 %2").arg(fax.objectID()).arg(token);
            report(QStringLiteral("BEGIN ") + line);
            setColumns(fax, updateColumns(token));
            return line;
        }
        const int count = 1 + int(m_random.bounded(3));
        QString line = QStringLiteral("insert %1 %2").arg(token).arg(count);
        report(QStringLiteral("BEGIN ") + line);
        Fax fax = m_context->insertNewFax();
        setColumns(fax, faxColumns(token, count));
        QList<Connection> connections;
        for (int i = 0; i < count; ++i) {
            Connection connection = m_context->insertNewConnectionForFax(fax);
            setColumns(connection, connectionColumns(token, i, count));
            connections.append(connection);
        }
        // The ids exist once saved; the report needs them.
        FXCoreDataController::sharedInstance()->saveMainContext();
        line += QStringLiteral(" %1").arg(fax.objectID());
        for (const Connection &connection : std::as_const(connections))
            line += QStringLiteral(" %1").arg(connection.objectID());
        m_faxes.append(fax);
        m_open.append(connections);
        return line;
    }

    qint64 m_round;
    QRandomGenerator m_random;
    FXManagedObjectContext *m_context = nullptr;
    QList<Fax> m_faxes;
    QList<Connection> m_open;
    int m_made = 0;
};

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() != 3)
        return 64;
    Child child(arguments.at(1).toLongLong(), arguments.at(2).toULongLong());
    if (!child.start())
        return 1;
    QMetaObject::invokeMethod(
        &application, [&child] { child.next(); }, Qt::QueuedConnection);
    return application.exec();
}
