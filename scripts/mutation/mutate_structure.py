"""Finds the parts of C++ text that can be left out or turned round, without a compiler.

The text must be as clang-format leaves it, with braces or none around the parts of an `if`. What is
read: namespaces, classes and enums, functions with their initialisers, statements, lambdas. Every
part is given as a span of places in the list of tokens, the end excluded.
"""

from typing import NamedTuple

import mutate_brackets

_TYPE_SCOPES = {"class", "struct", "union"}
_BEFORE_BODY = {")", "}", "const", "noexcept", "override", "final", "try"}
_NO_VALUE = {"0", "default", "delete"}  # `= 0` and the like, behind a function


class Part(NamedTuple):
    kind: str  # see the functions of Structure that add them
    first: int
    last: int  # excluded
    function: str  # the name of the function, "" outside


class Structure(mutate_brackets.Brackets):
    """The parts of a file.

    kind         the span
    value        what a declaration outside functions, or an enumerator, is set to
    body         a function's body, braces included; lambdas are within their function's
    member       one member of a constructor's list
    initialiser  what a member or variable begins with: from its `=` or its brace on
    expression   a statement, with its `;`
    log          a statement that writes a line to the log, with its `;`
    jump         break, continue, throw or a return without a value, with its `;`
    return       the value of a return
    bool         the value of a return in a function that returns bool
    condition    of an if
    loop         the condition of a loop
    branch       what an if, an else or a loop over a range does, with its braces or its `;`
    """

    def __init__(self, tokens, assertions=()):
        """`assertions`: the names of macros that only assert."""
        super().__init__(tokens)
        self._no_code = {"static_assert", "using", "typedef", *assertions}
        self._function = ""
        self._returns_bool = False
        self.parts = []
        self._read_scope(0, len(tokens))

    def _add(self, kind, first, last):
        self.parts.append(Part(kind, first, last, self._function))

    # Outside functions.

    def _read_scope(self, first, last):
        place = first
        while place < last:
            place = self._read_declaration(place, last)

    def _read_declaration(self, first, last):
        """Reads one declaration; the place behind it."""
        if self._text(first) in ("public", "private", "protected"):
            return first + 2
        for place in self.top_level(first, last):
            text = self._text(place)
            if text == ";":
                self._read_value(first, place)
                return place + 1
            if text == "{" and self._assignment(first, place) is None:
                if self._reads_on(first, place):
                    continue
                return self._closes[place] + 1
        return last

    def _reads_on(self, first, brace):
        """Reads what a brace behind a head holds; whether the declaration goes on behind it."""
        words = {self._text(place) for place in self.top_level(first, brace)}
        inside = (brace + 1, self._closes[brace])
        if "enum" in words:
            self._read_enumerators(*inside)
            return True
        if words & _TYPE_SCOPES and "(" not in words:
            self._read_scope(*inside)
            return True
        if "(" not in words and ("namespace" in words or "extern" in words):
            self._read_scope(*inside)
            return False
        if "(" in words and self._text(brace - 1) in _BEFORE_BODY:
            self._read_function(first, brace)
            return False
        return True  # the value of a member

    def _read_value(self, first, end):
        """A declaration that may set something: a constant, a variable, a member."""
        sets = self._assignment(first, end)
        if sets is None or self._text(first) == "using":
            return
        function = self._find(("(",), first, sets) is not None
        if function and self._text(sets + 1) in _NO_VALUE:
            return
        self._add("value", sets + 1, end)
        if self._text(first) not in ("inline", "constexpr", "const", "static", "using"):
            self._add("initialiser", sets, end)

    def _read_enumerators(self, first, last):
        start = first
        while start < last:
            end = self._find((",",), start, last) or last
            sets = self._assignment(start, end)
            if sets is not None:
                self._add("value", sets + 1, end)
            start = end + 1

    def _read_function(self, first, brace):
        opens = self._find(("(",), first, brace)
        if self._text(opens - 1) == "operator":  # operator()
            opens = self._closes[opens] + 1
        start = self._find(("operator",), first, opens)
        start = opens - 1 if start is None else start
        while self._text(start - 1) in ("::", "~"):
            start -= 1 if self._text(start - 1) == "~" else 2
        self._function = self._joined(start, opens)
        self._returns_bool = self._text(start - 1) == "bool"
        list_start = self._find((":",), self._closes[opens], brace)
        if list_start is not None:
            self._read_initialisers(list_start + 1, brace)
        self._add("body", brace, self._closes[brace] + 1)
        self._read_block(brace + 1, self._closes[brace])
        self._function = ""

    def _read_initialisers(self, first, last):
        self._add("value", first, last)
        start = first
        while start < last:
            end = self._find((",",), start, last) or last
            self._add("member", start, end)
            start = end + 1

    # In functions.

    def _read_block(self, first, last):
        place = first
        while place < last:
            place = self._read_statement(place, last)

    def _read_statement(self, first, last):
        """Reads one statement; the place behind it."""
        text = self._text(first)
        if text == "{":
            self._read_block(first + 1, self._closes[first])
            return self._closes[first] + 1
        if text in ("if", "for", "while", "switch", "catch"):
            return self._read_control(first, last)
        if text in ("else", "try", "do"):
            return self._read_statement(first + 1, last)
        if text in ("case", "default"):
            return (self._find((":",), first, last) or last) + 1
        end = self._find((";",), first, last)
        if end is None:
            raise mutate_brackets.Unreadable(f"a statement without end, `{text}`")
        self._read_simple(first, end)
        return end + 1

    def _read_control(self, first, last):
        opens = self._find(("(",), first, last)
        body = self._closes[opens] + 1
        kind = self._read_header(self._text(first), opens)
        end = self._read_statement(body, last)
        if kind:
            self._add("branch", body, end)
        if self._text(first) == "if" and self._text(end) == "else":
            after = self._read_statement(end + 1, last)
            if self._text(end + 1) != "if":
                self._add("branch", end + 1, after)
            return after
        return end

    def _read_header(self, word, opens):
        """Reads what is in the brackets of an if or a loop; whether its body is a branch."""
        start, end = opens + 1, self._closes[opens]
        ends = [place for place in self.top_level(start, end) if self._text(place) == ";"]
        self._read_lambdas(start, end)
        if word == "for" and len(ends) == 2:
            self._read_declared(start, ends[0])
            if ends[0] + 1 < ends[1]:
                self._add("loop", ends[0] + 1, ends[1])
            return False
        start = ends[0] + 1 if ends else start
        declares = self._assignment(start, end) is not None
        if word in ("if", "while") and not declares:
            self._add("condition" if word == "if" else "loop", start, end)
        return word == "if" or word == "for" or (word == "while" and declares)

    def _read_simple(self, first, end):
        text = self._text(first)
        self._read_lambdas(first, end)
        if text in self._no_code or first == end:
            return
        if text.startswith("PACKETDB_LOG"):
            self._add("log", first, end + 1)
        elif text in ("break", "continue", "throw", "goto") or (text == "return" and
                                                                  first + 1 == end):
            self._add("jump", first, end + 1)
        elif text == "return":
            self._add("bool" if self._returns_bool else "return", first + 1, end)
        elif self._declares(first, end):
            self._read_declared(first, end)
        else:
            self._add("expression", first, end + 1)

    def _declares(self, first, end):
        """Whether a statement declares something: a type, then a name that was not joined to it."""
        text = self._text(first)
        if text in ("const", "constexpr", "static", "auto", "struct", "unsigned"):
            return True
        if text in ("delete", "co_return", "co_yield") or self._tokens[first].kind != "name":
            return False
        place = first
        while self._text(place + 1) == "::" and self._tokens[place + 2].kind == "name":
            place += 2
        place += 1
        if self._text(place) == "<" and not self._tokens[place].spaced:
            depth = 0
            while place < end:
                depth += {"<": 1, ">": -1, ">>": -2}.get(self._text(place), 0)
                place += 1
                if depth == 0:
                    break
        while self._text(place) in ("*", "&") and place < end:
            place += 1
        return place < end and self._tokens[place].kind == "name"

    def _read_declared(self, first, end):
        """A variable whose value may be left out: no constant, nothing whose type is deduced."""
        if self._text(first) in ("const", "constexpr", "static", "auto"):
            return
        sets = self._find(("=", "{"), first, end)
        if sets is not None:
            self._add("initialiser", sets, end)

    def _read_lambdas(self, first, end):
        """Reads the bodies of the lambdas in a span, with `return` meaning theirs."""
        for place in range(first, end):
            if self._text(place) != "{" or not self._starts_lambda(place):
                continue
            returns_bool, self._returns_bool = self._returns_bool, False
            self._read_block(place + 1, self._closes[place])
            self._returns_bool = returns_bool

    def _starts_lambda(self, brace):
        before = self._text(brace - 1)
        if before == "]":
            opens = next(at for at, closes in self._closes.items() if closes == brace - 1)
            ahead = self._text(opens - 1)
            return self._tokens[opens - 1].kind == "sign" and ahead not in (")", "]")
        return before in (")", "mutable")
