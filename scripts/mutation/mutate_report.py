"""What a run found, in numbers and lines."""

import mutate_survivors

LEAST_KILLED_PERCENT = 95
KILLED, SURVIVED, NOT_VIABLE, EQUIVALENT = "killed", "survived", "not viable", "equivalent"


class Report:
    """`verdicts` has one of the above for each mutant that was tried."""

    def __init__(self, verdicts, entries, complete_files):
        self._verdicts = verdicts
        self._reasons = mutate_survivors.reasons(entries)
        by_content = {}
        for mutant, verdict in verdicts.items():
            if mutant.file in complete_files:
                by_content.setdefault(mutant.content, set()).add(verdict)
        self._stale = list(mutate_survivors.stale(entries, by_content))

    def count(self, verdict):
        return sum(each == verdict for each in self._verdicts.values())

    @property
    def new_survivors(self):
        return [mutant for mutant, verdict in self._verdicts.items()
                if verdict == SURVIVED and mutant.content not in self._reasons]

    @property
    def percent_killed(self):
        """None when there was nothing to kill."""
        killed, survived = self.count(KILLED), self.count(SURVIVED)
        return 100 * killed / (killed + survived) if killed + survived else None

    @property
    def good(self):
        percent = self.percent_killed
        return percent is not None and percent >= LEAST_KILLED_PERCENT and not self.new_survivors

    def lines(self):
        for mutant in self.new_survivors:
            file, function, source_line, change = mutant.content
            yield f"NEW SURVIVOR {mutant.identifier}"
            yield from (f"{file}, {function}" if function else file, source_line, change, "")
        yield from (f"STALE tests/library/survivors.txt:{text}" for text in self._stale)
        new, survived = len(self.new_survivors), self.count(SURVIVED)
        percent = self.percent_killed
        yield f"mutants                    {len(self._verdicts):6}"
        yield f"not viable                 {self.count(NOT_VIABLE):6}"
        yield f"equivalent by the compiler {self.count(EQUIVALENT):6}"
        yield f"killed                     {self.count(KILLED):6}"
        yield f"survived                   {survived:6}"
        yield f"  with a reason            {survived - new:6}"
        yield f"  NEW                      {new:6}"
        yield "nothing to kill" if percent is None else f"{percent:.2f} % killed"
