"""Scripts: by vxdep lua, and by a Lua interpreter that knows nothing of vxdep."""

import os
import pathlib
import shutil
import subprocess
import unittest

import support

SOURCES = pathlib.Path(__file__).resolve().parents[2]
SCRIPTS = SOURCES / "examples/scripts"
SINGLETON = 'local m = require("vexa.vxdependency").CDependencyManager.get_singleton_ptr()\n'


class LuaCase(support.ProjectCase):
    def script(self, text, name="script.lua"):
        (self.base / name).write_text(text)
        return str(self.base / name)

    def lua(self, *arguments):
        environment = {**os.environ, "LUA_CPATH": os.environ["VX_LUA_CPATH"],
                       "LUA_PATH": str(SCRIPTS / "?.lua")}
        process = subprocess.run([os.environ["VX_LUA"], *map(str, arguments)], cwd=self.root,
                                 env=environment, capture_output=True, timeout=120)
        return support.Result(process)


class Interpreter(LuaCase):
    def test_every_call_ends_as_it_should(self):
        self.write_harbour()
        calls = SOURCES / "tests/vxdependency/lua_calls.lua"
        result = self.lua("-e", "print(dofile '%s')" % calls)
        self.assertEqual((result.code, result.lines), (0, ["done"]), result.err)

    def test_leaving_while_a_scan_runs(self):
        for number in range(300):
            self.write("%d.scene" % number, support.scene("stone.tga"))
        result = self.lua("-e", SINGLETON + "m:begin_scan() io.write 'out'")
        self.assertEqual((result.code, result.out), (0, b"out"), result.err)
        self.assertEqual(self.succeed("-q", "scan", "--json").json["files"], 300)


class Program(LuaCase):
    def test_arguments_and_folders(self):
        self.script("return ...", "beside.lua")
        script = self.script("assert(require 'beside' == 'beside') "
                             "print(arg[0], #arg, ...) print(io.open('res') ~= nil)")
        self.succeed("-q", "scan")
        result = self.succeed("lua", "../script.lua", "-q", "", "--help")
        self.assertEqual(result.lines, ["../script.lua\t3\t-q\t\t--help", "true"])
        self.assertEqual(self.succeed("-C", str(self.root), "lua", script, cwd="/").lines,
                         [script + "\t0", "true"])

    def test_failures(self):
        self.succeed("-q", "scan")
        cases = [("local x =", "script.lua:1:"), ("error()", "nil value"),
                 ("error('no way')", "script.lua:1: no way\nstack traceback:"),
                 ("error(setmetatable({}, {__tostring = function() return 'odd' end}))", ": odd\n"),
                 (SINGLETON + "m:rename('a', 'b')", "invalid argument number 2, needed 3.")]
        for text, says in cases:
            self.refuse("lua", self.script(text), says=[says])
        self.refuse("lua", "nowhere.lua", says=["nowhere.lua"])
        with open("/dev/full", "w") as full:
            self.refuse("lua", self.script("print 'x'"), says=["standard output"], stdout=full)
        for arguments in ([], ["-q", "x.lua"]):
            self.refuse("lua", *arguments, code=2)
        self.assertEqual(self.run_vxdep("lua", self.script("os.exit(7)")).code, 7)

    def test_a_scan_is_finished(self):
        self.write_harbour()
        script = self.script(SINGLETON + "m:begin_scan()")
        self.assertEqual(self.run_vxdep("-q", "lua", script).code, 0)
        self.assertEqual(self.succeed("rdeps", "textures/wood.tga").lines, ["props/barrel.scene"])


class Examples(LuaCase):
    tree = os.environ.get("VX_LUA_TREE", SOURCES / "examples/harbour")

    def setUp(self):
        super().setUp()
        shutil.rmtree(self.res)
        shutil.rmtree(self.root / "builtin")
        shutil.copytree(pathlib.Path(self.tree, "res"), self.res, symlinks=True)
        for name in ("textures/new one's.png", "sprites/b.TGA"):
            self.write(name)
        self.succeed("-q", "scan")
        self.graph = self.succeed("export").json

    def run_both(self, name, *arguments):
        """What a script prints, which is the same in vxdep and in the interpreter."""
        result = self.succeed("lua", str(SCRIPTS / name), *arguments)
        other = self.lua(SCRIPTS / name, *arguments)
        self.assertEqual((other.code, other.lines), (0, result.lines), other.err)
        return result.lines

    def reachable(self, path):
        met, work = set(), [path]
        while work:
            entries = set(self.graph["forward"].get(work.pop(), ())) - met - {path}
            met |= entries
            work += entries
        return met

    def test_unused_textures(self):
        images = sorted(str(path.relative_to(self.res)) for path in self.res.rglob("*.*")
                        if path.suffix.lower() in (".png", ".tga"))
        unused = [path for path in images if path not in self.graph["inverse"]]
        self.assertLessEqual({"sprites/b.TGA", "textures/new one's.png"}, set(unused))
        self.assertEqual(self.run_both("unused_textures.lua"), unused)
        self.assertEqual(self.run_both("unused_textures.lua", "textures/"),
                         [path for path in unused if path.startswith("textures/")])

    def test_heaviest_levels(self):
        files = [str(path.relative_to(self.res)) for path in self.res.rglob("*.[st]*")
                 if path.suffix in (".scn", ".tmx")]
        levels = sorted((-len(self.reachable(path)), path) for path in files)
        lines = ["%6d  %s" % (-weight, path) for weight, path in levels]
        self.assertEqual(self.run_both("heaviest_levels.lua", "3", "scn", "tmx"), lines[:3])
        self.assertEqual(self.run_both("heaviest_levels.lua"),
                         [line for line in lines if line.endswith("scn")])

    def test_rename_by_table(self):
        self.write("textures/sky.png.vxmeta", b"settings")
        table = self.base / "table.tsv"
        table.write_text("textures/sky.png\tui/dusk.png\r\n\nui/marks.svg\tui/signs.svg\n")
        old = self.graph["inverse"]
        result = self.succeed("lua", str(SCRIPTS / "rename_by_table.lua"), str(table))
        self.assertEqual(result.lines, ["textures/sky.png -> ui/dusk.png",
                                        "ui/marks.svg -> ui/signs.svg"])
        self.assertEqual((self.res / "ui/dusk.png.vxmeta").read_bytes(), b"settings")
        graph = self.succeed("export").json
        for before, after in (("textures/sky.png", "ui/dusk.png"), ("ui/marks.svg", "ui/signs.svg")):
            self.assertEqual(graph["inverse"][after], old[before])
        self.succeed("-q", "scan")
        self.assertEqual(self.succeed("export").json, graph)

        for text, says in [("a.png\tb.png", "a.png: no such file"), ("a.png b.png", "a tab"),
                           ("ui/hud.rml\tui/signs.svg", "ui/signs.svg: is there already"),
                           ("ui/hud.rml\tnowhere/x.rml", "No such file")]:
            table.write_text(text)
            self.refuse("lua", str(SCRIPTS / "rename_by_table.lua"), str(table), says=[says])
        self.assertEqual(self.succeed("export").json, graph)


if __name__ == "__main__":
    unittest.main()
