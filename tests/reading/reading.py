"""A second opinion: reads a project's resource graph with nothing of the program under test."""

import functools
import os
from typing import NamedTuple

import binary
import effect
import json_family
import rules
import shader
import xml_family
from markup import Unreadable
from paths import Tree, beside, extension_of, is_a_path, key_of, stem_of


class Reference(NamedTuple):
    text: str  # as it stands in the file
    entries: list  # what the file is thereby said to refer to
    resolves: bool


class Project:
    def __init__(self, project, builtin):
        self.families = [
            (module, rules.load_rules(f"{builtin}/res/builtin/dependency_config/{name}", rule_of))
            for module, name, rule_of in [(xml_family, "xml_config.json", rules.xml_rule),
                                          (json_family, "json_config.json", rules.json_rule)]]
        self.tree = Tree(os.path.join(project, "res"))
        self._open = set()

    def forward(self):
        graph = {}
        for key in self.sources():
            entries = {_stored(entry) for entry in self.entries(key)} - {""}
            entries = sorted((entry for entry in entries if "#" not in entry), key=os.fsencode)
            if entries:
                graph[key] = entries
        return graph

    def missing(self):
        found = []
        for key in self.sources():
            own = self.references(key)
            resolved = {reference.text for reference in own if reference.resolves}
            found += [(key, text) for text in {reference.text for reference in own} - resolved
                      if is_a_path(text)]
        return [{"file": key, "text": text} for key, text in sorted(found)]

    def sources(self):
        return (key for key in self.tree.files() if "#" not in key and self.tree.has(key))

    def entries(self, key):
        """What a file refers to, and what it is said to refer to because of files it names."""
        self._open.add(key)
        found = [entry for reference in self.references(key) for entry in reference.entries]
        follows = _FOLLOWED.get(extension_of(key), lambda entry: False)
        stack = [entry for entry in found if follows(entry)]
        walked = set()
        while stack:
            entry = stack.pop()
            if entry in walked:
                continue
            walked.add(entry)
            if self.tree.has(entry) and key_of(entry) not in self._open:
                stack += self.entries(key_of(entry))
        self._open.remove(key)
        return found + sorted(walked)

    def references(self, key):
        reader = self._reader_of(key)
        try:
            return list(reader(key)) if reader else []
        except Unreadable:
            return []

    def family_of(self, key):
        """The module that reads the file by rules; None for a file of another format."""
        extension = extension_of(key)
        return next((module for module, generators in self.families
                     if extension in generators and self._suits(key, module)), None)

    def _reader_of(self, key):
        family = self.family_of(key)
        if family:
            return functools.partial(self._ruled, family.texts,
                                     dict(self.families)[family][extension_of(key)])
        other = _OTHERS.get(extension_of(key))
        return other and functools.partial(other, self)

    def _suits(self, key, module):
        """Both families may have rules for these two: it depends on the file."""
        if extension_of(key) not in ("animation", "skeleton"):
            return True
        try:
            json_family.parse(self.tree.read(key))
        except Unreadable:
            return module is xml_family
        return module is json_family

    def _ruled(self, texts_of, generator, key):
        by_name, companions, ignored = generator
        for suffix, mask in companions:
            companion = stem_of(key) + suffix
            if self.tree.has(companion):
                yield self._by_rule(key, companion, companion, mask)
        for text, read, mask in texts_of(self.tree.read(key), by_name, ignored):
            yield self._by_rule(key, text, read, mask)

    def _by_rule(self, key, text, read, mask):
        found = self.tree.named_by(key, read, mask)
        return Reference(text, sorted(found), bool(found))

    def _shader(self, key):
        for name in shader.include_names(self.tree.read(key)):
            path = beside(key, name)
            yield Reference(name, [path] * self.tree.has(path), self.tree.has(path))

    def _effect(self, key):
        data = self.tree.read(key)
        for name in shader.include_names(data):
            yield self._as_written(name, beside(key, name))
        images, sources = effect.named_files(data)
        yield from (self._as_written(image, image) for image in images)
        for path in sources:
            stem = stem_of(path.replace("\\", "/"))
            variants = [stem + variant + path[len(stem):] for variant in ("", "_gl", "_metal")]
            found = list(filter(self.tree.has, variants))
            yield Reference(path, found, bool(found))

    def _sprite(self, key):
        return (self._as_written(text, text) for text in binary.sprite_texts(self.tree.read(key)))

    def _animation(self, key):
        text = binary.animation_text(self.tree.read(key))
        path = os.path.normpath(beside(key, text).replace("\\", "/").lstrip("/"))
        return [self._as_written(text, path)] if text and path != "." else []

    def _chunk(self, key):
        surface, textures = binary.chunk_texts(self.tree.read(key))
        if ".surf" in surface and self._reader_of(surface):
            textures.insert(0, surface)
        return (self._as_written(text, text) for text in textures)

    def _as_written(self, text, path):
        """A reference that is kept whether its file exists or not."""
        return Reference(text, [path], self.tree.has(path))


_OTHERS = {
    "vs": Project._shader, "ps": Project._shader, "hlsl": Project._shader,
    "nfx": Project._effect, "spx": Project._effect,
    "spr": Project._sprite, "chunk": Project._chunk, "rawanimation": Project._animation,
}
# Of what a file refers to, whose own references count as well.
_FOLLOWED = {
    "nfx": lambda entry: True,
    "spx": lambda entry: True,
    "surf": lambda entry: ".hlsl" in entry,
}


def _stored(entry):
    return key_of(entry) or entry.replace("\\", "/")


def inverse_of(forward):
    inverse = {}
    for key in sorted(forward, key=os.fsencode):
        for entry in forward[key]:
            inverse.setdefault(entry, []).append(key)
    return inverse
