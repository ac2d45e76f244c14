#!/usr/bin/env python3
"""Holds the layout of C++ to what clang-format makes of it. With --fix, rewrites it."""

import pathlib
import subprocess

import tree


def clang_format(program, root, names, *options):
    try:
        return subprocess.run([program, "--style=file", *options, *names], cwd=root, check=False,
                              capture_output=True, text=True)
    except OSError as problem:
        raise tree.Finding(f"clang-format does not run: {problem}") from None


def check(root, program):
    if not (pathlib.Path(root) / ".clang-format").is_file():
        raise tree.Finding(f"{root} has no .clang-format")
    names = tree.select(tree.own_files(root))
    result = clang_format(program, root, names, "--dry-run", "-Werror")
    findings = [line for line in result.stderr.splitlines() if ": error: " in line]
    if (result.returncode != 0 or result.stderr.strip()) and not findings:
        raise tree.Finding(f"clang-format failed: {result.stderr.strip()}")
    return findings, f"{len(names)} files"


def fix(root, program):
    result = clang_format(program, root, tree.select(tree.own_files(root)), "-i")
    if result.returncode != 0:
        raise tree.Finding(f"clang-format failed: {result.stderr.strip()}")


def fix_and_check(root, program):
    fix(root, program)
    return check(root, program)


if __name__ == "__main__":
    parser = tree.arguments(__doc__)
    parser.add_argument("--clang-format", default="clang-format", help="the program to use")
    parser.add_argument("--fix", action="store_true", help="rewrite the files")
    chosen = parser.parse_args()
    tree.run(fix_and_check if chosen.fix else check, chosen.root, chosen.clang_format)
