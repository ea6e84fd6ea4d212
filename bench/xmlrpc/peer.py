#!/usr/bin/env python3
"""The same round as bench_xmlrpc with Python's xmlrpc.client: base-64 text of the PDF in a
zentari.SessionInitiate struct, dumps to UTF-8 bytes, loads back.

  peer.py PDF [ROUNDS]   prints "seconds=<best round> peak_mb=<peak growth>"
"""

import base64
import resource
import sys
import time
import xmlrpc.client


def peak_mib():
    return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss / 1024.0


def one_round(pdf):
    params = ({"LocalUri": "sip:4921155501234@sip.example.net",
               "RemoteUri": "sip:4930123456@sip.example.net",
               "TOS": "fax",
               "Content": base64.b64encode(pdf).decode("ascii")},)
    body = xmlrpc.client.dumps(params, methodname="zentari.SessionInitiate").encode("utf-8")
    del params
    decoded, _ = xmlrpc.client.loads(body)
    return len(decoded[0]["Content"]) == (len(pdf) + 2) // 3 * 4


def main():
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    baseline = peak_mib()
    with open(sys.argv[1], "rb") as f:
        pdf = f.read()
    best = None
    for _ in range(rounds):
        start = time.perf_counter()
        if not one_round(pdf):
            sys.exit("the decoded content differs")
        elapsed = time.perf_counter() - start
        best = elapsed if best is None else min(best, elapsed)
    print("seconds=%.4f peak_mb=%.1f" % (best, peak_mib() - baseline))


if __name__ == "__main__":
    main()
