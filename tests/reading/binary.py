"""Formats that name their references at fixed places."""

import os
import re
import struct

from markup import Unreadable

LONGEST_LINE = 284
LONGEST_REFERENCE = 4096


def sprite_texts(data):
    """The first word of the fourth line, if something follows that line. No line is empty."""
    lines = re.split(rb"[\r\n]+", data, maxsplit=4)
    if len(lines) == 5 and lines[4]:
        yield os.fsdecode(lines[3][:LONGEST_LINE].split(b"\0")[0].split(b" ")[0])


def animation_text(data):
    text = _Fields(data, 24 + 16).text()
    if len(os.fsencode(text)) > LONGEST_REFERENCE:
        raise Unreadable("the reference is too long")
    return text


def chunk_texts(data):
    """The surface, and the textures of all layers."""
    fields = _Fields(data)
    magic, version, _, _, surface, layers = fields.take("4sIii264sI")
    if (magic, version) != (b"VXTC", 1) or b"\0" not in surface:
        raise Unreadable("no chunk")
    textures = []
    for _ in range(layers):
        _, count = fields.take("fI")
        textures += [fields.text() for _ in range(count)]
    columns, rows = fields.take("II")
    fields.take(f"{4 * columns * rows}x")
    if fields.at != len(data):
        raise Unreadable("more than a chunk")
    return os.fsdecode(surface.split(b"\0")[0]), [text for text in textures if text]


class _Fields:
    def __init__(self, data, at=0):
        self.data, self.at = data, at

    def take(self, layout):
        try:
            values = struct.unpack_from("<" + layout, self.data, self.at)
        except (struct.error, OverflowError) as error:
            raise Unreadable(str(error)) from error
        self.at += struct.calcsize("<" + layout)
        return values

    def text(self):
        text, = self.take(f"{self.take('I')[0]}s")
        if b"\0" in text:
            raise Unreadable("a NUL in a text")
        return os.fsdecode(text)
