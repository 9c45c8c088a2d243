"""scripts/bench at a reduced size: it checks its own answers against what the maker of the trees
tells, so that here it is to end well, and is not to when these differ."""

import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree

FILES = 10000
WORKS = ["cold", "warm", "rdeps", "lookup", "export", "rename"]


class Bench(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.trees = pathlib.Path(cls.folder.name)
        cls.first = cls.run_bench("--texture-scenes", "1000", "--json", str(cls.trees / "json"),
                                  "--svg", str(cls.trees / "svg"))

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    @classmethod
    def run_bench(cls, *arguments):
        return subprocess.run(
            [sys.executable, "-B", os.path.join(os.environ["VX_BENCH"], "main.py"), "--programs",
             os.environ["VX_BUILD"], "--trees", str(cls.trees), "--files", str(FILES),
             "--repeat", "1", *arguments],
            capture_output=True, text=True, check=False)

    def test_all_works_end_well_and_have_figures(self):
        self.assertEqual(self.first.returncode, 0, self.first.stderr)
        result = json.loads((self.trees / "json").read_text())
        (size,) = result["sizes"]
        self.assertEqual(size["facts"]["files"], FILES)
        self.assertEqual(size["facts"]["files"], sum(size["made"]["kinds"].values()))
        self.assertEqual(list(size["figures"]), WORKS)
        self.assertEqual(size["facts"]["renameUsers"], 5000)
        for row in result["rows"]:
            self.assertGreater(row["ratio"], 0, row)
            self.assertIn(row["work"], self.first.stdout)
        lines = xml.etree.ElementTree.parse(self.trees / "svg").findall("{*}polyline")
        self.assertEqual(len(lines), 6)

    def test_an_answer_that_is_not_the_makers_ends_it(self):
        """One reference fewer, and so on, than there are: the work that asks for it notices."""
        file = self.trees / str(FILES) / "made.json"
        right = file.read_text()
        for work, what in (("cold", "references"), ("warm", "values"), ("export", "references"),
                           ("rdeps", "users"), ("rename", "users")):
            made = json.loads(right)
            facts = made
            if what == "users":
                facts = made["middling" if work == "rdeps" else "popular"]
            facts[what] -= 1
            file.write_text(json.dumps(made))
            taken = self.run_bench("--only", work)
            file.write_text(right)
            with self.subTest(work=work, what=what):
                self.assertEqual(taken.returncode, 1)
                said = "edges exported" if work == "export" else f"not {facts[what]}"
                self.assertIn(said, taken.stderr)


if __name__ == "__main__":
    unittest.main()
