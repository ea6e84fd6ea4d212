#include "recipients/FXVCardAddressBookSource.h"

#include "foundation/FXLogging.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QUrl>

#include <algorithm>
#include <atomic>

namespace {

std::atomic<qint64> totalBytes{FXVCardAddressBookSource::defaultTotalBytes};

constexpr int maxFolderDepth = 2;

bool isVCardFile(const QString &name)
{
    return name.endsWith(QLatin1String(".vcf"), Qt::CaseInsensitive)
           || name.endsWith(QLatin1String(".vcard"), Qt::CaseInsensitive);
}

} // namespace

FXVCardAddressBookSource::FXVCardAddressBookSource(QObject *parent)
    : FXAddressBookSource(parent)
{
    m_rescanTimer.setSingleShot(true);
    m_rescanTimer.setInterval(rescanDelayMs);
    connect(&m_rescanTimer, &QTimer::timeout, this, &FXVCardAddressBookSource::rescanAfterEvents);
    connect(&m_watcher, &FXFolderWatcher::changed, this, &FXVCardAddressBookSource::folderChanged);
}

QString FXVCardAddressBookSource::expandedPath(const QString &path)
{
    QString expanded = path.trimmed();
    if (expanded == u'~')
        expanded = QDir::homePath();
    else if (expanded.startsWith(QLatin1String("~/")))
        expanded = QDir::homePath() + expanded.mid(1);
    else if (expanded.startsWith(QLatin1String("file://")))
        expanded = QUrl(expanded).toLocalFile();
    if (expanded.isEmpty())
        return QString();
    if (QDir::isRelativePath(expanded))
        expanded = QDir::home().filePath(expanded);
    return QDir::cleanPath(expanded);
}

void FXVCardAddressBookSource::setPaths(const QStringList &paths)
{
    QStringList expanded;
    for (const QString &path : paths) {
        const QString clean = expandedPath(path);
        if (!clean.isEmpty() && !expanded.contains(clean))
            expanded.append(clean);
    }
    if (expanded == m_paths)
        return;
    m_paths = expanded;
    m_listedPaths = QSet<QString>(m_paths.begin(), m_paths.end());
    m_reportedMissing.clear();
    m_dirty = true;
    Q_EMIT changed();
}

QList<FXAddressBookPerson> FXVCardAddressBookSource::people()
{
    if (m_dirty)
        rescan();
    return m_people;
}

void FXVCardAddressBookSource::folderChanged(const QString &folder, const QString &name,
                                             bool isFolder)
{
    // Editors' and synchronisers' temporary files come and go without changing a card; only
    // vCard files, folders and the listed paths themselves matter.
    const bool relevant = isFolder || name.isEmpty() || isVCardFile(name)
                          || m_listedPaths.contains(folder + u'/' + name);
    if (relevant)
        m_rescanTimer.start();
}

void FXVCardAddressBookSource::rescanAfterEvents()
{
    if (rescan())
        Q_EMIT changed();
}

void FXVCardAddressBookSource::collectFolder(const QString &folder, int depth, QStringList *files,
                                             QStringList *folders)
{
    folders->append(folder);
    const QDir dir(folder);
    const QFileInfoList entries = dir.entryInfoList(
        QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot | QDir::Readable, QDir::Name);
    for (const QFileInfo &entry : entries) {
        if (files->size() >= maxFiles)
            return;
        if (entry.isDir()) {
            // Synchronisers keep their state in hidden folders; never follow links in a loop.
            if (depth < maxFolderDepth && !entry.fileName().startsWith(u'.') && !entry.isSymLink())
                collectFolder(entry.absoluteFilePath(), depth + 1, files, folders);
        } else if (isVCardFile(entry.fileName())) {
            files->append(entry.absoluteFilePath());
        }
    }
}

void FXVCardAddressBookSource::setTotalBytes(qint64 bytes)
{
    totalBytes = bytes > 0 ? bytes : defaultTotalBytes;
}

