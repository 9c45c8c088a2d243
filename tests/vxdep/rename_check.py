#!/usr/bin/env python3
"""Renames files and folders of a project at random, one after the other, and holds each rename to
what an independent reading of the tree says before and after; then takes all of them back.

usage: rename_check.py VXDEP PROJECT [--builtin DIR]

The project stays as it is: a copy is worked on. VX_TEST_SCALE multiplies the number of
files (10) and folders (1), VX_TEST_SEED chooses others.
"""

import argparse
import collections
import copy
import functools
import hashlib
import json
import os
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).parents[1] / "reading"))

import reading  # noqa: E402
import values  # noqa: E402
import xml_family  # noqa: E402
from markup import Unreadable  # noqa: E402
from paths import extension_of, stem_of  # noqa: E402

META = ".vxmeta"
LARGE = 16 << 20  # in bytes; no document


class Fault(Exception):
    """The rename is not what it ought to be."""


def in_memory(room=4 << 30):
    """For tests of thousands of synced changes: temporary folders where syncs cost nothing."""
    if os.path.isdir("/dev/shm") and shutil.disk_usage("/dev/shm").free > room:
        tempfile.tempdir = "/dev/shm"


def require(condition, text):
    if not condition:
        raise Fault(text)


class Contents:
    """The tree's files, links and folders; what did not change is not read again."""

    def __init__(self, res):
        self.res, self.known = res, {}

    def __call__(self):
        return dict(self._entries())

    def _entries(self):
        for folder, folders, files in os.walk(self.res):
            for name in folders + files:
                path = os.path.join(folder, name)
                yield os.path.relpath(path, self.res), self._content(path)

    def _content(self, path):
        status = os.lstat(path)
        if os.path.islink(path):
            return "link to " + os.readlink(path)
        if os.path.isdir(path):
            return "folder"
        version = (status.st_ino, status.st_ctime_ns, status.st_size)
        if version not in self.known:
            with open(path, "rb") as file:
                data = file.read()
            self.known[version] = data if len(data) < LARGE else hashlib.sha256(data).digest()
        return status.st_mode, self.known[version]


class State:
    """What the independent reading finds in the tree as it is now."""

    def __init__(self, root, builtin, contents):
        self.project = reading.Project(root, builtin)
        self.project.references = functools.cache(self.project.references)
        self.contents = contents()
        self.graph = self.project.forward()
        self.families = {key: self.project.family_of(key) for key in self.graph}
        self.texts = {key: by_text(self.project.references(key)) for key in self.project.sources()}

    def edges(self):
        return {(key, entry) for key, entries in self.graph.items() for entry in entries}

    def texts_of(self, key, data):
        """What the texts of a file would name if the file held other bytes."""
        project = copy.copy(self.project)
        project.tree = copy.copy(project.tree)
        project.tree.read = lambda _: data
        return by_text(reading.Project.references(project, key))

    def graph_as_exported(self):
        return {"forward": self.graph, "inverse": reading.inverse_of(self.graph)}


def by_text(references):
    found = collections.defaultdict(set)
    for reference in references:
        found[reference.text].update(reading.key_of(entry) or entry for entry in reference.entries)
    return found


class Moves:
    """Old key to new key, as a plan tells them; a folder stands for all that there is below it."""

    def __init__(self, plan, paths):
        self.pairs = {move["from"]: move["to"] for move in plan["moves"]}
        self.paths = paths

    def __call__(self, key):
        at = key if key in self.paths else ""
        while at:
            if at in self.pairs:
                return self.pairs[at] + key[len(at):]
            at = os.path.dirname(at)
        return key

    def moves(self, key):
        return self(key) != key

    def out_of_folder(self, key):
        return os.path.dirname(self(key)) != os.path.dirname(key)


