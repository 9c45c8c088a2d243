"""Storms over a tree that vxdep watches: once it has caught up, its store must say what a new store
says of the same tree.

usage: watch_storm.py KIND

VX_TEST_SCALE above 1 makes the storms ten times as long, and 5 times the scale of them.
VX_TEST_SEED is the first seed. VX_STORM_TREE is a project to begin with a copy of; otherwise the
storms make all files themselves.
"""

import json
import os
import pathlib
import random
import shutil
import signal
import subprocess
import sys
import tempfile

import storm
from support import VXDEP

BUILTIN = pathlib.Path(__file__).parents[2] / "builtin"
SCALE = int(os.environ.get("VX_TEST_SCALE", "1"))
STORMS = 3 if SCALE == 1 else 5 * SCALE
OPERATIONS = 2000 if SCALE == 1 else 20000
SKIPPED = 77
TREE = os.environ.get("VX_STORM_TREE")
QUEUE = int(pathlib.Path("/proc/sys/fs/inotify/max_queued_events").read_text())


class Project:
    """A project, and a second one that shares its resources and has a store of its own."""

    def __init__(self, root):
        # Names of one length: how long a path may be counts from the machine's root.
        self.root, self.fresh = root / "project", root / "another"
        self.res, self.outside = self.root / "res", root / "outside"
        for folder in (self.outside, self.fresh):
            folder.mkdir(parents=True)
        if TREE:
            shutil.copytree(pathlib.Path(TREE, "res"), self.res, symlinks=True)
        self.res.mkdir(parents=True, exist_ok=True)
        (self.fresh / "res").symlink_to(self.res)

    def ask(self, root, *arguments):
        command = [VXDEP, "-q", "-C", root, "--builtin", BUILTIN, *arguments]
        run = subprocess.run(command, capture_output=True, check=False)
        if run.returncode != 0:
            sys.exit(f"vxdep {' '.join(arguments)}: exit status {run.returncode}\n"
                     + run.stderr.decode(errors="replace"))
        return run.stdout

    def compare(self, what):
        shutil.rmtree(self.fresh / "temp", ignore_errors=True)
        self.ask(self.fresh, "scan")
        for question in (["export"], ["missing", "--ok", "--json"]):
            kept, fresh = (json.loads(self.ask(root, *question)) for root in (self.root, self.fresh))
            if kept != fresh:
                sys.exit(f"{what}: {question[0]} differs\n" + differences(kept, fresh))
        print(f"{what}: the same, {self.ask(self.fresh, 'export').count(b',')} entries", flush=True)


def differences(kept, fresh):
    if isinstance(kept, dict):
        kept, fresh = ({f"{way} {key}: {edge}" for way, lists in graph.items()
                        for key, edges in lists.items() for edge in edges}
                       for graph in (kept, fresh))
    else:
        kept, fresh = ({json.dumps(entry) for entry in entries} for entries in (kept, fresh))
    return "\n".join([f"- {line}" for line in sorted(kept - fresh)] +
                     [f"+ {line}" for line in sorted(fresh - kept)])


class Watch:
    """vxdep watch, which answers when it has caught up."""

    def __init__(self, project, *arguments, watches=None):
        command = [VXDEP, "-C", project.root, "--builtin", BUILTIN, "watch", "--sync",
                   "--json", *arguments]
        if watches is not None:
            limit = f'echo {watches} > /proc/sys/user/max_inotify_watches && exec "$@"'
            command = ["unshare", "-Ur", "sh", "-c", limit, "sh", *command]
        self.log = tempfile.TemporaryFile()
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=self.log)
        self.asked = 0

    def catch_up(self):
        self.asked += 1
        self.process.stdin.write(b"%d\n" % self.asked)
        self.process.stdin.flush()
        while line := self.process.stdout.readline():
            if json.loads(line).get("inStep") == str(self.asked):
                return
        sys.exit(f"vxdep watch has ended:\n{self.messages()}")

    def messages(self):
        self.log.seek(0)
        return self.log.read().decode(errors="replace")

    def stop(self, expect=None):
        self.process.send_signal(signal.SIGTERM)
        self.process.communicate()
        if self.process.returncode != 0:
            sys.exit(f"vxdep watch: exit status {self.process.returncode}\n{self.messages()}")
        if expect is not None and expect not in self.messages():
            sys.exit(f"vxdep watch did not say \"{expect}\":\n{self.messages()}")


