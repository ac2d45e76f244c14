#!/usr/bin/env python3
"""Which missed branches are told of, and which waivers are refused."""

import json
import subprocess
import sys

import canary
import script_tree


class MissedBranches(canary.TreeTest):
    def run_on(self, branches, waivers=""):
        """Runs the program on one source with these (count, throw) of branches in its line 2."""
        self.write("a.cpp", "int f(int a) {\n  return a ? 1 : 2;\n}\n")
        counted = [{"count": count, "throw": throw} for count, throw in branches]
        lines = [{"line_number": 2, "branches": counted}]
        files = [{"file": "a.cpp", "lines": lines}]
        counts = self.write("counts.json", json.dumps({"files": files}))
        program = script_tree.ROOT / "scripts/missed_branches.py"
        return subprocess.run(
            [sys.executable, "-B", program, counts, self.write("waivers.txt", waivers)],
            cwd=self.root, capture_output=True, text=True, check=False)

    WAIVER = "# why not\n\na.cpp\nreturn a ? 1 : 2;\nnobody asks\n"

    def test_nothing_missed_passes(self):
        self.assertEqual(self.run_on([(1, False), (5, False)]).returncode, 0)

    def test_missed_branch_fails_and_is_named(self):
        done = self.run_on([(1, False), (0, False)])
        self.assertEqual(done.returncode, 1)
        self.assertIn("a.cpp:2: 1 of 2 branches missed: return a ? 1 : 2;", done.stdout)

    def test_branches_of_exceptions_do_not_count(self):
        self.assertEqual(self.run_on([(1, False), (0, True)]).returncode, 0)

    def test_waived_branch_passes_and_is_counted(self):
        done = self.run_on([(1, False), (0, False)], self.WAIVER)
        self.assertEqual(done.returncode, 0)
        self.assertIn("2 branches, 1 of them waived", done.stdout)

    def test_waiver_that_is_not_needed_fails(self):
        done = self.run_on([(1, False), (1, False)], self.WAIVER)
        self.assertEqual(done.returncode, 1)
        self.assertIn("a.cpp: waived, but not missed: return a ? 1 : 2;", done.stdout)

    def test_waiver_without_a_reason_fails(self):
        done = self.run_on([(1, False), (0, False)], "a.cpp\nreturn a ? 1 : 2;\n")
        self.assertEqual(done.returncode, 1)
        self.assertIn("not a file, a line of code and a reason", done.stderr)

    def test_counts_without_branches_fail(self):
        done = self.run_on([])
        self.assertEqual(done.returncode, 1)
        self.assertIn("no branches were counted", done.stderr)


if __name__ == "__main__":
    canary.main()
