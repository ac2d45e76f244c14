"""Finds the functions of a C++ file and how many lines each takes, by reading its braces.

This is no parser. It knows what an opening brace outside of functions can start (a namespace or
class, a function, a value) by the text in front of it, its head, in which each pair of brackets
with its content counts as `()` or `{}`. What is inside a function, local classes and lambdas
included, counts as that function. A lambda outside of functions is a function.
"""

import dataclasses
import re

import cpp_blank

_ACCESS = re.compile(r"\s*(?:public|protected|private)\s*$")
_OPERATOR = re.compile(r"\boperator\s*(?:\(\)(?=\s*\()|[^\s\w(]+)")
_ATTRIBUTE = re.compile(r"\b(?:alignas|__attribute__|decltype|noexcept|explicit)\s*\(\)")
_NAMESPACE = re.compile(r'\s*(?:inline\s+)?namespace\b|\s*extern\s+"+\s*$')
_CLASS = re.compile(r"\s*(?:(?:typedef|static|constexpr|const|inline)\s+)*"
                    r"(?:class|struct|union|enum)\b((?:[^:]|::)*)")
_ASSIGN = re.compile(r"(?<![=!<>+\-*/%&|^])=(?!=)")
_LAMBDA = re.compile(r"(?:^|[^\w\])\s])\s*\[[^\[\]]*\]\s*(?:\(\))?[\w\s:<>*&,\->()]*$")
_REQUIRES = re.compile(r"\brequires\s*(?:\(\))?\s*$")
_MEMBER_VALUE = re.compile(r"\)[^:]*(?<!:):(?!:).*[\w>]\s*$", re.DOTALL)

SCOPE, FUNCTION, VALUE = "scope", "function", "value"


class Unbalanced(Exception):
    """The brackets of the file do not match, so its functions cannot be told."""


@dataclasses.dataclass(frozen=True)
class Function:
    head: str  # the line that it begins on
    line: int
    lines: int  # from there to the closing brace


def functions(text):
    """The functions of a C++ file, in order."""
    return _Reader(text).functions


def _without_template_lists(head):
    """`head` without its template parameters, which may hold `class`, `=` and `()`."""
    match = re.search(r"\btemplate\s*<", head)
    if not match:
        return head
    depth, place = 1, match.end()
    while depth and place < len(head):
        depth += {"<": 1, ">": -1}.get(head[place], 0)
        place += 1
    return head[:match.start()] + _without_template_lists(head[place:])


def brace_starts(head, inside_value):
    """What an opening brace behind `head` starts."""
    if inside_value:
        return FUNCTION if _LAMBDA.search(head) else VALUE
    head = _OPERATOR.sub("operator", _ATTRIBUTE.sub("", _without_template_lists(head)))
    if _NAMESPACE.match(head):
        return SCOPE
    as_class = _CLASS.match(head)
    if as_class and "()" not in as_class.group(1) and not _ASSIGN.search(head):
        return SCOPE
    if _ASSIGN.search(head):
        return FUNCTION if _LAMBDA.search(head) else VALUE
    if "()" not in head or _REQUIRES.search(head) or _MEMBER_VALUE.search(head):
        return VALUE
    return FUNCTION


class _Reader:
    def __init__(self, text):
        self._lines = text.split("\n")
        self._code = cpp_blank.blank(text)
        self._closes = self._match_brackets()
        self.functions = []
        self._read(0, len(self._code), inside_value=False)

    def _match_brackets(self):
        """The place of each opening bracket -> the place of its closing one."""
        closes, open_places = {}, []
        for match in re.finditer(r"[(){}]", self._code):
            if match.group() in "({":
                open_places.append(match.start())
                continue
            if not open_places or self._code[open_places[-1]] + match.group() not in ("()", "{}"):
                raise Unbalanced(f"line {self._line(match.start())}: {match.group()} opens nowhere")
            closes[open_places.pop()] = match.start()
        if open_places:
            raise Unbalanced(f"line {self._line(open_places[-1])}: this bracket is never closed")
        return closes

    def _line(self, place):
        return self._code.count("\n", 0, place) + 1

    def _read(self, place, end, inside_value):
        """Reads declarations, or a value, between two places."""
        head, start = "", place
        while place < end:
            char = self._code[place]
            if not head.strip() and not char.isspace():
                start = place
            if char == "[" and inside_value:
                start = place
            if char in "({":
                kind = VALUE if char == "(" else brace_starts(head, inside_value)
                head = self._read_brackets(head, kind, start, place, inside_value)
                place = self._closes[place]
            elif char == ";" or (char == ":" and _ACCESS.match(head)):
                head = ""
            else:
                head += char
            place += 1

    def _read_brackets(self, head, kind, start, place, inside_value):
        """Reads what is in the brackets that open at `place`; the head of what follows them."""
        end = self._closes[place]
        if kind == FUNCTION:
            self._add(start, end)
        else:
            self._read(place + 1, end, inside_value=kind == VALUE)
        if kind == SCOPE or (kind == FUNCTION and not inside_value):
            return ""
        return head + self._code[place] + self._code[end]

    def _add(self, start, end):
        line = self._line(start)
        lines = self._line(end) - line + 1
        self.functions.append(Function(self._lines[line - 1].strip(), line, lines))
