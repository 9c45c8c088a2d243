"""Every small graph of references, every rename in it: what each file must say afterwards follows
from a model of the texts alone.

A case is a folder of its own with a few files in its folders a and b; one process makes all renames.
VX_TEST_SCALE above 1 adds self-references in graphs of three files, and multiplies random graphs.
"""

import itertools
import os
import posixpath
import random
import re
import shutil
import subprocess
import unittest
from typing import NamedTuple

from rename_check import in_memory
from support import ProjectCase

SCALE = int(os.environ.get("VX_TEST_SCALE", "1"))

# The strategy of each form, and what a text of it looks like for a path (relative, from the root).
FORMS = {
    "relative": (1, lambda relative, _: relative),
    "dotted": (1, lambda relative, _: relative if relative.startswith("..") else "./" + relative),
    "backslash": (1, lambda relative, _: relative.replace("/", "\\")),
    "selector": (33, lambda relative, _: relative + "#part"),
    "rooted": (9, lambda _, key: "/" + key),
    "anchored": (9, lambda _, key: "res/" + key),
    "backslash-rooted": (9, lambda _, key: "\\" + key.replace("/", "\\")),
    "stem": (513, lambda relative, _: relative.removesuffix(".js")),  # in JSON, of JSON
}
XML_CONFIG = '{"ml": {"name_list": [%s]}}' % ", ".join(
    f'{{"element": "{form}", "attribute": "p", "strategy": {mask}}}'
    for form, (mask, _) in FORMS.items() if form != "stem")
JSON_CONFIG = '{"js": {"name_list": [%s]}}' % ", ".join(
    f'{{"member": "{form}", "extra": ".js", "strategy": {mask}}}' if form == "stem" else
    f'{{"member": "{form}", "strategy": {mask}}}' for form, (mask, _) in FORMS.items())


class Case(NamedTuple):
    folder: str
    files: list  # their paths below it
    edges: list  # of (referring file, file referred to, form), files by number
    move: tuple  # from, to, below the folder

    def moved(self, path):
        old, new = self.move
        return new + path[len(old):] if (path + "/").startswith(old + "/") else path

    def references(self, number):
        return [edge for edge in self.edges if edge[0] == number]


def write_text(case, file, target, form):
    key = f"{case.folder}/{target}"
    relative = posixpath.relpath(target, posixpath.dirname(file))
    return FORMS[form][1](relative, key)


def named_by(case, file, text, form):
    """What a text of this form names, below the case's folder."""
    text = text.replace("\\", "/")
    if form.endswith("rooted") or form == "anchored":
        return text.removeprefix("/").removeprefix("res/").removeprefix(case.folder + "/")
    text = text.removesuffix("#part") + (".js" if form == "stem" else "")
    return posixpath.normpath(posixpath.join(posixpath.dirname(file), text))


def keeps_form(old, new):
    """Whether begin, end and separators are those of the text that was replaced."""
    def form(text):
        return re.match(r"/|\\|res/|", text)[0], re.search(r"#part$|\.ml$|\.js$|$", text)[0]

    other = {"/": "\\", "\\": "/"}.get("".join(re.findall(r"[/\\]", old))[:1], "#!")
    return form(old) == form(new) and other not in new and (new[0] == "." or old[:2] != "./")


def document(name, references):
    """A file's content with a place for each text."""
    if name.endswith(".ml"):
        lines = [f'\t<{form} id=\'{target}\' p="{{}}"/>' for _, target, form in references]
        return "\n".join(["<s>", *lines, "</s>"])
    lines = [f'\t{{{{"{form}" : "{{}}" }}}}' for _, _, form in references]
    return "[\n" + ",\n".join(lines) + "]"


def written(name, text):
    return text.replace("\\", "\\\\") if name.endswith(".js") else text


def all_graphs(size, loops):
    """One of each class of graphs that are equal but for the order of the files behind the first."""
    pairs = [(a, b) for a in range(size) for b in range(size) if loops or a != b]
    orders = [(0, *order) for order in itertools.permutations(range(1, size))]
    seen = set()
    for places in itertools.product("ab", repeat=size - 1):
        for count in range(len(pairs) + 1):
            for edges in itertools.combinations(pairs, count):
                same = {(tuple(("a", *places)[order.index(i)] for i in range(size)),
                         tuple(sorted((order[a], order[b]) for a, b in edges))) for order in orders}
                if not seen & same:
                    seen |= same
                    yield ("a", *places), edges


def moves_of(files):
    """The first file and its folder a are what is renamed."""
    name = posixpath.basename(files[0])
    yield from ((files[0], target) for target in ("a/new" + name[-3:], "b/" + name, "b/new" + name[-3:]))
    yield from (("a", target) for target in ("c", "b/a"))


