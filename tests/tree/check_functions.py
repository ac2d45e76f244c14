#!/usr/bin/env python3
"""Holds functions to a length that fits a screen and a head."""

import cpp_functions
import tree

LONGEST = 70  # lines, from the line where it begins to its closing brace


def check(root):
    findings, seen = [], 0
    for name in tree.select(tree.own_files(root)):
        try:
            found = cpp_functions.functions(tree.read_text(root, name) or "")
        except cpp_functions.Unbalanced as problem:
            findings.append(f"{name}:1: functions cannot be told apart: {problem}")
            continue
        seen += len(found)
        findings += [f"{name}:{each.line}: {each.lines} lines, more than {LONGEST}: {each.head}"
                     for each in found if each.lines > LONGEST]
    if not seen and not findings:
        raise tree.Finding("no functions to look at")
    return findings, f"{seen} functions"


if __name__ == "__main__":
    tree.run(check, tree.arguments(__doc__).parse_args().root)
