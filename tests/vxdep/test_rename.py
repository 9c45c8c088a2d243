"""rename, undo and rm: the special cases, each against what the tree and a new store must say."""

import ctypes
import json
import os
import shutil
import subprocess
import unittest
from xml.etree import ElementTree

from rename_check import Contents, in_memory
from support import ProjectCase, ordinary_signals, scene

XML_RULES = """{"scene": {"name_list": [
    {"element": "Ref", "attribute": "path", "type": 2},
    {"element": "Rel", "attribute": "path", "type": 1}]}}"""
JSON_RULES = '{"part": {"name_list": [{"member": "uri", "strategy": 1}]}}'
CAP_DAC_OVERRIDE, PR_CAPBSET_DROP = 1, 24


def obey_permissions():
    """For a child process: the superuser may not write what is read-only either."""
    ordinary_signals()
    if os.geteuid() == 0 and ctypes.CDLL(None).prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE) != 0:
        raise OSError("the capability cannot be dropped")


class Renaming(ProjectCase):
    def setUp(self):
        super().setUp()
        (self.config / "xml_config.json").write_text(XML_RULES)
        (self.config / "json_config.json").write_text(JSON_RULES)
        self.write_harbour()
        self.contents = Contents(str(self.res))
        self.succeed("scan")

    def text(self, key):
        return (self.res / key).read_text()

    def graph(self):
        """The exported graph, which must be that of a new store."""
        kept, aside = self.root / "temp", self.root / "aside"
        graph = self.succeed("export").json
        kept.rename(aside)
        self.succeed("-q", "scan")
        self.assertEqual(graph, self.succeed("export").json)
        shutil.rmtree(kept)
        aside.rename(kept)
        return graph["forward"]

    def rename(self, old, new):
        result = self.run_vxdep("rename", old, new, "--json")
        self.assertEqual(result.code, 0, (result.err, result.out))
        return result.json

    def change_nothing(self, *arguments, **options):
        before = self.contents()
        self.refuse(*arguments, **options)
        self.assertEqual(self.contents(), before)

    def undo(self, before):
        self.assertEqual(self.run_vxdep("undo").code, 0)
        self.assertEqual(self.contents(), before)
        self.graph()


class ManyFiles(Renaming):
    def test_more_than_one_thread_rewrites(self):
        for number in range(300):
            self.write(f"many/{number}.scene", scene("textures/wood.tga", "textures/stone.tga"))
        self.succeed("scan")
        before = self.contents()
        (self.res / "many/200.scene").chmod(0o444)
        self.change_nothing("rename", "textures/wood.tga", "textures/oak.tga",
                            preexec_fn=obey_permissions)
        (self.res / "many/200.scene").chmod(0o644)
        self.assertEqual(len(self.rename("textures/wood.tga", "textures/oak.tga")["edits"]), 301)
        users = [key for key, edges in self.graph().items() if "textures/oak.tga" in edges]
        self.assertEqual(len(users), 301)
        self.undo(before)


