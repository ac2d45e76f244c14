#!/usr/bin/env python3
"""The list of survivors, and what a report makes of it."""

import unittest

import canary
import mutation

LIST = """# Comment.
a.cpp, F
x = a < b;
7: < to <=
7: < to >=
  Nobody can tell
  them apart.

b.h
constexpr int kA = 1;
20: 1 to 2
  Only a bound, which nothing reaches.
"""


def parse(text):
    return mutation.mutate_survivors.parse(text)


class Lists(unittest.TestCase):
    def test_entries(self):
        first, second = parse(LIST)
        self.assertEqual(first.contents, (("a.cpp", "F", "x = a < b;", "7: < to <="),
                                          ("a.cpp", "F", "x = a < b;", "7: < to >=")))
        self.assertEqual(first.reason, "Nobody can tell them apart.")
        self.assertEqual(second.contents[0][:2], ("b.h", ""))
        self.assertEqual((first.number, second.number), (2, 9))

    def test_list_without_entries(self):
        self.assertEqual(parse("# Nothing yet.\n"), [])

    def assert_malformed(self, text, *parts):
        with self.assertRaises(mutation.mutate_survivors.Malformed) as caught:
            mutation.mutate_survivors.reasons(parse(text))
        for part in parts:
            self.assertIn(part, str(caught.exception))

    def test_entry_without_a_reason_is_refused(self):
        self.assert_malformed("\na.cpp, F\nx;\n1: drop the statement\n", "2:", "reason")
        self.assert_malformed("a.cpp, F\nx;\n1: drop the statement\n  Just so.\n", "1:", "reason")

    def test_entry_without_changes_is_refused(self):
        self.assert_malformed("a.cpp, F\nx;\n  Nobody can tell.\n", "1:", "changes")
        self.assert_malformed("a.cpp, F\nx;\ndrop it\n  Nobody can tell.\n", "not `drop it`")
        self.assert_malformed("a.cpp, F\n", "source line")

    def test_entry_given_twice_is_refused(self):
        self.assert_malformed(LIST + "\n" + LIST, "before")

    def test_list_of_the_tree_names_mutants_of_the_tree(self):
        main = mutation.mutate_main
        contents = {mutant.content for mutant in main.all_mutants(main.sources(main.ROOT))}
        for entry in parse(main.SURVIVORS.read_text()):
            self.assertEqual(set(entry.contents) - contents, set(), f"line {entry.number}")


class Reports(unittest.TestCase):
    def setUp(self):
        self.mutants = mutation.mutate_mutants.mutants("a.cpp", "void F() {\n  x = a < b;\n}\n")
        self.assertEqual([mutant.change for mutant in self.mutants],
                         ["drop the statement", "< to <=", "< to >="])

    def report(self, *verdicts, text=""):
        return mutation.mutate_report.Report(
            dict(zip(self.mutants, verdicts, strict=True)), parse(text), {"a.cpp"})

    def test_all_killed_is_good(self):
        report = self.report("killed", "not viable", "equivalent")
        self.assertTrue(report.good)
        self.assertIn("100.00 % killed", list(report.lines()))

    def test_new_survivor_is_not(self):
        report = self.report("killed", "killed", "survived")
        self.assertFalse(report.good)
        self.assertIn("NEW SURVIVOR a.cpp:2:9:2", list(report.lines()))
        self.assertIn("66.67 % killed", list(report.lines()))

    def test_new_survivor_is_shown_as_the_list_wants_it(self):
        lines = list(self.report("killed", "killed", "survived").lines())
        place = lines.index("a.cpp, F")
        block = "\n".join(lines[place:place + 3]) + "\n  For a good reason.\n"
        self.assertTrue(mutation.mutate_report.Report(
            dict.fromkeys(self.mutants[:2], "killed") | {self.mutants[2]: "survived"},
            parse(block), {"a.cpp"}).new_survivors == [])

    def test_too_few_killed_is_not_good(self):
        report = self.report("killed", "survived", "survived", text=LIST)
        self.assertEqual(report.new_survivors, [])
        self.assertFalse(report.good)

    def test_enough_killed_with_reasons_is_good(self):
        many = {self.mutants[0]._replace(number=number): "killed" for number in range(19)}
        report = mutation.mutate_report.Report(many | {self.mutants[1]: "survived"}, parse(LIST),
                                               {"a.cpp"})
        self.assertEqual(report.percent_killed, 95)
        self.assertTrue(report.good)

    def test_nothing_to_kill_is_not_good(self):
        self.assertFalse(self.report("not viable", "equivalent", "equivalent").good)

    def test_stale_entries_are_told(self):
        lines = list(self.report("killed", "killed", "killed", text=LIST).lines())
        stale = [line for line in lines if line.startswith("STALE")]
        self.assertEqual(len(stale), 2)
        self.assertIn("survivors.txt:2: no longer survives", stale[0])

    def test_entry_of_a_mutant_that_is_gone_is_stale(self):
        text = LIST.replace("x = a < b;", "x = a < c;")
        lines = list(self.report("killed", "killed", "killed", text=text).lines())
        self.assertIn("no such mutant", next(line for line in lines if line.startswith("STALE")))

    def test_entries_of_files_that_were_not_tried_are_not_stale(self):
        report = mutation.mutate_report.Report({self.mutants[0]: "killed"}, parse(LIST), set())
        self.assertFalse([line for line in report.lines() if line.startswith("STALE")])


class Results(canary.TreeTest):
    def test_verdicts_are_kept_for_the_same_sources_only(self):
        mutant = mutation.mutate_mutants.mutants("a.cpp", "void F() { return; }")[0]
        mutation.mutate_results.Results(self.root / "r", "one").add(mutant, "killed", "fast", 1)
        for state, expected in (("one", {mutant.identifier: "killed"}), ("two", {})):
            results = mutation.mutate_results.Results(self.root / "r", state)
            self.assertEqual(results.earlier(), expected)

    def test_half_a_line_is_forgotten(self):
        self.write("r", '{"id": "a", "state": "one", "verdict": "killed"}\n{"id": "b", "st')
        results = mutation.mutate_results.Results(self.root / "r", "one")
        self.assertEqual(results.earlier(), {"a": "killed"})

    def test_verdicts_that_are_to_be_found_anew_are_dropped(self):
        self.write("r", "".join(f'{{"id": "{name}", "state": "one", "verdict": "killed"}}\n'
                                for name in "ab"))
        mutation.mutate_results.Results(self.root / "r", "one").forget({"a"})
        results = mutation.mutate_results.Results(self.root / "r", "one")
        self.assertEqual(results.earlier(), {"b": "killed"})

    def test_digest_tells_sources_apart(self):
        digests = {mutation.mutate_results.digest(texts) for texts in
                   ({"a": "b"}, {"a": "c"}, {"b": "b"}, {"a": "b", "c": ""})}
        self.assertEqual(len(digests), 4)


if __name__ == "__main__":
    canary.main()
