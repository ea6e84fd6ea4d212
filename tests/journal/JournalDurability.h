#pragma once

// What the durability test's child writes and how its parent checks it: every value a change
// puts into the store derives from the change's line, so that the parent can say what the
// store must hold after each reported change.
//
// The child reports each change twice on its standard output, one line each:
//   BEGIN <change>            before it starts
//   DONE <change> [<ids>...]  after the change and its save returned
// with these changes:
//   insert <token> <connections>   a fax and its connections   (DONE adds fax and connection ids)
//   accept <connection> <session> <beginMs>   sessionID and beginDate together
//   close <connection> <reason> <finishMs>    reason and finishDate together
//   update <fax> <token>                      subject, line and pages together
//   delete <fax>                              the fax and its connections

#include <QByteArray>
#include <QString>
#include <QVariantMap>

namespace JournalDurability {

inline constexpr qint64 baseMs = 1740000000000;

inline QVariantMap faxColumns(qint64 token, int connections)
{
    return {{"algorithm", int(token % 2)},
            {"coverSheet", int(token % 3 == 0)},
            {"date", baseMs + token * 1000},
            {"file", QStringLiteral("fax-%1.pdf").arg(token)},
            {"fileURL", QByteArray("/srv/reports/") + QByteArray::number(token)},
            {"number", QStringLiteral("+4930%1").arg(token)},
            {"contact", QString::number(token * 7)},
            {"line", QStringLiteral("4930999")},
            {"subject", QStringLiteral("Subject %1").arg(token)},
            {"pages", connections + 2}};
}

inline QVariantMap connectionColumns(qint64 token, int index, int connections)
{
    const int pages = connections + 2;
    return {{"beginDate", baseMs + token * 1000 + index},
            {"finishDate", QVariant()},
            {"pages", pages},
            {"reason", QVariant()},
            {"size", QVariant()},
            {"pageRange", QStringLiteral("1-%1").arg(pages)},
            {"sessionID", QVariant()}};
}

inline QVariantMap updateColumns(qint64 token)
{
    return {{"subject", QStringLiteral("Updated %1").arg(token)},
            {"line", QStringLiteral("line-%1").arg(token)},
            {"pages", int(token % 9) + 1}};
}

// Column names whose values are dates, in milliseconds in the store.
inline bool isDateColumn(const QString &name)
{
    return name == QLatin1String("date") || name.endsWith(QLatin1String("Date"));
}

} // namespace JournalDurability
