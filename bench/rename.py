#!/usr/bin/env python3
"""Measures renames beside sed -i over exactly the files that refer to what is renamed, and sync.

usage: rename.py PROGRAMS SHARED SPREAD

PROGRAMS is the build directory; SHARED a project in which every file refers to the first texture,
SPREAD one whose references go to many. Both are left as they were. Page cache warm; medians.
"""

import os
import re
import statistics
import subprocess
import sys
import tempfile

import run

AIM = 2
REPEAT = 6  # of both, there and back


def key_of_texture(res, name):
    found = subprocess.run(["find", res, "-name", name], capture_output=True, text=True, check=True)
    return os.path.relpath(found.stdout.splitlines()[0], res)


class Contest:
    """One rename there and back, by vxdep and by hand."""

    def __init__(self, programs, project, old, new):
        self.vxdep = [os.path.join(programs, "vxdep/vxdep"), "-C", project, "-q"]
        self.res = os.path.join(project, "res")
        self.names = (old, new)
        self.users = self.files_that_name(old)

    def files_that_name(self, old):
        found = subprocess.run(["grep", "-rlF", "--include=*.xml", f'"{old}', self.res],
                               capture_output=True, text=True, check=True)
        return found.stdout.splitlines()

    def by_vxdep(self, old, new):
        return [*self.vxdep, "rename", os.path.join(self.res, old), os.path.join(self.res, new)]

    def by_hand(self, old, new):
        script = 's|"' + re.escape(old) + f'|"{new}|'
        with tempfile.NamedTemporaryFile("w", suffix=".files", delete=False) as files:
            files.write("\0".join(self.users))
        return ["sh", "-c", f"mv '{old}' '{new}' && xargs -0 -a '{files.name}' sed -i '{script}' && sync; "
                            f"status=$?; rm '{files.name}'; exit $status"]

    def measure(self):
        """Turn by turn, so that whatever else the machine does burdens both alike."""
        runs = {self.by_vxdep: [], self.by_hand: []}
        for turn in range(2 * REPEAT):
            command_of = self.by_hand if turn // 2 % 2 else self.by_vxdep
            command = command_of(*self.names[::-1 if turn % 2 else 1])
            subprocess.run([*self.vxdep, "scan"], check=True, stdout=subprocess.DEVNULL)
            subprocess.run(["sync"], check=True)
            runs[command_of].append(run.Run(command, self.res))
        return runs.values()

    def report(self, title):
        ours, theirs = self.measure()
        seconds, by_hand = (statistics.median(one.seconds for one in some) for some in (ours, theirs))
        print(f"{title}, {len(self.users)} files that refer to it:")
        print(f"  seconds {seconds:.3f} to {by_hand:.3f} of mv, sed -i and sync: "
              f"{seconds / by_hand:.2f}, aim {AIM}")
        print(f"  memory {max(one.peak for one in ours) >> 20} MB")


def main():
    programs, shared, spread = (os.path.abspath(path) for path in sys.argv[1:])
    texture = key_of_texture(os.path.join(shared, "res"), "tex0.png")
    Contest(programs, shared, texture, texture.replace("tex0", "renamed")).report("rename of a texture")
    files = sum(len(names) for *_, names in os.walk(os.path.join(spread, "res/textures")))
    Contest(programs, spread, "textures", "images").report(f"rename of a folder of {files} files")


if __name__ == "__main__":
    main()
