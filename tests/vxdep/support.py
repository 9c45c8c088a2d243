"""A project in a temporary folder, and ways to run vxdep in it."""

import json
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import unittest

VXDEP = os.environ["VXDEP"]

# A scene refers to resources by their path from the resource root.
XML_CONFIG = """{"scene": {"name_list": [{"element": "Ref", "attribute": "path", "type": 2}]}}"""


def scene(*references):
    lines = [b'  <Ref path="%s"/>\n' % os.fsencode(path) for path in references]
    return b"<Scene>\n" + b"".join(lines) + b"</Scene>\n"


def ordinary_signals():
    # A test run in the background inherits an ignored SIGINT, which vxdep would respect.
    signal.signal(signal.SIGINT, signal.SIG_DFL)


class Result:
    def __init__(self, process):
        self.code = process.returncode
        self.out = process.stdout
        self.err = os.fsdecode(process.stderr)

    @property
    def lines(self):
        return [os.fsdecode(line) for line in self.out.split(b"\n")[:-1]]

    @property
    def json(self):
        return json.loads(self.out.decode("utf-8"))


class ProjectCase(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.base = pathlib.Path(os.path.realpath(tempfile.mkdtemp(prefix="vxdep-test-")))
        self.addCleanup(shutil.rmtree, self.base)
        self.root = self.base / "project"
        self.res = self.root / "res"
        self.res.mkdir(parents=True)
        self.config = self.root / "builtin/res/builtin/dependency_config"
        self.config.mkdir(parents=True)
        (self.config / "xml_config.json").write_text(XML_CONFIG)
        (self.config / "json_config.json").write_text("{}")

    def write(self, key, content=b""):
        path = self.res / os.fsdecode(key)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        return path

    def write_harbour(self):
        """harbour -> barrel, stone; barrel -> wood"""
        for texture in ("stone.tga", "wood.tga", "unused.tga"):
            self.write("textures/" + texture)
        self.write("props/barrel.scene", scene("textures/wood.tga"))
        self.write("levels/harbour.scene", scene("props/barrel.scene", "textures/stone.tga"))

    def command(self, *arguments):
        return [VXDEP, *arguments]

    def run_vxdep(self, *arguments, cwd=None, **options):
        options = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, "timeout": 120,
                   "preexec_fn": ordinary_signals, **options}
        return Result(subprocess.run(
            self.command(*arguments), cwd=cwd or self.root, stdin=subprocess.DEVNULL, **options))

    def succeed(self, *arguments, **options):
        result = self.run_vxdep(*arguments, **options)
        self.assertEqual((result.code, result.err), (0, ""), arguments)
        return result

    def refuse(self, *arguments, code=1, says=(), **options):
        """Expects an exit status, no answer, and one message that holds the texts."""
        result = self.run_vxdep(*arguments, **options)
        self.assertEqual((result.code, result.out or b""), (code, b""), (arguments, result.err))
        for text in says:
            self.assertIn(text, result.err)
        self.assertTrue(result.err.startswith("vxdep: "), result.err)
        return result
