#!/usr/bin/env python3
"""How branches of real programs are counted over several objects."""

import json
import shutil
import subprocess
import sys

import canary
import script_tree

HEADER = """inline int sign(int a) {
  return a < 0 ? -1 : 1;
}
"""
NEGATIVE = '#include "sign.h"\nint negative() { return sign(-1); }\n'
POSITIVE = '#include "sign.h"\nint negative();\nint main() { return negative() + sign(%s); }\n'


class BranchCounts(canary.TreeTest):
    def setUp(self):
        super().setUp()
        self.write("our/sign.h", HEADER)
        script = script_tree.ROOT / "scripts/branch_counts.py"
        shutil.copy(script, self.write("scripts/branch_counts.py"))

    def build(self, *sources):
        """Runs a program of these sources, each an object of its own, whose branches count."""
        folder = self.root / "build"
        folder.mkdir()
        names = [self.write(f"our/{number}.cpp", text) for number, text in enumerate(sources)]
        subprocess.run(["g++", "--coverage", *names, "-o", "program"], cwd=folder, check=True)
        subprocess.run([folder / "program"], check=False)

    def counts(self, *options):
        """The counts of the branches by file and line."""
        program = self.root / "scripts/branch_counts.py"
        done = subprocess.run([sys.executable, "-B", program, self.root / "build", *options],
                              capture_output=True, text=True, check=True)
        return {(file["file"], line["line_number"]): [each["count"] for each in line["branches"]]
                for file in json.loads(done.stdout)["files"] for line in file["lines"]}

    def test_copies_of_an_inline_function_are_summed(self):
        self.build(NEGATIVE, POSITIVE % 1)
        self.assertEqual(self.counts("our"), {("our/sign.h", 2): [1, 1]})

    def test_branch_that_no_copy_took_is_zero(self):
        self.build(NEGATIVE, POSITIVE % -1)
        self.assertEqual(sorted(self.counts("our")["our/sign.h", 2]), [0, 2])

    def test_other_folders_and_what_is_excluded_do_not_count(self):
        self.build(NEGATIVE, POSITIVE % 1)
        self.assertEqual(self.counts("others"), {})
        self.assertEqual(self.counts("our", "sign"), {})


if __name__ == "__main__":
    canary.main()
