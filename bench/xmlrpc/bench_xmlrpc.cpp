// Encodes and decodes a zentari.SessionInitiate call carrying a PDF as base-64 text, the way
// the service client sends it, and reports the best time of a few rounds and the peak memory.
//
//   bench_xmlrpc PDF [ROUNDS]
// prints "seconds=<best round> peak_mb=<peak growth> payload_mb=<PDF size>".

#include "provider/xmlrpc/WPBase64Utils.h"
#include "provider/xmlrpc/WPXMLRPCDecoder.h"
#include "provider/xmlrpc/WPXMLRPCEncoder.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>

#include <cstdio>
#include <sys/resource.h>
#include <unistd.h>

namespace {

double residentMiB()
{
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.size() > 1 ? fields[1].toDouble() * double(sysconf(_SC_PAGESIZE)) / 1048576.0 : 0;
}

double peakResidentMiB()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) / 1024.0;
}

// One round as the client does it: the PDF becomes base-64 text in the request struct, the
// encoder writes the request, and (standing in for the answer) the decoder reads it back.
// Each stage lets go of its input once the next one has its output.
bool round(const QByteArray &pdf)
{
    QByteArray body;
    {
        const XmlRpcValue content = XmlRpcValue::fromUtf8(WPBase64Utils::encodeData(pdf));
        const XmlRpcMap params{{"LocalUri", "sip:4921155501234@sip.example.net"},
                               {"RemoteUri", "sip:4930123456@sip.example.net"},
                               {"TOS", "fax"},
                               {"Content", content}};
        body = WPXMLRPCEncoder::initWithMethod(QStringLiteral("zentari.SessionInitiate"), {params})
                   .dataEncodedWithError();
    }
    const WPXMLRPCDecoder decoder(body);
    body = QByteArray();
    const XmlRpcValue content = decoder.object()["params"][0]["Content"];
    return content.toUtf8().size() == (pdf.size() + 2) / 3 * 4;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: bench_xmlrpc PDF [ROUNDS]\n");
        return 2;
    }
    const int rounds = argc > 2 ? std::max(1, atoi(argv[2])) : 5;

    const double baseline = residentMiB();
    QFile file(QString::fromLocal8Bit(argv[1]));
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "cannot read %s\n", argv[1]);
        return 1;
    }
    const QByteArray pdf = file.readAll();

    double best = 1e9;
    for (int i = 0; i < rounds; ++i) {
        QElapsedTimer timer;
        timer.start();
        if (!round(pdf)) {
            std::fprintf(stderr, "the decoded content differs\n");
            return 1;
        }
        best = std::min(best, double(timer.nsecsElapsed()) / 1e9);
    }
    std::printf("seconds=%.4f peak_mb=%.1f payload_mb=%.1f\n", best, peakResidentMiB() - baseline,
                double(pdf.size()) / 1048576.0);
    return 0;
}