def plain(project, seed, *arguments):
    """Begins while the first scan runs."""
    watch = Watch(project, *arguments)
    for part in range(2):
        storm.run(project.res, project.outside, seed * 2 + part, OPERATIONS // 2)
        watch.catch_up()
        project.compare(f"storm {seed}, part {part}")
    watch.stop()


def polling(project, seed):
    plain(project, seed, "--poll")


def asleep(project, seed):
    """The watcher sleeps, and finds the notifications of all that happened meanwhile."""
    watch = Watch(project)
    watch.catch_up()
    watch.process.send_signal(signal.SIGSTOP)
    storm.run(project.res, project.outside, seed, OPERATIONS // 2)
    watch.process.send_signal(signal.SIGCONT)
    watch.catch_up()
    project.compare(f"asleep {seed}")
    watch.stop()


def overflow(project, seed):
    """The watcher sleeps until the kernel's queue is full, and what happens then is not told."""
    burst = project.root / "res/burst"
    burst.mkdir()
    watch = Watch(project)
    watch.catch_up()
    watch.process.send_signal(signal.SIGSTOP)
    for i in range(QUEUE // 2):
        (burst / f"{i}.png").write_text("1")
    storm.run(project.res, project.outside, seed, OPERATIONS // 2)
    watch.process.send_signal(signal.SIGCONT)
    watch.catch_up()
    project.compare(f"overflow {seed}")
    watch.stop(expect="fs.inotify.max_queued_events")


def few_watches(project, seed):
    """There are not enough from the beginning on, or later."""
    if subprocess.run(["unshare", "-Ur", "true"], check=False).returncode != 0:
        print("skipped: the limit is set in a user namespace, which this system does not permit")
        sys.exit(SKIPPED)
    folders = sum(len(names) for _, names, _ in os.walk(project.res))
    watch = Watch(project, watches=folders // 2 if seed % 2 else folders + 20)
    storm.run(project.res, project.outside, seed, OPERATIONS)
    for i in range(30):
        (project.res / f"more/{i}").mkdir(parents=True)
    watch.catch_up()
    project.compare(f"few watches {seed}")
    watch.stop(expect="fs.inotify.max_user_watches")


def checkout(project, seed):
    """From one commit to another, which differ in 5,000 files."""
    rng = random.Random(seed)
    git = ["git", "-C", project.res, "--git-dir", project.root / "git", "--work-tree", project.res]
    quiet = {"check": True, "stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
    subprocess.run([*git, "init"], **quiet)

    def commit(name):
        subprocess.run([*git, "add", "-A", "."], **quiet)
        subprocess.run([*git, "-c", "user.name=t", "-c", "user.email=t@t", "commit", "-m", name],
                       **quiet)
        subprocess.run([*git, "tag", name], **quiet)

    def write(number):
        path = project.res / f"many/{number % 50}/{number}.scn"
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(storm.content(rng, str(path.relative_to(project.res))))

    for number in range(4000):
        write(number)
    commit("one")
    for number in range(1000):
        (project.res / f"many/{number % 50}/{number}.scn").unlink()
    for number in range(1000, 5000):
        write(number)
    commit("two")
    watch = Watch(project)
    for name in ("one", "two", "one"):
        subprocess.run([*git, "checkout", "-f", name], **quiet)
        watch.catch_up()
        project.compare(f"checkout {seed} of {name}")
    watch.stop()


KINDS = {"plain": plain, "polling": polling, "asleep": asleep, "overflow": overflow,
         "few_watches": few_watches, "checkout": checkout}


def main():
    kind = sys.argv[1]
    first = int(os.environ.get("VX_TEST_SEED", "0"))
    for seed in range(first, first + (STORMS if kind in ("plain", "polling") else STORMS // 2)):
        with tempfile.TemporaryDirectory(prefix="vxdep-storm-") as root:
            project = Project(pathlib.Path(os.path.realpath(root)))
            worker = storm.Worker(project.res, project.outside, seed)
            for _ in range(100):
                worker.write()
            KINDS[kind](project, seed)


if __name__ == "__main__":
    main()
