#!/usr/bin/env python3
"""Mutants of a library of a few lines, tried for real: compiled, linked and tested."""

import json
import shutil
import subprocess
import unittest

import canary
import mutation

HEADER = "#pragma once\ninline int Twice(int a) { return a * 2; }\n"
SOURCE = """#include "src/twice.h"
struct Held { int* volatile number; };
extern "C" int Value(int a) {
  Held held{new int(Twice(a))};
  const int value = *held.number;
  delete held.number;
  const char* unseen = "unseen";
  (void)unseen;
  return value > 6 ? 6 : value;
}
"""
# Behaves like a program of GoogleTest, as far as a trial asks.
TESTS = """#include <cstdio>
#include <cstring>
#include <unistd.h>
extern "C" int Value(int a);
int main(int argc, char** argv) {
  bool slow = true, fast = true, alone = false;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--gtest_filter=-A.Slow") == 0) slow = false;
    if (std::strcmp(argv[i], "--gtest_filter=A.Slow") == 0) fast = false;
    if (std::strcmp(argv[i], "--gtest_filter=A.Fast") == 0) alone = !(slow = false);
    if (std::strncmp(argv[i], "--gtest_output=json:", 20) != 0) continue;
    std::FILE* report = std::fopen(argv[i] + 20, "w");
    std::fputs("{\\"testsuites\\": [{\\"name\\": \\"A\\", \\"testsuite\\": ["
               "{\\"name\\": \\"Fast\\", \\"time\\": \\"0s\\"},"
               "{\\"name\\": \\"Slow\\", \\"time\\": \\"2s\\"}]}]}", report);
    std::fclose(report);
  }
  return (fast && Value(1) != 2) || (slow && Value(5) != 6) || (alone && Value(30) != 6);
}
"""
DIRECT_TESTS = 'extern "C" int Value(int a);\nint main() { return Value(20) != 6; }\n'
NINJA = """rule compile
  command = {cxx} -I{root} -O2 -fPIC -MD -MF $out.d -o $out -c $in
  depfile = $out.d
  deps = gcc
rule link
  command = : && {cxx} -shared -Wl,-soname,libpacketdb.so.1 -o $out $in && :
rule tests
  command = {cxx} -o $out $in -Lsrc -l:libpacketdb.so.1 -Wl,-rpath,{root}/build/src
rule direct
  command = {cxx} -o $out $in
build src/value.o: compile ../src/value.cpp
build src/libpacketdb.so.1: link src/value.o
build tests/library/library_tests_so: tests ../tests.cpp | src/libpacketdb.so.1
build tests/library/direct_tests: direct ../direct.cpp src/value.o
"""


def quoted(path):
    return str(path).replace(" ", "\\ ")


class TrialTest(canary.TreeTest):
    def setUp(self):
        super().setUp()
        self.texts = {"src/twice.h": HEADER, "src/value.cpp": SOURCE}
        for name, text in {**self.texts, "tests.cpp": TESTS, "direct.cpp": DIRECT_TESTS,
                           "include/a.h": "", "platform/b.h": "",
                           "build/tests/library/place": ""}.items():
            self.write(name, text)
        self.build = self.root / "build"
        self.words = [shutil.which("g++"), f"-I{self.root}", "-O2", "-fPIC", "-o",
                      "src/value.o", "-c", str(self.root / "src/value.cpp")]
        entry = {"file": self.words[-1], "command": " ".join(map(quoted, self.words))}
        self.write("build/compile_commands.json", json.dumps([entry]))
        self.write("build/build.ninja", NINJA.format(
            cxx=self.words[0], root=quoted(self.root)))

    def judge(self):
        """A judge of the tree once it is built, with its proofs done."""
        done = subprocess.run(["ninja"], cwd=self.build, capture_output=True, text=True,
                              check=False)
        self.assertEqual(done.returncode, 0, done.stdout)
        judge = mutation.mutate_judge.Judge(self.root, self.build, self.texts, 2)
        judge.prepare(self.texts, lambda text: None)
        return judge

    def verdicts(self, mutants):
        found = {}
        self.judge().run(mutants, lambda mutant, verdict, how, seconds: found.update(
            {mutant: (verdict, how)}))
        return found


