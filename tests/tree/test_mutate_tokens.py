#!/usr/bin/env python3
"""How C++ is split into tokens before it is mutated."""

import unittest

import canary
import mutation


def seen(text):
    return [token.text for token in mutation.mutate_tokens.tokens(text)[0]]


class Tokens(unittest.TestCase):
    def test_longest_operator_wins(self):
        self.assertEqual(seen("a<<=b->c::d++ <=> e"),
                         ["a", "<<=", "b", "->", "c", "::", "d", "++", "<=>", "e"])

    def test_comments_are_left_out(self):
        self.assertEqual(seen("a; // b == c\n/* d\n != e */ f;"), ["a", ";", "f", ";"])

    def test_text_that_looks_like_a_comment_is_text(self):
        self.assertEqual(seen('f("// a", "/* b"); c'), ["f", "(", '"// a"', ",", '"/* b"', ")", ";",
                                                        "c"])

    def test_quotes_and_escapes(self):
        self.assertEqual(seen(r"""f("a\"b", '"', '\'', 1'000)"""),
                         ["f", "(", r'"a\"b"', ",", "'\"'", ",", r"'\''", ",", "1'000", ")"])

    def test_raw_text(self):
        self.assertEqual(seen('a = R"x(")")x";'), ["a", "=", 'R"x(")")x"', ";"])

    def test_directives_and_attributes_are_left_out(self):
        text = "#include <a>\n#if B == 1\n[[likely]] int c __attribute__((aligned(8)));\n#endif\n"
        self.assertEqual(seen(text), ["int", "c", ";"])

    def test_places_are_those_of_the_text(self):
        text = "#define A(x) \\\n  [[b]] !x\n/* c */ d;\n"
        for token in mutation.mutate_tokens.tokens(text)[0]:
            self.assertEqual(text[token.start:token.end], token.text)

    def test_body_of_a_define_is_marked(self):
        found = mutation.mutate_tokens.tokens("#define A(x) \\\n  !x\nb;\n")[0]
        self.assertEqual([token.text for token in found if token.macro], ["!", "x"])

    def test_macros_that_only_assert_are_named(self):
        text = ("#define PIN(a) \\\n  static_assert(a == 1)\n#define BOTH(a) PIN(a); PIN(a + 1)\n"
                "#define OTHER(a) !(a)\n")
        self.assertEqual(mutation.mutate_tokens.tokens(text)[1], {"PIN", "BOTH"})

    def test_blanks_tell_operators_from_types(self):
        text = "a < b; v<int> c; d & e; int& f; *g * h;"
        spaced = [token.text for token in mutation.mutate_tokens.tokens(text)[0] if token.spaced
                  and token.kind == "sign"]
        self.assertEqual(spaced, ["<", "&", "*"])


if __name__ == "__main__":
    canary.main()
