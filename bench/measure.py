"""Runs commands and takes their time or memory."""

import dataclasses
import os
import statistics
import subprocess
import sys
import threading
import time


def fail(reason):
    sys.exit(f"bench: {reason}")


@dataclasses.dataclass
class Run:
    seconds: float
    peak: int  # bytes; 0 when not asked for
    output: str


class MemoryWatch(threading.Thread):
    """Follows the memory of a process: its own pages, without those of mapped files, which the
    system takes back when it needs them (the database's map)."""

    def __init__(self, process):
        super().__init__()
        self.status = f"/proc/{process}/status"
        self.peak = 0

    def run(self):
        try:
            while self.look():
                time.sleep(0.002)
        except OSError:
            pass  # it has ended

    def look(self):
        with open(self.status, encoding="utf-8") as status:
            lines = [line for line in status if line.startswith("RssAnon:")]
        if lines:
            self.peak = max(self.peak, int(lines[0].split()[1]) * 1024)
        return bool(lines)


def run(command, cwd=None, output=subprocess.PIPE, memory=False, text=None):
    """`text` is what the command reads. Its output, when nobody else takes it, is kept. One that
    fails ends everything."""
    start = time.perf_counter()
    child = subprocess.Popen(command, cwd=cwd, stdin=subprocess.PIPE if text is not None else None,
                             stdout=output, stderr=subprocess.PIPE, close_fds=False)
    watch = MemoryWatch(child.pid) if memory else None
    if watch:
        watch.start()
    out, errors = child.communicate(text.encode() if text is not None else None)
    seconds = time.perf_counter() - start
    if watch:
        watch.join()
    if child.returncode != 0:
        fail(f"{' '.join(command)}: exit status {child.returncode}\n{errors.decode()}")
    return Run(seconds, watch.peak if watch else 0, (out or b"").decode())


def silent(command, **options):
    """The seconds of a command whose output nobody wants."""
    return run(command, output=subprocess.DEVNULL, **options).seconds


def alternate(repeat, works):
    """Takes turns, so that whatever else the machine does burdens all alike. `works` are functions
    by name that return seconds; returns lists of seconds by name."""
    taken = {name: [] for name in works}
    for turn in range(repeat):
        for name in list(works)[::-1 if turn % 2 else 1]:
            taken[name].append(works[name]())
    return taken


def settle():
    """Nothing of what came before is left to be written."""
    os.sync()


def median(values):
    return statistics.median(values)
