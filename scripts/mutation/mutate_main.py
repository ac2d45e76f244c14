#!/usr/bin/env python3
"""Changes one thing of the library at a time and tells which changes no test notices."""

import argparse
import fnmatch
import os
import pathlib
import signal
import subprocess
import sys

import mutate_brackets
import mutate_judge
import mutate_mutants
import mutate_report
import mutate_results
import mutate_snapshot
import mutate_survivors

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = ROOT / "build/mutation"
RESULTS = BUILD / "results.jsonl"
SURVIVORS = ROOT / "tests/library/survivors.txt"


def sources(root):
    """The files that mutants are made of, as {path from the root: text}."""
    paths = sorted(path for folder in ("src", "include") for path in (root / folder).rglob("*")
                   if path.suffix in (".cpp", ".h"))
    if not paths:
        raise mutate_snapshot.Problem(f"{root}: no sources in src/ and include/")
    return {path.relative_to(root).as_posix(): path.read_text() for path in paths}


def all_mutants(texts):
    """The mutants of files, as a list in the order of files and places."""
    made = []
    for file, text in texts.items():
        try:
            made += mutate_mutants.mutants(file, text)
        except mutate_brackets.Unreadable as problem:
            raise mutate_snapshot.Problem(f"{file}: {problem}") from None
    return made


def parse_arguments():
    parser = argparse.ArgumentParser(prog="mutate", description=__doc__)
    parser.add_argument("--jobs", type=int, default=len(os.sched_getaffinity(0)), metavar="N",
                        help="mutants that are tried at a time (default: one per processor)")
    parser.add_argument("--file", action="append", metavar="PATTERN",
                        help="only files whose path from the root fits, such as 'src/query/*'")
    parser.add_argument("--only", action="append", metavar="ID",
                        help="only this mutant, without touching the results that are kept")
    parser.add_argument("--list", action="store_true", help="list the mutants, try none")
    parser.add_argument("--resume", action="store_true",
                        help="keep the verdicts of an earlier run on the same sources")
    parser.add_argument("--survivors", action="store_true",
                        help="as --resume, but try again what survived")
    arguments = parser.parse_args()
    if arguments.jobs < 1:
        parser.error("--jobs must be at least 1")
    return arguments


def select(mutants, arguments):
    """Those that the arguments ask for; never none."""
    if arguments.file:
        mutants = [mutant for mutant in mutants
                   if any(fnmatch.fnmatch(mutant.file, each) for each in arguments.file)]
    if arguments.only:
        unknown = set(arguments.only) - {mutant.identifier for mutant in mutants}
        if unknown:
            raise mutate_snapshot.Problem(f"no mutant {min(unknown)}; --list shows them")
        mutants = [mutant for mutant in mutants if mutant.identifier in arguments.only]
    if not mutants:
        raise mutate_snapshot.Problem("no mutants to try")
    return mutants


def kept_verdicts(mutants, results, arguments):
    """{mutant: verdict} of those that need not be tried again."""
    if arguments.only or not (arguments.resume or arguments.survivors):
        return {}
    earlier = results.earlier()
    again = {mutate_report.SURVIVED} if arguments.survivors else set()
    return {mutant: earlier[mutant.identifier] for mutant in mutants
            if earlier.get(mutant.identifier, None) not in again | {None}}


def run(arguments):
    texts = sources(ROOT)
    mutants = all_mutants(texts)
    chosen = select(mutants, arguments)
    if arguments.list:
        for mutant in chosen:
            print(mutant.identifier, mutant.change, sep="\t")
        return True
    entries = mutate_survivors.parse(SURVIVORS.read_text())
    results = mutate_results.Results(RESULTS, mutate_results.digest(texts))
    kept = kept_verdicts(chosen, results, arguments)
    rest = [mutant for mutant in chosen if mutant not in kept]
    mutate_results.tell(f"{len(mutants)} mutants, {len(rest)} to try, {len(kept)} tried before")
    progress = mutate_results.Progress(None if arguments.only else results, len(rest))
    if rest:
        judge = mutate_judge.Judge(ROOT, BUILD, texts, min(arguments.jobs, len(rest)))
        judge.prepare({mutant.file for mutant in rest}, mutate_results.tell)
        if not arguments.only:
            results.forget({mutant.identifier for mutant in rest})
        judge.run(rest, progress)
    verdicts = {mutant: kept.get(mutant) or progress.verdicts[mutant] for mutant in chosen}
    complete = {mutant.file for mutant in chosen} if not arguments.only else set()
    report = mutate_report.Report(verdicts, entries, complete)
    print(*report.lines(), sep="\n")
    return report.good


def interrupt(*_):
    raise KeyboardInterrupt


def main():
    signal.signal(signal.SIGTERM, interrupt)
    try:
        sys.exit(not run(parse_arguments()))
    except KeyboardInterrupt:
        sys.exit("mutate: interrupted; --resume goes on from here")
    except mutate_survivors.Malformed as problem:
        sys.exit(f"mutate: {SURVIVORS}:{problem}")
    except (mutate_snapshot.Problem, OSError, subprocess.SubprocessError) as problem:
        sys.exit(f"mutate: {problem}")


if __name__ == "__main__":
    main()
