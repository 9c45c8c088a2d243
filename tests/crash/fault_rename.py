"""Fails, or kills the process at, every single call by which a rename opens or changes files, one
after the other: afterwards the tree and the store must be the old or the new ones, complete.

usage: fault_rename.py VXDEP SHIM BUILTIN [SCENARIO...]

VX_TEST_SCALE above 1: each call fails with each error, not with one of them.
"""

import errno
import itertools
import json
import multiprocessing
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).parents[1] / "vxdep"))

from rename_check import Contents, Fault, in_memory, require  # noqa: E402

SCALE = int(os.environ.get("VX_TEST_SCALE", "1"))
KILL = 0
ERRORS = [errno.ENOSPC, errno.EIO, errno.EACCES]
TREE = {
    "textures/wood.png": "wood", "textures/wood.png.vxmeta": "meta",
    "models/box/box.obj": "box", "models/box/box.surf":
        "<Surface>\n  <Texture0 file='../../textures/wood.png'/><Shader file='box.hlsl'/>\n</Surface>\n",
    "models/box/box_thumb.png": "thumb", "models/box/box.hlsl": "// lit\n",
    "models/crate.gltf": '{"images": [{"uri": "..\\/textures/wood.png"}]}',
    "scenes/yard.scn": '<Scene>\n<Sky texture="/textures/wood.png"/>\n'
                       '<Item_1 model="../models/box/box.obj" surface="/models/box/box.surf"/></Scene>\n',
    # More files than are synced one by one.
    **{f"scenes/{number}.scn": '<Scene><Include file="yard.scn"/><Sky texture="/textures/wood.png"/></Scene>'
       for number in range(8)},
}
# What is done before, what is done, and what takes it back.
SCENARIOS = {
    "file": ([], ["rename", "textures/wood.png", "textures/old/oak.png"], ["undo"]),
    "folder": ([], ["rename", "models", "scenes/things"], ["undo"]),
    "surface": ([], ["rename", "models/box/box.surf", "models/case.surf"], ["undo"]),
    "case": ([], ["rename", "textures/wood.png", "textures/Wood.png"], ["undo"]),
    "undo": ([["rename", "models", "things"]], ["undo"], ["rename", "models", "things"]),
    "rm": ([], ["rm", "--force", "models/box/box.obj"], None),
}


class Trial:
    def __init__(self, program, shim, builtin, scenario, root):
        before, self.command, self.back = SCENARIOS[scenario]
        self.program, self.shim, self.root, self.kept = program, shim, root, root.with_suffix(".kept")
        self.contents = Contents(str(root / "res"))
        shutil.copytree(builtin, root / "builtin")
        for key, text in TREE.items():
            (root / "res" / key).parent.mkdir(parents=True, exist_ok=True)
            (root / "res" / key).write_text(text, encoding="utf-8")
        (root / "res/textures/old").mkdir()
        for command in [["scan"], *before, ["scan"]]:
            self.succeed(*command)
        shutil.copytree(root, self.kept)
        old = self.contents()
        self.succeed(*self.command)
        self.states = [(state, self.fresh_graph()) for state in (self.contents(),)]
        self.restore()
        require(self.contents() == old, "the tree is not as it was kept")
        self.states.insert(0, (old, self.fresh_graph()))
        require(self.states[0] != self.states[1], "nothing was done")

    def run(self, *arguments, **variables):
        return subprocess.run([self.program, "-C", str(self.root), *arguments], capture_output=True,
                              env={**os.environ, **variables}, check=False, timeout=120)

    def succeed(self, *arguments):
        run = self.run(*arguments)
        require(run.returncode == 0, f"{arguments}: exit status {run.returncode}, {run.stderr.decode()}")
        return run

    def graph(self):
        return json.loads(self.succeed("export").stdout)

    def fresh_graph(self):
        shutil.rmtree(self.root / "temp")
        self.succeed("scan")
        return self.graph()

    def restore(self):
        for folder in ("res", "temp"):
            shutil.rmtree(self.root / folder)
            shutil.copytree(self.kept / folder, self.root / folder)

    def strike(self, number, error):
        """The call that was struck, None when there are not so many."""
        self.restore()
        mark = self.root / "mark"
        mark.unlink(missing_ok=True)
        run = self.run(*self.command, LD_PRELOAD=self.shim, VX_FAULT_AT=str(number),
                       VX_FAULT=str(error), VX_FAULT_MARK=str(mark))
        if not mark.exists():
            require(run.returncode == 0, f"not struck, and exit status {run.returncode}")
            return None
        name = mark.read_text(encoding="utf-8")
        try:
            self.judge(run, error)
        except Fault as fault:
            raise Fault(f"{' '.join(self.command)}: {name}, call {number}, "
                        f"{errno.errorcode.get(error, 'killed')}: {fault}\n"
                        f"exit status {run.returncode}, {run.stderr.decode()}") from fault
        return name

    def judge(self, run, error):
        require(run.returncode == -signal.SIGKILL if error == KILL else run.returncode in (0, 1),
                "no proper end")
        self.succeed("scan")
        state = self.which()
        require(run.returncode != 0 or state == 1, "was not done, against what the exit status says")
        require(b"nothing was changed" not in run.stderr or state == 0, "was done, against what was said")
        require(self.graph() == self.states[state][1], "the store is not that of the tree")
        self.go_on(state)

    def which(self):
        """0 for the old tree, 1 for the new one."""
        found = self.contents()
        trees = [tree for tree, _ in self.states]
        if found not in trees:
            differs = [sorted({key for key, _ in found.items() ^ tree.items()}) for tree in trees]
            raise Fault(f"neither the old tree nor the new one: {differs}")
        return trees.index(found)

    def go_on(self, state):
        """What was left can be done, what was done can be taken back."""
        next_step = self.back if state else self.command
        if not next_step:
            return
        self.succeed(*next_step)
        require(self.which() != state, f"{next_step} does not bring the other state")


def strike_all(task):
    """What was not as it ought to be."""
    *programs, scenario, errors, place = task
    trial = Trial(*programs, scenario, pathlib.Path(place, f"{scenario}-{errors[0]}"))
    turns = len(errors) if SCALE > 1 else 1
    names, faults = [], []
    for number in itertools.count(1):
        for turn in range(turns):
            try:
                names.append(trial.strike(number, errors[(number + turn) % len(errors)]))
            except Fault as fault:
                faults.append(str(fault))
        if None in names[-turns:]:
            break
    if len(names) < 30 or "pwrite" not in names:
        faults.append(f"{scenario}: too few calls were met: {names}")
    how = "killed" if errors == [KILL] else "failed"
    print(f"{scenario}: {how} at {len(names) - 1} calls, {len(faults)} faults", flush=True)
    return faults


def main():
    program, shim, builtin = (os.path.abspath(path) for path in sys.argv[1:4])
    scenarios = sys.argv[4:] or SCENARIOS
    in_memory()
    with tempfile.TemporaryDirectory() as place, multiprocessing.Pool() as pool:
        tasks = [(program, shim, builtin, scenario, errors, place)
                 for scenario in scenarios for errors in (ERRORS, [KILL])]
        faults = list(itertools.chain(*pool.imap(strike_all, tasks)))
    sys.exit("\n".join(faults) or None)


if __name__ == "__main__":
    main()
