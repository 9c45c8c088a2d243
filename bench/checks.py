"""Whether the works did what they should: what the maker of a tree tells against what came out."""

import json
import os

import measure

# Files of formats that are not text: rg looks into none of them.
BINARY = (".chunk", ".rawanimation")
LONGEST_LIST = 60  # of a file of a made tree


def expect(what, found, wanted):
    if found != wanted:
        measure.fail(f"{what}: {found}, not {wanted}")


def floor(made, met):
    for what in ("files", "parsed", "values"):
        if what in made:
            expect(f"{what} that the floor met", met[what], made[what])


def cold_scan(made, done):
    if not made:
        return
    expect("files scanned", done["files"], made["files"])
    expect("references found", done["references"], made["references"])
    expect("files failed", done["failed"], 0)


def matches(project, texts, *how):
    """What rg finds of the texts, in lines."""
    command = 'rg -a --fixed-strings --file - "$@" . || test $? -eq 1'
    patterns = "".join(f"{text}\n" for text in texts)
    return measure.run(["sh", "-c", command, "sh", *how], cwd=project.res,
                       text=patterns).output.splitlines()


def holders(project, key):
    """The files in which the name of a resource stands."""
    return matches(project, [os.path.basename(key)], "--files-with-matches")


class Collisions:
    """The texts that share a record of the store with another (docs/store.md): what concerns them
    may be lost."""

    def __init__(self, works):
        command = works.vxdep("check", "--json")
        taken = measure.run(["sh", "-c", '"$@"; test $? -le 1', "sh", *command])
        problems = json.loads(taken.output)["problems"]
        pairs = [one for one in problems if one["kind"] == "colliding"]
        self.texts = [one[which] for one in pairs for which in ("path", "other")]
        self.project = works.project

    def lost_files(self):
        return len(self.texts)

    def lost_edges(self):
        """At most: the lists of these files, and whatever names one whose users are concerned."""
        inverse = [os.path.basename(text[:-1]) for text in self.texts if text.endswith("#")]
        return (LONGEST_LIST * (len(self.texts) - len(inverse)) +
                len(matches(self.project, inverse, "--only-matching", "--no-filename")))


def warm_scan(works, done):
    """Files whose time stamps share a record are read again by every scan."""
    expect("files removed by a warm scan", done["removed"], 0)
    if done["regenerated"] and done["regenerated"] > works.collisions.lost_files():
        measure.fail(f"a warm scan read {done['regenerated']} files again")


def users(project, ours, theirs, key):
    """The number of users that vxdep tells, which are those that rg finds but for binary files."""
    ours = ours.splitlines()
    theirs = [os.path.relpath(line, project.res) for line in theirs.splitlines()]
    if project.made:
        expect(f"users of {key}", len(ours), project.made["middling"]["users"])
        texts = sorted(one for one in ours if not one.endswith(BINARY))
        expect(f"users of {key} that rg finds", sorted(theirs), texts)
    return len(ours)


def export(works, file):
    """Each edge stands there twice, on a line of its own, in the third level."""
    lines = int(measure.run(["grep", "-c", '^   "', str(file)]).output)
    edges = lines // 2
    expect("edges there and back", lines, 2 * edges)
    lost = works.project.made.get("references", edges) - edges
    if lost != 0 and not 0 < lost <= works.collisions.lost_edges():
        measure.fail(f"{edges} edges exported, {lost} fewer than there are")


def renamed(works, old, new, users):
    """All who referred to the old name refer to the new one, by their texts and by the store."""
    for name, count in ((old, 0), (new, users)):
        expect(f"files that name {name}", len(holders(works.project, name)), count)
    works.scan()
    told = len(measure.run(works.vxdep("rdeps", new)).output.splitlines())
    if told != users and not 0 < users - told <= works.collisions.lost_files():
        measure.fail(f"{told} users of {new}, not {users}")


def dropped(works, done):
    expect("files read again", done["regenerated"], works.project.made["scenes"])
    expect("references left", done["references"], 0)


def all_follow(works, old, new):
    done = works.scan()[1]
    expect(f"references after {old} was renamed to {new}", done["references"],
           works.project.made["references"])