class Names(Renaming):
    def test_case_only(self):
        for old, new, texture in (("textures/stone.tga", "textures/Stone.TGA", "textures/Stone.TGA"),
                                  ("textures", "Textures", "Textures/Stone.TGA")):
            self.rename(old, new)
            self.assertIn(new.rpartition("/")[2], os.listdir((self.res / new).parent))
            self.assertIn(texture, self.graph()["levels/harbour.scene"])

    def test_two_names_swapped(self):
        for old, new in (("wood", "x"), ("stone", "wood"), ("x", "stone")):
            self.rename(f"textures/{old}.tga", f"textures/{new}.tga")
        self.assertEqual(self.text("props/barrel.scene"), scene("textures/stone.tga").decode())
        self.assertEqual(self.graph(), {"props/barrel.scene": ["textures/stone.tga"],
                                        "levels/harbour.scene": ["props/barrel.scene", "textures/wood.tga"]})

    def test_names_that_the_store_remembers(self):
        self.write("props/old.scene", scene("textures/unused.tga"))
        self.write("levels/wants.scene", scene("props/old.scene", "props/wanted.scene"))
        self.succeed("-q", "scan")
        (self.res / "props/old.scene").unlink()
        self.rename("props/barrel.scene", "props/old.scene")
        self.assertEqual(self.graph()["props/old.scene"], ["textures/wood.tga"])
        self.rename("props/old.scene", "props/wanted.scene")
        self.assertEqual(self.graph()["levels/wants.scene"], ["props/wanted.scene"])
        self.rename("textures/wood.tga", "textures/gone.tga")
        (self.res / "textures/gone.tga").unlink()
        self.rename("textures/stone.tga", "textures/gone.tga")
        self.assertEqual(self.graph(), {
            "levels/harbour.scene": ["props/wanted.scene", "textures/gone.tga"],
            "levels/wants.scene": ["props/wanted.scene"], "props/wanted.scene": ["textures/gone.tga"]})

    def test_characters_that_formats_write_otherwise(self):
        before = self.text("levels/harbour.scene")
        self.write("levels/l.part", b'{"uri": ["../textures/stone.tga", "../props/barrel.scene"]}')
        old = "textures/stone.tga"
        for name in ("a & b", 'say "so"', "it's <one>", "100%20", "gr\u00fcn \u6728", "{x}[0]", "-v", "&amp;",
                     "stone"):
            with self.subTest(name):
                new = f"textures/{name}.tga"
                self.rename(str(self.res / old), str(self.res / new))
                element = ElementTree.fromstring(self.text("levels/harbour.scene"))[1]
                self.assertEqual(element.get("path"), new)
                self.assertEqual(json.loads(self.text("levels/l.part"))["uri"],
                                 ["../" + new, "../props/barrel.scene"])
                self.assertEqual(self.graph()["levels/l.part"], sorted(["props/barrel.scene", new]))
                old = new
        self.assertEqual(self.text("levels/harbour.scene"), before)
        before = self.contents()
        told = self.rename(old, "textures/a#b.tga")["notRewritten"]  # the store cannot keep it
        self.assertEqual([edge["file"] for edge in told], ["levels/harbour.scene", "levels/l.part"])
        self.undo(before)

    def test_where_the_new_name_lies(self):
        (self.res / "empty").mkdir()
        for new, place in (("empty", "empty/wood.tga"), ("res/props/", "props/wood.tga"),
                           (str(self.res / "textures/wood.tga"), "textures/wood.tga")):
            with self.subTest(new):
                plan = self.rename(next(self.res.rglob("wood.tga")).relative_to(self.res).as_posix(), new)
                self.assertEqual(plan["moves"][0]["to"], place)
                self.assertEqual(self.graph()["props/barrel.scene"], [place])
        self.rename("props", "textures")
        self.assertIn("textures/props/barrel.scene", self.graph()["levels/harbour.scene"])

    def test_what_cannot_be_done(self):
        self.write("textures/stone.tga.vxmeta")
        self.write("levels/x.tga.vxmeta")
        cases = [("textures/none.tga", "x.tga", "none.tga"),
                 ("textures/stone.tga", "textures/wood.tga", "exists"),
                 ("textures/stone.tga", "../x.tga", "../x.tga"),
                 ("textures", "textures/below", "into itself"),
                 ("textures/stone.tga", "textures/stone.tga", "stone.tga"),
                 ("textures/stone.tga", "textures/wood.tga/x.tga", "wood.tga"),
                 ("textures/stone.tga", "levels/x.tga", "levels/x.tga.vxmeta"),
                 (".", "levels", "root"), ("textures/stone.tga", "x" * 300, "")]
        for old, new, text in cases:
            with self.subTest(old=old, new=new):
                self.change_nothing("rename", old, new, says=[text])
        for arguments in (["rename"], ["rename", "a"], ["rename", "a", "b", "c"], ["undo", "a"], ["rm"]):
            self.change_nothing(*arguments, code=2)


