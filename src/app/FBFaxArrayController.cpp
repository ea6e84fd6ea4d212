#include "app/FBFaxArrayController.h"

#include "foundation/FBLocalization.h"
#include "journal/FXCoreDataController.h"
#include "journal/FXManagedObjectContext.h"
#include "recipients/FXPhoneNumber.h"
#include "recipients/PhoneBook.h"

#include <QApplication>
#include <QIcon>
#include <QStyle>

FBFaxArrayController::FBFaxArrayController(QObject *parent)
    : QAbstractTableModel(parent)
{
    connect(PhoneBook::sharedInstance(), &PhoneBook::PhoneBookDidChangeNotification, this, [this] {
        m_namesBuilt = false;
        if (!m_faxes.isEmpty())
            Q_EMIT dataChanged(index(0, NameColumn), index(int(m_faxes.size()) - 1, NameColumn));
    });
    readRows(kBatchSize);
}

FXManagedObjectContext *FBFaxArrayController::context()
{
    FXManagedObjectContext *current =
        FXCoreDataController::sharedInstance()->managedObjectContext();
    if (current != m_context) {
        if (m_context)
            m_context->disconnect(this);
        m_context = current;
        if (current) {
            connect(current, &FXManagedObjectContext::objectsDidChange, this,
                    &FBFaxArrayController::reload);
        }
    }
    return current;
}

QList<Fax> FBFaxArrayController::readPage(qsizetype count, qsizetype offset)
{
    // One more than asked tells whether more follow.
    FXManagedObjectContext *journal = context();
    QList<Fax> page = journal ? journal->fetchFaxes(m_filter, count + 1, offset) : QList<Fax>();
    m_atEnd = page.size() <= count;
    if (!m_atEnd)
        page.removeLast();
    return page;
}

void FBFaxArrayController::readRows(qsizetype count)
{
    m_rowCache.clear();
    m_faxes = readPage(count, 0);
}

void FBFaxArrayController::setFilterText(const QString &text)
{
    if (text == m_filter)
        return;
    beginResetModel();
    m_filter = text;
    readRows(kBatchSize);
    endResetModel();
}

void FBFaxArrayController::reload()
{
    beginResetModel();
    readRows(qMax<qsizetype>(m_faxes.size(), kBatchSize));
    endResetModel();
}

Fax FBFaxArrayController::faxAtRow(int row) const
{
    return row >= 0 && row < m_faxes.size() ? m_faxes.at(row) : Fax();
}

int FBFaxArrayController::rowOfObjectID(qint64 objectID) const
{
    for (qsizetype row = 0; row < m_faxes.size(); ++row) {
        if (m_faxes.at(row).objectID() == objectID)
            return int(row);
    }
    return -1;
}

int FBFaxArrayController::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_faxes.size());
}

int FBFaxArrayController::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

bool FBFaxArrayController::canFetchMore(const QModelIndex &parent) const
{
    return !parent.isValid() && !m_atEnd;
}

void FBFaxArrayController::fetchMore(const QModelIndex &parent)
{
    if (parent.isValid() || m_atEnd)
        return;
    const QList<Fax> more = readPage(kBatchSize, m_faxes.size());
    if (more.isEmpty())
        return;
    beginInsertRows(QModelIndex(), int(m_faxes.size()), int(m_faxes.size() + more.size() - 1));
    m_faxes.append(more);
    endInsertRows();
}

QString FBFaxArrayController::stateTextForFax(const Fax &fax, State *state)
{
    QString failure;
    bool open = false;
    for (const Connection &connection : fax.connections()) {
        if (connection.isOpen())
            open = true;
        else if (connection.reason() != QLatin1String("0") && failure.isNull())
            failure = connection.reason();
    }
    if (state)
        *state = open ? State::Open : failure.isNull() ? State::Sent : State::Failed;
    if (open)
        return FXText("report_state_open");
    if (failure.isNull())
        return FXText("report_state_sent");
    // The help titles of the known codes name the code themselves.
    bool isCode = false;
    const int code = failure.toInt(&isCode);
    const QByteArray key = FBLocalization::statusHelpKey(code);
    if (isCode && FBLocalization::hasText(key.constData()))
        return FXText("report_state_failed").arg(FXText(key.constData()));
    return FXText("report_state_failed_code").arg(failure);
}

