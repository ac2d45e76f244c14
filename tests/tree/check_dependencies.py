#!/usr/bin/env python3
"""Compares the packages that scripts/packages.txt installs with those that docs/dependencies.md
explains, so that nothing comes in without a reason and a licence."""

import re

import tree

LIST = "scripts/packages.txt"
PAGE = "docs/dependencies.md"


def listed(text):
    """The packages of the list; Finding for a line that is neither packages nor a comment."""
    packages = set()
    for number, line in enumerate(text.splitlines(), 1):
        if not line or line.startswith("#"):
            continue
        if not re.fullmatch(r"[a-z]+:(?: [a-z0-9.+-]+)+", line):
            raise tree.Finding(f"{LIST}:{number}: not `purpose: package package...`")
        packages.update(line.split()[1:])
    return packages


def explained(text):
    """The packages in the first column of the page's tables."""
    rows = [line.split("|") for line in text.splitlines() if line.startswith("|")]
    return {package for row in rows for package in re.findall(r"`([^`]+)`", row[1])}


def check(root):
    texts = []
    for name in (LIST, PAGE):
        try:
            texts.append((tree.pathlib.Path(root) / name).read_text())
        except OSError as problem:
            raise tree.Finding(problem) from None
    packages, reasons = listed(texts[0]), explained(texts[1])
    if not packages:
        raise tree.Finding(f"{LIST} lists no packages")
    findings = [f"{PAGE}:1: no row for {name}" for name in sorted(packages - reasons)]
    findings += [f"{PAGE}:1: {name} is not installed" for name in sorted(reasons - packages)]
    return findings, f"{len(packages)} packages"


if __name__ == "__main__":
    tree.run(check, tree.arguments(__doc__).parse_args().root)
