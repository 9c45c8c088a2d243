#!/usr/bin/env python3
"""A second opinion: reads a project's resource graph with nothing of the program under test.

    reading.py PROJECT [--builtin DIR]

prints what `vxdep export` ought to print. It knows the rules of the XML family alone.
"""

import argparse
import json
import os
import re
import sys

import markup

DIRECTORY, ROOT, ANCHORED, SELECTOR, IMAGE = 0x1, 0x2, 0x8, 0x20, 0x100
ON_CHILDREN = 0x40
LONGEST_PATH = 260
IMAGES = ("dds", "vol", "tga", "bmp", "jpg", "spr", "png", "exr", "hdr", "ktx")


class Members(list):
    """A JSON object as its (name, value) pairs: rules go by the order of members."""


def load_rules(path):
    """Extension -> (rules by element pattern, companion rules), each rule (attribute, mask)."""
    with open(path, encoding="utf-8") as file:
        config = json.load(file, object_pairs_hook=Members)
    generators = {}
    for extension, body in config:
        if extension:
            generators.setdefault(extension, _rules_of(body))
    return generators


def _rules_of(body):
    by_element, companions = {}, []
    for rule in _name_list_entries(body):
        element, attribute, mask = (value for _, value in rule[:3])
        if element:
            by_element.setdefault(element, []).append((attribute, mask))
        else:
            companions.append((attribute, mask))
    return by_element, companions


def _name_list_entries(value):
    if isinstance(value, Members):
        for name, member in value:
            if name == "name_list":
                yield from member
            yield from _name_list_entries(member)
    elif isinstance(value, list):
        for element in value:
            yield from _name_list_entries(element)


def pattern_of(element):
    """Layer_7 is governed by the rules for Layer_*, Tex3 by those for Tex*."""
    stem = element.rstrip("0123456789")
    return stem + "*" if stem and (stem != element or stem.endswith("_")) else element


def key_of(text):
    """The one spelling of a path below the resource root, None for a path that leaves it."""
    segments = []
    for segment in text.replace("\\", "/").split("/"):
        if segment == "..":
            if not segments:
                return None
            segments.pop()
        elif segment not in ("", "."):
            segments.append(segment)
    key = "/".join(segments)
    return key if key and "\0" not in key and len(os.fsencode(key)) <= LONGEST_PATH else None


def is_a_path(text):
    if len(os.fsencode(text)) > LONGEST_PATH or re.search(r"[\0-\x1f\x7f]", text):
        return False
    if re.match(r"[A-Za-z][A-Za-z0-9+.-]*://|data:", text) or re.fullmatch(r"[-+]?[\d.]+", text):
        return False
    extension = re.search(r"\.([A-Za-z0-9]{1,16})$", text)
    return bool(re.search(r"[/\\]", text) or extension and re.search("[A-Za-z]", extension[1]))


class Tree:
    def __init__(self, root):
        self.root = root

    def files(self):
        for folder, _, names in os.walk(self.root):
            for name in names:
                if "\\" not in name:
                    yield os.path.relpath(os.path.join(folder, name), self.root)

    def has(self, key):
        return key is not None and os.path.isfile(os.path.join(self.root, key))

    def read(self, key):
        with open(os.path.join(self.root, key), "rb") as file:
            return file.read()

    def named_by(self, referrer, text, mask):
        """The files that a reference names."""
        working = _unanchored(text) if mask & ANCHORED else text
        readings = [text] if mask & ROOT and is_a_path(text) else []
        if mask & DIRECTORY:
            readings.append(os.path.dirname(referrer) + "/" + text)
        if mask & SELECTOR:
            selector = re.search(r"[#?|].*", text, re.DOTALL)
            tail = len(selector[0]) if selector else 0
            readings += [reading[:len(reading) - tail] for reading in readings]
            working = re.split(r"[#?|]", working, maxsplit=1)[0]
        keys = {key_of(reading) for reading in readings + [working]}
        found = {key for key in keys if self.has(key)}
        if not found and mask & IMAGE:
            found = {self._other_image(key) for key in keys if key} - {None}
        return found

    def _other_image(self, key):
        stem, _, extension = key.rpartition(".")
        if extension.lower() not in IMAGES:
            return None
        others = (f"{stem}.{other}" for other in IMAGES)
        return next((other for other in others if self.has(other)), None)


def _unanchored(text):
    return re.sub(r"^[/\\]*(?:res[/\\]+)?(?=[^/\\])", "", text)


def stem_of(key):
    folder, slash, name = key.rpartition("/")
    return folder + slash + name.split(".")[0]


def references(tree, key, by_element, companions):
    """The texts that a file refers by, each with its mask."""
    for suffix, mask in companions:
        if tree.has(stem_of(key) + suffix):
            yield stem_of(key) + suffix, mask
    open_rules = []  # of the elements around
    for depth, name, attributes in markup.elements(tree.read(key)):
        rules = by_element.get(pattern_of(name), [])
        above = open_rules[depth - 1] if depth else []
        governing = [rule for rule in above if rule[1] & ON_CHILDREN]
        governing += [rule for rule in rules if not rule[1] & ON_CHILDREN]
        for attribute, mask in governing:
            if attributes.get(attribute):
                yield attributes[attribute], mask
        open_rules[depth:] = [rules]


def read_graph(project, builtin):
    config = os.path.join(builtin, "res/builtin/dependency_config/xml_config.json")
    generators = load_rules(config)
    tree = Tree(os.path.join(project, "res"))
    forward = {}
    for key in tree.files():
        generator = generators.get(key.rpartition(".")[2])
        if generator and "#" not in key and tree.has(key):
            found = _edges(tree, key, *generator)
            if found:
                forward[key] = found
    return forward


def _edges(tree, key, by_element, companions):
    found = set()
    try:
        for text, mask in references(tree, key, by_element, companions):
            found |= tree.named_by(key, text, mask)
    except markup.Unreadable:
        return []
    return sorted((entry for entry in found if "#" not in entry), key=os.fsencode)


def inverse_of(forward):
    inverse = {}
    for key in sorted(forward, key=os.fsencode):
        for entry in forward[key]:
            inverse.setdefault(entry, []).append(key)
    return inverse


def main():
    arguments = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    arguments.add_argument("project")
    arguments.add_argument("--builtin")
    options = arguments.parse_args()
    forward = read_graph(options.project, options.builtin or options.project + "/builtin")
    graph = {"forward": forward, "inverse": inverse_of(forward)}
    text = json.dumps(graph, indent=1, sort_keys=True, ensure_ascii=False)
    sys.stdout.buffer.write(os.fsencode(text + "\n"))


if __name__ == "__main__":
    main()