class Trials(TrialTest):
    def mutants(self, *wanted):
        """The last mutant of each (file, change, piece of the source line)."""
        made = [mutant for file, text in self.texts.items()
                for mutant in mutation.mutate_mutants.mutants(file, text)]
        return [next(mutant for mutant in reversed(made)
                     if (mutant.file, mutant.change) == (file, change)
                     and piece in mutant.source_line) for file, change, piece in wanted]

    def test_verdicts(self):
        expected = {
            ("src/value.cpp", "return {} instead", ""): ("killed", "fast: failed"),
            ("src/value.cpp", "> to <=", ""): ("killed", "fast: failed"),
            ("src/twice.h", "2 to 3", ""): ("killed", "fast: failed"),
            ("src/value.cpp", "drop the initial value", "Held"): ("killed", "fast: crashed"),
            ("src/value.cpp", "drop the statement", "delete"): ("killed", "sanitized: failed"),
            ("src/value.cpp", "> to >=", ""): ("equivalent", ""),
            ("src/value.cpp", "append ~ to the text", "unseen"): ("equivalent", ""),
            ("src/value.cpp", "6 to 7", "value > 6"): ("killed", "direct_tests: failed"),
        }
        mutants = self.mutants(*expected)
        found = self.verdicts(mutants)
        for mutant, (wanted, outcome) in zip(mutants, expected.items(), strict=True):
            self.assertEqual(found[mutant], outcome, wanted)

    def test_what_does_not_compile_is_not_viable(self):
        mutant = self.mutants(("src/value.cpp", "return {} instead", ""))[0]
        mutant = mutant._replace(replacement="nowhere")
        self.assertEqual(self.verdicts([mutant])[mutant], ("not viable", ""))

    def test_what_no_test_sees_survives(self):
        mutant = self.mutants(("src/value.cpp", "return {} instead", ""))[0]
        mutant = mutant._replace(replacement="a == 9 ? 0 : value > 6 ? 6 : value")
        self.assertEqual(self.verdicts([mutant])[mutant], ("survived", ""))

    def test_every_stage_sees_what_others_miss(self):
        made = self.mutants(("src/value.cpp", "return {} instead", ""))[0]
        for argument, stage in ((5, "slow"), (20, "direct_tests"), (30, "alone")):
            mutant = made._replace(replacement=f"a == {argument} ? 0 : value > 6 ? 6 : value")
            self.assertEqual(self.verdicts([mutant])[mutant], ("killed", f"{stage}: failed"))

    def test_what_does_not_link_is_not_viable(self):
        made = self.mutants(("src/value.cpp", "return {} instead", ""))[0]
        mutant = made._replace(
            replacement="a; } [[gnu::visibility(\"hidden\")]] int N(); int M() { return N()")
        self.assertEqual(self.verdicts([mutant])[mutant][0], "not viable")

    def test_tree_is_left_as_it_is(self):
        mutants = self.mutants(("src/value.cpp", "> to <=", ""), ("src/twice.h", "2 to 3", ""))
        self.verdicts(mutants)
        for name, text in self.texts.items():
            self.assertEqual((self.root / name).read_text(), text)


class Proofs(TrialTest):
    def assert_refused(self, *parts):
        with self.assertRaises(mutation.mutate_snapshot.Problem) as caught:
            self.judge()
        for part in parts:
            self.assertIn(part, str(caught.exception))

    def test_failing_tests_are_refused(self):
        self.write("tests.cpp", TESTS.replace("!= 2", "!= 3"))
        self.assert_refused("do not pass with the library as it is")

    def test_tests_that_load_another_library_are_refused(self):
        path = self.build / "build.ninja"
        path.write_text(path.read_text().replace("-Wl,-rpath", "-Wl,--disable-new-dtags,-rpath"))
        self.assert_refused("pass with an empty library")

    def test_objects_that_come_out_otherwise_are_refused(self):
        self.words[2] = "-O0"
        entry = {"file": self.words[-1], "command": " ".join(map(quoted, self.words))}
        self.write("build/compile_commands.json", json.dumps([entry]))
        self.assert_refused("src/value.cpp", "gives something else")

    def test_header_that_nothing_includes_is_refused(self):
        self.texts["include/a.h"] = ""
        self.assert_refused("include/a.h: the library does not include it")

    def test_build_without_a_library_is_refused(self):
        self.write("build/build.ninja", (self.build / "build.ninja").read_text().replace(
            "-shared -Wl,", "-Wl,-shared,"))
        self.assert_refused("no command that links the shared library")

    def test_build_without_sources_is_refused(self):
        self.write("build/compile_commands.json", "[]")
        self.assert_refused("no sources")


class Pieces(unittest.TestCase):
    def test_slow_tests_are_those_over_the_limit(self):
        report = {"testsuites": [{"name": "A", "testsuite": [
            {"name": "B", "time": "0.001s"}, {"name": "C", "time": "2s"},
            {"name": "D", "time": "0.5s"}]}]}
        fast, slow, seconds = mutation.mutate_trial.by_speed(report)
        self.assertEqual((fast, slow), (["A.B"], ["A.D", "A.C"]))
        self.assertAlmostEqual(seconds, 2.501)

    def test_report_without_tests_is_refused(self):
        with self.assertRaises(mutation.mutate_snapshot.Problem):
            mutation.mutate_trial.by_speed({"testsuites": []})

    def test_timeout_is_generous(self):
        self.assertEqual(mutation.mutate_trial.timeout_for(0.1), 20)
        self.assertEqual(mutation.mutate_trial.timeout_for(30), 300)

    def test_dependencies_of_objects(self):
        listing = "a.o: #deps 2, deps mtime 1 (VALID)\n    /x y/a.cpp\n    b.h\n\nc.o: #deps 0\n"
        self.assertEqual(mutation.mutate_snapshot.dependencies(listing),
                         {"a.o": ["/x y/a.cpp", "b.h"], "c.o": []})

    def test_link_commands_are_found_among_others(self):
        listing = ("c++ -o a.o -c a.cpp\nc++ -o b c.o\n"
                   ": && c++ -shared -o 'l 1.so' a.o && ln -s 'l 1.so' l.so\n")
        self.assertEqual(mutation.mutate_snapshot.link_commands(listing, {"a.o"}),
                         {"l 1.so": ["c++", "-shared", "-o", "l 1.so", "a.o"]})


if __name__ == "__main__":
    canary.main()
