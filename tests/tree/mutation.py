"""The modules behind scripts/mutate, for their tests, and short ways to ask them."""

import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts/mutation"))

import mutate_brackets
import mutate_build
import mutate_judge
import mutate_main
import mutate_mutants
import mutate_report
import mutate_results
import mutate_snapshot
import mutate_survivors
import mutate_tokens
import mutate_trial


def mutated(text):
    """Every form that mutation gives to a file, in order."""
    return [mutant.apply(text) for mutant in mutate_mutants.mutants("a.cpp", text)]


def bodies(statements, returns="void"):
    """Every form that mutation gives to the statements of a function, each without line ends."""
    head, tail = f"{returns} F() {{\n", "\n}\n"
    found = []
    for text in mutated(head + statements + tail):
        found.append(" ".join(text[len(head):-len(tail)].split()))
    return found
