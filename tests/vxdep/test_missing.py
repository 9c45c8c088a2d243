"""vxdep missing and vxdep explain."""

import unittest

import support
from support import scene


class Missing(support.ProjectCase):
    def setUp(self):
        super().setUp()
        self.write("textures/old/Stone.tga")
        self.write("textures/wood.tga")
        self.write("a/gone #1.scene", scene("textures/wood.tga"))
        self.write("a/one.scene", scene("textures/wood.tga", "textures/stone.tga", "no path"))
        self.write("b/two.scene", scene(b"sounds/\xff.wav"))
        self.write("b/broken.scene", b"<Scene><Ref path='x/y.tga'>")
        self.run_vxdep("-q", "scan")

    def test_tells_place_rule_and_what_may_be_meant(self):
        result = self.run_vxdep("missing")
        self.assertEqual(result.code, 1)
        self.assertEqual(result.lines, [
            "a/one.scene:3: Ref path: textures/stone.tga (did you mean textures/old/Stone.tga?)",
            "b/two.scene:2: Ref path: sounds/\udcff.wav"])
        self.assertEqual(result.err, "vxdep: 2 references resolve to nothing\n")
        self.assertEqual(self.run_vxdep("-q", "missing", "--ok").code, 0)
        self.assertEqual(self.run_vxdep("-q", "missing", "--json").json, [
            {"file": "a/one.scene", "line": 3, "offset": 55, "rule": "Ref path",
             "text": "textures/stone.tga", "suggestion": "textures/old/Stone.tga"},
            {"file": "b/two.scene", "line": 2, "offset": 21, "rule": "Ref path",
             "text": "sounds/\udcff.wav"}])

    def test_asks_of_a_part_of_the_tree(self):
        self.assertEqual(len(self.run_vxdep("missing", "a").lines), 1)
        self.assertEqual(len(self.run_vxdep("missing", "two.scene", cwd=self.res / "b").lines), 1)
        self.assertEqual(self.run_vxdep("-q", "missing", "textures").code, 0)
        self.refuse("missing", "../elsewhere", says=["elsewhere"])
        self.refuse("missing", "textuers", says=["textuers: no such file"])

    def test_follows_files_that_come_and_go(self):
        self.write("textures/stone.tga")
        (self.res / "textures/wood.tga").unlink()
        self.run_vxdep("-q", "scan")
        self.assertEqual([line.split(": ")[-1] for line in self.run_vxdep("missing", "a").lines],
                         ["textures/wood.tga"])
        self.assertEqual(self.succeed("rdeps", "textures/stone.tga").lines, ["a/one.scene"])

    def test_a_query_of_a_new_file_links_what_awaits_it(self):
        self.write("b/three.scene")
        self.write("b/four.scene", scene("b/five.scene"))
        self.run_vxdep("-q", "scan")
        self.write("b/five.scene", scene("textures/wood.tga"))
        self.succeed("-q", "deps", "b/five.scene")
        self.assertEqual(self.succeed("-q", "rdeps", "b/five.scene").lines, ["b/four.scene"])


class Explain(support.ProjectCase):
    def test_tells_every_reading_of_every_reference(self):
        self.write_harbour()
        self.write("levels/x.scene", scene("textures/wood.tga", "/none.tga"))
        result = self.run_vxdep("explain", "levels/x.scene")
        self.assertEqual(result.lines, [
            "levels/x.scene:2: Ref path: textures/wood.tga",
            "    -> textures/wood.tga  (from the resource root)",
            "levels/x.scene:3: Ref path: /none.tga",
            "    no none.tga  (from the resource root)"])
        self.assertEqual(result.err, "vxdep: references: 2, of which 1 to nothing\n")
        told = self.run_vxdep("-q", "explain", "levels/x.scene", "--json").json
        self.assertEqual(told[0]["candidates"], [
            {"path": "textures/wood.tga", "reading": "from the resource root", "strategy": 2,
             "exists": True}])

    def test_says_why_it_cannot(self):
        self.write_harbour()
        self.write("levels/broken.scene", b"<Scene>")
        self.run_vxdep("-q", "scan")
        self.refuse("explain", "textures/wood.tga", says=["textures/wood.tga", "no rule reads"])
        self.refuse("explain", "levels/broken.scene", says=["levels/broken.scene: cannot be read"])
        self.refuse("explain", "levels", says=["levels: is a folder"])
        self.refuse("explain", "levels/wood.tga", says=["did you mean textures/wood.tga?"])


if __name__ == "__main__":
    unittest.main()
