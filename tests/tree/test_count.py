#!/usr/bin/env python3
"""What counts as passed, failed and skipped in the results of ctest."""

import subprocess
import sys

import canary
import script_tree


class Count(canary.TreeTest):
    def count(self, ctest_file):
        """Runs ctest for real on a list of tests; what count_tests.py says about its results."""
        self.write("CTestTestfile.cmake", ctest_file)
        results = self.root / "results.xml"
        subprocess.run(["ctest", "--output-junit", results], cwd=self.root, capture_output=True,
                       check=False)
        program = script_tree.ROOT / "scripts/count_tests.py"
        return subprocess.run([sys.executable, "-B", program, results], capture_output=True,
                              text=True, check=False)

    def counts(self, ctest_file):
        return self.count(ctest_file).stdout.strip()

    def test_passed_and_failed(self):
        self.assertEqual(self.counts("add_test(a true)\nadd_test(b false)\nadd_test(c true)\n"),
                         "2 1 0")

    def test_test_that_cannot_start_failed(self):
        self.assertEqual(self.counts("add_test(a /nowhere/a)\n"), "0 1 0")

    def test_test_that_is_switched_off_failed(self):
        off = "set_tests_properties(a PROPERTIES DISABLED TRUE)\n"
        self.assertEqual(self.counts("add_test(a true)\n" + off), "0 1 0")

    def test_test_whose_fixture_failed_failed(self):
        fixture = ("add_test(a false)\nset_tests_properties(a PROPERTIES FIXTURES_SETUP F)\n"
                   "add_test(b true)\nset_tests_properties(b PROPERTIES FIXTURES_REQUIRED F)\n")
        self.assertEqual(self.counts(fixture), "0 2 0")

    def test_timeout_and_crash_failed(self):
        slow = "add_test(a sleep 60)\nset_tests_properties(a PROPERTIES TIMEOUT 1)\n"
        crash = 'add_test(b sh -c "kill -SEGV $$")\n'
        self.assertEqual(self.counts(slow + crash), "0 2 0")

    def test_skipped_test_is_neither_and_is_named(self):
        skip = 'set_tests_properties(a PROPERTIES SKIP_REGULAR_EXPRESSION "SKIPPED")\n'
        done = self.count('add_test(a echo "[  SKIPPED ]")\nadd_test(b true)\n' + skip)
        self.assertEqual(done.stdout.strip(), "1 0 1")
        self.assertIn("skipped: a", done.stderr)

    def test_skipped_fault_test_is_counted_and_says_why(self):
        skip = "set_tests_properties(faults.b PROPERTIES SKIP_RETURN_CODE 77)\n"
        tests = ('add_test(faults.a true)\n'
                 'add_test(faults.b sh -c "echo skipped: no loop devices; exit 77")\n')
        done = self.count(tests + skip)
        self.assertEqual(done.stdout.strip(), "1 0 1")
        self.assertIn("skipped: faults.b: no loop devices", done.stderr)
        self.assertIn("fault tests: 1 ran, 1 could not run here", done.stderr)

    def test_output_of_a_failed_test_is_shown(self):
        self.assertIn("why", self.count('add_test(a sh -c "echo why; false")\n').stderr)

    def test_missing_results_fail(self):
        program = script_tree.ROOT / "scripts/count_tests.py"
        done = subprocess.run([sys.executable, "-B", program, self.root / "gone.xml"],
                              capture_output=True, check=False)
        self.assertEqual(done.returncode, 1)


if __name__ == "__main__":
    canary.main()
