"""scan: its summary, its bar, and being interrupted."""

import json
import os
import pty
import re
import resource
import select
import signal
import subprocess
import time
import unittest

from support import ProjectCase, ordinary_signals, scene

FILES = 2500
REFERENCES = 600  # of each


class Summary(ProjectCase):
    def summary(self):
        summary = self.succeed("scan", "--json").json
        self.assertGreaterEqual(summary.pop("seconds"), 0)
        return summary

    def test_summary(self):
        self.write_harbour()
        first = {"files": 5, "regenerated": 2, "failed": 0, "removed": 0, "references": 3,
                 "referrers": 2, "unreadableFolders": 0}
        self.assertEqual(self.summary(), first)
        self.assertEqual(self.summary(), {**first, "regenerated": 0})
        (self.res / "props/barrel.scene").unlink()
        self.write("levels/harbour.scene", scene("textures/stone.tga"))
        self.assertEqual(self.summary(), {**first, "files": 4, "regenerated": 1, "removed": 1,
                                          "references": 1, "referrers": 1})

    def test_a_stamp_that_is_taken_away_between_scans_that_have_nothing_to_do(self):
        self.write_harbour()
        for regenerated in (2, 0, 0, 0):
            self.assertEqual(self.summary()["regenerated"], regenerated)
        subprocess.run([os.environ["VX_SET_LIST"], "props/barrel.scene"], cwd=self.root, check=True)
        for regenerated in (1, 0, 0):
            self.assertEqual(self.summary()["regenerated"], regenerated)

    def test_rows(self):
        self.write_harbour()
        rows = [line.split() for line in self.succeed("-q", "scan").lines]
        self.assertEqual(rows[:5], [["files", "5"], ["regenerated", "2"], ["failed", "0"],
                                    ["removed", "0"], ["references", "3"]])
        self.assertEqual(rows[5][0], "seconds")

    def test_a_broken_file_is_counted_and_named(self):
        self.write_harbour()
        self.write("broken.scene", b"<Scene><Ref></Scene>")
        result = self.run_vxdep("scan", "--json")
        self.assertEqual((result.code, result.json["failed"]), (0, 1))
        self.assertIn("vxdep: warning: broken.scene", result.err)

    def test_a_full_disk_fails_the_scan_and_leaves_the_store_sound(self):
        names = ["textures/%d.tga" % number for number in range(400)]
        for name in names:
            self.write(name)
        for number in range(400):
            self.write("s/%d.scene" % number, scene(*names[number % 40::40]))

        def with_little_room():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (100_000, 100_000))

        full = subprocess.run(self.command("scan"), cwd=self.root, capture_output=True, check=False,
                              preexec_fn=with_little_room)
        self.assertEqual((full.returncode, full.stdout), (1, b""))
        self.assertIn("the scan was not completed", full.stderr.decode())
        self.assertIn("temp/gen_dep", full.stderr.decode())
        self.assertEqual(self.summary()["references"], 4000)


class OnATerminal(ProjectCase):
    """Runs vxdep with standard error on a terminal."""

    def setUp(self):
        super().setUp()
        self.names = ["t/%d.tga" % number for number in range(REFERENCES)]
        for name in self.names:
            self.write(name)
        self.scenes = 0
        self.add_scenes(FILES)

    def add_scenes(self, count):
        text = scene(*self.names)
        for number in range(self.scenes, self.scenes + count):
            self.write("s/%d.scene" % number, text)
        self.scenes += count

    def start(self, *arguments, prepare=ordinary_signals):
        self.terminal, slave = pty.openpty()
        self.addCleanup(os.close, self.terminal)
        process = subprocess.Popen(
            self.command(*arguments), cwd=self.root, stdout=subprocess.PIPE, stderr=slave,
            env={**os.environ, "TERM": "xterm"}, preexec_fn=prepare)
        os.close(slave)
        self.addCleanup(process.stdout.close)
        return process

    def read_terminal(self, until=None):
        """What the terminal gets, until the pattern matches or the program has closed it."""
        seen = b""
        deadline = time.monotonic() + 120
        while until is None or not re.search(until, seen):
            ready, _, _ = select.select([self.terminal], [], [], deadline - time.monotonic())
            self.assertTrue(ready, "nothing more on the terminal after %r" % seen[-200:])
            try:
                chunk = os.read(self.terminal, 65536)
            except OSError:
                chunk = b""
            if not chunk:
                break
            seen += chunk
        return seen

    def signal_scan(self, number, **options):
        """Signals a scan that has read some files; returns the process and what came before."""
        while True:
            for path in (self.res / "s").iterdir():
                os.utime(path)  # all is to be read
            process = self.start("scan", **options)
            seen = self.read_terminal(until=rb"[1-9]\d* read")
            process.send_signal(number)
            if b" read" in seen:
                return process, seen
            process.wait()  # it was done before it had anything to show
            self.add_scenes(self.scenes)

    def interrupt(self, number):
        """Interrupts a scan; returns how many files it says it has kept."""
        while True:
            process, _ = self.signal_scan(number)
            rest = self.read_terminal().split(b"\033[K")[-1]
            if process.wait() != 0:
                break
            self.add_scenes(self.scenes)  # it was done before the signal came
        self.assertEqual((process.returncode, process.stdout.read()), (1, b""))
        said = re.match(rb"vxdep: interrupted: the (\d+) files read so far are kept", rest)
        self.assertTrue(said, rest)
        return int(said.group(1))

    def test_interrupted_then_completed(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            kept = self.interrupt(number)
        process = self.start("-q", "scan", "--json")
        self.assertEqual((self.read_terminal(), process.wait()), (b"", 0))
        rest = json.loads(process.stdout.read())
        self.assertEqual((kept > 0, rest["regenerated"]), (True, self.scenes - kept))
        self.assertEqual(rest["references"], self.scenes * REFERENCES)
        self.assertEqual(self.succeed("check").lines,
                         ["%d files: all is in step" % (self.scenes + REFERENCES)])

    def test_the_bar_and_a_signal_that_the_caller_ignores(self):
        process, seen = self.signal_scan(
            signal.SIGINT, prepare=lambda: signal.signal(signal.SIGINT, signal.SIG_IGN))
        seen += self.read_terminal()
        self.assertEqual(process.wait(), 0)
        self.assertRegex(seen, rb"\[#*-*\] +\d+ %  \d+ files, \d+ read")
        self.assertTrue(seen.endswith(b"\r\033[K"), seen[-80:])


if __name__ == "__main__":
    unittest.main()