class Dependents(Renaming):
    def test_a_file_and_its_dependents_move_together(self):
        self.write("kit/a/lid.scene", b'<S><Rel path="../b/box.tga"/><Ref path="kit/b/box.tga"/></S>')
        self.write("kit/b/box.tga.vxmeta", b"meta")
        self.write("kit/b/box.tga")
        self.write("levels/l.scene", scene("kit/b/box.tga"))
        before = self.contents()
        plan = self.rename("kit", "props/set")
        self.assertEqual(self.text("props/set/a/lid.scene"),
                         '<S><Rel path="../b/box.tga"/><Ref path="props/set/b/box.tga"/></S>')
        self.assertEqual(self.text("levels/l.scene"), scene("props/set/b/box.tga").decode())
        self.assertEqual((len(plan["edits"]), plan["notRewritten"]), (2, []))
        self.graph()
        self.undo(before)

    def test_one_that_may_not_be_written(self):
        (self.res / "props/barrel.scene").chmod(0o444)
        before = self.contents()
        result = self.run_vxdep("rename", "textures/wood.tga", "textures/oak.tga",
                                preexec_fn=obey_permissions)
        self.assertEqual((result.code, result.out), (1, b""), result.err)
        self.assertIn("props/barrel.scene", result.err)
        self.assertEqual(self.contents(), before)

    def test_one_that_is_a_symbolic_link(self):
        self.write("props/real.scene", scene("textures/stone.tga")).rename(self.base / "real.scene")
        (self.res / "props/outside.scene").symlink_to(self.base / "real.scene")
        (self.res / "levels/alias.scene").symlink_to("harbour.scene")
        before = self.contents()
        self.rename("textures/stone.tga", "textures/rock.tga")
        self.assertEqual((self.base / "real.scene").read_bytes(), scene("textures/rock.tga"))
        self.assertEqual(self.text("levels/alias.scene").count("rock.tga"), 1)
        for link in ("props/outside.scene", "levels/alias.scene"):
            self.assertTrue((self.res / link).is_symlink())
            self.assertIn("textures/rock.tga", self.graph()[link])
        self.undo(before)
        self.assertEqual((self.base / "real.scene").read_bytes(), scene("textures/stone.tga"))

    def test_one_of_200_megabytes(self):
        filler = b"<!--" + b"filler " * 100_000 + b"-->\n"
        pieces = [b"<S>\n", filler * 143, b'<Ref path="textures/%s.tga"/>\n', filler * 143, b"</S>"]
        path = self.write("levels/huge.scene", b"".join(pieces) % b"stone")
        self.assertGreater(path.stat().st_size, 200_000_000)
        self.rename("textures/stone.tga", "textures/rock.tga")
        self.assertTrue(path.read_bytes() == b"".join(pieces) % b"rock")
        self.assertEqual(self.succeed("deps", "levels/huge.scene").lines, ["textures/rock.tga"])

    def test_ten_thousand(self):
        for number in range(10_000):
            self.write(f"many/{number % 100}/{number}.scene",
                       scene("textures/stone.tga", "textures/wood.tga"))
        before = self.contents()
        self.assertEqual(len(self.rename("textures/stone.tga", "textures/rock.tga")["edits"]), 10_001)
        renamed = scene("textures/rock.tga", "textures/wood.tga")
        self.assertTrue(all(path.read_bytes() == renamed for path in self.res.glob("many/*/*")))
        self.assertEqual(self.run_vxdep("undo").code, 0)
        self.assertEqual(self.contents(), before)
        # By the ids of its records, which go by the place of the tree, one of so many may hide another.
        self.assertGreater(len(self.run_vxdep("rdeps", "textures/stone.tga").lines), 9_990)

    def test_a_folder_s_users_are_not_read_once_for_each_of_its_files(self):
        names = [f"kit/{number}.tga" for number in range(100)]
        for name in names:
            self.write(name)
        size = 20 * self.write("levels/0.scene", scene(*names) + b" " * 100_000).stat().st_size
        for number in range(1, 20):
            shutil.copy(self.res / "levels/0.scene", self.res / f"levels/{number}.scene")
        self.succeed("-q", "scan")
        with subprocess.Popen(self.command("-q", "rename", "kit", "set"), cwd=self.root,
                              stdout=subprocess.DEVNULL) as process:
            os.waitid(os.P_PID, process.pid, os.WEXITED | os.WNOWAIT)
            with open(f"/proc/{process.pid}/io", encoding="ascii") as counts:
                done = dict(line.split(": ") for line in counts.read().splitlines())
        self.assertEqual(process.returncode, 0)
        self.assertLess(int(done["rchar"]), 4 * size)
        self.assertLess(int(done["wchar"]), 2 * size)
        self.assertEqual(len(self.graph()["levels/7.scene"]), 100)

    def test_git_shows_only_the_changed_references(self):
        documents = {
            "levels/odd.scene": b"\xef\xbb\xbf<?xml version='1.0'?>\r\n<S  a = 'x &lt;&#65;' >\r\n"
                                b"\t<!-- textures/stone.tga -->\r\n\t<Ref b='&apos;'  path = "
                                b"'textures/sto&#110;e.tga' c=\"\t\"/>\r\n</S  >\r\n\r\n",
            "levels/odd.part": b"\xef\xbb\xbf{\r\n\t// stone.tga\r\n\t\"n\" : 1.50e0,\t\"uri\":"
                               b"[ \"..\\/textures\\/sto\\u006ee.tga\" ,\r\n\"../props/barrel.scene\"]\r\n}",
        }
        for key, data in documents.items():
            self.write(key, data)
        self.git("init")
        self.git("add", "res")
        self.git("commit", "-m", "all")
        self.rename("textures/stone.tga", "textures/rock.tga")
        self.git("add", "res")
        changes = self.git("diff", "--cached", "-M", "--numstat", "--", "res").splitlines()
        self.assertEqual(changes, ["1\t1\tres/levels/harbour.scene", "1\t1\tres/levels/odd.part",
                                   "1\t1\tres/levels/odd.scene",
                                   "0\t0\tres/textures/{stone.tga => rock.tga}"])
        for key, data in documents.items():
            lines = zip(data.split(b"\n"), (self.res / key).read_bytes().split(b"\n"), strict=True)
            (old, new), = [pair for pair in lines if pair[0] != pair[1]]
            quote = b'"' if key.endswith("part") else b"'"
            words = zip(old.split(quote), new.split(quote), strict=True)
            self.assertEqual([word for _, word in words if word != _],
                             [rb"..\/textures\/rock.tga" if key.endswith("part") else b"textures/rock.tga"])

    def git(self, *arguments):
        settings = ["-c", "user.name=x", "-c", "user.email=x@example.org", "-c", "core.autocrlf=false"]
        run = subprocess.run(["git", *settings, *arguments], cwd=self.root, capture_output=True, check=True)
        return run.stdout.decode()


