"""Tells the prose of a Markdown page from its code blocks."""

import re

_FENCE = re.compile(r"^ {0,3}(```+|~~~+)")


def prose(text):
    """The lines of a page as (number, line), without those of code blocks."""
    fence = None
    for number, line in enumerate(text.split("\n"), 1):
        mark = _FENCE.match(line)
        if fence is None and mark:
            fence = mark.group(1)
        elif fence is not None:
            if mark and mark.group(1).startswith(fence) and not line.strip(" `~"):
                fence = None
        else:
            yield number, line
