"""The list of the mutants that no test can see, each with the reason why.

An entry names mutants by their content, so that it holds wherever the lines move:

    src/query/match.cpp, MatchTime
    the source line, without the blanks around it
    11: <= to <
      Why it cannot be seen, on as many indented lines as it takes.

The first line is the file and the function, the file alone outside functions. A change begins with
its column in the source line; several changes of one line can share an entry. Equal changes of
equal lines of one function are not told apart. A blank line ends an entry, `#` starts a comment.
"""

import re
from typing import NamedTuple

_CHANGE = re.compile(r"[1-9]\d*: \S.*")
_LEAST_REASON_WORDS = 3


class Malformed(Exception):
    """A line of the list that is not what it should be."""


class Entry(NamedTuple):
    number: int  # the line where it begins
    contents: tuple  # of the mutants, as Mutant.content
    reason: str


def parse(text):
    """The entries of a list."""
    entries, block = [], []
    for number, line in enumerate(text.split("\n"), 1):
        if line.startswith("#"):
            continue
        if line.strip():
            block.append((number, line))
        elif block:
            entries.append(_entry(block))
            block = []
    return entries + ([_entry(block)] if block else [])


def _entry(block):
    number = block[0][0]
    if len(block) < 2:
        raise Malformed(f"{number}: an entry without a source line")
    file, _, function = block[0][1].partition(", ")
    source_line = block[1][1]
    changes = [line for _, line in block[2:] if not line.startswith(" ")]
    reason = " ".join(line.strip() for _, line in block[2:] if line.startswith(" "))
    wrong = next((line for line in changes if not _CHANGE.fullmatch(line)), None)
    if wrong is not None or not changes:
        raise Malformed(f"{number}: an entry needs changes, `COLUMN: WHAT`"
                        + (f", not `{wrong}`" if wrong else ""))
    if len(reason.split()) < _LEAST_REASON_WORDS:
        raise Malformed(f"{number}: an entry needs a reason, indented")
    contents = tuple((file, function, source_line, change) for change in changes)
    return Entry(number, contents, reason)


def reasons(entries):
    """{content: reason}; Malformed for one that is given twice."""
    found = {}
    for entry in entries:
        for content in entry.contents:
            if content in found:
                raise Malformed(f"{entry.number}: given before: {content[2]} {content[3]}")
            found[content] = entry.reason
    return found


def stale(entries, verdicts):
    """What the list says of mutants that are gone, or that are seen after all, as texts.

    `verdicts` has a set of verdicts per content; a content of a file without any was not tried.
    """
    tried = {content[0] for content in verdicts}
    for entry in entries:
        for content in entry.contents:
            if content in verdicts and "survived" not in verdicts[content]:
                yield f"{entry.number}: no longer survives: {content[2]}  {content[3]}"
            elif content not in verdicts and content[0] in tried:
                yield f"{entry.number}: there is no such mutant: {content[2]}  {content[3]}"
