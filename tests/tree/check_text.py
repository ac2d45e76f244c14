#!/usr/bin/env python3
"""Keeps the rules that every text of ours follows, whatever it says: layout, names, leftovers.

Data is left as it came: it is what a program really wrote, rulesets as nft lists them included.
Its folders and endings are named below.
"""

import re

import markdown
import tree

COLUMNS = 100
LINES = 600

DATA_FOLDERS = {"corpus", "data", "golden"}
DATA_SUFFIXES = (".csv", ".log", ".nft", ".pcap", "_symbols.txt")

NAME = re.compile(r"[a-z0-9_.-]+")
# Names that tools and habits fix.
FIXED_NAMES = {"README.md", "CONTRIBUTING.md", "CHANGELOG.md", "SECURITY.md", "LICENSE",
               "CMakeLists.txt", "CMakePresets.json", "Dockerfile", "Makefile"}
FIXED_NAME_SUFFIXES = (".cmake", ".cmake.in")  # CMake modules are named as their commands are

# Make reads tabs, so do the rules of a Debian package.
TABBED_NAMES = {"Makefile", "rules"}

# Spelled in two pieces, so that this file does not trip over itself.
MARKER = re.compile(r"\b(" + "|".join(("TO" "DO", "FIX" "ME", "X" "XX", "HA" "CK")) + r")\b")
SUPPRESSION = re.compile(r"\bNO" r"LINT(?:NEXTLINE|BEGIN)?\b(\([\w.,-]+\))?:?\s*(.*)")
ADDRESS = re.compile(r"\W*(?:\[[^\]]+\]\W*)?https?://\S+")
WORKPLACE = re.compile(r"(?<![\w.})$~-])/(?:work|home|root)/")


def is_data(name):
    return name.endswith(DATA_SUFFIXES) or not DATA_FOLDERS.isdisjoint(name.split("/")[:-1])


def check_name(name):
    base = name.split("/")[-1]
    fixed = base in FIXED_NAMES or base.endswith(FIXED_NAME_SUFFIXES)
    parts = name.split("/")[:-1] if fixed else name.split("/")
    return [f"{name}:1: a name of other characters than a-z 0-9 _ . -" for part in parts
            if not NAME.fullmatch(part)]


def breakable(name, text):
    """The numbers of the lines that could be broken.

    In a page those are neither rows of a table nor what a program printed, quoted as a code block.
    """
    lines = markdown.prose(text) if name.endswith(".md") else enumerate(text.split("\n"), 1)
    return {number for number, line in lines
            if not (name.endswith(".md") and line.startswith("|")) and not ADDRESS.fullmatch(line)}


def line_problems(name, line):
    """What is wrong with one line, its width apart."""
    if "\t" in line and name.split("/")[-1] not in TABBED_NAMES:
        yield "a tab"
    if "\r" in line:
        yield "a carriage return"
    if line.rstrip(" \t") != line:
        yield "trailing blanks"
    if marker := MARKER.search(line):
        yield f"a leftover marker: {marker.group(1)}"
    if path := WORKPLACE.search(line):
        yield f"a path of somebody's workplace: {path.group()}"
    suppression = name.endswith(tree.CODE_SUFFIXES) and SUPPRESSION.search(line)
    if suppression and not (suppression.group(1) and len(suppression.group(2).split()) >= 3):
        yield "a lint suppression must name its check and say why on the same line"


def file_problems(name, text):
    """What is wrong with a text as a whole, as (line, problem)."""
    lines = text.split("\n")
    if text and not text.endswith("\n"):
        yield len(lines), "no newline at the end"
    if text.endswith("\n\n") or text == "\n":
        yield len(lines) - 1, "blank lines at the end"
    if len(lines) - 1 > LINES:
        yield len(lines) - 1, f"{len(lines) - 1} lines, more than {LINES}"
    if name.endswith(".h") and "#pragma once" not in lines:
        yield 1, "a header without #pragma once"
    for number in sorted(breakable(name, text)):
        if (columns := len(lines[number - 1])) > COLUMNS:
            yield number, f"{columns} columns, more than {COLUMNS}"
    for number, line in enumerate(lines, 1):
        yield from ((number, problem) for problem in line_problems(name, line))


def check(root):
    findings, seen = [], 0
    for name in tree.own_files(root):
        findings += check_name(name)
        if is_data(name):
            continue
        text = tree.read_text(root, name)
        if text is None:
            findings.append(f"{name}:1: not text; recorded data belongs into a folder `data`")
            continue
        seen += 1
        findings += [f"{name}:{line}: {problem}" for line, problem in file_problems(name, text)]
    if not seen:
        raise tree.Finding("no texts to look at")
    return findings, f"{seen} texts"


if __name__ == "__main__":
    tree.run(check, tree.arguments(__doc__).parse_args().root)
