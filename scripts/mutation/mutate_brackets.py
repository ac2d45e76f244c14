"""Finds one's way in a list of tokens by its brackets.

Every part is given as a span of places in the list, the end excluded.
"""

_OPENING = {"(": ")", "[": "]", "{": "}"}


class Unreadable(Exception):
    """Brackets that do not match, or a statement that does not end."""


class Brackets:
    def __init__(self, tokens):
        self._tokens = tokens
        self._closes = self._match_brackets()

    def closing(self, place):
        """Where the bracket that opens at a place closes; the place itself for anything else."""
        return self._closes.get(place, place)

    def _match_brackets(self):
        closes, waiting = {}, []
        for place, token in enumerate(self._tokens):
            if token.kind != "sign":
                continue
            if token.text in _OPENING:
                waiting.append(place)
            elif token.text in _OPENING.values():
                if not waiting or _OPENING[self._tokens[waiting[-1]].text] != token.text:
                    raise Unreadable(f"`{token.text}` opens nowhere")
                closes[waiting.pop()] = place
        if waiting:
            raise Unreadable(f"`{self._tokens[waiting[-1]].text}` is never closed")
        return closes

    def _text(self, place):
        return self._tokens[place].text if 0 <= place < len(self._tokens) else ""

    def _joined(self, first, last):
        """The text of a span, with a blank where two words would grow together."""
        text = ""
        for token in self._tokens[first:last]:
            text += " " * (text[-1:].isalnum() and token.kind == "name") + token.text
        return text

    def top_level(self, first, last):
        """The places of a span that are not within brackets; a bracket counts where it opens."""
        place = first
        while place < last:
            yield place
            place = self.closing(place) + 1

    def _assignment(self, first, last):
        """The first `=` of a span that is not within brackets; None without."""
        return next((place for place in self.top_level(first, last)
                     if self._text(place) == "=" and self._text(place - 1) != "operator"), None)

    def _find(self, signs, first, last):
        """The first of these signs in a span that is not within brackets; None without."""
        return next((place for place in self.top_level(first, last)
                     if self._text(place) in signs), None)
