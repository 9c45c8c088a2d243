#!/usr/bin/env python3
"""Measures how long after a file was closed vxdep watch has it in the store, while other files of
the tree are written all the time.

usage: watch.py PROGRAMS PROJECT [SAMPLES [RATE]]

PROJECT is a made tree; RATE files of it (50) are rewritten each second beside the SAMPLES (200).
"""

import json
import os
import pathlib
import random
import shutil
import statistics
import subprocess
import sys
import threading
import time


class Load(threading.Thread):
    """Rewrites files with what they hold."""

    def __init__(self, files, rate):
        super().__init__()
        self.files, self.rate, self.ended = files, rate, threading.Event()

    def run(self):
        while not self.ended.wait(1 / self.rate):
            file = random.choice(self.files)
            file.write_bytes(file.read_bytes())


class Watch:
    """vxdep watch, and when it told of which file."""

    def __init__(self, program, project):
        self.process = subprocess.Popen(
            [program, "-q", "-C", project, "watch", "--json", "--sync"], stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, text=True)
        self.told, self.in_step = {}, threading.Event()
        self.reader = threading.Thread(target=self.read)
        self.reader.start()

    def read(self):
        for line in self.process.stdout:
            event = json.loads(line)
            if "change" in event:
                self.told.setdefault(event["path"], time.perf_counter())
            elif "inStep" in event:
                self.in_step.set()

    def catch_up(self):
        self.in_step.clear()
        print("now", file=self.process.stdin, flush=True)
        self.in_step.wait()

    def stop(self):
        self.process.terminate()
        self.reader.join()
        self.process.wait()


def main():
    programs, project = (pathlib.Path(path).resolve() for path in sys.argv[1:3])
    samples, rate = [int(text) for text in sys.argv[3:]] + [200, 50][len(sys.argv) - 3:]
    scenes = [path for path in (project / "res").rglob("*.xml")]
    content, folder = scenes[0].read_bytes(), project / "res/bench_watch"
    folder.mkdir(exist_ok=True)
    watch, load = Watch(programs / "vxdep/vxdep", project), Load(scenes, rate)
    watch.catch_up()
    load.start()
    closed = {}
    for number in range(samples):
        (folder / f"{number}.xml").write_bytes(content)
        closed[f"bench_watch/{number}.xml"] = time.perf_counter()
        time.sleep(random.uniform(0.02, 0.1))
    load.ended.set()
    watch.catch_up()
    watch.stop()
    shutil.rmtree(folder)
    taken = sorted(watch.told[path] - moment for path, moment in closed.items())
    print(f"from close to the store, {len(scenes)} files, {rate} others written each second: "
          f"median {statistics.median(taken):.3f} s, 99 % within {taken[int(samples * .99)]:.3f} s")


if __name__ == "__main__":
    main()
