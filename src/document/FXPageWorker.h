#pragma once

#include "document/FXFaxPageGenerator.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QString>

#include <map>
#include <sys/types.h>
#include <vector>

class QIODevice;

// Shares the pages of one document between this process and a helper process
// (faxolino-render), because Qt Pdf renders one page at a time per process. Both take the
// next page number from a counter in shared memory, so a slow page holds up neither; the
// helper prepares each page it takes and sends it back through a pipe. Without a helper the
// counter simply hands every page to this process.
class FXPageWorker
{
public:
    // The pages in `skipped` (counted from 1) are not prepared by either process: they come
    // back as out of memory at once.
    explicit FXPageWorker(int pageCount, const std::vector<int> &skipped = {});
    FXPageWorker(const FXPageWorker &) = delete;
    FXPageWorker &operator=(const FXPageWorker &) = delete;
    // Stops a helper that is still running.
    ~FXPageWorker();

    // Starts the helper on the document in input (a file is reopened, anything else copied to
    // memory). False when there is no second processor or no helper program, or it could not
    // be started; the pages then all stay here. FAXOLINO_RENDER_HELPER names the program; set
    // to an empty value it turns the helper off.
    bool start(QIODevice *input, int useType, int threshold);
    // Keeps page `page` (counted from 1) for this process to prepare out of turn: neither
    // claim() nor the helper hands it out. Called before start().
    void takeFirst(int page);
    bool isRunning() const { return m_pid > 0; }

    // The next page to prepare here, counted from 1, or 0 when every page has been taken.
    int claim();
    bool isSkipped(int page) const;

    // How long the helper may take over one page before it is stopped (60 s by default).
    static void setPageDeadline(int milliseconds);

    // Moves the pages the helper has sent into pages. With wait, blocks until at least one
    // arrives or the helper ends. A helper that sends something malformed, or spends longer
    // than the page deadline on one page, is stopped.
    void receive(std::map<int, FXFaxPageGenerator::PreparedPage> &pages, bool wait);

    // Once the helper has ended: the pages it took but never sent, from firstUnwritten on,
    // leaving out those already in pages. Whatever ended the helper (a page beyond its
    // memory limit or its deadline, a fault) would most likely end this process too, so these
    // pages are left out.
    std::vector<int> lostPages(int firstUnwritten,
                               const std::map<int, FXFaxPageGenerator::PreparedPage> &pages);

    // Pages the helper sent.
    int deliveredPageCount() const { return m_delivered; }

    // The helper program's main: faxolino-render PAGES TYPE THRESHOLD PARENT-PID, with the
    // document on standard input, the pipe on standard output and the counter on fd 3.
    static int serve(int argc, char *argv[]);

private:
    struct Shared;

    bool readAvailable();
    bool parseMessages(std::map<int, FXFaxPageGenerator::PreparedPage> &pages);
    void stop(bool kill);
    unsigned char *sharedFlags() const;
    // Milliseconds left before the helper's current page is overdue (at least 0).
    qint64 timeLeft() const;

    int m_pageCount = 0;
    int m_sharedFd = -1;
    Shared *m_shared = nullptr;
    size_t m_sharedSize = 0;
    int m_localNext = 1;           // the counter when shared memory cannot be had
    int m_first = 0;               // the page taken out of turn, or 0
    std::vector<bool> m_skipped;   // by page
    QElapsedTimer m_sinceLastPage; // while the helper runs
    pid_t m_pid = -1;
    int m_pipe = -1;
    QByteArray m_buffer;
    std::vector<bool> m_sent; // by page, what the helper has sent
    int m_received = 0;
    int m_delivered = 0;
};
