"""Changes of one token: operators and constants."""

import re

# An operator that stands between two blanks, as clang-format sets those with two operands.
_BINARY = {
    "==": ("!=",), "!=": ("==",),
    "<": ("<=", ">="), "<=": ("<", ">"), ">": (">=", "<="), ">=": (">", "<"),
    "&&": ("||",), "||": ("&&",),
    "+": ("-",), "-": ("+",), "*": ("/",), "/": ("*",), "%": ("/",),
    "&": ("|",), "|": ("&", "^"), "^": ("&", "|"), "<<": (">>",), ">>": ("<<",),
    "+=": ("-=",), "-=": ("+=",), "*=": ("+=",), "/=": ("*=",), "%=": ("/=",),
    "&=": ("|=",), "|=": ("&=",), "^=": ("|=",), "<<=": (">>=",), ">>=": ("<<=",),
}
_UNARY = {"++": ("--",), "--": ("++",), "!": ("",), "~": ("",)}
_BOOLEANS = {"true": "false", "false": "true"}
_CONSTANT = re.compile(r"k[A-Z]\w*|(?!PACKETDB_)[A-Z][A-Z0-9]*_[A-Z0-9_]+")
_NUMBER = re.compile(r"(?P<digits>0[xX][\da-fA-F']+|0[bB][01']+|[\d']+)(?P<suffix>[uUlLzZ]*)")


def numbers_near(text):
    """The integer literals to put in the place of one: one more, one less, none. Floats: nothing.

    An octal literal counts as none, too: nobody writes one on purpose.
    """
    match = _NUMBER.fullmatch(text)
    if not match or re.match(r"0\d", text):
        return []
    digits = match.group("digits").replace("'", "")
    value = int(digits, 0)
    width = len(digits) - 2
    hexadecimal = digits[:2] in ("0x", "0X")
    values = [value + 1] + ([value - 1] if value > 0 else []) + ([0] if value > 1 else [])
    shown = [f"0x{near:0{width}X}" if hexadecimal else str(near) for near in values]
    return [near + match.group("suffix") for near in shown]


def _token_changes(token):
    """What to put in the place of a token, whatever is around it."""
    if token.kind == "number":
        return numbers_near(token.text)
    if token.kind == "char":
        return ["'y'" if token.text == "'x'" else "'x'"]
    if token.kind == "text" and not token.text.endswith(")\"") and "R\"" not in token.text:
        return [token.text[:-1] + '~"']
    if token.kind == "name" and token.text in _BOOLEANS:
        return [_BOOLEANS[token.text]]
    if token.kind == "sign" and token.spaced:
        return list(_BINARY.get(token.text, ()))
    if token.kind == "sign":
        return list(_UNARY.get(token.text, ()))
    return []


def _use_of_constant(tokens, place):
    """The changes of a named constant where it is used, as (start, end, replacement, change)."""
    token = tokens[place]
    following = tokens[place + 1].text if place + 1 < len(tokens) else ""
    if token.kind != "name" or not _CONSTANT.fullmatch(token.text) or following in ("(", "=", "["):
        return
    start = token.start
    in_log = place >= 2 and tokens[place - 1].text == "::" and tokens[place - 2].text == "log"
    name = f"log::{token.text}" if in_log else token.text
    if in_log:
        start = tokens[place - 2].start
    elif place >= 1 and tokens[place - 1].text in ("::", ".", "->"):
        return
    for step in ("+ 1", "- 1")[:2 if in_log else 1]:
        yield start, token.end, f"(decltype({name})({name} {step}))", f"{name} to {name} {step}"


def changes(tokens, place):
    """The changes of the token at a place, as (start, end, replacement, change)."""
    token = tokens[place]
    if token.kind == "text":
        for new in _token_changes(token):
            yield token.start, token.end, new, "append ~ to the text"
        return
    for new in _token_changes(token):
        yield token.start, token.end, new, f"{token.text} to {new or 'nothing'}"
    yield from _use_of_constant(tokens, place)
