#!/usr/bin/env python3
"""Canaries for source files that nothing compiles."""

import canary
import check_sources
import tree


class Sources(canary.TreeTest):
    def findings(self, cmake, *sources, folder="src"):
        for source in sources:
            self.write(source)
        self.write(f"{folder}/CMakeLists.txt", cmake)
        return check_sources.check(self.root)[0]

    def test_named_sources_pass(self):
        cmake = "add_library(a\n  b.cpp query/c.cpp)\ntarget_sources(a PRIVATE ../x/d.cpp)\n"
        self.assertEqual(self.findings(cmake, "src/b.cpp", "src/query/c.cpp", "x/d.cpp"), [])

    def test_forgotten_source_fails(self):
        self.assert_one(self.findings("add_library(a b.cpp)", "src/b.cpp", "src/c.cpp"),
                        "src/c.cpp")

    def test_commented_out_source_fails(self):
        self.assert_one(self.findings("# b.cpp\n", "src/b.cpp"), "src/b.cpp")

    def test_same_name_in_another_folder_fails(self):
        self.assert_one(self.findings("add_library(a b.cpp)", "src/b.cpp", "host/b.cpp"),
                        "host/b.cpp")

    def test_longer_name_does_not_count(self):
        self.assert_one(self.findings("f(ab.cpp b.cpp.in)", "src/b.cpp", "src/ab.cpp"),
                        "src/b.cpp")

    def test_names_from_the_root_or_the_folder_count(self):
        cmake = "f(${CMAKE_CURRENT_SOURCE_DIR}/b.cpp ${packetdb_SOURCE_DIR}/host/c.cpp)"
        self.assertEqual(self.findings(cmake, "src/b.cpp", "host/c.cpp"), [])

    def test_seeing_nothing_fails(self):
        with self.assertRaises(tree.Finding):
            self.findings("add_library(a)")


if __name__ == "__main__":
    canary.main()
