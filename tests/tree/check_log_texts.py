#!/usr/bin/env python3
"""Lists what the library writes and no test of the library claims.

Hosts read and search its log, so each line is part of its contract. What one statement streams is
claimed by a literal of the tests that holds its texts in their order, whatever stands between them,
or by literals that the tests put together with `+` or `<<`. Any other text of the library's sources
may reach a log as well, through a parameter or a table, or an exception: it must be part of some
literal of the tests.
"""

import dataclasses
import re

import cpp_blank
import tree

SOURCES = "src/"
TESTS = "tests/library/"

_STATEMENT = re.compile(r"\bPACKETDB_LOG(?:_UNASKED)?\s*\([^;]*")
_DEFINE = re.compile(r"^[ \t]*#[ \t]*define\b", re.MULTILINE)
_LITERAL = re.compile(
    r"""(?:u8|[uUL])?R"(?P<mark>[^()\s\\"]{0,16})\((?P<raw>.*?)\)(?P=mark)"
      | "(?P<text>(?:\\.|[^"\\\n])*)"
      | '(?:\\.|[^'\\\n])+'""", re.VERBOSE | re.DOTALL)
_ENDS_A_SUM = re.compile(r"[,;{}]")
_GAP = "\0"  # between the literals of a sum, where a value stands that no text can span
_ESCAPE = re.compile(r"\\(.)", re.DOTALL)
_ESCAPED = {"n": "\n", "t": "\t", "r": "\r", "0": "\0"}


@dataclasses.dataclass
class Text:
    value: str
    start: int
    end: int


def _value(literal):
    """What a literal says; None for that of a character."""
    if literal["raw"] is not None:
        return literal["raw"]
    if literal["text"] is None:
        return None
    return _ESCAPE.sub(lambda escape: _ESCAPED.get(escape[1], escape[1]), literal["text"])


def _code(source):
    """The source with what is no code blanked, but for what macros stand for."""
    source = _DEFINE.sub(lambda define: " " * len(define.group()), source)
    return cpp_blank.blank(source)


def texts(source, code):
    """The string literals of a C++ source in order, adjacent ones joined."""
    found, place = [], 0
    while (place := code.find('"', place)) >= 0:
        literal = _LITERAL.match(source, place)
        if literal is None:
            raise tree.Finding(f"line {source.count(chr(10), 0, place) + 1}: a literal of no kind")
        value, place = _value(literal), literal.end()
        if value is None:
            continue
        if found and not code[found[-1].end:literal.start()].strip():
            found[-1].value += value
            found[-1].end = place
        else:
            found.append(Text(value, literal.start(), place))
    return found


def lines_and_texts(source):
    """What each log statement streams, as a list of texts, and each text that none streams."""
    code = _code(source)
    spans = [match.span() for match in _STATEMENT.finditer(code)]
    streamed = {span: [] for span in spans}
    alone = []
    for text in texts(source, code):
        span = next((span for span in spans if span[0] <= text.start < span[1]), None)
        (alone if span is None else streamed[span]).append([text] if span is None else text)
    return sorted([*filter(None, streamed.values()), *alone], key=lambda line: line[0].start)


def claims_of(source):
    """What the literals of a test say, those of one sum or stream together."""
    code = _code(source)
    claims, end = [], 0
    for text in texts(source, code):
        if claims and not _ENDS_A_SUM.search(code[end:text.start]):
            claims[-1] += _GAP + text.value
        else:
            claims.append(text.value)
        end = text.end
    return claims


def is_claimed(line, claims):
    in_order = re.compile(".*".join(re.escape(text.value) for text in line), re.DOTALL)
    return any(in_order.search(claim) for claim in claims)


def check(root):
    names = tree.own_files(root)
    tests = tree.select([name for name in names if name.startswith(TESTS)])
    claims = {claim for name in tests for claim in claims_of(tree.read_text(root, name) or "")}
    findings, seen = [], 0
    for name in tree.select([name for name in names if name.startswith(SOURCES)]):
        source = tree.read_text(root, name) or ""
        for line in lines_and_texts(source):
            seen += 1
            if not is_claimed(line, claims):
                number = source.count("\n", 0, line[0].start) + 1
                shown = '" ... "'.join(text.value for text in line)
                findings.append(f'{name}:{number}: no test claims "{shown}"')
    if not seen:
        raise tree.Finding("no texts to look at")
    return findings, f"{seen} lines and texts"


if __name__ == "__main__":
    tree.run(check, tree.arguments(__doc__).parse_args().root)