class Judge:
    """Compares the states before and after one rename with what the program told."""

    def __init__(self, before, after, plan):
        self.before, self.after, self.plan = before, after, plan
        self.moved = Moves(plan, before.contents)

    def judge(self, old, new):
        require(self.moved(old) == new, f"the plan does not move {old} to {new}")
        for key, target in self.moved.pairs.items():
            require(key == old or self._goes_along(key, target), f"why does {key} move to {target}?")
        self._judge_paths()
        self._judge_contents()
        self._judge_graph()

    def _goes_along(self, key, target):
        """Meta files, files named after another, and includes that lie beside it."""
        for user, place in self.moved.pairs.items():
            if (key, target) == (user + META, place + META):
                return True
            if extension_of(user) != "nfx" and key not in self.before.graph.get(user, []):
                continue
            for base in (stem_of, lambda path: path.rpartition(".")[0],
                         lambda path: os.path.dirname(path) + "/"):
                mine, its = base(user), base(place)
                if key.startswith(mine) and target == its + key[len(mine):]:
                    return True
        return False

    def _judge_paths(self):
        expected = {self.moved(path) for path in self.before.contents}
        found = set(self.after.contents)
        made = {path for path in found - expected if self.after.contents[path] == "folder"}
        require(expected == found - made,
                f"lost: {sorted(expected - found)}, left over: {sorted(found - made - expected)}")
        for path in made:
            require(any(to.startswith(path + "/") for to in self.moved.pairs.values()),
                    f"why is there a folder {path}?")

    def _judge_contents(self):
        told = collections.Counter(
            (edit["file"], edit["line"], edit["old"], edit["new"]) for edit in self.plan["edits"])
        done = collections.Counter()
        for key, old in self.before.contents.items():
            target = self.moved(key)
            new = self.after.contents[target]
            if new == old:
                continue
            require(isinstance(old, tuple) and isinstance(new, tuple) and old[0] == new[0],
                    f"{target} is of another kind or has other permissions")
            for change in self._judge_file(key, target, old[1], new[1]):
                done[(target, *change)] += 1
        require(told == done, f"edits told alone: {told - done}, done alone: {done - told}")

    def _judge_file(self, key, target, old, new):
        require(key in self.before.graph, f"{key} names nothing, and has changed")
        named, names = self.before.texts[key], self.after.texts[target]
        would_name = self.after.texts_of(target, old)
        try:
            changes = list(values.changed_values(self.before.families[key], old, new))
        except Unreadable as error:
            raise Fault(f"{target}: {error}") from error
        for line, before, after in changes:
            place = f"{target}:{line}: {before!r} became {after!r}"
            expected = {self.moved(entry) for entry in named[before]}
            require(expected != named[before] or self.moved.out_of_folder(key),
                    f"{place}, though what it names did not move")
            require(names[after] and names[after] <= expected, f"{place}, which names something else")
            require(would_name[before] != expected or not self.moved.moves(key),
                    f"{place}, though it still named the same")
            yield line, before, after

    def _judge_graph(self):
        expected = {(self.moved(key), self.moved(entry)): (key, entry)
                    for key, entry in self.before.edges()}
        found = self.after.edges()
        lost = set(expected) - found
        told = {(edge["file"], edge["expected"]) for edge in self.plan["notRewritten"]}
        require(told == lost, f"not rewritten as told alone: {told - lost}, in fact: {lost - told}")
        for edge in lost:
            require(self._may_be_lost(*expected[edge]), f"lost edge: {edge}")
        losers = {key for key, _ in lost}
        awaiting = {self.moved(key) for key, texts in self.before.texts.items() if not all(texts.values())}
        appearing = {(edge["file"], edge["resource"]) for edge in self.plan["appearing"]}
        made = found - set(expected)
        require(appearing == made,
                f"appearing as told alone: {appearing - made}, in fact: {made - appearing}")
        for key, entry in made:
            require(key in losers or key in awaiting, f"new edge: {key, entry}")

    def _may_be_lost(self, key, entry):
        """Whether the format of a file, or what refers to what, leaves no way to keep an edge."""
        family = self.before.families[key]
        named = [entries for entries in self.before.texts[key].values() if entry in entries]
        if family is None or not named or entry.startswith(stem_of(key)):
            return True  # never rewritten; read through others; named after the file
        if any(len(entries) > 1 for entries in named):
            return True  # one text for two resources
        rewritten = family is xml_family and extension_of(key) != "surf"
        return self.moved.out_of_folder(key) and not rewritten


