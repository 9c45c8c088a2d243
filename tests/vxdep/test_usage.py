"""Wrong usage, projects that cannot be opened, and standard streams that go away."""

import os
import pathlib
import shutil
import subprocess
import unittest

from support import ProjectCase, VXDEP, ordinary_signals, scene


class Usage(ProjectCase):
    def test_wrong_usage(self):
        for arguments in ([], ["nonsense"], ["deps"], ["deps", "a", "b"], ["scan", "a"],
                          ["--nonsense", "scan"], ["-C"], ["scan", "export"], ["scan", "--all"]):
            with self.subTest(arguments):
                self.refuse(*arguments, code=2)
        self.assertFalse((self.root / "temp").exists())

    def test_help_and_version(self):
        commands = ("scan", "deps", "rdeps", "export", "check")
        overview = self.succeed("--help", cwd="/").out.decode()
        for text in (*commands, "Examples:", "Exit status:"):
            self.assertIn(text, overview)
        for command in commands:
            self.assertIn("--json", self.succeed(command, "--help", cwd="/").out.decode())
        self.assertRegex(self.succeed("--version", cwd="/").out.decode(), r"^vxdep \d+\.\d+\.\d+\n$")

    def test_where_the_project_is(self):
        self.write_harbour()
        (self.root / "docs/deep").mkdir(parents=True)
        for arguments, cwd in (([], self.root / "docs/deep"), ([], self.res / "levels"),
                               (["-C", "project"], self.base), (["-C", str(self.root)], "/")):
            with self.subTest(arguments, cwd=cwd):
                result = self.succeed("deps", "props/barrel.scene", *arguments, "-q", cwd=cwd)
                self.assertEqual(result.lines, ["textures/wood.tga"])
        self.assertTrue((self.root / "temp/gen_dep").exists())

    def test_no_project(self):
        cases = [
            (["scan"], ["no res/ folder here or above", str(self.base), "give -C DIR"]),
            (["-C", "nowhere", "scan"], ["-C nowhere", "No such file"]),
            (["-C", "project/builtin", "scan"], ["-C project/builtin", "no res/"]),
            (["-C", "project", "--builtin", "project", "scan"],
             ["--builtin project", "dependency_config"]),
        ]
        (self.root / "builtin/res").rename(self.base / "kept")
        for arguments, texts in cases:
            with self.subTest(arguments):
                self.refuse(*arguments, cwd=self.base, says=texts)

    def test_builtin(self):
        self.write_harbour()
        (self.root / "builtin").rename(self.base / "package")
        self.refuse_without_builtin()
        result = self.succeed("-C", "project", "--builtin", "package", "scan", "--json",
                              cwd=self.base)
        self.assertEqual(result.json["references"], 3)

    def refuse_without_builtin(self):
        """Runs a copy of the program, which does not find the package of the tree it was built in."""
        elsewhere = self.base / "elsewhere"
        elsewhere.mkdir()
        libraries = pathlib.Path(VXDEP).parent.parent / "vxdependency"
        for file in [VXDEP, *libraries.glob("libvxdependency.so*")]:
            shutil.copy(file, elsewhere)
        result = subprocess.run([elsewhere / "vxdep", "scan"], cwd=self.root, capture_output=True,
                                env={"LD_LIBRARY_PATH": str(elsewhere)}, check=False)
        self.assertEqual((result.returncode, result.stdout), (1, b""))
        for text in ("no built-in package", str(self.root), "--builtin DIR"):
            self.assertIn(text, result.stderr.decode())

    def test_wrong_configuration(self):
        self.write_harbour()
        (self.config / "xml_config.json").write_text('{"scene": {"name_list": [{"element": "Ref"}]}}')
        for command in (["scan"], ["deps", "levels/harbour.scene"], ["check"]):
            with self.subTest(command):
                self.refuse(*command, says=[str(self.config), "invalid vector subscript"])
        (self.config / "json_config.json").unlink()
        self.refuse("scan", says=[str(self.config / "json_config.json")])

    def test_store_that_cannot_be_opened(self):
        (self.root / "temp").touch()
        self.refuse("scan", says=["temp"])
        (self.root / "temp").unlink()
        (self.root / "temp").mkdir()
        (self.root / "temp/gen_dep").touch()
        for command in (["scan"], ["export"], ["check"], ["deps", "x"]):
            self.refuse(*command, says=["temp/gen_dep"])


class Streams(ProjectCase):
    def setUp(self):
        super().setUp()
        # More than a pipe holds.
        for number in range(2000):
            self.write("a-name-that-takes-some-room-%d.scene" % number, scene("stone.tga"))
        self.write("stone.tga")
        self.succeed("scan")

    def test_a_reader_that_goes_away(self):
        (self.root / "many.lua").write_text("for i = 1, 1e5 do print(i) end")
        for command in ("export", "check", "rdeps stone.tga", "lua many.lua"):
            for trap in ("", "trap '' PIPE; "):
                status = self.base / "status"
                script = "%s{ %s %s; echo $? >%s; } | head -c 1" % (trap, VXDEP, command, status)
                with self.subTest(script):
                    process = subprocess.run(["bash", "-c", script], cwd=self.root,
                                             capture_output=True, preexec_fn=ordinary_signals,
                                             timeout=120)
                    self.assertEqual(process.stderr, b"")
                    self.assertEqual(status.read_text(), "0\n")

    def test_output_that_cannot_be_written(self):
        for arguments in (["export"], ["scan"], ["rdeps", "stone.tga"], ["check"], ["--help"]):
            with self.subTest(arguments), open("/dev/full", "wb") as full:
                self.refuse(*arguments, stdout=full, says=["standard output", "No space left"])

    def test_closed_streams(self):
        # A file opened later must not get the number of a closed stream, and answers with it.
        for close, code in ((">&-", 1), ("2>&-", 0), ("<&-", 0), (">&- 2>&- <&-", 1)):
            script = "'%s' export %s" % (VXDEP, close)
            with self.subTest(script):
                process = subprocess.run(["bash", "-c", script], cwd=self.root,
                                         capture_output=True, timeout=120)
                self.assertEqual(process.returncode, code)
        self.assertEqual(self.succeed("check").lines, ["2001 files: all is in step"])
        self.assertEqual(os.listdir(self.root / "temp/gen_dep").count("1"), 0)


if __name__ == "__main__":
    unittest.main()
