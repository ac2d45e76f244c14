#!/usr/bin/env python3
"""Collects how often each branch of our sources was taken, as JSON on stdout.

    branch_counts.py BUILD FOLDER [EXCLUDED]

BUILD is a build folder whose tests have run, FOLDER the folder of the tree whose sources count, but
for those whose path EXCLUDED, a regular expression, matches.

The compiler copies an inline function of a header into every object that uses it, often as branches
of another number and order. Copies of the same shape are summed; of several shapes the one whose
branches were taken best stands for the function, since each is the same code.
"""

import collections
import concurrent.futures
import json
import os
import pathlib
import re
import subprocess
import sys

HAS_CODE = re.compile(r"\w")  # not a brace alone, whose branches are the compiler's


def counted_files(data):
    """What gcov tells of one object: its files."""
    done = subprocess.run(["gcov", "-b", "-j", "-t", data.name], cwd=data.parent,
                          capture_output=True, check=False)
    for text in done.stdout.splitlines():
        told = json.loads(text)
        for file in told["files"]:
            where = os.path.join(told["current_working_directory"], file["file"])
            yield os.path.realpath(where), file["lines"]


def branches_of(line):
    """The branches that are not taken by exceptions only."""
    return tuple(branch["count"] for branch in line["branches"] if not branch["throw"])


def collect(build, wanted):
    """{file: {line: {function: {number of branches: their counts}}}} of the wanted files."""
    found = collections.defaultdict(lambda: collections.defaultdict(
        lambda: collections.defaultdict(dict)))
    objects = sorted(pathlib.Path(build).rglob("*.gcda"))
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for files in pool.map(lambda data: list(counted_files(data)), objects):
            for path, lines in files:
                if wanted(path):
                    add(found[path], lines)
    return found


def add(file, lines):
    """Lines without a function are left out: precompiled headers have such, beside the others."""
    for line in lines:
        counts = branches_of(line)
        function = line.get("function_name")
        if function and (counts or line["count"]):
            shapes = file[line["line_number"]][function]
            known = shapes.get(len(counts), (0,) * len(counts))
            shapes[len(counts)] = tuple(map(sum, zip(known, counts)))


def best_shape(shapes):
    """The counts of the shape with the fewest branches that were never taken."""
    return min(shapes.values(), key=lambda counts: (counts.count(0), -len(counts)))


def report(found, root):
    files = []
    for path, lines in sorted(found.items()):
        texts = pathlib.Path(path).read_text().splitlines()
        told = []
        for number, functions in sorted(lines.items()):
            counts = [count for shapes in functions.values() for count in best_shape(shapes)]
            if counts and HAS_CODE.search(texts[number - 1]):
                branches = [{"count": count, "throw": False} for count in counts]
                told.append({"line_number": number, "branches": branches})
        if told:
            files.append({"file": os.path.relpath(path, root), "lines": told})
    return {"files": files}


def main(build, folder, excluded="(?!)"):
    root = pathlib.Path(__file__).resolve().parent.parent
    prefix = str(root / folder) + os.sep

    def wanted(path):
        return path.startswith(prefix) and not re.search(excluded, os.path.relpath(path, root))

    json.dump(report(collect(build, wanted), root), sys.stdout)


if __name__ == "__main__":
    if len(sys.argv) not in (3, 4):
        raise SystemExit(__doc__)
    main(*sys.argv[1:])
