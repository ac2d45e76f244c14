#!/usr/bin/env python3
"""What scripts/mutate promises, with stand-ins for the programs that it calls."""

import canary
import script_tree


class Mutate(script_tree.ScriptTest):
    def setUp(self):
        super().setUp()
        self.write("src/a.cpp", "int F(int a) { return a + 1; }\n")
        self.write("include/a.h")
        self.write("tests/library/survivors.txt", "# None.\n")

    def refused(self, *args):
        done = self.call("scripts/mutate", *args)
        self.assertNotEqual(done.returncode, 0)
        self.assertNotIn("Traceback", done.stderr)
        return done.stderr.splitlines()[-1]

    def test_list_builds_nothing(self):
        done = self.call("scripts/mutate", "--list")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(done.stdout.splitlines(), [
            "src/a.cpp:1:23:1\treturn {} instead", "src/a.cpp:1:25:1\t+ to -",
            "src/a.cpp:1:27:1\t1 to 0", "src/a.cpp:1:27:2\t1 to 2"])
        self.assertEqual(self.calls(), [])

    def test_list_of_some_files(self):
        self.write("src/b/c.cpp", "bool kB = true;\n")
        done = self.call("scripts/mutate", "--list", "--file", "src/b/*")
        self.assertEqual({line.split(":")[0] for line in done.stdout.splitlines()}, {"src/b/c.cpp"})

    def test_run_builds_first(self):
        self.refused()  # the stand-ins build nothing
        self.assertEqual([call.split(" --parallel")[0] for call in self.calls("cmake")],
                         ["cmake --preset mutation", "cmake --build --preset mutation"])

    def test_no_mutants_are_refused(self):
        self.assertEqual(self.refused("--file", "src/b.cpp"), "mutate: no mutants to try")

    def test_unknown_mutant_is_refused(self):
        self.assertIn("no mutant src/a.cpp:9:9:9", self.refused("--only", "src/a.cpp:9:9:9"))

    def test_unreadable_source_is_named(self):
        self.write("src/a.cpp", "int F() {\n")
        self.assertIn("src/a.cpp: `{` is never closed", self.refused())

    def test_malformed_list_is_named(self):
        self.write("tests/library/survivors.txt", "src/a.cpp\n")
        self.assertIn("survivors.txt:1: an entry", self.refused())

    def test_no_jobs_are_refused(self):
        self.assertIn("--jobs", self.refused("--jobs", "0"))

    def test_missing_build_is_told(self):
        self.assertTrue(self.refused().startswith("mutate: "))


if __name__ == "__main__":
    canary.main()
