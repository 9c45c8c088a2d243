"""References in JSON, by the names of members."""

import json
import re

from markup import Unreadable
from paths import is_a_path
from rules import Members

EXTRA = 0x200
_COMMENT = re.compile(r'("(?:[^"\\]|\\.)*")|//[^\n]*|/\*.*?\*/', re.DOTALL)


def parse(data):
    """The document of a file in UTF-8, of which comments and a byte order mark are no part."""
    text = data.removeprefix(b"\xef\xbb\xbf").decode("utf-8", "surrogateescape")
    text = _COMMENT.sub(lambda match: match[1] or " ", text)
    try:
        return json.loads(text, object_pairs_hook=Members, parse_constant=int)  # refuses NaN
    except (ValueError, RecursionError) as error:
        raise Unreadable(str(error)) from error


def texts(data, by_name, ignored):
    """The texts that a file refers by, each as written, as read and with its mask."""
    by_name = dict(by_name)
    by_name["PATH"] = [("", 0)] + by_name.get("PATH", [])
    for name, text in _offers(None, parse(data), by_name, ignored):
        for extra, mask in by_name.get(name, []):
            if _makes_a_table(extra, mask):
                break
            yield text, text + extra if mask & EXTRA else text, mask


def _offers(name, value, by_name, ignored):
    """The strings of a document under the names that rules govern them by."""
    if isinstance(value, Members):
        members = [member for member in value if member[0] not in ignored]
    else:
        members = [(name, element) for element in value] if isinstance(value, list) else []
    for member, inner in members:
        if not isinstance(inner, str):
            yield from _offers(member, inner, by_name, ignored)
            continue
        yield member, inner
        if any(_makes_a_table(*rule) for rule in by_name.get(member, [])):
            texts = (text for _, text in members if isinstance(text, str))
            yield from (("PATH", text) for text in texts if is_a_path(text))
            break


def _makes_a_table(extra, mask):
    return mask & EXTRA and not extra
