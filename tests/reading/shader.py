"""Includes of shader sources."""

import re

# The "/" that ends a comment can begin the next one.
_COMMENT = r"/\*.*?(?:\*(?=/)|\Z)|//[^\n]*"
_INCLUDE = re.compile(_COMMENT + r"|(?P<found>#[ \t]*include)", re.DOTALL)
_QUOTE = re.compile(_COMMENT + r'|(?P<found>["<])', re.DOTALL)


def include_names(data):
    """Names as written. Each begins at the first quote after the word, and ends at the next one."""
    text = data.split(b"\0")[0].decode("utf-8", "surrogateescape")
    at = _after(_INCLUDE, text, 0)
    while at is not None:
        begin = _after(_QUOTE, text, at)
        end = -1 if begin is None else text.find('"', begin)
        if end < 0:
            return
        yield text[begin:end].replace("\n", "").strip(" \t\n\v\f\r")
        at = _after(_INCLUDE, text, end + 1)


def _after(pattern, text, at):
    """Where what the pattern looks for ends, comments passed over."""
    return next((match.end() for match in pattern.finditer(text, at) if match["found"]), None)
