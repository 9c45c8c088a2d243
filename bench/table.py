"""The rows of the result: medians, their ratios, and the aims."""

import dataclasses

import measure

COLD, WARM, RDEPS, LOOKUP, EXPORT = "cold", "warm", "rdeps", "lookup", "export"
RENAME = "rename"

LABELS = {COLD: "cold scan, stored and synced", WARM: "warm scan, nothing changed",
          RDEPS: "rdeps of one resource, a process", LOOKUP: "GetDependency in the process",
          EXPORT: "export of the whole graph", RENAME: "rename with all references"}
SHARES = {COLD: "a file", WARM: "a file", EXPORT: "a file", RENAME: "a user"}  # else: each

# Work, contestant, what it is, aim.
COMPARISONS = [
    (COLD, "floor", "walk, read, parse on one thread", 1.3),
    (COLD, "lmdb+floor", "the same and LMDB alone", None),
    (WARM, "find", "find -printf", 1.0),
    (WARM, "git", "git status", 0.7),
    (RDEPS, "rg", "rg -l NAME", None),
    (LOOKUP, "plain", "stat and three reads", 1.5),
    (EXPORT, "warm+wc", "warm scan and wc", 2),
    (RENAME, "sed", "mv, sed -i, sync", 1.0),
]
RDEPS_AIMS = {100000: 0.01, 1000000: 0.001}  # from so many files on
MEMORY_AIM = 400  # bytes a file
GROWTH_AIMS = {COLD: 1.3, WARM: 1.3, EXPORT: 1.3, RENAME: 1.3, RDEPS: 1.1, LOOKUP: 1.1}
TEXTURE_AIM = 1.2
TEXTURE_LABELS = {"add": "adding (cold scan)", "drop": "dropping (deleted, scan)",
                  "rename": "renaming"}


@dataclasses.dataclass
class Row:
    work: str
    ours: float
    against: str
    theirs: float
    aim: float = None
    unit: str = "s"

    @property
    def ratio(self):
        return self.ours / self.theirs


def rdeps_aim(files):
    reached = [size for size in RDEPS_AIMS if files >= size]
    return RDEPS_AIMS[max(reached)] if reached else None


def comparisons(figures, files):
    medians = {work: {name: measure.median(values) for name, values in contest.items()}
               for work, contest in figures.items()}
    if COLD in medians:
        medians[COLD]["lmdb+floor"] = medians[COLD]["lmdb"] + medians[COLD]["floor"]
    return [Row(LABELS[work], medians[work]["ours"], label, medians[work][name],
                rdeps_aim(files) if work == RDEPS else aim)
            for work, name, label, aim in COMPARISONS if work in medians]


def memory(facts):
    return [Row(f"peak memory of a {name} scan, a file", facts[f"{name}Memory"] / facts["files"],
                "the aim", MEMORY_AIM, 1.0, "B")
            for name in ("cold", "warm") if f"{name}Memory" in facts]


def growth(size, smaller):
    """What a file (or a lookup) costs here beside what it costs in the next smaller tree."""
    rows = []
    for work, aim in GROWTH_AIMS.items():
        if work not in size["figures"] or work not in smaller["figures"]:
            continue
        unit = SHARES.get(work, "each")
        rows.append(Row(f"{LABELS[work]}, {unit}", cost(size, work),
                        f"at {smaller['facts']['files']:,} files", cost(smaller, work), aim))
    return rows


def cost(size, work):
    seconds = measure.median(size["figures"][work]["ours"])
    amounts = {"a file": size["facts"]["files"], "a user": size["facts"].get("renameUsers")}
    return seconds / amounts.get(SHARES.get(work), 1)


def texture(figures, scenes):
    return [Row(f"texture of {scenes:,} users: {TEXTURE_LABELS[work]}",
                measure.median(taken["together"]), "spread evenly",
                measure.median(taken["spread"]), TEXTURE_AIM) for work, taken in figures.items()]


def amount(value, unit):
    if unit != "s":
        return f"{value:.0f} {unit}"
    for scale, name in ((1, "s"), (1e-3, "ms"), (1e-6, "us")):
        if value >= scale:
            return f"{value / scale:.3g} {name}"
    return f"{value * 1e9:.3g} ns"


def text(title, rows):
    lines = [f"{title:<50}{'ours':>9}  {'against':<32}{'theirs':>9}{'ratio':>8}{'aim':>7}"]
    for row in rows:
        aim = "" if row.aim is None else f"{row.aim:g}"
        met = "" if row.aim is None or row.ratio <= row.aim else "  missed"
        lines.append(f"{row.work:<50}{amount(row.ours, row.unit):>9}  {row.against:<32}"
                     f"{amount(row.theirs, row.unit):>9}{row.ratio:>8.3g}{aim:>7}{met}")
    return "\n".join(lines)
