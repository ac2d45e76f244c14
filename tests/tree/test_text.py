#!/usr/bin/env python3
"""Canaries for the rules of every text."""

import shutil

import canary
import check_text
import tree

# Spelled so that the check does not find them here.
MARKERS = ["TO" "DO", "FIX" "ME", "X" "XX", "HA" "CK"]
NO_LINT = "NO" "LINT"
HOME = "/ho" "me/"


class Text(canary.TreeTest):
    def findings(self, name, text):
        for former in list(self.root.iterdir()):
            shutil.rmtree(former)
        self.write("src/sound.cpp", "int a;\n")
        self.write(name, text)
        return check_text.check(self.root)[0]

    def passes(self, name, text):
        self.assertEqual(self.findings(name, text), [])

    def fails(self, name, text, *parts):
        self.assert_one(self.findings(name, text), f"{name}:", *parts)

    def test_sound_text_passes(self):
        self.passes("src/a.h", "#pragma once\n\nint a;\n")

    def test_empty_file_passes(self):
        self.passes("src/a.cpp", "")

    def test_columns_are_characters(self):
        self.passes("docs/a.md", "é" * 100 + "\n")
        self.fails("docs/a.md", "x" * 101 + "\n", ":1:", "101 columns")

    def test_rows_and_addresses_cannot_be_broken(self):
        self.passes("docs/a.md", f"| {'x' * 120} |\n* [a]: https://example.net/{'x' * 90}\n")
        self.passes("docs/a.md", f"```\n{'x' * 120}\n```\n")
        self.fails("docs/a.md", f"```\n```\n{'x' * 120}\n", ":3:", "columns")
        self.fails("src/a.cpp", f"| {'x' * 120} |\n", "columns")
        self.fails("src/a.cpp", f"see https://example.net/ {'x' * 90}\n", "columns")

    def test_tabs(self):
        self.fails("src/a.cpp", "\n\tint a;\n", ":2:", "a tab")
        self.passes("packaging/debian/rules", "%:\n\tdh $@\n")

    def test_trailing_blanks(self):
        self.fails("scripts/a", "echo \n", "trailing blanks")

    def test_carriage_returns(self):
        self.fails("scripts/a", "echo\r\n", "carriage return")

    def test_final_newline(self):
        self.fails("src/a.cpp", "int a;", "no newline")

    def test_blank_lines_at_the_end(self):
        self.fails("src/a.cpp", "int a;\n\n", "blank lines at the end")

    def test_length_of_files(self):
        self.passes("src/a.cpp", "int a;\n" * 600)
        self.fails("src/a.cpp", "int a;\n" * 601, "601 lines")

    def test_leftover_markers(self):
        for marker in MARKERS:
            self.fails("src/a.cpp", f"int a;  // {marker}: later\n", ":1:", marker)

    def test_letters_of_a_marker_in_a_word_pass(self):
        self.passes("scripts/a", f"mktemp {MARKERS[2]}{MARKERS[2]}\n")

    def test_lint_suppression_needs_check_and_reason(self):
        self.fails("src/a.cpp", f"int a;  // {NO_LINT}\n", "suppression")
        self.fails("src/a.cpp", f"int a;  // {NO_LINT}(misc-x)\n", "suppression")
        self.fails("src/a.cpp", f"int a;  // {NO_LINT}: the contract fixes it\n", "suppression")
        self.fails("src/a.cpp", f"// {NO_LINT}NEXTLINE(misc-x)\n", "suppression")
        self.passes("src/a.cpp", f"int a;  // {NO_LINT}(misc-x): the contract fixes it\n")

    def test_paths_of_a_workplace(self):
        self.fails("docs/a.md", f"cd {HOME}me/packetdb\n", HOME)
        self.fails("scripts/a", f'"{HOME}me"\n', HOME)
        self.passes("scripts/a", f"cd ${{TMP}}{HOME}x ~{HOME}y a{HOME}z\n")

    def test_header_guards(self):
        self.fails("src/a.h", "int a;\n", "#pragma once")
        self.passes("src/a.h", "// what it is\n#pragma once\n")

    def test_names(self):
        self.passes("packaging/a-b_c.1", "x\n")
        self.fails("src/Frame.h", "#pragma once\n", "name")

    def test_names_of_folders(self):
        self.fails("My files/a.md", "x\n", "name")

    def test_fixed_names(self):
        self.passes("docs/README.md", "x\n")
        self.passes("cmake/PacketdbTarget.cmake", "x\n")
        self.fails("src/README.cpp", "\n" "int a;\n", "name")

    def test_data_is_left_as_it_came(self):
        self.passes("samples/data/rules.txt", "a\t \r\n" + "x" * 200)
        self.passes("fuzz/corpus/frame/a", b"\0\xff")

    def test_binary_outside_of_data_fails(self):
        self.fails("samples/a.bin", b"\0\xff", "not text")

    def test_seeing_nothing_fails(self):
        self.write("fuzz/corpus/a", "x")
        with self.assertRaises(tree.Finding):
            check_text.check(self.root)


if __name__ == "__main__":
    canary.main()
