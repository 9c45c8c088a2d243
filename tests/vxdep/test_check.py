"""check: every kind of disagreement between store and tree, and that it mends none."""

import os
import subprocess
import unittest

from support import ProjectCase, scene

# Two paths whose string ids, XXH32 with seed 0, are equal.
COLLIDING = ("props/4540.scene", "props/92310.scene")


class Check(ProjectCase):
    def setUp(self):
        super().setUp()
        self.write_harbour()
        self.succeed("scan")

    def check(self, code, *problems):
        """Checks twice, since a check that changed the store would answer otherwise then."""
        for _ in range(2):
            result = self.run_vxdep("check", "--json")
            self.assertEqual(result.code, code, result.err)
            report = result.json
            self.assertEqual(report["ok"], code == 0)
            found = [(problem["kind"], problem["path"]) for problem in report["problems"]]
            self.assertEqual(found, list(problems))
        lines = self.run_vxdep("-q", "check").lines
        self.assertEqual([line.split(",")[0].split(" -> ")[0] for line in lines[:-1]],
                         ["%s: %s" % problem for problem in problems])
        self.assertTrue(lines[-1].startswith("%d files" % report["files"]), lines)
        return report

    def test_in_step(self):
        self.check(0)

    def test_changes_that_a_scan_mends(self):
        changes = [
            (lambda: self.write("props/barrel.scene", scene()), "stale", "props/barrel.scene"),
            (lambda: os.utime(self.res / "textures/wood.tga", ns=(1, 1)), "stale",
             "textures/wood.tga"),
            (lambda: self.write("new.scene", scene()), "unknown", "new.scene"),
            (lambda: self.write("new.tga"), "unknown", "new.tga"),
            (lambda: (self.res / "textures/unused.tga").unlink(), "missing",
             "textures/unused.tga"),
        ]
        for change, kind, path in changes:
            with self.subTest(kind, path=path):
                change()
                self.check(1, (kind, path))
                self.succeed("scan")
                self.check(0)

    def test_a_project_that_moved_is_read_again(self):
        self.root = self.root.rename(self.base / "moved")
        self.res = self.root / "res"
        self.check(1, ("stale", "levels/harbour.scene"), ("stale", "props/barrel.scene"))
        self.succeed("scan")
        self.check(0)

    def test_before_the_first_scan(self):
        (self.root / "temp").rename(self.base / "temp")
        self.assertEqual(len(self.run_vxdep("check", "--json").json["problems"]), 5)

    def test_files_that_cannot_be_read(self):
        self.write("broken.scene", b"<Scene><Ref></Scene>")
        self.run_vxdep("scan")
        self.check(0, ("unparsable", "broken.scene"))
        (self.res / "dangling.scene").symlink_to("nowhere.scene")
        self.run_vxdep("scan")
        self.assertIn("unreadable: dangling.scene", self.run_vxdep("check").out.decode())

    def test_one_sided(self):
        subprocess.run([os.environ["VX_SET_LIST"], "props/barrel.scene", "textures/stone.tga"],
                       cwd=self.root, check=True)
        report = self.check(1, ("one-sided", "props/barrel.scene"),
                            ("one-sided", "props/barrel.scene"))
        self.assertEqual([problem["other"] for problem in report["problems"]],
                         ["textures/stone.tga", "textures/wood.tga"])

    def test_colliding(self):
        self.write(COLLIDING[0], scene("textures/stone.tga"))
        self.write(COLLIDING[1], scene("textures/wood.tga"))
        result = self.run_vxdep("scan")
        self.assertIn(COLLIDING[0], result.err)
        report = self.check(1, ("colliding", COLLIDING[0]))
        self.assertEqual(report["problems"][0]["other"], COLLIDING[1])

    def test_a_path_that_is_too_long(self):
        key = "/".join(["a" * 100] * 3) + ".scene"
        self.write(key, scene("textures/stone.tga"))
        self.run_vxdep("scan")
        self.check(1, ("too-long", key))


if __name__ == "__main__":
    unittest.main()
