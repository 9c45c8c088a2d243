"""How long after a file was closed vxdep watch has it in the store, while other files of the tree
are written all the time."""

import json
import random
import shutil
import statistics
import subprocess
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


def write_samples(folder, content, samples):
    """When each file was closed, by its key."""
    closed = {}
    for number in range(samples):
        (folder / f"{number}.xml").write_bytes(content)
        closed[f"{folder.name}/{number}.xml"] = time.perf_counter()
        time.sleep(random.uniform(0.02, 0.1))
    return closed


def measure(vxdep, project, samples=200, rate=50):
    """Rewrites `rate` files of a made tree each second beside the samples; seconds, sorted."""
    scenes = list(project.res.rglob("*.xml"))
    folder = project.res / "bench_watch"
    folder.mkdir(exist_ok=True)
    watch, load = Watch(vxdep, project.path), Load(scenes, rate)
    watch.catch_up()
    load.start()
    closed = write_samples(folder, scenes[0].read_bytes(), samples)
    load.ended.set()
    watch.catch_up()
    watch.stop()
    shutil.rmtree(folder)
    return sorted(watch.told[path] - moment for path, moment in closed.items())


def text(taken):
    return (f"vxdep watch, from close to the store: median {statistics.median(taken):.3f} s, "
            f"99 % within {taken[len(taken) * 99 // 100]:.3f} s")
