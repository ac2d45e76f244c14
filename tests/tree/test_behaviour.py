#!/usr/bin/env python3
"""Canaries for the page of behaviours."""

import canary
import check_behaviour
import tree

TESTS = """\
// Adding events to a storage:
// new and repeated ones.
#include "a.h"

TEST_F(Adding, RepeatIsMerged) {
}

TEST_F(Adding,
       AReaderOf32BytesChangesNothing) {}
"""


class Names(canary.TreeTest):
    def test_name_becomes_a_phrase(self):
        for name, phrase in (("RefusesASecondWriter", "Refuses a second writer"),
                             ("SecondsAreTakenIn32Bits", "Seconds are taken in 32 bits"),
                             ("Code96IsInNoGroup", "Code 96 is in no group"),
                             ("OtherMeansAllButIcmpTcpAndUdp",
                              "Other means all but ICMP TCP and UDP"),
                             ("index_expiry", "Index expiry")):
            self.assertEqual(check_behaviour.phrase(name), phrase)

    def test_every_kind_of_test_counts(self):
        text = "TEST(A, B) {}\nTEST_F(A, C) {}\nTEST_P(D, E) {}\nTYPED_TEST_P(D, F) {}\n"
        self.assertEqual(check_behaviour.suites(text), {"A": ["B", "C"], "D": ["E", "F"]})

    def test_mention_of_a_test_does_not_count(self):
        self.assertEqual(check_behaviour.suites("// TEST_F(A, B)\n  TEST_F(A, B)\n"), {})


class Page(canary.TreeTest):
    def setUp(self):
        super().setUp()
        self.write("tests/library/adding_test.cpp", TESTS)

    def findings(self):
        return check_behaviour.check(self.root)[0]

    def updated(self):
        check_behaviour.update(self.root)
        return check_behaviour.read_page(self.root)

    def test_page_lists_every_test(self):
        self.assertIn("\n\n## Adding\n\nAdding events to a storage: new and repeated ones.\n\n"
                      "- Repeat is merged.\n- A reader of 32 bytes changes nothing.\n",
                      self.updated())

    def test_fresh_page_passes(self):
        self.updated()
        self.assertEqual(self.findings(), [])

    def test_further_suite_has_a_heading(self):
        self.write("tests/library/adding_test.cpp", TESTS + "TEST(TwoWords, Other) {}\n")
        self.assertIn("ones.\n\n- Repeat is merged.\n", self.updated())
        self.assertIn("\n\n### Two words\n\n- Other.\n", self.updated())

    def test_suite_of_another_name_has_a_heading_beside_others(self):
        self.write("tests/library/sums_test.cpp", TESTS + "TEST(TwoWords, Other) {}\n")
        self.assertIn("ones.\n\n### Adding\n\n- Repeat is merged.\n", self.updated())

    def test_long_line_is_wrapped(self):
        self.write("tests/library/adding_test.cpp", f"// {'x ' * 120}\n"
                   f"TEST(A, {'LongName' * 30}) {{}}\n")
        lines = self.updated().split("\n")
        self.assertLessEqual(max(map(len, lines)), 100)
        item = next(number for number, line in enumerate(lines) if line.startswith("- Long name"))
        self.assertRegex(lines[item + 1], "^  [ln]")

    def test_new_test_fails(self):
        self.updated()
        self.write("tests/library/adding_test.cpp", TESTS + "TEST_F(Adding, IsNew) {}\n")
        self.assert_one(self.findings(), check_behaviour.PAGE, "+- Is new.")

    def test_gone_test_fails(self):
        self.updated()
        self.write("tests/library/adding_test.cpp", TESTS.replace("RepeatIsMerged", "RepeatIsNot"))
        self.assertEqual(self.findings(), [f"{check_behaviour.PAGE}: -- Repeat is merged.",
                                           f"{check_behaviour.PAGE}: +- Repeat is not."])

    def test_missing_page_fails(self):
        self.assertIn(f"{check_behaviour.PAGE}: +- Repeat is merged.", self.findings())

    def test_file_without_an_introduction_fails(self):
        self.write("tests/library/other_test.cpp", "TEST(A, B) {}\n")
        with self.assertRaisesRegex(tree.Finding, "other_test.cpp:1: no comment"):
            self.findings()

    def test_file_without_tests_fails(self):
        self.write("tests/library/other_test.cpp", "// Nothing.\n")
        with self.assertRaisesRegex(tree.Finding, "other_test.cpp:1: no tests"):
            self.findings()

    def test_no_test_files_fail(self):
        (self.root / "tests/library/adding_test.cpp").rename(self.root / "elsewhere.cpp")
        with self.assertRaises(tree.Finding):
            self.findings()


if __name__ == "__main__":
    canary.main()
