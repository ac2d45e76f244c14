#!/usr/bin/env python3
"""Canaries for packages without a reason."""

import canary
import check_dependencies
import tree


class Dependencies(canary.TreeTest):
    def findings(self, packages, page):
        self.write(check_dependencies.LIST, packages)
        self.write(check_dependencies.PAGE, page)
        return check_dependencies.check(self.root)[0]

    PAGE = "| Package | Why |\n|---|---|\n| `g++`, `cmake` | builds, like `make` |\n"

    def test_explained_packages_pass(self):
        self.assertEqual(self.findings("# why\nbuild: g++ cmake\n", self.PAGE), [])

    def test_package_without_a_reason_fails(self):
        self.assert_one(self.findings("build: g++ cmake\ntest: git\n", self.PAGE), "git")

    def test_reason_without_a_package_fails(self):
        self.assert_one(self.findings("build: g++\n", self.PAGE), "cmake")

    def test_malformed_list_fails(self):
        with self.assertRaisesRegex(tree.Finding, "txt:1"):
            self.findings("g++ cmake\n", self.PAGE)

    def test_seeing_nothing_fails(self):
        with self.assertRaises(tree.Finding):
            self.findings("# nothing\n", self.PAGE)
        with self.assertRaises(tree.Finding):
            check_dependencies.check(self.root / "gone")


if __name__ == "__main__":
    canary.main()
