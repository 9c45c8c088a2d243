"""What the description of an effect names: images of its textures, sources of its passes."""

import re

from paths import is_image

_STRING = r'"(?:[^"\\]|\\.)*"'
_STRINGS = rf"(?:{_STRING}\s*)+"  # adjacent ones are one
_PASSED_OVER = re.compile(
    rf"({_STRING})|//[^\n]*|/\*.*?\*/|^[ \t]*#(?:[^\n\\]|\\\n|\\)*", re.DOTALL | re.MULTILINE)
_TEXTURE = re.compile(
    rf"\b(?:rw)?texture\w*\s*(?:<[\w\s,]*>)?\s+\w+[^;{{}}<\"]*<((?:[^\">]|{_STRING})*)>",
    re.DOTALL | re.IGNORECASE)
_ANNOTATION = re.compile(rf"\bstring\s+\w+[\s\[\]\d]*=([\s{{]*(?:{_STRINGS}[,\s}}]*)+)", re.DOTALL)
_PASS_SHADER = re.compile(
    rf"\b(?:set)?(?:vertex|pixel|geometry|hull|domain|compute)shader\s*[=(][\s(]*"
    rf"(?:compile(?:shader\s*\()?[\w\s,]*)?({_STRINGS})", re.DOTALL | re.IGNORECASE)


def named_files(data):
    """The images that annotations of textures name, and the sources that passes name."""
    text = data.decode("utf-8", "surrogateescape")
    text = _PASSED_OVER.sub(lambda match: match[1] or " ", text)
    strings = [string for texture in _TEXTURE.findall(text)
               for value in _ANNOTATION.findall(texture)
               for string in re.findall(_STRINGS, value)]
    images = [image for image in map(_value_of, strings) if is_image(image)]
    return images, [_value_of(string) for string in _PASS_SHADER.findall(text)]


def _value_of(strings):
    inner = "".join(string[1:-1] for string in re.findall(_STRING, strings, re.DOTALL))
    return re.sub(r"\\([\"'\\])|\\\n", r"\1", inner)
