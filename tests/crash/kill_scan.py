"""Kills scans at random moments: the store must open each time, and the next scan must bring the
same graph as a scan of a new store.

usage: kill_scan.py VXDEP

VX_TEST_SCALE multiplies the number of kills (10).
"""

import os
import random
import shutil
import signal
import subprocess
import sys
import tempfile
import time

FILES = 6000
RULES = '{"xml": {"name_list": [{"element": "a", "attribute": "f", "strategy": 2}]}}'


def make_project(root):
    rules = os.path.join(root, "builtin/res/builtin/dependency_config")
    os.makedirs(rules)
    for name, text in (("xml_config.json", RULES), ("json_config.json", "{}")):
        with open(os.path.join(rules, name), "w", encoding="utf-8") as out:
            out.write(text)
    for folder in range(FILES // 100):
        os.makedirs(os.path.join(root, "res", f"d{folder}"))


def write_file(root, number, randoms):
    """Each file names a hot one, which all name, and three others."""
    names = ["d0/0.xml"] + [name_of(randoms.randrange(FILES)) for _ in range(3)]
    with open(os.path.join(root, "res", name_of(number)), "w", encoding="utf-8") as out:
        out.write("<s>" + "".join(f'<a f="{name}"/>' for name in names) + "</s>")


def name_of(number):
    return f"d{number // 100}/{number}.xml"


def vxdep(program, root, *arguments):
    run = subprocess.run([program, "-C", root, *arguments], capture_output=True, check=False)
    if run.returncode != 0:
        sys.exit(f"vxdep {' '.join(arguments)}: exit status {run.returncode}\n{run.stderr.decode()}")
    return run.stdout


def shares_records(program, root):
    """Whether two texts of the project have one record, as 18,000 have in one place of fifty: paths
    of the machine are among them. Which of the two loses its list goes by the order of writing."""
    run = subprocess.run([program, "-C", root, "scan"], capture_output=True, check=True)
    return b"share a record" in run.stderr


def clean_graph(program, root):
    """The graph of a new store on the same tree."""
    store = os.path.join(root, "temp")
    aside = os.path.join(root, "temp.aside")
    os.rename(store, aside)
    vxdep(program, root, "scan")
    graph = vxdep(program, root, "export")
    shutil.rmtree(store)
    os.rename(aside, store)
    return graph


def killed_scan(program, root, delay):
    """True when the scan was killed, false when it had ended before."""
    child = subprocess.Popen([program, "-C", root, "-q", "scan"], stdout=subprocess.DEVNULL)
    time.sleep(delay)  # the moment to strike, not a wait for something to happen
    child.kill()
    return child.wait() == -signal.SIGKILL


def strike(program):
    """False, with nothing tried, where the project has come to lie in a bad place."""
    kills = 10 * int(os.environ.get("VX_TEST_SCALE", "1"))
    seed = int(os.environ.get("VX_TEST_SEED", str(time.time_ns() % 10**6)))
    print(f"VX_TEST_SEED={seed}")
    randoms = random.Random(seed)
    with tempfile.TemporaryDirectory() as root:
        make_project(root)
        for number in range(FILES):
            write_file(root, number, randoms)
        if shares_records(program, root):
            return False
        shutil.rmtree(os.path.join(root, "temp"))
        start = time.monotonic()
        vxdep(program, root, "scan")
        duration = time.monotonic() - start
        struck = 0
        while struck < kills:
            if struck % 2 == 0:
                shutil.rmtree(os.path.join(root, "temp"))  # the first scan of all
            for _ in range(FILES // 2):
                write_file(root, randoms.randrange(FILES), randoms)
            if not killed_scan(program, root, randoms.uniform(0, duration)):
                continue
            struck += 1
            vxdep(program, root, "scan")
            if vxdep(program, root, "export") != clean_graph(program, root):
                sys.exit(f"kill {struck}: the graph differs from that of a new store")
            print(f"kill {struck}: the same graph", flush=True)
    return True


if __name__ == "__main__":
    while not strike(sys.argv[1]):
        continue
