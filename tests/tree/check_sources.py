#!/usr/bin/env python3
"""Finds source files that no CMakeLists.txt names: nothing compiles or checks those."""

import posixpath
import re

import tree

# What may stand in front of a file's name: the folder of the list itself, or the root of the tree.
_OWN_FOLDER = re.compile(r"\$\{CMAKE_CURRENT_(?:SOURCE|LIST)_DIR\}/")
_ROOT = re.compile(r"\$\{(?:packetdb|PROJECT|CMAKE)_SOURCE_DIR\}/")
_SOURCE = re.compile(r"[^\s\"();]+\.cpp\b(?!\.)")
_COMMENT = re.compile(r"#.*")


def sources_of(list_name, text):
    """The source files that a CMake list names, as paths from the root."""
    folder = posixpath.dirname(list_name)
    for match in _SOURCE.finditer(_COMMENT.sub("", text)):
        name = _OWN_FOLDER.sub("", match.group())
        if _ROOT.match(name):
            yield posixpath.normpath(_ROOT.sub("", name))
        else:
            yield posixpath.normpath(posixpath.join(folder, name))


def check(root):
    names = tree.own_files(root)
    named = set()
    for name in tree.select(names, suffixes=("CMakeLists.txt",)):
        named.update(sources_of(name, tree.read_text(root, name) or ""))
    sources = tree.select(names, suffixes=(".cpp",))
    findings = [f"{name}:1: no CMakeLists.txt names this file"
                for name in sources if name not in named]
    return findings, f"{len(sources)} sources"


if __name__ == "__main__":
    tree.run(check, tree.arguments(__doc__).parse_args().root)
