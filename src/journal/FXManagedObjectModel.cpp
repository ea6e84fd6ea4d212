#include "journal/FXManagedObjectModel.h"

#include "foundation/FBBundle.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

namespace {

QString readText(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    return QString::fromUtf8(file.readAll());
}

} // namespace

FXManagedObjectModel FXManagedObjectModel::modelFromBundle()
{
    const QString root = FBBundle::bundleWithName(QLatin1String(kCoreBundleName));
    if (root.isEmpty())
        return FXManagedObjectModel();
    return modelFromFolder(root + QStringLiteral("/Model"));
}

FXManagedObjectModel FXManagedObjectModel::modelFromFolder(const QString &folder)
{
    FXManagedObjectModel model;
    const QDir dir(folder);
    const QString schema = readText(dir.filePath(QStringLiteral("Model.sql")));
    // The version is the one the schema itself writes, so that the two cannot disagree.
    static const QRegularExpression versionPattern(
        QStringLiteral("PRAGMA\\s+user_version\\s*=\\s*(\\d+)\\s*;"),
        QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = versionPattern.match(schema);
    if (!match.hasMatch())
        return model;
    bool ok = false;
    const int version = match.captured(1).toInt(&ok);
    if (!ok || version <= 0)
        return model;

    static const QRegularExpression migrationName(QStringLiteral("^Migration-(\\d+)\\.sql$"));
    const QStringList entries = dir.entryList({QStringLiteral("Migration-*.sql")}, QDir::Files);
    for (const QString &entry : entries) {
        const QRegularExpressionMatch m = migrationName.match(entry);
        const int from = m.hasMatch() ? m.captured(1).toInt() : 0;
        if (from > 0 && from < version)
            model.m_migrations.insert(from, readText(dir.filePath(entry)));
    }
    model.m_schema = schema;
    model.m_version = version;
    return model;
}

QStringList FXManagedObjectModel::schemaStatements() const
{
    return splitStatements(m_schema);
}

QStringList FXManagedObjectModel::migrationStatements(int fromVersion) const
{
    return splitStatements(m_migrations.value(fromVersion));
}

QStringList FXManagedObjectModel::splitStatements(const QString &sql)
{
    QString text;
    text.reserve(sql.size());
    const QStringList lines = sql.split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        const qsizetype comment = line.indexOf(QLatin1String("--"));
        text += (comment >= 0 ? line.left(comment) : line) + QLatin1Char('\n');
    }
    QStringList statements;
    const QStringList parts = text.split(QLatin1Char(';'));
    for (const QString &part : parts) {
        const QString statement = part.trimmed();
        if (!statement.isEmpty())
            statements.append(statement);
    }
    return statements;
}
