#!/usr/bin/env python3
"""Counts the results in a JUnit file of ctest: prints `PASSED FAILED SKIPPED`.

Tests that failed or were skipped are named on standard error, the failed ones with the end of their
output. A test that could not be started, or was switched off, failed.
"""

import sys
import xml.etree.ElementTree as ElementTree

SHOWN_LINES = 40


def outcome(case):
    """One of "passed", "failed", "skipped" for a testcase element."""
    if case.get("status") == "run" and case.find("failure") is None:
        return "passed"
    skipped = case.find("skipped")
    if skipped is not None and (skipped.get("message") or "").startswith("SKIP_"):
        return "skipped"  # by the test's own word: its exit code or its output
    return "failed"


def count(path):
    """The cases of a JUnit file by outcome."""
    cases = {"passed": [], "failed": [], "skipped": []}
    for case in ElementTree.parse(path).getroot().iter("testcase"):
        cases[outcome(case)].append(case)
    return cases


def tell(cases):
    for case in cases["skipped"]:
        print(f"skipped: {case.get('name')}", file=sys.stderr)
    for case in cases["failed"]:
        lines = (case.findtext("system-out") or "").splitlines()[-SHOWN_LINES:]
        print(f"failed: {case.get('name')}", *lines, sep="\n    ", file=sys.stderr)


def main(path):
    try:
        cases = count(path)
    except (OSError, ElementTree.ParseError) as problem:
        sys.exit(f"{path}: no results: {problem}")
    tell(cases)
    print(*(len(cases[kind]) for kind in ("passed", "failed", "skipped")))


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit("usage: count_tests.py JUNIT_FILE")
    main(sys.argv[1])
