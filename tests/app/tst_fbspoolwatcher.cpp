#include "LogCapture.h"
#include "RecordingDocumentTarget.h"
#include "TestEnvironment.h"
#include "app/FBSpoolWatcher.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

#include <unistd.h>

namespace {

// A controller that runs the event loop while it takes a document over (an alert, say), so
// that the watcher is asked to scan again in the middle of its scan.
class ReentrantTarget : public RecordingDocumentTarget
{
public:
    std::function<void()> duringFirst;

    void newFaxForFile(const QString &path, const QString &toNumber) override
    {
        RecordingDocumentTarget::newFaxForFile(path, toNumber);
        if (auto nested = std::exchange(duringFirst, nullptr))
            nested();
    }
};

} // namespace

class TestFBSpoolWatcher : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_dir;

    QString folder() const { return m_dir->filePath(QStringLiteral("spool/%1").arg(::getuid())); }

    bool writeDocument(const QString &name, const QByteArray &bytes, int secondsAgo = 0) const
    {
        QFile file(folder() + QLatin1Char('/') + name);
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush()
               && file.setFileTime(QDateTime::currentDateTime().addSecs(-secondsAgo),
                                   QFileDevice::FileModificationTime);
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(TestEnvironment::isIsolated()); }

    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>(TestEnvironment::root()
                                                + QStringLiteral("/watcher-XXXXXX"));
        QVERIFY(m_dir->isValid());
        QVERIFY(QDir().mkpath(folder()));
    }

    // Oldest first by time, whatever the names; only finished documents of the user.
    void takesOverWaitingDocumentsOldestFirst()
    {
        QVERIFY(writeDocument(QStringLiteral("job-0000000009.pdf"), "%PDF first", 300));
        QVERIFY(writeDocument(QStringLiteral("job-0000000001.pdf"), "%PDF third", 10));
        QVERIFY(writeDocument(QStringLiteral("job-0000000005.pdf"), "%PDF second", 100));
        QVERIFY(writeDocument(QStringLiteral(".job-0000000010-77-0.part"), "%PDF half"));
        QVERIFY(writeDocument(QStringLiteral("notes.txt"), "not for us"));
        QVERIFY(QFile::link(m_dir->filePath(QStringLiteral("elsewhere.pdf")),
                            folder() + QStringLiteral("/job-0000000002.pdf")));
        QFile elsewhere(m_dir->filePath(QStringLiteral("elsewhere.pdf")));
        QVERIFY(elsewhere.open(QIODevice::WriteOnly) && elsewhere.write("%PDF keep") > 0);
        elsewhere.close();

        RecordingDocumentTarget target;
        FBSpoolWatcher watcher(folder(), ::getuid());
        watcher.setTarget(&target);
        watcher.start();

        QCOMPARE(target.calls.size(), 3);
        QCOMPARE(target.calls[0].bytes, QByteArray("%PDF first"));
        QCOMPARE(target.calls[1].bytes, QByteArray("%PDF second"));
        QCOMPARE(target.calls[2].bytes, QByteArray("%PDF third"));
        for (const auto &call : std::as_const(target.calls))
            QCOMPARE(call.number, QString());
        QStringList left = QDir(folder()).entryList(QDir::Files | QDir::Hidden | QDir::System);
        left.sort();
        QCOMPARE(left,
                 (QStringList{".job-0000000010-77-0.part", "job-0000000002.pdf", "notes.txt"}));
        QVERIFY(QFile::exists(m_dir->filePath(QStringLiteral("elsewhere.pdf"))));
    }

    // A document arriving while the controller is busy with the previous one is taken over
    // after it, and neither twice.
    void busyControllerGetsEachDocumentOnce()
    {
        ReentrantTarget target;
        FBSpoolWatcher watcher(folder(), ::getuid());
        watcher.setTarget(&target);
        target.duringFirst = [&] {
            QVERIFY(writeDocument(QStringLiteral("job-0000000002.pdf"), "%PDF two"));
            watcher.scan();
        };
        QVERIFY(writeDocument(QStringLiteral("job-0000000001.pdf"), "%PDF one"));

        watcher.start();

        QCOMPARE(target.calls.size(), 2);
        QCOMPARE(target.calls[0].bytes, QByteArray("%PDF one"));
        QCOMPARE(target.calls[1].bytes, QByteArray("%PDF two"));
        QCOMPARE(watcher.pendingDocuments(), QStringList());
    }

    void folderOfAnotherUserIsNotRead()
    {
        if (::geteuid() != 0)
            QSKIP("Needs root to give the folder away");
        QVERIFY(writeDocument(QStringLiteral("job-0000000001.pdf"), "%PDF one"));
        QVERIFY(::chown(QFile::encodeName(folder()).constData(), 65534, 65534) == 0);
        LogCapture log;
        RecordingDocumentTarget target;
        FBSpoolWatcher watcher(folder(), 0);
        watcher.setTarget(&target);
        watcher.start();

        QCOMPARE(target.calls.size(), 0);
        QVERIFY(!watcher.isWatching());
        QVERIFY(log.contains(QStringLiteral("does not belong to this user")));
        QVERIFY(QFile::exists(folder() + QStringLiteral("/job-0000000001.pdf")));
    }
};

QTEST_GUILESS_MAIN(TestFBSpoolWatcher)
#include "tst_fbspoolwatcher.moc"
