#!/usr/bin/env python3
"""Measures vxdep beside what one would use instead, in one run on one tree.

usage: run.py --programs DIR [--work DIR] [--repeat N] [--json FILE] PROJECT NAME EXTENSION...

PROJECT is a project directory (res/ and builtin/), NAME the file name to look for with rg and the
resource to ask rdeps about, EXTENSIONs those that the rules read. Page cache warm; medians.
"""

import argparse
import json
import os
import shutil
import statistics
import subprocess
import sys
import threading
import time


class Run:
    """One measured command: its wall time in seconds and its peak memory in bytes, the pages of
    mapped files (as the database's) left out."""

    def __init__(self, command, cwd):
        start = time.perf_counter()
        child = subprocess.Popen(command, cwd=cwd, stdout=subprocess.DEVNULL,
                                 stderr=subprocess.PIPE)
        watch = threading.Thread(target=self.watch_memory, args=(child.pid,))
        self.peak = 0
        watch.start()
        errors = child.stderr.read()
        child.wait()
        self.seconds = time.perf_counter() - start
        watch.join()
        if child.returncode != 0:
            sys.exit(f"{' '.join(command)}: exit status {child.returncode}\n{errors.decode()}")

    def watch_memory(self, process):
        try:
            while True:
                with open(f"/proc/{process}/status", encoding="utf-8") as status:
                    lines = [line for line in status if line.startswith("RssAnon:")]
                if not lines:
                    return  # it has ended
                self.peak = max(self.peak, int(lines[0].split()[1]) * 1024)
                time.sleep(0.01)
        except OSError:
            return


def median(command, cwd, repeat, before=lambda: None):
    runs = []
    for _ in range(repeat):
        before()
        runs.append(Run(command, cwd))
    return statistics.median(r.seconds for r in runs), max(r.peak for r in runs)


def measure(options):
    vxdep = os.path.join(options.programs, "vxdep/vxdep")
    floor = os.path.join(options.programs, "bench/bench_floor")
    project = os.path.abspath(options.project)
    res = os.path.join(project, "res")
    found = subprocess.run(["find", res, "-name", options.name], capture_output=True, text=True)
    resource = os.path.relpath(found.stdout.split("\n")[0], res)

    def forget():
        shutil.rmtree(os.path.join(project, "temp"), ignore_errors=True)

    def timed(command, before=lambda: None):
        return median(command, project, options.repeat, before)

    files = sum(len(names) for _, _, names in os.walk(res))
    rows = {}
    rows["floor"] = timed([floor, res] + options.extensions)
    rows["find"] = timed(["find", res, "-type", "f", "-printf", "%T@ %p\n"])
    rows["rg"] = timed(["rg", "-l", "--", options.name, res])
    rows["cold"] = timed([vxdep, "-C", project, "-q", "scan"], forget)
    rows["warm"] = timed([vxdep, "-C", project, "-q", "scan"])
    rows["rdeps"] = timed([vxdep, "-C", project, "rdeps", resource])
    rows["export"] = timed([vxdep, "-C", project, "export"])
    store = os.path.getsize(os.path.join(project, "temp/gen_dep/data.mdb"))
    return files, store, rows


COMPARISONS = [
    ("cold", "cold scan, stored and synced", "floor", "walk, read, parse", 3),
    ("warm", "warm scan, nothing changed", "find", "find -printf", 3),
    ("rdeps", "rdeps of one resource, a process", "rg", "rg -l NAME", 0.05),
]


def table(files, store, rows):
    lines = [f"{'work':<34}{'seconds':>9}  {'against':<20}{'seconds':>9}{'ratio':>9}{'aim':>7}"]
    for work, label, against, against_label, aim in COMPARISONS:
        ours, theirs = rows[work][0], rows[against][0]
        lines.append(f"{label:<34}{ours:>9.3f}  {against_label:<20}{theirs:>9.3f}"
                     f"{ours / theirs:>9.3f}{aim:>7}")
    lines.append(f"{'export of the whole graph':<34}{rows['export'][0]:>9.3f}")
    for work in ("cold", "warm"):
        peak = rows[work][1]
        lines.append(f"peak memory of a {work} scan: {peak / 2**20:.0f} MB, "
                     f"{peak / files:.0f} bytes a file (the store has {store / 2**20:.0f} MB)")
    return "\n".join(lines)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--programs", required=True, help="the build directory")
    parser.add_argument("--repeat", type=int, default=5)
    parser.add_argument("--json", help="write the figures here as well")
    parser.add_argument("project")
    parser.add_argument("name")
    parser.add_argument("extensions", nargs="+")
    options = parser.parse_args()
    files, store, rows = measure(options)
    print(f"{options.project}: {files} files")
    print(table(files, store, rows))
    if options.json:
        with open(options.json, "w", encoding="utf-8") as out:
            json.dump({"files": files, "store": store,
                       "seconds": {k: v[0] for k, v in rows.items()},
                       "peak": {k: v[1] for k, v in rows.items()}}, out, indent=1)


if __name__ == "__main__":
    main()
