"""Keeps the verdicts of a run, for its report and for runs to come."""

import hashlib
import json
import time

import mutate_report

PROGRESS_EVERY = 50


def tell(text):
    print(text, flush=True)


def digest(texts):
    """Tells one state of the sources from another."""
    whole = json.dumps(sorted(texts.items()))
    return hashlib.sha256(whole.encode()).hexdigest()[:16]


class Results:
    """The verdicts of this run and of earlier ones, in a file of one line each."""

    def __init__(self, path, state):
        self._path = path
        self._state = state
        lines = path.read_text().splitlines() if path.exists() else []
        self._rows = [row for row in map(self._parse, lines) if row is not None]

    def _parse(self, line):
        try:
            row = json.loads(line)
        except json.JSONDecodeError:
            return None  # an interrupted run may leave half a line
        return row if row["state"] == self._state else None

    def earlier(self):
        """{identifier: verdict} of the mutants that were tried on today's sources."""
        return {row["id"]: row["verdict"] for row in self._rows}

    def forget(self, identifiers):
        self._rows = [row for row in self._rows if row["id"] not in identifiers]
        self._path.write_text("".join(json.dumps(row) + "\n" for row in self._rows))

    def add(self, mutant, verdict, how, seconds):
        row = {"id": mutant.identifier, "state": self._state, "verdict": verdict, "how": how,
               "change": mutant.change, "seconds": round(seconds, 2)}
        with self._path.open("a") as file:
            file.write(json.dumps(row) + "\n")


class Progress:
    """Keeps each verdict as it comes and says now and then how far it is."""

    def __init__(self, results, total):
        self._results = results
        self._total = total
        self._begin = time.monotonic()
        self._seconds = 0.0
        self.verdicts = {}

    def __call__(self, mutant, verdict, how, seconds):
        self.verdicts[mutant] = verdict
        self._seconds += seconds
        if self._results is not None:
            self._results.add(mutant, verdict, how, seconds)
        if verdict == mutate_report.SURVIVED or self._results is None:
            tell(f"{mutant.identifier}: {mutant.change}: {verdict} {how}".rstrip())
        if len(self.verdicts) % PROGRESS_EVERY == 0 or len(self.verdicts) == self._total:
            minutes = (time.monotonic() - self._begin) / 60
            each = self._seconds / len(self.verdicts)
            tell(f"{len(self.verdicts)} of {self._total} in {minutes:.1f} min, "
                 f"{each:.1f} s of one job each")
