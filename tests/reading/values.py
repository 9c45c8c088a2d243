"""Where two versions of a document differ: in which values, and that it is in nothing else."""

import json
import re
import struct

import json_family
import markup
import xml_family
from markup import Unreadable

_JSON_VALUE = re.compile(r'"((?:[^"\\]|\\.)*)"|//[^\n]*|/\*.*?\*/', re.DOTALL)


def changed_values(family, old, new):
    """The values that differ, each as (line, old, new); Unreadable if anything else does."""
    split = {xml_family: _split_xml, json_family: _split_json}.get(family, _split_animation)
    (old_rest, old_values), (new_rest, new_values) = split(old), split(new)
    if old_rest != new_rest:
        raise Unreadable("more than values has changed")
    lines = 1 if family else 0  # others are binary
    for rest, before, after in zip(old_rest, old_values, new_values):
        lines += len(re.findall(r"\r\n|\r|\n", rest)) if family else 0
        if before != after:
            yield lines, _meant(family, before), _meant(family, after)
        lines += before.count("\n")  # in XML; JSON has none in strings


def _split_xml(data):
    text = markup.decode(data)
    return _split(text, list(markup.value_spans(text)))


def _split_json(data):
    text = data.decode("utf-8", "surrogateescape")
    return _split(text, [value.span(1) for value in _JSON_VALUE.finditer(text) if value[1]])


def _split_animation(data):
    length, = struct.unpack_from("<I", data, 40)
    reference = data[44:44 + length]
    return [data[:40], data[44 + length:]], [reference.decode("utf-8", "surrogateescape")]


def _split(text, spans):
    ends = [0] + [end for _, end in spans]
    begins = [begin for begin, _ in spans] + [len(text)]
    rest = [text[end:begin] for end, begin in zip(ends, begins)]
    return rest, [text[begin:end] for begin, end in spans]


def _meant(family, value):
    if family is json_family:
        return json.loads(f'"{value}"', strict=False)
    return markup.unescape(value) if family is xml_family else value
