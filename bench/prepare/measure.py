#!/usr/bin/env python3
"""The prepare benchmark's measurements: wall time (median of several runs, ours and the peer
interleaved), output size, and peak resident memory. Ours runs as two processes (faxolino
and its render helper), so its memory is also sampled as the sum of both (proportional set
sizes, so that shared libraries count once) in runs that are not timed."""

import os
import statistics
import subprocess
import sys
import tempfile
import time

RUNS = 5


def run(command, env=None):
    """Runs a command; returns (seconds, peak resident MiB, standard output)."""
    start = time.perf_counter()
    process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=env)
    out, err = process.stdout.read(), process.stderr.read()
    _, status, usage = os.wait4(process.pid, 0)
    seconds = time.perf_counter() - start
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit("bench prepare: %s failed (%d): %s" % (command[0], process.returncode,
                                                      err.decode(errors="replace")))
    return seconds, usage.ru_maxrss / 1024.0, out.decode()


def tree_pids(pid):
    pids = [pid]
    for index in range(len(pids)):
        try:
            for task in os.listdir("/proc/%d/task" % pids[index]):
                with open("/proc/%d/task/%s/children" % (pids[index], task)) as children:
                    pids.extend(int(child) for child in children.read().split())
        except OSError:
            pass
    return pids


def proportional_kib(pid):
    """The process's proportional set size: pages it shares with the other process (the Qt
    libraries above all) count half in each."""
    try:
        with open("/proc/%d/smaps_rollup" % pid) as rollup:
            for line in rollup:
                if line.startswith("Pss:"):
                    return int(line.split()[1])
    except OSError:
        pass
    return 0


def tree_peak_mib(command, env):
    """Runs a command, sampling the memory of it and its children every 2 ms; the peak of the
    sum in MiB."""
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                               env=env)
    peak = 0
    while process.poll() is None:
        peak = max(peak, sum(proportional_kib(pid) for pid in tree_pids(process.pid)))
        time.sleep(0.002)
    return peak / 1024.0


def main():
    bin_dir = sys.argv[1]
    faxolino = os.path.join(bin_dir, "faxolino")
    env = dict(os.environ, QT_QPA_PLATFORM="offscreen")
    with tempfile.TemporaryDirectory(prefix="bench-prepare.") as work:
        documents = {}
        for pages in (10, 100):
            documents[pages] = os.path.join(work, "document-%d.pdf" % pages)
            run([os.path.join(bin_dir, "prepare-make-document"), documents[pages], str(pages)],
                env)
        ours_out = os.path.join(work, "ours.pdf")
        peer_out = os.path.join(work, "peer.tif")

        def ours(document):
            return run([faxolino, "prepare", document, ours_out, "--type", "text"], env)

        def peer(document):
            return run(["gs", "-q", "-dSAFER", "-dBATCH", "-dNOPAUSE", "-sDEVICE=tiffg4",
                        "-r288", "-g2380x3368", "-dPDFFitPage", "-o", peer_out, document])

        # One unmeasured round warms the file cache and the fonts of both.
        ours(documents[10])
        peer(documents[10])
        ours_times, peer_times, peaks = [], [], []
        for _ in range(RUNS):
            seconds, peak, out = ours(documents[10])
            if out.strip() != "10":
                sys.exit("bench prepare: expected 10 pages, got %r" % out)
            ours_times.append(seconds)
            peaks.append(peak)
            peer_times.append(peer(documents[10])[0])
        ours_bytes = os.path.getsize(ours_out)
        peer_bytes = os.path.getsize(peer_out)

        seconds100, peak100, out = ours(documents[100])
        peer100 = peer(documents[100])[0]
        print("prepare: 100 pages ours=%.3f peer=%.3f peak_mib=%.0f pages=%s ours_bytes=%d "
              "peer_bytes=%d" % (seconds100, peer100, peak100, out.strip(),
                                 os.path.getsize(ours_out), os.path.getsize(peer_out)))

        tree_peaks = [tree_peak_mib([faxolino, "prepare", documents[pages], ours_out, "--type",
                                     "text"], env) for pages in (10, 100)]
        print("prepare: peak of both processes together: 10 pages %.0f MiB, 100 pages %.0f MiB"
              % tuple(tree_peaks))
        peaks.extend(tree_peaks)

        ours_s = statistics.median(ours_times)
        peer_s = statistics.median(peer_times)
        print("BENCH prepare ours=%.3f peer=%.3f ratio=%.2f ours_bytes=%d peer_bytes=%d "
              "peak_mib=%.0f" % (ours_s, peer_s, ours_s / peer_s, ours_bytes, peer_bytes,
                                 max(max(peaks), peak100)))


if __name__ == "__main__":
    main()
