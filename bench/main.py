#!/usr/bin/env python3
"""Measures vxdep beside what one would use instead, all in one run. scripts/bench builds the
programs and calls this."""

import argparse
import json
import pathlib

import machine
import measure
import plot
import table
import trees
import watch
import works

ON_A_TREE = ["cold", "warm", "rdeps", "lookup", "export", "memory"]
ON_A_MADE_TREE = ON_A_TREE + ["rename"]
ON_ITS_OWN = ["texture"]


def parse_arguments():
    parser = argparse.ArgumentParser(prog="scripts/bench", description=__doc__)
    parser.add_argument("--files", default="10000,100000", metavar="N,…",
                        help="files of the made trees, in rising order (10000,100000)")
    parser.add_argument("--corpus", metavar="NAME",
                        help="measure on a corpus (scripts/corpus) instead")
    parser.add_argument("--repeat", type=int, default=5, metavar="R",
                        help="runs of each; medians count (5)")
    parser.add_argument("--only", metavar="WORK,…",
                        help=f"some of {', '.join(ON_A_MADE_TREE + ON_ITS_OWN)}")
    parser.add_argument("--json", metavar="FILE", help="write all figures there")
    parser.add_argument("--svg", metavar="FILE",
                        help="draw there what a file costs, by the number of files")
    parser.add_argument("--watch", action="store_true", help="also how far vxdep watch is behind")
    parser.add_argument("--texture-scenes", type=int, default=50000, help=argparse.SUPPRESS)
    parser.add_argument("--programs", default=trees.SOURCE / "build/release",
                        help=argparse.SUPPRESS)
    parser.add_argument("--vxdep", help=argparse.SUPPRESS)  # another than that of the build
    parser.add_argument("--trees", default=trees.SOURCE / "build/bench", help=argparse.SUPPRESS)
    return parser.parse_args()


def chosen(options):
    """The works asked for; the trees of that on its own are made for it."""
    known = ON_A_TREE if options.corpus else ON_A_MADE_TREE + ON_ITS_OWN
    asked = options.only.split(",") if options.only else known
    for work in asked:
        if work not in known:
            measure.fail(f"there is no work {work}: " + ", ".join(known))
    return asked


def chosen_projects(options, made):
    if options.corpus:
        return [trees.corpus(options.corpus, trees.SOURCE / "build/corpora")]
    return [made.mixed(int(files)) for files in options.files.split(",")]


def measure_project(programs, project, options, parts):
    one = works.Works(programs, project, options.repeat)
    one.prepare()
    for part in ON_A_MADE_TREE:
        if part in parts:
            getattr(one, part)()
    return {"facts": one.facts, "figures": one.figures, "made": project.made}


def measure_projects(programs, projects, options, parts, result):
    for project in projects:
        size = measure_project(programs, project, options, parts)
        smaller = result["sizes"][-1:]
        result["sizes"].append(size)
        facts = size["facts"]
        rows = table.comparisons(size["figures"], facts["files"]) + table.memory(facts)
        for one in smaller:
            rows += table.growth(size, one)
        title = f"{facts['files']:,} files, {facts['references']:,} references"
        if "renameUsers" in facts:
            title += f"; {facts['renameUsers']:,} files name what is renamed"
        show(title, rows, result)


def show(title, rows, result):
    print(table.text(title, rows), end="\n\n", flush=True)
    result["rows"] += [{"tree": title, **vars(row), "ratio": row.ratio} for row in rows]


def measure_texture(programs, made, options, result):
    pair = [made.even(how, options.texture_scenes) for how in ("together", "spread")]
    result["texture"] = works.OneTexture(programs, *pair, options.repeat).measure()
    rows = table.texture(result["texture"], options.texture_scenes)
    show(f"{options.texture_scenes:,} files", rows, result)


def main():
    options = parse_arguments()
    parts = chosen(options)
    programs = works.Programs(options.programs, options.vxdep)
    pathlib.Path(options.trees).mkdir(parents=True, exist_ok=True)
    made = trees.Trees(options.trees, programs.tree)
    result = {"machine": machine.describe(options.trees), "repeat": options.repeat, "sizes": [],
              "rows": []}
    print(machine.text(result["machine"]), end="\n\n", flush=True)
    projects = chosen_projects(options, made)
    if set(parts) & set(ON_A_MADE_TREE):
        measure_projects(programs, projects, options, parts, result)
    if "texture" in parts:
        measure_texture(programs, made, options, result)
    if options.watch:
        print(watch.text(watch.measure(programs.vxdep, projects[-1])))
    if options.json:
        pathlib.Path(options.json).write_text(json.dumps(result, indent=1), encoding="utf-8")
    if options.svg:
        pathlib.Path(options.svg).write_text(plot.svg(result["sizes"]), encoding="utf-8")


if __name__ == "__main__":
    main()
