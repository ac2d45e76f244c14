#!/usr/bin/env python3
"""Canaries for the layout of C++."""

import os

import canary
import check_format
import tree

PROGRAM = os.environ.get("CLANG_FORMAT", "clang-format")


class Format(canary.TreeTest):
    def setUp(self):
        super().setUp()
        self.write(".clang-format", "BasedOnStyle: Google\nColumnLimit: 100\n")
        self.write("src/a.cpp", "int a;\n")

    def findings(self):
        return check_format.check(self.root, PROGRAM)[0]

    def test_formatted_code_passes(self):
        self.assertEqual(self.findings(), [])

    def test_unformatted_code_fails(self):
        self.write("host/b.h", "int   b;\n")
        self.assert_one(self.findings(), "host/b.h:1:")

    def test_fix_rewrites(self):
        path = self.write("host/b.h", "int   b;\n")
        check_format.fix(self.root, PROGRAM)
        self.assertEqual(path.read_text(), "int b;\n")

    def test_missing_rules_fail(self):
        (self.root / ".clang-format").unlink()
        with self.assertRaisesRegex(tree.Finding, "no .clang-format"):
            self.findings()

    def test_missing_program_fails(self):
        with self.assertRaisesRegex(tree.Finding, "does not run"):
            check_format.check(self.root, str(self.root / "gone"))

    def test_unreadable_rules_fail(self):
        self.write(".clang-format", "Nonsense: 3\n")
        self.assert_one(self.findings(), "unknown key")

    def test_seeing_nothing_fails(self):
        (self.root / "src/a.cpp").unlink()
        with self.assertRaises(tree.Finding):
            self.findings()


if __name__ == "__main__":
    canary.main()