const FBFaxArrayController::RowCache &FBFaxArrayController::cacheFor(const Fax &fax) const
{
    auto found = m_rowCache.find(fax.objectID());
    if (found == m_rowCache.end()) {
        RowCache row;
        row.text = stateTextForFax(fax, &row.state);
        row.date = fax.date().toLocalTime().toString(QLatin1String(Fax::kListDateFormat));
        row.number = FXPhoneNumber::formattedNumber(fax.number(), QString(),
                                                    FXPhoneNumber::Format::International);
        if (row.number.isEmpty())
            row.number = fax.number();
        found = m_rowCache.insert(fax.objectID(), row);
    }
    return *found;
}

QString FBFaxArrayController::nameForNumber(const QString &number) const
{
    // Looked up at every repaint of a search: an index of the book, not a walk through it.
    if (!m_namesBuilt) {
        m_namesBuilt = true;
        m_names.clear();
        const QList<PhoneBookEntryPtr> &entries = PhoneBook::sharedInstance()->allEntries();
        m_names.reserve(entries.size());
        for (const PhoneBookEntryPtr &entry : entries) {
            if (!entry->isAdHoc() && !entry->unifiedPhoneNumber().isEmpty()
                && !m_names.contains(entry->unifiedPhoneNumber()))
                m_names.insert(entry->unifiedPhoneNumber(), entry->displayStringName());
        }
    }
    // The journal keeps E.164; books mostly hold the own country's numbers nationally.
    const QString unified = FXPhoneNumber::unifiedPhoneNumber(number);
    const auto found = m_names.constFind(unified);
    if (found != m_names.constEnd())
        return *found;
    return m_names.value(FXPhoneNumber::localizedUnifiedPhoneNumber(unified));
}

QVariant FBFaxArrayController::data(const QModelIndex &index, int role) const
{
    const Fax fax = faxAtRow(index.row());
    if (fax.isNull() || index.column() < 0 || index.column() >= ColumnCount)
        return QVariant();
    const auto column = Column(index.column());
    switch (role) {
    case ObjectIDRole:
        return fax.objectID();
    case Qt::DisplayRole:
    case Qt::ToolTipRole:
        switch (column) {
        case DateColumn:
            return cacheFor(fax).date;
        case NumberColumn:
            return cacheFor(fax).number;
        case NameColumn:
            return nameForNumber(fax.number());
        case PagesColumn:
            return fax.pages();
        case StateColumn:
            return cacheFor(fax).text;
        case ColumnCount:
            break;
        }
        break;
    case Qt::DecorationRole:
        if (column == StateColumn) {
            QStyle *style = QApplication::style();
            switch (cacheFor(fax).state) {
            case State::Failed:
                return QIcon::fromTheme(QStringLiteral("dialog-error"),
                                        style->standardIcon(QStyle::SP_MessageBoxCritical));
            case State::Open:
                return QIcon::fromTheme(QStringLiteral("content-loading"),
                                        style->standardIcon(QStyle::SP_BrowserReload));
            case State::Sent:
                return QIcon::fromTheme(QStringLiteral("emblem-ok"),
                                        style->standardIcon(QStyle::SP_DialogApplyButton));
            }
        }
        break;
    case Qt::ForegroundRole:
        if (column == StateColumn && cacheFor(fax).state == State::Failed)
            return fax.sentStateColor();
        break;
    case Qt::TextAlignmentRole:
        if (column == PagesColumn)
            return int(Qt::AlignRight | Qt::AlignVCenter);
        break;
    default:
        break;
    }
    return QVariant();
}

QVariant FBFaxArrayController::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    static const char *const keys[ColumnCount] = {"report_column_date", "report_column_number",
                                                  "report_column_name", "report_column_pages",
                                                  "report_column_state"};
    return section >= 0 && section < ColumnCount ? FXText(keys[section]) : QVariant();
}
