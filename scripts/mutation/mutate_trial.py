"""Runs the library's tests against a library and says whether they saw anything wrong."""

import json
import os
import signal
import subprocess
import time
from typing import NamedTuple

import mutate_snapshot

# A test that takes longer than this is left for the mutants that the others did not see.
SLOW_SECONDS = 0.05

# A mutant may loop or ask for all memory there is.
_LEAST_TIMEOUT_SECONDS = 20
_TIMEOUT_FACTOR = 10
_PATIENCE_SECONDS = 3600  # with the unchanged library
_MEMORY_KILOBYTES = 4 << 20
_LIMITED = 'ulimit -c 0 && { [[ $1 == 0 ]] || ulimit -v "$1"; } && shift && exec "$@"'


class Outcome(NamedTuple):
    passed: bool
    how: str  # "failed", "crashed", "timed out"; "" when passed


class Stage(NamedTuple):
    """A selection of the tests, and how to run them."""
    name: str
    filters: tuple  # as --gtest_filter takes them; each is a process of its own
    program: str  # linked from the library's objects; "": the one that uses the shared library
    sanitized: bool
    timeout_seconds: float


def timeout_for(seconds):
    return max(_LEAST_TIMEOUT_SECONDS, _TIMEOUT_FACTOR * seconds)


def by_speed(report):
    """The names of the fast tests and of the slow ones, and the seconds that all took together,
    from GoogleTest's report."""
    seconds = {f"{suite['name']}.{test['name']}": float(test["time"].rstrip("s"))
               for suite in report["testsuites"] for test in suite["testsuite"]}
    fast = [name for name, taken in seconds.items() if taken <= SLOW_SECONDS]
    if not fast:
        raise mutate_snapshot.Problem("the tests' report names no fast tests")
    slow = sorted(set(seconds) - set(fast), key=seconds.get)
    return fast, slow, sum(seconds.values())


class Trials:
    """Runs a test program in a workshop, with the workshop's library in the place of its own."""

    def __init__(self, tests, sanitizer_library):
        self._tests = tests
        self._sanitizer_library = sanitizer_library

    def _environment(self, workshop, sanitized):
        found = {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8", "HOME": str(workshop.temporary),
                 "TMPDIR": str(workshop.temporary), "LD_LIBRARY_PATH": str(workshop.linked)}
        if sanitized:
            found["LD_PRELOAD"] = self._sanitizer_library
            found["ASAN_OPTIONS"] = "detect_leaks=1:hard_rss_limit_mb=4096"
        else:
            found["MALLOC_PERTURB_"] = "165"  # what nobody set is not 0 by chance
        return found

    def run(self, workshop, stage, *options):
        """The outcome of the first process of a stage that does not pass, if any."""
        outcome = Outcome(True, "")
        for tests in stage.filters:
            program = workshop.linked / stage.program if stage.program else self._tests
            outcome = self._run_one(workshop, stage, [
                program, "--gtest_fail_fast", f"--gtest_filter={tests}", *options])
            if not outcome.passed:
                break
        return outcome

    def _run_one(self, workshop, stage, command):
        memory = 0 if stage.sanitized else _MEMORY_KILOBYTES  # sanitizers reserve terabytes
        program = subprocess.Popen(
            ["bash", "-c", _LIMITED, "bash", str(memory), *command],
            cwd=workshop.temporary, env=self._environment(workshop, stage.sanitized),
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            start_new_session=True)
        try:
            status = program.wait(stage.timeout_seconds)
        except subprocess.TimeoutExpired:
            os.killpg(program.pid, signal.SIGKILL)
            program.wait()
            return Outcome(False, "timed out")
        if status == 0:
            return Outcome(True, "")
        return Outcome(False, "crashed" if status < 0 else "failed")

    def stages(self, workshop, programs, tell):
        """The stages of a trial, measured with the unchanged library in the workshop.

        The quickest ones first, and last the tests one by one: what the library keeps for the life
        of a process, only the first test of a process sees being made.
        """
        every = Stage("all", ("*",), "", False, _PATIENCE_SECONDS)
        report = workshop.temporary / "report.json"
        if not self.run(workshop, every, f"--gtest_output=json:{report}").passed:
            raise mutate_snapshot.Problem(
                f"the tests do not pass with the library as it is; {self._tests} shows which")
        fast, slow, seconds = by_speed(json.loads(report.read_text()))
        tell(f"{len(fast) + len(slow)} tests in {seconds:.1f} s, {len(slow)} of them slow; "
             f"besides, {' '.join(programs) or 'no other program'}")
        filters = ("-" + ":".join(slow) if slow else "*",)
        stages = [every._replace(name="fast", filters=filters)]
        stages += [every._replace(name=name, program=name) for name in programs]
        stages.append(every._replace(name="sanitized", filters=filters, sanitized=True))
        stages += [every._replace(name="slow", filters=(":".join(slow),))] if slow else []
        stages.append(every._replace(name="alone", filters=tuple(fast)))
        return [self._measured(workshop, stage) for stage in stages]

    def _measured(self, workshop, stage):
        """The stage with a timeout that suits it, once it has passed with the library as it is."""
        begin = time.monotonic()
        if not self.run(workshop, stage).passed:
            raise mutate_snapshot.Problem(
                f"the tests `{stage.name}` do not pass with the library as it is")
        return stage._replace(timeout_seconds=timeout_for(time.monotonic() - begin))
