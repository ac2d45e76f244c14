#!/usr/bin/env python3
"""Canaries for the sources that include one header alone, which the build compiles."""

import os
import pathlib
import subprocess

import canary

TEMPLATE = pathlib.Path(__file__).resolve().parent / "header_alone.cpp.in"


class HeaderAlone(canary.TreeTest):
    def compile(self, header):
        """What the compiler says about the header alone; "" when it likes it."""
        self.write("host/a.h", header)
        source = self.write("a.cpp", TEMPLATE.read_text().replace("@header@", "host/a.h"))
        command = [os.environ.get("CXX", "c++"), "-std=c++20", "-Wall", "-Wextra", "-Werror",
                   "-fsyntax-only", "-I", self.root, source]
        return subprocess.run(command, capture_output=True, text=True, check=False).stderr

    def test_sound_header_passes(self):
        self.assertEqual(self.compile("#pragma once\n#include <string>\nstd::string F();\n"), "")

    def test_header_that_leans_on_its_includer_fails(self):
        self.assertIn("std", self.compile("#pragma once\nstd::string F();\n"))

    def test_header_without_guard_fails(self):
        self.assertIn("redefinition", self.compile("struct A {};\n"))


if __name__ == "__main__":
    canary.main()
