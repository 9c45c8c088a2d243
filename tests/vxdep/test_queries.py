"""deps, rdeps and export: the answers, and every way to write a path."""

import os
import unittest

from support import ProjectCase, scene

USERS_OF_STONE = ["levels/harbour.scene"]


class Scanned(ProjectCase):
    def setUp(self):
        super().setUp()
        self.write_harbour()
        self.succeed("scan")

    def expect(self, lines, *arguments, **options):
        self.assertEqual(self.succeed(*arguments, **options).lines, lines, (arguments, options))


class Answers(Scanned):
    def test_answers(self):
        cases = [
            (["deps", "levels/harbour.scene"], ["props/barrel.scene", "textures/stone.tga"]),
            (["deps", "--all", "levels/harbour.scene"],
             ["props/barrel.scene", "textures/stone.tga", "textures/wood.tga"]),
            (["rdeps", "textures/wood.tga"], ["props/barrel.scene"]),
            (["rdeps", "textures/wood.tga", "--all"],
             ["levels/harbour.scene", "props/barrel.scene"]),
            (["rdeps", "textures"], ["levels/harbour.scene", "props/barrel.scene"]),
            (["deps", "props/"], ["textures/wood.tga"]),
            (["deps", "res"],
             ["props/barrel.scene", "textures/stone.tga", "textures/wood.tga"]),
            (["rdeps", "textures/unused.tga"], []),
        ]
        for arguments, expected in cases:
            with self.subTest(arguments):
                self.assertEqual(self.succeed(*arguments).lines, expected)
                self.assertEqual(self.succeed(*arguments, "--json").json, expected)

    def test_changed_files_are_read_again(self):
        # The new answer must not depend on the clock having moved on by a second.
        self.write("props/barrel.scene", scene("props/rope.scene"))
        self.write("props/rope.scene", scene("textures/unused.tga"))
        self.expect(["props/barrel.scene", "props/rope.scene", "textures/stone.tga",
                     "textures/unused.tga"], "deps", "--all", "levels/harbour.scene")
        self.write("props/barrel.scene", scene("textures/stone.tga"))
        self.expect(["textures/stone.tga"], "deps", "props/barrel.scene")
        self.expect([], "rdeps", "textures/wood.tga")

    def test_unknown_paths(self):
        self.write("a/twin.tga")
        self.write("b/twin.tga")
        self.succeed("scan")
        for path, text in (("old/stone.tga", "did you mean textures/stone.tga?"),
                           ("nowhere.tga", "no such file")):
            with self.subTest(path):
                self.refuse("rdeps", path, says=[path, text])
        self.assertNotIn("did you mean", self.refuse("deps", "twin.tga").err)
        self.expect(["7 files: all is in step"], "check")

    def test_without_a_scan_the_answer_warns(self):
        (self.root / "temp").rename(self.base / "temp")
        result = self.run_vxdep("deps", "levels/harbour.scene")
        self.assertEqual(result.code, 0)
        self.assertEqual(len(result.lines), 2)
        self.assertIn("no scan has been completed", result.err)
        self.succeed("-q", "deps", "levels/harbour.scene")


class PathForms(Scanned):
    def test_forms_of_one_path(self):
        link = self.base / "link"
        link.symlink_to(self.root)
        textures = self.base / "textures-link"
        textures.symlink_to(self.res / "textures")
        cases = [
            (self.root, "textures/stone.tga"),
            (self.root, "./res//levels/../textures/stone.tga"),
            (self.root, "textures/stone.tga/"),
            (self.root, "textures\\stone.tga"),
            (self.root, str(link / "res/textures/stone.tga")),
            (self.root, str(textures / "stone.tga")),
            (self.res / "levels", "../textures/stone.tga"),
            (self.res / "levels", "textures/stone.tga"),
            (link / "res/textures", "stone.tga"),
        ]
        for cwd, path in cases:
            with self.subTest(path, cwd=cwd):
                self.expect(USERS_OF_STONE, "rdeps", path, cwd=cwd)
        self.expect(USERS_OF_STONE, "-C", "link", "rdeps", "textures-link/stone.tga", cwd=self.base)

    def test_the_working_directory_comes_first(self):
        self.write("levels/textures/stone.tga")
        self.write("levels/quay.scene", scene("levels/textures/stone.tga"))
        self.succeed("scan")
        for cwd, expected in ((self.res / "levels", ["levels/quay.scene"]),
                              (self.res, USERS_OF_STONE)):
            self.expect(expected, "rdeps", "textures/stone.tga", cwd=cwd)

    def test_a_vanished_file_by_its_place(self):
        (self.res / "textures/stone.tga").unlink()
        for cwd, path in ((self.root, "res/textures/stone.tga"), (self.root, "textures/stone.tga"),
                          (self.res / "textures", "stone.tga"),
                          (self.base, str(self.res / "textures/stone.tga"))):
            self.expect(USERS_OF_STONE, "-C", str(self.root), "rdeps", path, cwd=cwd)

    def test_paths_outside(self):
        (self.base / "outside.tga").touch()
        for path in ("../outside.tga", str(self.base / "outside.tga"), "/no/such.tga",
                     "../../../../../x.tga", "builtin"):
            with self.subTest(path):
                self.refuse("deps", path, says=[path, "outside of the resource root"])

    def test_links_below_res_are_resources(self):
        (self.res / "alias.tga").symlink_to("textures/stone.tga")
        self.write("alias.scene", scene("alias.tga"))
        self.succeed("scan")
        self.expect(["alias.scene"], "rdeps", "alias.tga")
        self.assertEqual(self.succeed("check").code, 0)

    def test_odd_names(self):
        texture = "textures/stone.tga"
        names = ["a b.scene", "it's.scene", "50%.scene", "{x}.scene", "[y].scene", "-dash.scene",
                 "two\nlines.scene", 'say "hi".scene', "gr\u00fcn.scene", os.fsdecode(b"caf\xe9.scene"),
                 os.fsdecode(b"\xed\xb3\xa9\xf0\x9f.scene"), os.fsdecode(b"\xc0\xaf.scene")]
        for name in names:
            self.write(name, scene(texture))
        self.succeed("scan")
        for name in names:
            with self.subTest(name):
                self.expect([texture], "deps", "--", name)
                self.expect([texture], "deps", "--", name, cwd=self.res)
        users = sorted(names + USERS_OF_STONE, key=os.fsencode)
        result = self.succeed("rdeps", texture)
        self.assertEqual(result.out, b"".join(os.fsencode(user) + b"\n" for user in users))
        self.assertEqual(self.succeed("rdeps", texture, "--json").json, users)
        self.assertEqual(self.succeed("export").json["inverse"][texture], users)


if __name__ == "__main__":
    unittest.main()
