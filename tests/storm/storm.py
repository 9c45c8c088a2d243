"""Random operations of several processes on a tree of which every file may refer to others."""

import multiprocessing
import os
import pathlib
import random

from test_history import ALL as HOMES
from test_history import content


class Worker:
    """One process of a storm. What cannot be done, because another process was faster, is left.

    Files and folders move to names that no reference can be read as, and back home: that a second
    file appears which a reference might name as well is not noticed, as docs/guarantees.md says."""

    def __init__(self, res, outside, seed):
        self.res, self.outside = pathlib.Path(res), pathlib.Path(outside)
        self.rng = random.Random(seed)
        self.name, self.made = seed, 0

    def run(self, operations):
        choices = [self.write] * 6 + [self.save, self.append, self.truncate, self.move_file,
                   self.move_file, self.move_home, self.move_folder, self.move_folder, self.delete,
                   self.delete_folder, self.link, self.make_deep, self.out_and_in]
        for _ in range(operations):
            try:
                self.rng.choice(choices)()
            except OSError:
                pass

    def unique(self, suffix=""):
        self.made += 1
        return f"m{self.name}_{self.made}{suffix}"

    def home(self):
        return self.res / self.rng.choice(HOMES)

    def folder(self):
        """A folder, some way down from the top."""
        found = self.res
        for _ in range(self.rng.randrange(4)):
            below = [entry for entry in found.iterdir()
                     if entry.is_dir() and not entry.is_symlink()]
            found = self.rng.choice(below or [found])
        return found

    def file(self):
        files = [entry for entry in self.folder().iterdir() if not entry.is_dir()]
        return self.rng.choice(files) if files else self.home()

    def fill(self, path, target=None):
        (target or path).write_bytes(content(self.rng, os.path.relpath(path, self.res)))

    def write(self):
        home = self.home()
        home.parent.mkdir(parents=True, exist_ok=True)
        self.fill(home)

    def save(self):
        home = self.home()
        beside = home.with_name(self.unique(".tmp"))
        self.fill(home, beside)
        beside.rename(home)

    def append(self):
        with open(self.file(), "ab") as file:
            file.write(b" ")

    def truncate(self):
        with open(self.file(), "r+b") as file:
            file.truncate(self.rng.randrange(20))

    def move_file(self):
        file = self.file()
        file.rename(self.folder() / self.unique(file.suffix))

    def move_home(self):
        home = self.home()
        if not home.exists():
            self.file().rename(home)

    def move_folder(self):
        folder = self.folder()
        if folder != self.res:
            folder.rename(self.folder() / self.unique())

    def out_and_in(self):
        folder, away = self.folder(), self.outside / self.unique()
        if folder == self.res:
            return
        folder.rename(away)
        for file in away.iterdir():
            if self.rng.random() < 0.5 and file.is_file():
                file.unlink()
        if self.rng.random() < 0.7:
            away.rename(self.folder() / self.unique())

    def delete(self):
        self.file().unlink()

    def delete_folder(self):
        folder = self.folder()
        for entry in folder.iterdir():
            entry.unlink()
        folder.rmdir()

    def link(self):
        link = self.home()
        link.unlink(missing_ok=True)
        link.symlink_to(os.path.relpath(self.home(), link.parent))

    def make_deep(self):
        folder = self.folder() / self.unique() / "a/b/c"
        folder.mkdir(parents=True)
        for suffix in (".scn", ".surf"):
            self.fill(folder / self.unique(suffix))


def run(res, outside, seed, operations, workers=3):
    """A storm; it has ended when this returns."""
    processes = [multiprocessing.Process(target=Worker(res, outside, seed * 10 + i).run,
                                         args=(operations // workers,)) for i in range(workers)]
    for process in processes:
        process.start()
    for process in processes:
        process.join()
        assert process.exitcode == 0
