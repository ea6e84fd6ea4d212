#include "document/FXPDFInspection.h"

#include "foundation/FXLogging.h"

#include <QBuffer>
#include <QElapsedTimer>
#include <QFile>

#include <qpdf/Pipeline.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>

#include <climits>
#include <map>
#include <set>
#include <stdexcept>

namespace {

// Thrown through qpdf to end an unpacking or a walk that has gone past its budget.
struct OverBudget : std::exception
{};
struct OutOfTime : std::exception
{};

// Counts what a stream unpacks to and stops the unpacking one byte past the budget.
class CountingPipeline : public Pipeline
{
public:
    explicit CountingPipeline(qint64 budget)
        : Pipeline("count", nullptr)
        , m_budget(budget)
    {}
    void write(unsigned char const *, size_t length) override
    {
        m_count += qint64(length);
        if (m_count > m_budget)
            throw OverBudget();
    }
    void finish() override {}
    qint64 count() const { return m_count; }

private:
    qint64 m_budget;
    qint64 m_count = 0;
};

bool isNamed(QPDFObjectHandle dictionary, const char *key, const char *name)
{
    return dictionary.getKey(key).isNameAndEquals(name);
}

class Inspector
{
public:
    Inspector(const FXPDFInspection::Limits &limits)
        : m_limits(limits)
    {
        m_clock.start();
    }

    // The leaves of the page tree in document order, as Qt Pdf counts them: a node with
    // /Kids is an inner node, anything else a page. Loops are followed once.
    std::vector<QPDFObjectHandle> pages(QPDF &pdf, QString *problem)
    {
        std::vector<QPDFObjectHandle> leaves;
        std::set<QPDFObjGen> seen;
        std::vector<std::pair<QPDFObjectHandle, int>> pending{{pdf.getRoot().getKey("/Pages"), 1}};
        while (!pending.empty()) {
            tick();
            auto [node, depth] = pending.back();
            pending.pop_back();
            if (!node.isDictionary()
                || (node.isIndirect() && !seen.insert(node.getObjGen()).second))
                continue;
            QPDFObjectHandle kids = node.getKey("/Kids");
            if (!kids.isArray()) {
                leaves.push_back(node);
                continue;
            }
            if (depth >= m_limits.maxTreeDepth) {
                *problem = QStringLiteral("its page tree is nested more than %1 levels deep")
                               .arg(m_limits.maxTreeDepth);
                return {};
            }
            for (int i = kids.getArrayNItems() - 1; i >= 0; --i)
                pending.emplace_back(kids.getArrayItem(i), depth + 1);
        }
        return leaves;
    }

    // Whether rendering the page would unpack more than the budget allows.
    bool isOverBudget(QPDFObjectHandle page)
    {
        m_instructions = 0;
        m_data = 0;
        m_visited.clear();
        m_pending.clear();
        try {
            m_pending.emplace_back(page, false);
            QPDFObjectHandle contents = page.getKey("/Contents");
            if (contents.isArray()) {
                for (int i = contents.getArrayNItems() - 1; i >= 0; --i)
                    m_pending.emplace_back(contents.getArrayItem(i), true);
            } else {
                m_pending.emplace_back(contents, true);
            }
            while (!m_pending.empty()) {
                auto [object, instructions] = m_pending.back();
                m_pending.pop_back();
                visit(object, instructions, page);
            }
        } catch (const OverBudget &) {
            return true;
        } catch (const OutOfTime &) {
            throw;
        } catch (const std::exception &) {
            // What qpdf cannot read there, Qt Pdf does not draw either.
        }
        return false;
    }

    void tick()
    {
        if ((++m_ticks & 63) == 0 && m_clock.hasExpired(m_limits.maxMilliseconds))
            throw OutOfTime();
    }

private:
    // Everything the page draws from, but neither other pages nor what only links to them.
    void visit(QPDFObjectHandle object, bool instructions, QPDFObjectHandle page)
    {
        tick();
        if (object.isIndirect() && !m_visited.insert(object.getObjGen()).second)
            return;
        if (object.isArray()) {
            for (int i = object.getArrayNItems() - 1; i >= 0; --i)
                m_pending.emplace_back(object.getArrayItem(i), false);
            return;
        }
        QPDFObjectHandle dictionary = object.isStream() ? object.getDict() : object;
        if (!dictionary.isDictionary())
            return;
        if (object.isStream()) {
            count(object, instructions);
        } else if (object.getObjGen() != page.getObjGen()
                   && (isNamed(dictionary, "/Type", "/Page")
                       || isNamed(dictionary, "/Type", "/Pages"))) {
            return;
        }
        for (const std::string &key : dictionary.getKeys()) {
            if (key == "/Parent" || key == "/P" || key == "/Dest" || key == "/Contents"
                || key == "/Next" || key == "/Prev" || key == "/Popup")
                continue;
            QPDFObjectHandle value = dictionary.getKey(key);
            if (key == "/CharProcs" && value.isDictionary()) {
                for (const std::string &glyph : value.getKeys())
                    m_pending.emplace_back(value.getKey(glyph), true);
            } else {
                m_pending.emplace_back(value, false);
            }
        }
    }

