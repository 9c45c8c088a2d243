"""On what was measured."""

import os
import platform
import re
import subprocess

TOOLS = {"find": ["find", "--version"], "git": ["git", "--version"], "rg": ["rg", "--version"],
         "sed": ["sed", "--version"], "g++": ["g++", "--version"]}


def first_match(file, pattern):
    with open(file, encoding="utf-8") as text:
        found = re.search(pattern, text.read())
    return found.group(1) if found else "unknown"


def version(command):
    said = subprocess.run(command, capture_output=True, text=True, check=True).stdout
    return re.search(r"\d+(\.\d+)+", said).group(0)


def describe(folder):
    system = subprocess.run(["findmnt", "-n", "-o", "FSTYPE", "-T", folder], capture_output=True,
                            text=True, check=True)
    kilobytes = int(first_match("/proc/meminfo", r"MemTotal:\s*(\d+)"))
    return {
        "processor": first_match("/proc/cpuinfo", r"model name\s*:\s*(.*)"),
        "cores": os.cpu_count(),
        "memory": f"{kilobytes / 2**20:.0f} GB",
        "kernel": platform.release(),
        "file system": system.stdout.strip(),
        "tools": {name: version(command) for name, command in TOOLS.items()},
    }


def text(machine):
    tools = ", ".join(f"{name} {number}" for name, number in machine["tools"].items())
    return (f"{machine['processor']}, {machine['cores']} cores, {machine['memory']}, "
            f"Linux {machine['kernel']}, {machine['file system']}\n{tools}")
