#!/usr/bin/env python3
"""Holds the headers to one type of a name in a namespace.

Two classes of one name in two libraries are one class to the linker: it keeps one of their inline
functions, and the other class is then treated by code that was made for the first.
"""

import collections
import re

import tree

# A definition at the outermost level of a namespace: what is nested is indented.
DEFINITION = re.compile(r"^(?:struct|class|enum(?: class)?)\s+(?:PACKETDB_EXPORT\s+|"
                        r"__attribute__\(\([^)]*\)*\s*|\[\[[^\]]*\]\]\s*)?(\w+)[^;{()]*\{", re.M)
NAMESPACE = re.compile(r"^namespace ([\w:]+) \{", re.M)


def definitions(text):
    """(name with its namespace, line) of the types that a header defines."""
    namespaces = [(match.start(), match.group(1)) for match in NAMESPACE.finditer(text)]
    for match in DEFINITION.finditer(text):
        space = next((name for start, name in reversed(namespaces) if start < match.start()), "")
        yield f"{space}::{match.group(1)}", text.count("\n", 0, match.start()) + 1


def check(root):
    places = collections.defaultdict(list)
    for name in tree.select(tree.own_files(root), folders=("include", "platform", "src", "host")):
        if name.endswith(".h"):
            for defined, line in definitions(tree.read_text(root, name) or ""):
                places[defined].append((name, line))
    if not places:
        raise tree.Finding("no types to look at")
    # Within a header the compiler sees to it; what is there twice is a specialisation.
    findings = [f"{name}:{line}: {defined} is defined in {others[0][0]}:{others[0][1]} as well"
                for defined, others in sorted(places.items()) for name, line in others[1:]
                if name != others[0][0]]
    return findings, f"{len(places)} types"


if __name__ == "__main__":
    tree.run(check, tree.arguments(__doc__).parse_args().root)
