"""Makes the projects that are measured, once."""

import contextlib
import hashlib
import json
import pathlib
import shutil
import subprocess

import measure

SOURCE = pathlib.Path(__file__).resolve().parent.parent


class Project:
    """A directory with res/ and builtin/, and what its maker told of it (nothing for a corpus)."""

    def __init__(self, path, made=None):
        self.path = pathlib.Path(path).resolve()
        self.res = self.path / "res"
        self.made = made or {}

    @property
    def store(self):
        return self.path / "temp/gen_dep"

    def forget(self):
        shutil.rmtree(self.path / "temp", ignore_errors=True)

    @contextlib.contextmanager
    def copies(self, count):
        """Fresh copies without stores. All are made before any is used, and deleted when all were:
        a file system is slow at making files for a while after it has deleted many."""
        folder = pathlib.Path(f"{self.path}-copies")
        shutil.rmtree(folder, ignore_errors=True)
        made = [Project(folder / str(number), self.made) for number in range(count)]
        for one in made:
            one.path.mkdir(parents=True)
            subprocess.run(["cp", "-a", self.res, self.path / "builtin", one.path], check=True)
        yield made
        shutil.rmtree(folder)


def fingerprint(folder):
    """Of the sources of the maker: trees are made anew when it would make others."""
    digest = hashlib.sha256()
    for source in sorted(folder.iterdir()):
        digest.update(source.name.encode() + b"\0" + source.read_bytes())
    return digest.hexdigest()


class Trees:
    """The made trees below a folder."""

    def __init__(self, folder, maker):
        self.folder, self.maker = pathlib.Path(folder), maker
        self.fingerprint = fingerprint(SOURCE / "bench/tree")

    def mixed(self, files):
        return self.tree(str(files), [str(files)])

    def even(self, how, scenes):
        """`how`: together or spread, as the maker calls it."""
        return self.tree(f"{how}-{scenes}", [str(scenes), how])

    def tree(self, name, arguments):
        path = self.folder / name
        facts = path / "made.json"
        made = json.loads(facts.read_text(encoding="utf-8")) if facts.exists() else {}
        if made.get("maker") != self.fingerprint:
            shutil.rmtree(path, ignore_errors=True)
            path.mkdir(parents=True)
            shutil.copytree(SOURCE / "builtin", path / "builtin")
            made = json.loads(measure.run([self.maker, str(path), *arguments]).output)
            made["maker"] = self.fingerprint
            facts.write_text(json.dumps(made, indent=1), encoding="utf-8")
        return Project(path, made)


def corpus(name, folder):
    path = pathlib.Path(folder) / name
    subprocess.run([SOURCE / "scripts/corpus", name, path], check=True)
    return Project(path)