class Undo(Renaming):
    def test_takes_back_one_after_the_other(self):
        past = []
        for old, new in (("textures/stone.tga", "textures/rock.tga"), ("textures", "images"),
                         ("levels/harbour.scene", "props/harbour.scene")):
            past.append(self.contents())
            self.rename(old, new)
        for _ in range(2):
            before = self.contents()
            self.assertEqual(self.run_vxdep("undo", "--dry-run", "--json").code, 0)
            self.assertEqual(self.contents(), before)
            self.undo(past.pop())
        self.write("new.scene", scene("textures/wood.tga"))  # concerns no file of the first rename
        self.assertEqual(self.run_vxdep("undo").code, 0)
        (self.res / "new.scene").unlink()
        self.assertEqual(self.contents(), past.pop())
        self.change_nothing("undo", says=["no rename"])

    def test_what_changed_since_stays(self):
        changes = [
            ("levels/harbour.scene", lambda path: path.write_bytes(scene("textures/rock.tga"))),
            ("textures/rock.tga", lambda path: path.unlink()),
            ("textures/stone.tga", lambda path: path.write_bytes(b"another")),
        ]
        for key, change in changes:
            with self.subTest(key):
                path = self.res / key
                self.rename("textures/stone.tga", "textures/rock.tga")
                kept = path.read_bytes() if path.exists() else None
                change(path)
                self.change_nothing("undo", says=[key])
                path.unlink(missing_ok=True)
                if kept is not None:
                    path.write_bytes(kept)
                self.rename("textures/rock.tga", "textures/stone.tga")


class Remove(Renaming):
    def test_what_is_in_use_only_by_force(self):
        self.change_nothing("rm", "textures/wood.tga", says=["props/barrel.scene"])
        self.succeed("rm", "textures/unused.tga")
        self.assertEqual(self.run_vxdep("rm", "--force", "textures/wood.tga").code, 0)
        self.assertEqual(os.listdir(self.res / "textures"), ["stone.tga"])
        self.assertEqual(self.graph(), {"levels/harbour.scene": ["props/barrel.scene", "textures/stone.tga"]})
        self.change_nothing("rm", "textures/wood.tga", says=["textures/wood.tga"])

    def test_folders(self):
        self.write("props/barrel.scene.vxmeta")
        self.write("props/lid.scene", scene("props/barrel.scene"))
        self.change_nothing("rm", "props", says=["levels/harbour.scene"])
        self.rename("levels/harbour.scene", "props/harbour.scene")  # now all users lie in the folder
        self.succeed("rm", "props")
        self.assertFalse((self.res / "props").exists())
        self.assertEqual(self.graph(), {})


if __name__ == "__main__":
    in_memory()
    unittest.main()
