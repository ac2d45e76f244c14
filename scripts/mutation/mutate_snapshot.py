"""Keeps the tree and its build as they are when a run begins.

Neither a change of the tree nor another build then disturbs the run.
"""

import json
import pathlib
import shlex
import shutil
import subprocess

LIBRARY = "libpacketdb.so.1"
TESTS = "library_tests_so"
# Has the tests of TESTS, against the library's objects.
_SAME_TESTS = "library_tests"
_TESTS_FOLDER = "tests/library"
_FOLDERS = ("src", "include", "platform")


class Problem(Exception):
    """The run cannot be started: the build is not what it should be."""


def output_of(command, folder):
    done = subprocess.run(command, cwd=folder, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise Problem(f"{shlex.join(map(str, command))}: {done.stderr.strip() or done.stdout}")
    return done.stdout


def dependencies(listing):
    """What `ninja -t deps` says, as {object: [files]}."""
    found, files = {}, []
    for line in listing.splitlines():
        if line.startswith("    "):
            files.append(line.strip())
        elif ":" in line:
            files = found.setdefault(line.split(":")[0], [])
    return found


def link_commands(listing, objects):
    """The commands that link one of `objects`, out of those that `ninja -t commands` lists.

    As {what it makes: words}; CMake surrounds each with what it does before and after.
    """
    found = {}
    for line in listing.splitlines():
        for step in line.split(" && "):
            words = shlex.split(step)
            if "-o" in words and "-c" not in words and not objects.isdisjoint(words):
                found[words[words.index("-o") + 1]] = words
    return found


class Snapshot:
    """
    tree         a copy of the folders that the library is compiled from
    sources      {source: words of its compile command, without what it reads and writes}
    objects      {source: its object}
    users        {file: the sources that include it, or are it}
    tests        the test program that uses the shared library
    programs     the names of the test programs that are linked from the library's objects
    """

    def __init__(self, root, build, folder):
        self._root, self._build = pathlib.Path(root), pathlib.Path(build)
        self._folder = folder
        shutil.rmtree(folder, ignore_errors=True)
        self.tree = folder / "tree"
        for name in _FOLDERS:
            shutil.copytree(self._root / name, self.tree / name)
        self.tests = self._keep(f"{_TESTS_FOLDER}/{TESTS}")
        self.sources, self.objects, self._outputs = {}, {}, {}
        for entry in json.loads((self._build / "compile_commands.json").read_text()):
            source = self._name(entry["file"])
            if source.startswith("src/"):
                self._add_source(source, shlex.split(entry["command"]))
        if not self.sources:
            raise Problem("the build compiles no sources of src/")
        self._links = self._read_links()
        self.programs = sorted(set(self._links) - {LIBRARY})
        self.users = self._read_users()

    def _name(self, path):
        """A path from the root of the tree; "" outside."""
        path = pathlib.Path(path)
        return path.relative_to(self._root).as_posix() if path.is_relative_to(self._root) else ""

    def _keep(self, output):
        """A copy of a file of the build."""
        kept = self._folder / "build" / output
        kept.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(self._build / output, kept)
        return kept

    def _add_source(self, source, words):
        output = words[words.index("-o") + 1]
        for option in ("-o", "-c"):
            place = words.index(option)
            del words[place:place + 2]
        self.sources[source] = [word.replace(f"-I{self._root}", f"-I{self.tree}") for word in words]
        self.objects[source] = self._keep(output)
        self._outputs[output] = source

    def _read_links(self):
        """{name: words} of the library and the programs, with copies of what others may replace."""
        listing = output_of(["ninja", "-t", "commands"], self._build)
        links = {}
        for output, words in link_commands(listing, set(self._outputs)).items():
            folder, name = pathlib.Path(output).parent.as_posix(), pathlib.Path(output).name
            shared = "-shared" in words
            if shared or (folder == _TESTS_FOLDER and name != _SAME_TESTS):
                links[LIBRARY if shared else name] = [self._input(word, output) for word in words]
        if LIBRARY not in links:
            raise Problem("the build has no command that links the shared library")
        return links

    def _input(self, word, output):
        path = self._build / word
        if word in self._outputs or word == output or not path.is_file():
            return word
        inside = path.is_relative_to(self._build)
        return str(self._keep(path.relative_to(self._build))) if inside else word

    def _read_users(self):
        listing = dependencies(output_of(["ninja", "-t", "deps"], self._build))
        users = {}
        for output, source in self._outputs.items():
            for path in {source, *map(self._name, listing.get(output, ()))}:
                users.setdefault(path, []).append(source)
        return users

    def link_words(self, name, objects, output):
        """The command that links the library or a program, with some objects in place of its own.

        `objects` has those by source, and under other names those that come besides.
        """
        words = []
        for word in self._links[name]:
            source = self._outputs.get(word)
            words.append(str(objects.get(source, self.objects[source])) if source else word)
        words[words.index("-o") + 1] = str(output)
        return words + [str(path) for source, path in objects.items() if source not in self.sources]
