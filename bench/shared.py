#!/usr/bin/env python3
"""Measures what a texture that every file names costs a cold scan, in time and memory.

usage: shared.py PROGRAMS SPREAD SHARED

SPREAD and SHARED are projects with as many files and references; in SHARED one of each file's
references goes to one texture.
"""

import os
import shutil
import sys

import run


def cold_scan(programs, project):
    def forget():
        shutil.rmtree(os.path.join(project, "temp"), ignore_errors=True)

    vxdep = os.path.join(programs, "vxdep/vxdep")
    return run.median([vxdep, "-C", project, "-q", "scan"], project, 5, forget)


def main():
    programs, spread, shared = (os.path.abspath(path) for path in sys.argv[1:])
    evenly, together = cold_scan(programs, spread), cold_scan(programs, shared)
    print("cold scan of 50,000 files, one reference of each to one texture, against spread evenly:")
    print(f"  seconds {together[0]:.3f} to {evenly[0]:.3f}: {together[0] / evenly[0]:.2f}")
    print(f"  memory {together[1] >> 20} MB to {evenly[1] >> 20} MB: {together[1] / evenly[1]:.2f}")


if __name__ == "__main__":
    main()
