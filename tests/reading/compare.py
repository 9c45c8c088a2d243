#!/usr/bin/env python3
"""Has vxdep and the independent reading read one project, and says where they differ."""

import argparse
import json
import os
import shutil
import subprocess
import sys

import reading


def main():
    arguments = argparse.ArgumentParser(description=__doc__)
    arguments.add_argument("vxdep")
    arguments.add_argument("project")
    arguments.add_argument("--builtin", help="the rules; PROJECT/builtin")
    arguments.add_argument("--copy-to", help="work on a copy of the project made there")
    arguments.add_argument("--edges", type=int, help="the number of edges that there must be")
    options = arguments.parse_args()

    project = options.project
    if options.copy_to:
        shutil.rmtree(options.copy_to, ignore_errors=True)
        project = shutil.copytree(project, options.copy_to)
    builtin = options.builtin or project + "/builtin"
    forward = reading.Project(project, builtin).forward()
    expected = {"forward": forward, "inverse": reading.inverse_of(forward)}
    answered = ask(options.vxdep, project, builtin)

    failures = [line for side in expected for line in differences(side, expected, answered)]
    edges = sum(map(len, forward.values()))
    if edges != (options.edges or edges):
        failures.append(f"{options.edges} edges are expected, the reading has {edges}")
    if not edges:
        failures.append("no edges at all")
    write("\n".join(failures))
    write(f"{project}: {edges} edges from {len(forward)} files, {len(failures)} differences")
    return 1 if failures else 0


def ask(vxdep, project, builtin):
    """The graph of a store made from nothing."""
    shutil.rmtree(project + "/temp", ignore_errors=True)
    command = [vxdep, "-q", "-C", project, "--builtin", builtin]
    subprocess.run(command + ["scan"], check=True, stdout=subprocess.DEVNULL)
    export = subprocess.run(command + ["export"], check=True, stdout=subprocess.PIPE)
    return json.loads(os.fsdecode(export.stdout))


def differences(side, expected, answered):
    for key in sorted(expected[side].keys() | answered[side].keys()):
        ours, theirs = expected[side].get(key, []), answered[side].get(key, [])
        if ours == theirs:
            continue
        yield f"{side} of {key}:"
        yield from (f"  vxdep does not have {entry}" for entry in ours if entry not in theirs)
        yield from (f"  vxdep alone has {entry}" for entry in theirs if entry not in ours)
        if sorted(ours) == sorted(theirs):
            yield "  not in order"


def write(text):
    if text:
        sys.stdout.buffer.write(os.fsencode(text + "\n"))


if __name__ == "__main__":
    sys.exit(main())
