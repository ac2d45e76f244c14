"""What every check of the tree shares: where the tree is, which files are its own, how it reports.

A check prints one line per finding, `path:line: what is wrong`, and fails when there is one. It
also fails when it had nothing to look at: a check that sees nothing proves nothing.
"""

import argparse
import os
import pathlib
import subprocess
import sys

# Folders that an exported tree (one without .git) may hold besides its own files.
NOT_OURS = {"build", ".git", "__pycache__"}

CODE_SUFFIXES = (".h", ".cpp")


class Finding(Exception):
    """The check itself cannot work: no files, no symbols, a tool that failed."""


def own_files(root):
    """The tree's own files, committed or new but not ignored: sorted paths from the root."""
    root = pathlib.Path(root)
    names = _git_files(root) if (root / ".git").exists() else _walk_files(root)
    names = sorted(name for name in names if (root / name).is_file())
    if not names:
        raise Finding(f"{root}: no files to look at")
    return names


def _git_files(root):
    # A container often mounts the tree under another owner, which git refuses unless told not to.
    command = ["git", "-c", "safe.directory=*", "-C", str(root), "ls-files", "-coz",
               "--exclude-standard"]
    listing = subprocess.run(command, capture_output=True, text=True, check=False)
    if listing.returncode != 0:
        raise Finding(f"git cannot list {root}: {listing.stderr.strip()}")
    return set(filter(None, listing.stdout.split("\0")))


def _walk_files(root):
    found = set()
    for folder, folders, files in os.walk(root):
        folders[:] = [name for name in folders if name not in NOT_OURS]
        found.update((pathlib.Path(folder) / name).relative_to(root).as_posix() for name in files)
    return found


def select(names, suffixes=CODE_SUFFIXES, folders=None):
    """The names that end in one of `suffixes`, in one of `folders` if given. Never nothing."""
    chosen = [name for name in names if name.endswith(tuple(suffixes))
              and (folders is None or name.split("/")[0] in folders)]
    if not chosen:
        raise Finding(f"no {' or '.join(suffixes)} files to look at")
    return chosen


def read_text(root, name):
    """The text of a file, line ends untouched; None for a file that is not text."""
    data = (pathlib.Path(root) / name).read_bytes()
    if b"\0" in data:
        return None
    try:
        return data.decode("utf-8")
    except UnicodeDecodeError:
        return None


def arguments(description):
    """A parser with the option that every check has."""
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("--root", default=pathlib.Path(__file__).resolve().parents[2],
                        help="the tree to check (default: the one this program is in)")
    return parser


def run(check, *args):
    """Runs a check that returns (findings, what it looked at); prints; exits 0 or 1."""
    try:
        findings, looked_at = check(*args)
    except Finding as problem:
        sys.exit(f"{pathlib.Path(sys.argv[0]).name}: {problem}")
    print(*findings, sep="\n", end="\n" if findings else "")
    print(f"{len(findings)} findings in {looked_at}")
    sys.exit(1 if findings else 0)
