#!/usr/bin/env python3
"""Which files count as the tree's own, with git and without."""

import contextlib
import io
import subprocess

import canary
import tree


class OwnFiles(canary.TreeTest):
    def git(self, *args):
        subprocess.run(["git", "-C", self.root, *args], check=True, capture_output=True)

    def test_exported_tree_is_walked_without_build_output(self):
        for name in ("a.h", "src/b.cpp", "build/dev/c.cpp", "x/__pycache__/d.py"):
            self.write(name)
        self.assertEqual(tree.own_files(self.root), ["a.h", "src/b.cpp"])

    def test_git_lists_committed_and_new_files_but_ignored_ones(self):
        self.git("init", "-q")
        for name in ("a.h", "new file.h", "out/c.cpp", "gone.h"):
            self.write(name)
        self.write(".gitignore", "/out/\n")
        self.git("add", "a.h", "gone.h")
        (self.root / "gone.h").unlink()
        self.assertEqual(tree.own_files(self.root), [".gitignore", "a.h", "new file.h"])

    def test_exported_tree_inside_another_repository_is_walked(self):
        self.git("init", "-q")
        self.write(".gitignore", "*\n")
        self.write("export/a.h")
        self.assertEqual(tree.own_files(self.root / "export"), ["a.h"])

    def test_seeing_nothing_fails(self):
        with self.assertRaises(tree.Finding):
            tree.own_files(self.root)

    def test_broken_repository_fails(self):
        self.write(".git", "gitdir: nowhere\n")
        self.write("a.h")
        with self.assertRaisesRegex(tree.Finding, "git cannot list"):
            tree.own_files(self.root)


class Select(canary.TreeTest):
    def test_by_ending_and_folder(self):
        names = ["host/a.h", "src/a.cpp", "src/a.py", "srcs/a.h"]
        self.assertEqual(tree.select(names), ["host/a.h", "src/a.cpp", "srcs/a.h"])
        self.assertEqual(tree.select(names, folders=["src"]), ["src/a.cpp"])

    def test_selecting_nothing_fails(self):
        with self.assertRaises(tree.Finding):
            tree.select(["a.py"])

    def test_what_is_no_text_is_told(self):
        self.write("a", b"\0")
        self.write("b", b"\xff\xfe")
        self.write("c", "é")
        self.assertEqual([tree.read_text(self.root, name) for name in "abc"], [None, None, "é"])


class Run(canary.TreeTest):
    def exit_code(self, check):
        output = contextlib.redirect_stdout(io.StringIO())
        with output, self.assertRaises(SystemExit) as caught:
            tree.run(check)
        return caught.exception.code

    def test_exit_codes(self):
        def broken():
            raise tree.Finding("saw nothing")

        self.assertEqual(self.exit_code(lambda: ([], "2 files")), 0)
        self.assertEqual(self.exit_code(lambda: (["a.h:1: wrong"], "2 files")), 1)
        self.assertIn("saw nothing", self.exit_code(broken))


if __name__ == "__main__":
    canary.main()
