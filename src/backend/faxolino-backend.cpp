// The CUPS backend behind the "voxaria Faxolino" queue. It hands each printed PDF to the
// submitting user's Faxolino through a per-user spool folder:
//
//   <spool root>/<uid>/job-<job id>.pdf      (spool root: /var/spool/faxolino)
//
// CUPS runs it as root because its mode is 0700. Root is needed for two things only: opening the
// job's data file and creating the user's spool folder. Everything else, above all writing the
// document, happens as the user. Nothing from the job's title or options ever reaches a path.

#include "backend/FaxolinoSpool.h"

#include <cups/backend.h>
#include <cups/cups.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

namespace {

// A fax of this size is already absurd; the cap keeps one user from filling /var.
constexpr long long kMaximumDocumentSize = 256LL * 1024 * 1024;
// PDF readers accept a header anywhere in the first kilobyte.
constexpr size_t kHeaderWindow = 1024;

volatile sig_atomic_t cancelled = 0;

void onTerminate(int)
{
    cancelled = 1;
}

// Messages to CUPS are single lines with a fixed prefix; none of them carries job data.
void report(const char *level, const char *message, const char *detail = nullptr)
{
    if (detail)
        std::fprintf(stderr, "%s: %s: %s\n", level, message, detail);
    else
        std::fprintf(stderr, "%s: %s\n", level, message);
}

class FileDescriptor
{
public:
    explicit FileDescriptor(int fd = -1)
        : m_fd(fd)
    {}
    ~FileDescriptor()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;
    void reset(int fd)
    {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = fd;
    }
    int get() const { return m_fd; }
    bool valid() const { return m_fd >= 0; }
    int release()
    {
        const int fd = m_fd;
        m_fd = -1;
        return fd;
    }

private:
    int m_fd;
};

bool parseJobId(const char *text, long *jobId)
{
    if (!*text || std::strlen(text) > 9)
        return false;
    long value = 0;
    for (const char *p = text; *p; ++p) {
        if (*p < '0' || *p > '9')
            return false;
        value = value * 10 + (*p - '0');
    }
    *jobId = value;
    return value > 0;
}

bool isLoopbackHost(const char *host)
{
    return std::strcmp(host, "localhost") == 0 || std::strncmp(host, "127.", 4) == 0
           || std::strcmp(host, "::1") == 0 || std::strcmp(host, "[::1]") == 0
           || std::strcmp(host, "[v1.::1]") == 0;
}

// The scheduler passes the job's attributes in the options, among them the host the job came
// from. Only a client on this computer may set that one itself; for any other the scheduler
// writes the client's address. Values arrive escaped, so a value cannot pose as an option, and
// a job that names its host twice is refused rather than trusted for either.
bool jobIsLocal(const char *options)
{
    static const char key[] = "job-originating-host-name";
    int mentions = 0;
    for (const char *p = std::strstr(options, key); p; p = std::strstr(p + 1, key))
        ++mentions;
    cups_option_t *parsed = nullptr;
    const int count = cupsParseOptions(options, 0, &parsed);
    const char *host = cupsGetOption(key, count, parsed);
    const bool local = mentions == 1 && host && isLoopbackHost(host);
    cupsFreeOptions(count, parsed);
    if (!local)
        report("ERROR", "Faxolino accepts jobs from this computer only");
    return local;
}

// Opens (creating it when missing) the root-owned spool root and the user's folder below it,
// and makes sure the folder belongs to the user alone. Runs as root; every step works on
// descriptors opened without following links, so a planted link is refused, not followed.
int openUserSpoolFolder(const char *spoolRoot, uid_t uid, gid_t gid, bool asRoot)
{
    if (spoolRoot[0] != '/') {
        report("ERROR", "The spool folder must be an absolute path");
        return -1;
    }
    bool createdRoot = false;
    if (asRoot) {
        if (::mkdir(spoolRoot, 0700) == 0)
            createdRoot = true;
        else if (errno != EEXIST) {
            report("ERROR", "Cannot create the spool folder", std::strerror(errno));
            return -1;
        }
    }
    FileDescriptor root(::open(spoolRoot, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat info;
    if (!root.valid() || ::fstat(root.get(), &info) != 0) {
        report("ERROR", "Cannot open the spool folder", std::strerror(errno));
        return -1;
    }
    if (info.st_uid != 0 || (info.st_mode & (S_IWGRP | S_IWOTH))) {
        report("ERROR", "The spool folder must belong to root and be writable by root only");
        return -1;
    }
    // Users pass through to their own folder but cannot list the others.
    if (createdRoot && ::fchmod(root.get(), 0711) != 0) {
        report("ERROR", "Cannot open up the spool folder", std::strerror(errno));
        return -1;
    }

    char name[32];
    std::snprintf(name, sizeof name, "%lu", static_cast<unsigned long>(uid));
    bool created = false;
    if (asRoot) {
        if (::mkdirat(root.get(), name, 0700) == 0)
            created = true;
        else if (errno != EEXIST) {
            report("ERROR", "Cannot create the user's spool folder", std::strerror(errno));
            return -1;
        }
    }
    FileDescriptor folder(
        ::openat(root.get(), name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder.valid() || ::fstat(folder.get(), &info) != 0) {
        report("ERROR", "Cannot open the user's spool folder", std::strerror(errno));
        return -1;
    }
    if (created) {
        if (::fchown(folder.get(), uid, gid) != 0 || ::fstat(folder.get(), &info) != 0) {
            report("ERROR", "Cannot hand the spool folder to its user", std::strerror(errno));
            return -1;
        }
    }
    if (info.st_uid != uid) {
        report("ERROR", "The user's spool folder belongs to someone else");
        return -1;
    }
    if ((info.st_mode & 07777) != 0700 && ::fchmod(folder.get(), 0700) != 0) {
        report("ERROR", "Cannot protect the user's spool folder", std::strerror(errno));
        return -1;
    }
    return folder.release();
}

bool dropPrivileges(uid_t uid, gid_t gid)
{
    if (::setgroups(1, &gid) != 0 || ::setgid(gid) != 0 || ::setuid(uid) != 0)
        return false;
    gid_t groups[2];
    const int count = ::getgroups(2, groups);
    if (::getuid() != uid || ::geteuid() != uid || ::getgid() != gid || ::getegid() != gid
        || count != 1 || groups[0] != gid)
        return false;
    // Root must be gone for good, not just set aside.
    return ::setuid(0) != 0 && ::seteuid(0) != 0;
}

bool hasPdfHeader(const char *data, size_t length)
{
    const size_t window = length < kHeaderWindow ? length : kHeaderWindow;
    for (size_t i = 0; i + 5 <= window; ++i) {
        if (std::memcmp(data + i, "%PDF-", 5) == 0)
            return true;
    }
    return false;
}

bool writeAll(int fd, const char *data, size_t length)
{
    while (length > 0) {
        const ssize_t written = ::write(fd, data, length);
        if (written < 0) {
            if (errno == EINTR && !cancelled)
                continue;
            return false;
        }
        data += written;
        length -= static_cast<size_t>(written);
    }
    return true;
}

enum class CopyResult { Done, NotPdf, TooLarge, ReadError, WriteError, Cancelled };

CopyResult copyDocument(int input, int output)
{
    static char buffer[64 * 1024];
    size_t head = 0;
    bool headerChecked = false;
    long long total = 0;
    for (;;) {
        if (cancelled)
            return CopyResult::Cancelled;
        const ssize_t got = ::read(input, buffer + head, sizeof buffer - head);
        if (got < 0) {
            if (errno == EINTR)
                continue;
            return CopyResult::ReadError;
        }
        total += got;
        if (total > kMaximumDocumentSize)
            return CopyResult::TooLarge;
        size_t available = head + static_cast<size_t>(got);
        if (!headerChecked) {
            // Collect the first kilobyte before deciding, so that a header split across
            // reads of a pipe is still found.
            if (got > 0 && available < kHeaderWindow) {
                head = available;
                continue;
            }
            if (!hasPdfHeader(buffer, available))
                return CopyResult::NotPdf;
            headerChecked = true;
            head = 0;
        }
        if (available > 0 && !writeAll(output, buffer, available))
            return CopyResult::WriteError;
        if (got == 0)
            return CopyResult::Done;
    }
}

// Writes the document under a hidden name and gives it its final name only when complete, so
// that Faxolino never opens half a document. Neither name ever replaces an existing entry.
int deliver(int input, int folder, long jobId)
{
    char temporary[64];
    FileDescriptor output;
    for (int attempt = 0; attempt < 100 && !output.valid(); ++attempt) {
        std::snprintf(temporary, sizeof temporary, ".job-%010ld-%ld-%d.part", jobId,
                      static_cast<long>(::getpid()), attempt);
        output.reset(::openat(folder, temporary,
                              O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!output.valid() && errno != EEXIST) {
            report("ERROR", "Cannot write into the user's spool folder", std::strerror(errno));
            return CUPS_BACKEND_RETRY;
        }
    }
    if (!output.valid()) {
        report("ERROR", "No free name in the user's spool folder");
        return CUPS_BACKEND_RETRY;
    }

    const CopyResult copied = copyDocument(input, output.get());
    const bool synced = copied == CopyResult::Done && ::fsync(output.get()) == 0;
    output.reset(-1);
    if (!synced) {
        ::unlinkat(folder, temporary, 0);
        switch (copied) {
        case CopyResult::NotPdf:
            report("ERROR", "Faxolino accepts PDF documents only");
            return CUPS_BACKEND_CANCEL;
        case CopyResult::TooLarge:
            report("ERROR", "The document is too large for a fax");
            return CUPS_BACKEND_CANCEL;
        case CopyResult::Cancelled:
            return CUPS_BACKEND_CANCEL;
        case CopyResult::ReadError:
            report("ERROR", "Cannot read the print job", std::strerror(errno));
            return CUPS_BACKEND_RETRY;
        default:
            report("ERROR", "Cannot write the document", std::strerror(errno));
            return CUPS_BACKEND_RETRY;
        }
    }

    for (int attempt = 0; attempt < 1000; ++attempt) {
        char name[64];
        if (attempt == 0)
            std::snprintf(name, sizeof name, "job-%010ld.pdf", jobId);
        else
            std::snprintf(name, sizeof name, "job-%010ld-%d.pdf", jobId, attempt);
        if (::linkat(folder, temporary, folder, name, 0) == 0) {
            ::unlinkat(folder, temporary, 0);
            report("INFO", "The document was handed to Faxolino");
            return CUPS_BACKEND_OK;
        }
        if (errno != EEXIST)
            break;
    }
    report("ERROR", "Cannot name the document in the user's spool folder", std::strerror(errno));
    ::unlinkat(folder, temporary, 0);
    return CUPS_BACKEND_RETRY;
}

} // namespace

int main(int argc, char *argv[])
{
    ::umask(077);

    if (argc == 1) {
        // Device discovery (lpinfo -v).
        std::puts("direct faxolino:/ \"voxaria Faxolino\" \"voxaria Faxolino\"");
        return CUPS_BACKEND_OK;
    }
    if (argc < 6 || argc > 7) {
        std::fprintf(stderr, "Usage: %s job-id user title copies options [file]\n", argv[0]);
        return CUPS_BACKEND_FAILED;
    }

    struct sigaction action = {};
    action.sa_handler = onTerminate;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGTERM, &action, nullptr);

    long jobId = 0;
    if (!parseJobId(argv[1], &jobId)) {
        report("ERROR", "Invalid job id");
        return CUPS_BACKEND_CANCEL;
    }
    const struct passwd *account = ::getpwnam(argv[2]);
    if (!account) {
        report("ERROR", "Faxolino accepts jobs of local users only");
        return CUPS_BACKEND_CANCEL;
    }
    const uid_t uid = account->pw_uid;
    const gid_t gid = account->pw_gid;
    if (uid == 0) {
        report("ERROR", "Faxolino does not accept jobs of root");
        return CUPS_BACKEND_CANCEL;
    }

    const bool asRoot = ::geteuid() == 0;
    if (!asRoot && (::getuid() != uid || ::geteuid() != uid)) {
        report("ERROR", "The faxolino backend must be installed with mode 0700 to run as root");
        return CUPS_BACKEND_STOP;
    }
    if (!jobIsLocal(argv[5]))
        return CUPS_BACKEND_CANCEL;

    FileDescriptor input(argc == 7 ? ::open(argv[6], O_RDONLY | O_NOFOLLOW | O_CLOEXEC) : ::dup(0));
    if (!input.valid()) {
        report("ERROR", "Cannot open the print job", std::strerror(errno));
        return CUPS_BACKEND_FAILED;
    }

    const std::string spoolRoot = faxolinoSpoolRoot();
    FileDescriptor folder(openUserSpoolFolder(spoolRoot.c_str(), uid, gid, asRoot));
    if (!folder.valid())
        return CUPS_BACKEND_RETRY;

    if (asRoot && !dropPrivileges(uid, gid)) {
        report("ERROR", "Cannot switch to the job's user");
        return CUPS_BACKEND_STOP;
    }
    return deliver(input.get(), folder.get(), jobId);
}
