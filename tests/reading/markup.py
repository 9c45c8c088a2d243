"""Reads the elements of an XML file: with expat where the file is well-formed, else forgivingly.

Real trees hold files that a strict parser refuses and tools read all the same: "<" or a bare "&" in
an attribute value, "--" in a comment, several roots, Latin-1 bytes under a UTF-8 declaration. What
nobody can read is an element that is never closed, or closed by another name.
"""

import codecs
import re
from xml.parsers import expat


class Unreadable(Exception):
    """The file is no XML, however forgivingly read."""


def elements(data):
    """The elements in document order, each as (depth, name, attributes)."""
    try:
        return _strict(data)
    except expat.ExpatError:
        return _forgiving(decode(data))


def _strict(data):
    found = []
    depth = 0

    def start(name, attributes):
        nonlocal depth
        found.append((depth, name, attributes))
        depth += 1

    def end(_name):
        nonlocal depth
        depth -= 1

    parser = expat.ParserCreate()
    parser.StartElementHandler = start
    parser.EndElementHandler = end
    parser.Parse(data, True)
    return found


_BOMS = [  # UTF-32 before UTF-16, whose mark is the beginning of UTF-32's
    (codecs.BOM_UTF8, "utf-8"),
    (codecs.BOM_UTF32_LE, "utf-32-le"),
    (codecs.BOM_UTF32_BE, "utf-32-be"),
    (codecs.BOM_UTF16_LE, "utf-16-le"),
    (codecs.BOM_UTF16_BE, "utf-16-be"),
]
_LATIN = re.compile(rb"<\?xml[^>]*encoding\s*=\s*[\"'](iso-8859-1|latin1)[\"']", re.IGNORECASE)


def decode(data):
    for bom, encoding in _BOMS:
        if data.startswith(bom):
            return data[len(bom):].decode(encoding, "surrogateescape")
    encoding = "latin-1" if _LATIN.match(data) else "utf-8"
    return data.decode(encoding, "surrogateescape")


_NAME = r"[A-Za-z_:\u0080-\U0010ffff][-A-Za-z0-9_:.\u0080-\U0010ffff]*"
_ATTRIBUTE = re.compile(rf"\s+({_NAME})\s*=\s*(?:\"([^\"]*)\"|'([^']*)')")
_TOKEN = re.compile(
    r"<!--.*?-->"
    r"|<!\[CDATA\[.*?\]\]>"
    r"|<\?.*?\?>"
    r"|<!DOCTYPE[^\[>]*(?:\[.*?\]\s*)?>"
    rf"|</(?P<closed>{_NAME})\s*>"
    rf"|<(?P<opened>{_NAME})"
    rf"(?P<attributes>(?:\s+{_NAME}\s*=\s*(?:\"[^\"]*\"|'[^']*'))*)\s*(?P<empty>/?)>",
    re.DOTALL,
)


def _tokens(text):
    """What begins with "<", one after the other."""
    at = text.find("<")
    while at >= 0:
        token = _TOKEN.match(text, at)
        if not token:
            raise Unreadable(f"not understood: {text[at:at + 40]!r}")
        yield token
        at = text.find("<", token.end())


def _forgiving(text):
    found = []
    open_names = []
    for token in _tokens(text):
        if token["opened"]:
            found.append((len(open_names), token["opened"], _attributes(token["attributes"])))
            if not token["empty"]:
                open_names.append(token["opened"])
        elif token["closed"]:
            if not open_names or open_names.pop() != token["closed"]:
                raise Unreadable(f"</{token['closed']}> closes what it did not open")
    if open_names or not found:
        raise Unreadable(f"not closed: {open_names[-1]}" if open_names else "no element")
    return found


def value_spans(text):
    """Where the attribute values stand, as written."""
    for token in _tokens(text):
        if token["opened"]:
            for attribute in _ATTRIBUTE.finditer(text, *token.span("attributes")):
                yield attribute.span(2 if attribute[2] is not None else 3)


def _attributes(text):
    values = {}
    for name, double, single in _ATTRIBUTE.findall(text):
        values.setdefault(name, unescape(double or single))
    return values


_ENTITIES = {"amp": "&", "lt": "<", "gt": ">", "quot": '"', "apos": "'"}
_REFERENCE = re.compile(r"&(?:#(\d+)|#x([0-9A-Fa-f]+)|(amp|lt|gt|quot|apos));")


def unescape(value):
    def character(reference):
        decimal, hexadecimal, name = reference.groups()
        if name:
            return _ENTITIES[name]
        return chr(int(decimal) if decimal else int(hexadecimal, 16))

    return _REFERENCE.sub(character, re.sub(r"\r\n|[\t\r\n]", " ", value))
