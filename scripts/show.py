#!/usr/bin/env python3
"""Asks vxdep about a project and shows the answers: show.py VXDEP PROJECT."""

import json
import os
import subprocess
import sys

SHOWN = 4


def main():
    vxdep, project = sys.argv[1:]
    ask = Asker(vxdep, project)
    ask.show("scan")
    graph = json.loads(ask.quietly("export"))
    forward, inverse = graph["forward"], graph["inverse"]
    if not forward:
        sys.exit(f"show: no file in {project} refers to another")

    most_used = max(inverse, key=lambda key: (len(inverse[key]), key))
    richest = max(forward, key=lambda key: (*richness(forward, key), key))
    print("\nThe resource that most files use:")
    ask.show("rdeps", most_used)
    print("\nThe file that needs most kinds of resources, with all that it needs at every depth:")
    ask.show("deps", richest, "--all")
    stem, extension = os.path.splitext(most_used)
    print("\nWhat renaming the first one would change (vxdep rename does it, vxdep undo takes it back):")
    ask.show("rename", "--dry-run", most_used, f"{stem}_renamed{extension}")
    print(f"\nMore: {vxdep} -C {project} COMMAND (see --help), README.md, docs/formats.md")


class Asker:
    def __init__(self, vxdep, project):
        self.command = [vxdep, "-q", "-C", project]

    def quietly(self, *arguments):
        command = self.command + list(arguments)
        answer = subprocess.run(command, stdout=subprocess.PIPE, check=False)
        if answer.returncode:
            sys.exit(answer.returncode)
        return os.fsdecode(answer.stdout)

    def show(self, *arguments):
        """A command, its figures or the first of the paths that it answers, and their number."""
        print("$ vxdep " + " ".join(arguments), flush=True)
        lines = self.quietly(*arguments).splitlines()
        shown = len(lines) if arguments[0] == "scan" else SHOWN
        for line in lines[:shown]:
            print("  " + line.encode(errors="replace").decode())
        if len(lines) > shown:
            print(f"  ... {len(lines)} in all")


def richness(forward, start):
    """How many kinds of resources a file needs, and how many resources."""
    needed = reach(forward, start)
    return len({os.path.splitext(key)[1] for key in needed}), len(needed)


def reach(forward, start):
    seen = set()
    waiting = [start]
    while waiting:
        for entry in forward.get(waiting.pop(), []):
            if entry not in seen:
                seen.add(entry)
                waiting.append(entry)
    return seen


if __name__ == "__main__":
    main()