def exhaustive():
    for form in ("relative", "rooted", "selector", "stem", "backslash"):
        extension = ".js" if form == "stem" else ".ml"
        for size in (1, 2, 3):
            for places, edges in all_graphs(size, size < 3 or SCALE > 1):
                files = [f"{place}/f{number}{extension}" for number, place in enumerate(places)]
                for move in moves_of(files):
                    yield files, [(*edge, form) for edge in edges], move


def sampled(rng, count):
    for _ in range(count):
        files = [f"{rng.choice('ab')}/f{i}{rng.choice(['.ml', '.js'])}" for i in range(4)]
        files[0] = "a" + files[0][1:]
        edges = [(a, b, rng.choice([form for form in FORMS if form != "stem" or
                                    files[a][-3:] == files[b][-3:] == ".js"]))
                 for a in range(4) for b in range(4) if rng.random() < 0.5]
        yield files, edges, rng.choice(list(moves_of(files)))


class Graphs(ProjectCase):
    def setUp(self):
        super().setUp()
        (self.config / "xml_config.json").write_text(XML_CONFIG)
        (self.config / "json_config.json").write_text(JSON_CONFIG)

    def test_small_graphs_of_one_form(self):
        self.try_all(exhaustive())

    def test_random_graphs_of_four_files(self):
        seed = int(os.environ.get("VX_TEST_SEED", "1"))
        self.try_all(sampled(random.Random(seed), 500 * SCALE))

    def try_all(self, parts):
        """In projects so small that no two of their names are likely to share a record."""
        parts = iter(parts)
        while some := list(itertools.islice(parts, 1000)):
            self.try_some([Case(f"k{number}", *part) for number, part in enumerate(some)])
            for folder in (self.res, self.root / "temp"):
                shutil.rmtree(folder)

    def try_some(self, cases):
        for case in cases:
            self.lay(case)
        self.succeed("-q", "scan")
        self.rename(cases)
        graph = {}
        for case in cases:
            with self.subTest(case):
                self.judge(case, graph)
        self.assertEqual(self.succeed("export").json["forward"], graph)

    def lay(self, case):
        for folder in "ab":
            (self.res / case.folder / folder).mkdir(parents=True)
        for number, file in enumerate(case.files):
            references = case.references(number)
            texts = [written(file, write_text(case, file, case.files[target], form))
                     for _, target, form in references]
            self.write(f"{case.folder}/{file}", document(file, references).format(*texts).encode())

    def rename(self, cases):
        paths = [str(self.res / case.folder / path) for case in cases for path in case.move]
        process = subprocess.run([os.environ["VX_RENAME_ALL"]], input="\n".join(paths) + "\n", text=True,
                                 cwd=self.root, capture_output=True, check=False)
        self.assertEqual((process.returncode, process.stdout), (0, ""), process.stderr)

    def judge(self, case, graph):
        expected = sorted(case.moved(file) for file in case.files)
        folder = self.res / case.folder
        self.assertEqual(sorted(str(file.relative_to(folder)) for file in folder.rglob("*")
                                if not file.is_dir()), expected)
        for number, file in enumerate(case.files):
            entries = sorted(f"{case.folder}/{entry}" for entry in self.judge_file(case, number, file))
            if entries:
                graph[f"{case.folder}/{case.moved(file)}"] = entries

    def judge_file(self, case, number, file):
        """Returns what the file refers to."""
        place, references = case.moved(file), case.references(number)
        content = (self.res / case.folder / place).read_text()
        template = document(file, references)
        pattern = re.escape(template.format(*"@" * len(references))).replace("@", '([^"]*)')
        found = re.fullmatch(pattern, content)
        self.assertTrue(found, content)
        stays = file.endswith(".js") and posixpath.dirname(file) != posixpath.dirname(place)
        entries = set()
        for (_, target, form), text in zip(references, found.groups()):
            old, new = write_text(case, file, case.files[target], form), text.replace("\\\\", "\\")
            resource = case.moved(case.files[target])
            if named_by(case, place, old, form) == resource:
                self.assertEqual(new, old, "rewritten, though it still names the same")
            elif not (stays and new == old):  # JSON that moves keeps its texts
                self.assertEqual(named_by(case, place, new, form), resource, content)
                self.assertTrue(keeps_form(old, new), f"{old} became {new}")
            entries.add(named_by(case, place, new, form))
        return entries & {case.moved(file) for file in case.files}


if __name__ == "__main__":
    in_memory()
    unittest.main()
