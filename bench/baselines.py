"""What one would use instead, as fast as it can be done."""

import json
import os
import re
import shutil
import subprocess

import measure

FIND = ["find", "res", "-type", "f", "-printf", "%T@ %s %p\n"]


def find(project):
    return measure.silent(FIND, cwd=project.path)


def rg(project, name):
    return ["rg", "-l", "--fixed-strings", "--", name, str(project.res)]


class Git:
    """The project under version control, with its files unchanged: what git status takes."""

    def __init__(self, project):
        folder = project.path / "bench.git"
        self.project = project
        self.command = ["git", f"--git-dir={folder}", f"--work-tree={project.path}"]
        if not (folder / "committed").exists():
            shutil.rmtree(folder, ignore_errors=True)
            self.commit(folder)
        self.status()  # refreshes the index, so that later ones need not write it

    def git(self, *arguments, **options):
        return subprocess.run([*self.command, *arguments], cwd=self.project.path, check=True,
                              capture_output=True, **options).stdout

    def commit(self, folder):
        """As git add and git commit do, but without an object for every file."""
        self.git("init", "-q")
        excluded = "/temp/\n/bench.*\n/made.json\n/.corpus\n"
        (folder / "info/exclude").write_text(excluded, encoding="utf-8")
        self.git("config", "user.name", "bench")
        self.git("config", "user.email", "bench@localhost")
        files = subprocess.run(["find", "res", "builtin", "!", "-type", "d", "-print0"],
                               cwd=self.project.path, check=True, capture_output=True).stdout
        self.git("update-index", "--add", "--info-only", "-z", "--stdin", input=files)
        tree = self.git("write-tree", "--missing-ok").decode().strip()
        commit = self.git("commit-tree", "-m", "All", tree).decode().strip()
        self.git("update-ref", "HEAD", commit)
        (folder / "committed").touch()

    def status(self):
        taken = measure.run([*self.command, "status", "--porcelain"], cwd=self.project.path)
        if taken.output:
            measure.fail(f"git status of {self.project.path} is not clean:\n{taken.output[:1000]}")
        return taken.seconds


class Sed:
    """mv, and sed -i over exactly the files that refer to what is moved; then all is synced."""

    def __init__(self, project, users):
        self.project = project
        (project.path / "bench.users").write_bytes(b"\0".join(os.fsencode(one) for one in users))

    def run(self, old, new):
        return measure.silent(
            ["sh", "-c", 'mv "$1" "$2" && xargs -0 -a ../bench.users sed -i "$3" && sync -f .',
             "sh", old, new, f"s|{re.escape(old)}|{new}|g"], cwd=self.project.res)


def floor(programs, project):
    """Seconds, and what was met."""
    taken = measure.run([programs.floor, str(project.path)])
    return taken.seconds, json.loads(taken.output)


def lmdb_alone(programs, project):
    """Seconds to write the records of the project's store to a new one."""
    target = project.path / "bench.lmdb"
    shutil.rmtree(target, ignore_errors=True)
    measure.settle()
    taken = json.loads(measure.run([programs.lmdb, str(project.store), str(target)]).output)
    shutil.rmtree(target)
    return taken["seconds"]
