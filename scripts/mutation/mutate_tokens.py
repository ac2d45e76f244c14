"""Splits C++ into tokens, each with its place in the text.

Comments, attributes and the preprocessor's lines are left out, but for the bodies of #define, whose
tokens are marked. Whether `<`, `&` or `*` is an operator or part of a type is told by the blanks
around it, which clang-format sets: `a < b` against `vector<int>`, `a & b` against `int& a`.
"""

import re
from typing import NamedTuple

_TOKEN = re.compile(
    r"""
    (?P<blank>   \s+ | \\\n )
  | (?P<comment> //(?:\\\n|[^\n])* | /\*.*?\*/ )
  | (?P<text>    (?:u8|[uUL])?R"(?P<mark>[^()\s\\"]{0,16})\(.*?\)(?P=mark)"
               | (?:u8|[uUL])?"(?:\\.|[^"\\\n])*" )
  | (?P<char>    (?:u8|[uUL])?'(?:\\.|[^'\\\n])+' )
  | (?P<number>  \d(?:'?[\w.])* )
  | (?P<name>    [A-Za-z_]\w* )
  | (?P<sign>    <<=|>>=|<=>|\.\.\.|->\*|::|->|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|\S )
    """, re.VERBOSE | re.DOTALL)

_DIRECTIVE = re.compile(r"^[ \t]*#[ \t]*(?P<word>\w+)(?:\\\n|[^\n])*", re.MULTILINE)
_DEFINE_HEAD = re.compile(r"[ \t]*#[ \t]*define[ \t]+(?P<name>\w+)(?:\([^)]*\))?")
_ATTRIBUTE = re.compile(
    r"(?:__attribute__|alignas)\s*(?:\((?:[^()]|\((?:[^()]|\([^()]*\))*\))*\))|\[\[.*?\]\]",
    re.DOTALL)
_COMMENT_OR_TEXT = re.compile(
    r"""//(?:\\\n|[^\n])*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|'(?:\\.|[^'\\\n])'""", re.DOTALL)


class Token(NamedTuple):
    kind: str  # text, char, number, name or sign
    text: str
    start: int
    end: int
    spaced: bool  # blanks on both sides
    macro: bool  # of the body of a #define


def _blanked(match):
    return re.sub(r"[^\n]", " ", match.group())


def _prepared(text):
    """`text` without attributes and directives, each place kept, and the spans of the #defines.

    A macro that only asserts at compile time is no code: its name is returned with the others of
    its kind.
    """
    bodies, assertions = [], set()

    def directive(match):
        head = _DEFINE_HEAD.match(match.group())
        if not head:
            return _blanked(match)
        if is_assertion(match.group()[head.end():], assertions):
            assertions.add(head.group("name"))
            return _blanked(match)
        bodies.append((match.start() + head.end(), match.end()))
        return " " * head.end() + match.group()[head.end():]

    hidden = _COMMENT_OR_TEXT.sub(lambda match: re.sub(r"[^\n\\]", '"', match.group()), text)
    attributes = [match.span() for match in _ATTRIBUTE.finditer(hidden)]
    chars = list(text)
    for start, end in attributes:
        chars[start:end] = [char if char == "\n" else " " for char in chars[start:end]]
    return _DIRECTIVE.sub(directive, "".join(chars)), bodies, assertions


def is_assertion(code, assertions):
    """Whether a piece of code asserts at compile time and does nothing else."""
    first = re.match(r"[\s\\]*(\w+)", code)
    return bool(first) and (first.group(1) == "static_assert" or first.group(1) in assertions)


def tokens(text):
    """The tokens of a file, in order; also the names of its macros that only assert."""
    code, bodies, assertions = _prepared(text)
    found, place = [], 0
    while place < len(code):
        match = _TOKEN.match(code, place)
        place = match.end()
        kind = match.lastgroup
        if kind in ("blank", "comment"):
            continue
        start, end = match.span()
        spaced = code[start - 1:start].isspace() and code[end:end + 1].isspace()
        macro = any(first <= start < last for first, last in bodies)
        found.append(Token(kind, match.group(), start, end, spaced, macro))
    return found, assertions
