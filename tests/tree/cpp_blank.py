"""Blanks what is not code in C++ text, so that the rest can be read brace by brace."""

import re

# Tried in this order at each place. A digit separator (1'000) is part of a number, not a quote.
_NOT_CODE = re.compile(
    r"""
    (?P<raw>      \b(?:u8|[uUL])?R"(?P<mark>[^()\s\\"]{0,16})\(.*?\)(?P=mark)" )
  | (?P<comment>  //(?:\\\n|[^\n])* | /\*.*?\*/ )
  | (?P<number>   \b\d(?:'?[\w.])* )
  | (?P<text>     "(?:\\.|[^"\\\n])*" | '(?:\\.|[^'\\\n])+' )
  | (?P<macro>    ^[ \t]*\#(?:/\*.*?\*/|\\\n|[^\n])* )
    """, re.VERBOSE | re.DOTALL | re.MULTILINE)


def blank(text):
    """`text` with comments and preprocessor lines made of spaces, and literals of quotes.

    Each character keeps its place and each line its number.
    """
    return _NOT_CODE.sub(_blank_match, text)


def _blank_match(match):
    if match.lastgroup == "number":
        return match.group()
    filler = " " if match.lastgroup in ("comment", "macro") else '"'
    return re.sub(r"[^\n]", filler, match.group())
