#!/usr/bin/env python3
"""Names the branches that no test took, but for those that a list waives with a reason.

    missed_branches.py COUNTS WAIVERS

COUNTS is what `gcovr --json` wrote. WAIVERS has a paragraph of three lines, the file, the code and
the reason, for each line of code with a branch that may be missed; lines with `#` are comments. A
waiver for a line that is gone, or that misses nothing, fails as well: it would hide the next one.
"""

import json
import pathlib
import sys


def read_waivers(path):
    """The reasons by (file, code)."""
    waivers = {}
    for paragraph in pathlib.Path(path).read_text().split("\n\n"):
        lines = [line.strip() for line in paragraph.splitlines() if not line.startswith("#")]
        if not any(lines):
            continue
        if len(lines) != 3 or not all(lines):
            raise SystemExit(f"{path}: not a file, a line of code and a reason: {lines}")
        waivers[lines[0], lines[1]] = lines[2]
    return waivers


def missed(counts):
    """(file, line number, branches missed, branches) of each line that misses one."""
    for file in counts["files"]:
        for line in file["lines"]:
            branches = [branch for branch in line.get("branches", []) if not branch["throw"]]
            untaken = sum(branch["count"] == 0 for branch in branches)
            if untaken:
                yield file["file"], line["line_number"], untaken, len(branches)


def judge(counts, waivers, code_of):
    """What is wrong, one line each, and how many branches there are and are waived."""
    findings, used, waived = [], set(), 0
    for name, number, untaken, branches in missed(counts):
        key = name, code_of(name, number)
        if key in waivers:
            used.add(key)
            waived += untaken
        else:
            findings.append(f"{name}:{number}: {untaken} of {branches} branches missed: {key[1]}")
    findings += [f"{name}: waived, but not missed: {code}"
                 for name, code in waivers if (name, code) not in used]
    return findings, waived


def code_of(name, number):
    return pathlib.Path(name).read_text().splitlines()[number - 1].strip()


def main(counts_path, waivers_path):
    counts = json.loads(pathlib.Path(counts_path).read_text())
    total = sum(not branch["throw"] for file in counts["files"] for line in file["lines"]
                for branch in line.get("branches", []))
    if not total:
        raise SystemExit(f"{counts_path}: no branches were counted")
    findings, waived = judge(counts, read_waivers(waivers_path), code_of)
    findings.append(f"{total} branches, {waived} of them waived, {len(findings)} findings")
    print(*findings, sep="\n")
    return 1 if len(findings) > 1 else 0


if __name__ == "__main__":
    if len(sys.argv) != 3:
        raise SystemExit(__doc__)
    sys.exit(main(*sys.argv[1:]))
