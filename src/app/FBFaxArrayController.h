#pragma once

#include "journal/Fax.h"

#include <QAbstractTableModel>
#include <QHash>
#include <QPointer>

class FXManagedObjectContext;

// The journal's faxes for the report window, newest first, optionally filtered by a search
// text. It reads the store a batch at a time as the list scrolls, and filters in the store,
// so a journal of any size opens and searches quickly. It follows the journal: when records
// are inserted, changed or deleted, the loaded rows are read again (modelReset).
class FBFaxArrayController : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { DateColumn, NumberColumn, NameColumn, PagesColumn, StateColumn, ColumnCount };
    // The fax's id in the journal, for every column.
    static constexpr int ObjectIDRole = Qt::UserRole + 1;
    static constexpr int kBatchSize = 200;

    explicit FBFaxArrayController(QObject *parent = nullptr);

    // "" shows every fax; else those whose number or date contains the text.
    void setFilterText(const QString &text);
    QString filterText() const { return m_filter; }

    // The fax at a row of the arranged (sorted and filtered) records; null outside them.
    Fax faxAtRow(int row) const;
    // The row of a loaded fax, or -1.
    int rowOfObjectID(qint64 objectID) const;

    // Reads the loaded rows again.
    void reload();

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    bool canFetchMore(const QModelIndex &parent) const override;
    void fetchMore(const QModelIndex &parent) override;

    // A fax is open while one of its transmissions is; failed when one failed; else sent.
    enum class State { Open, Sent, Failed };
    // The state column's text of a fax: sent, failed with the code's text, or open.
    static QString stateTextForFax(const Fax &fax, State *state = nullptr);

private:
    // What a row shows, worked out once: repaints during a search ask for it many times.
    struct RowCache
    {
        QString date;
        QString number;
        QString text;
        State state = State::Open;
    };

    FXManagedObjectContext *context();
    // Up to `count` faxes from `offset`; notes whether more follow.
    QList<Fax> readPage(qsizetype count, qsizetype offset);
    // The first `count` faxes, anew.
    void readRows(qsizetype count);
    const RowCache &cacheFor(const Fax &fax) const;
    QString nameForNumber(const QString &number) const;

    QPointer<FXManagedObjectContext> m_context;
    QList<Fax> m_faxes;
    bool m_atEnd = true;
    QString m_filter;
    mutable QHash<qint64, RowCache> m_rowCache;
    // The book's names by unified number; built when first needed.
    mutable QHash<QString, QString> m_names;
    mutable bool m_namesBuilt = false;
};
