#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

// The journal's schema: the SQL that creates the current version in an empty store, and the
// steps that bring an older store up to it. Loaded from the core bundle
// (":/VoxariaCoreBundle/Model/Model.sql" and "Model/Migration-<from>.sql").
class FXManagedObjectModel
{
public:
    // An invalid model: a store cannot be built from it.
    FXManagedObjectModel() = default;

    // The model compiled into the program; invalid when the bundle lacks it.
    static FXManagedObjectModel modelFromBundle();

    // A model from a folder holding Model.sql and its Migration-<n>.sql files.
    static FXManagedObjectModel modelFromFolder(const QString &folder);

    bool isValid() const { return m_version > 0; }

    // The schema version a store of this model carries in PRAGMA user_version.
    int version() const { return m_version; }

    // The statements that create the whole schema in an empty store.
    QStringList schemaStatements() const;

    // The statements that take a store from version `fromVersion` to the next one; empty when
    // the model knows no way (the store then cannot be opened).
    QStringList migrationStatements(int fromVersion) const;

    // SQL text split into single statements, comments removed. Our own files only: a ';'
    // inside a string literal is not supported.
    static QStringList splitStatements(const QString &sql);

private:
    int m_version = 0;
    QString m_schema;
    QMap<int, QString> m_migrations;
};
