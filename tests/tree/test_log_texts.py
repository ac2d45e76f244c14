#!/usr/bin/env python3
"""Canaries for the texts that tests have to claim."""

import canary
import check_log_texts
import tree

LINE = 'PACKETDB_LOG(log::kTrace) << "have " << n << " of " << m;\n'


class LogTexts(canary.TreeTest):
    def findings(self, source, *tests):
        self.write("src/a.cpp", source)
        self.write("tests/library/a_test.cpp", "\n".join(tests))
        return check_log_texts.check(self.root)[0]

    def passes(self, source, *tests):
        self.assertEqual(self.findings(source, *tests), [])

    def fails(self, source, *tests, shows=()):
        self.assert_one(self.findings(source, *tests), "src/a.cpp:", "no test claims", *shows)

    def test_claimed_line_passes(self):
        self.passes(LINE, 'EXPECT_EQ(line, "have {u4:1} of {u4:2}");')

    def test_unclaimed_line_fails_with_place_and_text(self):
        self.fails("\n" + LINE, 'EXPECT_EQ(line, "have {u4:1}");',
                   shows=["a.cpp:2:", '"have " ... " of "'])

    def test_texts_in_another_order_fail(self):
        self.fails(LINE, '"it has of it what we have it"')

    def test_texts_of_two_lines_fail(self):
        self.fails(LINE, 'Strings{"have 1", "2 of 3"}')

    def test_texts_in_a_comment_of_the_tests_fail(self):
        self.fails(LINE, '// "have 1 of 2"', '"other"')

    def test_texts_in_other_folders_fail(self):
        self.write("tests/system/a_test.cpp", '"have 1 of 2"')
        self.fails(LINE, '"other"')

    def test_fixtures_claim(self):
        self.write("tests/library/a_fixture.h", '"have 1 of 2"')
        self.passes(LINE, '"other"')

    def test_statement_over_several_lines(self):
        source = 'PACKETDB_LOG(kTrace) << "a;b"\n    << n  // "c"\n    << "d";\nint i = 0;\n'
        self.fails(source, '"a;b 1"', shows=["a.cpp:1:", '"a;b" ... "d"'])
        self.passes(source, '"a;b 1 d"')

    def test_line_that_is_not_asked_for(self):
        self.fails('PACKETDB_LOG_UNASKED(1) << "list empty";', '"list"', shows=["list empty"])

    def test_second_line_of_two(self):
        self.fails(LINE + LINE.replace("have", "had"), '"have 1 of 2"', shows=["a.cpp:2:", "had"])

    def test_adjacent_literals_are_one(self):
        self.fails('PACKETDB_LOG(1) << "one "\n  "text";', '"one", "text"', shows=["one text"])
        self.passes('PACKETDB_LOG(1) << "one "\n  "text";', '"on" "e t"', '"one te" /* */ "xt"')

    def test_sums_of_the_tests_claim(self):
        self.passes(LINE, 'return "have " + std::to_string(n) + " of 2";')
        self.passes(LINE, 'text << "have " << std::hex << n << " of " << m;')
        self.fails(LINE, 'Lines("have ", " of ");')
        self.fails(LINE, 'F("have "); G(" of ");')

    def test_text_across_the_parts_of_a_sum_fails(self):
        self.fails('PACKETDB_LOG(1) << "one text";', 'return "one " + name + "text";')

    def test_text_to_the_system_log(self):
        self.fails('slput(6, "rebuilt");', '"built"', shows=["rebuilt"])

    def test_text_in_a_table(self):
        source = 'constexpr Format kOld = {\n    72,\n    "old format",\n};\n'
        self.fails(source, '"format"', shows=["a.cpp:3:", "old format"])
        self.passes(source, '"an old format, rebuilt"')

    def test_text_handed_to_a_function(self):
        self.fails('return Failure(message, "read error.", "ReadRecord() error ");',
                   '"read error."', shows=["ReadRecord() error "])

    def test_text_in_a_macro(self):
        self.fails('#define HEADER "once"\n', '"two"', shows=["once"])

    def test_escapes_and_raw_literals_mean_the_same(self):
        self.passes(r'PACKETDB_LOG(1) << "a \"b\" \\";', r'R"(a "b" \)"')
        self.fails(r'PACKETDB_LOG(1) << "a\n";', '"an"')

    def test_what_is_no_text(self):
        self.passes('#include "src/log.h"\n// "comment"\nchar c = \'"\';\n' + LINE,
                    '"have 1 of 2"')

    def test_nothing_streamed_needs_no_claim(self):
        self.passes("PACKETDB_LOG(1) << what;\n" + LINE, '"have 1 of 2"')

    def test_seeing_no_texts_fails(self):
        with self.assertRaises(tree.Finding):
            self.findings("int a;\n", '"have 1 of 2"')

    def test_seeing_no_tests_fails(self):
        self.write("src/a.cpp", LINE)
        with self.assertRaises(tree.Finding):
            check_log_texts.check(self.root)


if __name__ == "__main__":
    canary.main()
