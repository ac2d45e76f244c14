"""Makes the mutants of a file: what it would be with one thing changed."""

from typing import NamedTuple

import mutate_operators
import mutate_structure
import mutate_tokens

_COMPARISONS = {"==", "!=", "<", "<=", ">", ">=", "&&", "||"}
_BEFORE_CONDITION = {"=", "(", "[", "{", ",", ";", "<<", "return", "?", ":"}
_LITERALS = {"true", "false", "nullptr", "{}", "0"}


class Mutant(NamedTuple):
    file: str
    line: int  # of the first thing that changes
    column: int
    number: int  # among those that begin at the same place
    start: int
    end: int
    replacement: str
    change: str  # for a reader
    function: str  # the name of the function, "" outside
    source_line: str  # without the blanks around it

    @property
    def identifier(self):
        return f"{self.file}:{self.line}:{self.column}:{self.number}"

    @property
    def content(self):
        """What it is, however far the lines around it have moved."""
        indented = len(self.source_line) - len(self.source_line.lstrip())
        return (self.file, self.function, self.source_line.strip(),
                f"{self.column - indented}: {self.change}")

    def apply(self, text):
        """The file with the change in it; each line keeps its number."""
        lines = text[self.start:self.end].count("\n") - self.replacement.count("\n")
        return text[:self.start] + self.replacement + "\n" * lines + text[self.end:]


class _File:
    def __init__(self, text):
        self._text = text
        self._tokens, assertions = mutate_tokens.tokens(text)
        self._macros = [token for token in self._tokens if token.macro]
        self._tokens = [token for token in self._tokens if not token.macro]
        self._structure = mutate_structure.Structure(self._tokens, assertions)
        self._assertions = {"static_assert", *assertions}

    def changes(self):
        """All of them, as (start, end, replacement, change, function)."""
        for place in range(len(self._macros)):
            for change in mutate_operators.changes(self._macros, place):
                yield *change, ""
        skipped = self._skipped()
        for part in self._structure.parts:
            if part.kind in ("value", "body"):
                for place in range(part.first, part.last):
                    if place not in skipped:
                        for change in self._at(place):
                            yield *change, part.function
            else:
                for change in getattr(self, "_change_" + part.kind)(part):
                    yield *change, part.function

    def _skipped(self):
        """The places whose tokens are left as they are: assertions, and `<<` between log pieces."""
        places = set()
        for part in self._structure.parts:
            if part.kind == "log":
                places.update(self._pieces(part))
        for place, token in enumerate(self._tokens):
            if token.text in self._assertions:
                places.update(range(place, self._structure.closing(place + 1) + 1))
        return places

    def _at(self, place):
        yield from mutate_operators.changes(self._tokens, place)
        if self._tokens[place].text == "?":
            yield from self._change_choice(place)

    def _texts(self, first, last):
        return [token.text for token in self._tokens[first:last]]

    def _put(self, first, last, replacement, change):
        return self._tokens[first].start, self._tokens[last - 1].end, replacement, change

    # What follows has the names of the kinds of parts.

    def _change_expression(self, part):
        yield self._put(part.first, part.last, ";", "drop the statement")

    _change_jump = _change_expression

    def _pieces(self, part):
        return [place for place in self._structure.top_level(part.first, part.last)
                if self._tokens[place].text == "<<"]

    def _change_log(self, part):
        yield from self._change_expression(part)
        starts = self._pieces(part)
        for start, end in zip(starts, starts[1:] + [part.last - 1]):
            if any(token.kind != "text" for token in self._tokens[start + 1:end]):
                shown = "".join(self._texts(start + 1, end))
                yield self._put(start, end, "", f"drop << {shown}")

    def _change_return(self, part):
        if self._texts(part.first, part.last) != ["*", "this"]:
            yield from self._instead(part, "{}")

    def _change_bool(self, part):
        yield from self._instead(part, "true")
        yield from self._instead(part, "false")

    def _instead(self, part, value):
        if "".join(self._texts(part.first, part.last)) not in _LITERALS:
            yield self._put(part.first, part.last, value, f"return {value} instead")

    def _change_condition(self, part):
        yield self._put(part.first, part.last, "true", "always")

    def _change_loop(self, part):
        yield self._put(part.first, part.last, "false", "never loop")

    def _change_branch(self, part):
        within = [other.kind for other in self._structure.parts
                  if part.first <= other.first and other.last <= part.last and other != part]
        if within not in (["expression"], ["jump"], ["log"]):  # which are dropped themselves
            yield self._put(part.first, part.last, "{}", "do nothing")

    def _change_initialiser(self, part):
        yield self._put(part.first, part.last, "", "drop the initial value")

    def _change_member(self, part):
        first, last = part.first, part.last
        name = self._tokens[first].text
        if self._tokens[first - 1].text == ",":
            first -= 1
        elif self._tokens[last].text == ",":
            last += 1
        else:
            first -= 1  # the colon
        yield self._put(first, last, "", f"drop the initialiser of {name}")

    def _change_choice(self, place):
        """Turns `condition ? a : b` round, unless a comparison in it can be turned."""
        first = place
        depth = 0
        while first > 0:
            text = self._tokens[first - 1].text
            if depth == 0 and text in _BEFORE_CONDITION:
                break
            depth += (text in (")", "]", "}")) - (text in ("(", "[", "{"))
            first -= 1
        if not _COMPARISONS.intersection(self._texts(first, place)):
            start, end = self._tokens[first].start, self._tokens[place - 1].end
            yield start, end, f"!({self._text[start:end]})", "the other choice"


def mutants(file, text):
    """The mutants of a file in the order of their places. `file` is its path from the root."""
    found = {(start, end, new): (change, function)
             for start, end, new, change, function in _File(text).changes()}
    lines = text.split("\n")
    made, numbers = [], {}
    for (start, end, new), (change, function) in sorted(found.items()):
        line = text.count("\n", 0, start) + 1
        column = start - (text.rfind("\n", 0, start) + 1) + 1
        numbers[start] = numbers.get(start, 0) + 1
        made.append(Mutant(file, line, column, numbers[start], start, end, new, change, function,
                           lines[line - 1]))
    return made
