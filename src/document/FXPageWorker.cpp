#include "document/FXPageWorker.h"

#include "document/FXPageMessages.h"
#include "foundation/FXLogging.h"

#include <QFile>
#include <QIODevice>
#include <QPdfDocument>
#include <QThread>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <climits>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

#ifndef FAXOLINO_LIBEXEC_DIR
#define FAXOLINO_LIBEXEC_DIR "/usr/libexec/faxolino"
#endif

namespace {

constexpr char helperName[] = "faxolino-render";
constexpr int sharedFd = 3;
constexpr int pipeSize = 1 << 20;
// A page's byte in shared memory: 0, or beyond the memory budget (it comes back as out of
// memory at once), or taken out of turn by the parent (the helper passes over it).
constexpr unsigned char skippedPage = 1;
constexpr unsigned char parentsPage = 2;
// The helper's address space. Page preparation needs a few hundred megabytes; the limit only
// ends what would otherwise take the machine's memory. Sanitizers reserve terabytes of
// address space for themselves, so their builds go without.
constexpr rlim_t helperAddressSpace = rlim_t(3) << 30;

std::atomic<int> pageDeadlineMs{60000};

bool writeAll(int fd, const char *data, size_t size)
{
    while (size > 0) {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        data += written;
        size -= size_t(written);
    }
    return true;
}

// A descriptor moved above the standard streams, so that handing the helper its descriptors
// as 0, 1 and 3 cannot overwrite one of them with another (a program started with its
// standard streams closed gets 0, 1 and 2 for the first files it opens).
int aboveStandardStreams(int fd)
{
    if (fd < 0 || fd > STDERR_FILENO)
        return fd;
    const int moved = ::fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    ::close(fd);
    return moved;
}

bool parseInt(const char *text, int &value)
{
    const char *end = text + std::strlen(text);
    const auto [rest, error] = std::from_chars(text, end, value);
    return error == std::errc() && rest == end;
}

bool isExecutable(const QByteArray &path)
{
    struct stat info;
    return ::stat(path.constData(), &info) == 0 && S_ISREG(info.st_mode)
           && ::access(path.constData(), X_OK) == 0;
}

// A descriptor of its own on the document for the helper: the same file reopened (so that
// the two processes' read positions are independent), or the bytes copied into memory.
int documentDescriptor(QIODevice *input)
{
    if (auto *file = qobject_cast<QFile *>(input); file && file->handle() >= 0) {
        const QByteArray path = "/proc/self/fd/" + QByteArray::number(file->handle());
        const int fd = aboveStandardStreams(::open(path.constData(), O_RDONLY | O_CLOEXEC));
        if (fd >= 0)
            return fd;
    }
    const int fd = aboveStandardStreams(::memfd_create("faxolino-document", MFD_CLOEXEC));
    if (fd < 0)
        return -1;
    const qint64 position = input->pos();
    bool copied = input->seek(0);
    QByteArray chunk(1 << 20, Qt::Uninitialized);
    while (copied) {
        const qint64 count = input->read(chunk.data(), chunk.size());
        if (count <= 0) {
            copied = count == 0;
            break;
        }
        copied = writeAll(fd, chunk.constData(), size_t(count));
    }
    input->seek(position);
    if (!copied || ::lseek(fd, 0, SEEK_SET) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

// The helper program: as FAXOLINO_RENDER_HELPER names it, else beside the running program
// (a build tree), else where the package puts it.
QByteArray helperPath()
{
    if (qEnvironmentVariableIsSet("FAXOLINO_RENDER_HELPER"))
        return QFile::encodeName(qEnvironmentVariable("FAXOLINO_RENDER_HELPER"));
    char self[PATH_MAX];
    const ssize_t length = ::readlink("/proc/self/exe", self, sizeof self - 1);
    if (length > 0) {
        QByteArray path(self, length);
        path.truncate(path.lastIndexOf('/') + 1);
        path += helperName;
        if (isExecutable(path))
            return path;
    }
    return QByteArray(FAXOLINO_LIBEXEC_DIR "/") + helperName;
}

} // namespace

struct FXPageWorker::Shared
{
    std::atomic<int> next; // the next page to hand out
};

static_assert(std::atomic<int>::is_always_lock_free, "the counter is shared between processes");

// The shared memory holds the counter, then one byte per page.
FXPageWorker::FXPageWorker(int pageCount, const std::vector<int> &skipped)
    : m_pageCount(std::clamp(pageCount, 0, INT_MAX - 4))
    , m_skipped(size_t(m_pageCount) + 1, false)
{
    for (const int page : skipped) {
        if (page >= 1 && page <= m_pageCount)
            m_skipped[size_t(page)] = true;
    }
}

void FXPageWorker::setPageDeadline(int milliseconds)
{
    pageDeadlineMs = std::max(milliseconds, 1);
}

unsigned char *FXPageWorker::sharedFlags() const
{
    return reinterpret_cast<unsigned char *>(m_shared + 1);
}

bool FXPageWorker::isSkipped(int page) const
{
    return page >= 1 && page <= m_pageCount && m_skipped[size_t(page)];
}

FXPageWorker::~FXPageWorker()
{
    stop(true);
    if (m_shared)
        ::munmap(m_shared, m_sharedSize);
    if (m_sharedFd >= 0)
        ::close(m_sharedFd);
}

bool FXPageWorker::start(QIODevice *input, int useType, int threshold)
{
    if (m_pid > 0 || m_shared || m_pageCount < 1 || !input || QThread::idealThreadCount() < 2)
        return false;
    const QByteArray program = helperPath();
    if (program.isEmpty() || !isExecutable(program))
        return false;
    m_sharedSize = sizeof(Shared) + size_t(m_pageCount) + 1;
    m_sharedFd = aboveStandardStreams(::memfd_create("faxolino-pages", MFD_CLOEXEC));
    if (m_sharedFd < 0 || ::ftruncate(m_sharedFd, off_t(m_sharedSize)) != 0) {
        qCWarning(lcDocument, "No shared page counter for the render helper: %s",
                  std::strerror(errno));
        return false;
    }
    void *memory = ::mmap(nullptr, m_sharedSize, PROT_READ | PROT_WRITE, MAP_SHARED, m_sharedFd, 0);
    if (memory == MAP_FAILED) {
        qCWarning(lcDocument, "No shared page counter for the render helper: %s",
                  std::strerror(errno));
        return false;
    }
    m_shared = new (memory) Shared{m_localNext};
    for (int page = 0; page <= m_pageCount; ++page)
        sharedFlags()[page] = m_skipped[size_t(page)] ? skippedPage : 0;
    if (m_first > 0)
        sharedFlags()[m_first] = parentsPage;

    const int document = documentDescriptor(input);
    int pipe[2];
    if (document < 0 || ::pipe2(pipe, O_CLOEXEC) != 0) {
        qCWarning(lcDocument, "Cannot hand the document to the render helper: %s",
                  std::strerror(errno));
        if (document >= 0)
            ::close(document);
        return false;
    }
    pipe[0] = aboveStandardStreams(pipe[0]);
    pipe[1] = aboveStandardStreams(pipe[1]);
    if (pipe[0] < 0 || pipe[1] < 0) {
        qCWarning(lcDocument, "Cannot open a pipe to the render helper: %s", std::strerror(errno));
        for (const int fd : {document, pipe[0], pipe[1]}) {
            if (fd >= 0)
                ::close(fd);
        }
        return false;
    }
    // Room for a few coded pages, so that the helper seldom waits for this process to read.
    ::fcntl(pipe[0], F_SETPIPE_SZ, pipeSize);
    ::fcntl(pipe[0], F_SETFL, ::fcntl(pipe[0], F_GETFL) | O_NONBLOCK);

    const QByteArray pages = QByteArray::number(m_pageCount);
    const QByteArray type = QByteArray::number(useType);
    const QByteArray level = QByteArray::number(threshold);
    const QByteArray parent = QByteArray::number(qint64(::getpid()));
    char *arguments[] = {
        const_cast<char *>(helperName),         const_cast<char *>(pages.constData()),
        const_cast<char *>(type.constData()),   const_cast<char *>(level.constData()),
        const_cast<char *>(parent.constData()), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, document, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, pipe[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, m_sharedFd, sharedFd);
    pid_t pid = -1;
    const int error =
        ::posix_spawn(&pid, program.constData(), &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(document);
    ::close(pipe[1]);
    if (error != 0) {
        qCWarning(lcDocument, "Cannot start the render helper %s: %s", program.constData(),
                  std::strerror(error));
        ::close(pipe[0]);
        return false;
    }
    m_pid = pid;
    m_pipe = pipe[0];
    m_sent.assign(size_t(m_pageCount) + 1, false);
    // Counts as sent already, so that the helper sending it anyway is a fault.
    if (m_first > 0)
        m_sent[size_t(m_first)] = true;
    m_sinceLastPage.start();
    return true;
}

void FXPageWorker::takeFirst(int page)
{
    if (!m_shared && page >= 1 && page <= m_pageCount)
        m_first = page;
}

int FXPageWorker::claim()
{
    for (;;) {
        const int page = m_shared ? m_shared->next.fetch_add(1) : m_localNext++;
        if (page > m_pageCount)
            return 0;
        if (page != m_first)
            return page;
    }
}

void FXPageWorker::receive(std::map<int, FXFaxPageGenerator::PreparedPage> &pages, bool wait)
{
    const int before = m_received;
    while (m_pid > 0) {
        const bool open = readAvailable();
        if (!parseMessages(pages)) {
            qCWarning(lcDocument, "The render helper sent something that is not a page");
            stop(true);
            return;
        }
        if (!open) {
            stop(false);
            return;
        }
        if (m_received > before)
            m_sinceLastPage.start();
        const qint64 left = timeLeft();
        if (left == 0) {
            qCWarning(lcDocument,
                      "The render helper spent more than %d s on one page; it is "
                      "stopped and the page is left out",
                      pageDeadlineMs.load() / 1000);
            stop(true);
            return;
        }
        if (!wait || m_received > before)
            return;
        pollfd readable{m_pipe, POLLIN, 0};
        if (::poll(&readable, 1, int(std::min<qint64>(left, INT_MAX))) < 0 && errno != EINTR) {
            stop(true);
            return;
        }
    }
}

qint64 FXPageWorker::timeLeft() const
{
    return std::max<qint64>(pageDeadlineMs.load() - m_sinceLastPage.elapsed(), 0);
}

bool FXPageWorker::readAvailable()
{
    char chunk[65536];
    for (;;) {
        const ssize_t count = ::read(m_pipe, chunk, sizeof chunk);
        if (count > 0) {
            m_buffer.append(chunk, count);
            continue;
        }
        if (count < 0 && errno == EINTR)
            continue;
        return count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
    }
}

bool FXPageWorker::parseMessages(std::map<int, FXFaxPageGenerator::PreparedPage> &pages)
{
    const int claimed = m_shared ? std::min(m_shared->next.load(), m_pageCount + 1) : 0;
    return FXPageMessages::decode(m_buffer, claimed, m_sent, pages, m_received, m_delivered);
}

std::vector<int>
FXPageWorker::lostPages(int firstUnwritten,
                        const std::map<int, FXFaxPageGenerator::PreparedPage> &pages)
{
    std::vector<int> lost;
    if (m_pid > 0 || !m_shared)
        return lost;
    const int claimed = std::min(m_shared->next.load() - 1, m_pageCount);
    for (int page = std::max(firstUnwritten, 1); page <= claimed; ++page) {
        if (page != m_first && !pages.count(page))
            lost.push_back(page);
    }
    return lost;
}

void FXPageWorker::stop(bool kill)
{
    if (m_pid > 0) {
        // After the end of its output the helper is on its way out; otherwise it is stopped.
        if (kill)
            ::kill(m_pid, SIGKILL);
        int status = 0;
        while (::waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {
        }
        if (!kill && !(WIFEXITED(status) && WEXITSTATUS(status) == 0)) {
            qCWarning(lcDocument, "The render helper ended early (%s %d)",
                      WIFSIGNALED(status) ? "signal" : "status",
                      WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status));
        }
        m_pid = -1;
    }
    if (m_pipe >= 0) {
        ::close(m_pipe);
        m_pipe = -1;
    }
    m_buffer.clear();
}

int FXPageWorker::serve(int argc, char *argv[])
{
    int pageCount = 0, useType = 0, threshold = 0, parent = 0;
    if (argc != 5 || !parseInt(argv[1], pageCount) || !parseInt(argv[2], useType)
        || !parseInt(argv[3], threshold) || !parseInt(argv[4], parent) || pageCount < 1) {
        std::fputs("faxolino-render: to be started by Faxolino only\n", stderr);
        return 2;
    }
    // Ends with the process that started it.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent)
        return 1;
    std::signal(SIGPIPE, SIG_IGN);
    FXFaxPageGenerator::keepPageMemory();
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    const rlimit limit{helperAddressSpace, helperAddressSpace};
    ::setrlimit(RLIMIT_AS, &limit);
#endif

    const size_t sharedSize = sizeof(Shared) + size_t(pageCount) + 1;
    struct stat info;
    if (::fstat(sharedFd, &info) != 0 || info.st_size < qint64(sharedSize))
        return 2;
    void *memory = ::mmap(nullptr, sharedSize, PROT_READ | PROT_WRITE, MAP_SHARED, sharedFd, 0);
    if (memory == MAP_FAILED)
        return 2;
    auto *shared = static_cast<Shared *>(memory);
    const auto *flags = reinterpret_cast<const unsigned char *>(shared + 1);

    QFile input;
    if (!input.open(STDIN_FILENO, QIODevice::ReadOnly, QFileDevice::DontCloseHandle))
        return 1;
    QPdfDocument document;
    document.load(&input);
    if (document.status() != QPdfDocument::Status::Ready || document.pageCount() != pageCount)
        return 1;

    for (;;) {
        const int page = shared->next.fetch_add(1);
        if (page > pageCount)
            return 0;
        if (flags[page] == parentsPage)
            continue;
        FXFaxPageGenerator::PreparedPage prepared;
        if (flags[page] == skippedPage)
            prepared.outcome = FXFaxPageGenerator::PreparedPage::OutOfMemory;
        else
            prepared = FXFaxPageGenerator::preparePage(document, page, useType, threshold);
        const QByteArray message = FXPageMessages::encode(page, prepared);
        if (!writeAll(STDOUT_FILENO, message.constData(), size_t(message.size())))
            return 1;
    }
}
