#!/usr/bin/python3
"""Reads the feed benchmark's 10,000-item RSS 2.0 feed with Python's feedparser and with the
feed reader (bytes to record), in one run, and prints both times and their ratio.

Run by hand after building the benchmarks, with Debian's own Python (feedparser is Debian's
python3-feedparser; it is a tool for this comparison only, not a dependency of the project):

    bench/feedparser_compare.py [build/bench/rss_bench]
"""
import json
import os
import subprocess
import sys
import tempfile
import time

import feedparser

MS_PER_UNIT = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}


def main():
    bench = sys.argv[1] if len(sys.argv) > 1 else "build/bench/rss_bench"
    with tempfile.TemporaryDirectory() as scratch:
        feed_path = os.path.join(scratch, "feed.xml")
        result = subprocess.run(
            [bench, "--benchmark_filter=^(BM_ExpatBare|BM_ReadDocument|BM_BytesToRecord)$",
             "--benchmark_min_time=2", "--benchmark_format=json"],
            env=dict(os.environ, VELL_FEED_OUT=feed_path),
            check=True, capture_output=True, text=True)
        with open(feed_path, "rb") as f:
            data = f.read()

    # The best of a few runs, as the benchmark library reports a mean of many.
    best = None
    for _ in range(3):
        start = time.process_time()
        parsed = feedparser.parse(data)
        elapsed = time.process_time() - start
        best = elapsed if best is None else min(best, elapsed)
    if len(parsed.entries) != 10000:
        sys.exit("feedparser read %d entries, not 10000" % len(parsed.entries))

    print("feed: %d bytes, 10000 items" % len(data))
    print("%-28s %10.1f ms" % ("feedparser.parse", best * 1000))
    for bm in json.loads(result.stdout)["benchmarks"]:
        cpu_ms = bm["cpu_time"] * MS_PER_UNIT[bm["time_unit"]]
        print("%-28s %10.1f ms   feedparser / this: %6.1f" % (bm["name"], cpu_ms,
                                                             best * 1000 / cpu_ms))


if __name__ == "__main__":
    main()
