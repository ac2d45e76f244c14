#!/usr/bin/env python3
"""Compares the page of behaviours with the names of the library's tests.

The page says, one line per test, what the library is held to: a heading per subject, which is a
test file, with the file's first comment below it, and the tests' names as sentences. Further suites
of a file have headings of their own. With --update the page is written anew from the tests; read
the difference before committing it, as a line that goes is a behaviour that nothing holds any more.
"""

import difflib
import pathlib
import re
import textwrap

import tree

TESTS = "tests/library"
# Written by a program and as long as there are tests: a golden file.
PAGE = f"{TESTS}/golden/behaviour.md"
TITLE = "# What the library is held to"
PREFACE = ("Every line is a test of `tests/library` and says what fails when it fails. Written by "
           "`check_behaviour.py --update`.")
COLUMNS = 100

_TEST = re.compile(r"^(?:TYPED_)?TEST(?:_F|_P)?\(\s*(\w+)\s*,\s*(\w+)\s*\)", re.MULTILINE)
_WORD = re.compile(r"[A-Z]+(?![a-z])|[A-Z]?[a-z]+|\d+")
# Words that are not written as they are spoken.
_SPELLINGS = {"icmp": "ICMP", "tcp": "TCP", "udp": "UDP", "nul": "NUL", "init": "Init"}


def words(name):
    """The words of a name in CamelCase or with underscores: `NameOf32Bytes`, `name_of_32`."""
    return [_SPELLINGS.get(word.lower(), word.lower()) for word in _WORD.findall(name)]


def phrase(name):
    """A name as the words of a heading or of a sentence."""
    text = " ".join(words(name))
    return text[:1].upper() + text[1:]


def introduction(name, text):
    """The comment that a file begins with, in one line."""
    lines = []
    for line in text.split("\n"):
        if not line.startswith("//"):
            break
        lines.append(line.removeprefix("//").strip())
    if not lines:
        raise tree.Finding(f"{name}:1: no comment says what these tests are about")
    return " ".join(lines)


def suites(text):
    """The tests of a file by suite, both in the order in which they stand."""
    found = {}
    for suite, test in _TEST.findall(text):
        found.setdefault(suite, []).append(test)
    return found


def paragraph(text, bullet=""):
    return textwrap.wrap(text, COLUMNS, initial_indent=bullet, subsequent_indent=" " * len(bullet),
                         break_long_words=False, break_on_hyphens=False)


def section(name, text):
    """The lines of one file."""
    subject = phrase(name.split("/")[-1].removesuffix("_test.cpp"))
    lines = ["", f"## {subject}", "", *paragraph(introduction(name, text))]
    tests_by_suite = suites(text)
    for suite, tests in tests_by_suite.items():
        if len(tests_by_suite) > 1 and phrase(suite) != subject:
            lines += ["", f"### {phrase(suite)}"]
        lines.append("")
        for test in tests:
            lines += paragraph(f"{phrase(test)}.", "- ")
    return lines


def page(root):
    """The page as it should be, and how many behaviours it lists."""
    names = [name for name in tree.own_files(root)
             if name.startswith(f"{TESTS}/") and name.endswith("_test.cpp")]
    lines, count = [TITLE, "", *paragraph(PREFACE)], 0
    for name in names:
        text = tree.read_text(root, name) or ""
        if not (tests := sum(map(len, suites(text).values()))):
            raise tree.Finding(f"{name}:1: no tests")
        lines += section(name, text)
        count += tests
    if not count:
        raise tree.Finding(f"no tests in {TESTS}")
    return "\n".join(lines) + "\n", count


def read_page(root):
    path = pathlib.Path(root) / PAGE
    return path.read_text() if path.is_file() else ""


def check(root):
    expected, count = page(root)
    changes = difflib.unified_diff(read_page(root).split("\n"), expected.split("\n"), n=0,
                                   lineterm="")
    findings = [f"{PAGE}: {line}" for line in changes
                if line[:1] in "+-" and not line.startswith(("+++ ", "--- "))]
    return findings, f"{count} behaviours"


def update(root):
    path = pathlib.Path(root) / PAGE
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(page(root)[0])


def main():
    parser = tree.arguments(__doc__)
    parser.add_argument("--update", action="store_true", help="write the page anew")
    options = parser.parse_args()
    if options.update:
        update(options.root)
    tree.run(check, options.root)


if __name__ == "__main__":
    main()
