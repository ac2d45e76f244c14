#!/usr/bin/env python3
"""Holds the includes of each folder to the picture of the house: who may include whom.

A quoted include is written from the root of the tree (`host/bus/frame.h`, `platform/bus.h`); only
the public headers go by the name that users see, `packetdb/query.h`. Angle brackets are for what
is not ours.
"""

import re

import tree

PUBLIC = "include/packetdb"

# Folder -> the folders and headers that its files may include, its own folder always among them.
# The longest folder that a file is in counts. Tests, benchmarks and samples may include everything
# and are not listed.
PICTURE = {
    "platform": [],
    PUBLIC: ["platform"],
    "src": [PUBLIC, "platform"],
    "host/log": ["platform"],
    "host/record_file": ["platform"],
    "host/bus": ["platform"],
    "host/sources": [f"{PUBLIC}/storage.h"],
    "host/journals": [PUBLIC, "platform", "host/record_file", "host/log"],
    "host/config": ["host/log", "host/sources", "host/journals/names.h"],
    "host/rules": ["host/log", "host/sources", "host/config"],
    "host/status": [PUBLIC, "platform", "host/log", "host/bus", "host/sources", "host/config",
                    "host/journals", "host/record_file"],
    "host/intake": [PUBLIC, "platform", "host/log", "host/sources", "host/config",
                    "host/journals", "host/record_file/crc32c.h", "host/status"],
    "host/rows": [f"{PUBLIC}/storage.h"],
    "host/names": [f"{PUBLIC}/storage.h", "host/sources/event.h", "host/config",
                   "host/intake/rule_dictionary.h"],
    # What a question means, where its rows come from, and how people see them.
    "host/expression": [PUBLIC, "host/rows", "host/names", "host/sources/event.h", "host/config",
                        "host/intake/glob.h"],
    "host/times": [f"{PUBLIC}/storage.h"],
    "host/reading": [PUBLIC, "platform", "host/log", "host/bus", "host/sources/event.h",
                     "host/config", "host/journals", "host/record_file", "host/intake",
                     "host/status", "host/rows", "host/names"],
    "host/printing": [f"{PUBLIC}/storage.h", "host/sources/event.h", "host/config",
                      "host/intake/rule_entry.h", "host/rows", "host/names", "host/times"],
    "host/summary": [f"{PUBLIC}/storage.h", "host/sources/event.h", "host/config", "host/rows",
                     "host/names", "host/times", "host/printing"],
    "host/daemon": [PUBLIC, "platform", "host"],
    "host/cli": [PUBLIC, "platform", "host"],
}
CHECKED = ("include", "platform", "src", "host")

INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"]*)"|<([^>]*)>)')


def within(name, folder):
    return name == folder or name.startswith(folder + "/")


def folder_of(name):
    """The folder of the picture that `name` is in; None when the picture does not know it."""
    return max((folder for folder in PICTURE if within(name, folder)), key=len, default=None)


def resolve(target, names):
    """The file of ours that an include line means; None when there is none."""
    candidate = f"include/{target}" if target.startswith("packetdb/") else target
    return candidate if candidate in names else None


def check_line(folder, quoted, angled, names):
    """What is wrong with one include of a file in `folder`; None when nothing is."""
    if angled is not None:
        ours = resolve(angled, names)
        return f"<{angled}> is {ours}: include it with quotes" if ours else None
    target = resolve(quoted, names)
    if target is None:
        return f'"{quoted}" is no file of ours, seen from the root'
    if any(within(target, allowed) for allowed in [folder, *PICTURE[folder]]):
        return None
    return f'{folder}/ may not include "{quoted}"'


def check(root):
    names = set(tree.own_files(root))
    findings, includes = [], 0
    for name in tree.select(sorted(names), folders=CHECKED):
        folder = folder_of(name)
        if folder is None:
            findings.append(f"{name}:1: the picture of the house does not know this folder")
            continue
        for number, line in enumerate((tree.read_text(root, name) or "").splitlines(), 1):
            match = INCLUDE.match(line)
            if not match:
                continue
            includes += 1
            problem = check_line(folder, *match.groups(), names)
            if problem:
                findings.append(f"{name}:{number}: {problem}")
    if not includes and not findings:
        raise tree.Finding("no include lines to look at")
    return findings, f"{includes} includes"


if __name__ == "__main__":
    tree.run(check, tree.arguments(__doc__).parse_args().root)
