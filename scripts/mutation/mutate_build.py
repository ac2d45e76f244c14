"""Compiles mutants and links each into a library of its own, beside the tree."""

import shutil
import subprocess

import mutate_snapshot

COMPILE_TIMEOUT_SECONDS = 300
SANITIZERS = ("-fsanitize=address,undefined", "-fno-sanitize-recover=all")


class LinkFailure(mutate_snapshot.Problem):
    """Objects that do not make a whole."""


class Workshop:
    """A folder in which one mutant at a time is made."""

    def __init__(self, snapshot, folder):
        self._snapshot = snapshot
        self._folder = folder
        shutil.rmtree(folder, ignore_errors=True)
        for name in ("tree", "objects", "sanitized", "linked", "temporary"):
            (folder / name).mkdir(parents=True)
        self.linked = folder / "linked"
        self.temporary = folder / "temporary"

    def put(self, file, text):
        """Puts a changed file in front of the tree's own."""
        shutil.rmtree(self._folder / "tree")
        path = self._folder / "tree" / file
        path.parent.mkdir(parents=True)
        path.write_text(text)

    def compile(self, source, sanitized=False):
        """The object of a source with the changed file in place; None when it does not compile."""
        own = self._folder / "tree" / source
        folder = self._folder / ("sanitized" if sanitized else "objects")
        output = folder / (source.replace("/", "-") + ".o")
        first, *others = self._snapshot.sources[source]
        command = [first, f"-I{self._folder / 'tree'}", f"-I{self._folder / 'tree/include'}",
                   *others, "-w", *(SANITIZERS if sanitized else ()), "-o", output, "-c",
                   own if own.exists() else self._snapshot.tree / source]
        try:
            done = subprocess.run(command, cwd=self._folder, capture_output=True, check=False,
                                  timeout=COMPILE_TIMEOUT_SECONDS)
        except subprocess.TimeoutExpired:
            return None
        return output if done.returncode == 0 else None

    def compile_users(self, file):
        """The objects that a changed file goes into; None when one does not compile."""
        objects = {}
        for source in self._snapshot.users.get(file, ()):
            objects[source] = self.compile(source)
            if objects[source] is None:
                return None
        return objects

    def differing(self, objects):
        """Those objects that are not what the unchanged tree gives."""
        return {source: path for source, path in objects.items()
                if path.read_bytes() != self._snapshot.objects[source].read_bytes()}

    def compile_alone(self, name, text):
        """The object of a text of its own, to be linked besides the library's."""
        path = self._folder / f"{name}.cpp"
        path.write_text(text)
        words = next(iter(self._snapshot.sources.values()))
        output = path.with_suffix(".o")
        mutate_snapshot.output_of([*words, "-o", output, "-c", path], self._folder)
        return output

    def link(self, name, objects, sanitized=False):
        """Links the library, or a program, with these objects in the place of the tree's.

        `objects` may hold others besides: those are added.
        """
        words = self._snapshot.link_words(name, objects, self.linked / name)
        done = subprocess.run([*words, *(SANITIZERS if sanitized else ())], cwd=self._folder,
                              capture_output=True, text=True, check=False)
        if done.returncode != 0:
            raise LinkFailure(f"{name} cannot be linked: {done.stderr.strip()}")
