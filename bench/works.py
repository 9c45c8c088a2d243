"""What is measured: each work beside its baselines, turn by turn. Every work makes sure that it did
what it should, by what the maker of the tree tells; the figures of a wrong answer are worth
nothing."""

import contextlib
import functools
import json
import os
import pathlib

import baselines
import checks
import measure

MIDDLING_USERS = 20


class Programs:
    def __init__(self, folder, vxdep=None):
        folder = pathlib.Path(folder).resolve()
        self.vxdep = str(pathlib.Path(vxdep).resolve() if vxdep else folder / "vxdep/vxdep")
        for name in ("tree", "floor", "lmdb", "lookup"):
            setattr(self, name, str(folder / f"bench/bench_{name}"))


class Works:
    """All works on one project. `figures` gathers lists of seconds, by work and contestant."""

    def __init__(self, programs, project, repeat):
        self.programs, self.project, self.repeat = programs, project, repeat
        self.figures, self.facts = {}, {}

    def vxdep(self, *arguments):
        return [self.programs.vxdep, "-q", "-C", str(self.project.path), *arguments]

    @functools.cached_property
    def collisions(self):
        """They go by the names of the files, which stay; asking takes long in a large tree."""
        return checks.Collisions(self)

    def scan(self):
        """Seconds of a scan and what it did."""
        taken = measure.run(self.vxdep("scan", "--json"))
        return taken.seconds, json.loads(taken.output)

    def prepare(self):
        """A new store, and all files in the page cache."""
        self.project.forget()
        self.facts["floor"] = baselines.floor(self.programs, self.project)[1]
        done = self.scan()[1]
        self.facts.update(files=done["files"], references=done["references"])
        checks.floor(self.project.made, self.facts["floor"])

    def cold_scan(self):
        self.project.forget()
        measure.settle()
        seconds, done = self.scan()
        checks.cold_scan(self.project.made, done)
        return seconds

    def cold(self):
        self.figures["cold"] = measure.alternate(self.repeat, {
            "ours": self.cold_scan,
            "floor": lambda: baselines.floor(self.programs, self.project)[0],
            "lmdb": lambda: baselines.lmdb_alone(self.programs, self.project)})
        self.facts["store"] = (self.project.store / "data.mdb").stat().st_size

    def warm_scan(self):
        seconds, done = self.scan()
        checks.warm_scan(self, done)
        return seconds

    def warm(self):
        git = baselines.Git(self.project)
        self.warm_scan()
        measure.settle()
        self.figures["warm"] = measure.alternate(self.repeat, {
            "ours": self.warm_scan,
            "find": lambda: baselines.find(self.project),
            "git": git.status})

    def middling(self):
        """A resource with a middling number of users: what the maker tells, or one of the graph."""
        if "middling" in self.project.made:
            return self.project.made["middling"]["key"]
        inverse = json.loads(measure.run(self.vxdep("export")).output)["inverse"]
        return min(inverse, key=lambda key: (abs(len(inverse[key]) - MIDDLING_USERS), key))

    def rdeps(self):
        key = self.middling()
        ours, theirs = self.vxdep("rdeps", key), baselines.rg(self.project, os.path.basename(key))
        self.facts["resource"] = key
        answers = [measure.run(command).output for command in (ours, theirs)]
        self.facts["users"] = checks.users(self.project, *answers, key)
        self.figures["rdeps"] = measure.alternate(max(self.repeat, 5), {
            "ours": lambda: measure.silent(ours), "rg": lambda: measure.silent(theirs)})

    def lookup(self):
        taken = measure.run([
            self.programs.lookup, str(self.project.path), "--benchmark_format=json",
            "--benchmark_enable_random_interleaving=true", "--benchmark_min_time=0.2",
            f"--benchmark_repetitions={max(self.repeat, 3)}"])
        runs = [run for run in json.loads(taken.output)["benchmarks"]
                if run["run_type"] == "iteration"]
        self.figures["lookup"] = {
            name: [run["real_time"] * 1e-9 for run in runs if run["run_name"] == title]
            for name, title in (("ours", "GetDependency"), ("plain", "Plain"))}
        self.facts["lookups"] = runs[0]["files"]

    def export(self):
        target = self.project.path / "bench.export"

        def write():
            with open(target, "wb") as out:
                return measure.run(self.vxdep("export"), output=out).seconds

        write()
        checks.export(self, target)
        self.figures["export"] = measure.alternate(self.repeat, {
            "ours": write,
            "warm+wc": lambda: self.scan()[0] + measure.silent(["wc", str(target)])})
        self.facts["exported"] = target.stat().st_size
        target.unlink()

    def memory(self):
        command = self.vxdep("scan")
        self.project.forget()
        for name in ("cold", "warm"):
            self.facts[f"{name}Memory"] = measure.run(command, memory=True).peak

    def rename(self):
        renames = Renames(self)
        self.facts["renameUsers"] = renames.users
        self.figures["rename"] = renames.measure()


