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
    arguments.add_argument("--missing", action="store_true", help="compare what is missing as well")
    options = arguments.parse_args()

    project = options.project
    if options.copy_to:
        shutil.rmtree(options.copy_to, ignore_errors=True)
        project = shutil.copytree(project, options.copy_to)
    builtin = options.builtin or project + "/builtin"
    read = reading.Project(project, builtin)
    forward = read.forward()
    expected = {"forward": forward, "inverse": reading.inverse_of(forward)}
    vxdep = Vxdep(options.vxdep, project, builtin)
    answered = vxdep.answer("export")
    if options.missing:
        expected["missing"] = texts_by_file(read.missing())
        answered["missing"] = texts_by_file(vxdep.answer("missing", "--ok", "--json"))

    failures = [line for side in expected for line in differences(side, expected, answered)]
    edges = sum(map(len, forward.values()))
    if edges != (options.edges or edges):
        failures.append(f"{options.edges} edges are expected, the reading has {edges}")
    if not edges:
        failures.append("no edges at all")
    write("\n".join(failures))
    write(f"{project}: {edges} edges from {len(forward)} files, {len(failures)} lines of differences")
    return 1 if failures else 0


class Vxdep:
    """Answers from a store made from nothing."""

    def __init__(self, program, project, builtin):
        self.command = [program, "-q", "-C", project, "--builtin", builtin]
        shutil.rmtree(project + "/temp", ignore_errors=True)
        subprocess.run(self.command + ["scan"], check=True, stdout=subprocess.DEVNULL)

    def answer(self, *arguments):
        run = subprocess.run([*self.command, *arguments], check=True, stdout=subprocess.PIPE)
        return json.loads(os.fsdecode(run.stdout))


def texts_by_file(references):
    """The places differ in what they count by; a text stands for all its places in a file."""
    found = {}
    for reference in references:
        found.setdefault(reference["file"], set()).add(reference["text"])
    return {file: sorted(texts) for file, texts in found.items()}


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