    void count(QPDFObjectHandle stream, bool instructions)
    {
        QPDFObjectHandle dictionary = stream.getDict();
        if (isNamed(dictionary, "/Subtype", "/Image")) {
            // Rendered as a raster of four bytes a pixel, whatever its stream holds.
            const auto side = [&](const char *key) {
                QPDFObjectHandle value = dictionary.getKey(key);
                return value.isInteger() ? std::clamp<qint64>(value.getIntValue(), 0, 1 << 20) : 0;
            };
            add(m_data, side("/Width") * side("/Height") * 4, m_limits.maxDataBytes);
            return;
        }
        instructions = instructions || isNamed(dictionary, "/Subtype", "/Form")
                       || dictionary.hasKey("/PatternType");
        qint64 &total = instructions ? m_instructions : m_data;
        const qint64 budget = instructions ? m_limits.maxInstructionBytes : m_limits.maxDataBytes;
        add(total, unpackedSize(stream, budget), budget);
    }

    // A stream's unpacked size, no further than one byte past the budget. Filters qpdf does
    // not unpack (images' own codings) count as stored.
    qint64 unpackedSize(QPDFObjectHandle stream, qint64 budget)
    {
        const QPDFObjGen key = stream.getObjGen();
        if (const auto known = m_sizes.find(key); known != m_sizes.end())
            return known->second;
        CountingPipeline counter(budget);
        qint64 size = 0;
        try {
            bool filtered = false;
            if (!stream.pipeStreamData(&counter, &filtered, 0, qpdf_dl_generalized, true)
                && counter.count() == 0) {
                CountingPipeline raw(budget);
                stream.pipeStreamData(&raw, 0, qpdf_dl_none, true);
                size = raw.count();
            } else {
                size = counter.count();
            }
        } catch (const OverBudget &) {
            size = budget + 1;
        } catch (const std::exception &) {
            // Data qpdf cannot read is what Qt Pdf cannot draw either.
            size = std::max<qint64>(counter.count(), 0);
        }
        m_sizes.emplace(key, size);
        return size;
    }

    static void add(qint64 &total, qint64 amount, qint64 budget)
    {
        total += amount;
        if (total > budget)
            throw OverBudget();
    }

    FXPDFInspection::Limits m_limits;
    QElapsedTimer m_clock;
    quint64 m_ticks = 0;
    qint64 m_instructions = 0;
    qint64 m_data = 0;
    std::set<QPDFObjGen> m_visited;
    std::vector<std::pair<QPDFObjectHandle, bool>> m_pending;
    std::map<QPDFObjGen, qint64> m_sizes;
};

} // namespace

FXPDFInspection::Result FXPDFInspection::inspect(QIODevice *input, const Limits &limits)
{
    Result result;
    if (!input || !input->isReadable() || input->isSequential()) {
        result.problem = QStringLiteral("it cannot be read");
        return result;
    }
    const qint64 position = input->pos();
    QByteArray copy;
    try {
        QPDF pdf;
        pdf.setSuppressWarnings(true);
        if (auto *file = qobject_cast<QFile *>(input); file && !file->fileName().isEmpty()) {
            pdf.processFile(QFile::encodeName(file->fileName()).constData());
        } else {
            auto *buffer = qobject_cast<QBuffer *>(input);
            if (buffer) {
                copy = buffer->data();
            } else {
                input->seek(0);
                copy = input->readAll();
                input->seek(position);
            }
            pdf.processMemoryFile("document", copy.constData(), size_t(copy.size()));
        }
        Inspector inspector(limits);
        const std::vector<QPDFObjectHandle> pages = inspector.pages(pdf, &result.problem);
        if (!result.problem.isEmpty())
            return result;
        for (size_t i = 0; i < pages.size(); ++i) {
            if (inspector.isOverBudget(pages[i]))
                result.pagesOverBudget.push_back(int(i) + 1);
        }
        result.pageCount = int(std::min<size_t>(pages.size(), INT_MAX));
        result.readable = true;
    } catch (const OutOfTime &) {
        result.problem = QStringLiteral("its structure takes longer than %1 s to inspect")
                             .arg(limits.maxMilliseconds / 1000);
    } catch (const std::exception &error) {
        result.problem = QString::fromUtf8(error.what());
    }
    if (!result.readable)
        qCWarning(lcDocument, "Not a document to render: %s", qUtf8Printable(result.problem));
    return result;
}