class Renames:
    """A file with many dependents, renamed to and fro by the contestants in turn."""

    def __init__(self, works):
        self.works, self.project = works, works.project
        popular = self.project.made["popular"]
        self.name, self.users = popular["key"], popular["users"]
        self.other = os.path.join(os.path.dirname(self.name), "renamed.png")

    def measure(self):
        sed = baselines.Sed(self.project, checks.holders(self.project, self.name))
        self.rest()
        return measure.alternate(self.works.repeat, {
            "ours": self.turn(self.rename), "sed": self.turn(sed.run)})

    def rest(self):
        """The store is in step, and the last scan has found nothing to do."""
        for _ in range(2):
            self.works.scan()
        measure.settle()

    def turn(self, rename):
        def run():
            seconds = rename(self.name, self.other)
            self.name, self.other = self.other, self.name
            checks.renamed(self.works, self.other, self.name, self.users)
            self.rest()
            return seconds
        return run

    def rename(self, old, new):
        paths = (str(self.project.res / key) for key in (old, new))
        return measure.silent(self.works.vxdep("rename", *paths))


def scanned(programs, projects):
    """Works on projects, with a store each."""
    all_works = [Works(programs, one, 1) for one in projects]
    for one in all_works:
        one.scan()
    return all_works


class OneTexture:
    """One texture that every file names, beside as many references spread evenly: added by a cold
    scan, dropped by a scan after it was deleted, renamed."""

    def __init__(self, programs, together, spread, repeat):
        self.programs, self.repeat = programs, repeat
        self.projects = {"together": together, "spread": spread}

    def measure(self):
        works = dict(zip(self.projects, scanned(self.programs, self.projects.values())))
        return {"add": self.turns({name: one.cold_scan for name, one in works.items()}),
                "drop": self.turns({name: functools.partial(self.drop, one)
                                    for name, one in works.items()}),
                "rename": self.renames()}

    def turns(self, contest):
        return measure.alternate(self.repeat, contest)

    @staticmethod
    def named(project):
        """What the files name: one texture, or all of the folder."""
        folder = project.res / "textures"
        return folder / "part0/set0/texture0.png" if project.made["named"] == 1 else folder

    def drop(self, works):
        texture, aside = self.named(works.project), works.project.path / "bench.aside"
        measure.settle()
        texture.rename(aside)
        seconds, done = works.scan()
        checks.dropped(works, done)
        aside.rename(texture)
        works.scan()
        return seconds

    def renames(self):
        with contextlib.ExitStack() as stack:
            copies = {name: scanned(self.programs, stack.enter_context(one.copies(self.repeat)))
                      for name, one in self.projects.items()}
            return self.turns({name: lambda left=left: self.rename(left.pop())
                               for name, left in copies.items()})

    def rename(self, works):
        texture = self.named(works.project)
        target = texture.with_name("renamed" + texture.suffix)
        measure.settle()
        seconds = measure.silent(works.vxdep("rename", str(texture), str(target)))
        checks.all_follow(works, texture, target)
        return seconds