bool FXVCardAddressBookSource::rescan()
{
    m_dirty = false;
    QStringList files;
    QStringList folders;
    for (const QString &path : std::as_const(m_paths)) {
        const QFileInfo info(path);
        if (info.isDir()) {
            collectFolder(info.absoluteFilePath(), 0, &files, &folders);
        } else if (info.isFile()) {
            if (!files.contains(info.absoluteFilePath()))
                files.append(info.absoluteFilePath());
            // Writers replace files by renaming a new one over them: watch the folder too.
            folders.append(info.absolutePath());
        } else {
            if (!m_reportedMissing.contains(path)) {
                m_reportedMissing.insert(path);
                qCInfo(lcRecipients, "vCard source %s does not exist", qUtf8Printable(path));
            }
            // Noticed when it appears.
            const QFileInfo parent(info.absolutePath());
            if (parent.isDir())
                folders.append(parent.absoluteFilePath());
        }
    }
    if (files.size() >= maxFiles)
        qCWarning(lcRecipients, "More than %d vCard files; the rest are ignored", maxFiles);

    bool anyChange = false;
    QHash<QString, CachedFile> current;
    qint64 budget = totalBytes.load();
    for (qsizetype i = 0; i < files.size(); ++i) {
        const QString &file = files.at(i);
        const QFileInfo info(file);
        budget -= std::max<qint64>(info.size(), 0);
        if (budget < 0) {
            if (!m_reportedBudget) {
                m_reportedBudget = true;
                qCWarning(lcRecipients,
                          "The vCard files hold more than %lld bytes in all; %s and the %lld "
                          "files after it are ignored",
                          static_cast<long long>(totalBytes.load()), qUtf8Printable(file),
                          static_cast<long long>(files.size() - i - 1));
            }
            files.resize(i);
            break;
        }
        CachedFile cached = m_files.take(file);
        const bool unchanged = cached.size == info.size() && cached.modified == info.lastModified()
                               && cached.metadataChanged == info.metadataChangeTime();
        if (!unchanged) {
            anyChange = true;
            cached = CachedFile();
            cached.size = info.size();
            cached.modified = info.lastModified();
            cached.metadataChanged = info.metadataChangeTime();
            QString error;
            cached.readable = FXVCardReader::readFile(file, &cached.contents, &error);
            if (!cached.readable) {
                qCWarning(lcRecipients, "Skipping vCard file %s: %s", qUtf8Printable(file),
                          qUtf8Printable(error));
            } else {
                for (const QString &problem : std::as_const(cached.contents.problems))
                    qCWarning(lcRecipients, "Skipping part of vCard file %s: %s",
                              qUtf8Printable(file), qUtf8Printable(problem));
            }
        }
        current.insert(file, cached);
    }
    // Whatever is left in the old table was removed.
    anyChange = anyChange || !m_files.isEmpty();
    m_files = current;
    m_watcher.setFolders(folders);
    if (!anyChange)
        return false;

    // Persons in file order; the same UID in two files is one person (the first copy).
    m_people.clear();
    QHash<QString, qsizetype> indexById;
    for (const QString &file : std::as_const(files)) {
        const CachedFile &cached = m_files[file];
        for (const FXAddressBookPerson &person : cached.contents.persons) {
            if (indexById.contains(person.uniqueId))
                continue;
            indexById.insert(person.uniqueId, m_people.size());
            m_people.append(person);
        }
    }
    // Group cards may live in files of their own, as CardDAV keeps them.
    for (const QString &file : std::as_const(files)) {
        for (const FXVCardReader::Group &group : m_files[file].contents.groups) {
            if (group.name.isEmpty())
                continue;
            for (const QString &member : group.memberUIDs) {
                const auto index = indexById.constFind(FXVCardReader::recordIDForUID(member));
                if (index == indexById.constEnd())
                    continue;
                QStringList &groups = m_people[*index].groups;
                if (!groups.contains(group.name))
                    groups.append(group.name);
            }
        }
    }
    return true;
}