class Session:
    """A copy of a project on which renames are tried."""

    def __init__(self, vxdep, root, builtin, rng):
        self.command = [vxdep, "-C", str(root), "--builtin", str(builtin)]
        self.root, self.builtin, self.rng = root, builtin, rng
        self.contents = Contents(str(root / "res"))
        self.past = []
        self.refused = 0
        for file in list(root.joinpath("res").rglob("*.*"))[::3]:
            file.with_name(file.name + META).touch()
        self.run("-q", "scan")
        self.state = self.read()

    def read(self):
        return State(str(self.root), str(self.builtin), self.contents)

    def run(self, *arguments, may_fail=False):
        run = subprocess.run([*self.command, *arguments], capture_output=True, check=False, timeout=600)
        require(run.returncode == 0 or may_fail and run.returncode == 1,
                f"{arguments}: exit status {run.returncode}\n{os.fsdecode(run.stderr)}")
        return run

    def answer(self, *arguments, **options):
        return json.loads(os.fsdecode(self.run(*arguments, **options).stdout))

    def rename(self, old, new):
        """True when it was done. A refusal has a reason and changes nothing."""
        arguments = [str(self.root / "res" / old), str(self.root / "res" / new), "--json"]
        told = self.answer("rename", "--dry-run", *arguments, may_fail=True)
        require(self.contents() == self.state.contents, "a dry run has changed something")
        plan = self.answer("rename", *arguments, may_fail=True)
        require(plan == told, "the rename is another than the dry run told")
        after = self.read()
        if plan["problems"]:
            require(after.contents == self.state.contents, "a refused rename has changed something")
            self.refused += 1
            return False
        Judge(self.state, after, plan).judge(old, new)
        require(self.answer("export") == after.graph_as_exported(), "the store differs from the tree")
        self.past.append(self.state.contents)
        self.state = after
        return True

    def rename_some(self, count, pick):
        done = 0
        for _ in range(2 * count):
            if done == count:
                return
            old, new = pick()
            try:
                done += self.rename(old, new)
            except Fault as fault:
                raise Fault(f"rename of {old} to {new}: {fault}") from fault
        require(done == count, "too many renames were refused")

    def pick_file(self):
        """Every other one has something to do with references."""
        linked = {path for edge in self.state.edges() for path in edge}
        files = [key for key, content in self.state.contents.items()
                 if content != "folder" and "#" not in key and not key.endswith(META)]
        old = self.rng.choice([key for key in files if key in linked] or files
                              if self.rng.random() < 0.7 else files)
        name = os.path.basename(old)
        if self.rng.random() < 0.6:
            stem, dot, extension = name.rpartition(".")
            name = self.new_stem() + dot + extension if stem else self.new_stem()
        folder = self.rng.choice([os.path.dirname(old), self.rng.choice(self.folders())])
        return old, self.free(os.path.join(folder, name))

    def pick_folder(self):
        folders = self.folders()[1:]
        old = self.rng.choice(folders)
        parents = [folder for folder in self.folders() if not (folder + "/").startswith(old + "/")]
        name = self.rng.choice([os.path.basename(old), self.new_stem()])
        return old, self.free(os.path.join(self.rng.choice(parents), name))

    def folders(self):
        return [""] + [key for key, content in self.state.contents.items() if content == "folder"]

    def new_stem(self):
        number = f"{self.rng.randrange(10**6):06}"
        return self.rng.choice(["renamed{}", "with a blank {}", "grün & 'so' {}"]).format(number)

    def free(self, path):
        if path not in self.state.contents:
            return path
        stem, extension = os.path.splitext(path)
        return f"{stem} {self.new_stem()}{extension}"

    def undo_all(self):
        while self.past:
            self.run("undo")
            differs = sorted({path for path, _ in self.contents().items() ^ self.past.pop().items()})
            require(not differs, f"undo has not brought back {differs}")
        require(self.run("undo", may_fail=True).returncode == 1, "there is more to undo than was done")
        self.run("-q", "scan")
        require(self.answer("export") == self.read().graph_as_exported(), "the store after all undos")


def main():
    arguments = argparse.ArgumentParser()
    arguments.add_argument("vxdep")
    arguments.add_argument("project", type=pathlib.Path)
    arguments.add_argument("--builtin", type=pathlib.Path)
    options = arguments.parse_args()
    scale = int(os.environ.get("VX_TEST_SCALE", "1"))
    seed = int(os.environ.get("VX_TEST_SEED", str(time.time_ns() % 10**6)))
    print(f"VX_TEST_SEED={seed}", flush=True)
    in_memory()
    with tempfile.TemporaryDirectory() as place:
        root = pathlib.Path(place, "project")
        shutil.copytree(options.project, root, symlinks=True, ignore=shutil.ignore_patterns("temp"))
        builtin = (options.builtin or root / "builtin").absolute()
        session = Session(os.path.abspath(options.vxdep), root, builtin, random.Random(seed))
        try:
            session.rename_some(10 * scale, session.pick_file)
            session.rename_some(scale, session.pick_folder)
            done = len(session.past)
            session.undo_all()
        except Fault as fault:
            sys.exit(f"{options.project}: {fault}")
    print(f"{options.project}: {done} renames done and undone, {session.refused} refused")


if __name__ == "__main__":
    main()
