#!/usr/bin/env python3
"""Counts the results in a JUnit file of ctest: prints `PASSED FAILED SKIPPED`.

Tests that failed or were skipped are named on standard error, the failed ones with the end of their
output, the skipped ones with their reason. So is how many of the programs of tests/faults ran: what
they need, a machine may not have. A test that could not be started, or was switched off, failed.
"""

import sys
import xml.etree.ElementTree as ElementTree

SHOWN_LINES = 40
FAULTS = "faults."


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


def reason(case):
    """The last line that says why a test was skipped, its own words."""
    lines = (case.findtext("system-out") or "").splitlines()
    said = [line for line in lines if line.startswith("skipped: ")]
    return said[-1].removeprefix("skipped: ") if said else "it does not say why"


def tell_faults(cases):
    def of(*kinds):
        names = (case.get("name") for kind in kinds for case in cases[kind])
        return sum(name.startswith(FAULTS) for name in names)

    ran, skipped = of("passed", "failed"), of("skipped")
    if ran + skipped != 0:
        print(f"fault tests: {ran} ran, {skipped} could not run here", file=sys.stderr)


def tell(cases):
    for case in cases["skipped"]:
        print(f"skipped: {case.get('name')}: {reason(case)}", file=sys.stderr)
    tell_faults(cases)
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
