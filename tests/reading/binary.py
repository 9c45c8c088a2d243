"""Formats that name their references at fixed places."""

import os
import re

LONGEST_LINE = 284


def sprite_texts(data):
    """The first word of the fourth line, if something follows that line. No line is empty."""
    lines = re.split(rb"[\r\n]+", data, maxsplit=4)
    if len(lines) == 5 and lines[4]:
        yield os.fsdecode(lines[3][:LONGEST_LINE].split(b" ")[0])
