"""Tries mutants: builds each, runs the tests and says what became of it."""

import concurrent.futures
import os
import queue
import time

import mutate_build
import mutate_report
import mutate_snapshot
import mutate_trial

_LOAD = "namespace {{ [[gnu::constructor]] void Load() {{ {} }} }}\n"
_ABORTS = _LOAD.format("__builtin_abort();")
_LEAKS = _LOAD.format(
    "for (int i = 0; i < 100; ++i) { char* volatile lost = new char[64]; lost[0] = 1; }")


class Judge:
    """Tries mutants, in as many workshops as jobs."""

    def __init__(self, root, build, texts, jobs):
        """`root` is the tree, `build` where the preset mutation built it."""
        self._texts = texts
        self._snapshot = mutate_snapshot.Snapshot(root, build, build / "snapshot")
        compiler = next(iter(self._snapshot.sources.values()))[0]
        library = mutate_snapshot.output_of([compiler, "-print-file-name=libasan.so"], build)
        library = library.strip()
        if not os.path.isabs(library):
            raise mutate_snapshot.Problem(f"{compiler} has no libasan.so")
        self._trials = mutate_trial.Trials(self._snapshot.tests, library)
        self._workshops = [mutate_build.Workshop(self._snapshot, build / f"workshop-{number}")
                           for number in range(jobs)]
        self._stages = []

    def prepare(self, files, tell):
        """Measures the tests, and proves that they see what is broken and nothing else.

        `files` are those to be mutated: compiling them again must give the same objects.
        """
        unused = sorted(file for file in files if not self._snapshot.users.get(file))
        if unused:
            raise mutate_snapshot.Problem(f"{unused[0]}: the library does not include it")
        shop = self._workshops[0]
        for name in (mutate_snapshot.LIBRARY, *self._snapshot.programs):
            shop.link(name, {})
        self._stages = self._trials.stages(shop, self._snapshot.programs, tell)
        self._prove_broken(shop)
        for source in sorted({user for file in files for user in self._snapshot.users[file]}):
            shop.put(source, self._texts[source])
            objects = {source: shop.compile(source)}
            if objects[source] is None or shop.differing(objects):
                raise mutate_snapshot.Problem(f"{source}: compiling it again gives something else")
        tell("the tests pass with the library as it is and fail with broken ones")

    def _prove_broken(self, shop):
        library = shop.linked / mutate_snapshot.LIBRARY
        library.unlink()
        library.write_bytes(b"")
        self._must_fail(shop, self._stages[0], "an empty library")
        aborts = {"": shop.compile_alone("aborts", _ABORTS)}
        leaks = {"": shop.compile_alone("leaks", _LEAKS)}
        for stage in self._stages:
            shop.link(stage.program or mutate_snapshot.LIBRARY, aborts, stage.sanitized)
            self._must_fail(shop, stage, "a library that aborts")
            if stage.sanitized:
                shop.link(mutate_snapshot.LIBRARY, leaks, stage.sanitized)
                self._must_fail(shop, stage, "a library that leaks")

    def _must_fail(self, shop, stage, what):
        if self._trials.run(shop, stage).passed:
            raise mutate_snapshot.Problem(f"the tests `{stage.name}` pass with {what}")

    def judge(self, shop, mutant):
        """The verdict on a mutant, and which tests saw it how."""
        shop.put(mutant.file, mutant.apply(self._texts[mutant.file]))
        objects = shop.compile_users(mutant.file)
        if objects is None:
            return mutate_report.NOT_VIABLE, ""
        objects = shop.differing(objects)
        if not objects:
            return mutate_report.EQUIVALENT, ""
        try:
            return self._try_stages(shop, objects)
        except mutate_build.LinkFailure:
            return mutate_report.NOT_VIABLE, "does not link"

    def _try_stages(self, shop, objects):
        linked = None
        for stage in self._stages:
            if linked != (stage.program, stage.sanitized):
                self._link(shop, stage, objects)
                linked = (stage.program, stage.sanitized)
            outcome = self._trials.run(shop, stage)
            if not outcome.passed:
                return mutate_report.KILLED, f"{stage.name}: {outcome.how}"
        return mutate_report.SURVIVED, ""

    @staticmethod
    def _link(shop, stage, objects):
        if stage.sanitized:  # what the sanitizers refuse to compile is tried as it is
            objects = {source: shop.compile(source, sanitized=True) or path
                       for source, path in objects.items()}
        shop.link(stage.program or mutate_snapshot.LIBRARY, objects, stage.sanitized)

    def run(self, mutants, done):
        """Judges them all; calls done(mutant, verdict, how, seconds) for each as it is known."""
        free = queue.SimpleQueue()
        for shop in self._workshops:
            free.put(shop)

        def one(mutant):
            shop, begin = free.get(), time.monotonic()
            try:
                return mutant, *self.judge(shop, mutant), time.monotonic() - begin
            finally:
                free.put(shop)

        pool = concurrent.futures.ThreadPoolExecutor(len(self._workshops))
        try:
            for future in concurrent.futures.as_completed([pool.submit(one, mutant)
                                                           for mutant in mutants]):
                done(*future.result())
        finally:
            pool.shutdown(cancel_futures=True)
